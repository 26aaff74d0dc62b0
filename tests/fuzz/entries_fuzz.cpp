// libFuzzer target: each input becomes one call of one exported entry (Fortran name or cblas_ form, either
// order), with every operand and every by-reference argument in its own mapping between two inaccessible
// pages. After the call the inputs must hold their bits, the outputs must be untouched outside what the call
// may write, and untouched everywhere when an argument is bad; a report on the standard error stream must come
// exactly when an argument is bad. A failure names the entry and its arguments and aborts.
//
// Each routine family is described once, by the roles of its parameters (one letter per parameter, below);
// the argument types come from the entry's own declaration, so one description serves the four element types
// and both forms. KOVRA_FUZZ_STATS=1 prints, at exit, the calls per family: valid, above the cut-off, refused.
#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kovra/cblas.h"
#include "kovra/convolution.h"
#include "kovra/fortran.h"
#include "vesk/runtime.h"

extern "C" void __sanitizer_set_report_fd(void* fd);

namespace {

using c32 = std::complex<float>;
using c64 = std::complex<double>;

// Roles. Integers: m n k (dimensions), l u (KL, KU), i j (INCX, INCY), 1 2 3 (LDA, LDB, LDC), O (Order);
// letters: S (side), U (uplo), T t (trans of A, B), D (diag); scalars: a b (alpha, beta), c s (rotation), q (SB),
// v (Y1); arrays: A B C (matrices), x y (vectors), P (5 rotation parameters, input), Q (the same, output),
// R (a dot's result), e f g h (the in/out scalars of ROTG and ROTMG), z (CABS1's value). The convolution:
// F G (formats), w (accumulate), I J Y (image, filters, output), W V Z (width, height, channels),
// K X (filter count and size), p r (pad, stride), o; (output width and height).
enum Kind { AXPY, SCAL, COPY, SWAP, ROT, DOT, ROTG, ROTMG, CABS1, GEMV, GBMV, GER, GERC, SYMV, SBMV, SPMV,
            HEMV, HBMV, HPMV, SYR, SPR, HER, HPR, TRMV, TBMV, TPMV, GEMM, SYMM, SYRK, HERK, TRMM, CONV, KINDS };
const char* const kind_name[KINDS] = {"axpy", "scal", "copy", "swap", "rot", "dot", "rotg", "rotmg", "cabs1",
  "gemv", "gbmv", "ger", "gerc", "symv", "sbmv", "spmv", "hemv", "hbmv", "hpmv", "syr", "spr", "her", "hpr", "trmv",
  "tbmv", "tpmv", "gemm", "symm", "syrk", "herk", "trmm", "conv"};

struct Ctx;
using Invoke = void (*)(Ctx&, void (*)());
struct Entry {
  const char* name;
  Kind kind;
  size_t esize;  // bytes of the element type; void* operands are complex of this size
  const char* froles;
  const char* croles;
  Invoke call;
  void (*fortran[3])();
  Invoke cblas;
  void (*cblas_fn)();
};

// One operand or by-reference argument in its own mapping, flush against the guard after it or before it.
struct Operand {
  bool out = false, scalar = false, null = false, at_end = false;
  long count = 0;
  std::vector<long> writable;  // element positions the call may write (outputs only)
  char* map = nullptr;
  size_t map_bytes = 0, esize = 0;
  char* data = nullptr;
  std::vector<char> before;
};

// A value per role letter.
template <typename V> struct ByRole {
  V v[128];
  V& operator[](int r) { return v[r & 127]; }
  const V& operator[](int r) const { return v[r & 127]; }
};

struct Ctx {
  const Entry* e;
  bool cblas, row, valid;
  const char* roles;
  int form;
  ByRole<long> iv;
  ByRole<double[2]> sv;
  ByRole<char> letter;
  ByRole<Operand> op;
  uint64_t rng;
  long result;
};

uint64_t next(Ctx& c) {
  c.rng ^= c.rng << 13, c.rng ^= c.rng >> 7, c.rng ^= c.rng << 17;
  return c.rng;
}

// Element values: mostly small exact numbers, now and then a zero of either sign, NaN, an infinity or extremes.
double value(Ctx& c) {
  static const double special[] = {0.0, -0.0, 1.0, -1.0, NAN, INFINITY, -INFINITY, 1e30, 1e-30, 0.5};
  const uint64_t r = next(c);
  if (r % 16 == 0) return special[(r >> 8) % 10];
  return double(int64_t((r >> 16) % 17) - 8) / 4.0;
}

template <typename E> void store(char* p, double v) { E e = E(v); std::memcpy(p, &e, sizeof e); }

char* guarded(Ctx& c, char role, size_t esize, bool complex_elem) {
  Operand& o = c.op[int(role)];
  if (o.map != nullptr) return o.data;
  const size_t page = size_t(sysconf(_SC_PAGESIZE)), bytes = size_t(o.count) * esize;
  const size_t pages = (bytes + page - 1) / page;
  o.map_bytes = (pages + 2) * page;
  o.map = static_cast<char*>(mmap(nullptr, o.map_bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  if (o.map == MAP_FAILED) std::abort();
  mprotect(o.map, page, PROT_NONE);
  mprotect(o.map + (pages + 1) * page, page, PROT_NONE);
  o.data = o.at_end ? o.map + (pages + 1) * page - bytes : o.map + page;
  o.esize = esize;
  const size_t part = complex_elem ? esize / 2 : esize, parts = part >= 4 ? bytes / part : 0;
  for (size_t i = 0; i < parts; ++i) {
    const double v = o.scalar ? c.sv[int(role)][i % 2] : (role == 'P' || role == 'Q') && i == 0
                                    ? double(int(next(c) % 5) - 2) : value(c);
    part == 4 ? store<float>(o.data + i * part, v) : store<double>(o.data + i * part, v);
  }
  o.before.assign(o.data, o.data + bytes);
  return o.data;
}

// The argument of type P for a role: a value, or a pointer into the role's own mapping.
template <typename P> P arg(Ctx& c, char r) {
  if constexpr (std::is_same_v<P, bool>) return c.iv[int(r)] & 1;
  else if constexpr (std::is_enum_v<P> || std::is_integral_v<P>) return P(c.iv[int(r)]);
  else if constexpr (std::is_floating_point_v<P>) return P(c.sv[int(r)][0]);
  else {
    using E = std::remove_cv_t<std::remove_pointer_t<P>>;
    Operand& o = c.op[int(r)];
    if (o.null) return nullptr;
    if constexpr (std::is_same_v<E, int> || std::is_same_v<E, char>) {
      o.count = 1;
      char* p = guarded(c, r, sizeof(E), false);
      const E v = E(c.iv[int(r)]);
      std::memcpy(p, &v, sizeof v);
      o.before.assign(p, p + sizeof v);
      return reinterpret_cast<P>(p);
    } else if constexpr (std::is_void_v<E>) {
      return guarded(c, r, c.e->esize, true);
    } else {
      return reinterpret_cast<P>(guarded(c, r, sizeof(E), false));
    }
  }
}

template <typename R, typename... P> void invoke_as(Ctx& c, R (*f)(P...)) {
  [&]<size_t... I>(std::index_sequence<I...>) {
    if constexpr (std::is_integral_v<R>) c.result = f(arg<P>(c, c.roles[I])...);
    else f(arg<P>(c, c.roles[I])...);
  }(std::make_index_sequence<sizeof...(P)>());
}
template <auto F> void invoke(Ctx& c, void (*g)()) { invoke_as(c, reinterpret_cast<decltype(F)>(g)); }

// ---- Geometry: the size of every array, what the call may write, and whether the arguments pass.

void vec(Ctx& c, char r, long n, char inc, bool out) {
  Operand& o = c.op[int(r)];
  const long step = c.iv[int(inc)];
  o.out = out, o.count = n > 0 ? 1 + (n - 1) * std::abs(step) : 0;
  if (out)
    for (long i = 0; i < n; ++i) o.writable.push_back(step > 0 ? i * step : (i + 1 - n) * step);
}

void cells(Ctx& c, const char* roles, long count, bool out) {
  for (; *roles; ++roles) {
    Operand& o = c.op[int(*roles)];
    o.out = out, o.count = count;
    for (long i = 0; out && i < count; ++i) o.writable.push_back(i);
  }
}

// The leading dimension of role ld: the least valid value plus the decoded offset (codes below 0 give 0 and -1).
long lead(Ctx& c, char ld, long least) {
  long& v = c.iv[int(ld)];
  v = v == -100 ? 0 : v == -101 ? -1 : least + v;
  if (v < least) c.valid = false;
  return v;
}

// A full matrix of rows x cols (as the caller sees it); a row-major one is stored as its transpose.
void mat(Ctx& c, char r, char ld, long rows, long cols, bool out) {
  if (c.row) std::swap(rows, cols);
  const long l = lead(c, ld, std::max(1L, rows));
  Operand& o = c.op[int(r)];
  o.out = out;
  o.count = rows > 0 && cols > 0 ? std::max(l, rows) * (cols - 1) + rows : 0;
  for (long j = 0; out && j < cols; ++j)
    for (long i = 0; i < rows; ++i) o.writable.push_back(i + j * l);
}

void band(Ctx& c, char r, char ld, long width, long cols) {
  const long l = lead(c, ld, width);
  cells(c, (char[]){r, 0}, cols > 0 ? std::max(l, 1L) * cols : 0, false);
}

void packed(Ctx& c, char r, long n, bool out) { cells(c, (char[]){r, 0}, n > 0 ? n * (n + 1) / 2 : 0, out); }

// The letter of role r as the routine's check sees it: the folded character, or the enumeration's letter.
char letter(Ctx& c, char r, const char* allowed) {
  const long v = c.iv[int(r)];
  char l = 'X';
  if (!c.cblas) l = char(v & 0xDF);
  else if (r == 'T' || r == 't') l = v == 111 ? 'N' : v == 112 ? 'T' : v == 113 ? 'C' : 'X';
  else if (r == 'U') l = v == 121 ? 'U' : v == 122 ? 'L' : 'X';
  else if (r == 'D') l = v == 131 ? 'N' : v == 132 ? 'U' : 'X';
  else if (r == 'S') l = v == 141 ? 'L' : v == 142 ? 'R' : 'X';
  if (l == 0 || std::strchr(allowed, l) == nullptr) c.valid = false;
  return c.letter[int(r)] = l;
}

// The departures from the plain BLAS checks and write sets, each with its reason; applied to a decoded call.
bool complex_row(const Ctx& c) { return c.row && (c.e->name[0] == 'c' || c.e->name[0] == 'z'); }
struct Departure {
  const char* reason;
  bool (*applies)(const Ctx&);
  const char* zero_inc_accepted;  // increments that may be 0 in that case
};
const Departure departures[] = {
  {"row-major ConjTrans GEMV/GBMV on complex types runs on a conjugated contiguous copy of x",
   [](const Ctx& c) { return (c.e->kind == GEMV || c.e->kind == GBMV) && complex_row(c) && c.letter['T'] == 'C'; },
   "i"},
  {"row-major Hermitian products and updates conjugate the vectors through contiguous copies",
   [](const Ctx& c) { return c.e->kind >= HEMV && c.e->kind <= HPMV && complex_row(c); }, "i"},
  {"row-major HER, HPR, HER2, HPR2 conjugate x (and y) through contiguous copies",
   [](const Ctx& c) { return (c.e->kind == HER || c.e->kind == HPR) && complex_row(c); }, "ij"},
  {"row-major GERC runs as GERU on a conjugated contiguous copy of y",
   [](const Ctx& c) { return c.e->kind == GERC && complex_row(c); }, "j"},
};
// Other departures are in the geometry itself: SCAL (writes nothing for incx < 1), the index routines'
// 0-based result (checked in check()), the row-major rank-k updates, where 'T' and 'C' both become 'N'.

void nonzero_inc(Ctx& c, const char* incs) {
  for (; *incs; ++incs) {
    if (c.iv[int(*incs)] != 0) continue;
    bool accepted = false;
    for (const Departure& d : departures) accepted |= d.applies(c) && std::strchr(d.zero_inc_accepted, *incs);
    if (!accepted) c.valid = false;
  }
}

void nonnegative(Ctx& c, const char* dims) {
  for (; *dims; ++dims) c.valid &= c.iv[int(*dims)] >= 0;
}

void shape(Ctx& c) {
  const long m = c.iv['m'], n = c.iv['n'], k = c.iv['k'], kl = c.iv['l'], ku = c.iv['u'];
  const Kind kind = c.e->kind;
  const bool has_y = std::strchr(c.roles, 'y') != nullptr;
  switch (kind) {
    case AXPY: case COPY: vec(c, 'x', n, 'i', false), vec(c, 'y', n, 'j', true); break;
    case SCAL: vec(c, 'x', n, 'i', c.iv['i'] > 0); break;
    case SWAP: case ROT: vec(c, 'x', n, 'i', true), vec(c, 'y', n, 'j', true), cells(c, "P", 5, false); break;
    case DOT:
      vec(c, 'x', n, 'i', false), has_y ? vec(c, 'y', n, 'j', false) : void(), cells(c, "R", 1, true);
      break;
    case ROTG: cells(c, "efgh", 1, true); break;
    case ROTMG: cells(c, "efg", 1, true), cells(c, "Q", 5, true); break;
    case CABS1: cells(c, "z", 1, false); break;
    case GEMV: case GBMV: {
      const bool t = letter(c, 'T', "NTC") != 'N';
      nonnegative(c, kind == GBMV ? "mnlu" : "mn");
      if (kind == GEMV) mat(c, 'A', '1', m, n, false);
      else band(c, 'A', '1', kl + ku + 1, c.row ? m : n);
      vec(c, 'x', t ? m : n, 'i', false), vec(c, 'y', t ? n : m, 'j', true), nonzero_inc(c, "ij");
      break;
    }
    case GER: case GERC:
      nonnegative(c, "mn"), vec(c, 'x', m, 'i', false), vec(c, 'y', n, 'j', false), nonzero_inc(c, "ij");
      mat(c, 'A', '1', m, n, true);
      break;
    case SYMV: case SBMV: case SPMV: case HEMV: case HBMV: case HPMV:
      letter(c, 'U', "UL"), nonnegative(c, kind == SBMV || kind == HBMV ? "nk" : "n");
      if (kind == SYMV || kind == HEMV) mat(c, 'A', '1', n, n, false);
      else if (kind == SBMV || kind == HBMV) band(c, 'A', '1', k + 1, n);
      else packed(c, 'A', n, false);
      vec(c, 'x', n, 'i', false), vec(c, 'y', n, 'j', true), nonzero_inc(c, "ij");
      break;
    case SYR: case SPR: case HER: case HPR:
      letter(c, 'U', "UL"), nonnegative(c, "n"), vec(c, 'x', n, 'i', false);
      if (has_y) vec(c, 'y', n, 'j', false);
      nonzero_inc(c, has_y ? "ij" : "i");
      if (std::strchr(c.roles, '1')) mat(c, 'A', '1', n, n, true);
      else packed(c, 'A', n, true);
      break;
    case TRMV: case TBMV: case TPMV:
      letter(c, 'U', "UL"), letter(c, 'T', "NTC"), letter(c, 'D', "NU"), nonnegative(c, kind == TBMV ? "nk" : "n");
      if (kind == TRMV) mat(c, 'A', '1', n, n, false);
      else if (kind == TBMV) band(c, 'A', '1', k + 1, n);
      else packed(c, 'A', n, false);
      vec(c, 'x', n, 'i', true), nonzero_inc(c, "i");
      break;
    case GEMM: {
      const bool ta = letter(c, 'T', "NTC") != 'N', tb = letter(c, 't', "NTC") != 'N';
      nonnegative(c, "mnk");
      mat(c, 'A', '1', ta ? k : m, ta ? m : k, false), mat(c, 'B', '2', tb ? n : k, tb ? k : n, false);
      mat(c, 'C', '3', m, n, true);
      break;
    }
    case SYMM: {
      const long an = letter(c, 'S', "LR") == 'L' ? m : n;
      letter(c, 'U', "UL"), nonnegative(c, "mn");
      mat(c, 'A', '1', an, an, false), mat(c, 'B', '2', m, n, false), mat(c, 'C', '3', m, n, true);
      break;
    }
    case SYRK: case HERK: {
      // Row-major: 'T' and 'C' both become 'N', so either passes whatever the family.
      const bool t = letter(c, 'T', kind == HERK && !c.row ? "NC" : "NTC") != 'N';
      letter(c, 'U', "UL"), nonnegative(c, "nk");
      mat(c, 'A', '1', t ? k : n, t ? n : k, false);
      if (std::strchr(c.roles, 'B')) mat(c, 'B', '2', t ? k : n, t ? n : k, false);
      mat(c, 'C', '3', n, n, true);
      break;
    }
    case TRMM: {
      const long an = letter(c, 'S', "LR") == 'L' ? m : n;
      letter(c, 'U', "UL"), letter(c, 'T', "NTC"), letter(c, 'D', "NU"), nonnegative(c, "mn");
      mat(c, 'A', '1', an, an, false), mat(c, 'B', '2', m, n, true);
      break;
    }
    case CONV: {
      auto pos = [&](char r) { return std::max(0L, c.iv[int(r)]); };
      cells(c, "I", pos('W') * pos('V') * pos('Z'), false);
      cells(c, "J", pos('K') * pos('X') * pos('X') * pos('Z'), false);
      cells(c, "Y", pos('o') * pos(';') * pos('K'), true);
      c.valid = !c.op['I'].null && !c.op['J'].null && !c.op['Y'].null && c.iv['F'] <= 1 && c.iv['G'] <= 1 &&
                c.iv['p'] >= 0 && c.iv['X'] >= 1;
      break;
    }
    case KINDS: break;
  }
  for (const char* r = "abcsqv"; *r; ++r) {  // scalars passed by address
    Operand& o = c.op[int(*r)];
    o.scalar = true, o.count = 1;
  }
}

// ---- Decoding

long pick(FuzzedDataProvider& in, std::initializer_list<long> set) {
  return set.begin()[in.ConsumeIntegralInRange<size_t>(0, set.size() - 1)];
}

long dimension(FuzzedDataProvider& in) {
  switch (in.ConsumeIntegralInRange(0, 15)) {
    case 0: return in.ConsumeIntegralInRange(0, 300);
    case 1: case 2: case 3: return in.ConsumeIntegralInRange(0, 80);
    default: return pick(in, {0, 0, 1, 1, 2, 3, 4, 5, 7, 8, 8, 9, 9, 10, 12, 15, 16, 17, 24, 31, 33, -1});
  }
}

// Scalars: 1, 0 and other exact values, or one of -0, NaN, +-infinity.
double scalar(FuzzedDataProvider& in) {
  static const double values[] = {1, 0, 2, -1, 0.5, 3, -2.5, 1e-3, 4, -0.0, NAN, INFINITY, -INFINITY};
  return values[in.ConsumeIntegralInRange<size_t>(0, std::size(values) - 1)];
}

void decode(Ctx& c, FuzzedDataProvider& in) {
  for (const char* r = c.roles; *r; ++r) {
    long& v = c.iv[int(*r)];
    switch (*r) {
      case 'm': case 'n': case 'k': case 'K': v = dimension(in); break;
      case 'l': case 'u': v = in.ConsumeIntegralInRange(0, 13) == 13 ? -1 : in.ConsumeIntegralInRange(0, 12); break;
      case 'i': case 'j': v = pick(in, {1, 1, 1, 1, 2, 3, -1, -2, 0, 7}); break;
      case '1': case '2': case '3': v = pick(in, {0, 0, 0, 0, 1, 3, 16, -1, -100, -101}); break;
      case 'S': case 'U': case 'T': case 't': case 'D': {
        // Mostly a valid letter or enumeration of the role, else any other letter or int.
        const bool trans = *r == 'T' || *r == 't';
        const char* good = *r == 'S' ? "LRlr" : *r == 'U' ? "ULul" : *r == 'D' ? "NUnu" : "NTCntc";
        const long base = *r == 'S' ? 141 : *r == 'U' ? 121 : *r == 'D' ? 131 : 111;
        if (in.ConsumeIntegralInRange(0, 9) == 9)
          v = c.cblas ? pick(in, {0, 100, 110, 114, 120, 123, 127, 143, -1, 1L << 20})
                      : pick(in, {'X', 0, 'q', '*', 'N' | 0x80, 'A'});
        else
          v = c.cblas ? base + in.ConsumeIntegralInRange(0, trans ? 2 : 1)
                      : good[in.ConsumeIntegralInRange<size_t>(0, std::strlen(good) - 1)];
        break;
      }
      case 'O': v = pick(in, {102, 102, 101, 101, 0, 103, 1000, -5}); break;
      case 'a': case 'b': case 'c': case 's': case 'q': case 'v':
        c.sv[int(*r)][0] = scalar(in), c.sv[int(*r)][1] = in.ConsumeBool() ? 0 : scalar(in);
        break;
      case 'F': case 'G': v = pick(in, {0, 1, 0, 1, 2}); break;
      case 'w': v = in.ConsumeBool(); break;
      case 'W': case 'V': case 'o': case ';':
        v = in.ConsumeIntegralInRange(0, 41) == 41 ? -1 : in.ConsumeIntegralInRange(0, 40);
        break;
      case 'Z': v = pick(in, {1, 2, 3, 3, 4, 0}); break;
      case 'X': v = pick(in, {1, 1, 2, 3, 3, 5, 0, -1}); break;
      case 'p': v = pick(in, {0, 0, 1, 2, -1}); break;
      case 'r': v = pick(in, {1, 1, 2, 3, 0}); break;
      case 'I': case 'J': case 'Y': c.op[int(*r)].null = in.ConsumeIntegralInRange(0, 30) == 30; break;
      default: break;
    }
  }
  // Keep a call's work bounded: halve the largest dimension while m*n*k is above a few million.
  auto dim = [&](char r) { return std::max(1L, c.iv[int(r)]); };
  while (dim('m') * dim('n') * dim('k') * dim('K') > 3000000) {
    long* big = &c.iv['m'];
    for (char r : {'n', 'k', 'K'})
      if (c.iv[int(r)] > *big) big = &c.iv[int(r)];
    *big /= 2;
  }
  c.row = c.cblas && std::strchr(c.roles, 'O') && c.iv['O'] != CblasColMajor;
}

// ---- The entries: a family's roles once, pasted for the four element types.

#define FN(f) reinterpret_cast<void (*)()>(&f)
#define E(kind, T, lo, UP, cb, fr, cr) \
  {#lo, kind, sizeof(T), fr, cr, &invoke<&lo##_>, {FN(lo##_), FN(lo), FN(UP)}, &invoke<&cb>, FN(cb)}
#define E4(kind, lo, UP, fr, cr)                                                                         \
  E(kind, float, s##lo, S##UP, cblas_s##lo, fr, cr), E(kind, double, d##lo, D##UP, cblas_d##lo, fr, cr), \
    E(kind, c32, c##lo, C##UP, cblas_c##lo, fr, cr), E(kind, c64, z##lo, Z##UP, cblas_z##lo, fr, cr)
#define E2(kind, s, S, d, D, fr, cr) E(kind, float, s, S, cblas_##s, fr, cr), E(kind, double, d, D, cblas_##d, fr, cr)
#define I4(lo, UP)                                                                                   \
  E(DOT, float, is##lo, IS##UP, cblas_is##lo, "nxi", "nxi"),                                                   \
    E(DOT, double, id##lo, ID##UP, cblas_id##lo, "nxi", "nxi"),                                                \
    E(DOT, c32, ic##lo, IC##UP, cblas_ic##lo, "nxi", "nxi"), E(DOT, c64, iz##lo, IZ##UP, cblas_iz##lo, "nxi", "nxi")
#define C2(kind, c, C, z, Z, fr, cr) E(kind, c32, c, C, cblas_##c, fr, cr), E(kind, c64, z, Z, cblas_##z, fr, cr)

const Entry entries[] = {
  E4(AXPY, axpy, AXPY, "naxiyj", "naxiyj"), E4(AXPY, axpby, AXPBY, "naxibyj", "naxibyj"),
  E2(SCAL, sscal, SSCAL, dscal, DSCAL, "naxi", "naxi"), C2(SCAL, cscal, CSCAL, zscal, ZSCAL, "naxi", "naxi"),
  C2(SCAL, csscal, CSSCAL, zdscal, ZDSCAL, "naxi", "naxi"), E4(COPY, copy, COPY, "nxiyj", "nxiyj"),
  E4(SWAP, swap, SWAP, "nxiyj", "nxiyj"), E4(ROTG, rotg, ROTG, "efgh", "efgh"),
  E2(ROTMG, srotmg, SROTMG, drotmg, DROTMG, "efgvQ", "efgvQ"), E2(ROT, srot, SROT, drot, DROT, "nxiyjcs", "nxiyjcs"),
  C2(ROT, csrot, CSROT, zdrot, ZDROT, "nxiyjcs", "nxiyjcs"), E2(ROT, srotm, SROTM, drotm, DROTM, "nxiyjP", "nxiyjP"),
  C2(CABS1, scabs1, SCABS1, dcabs1, DCABS1, "z", "z"), E2(DOT, sdot, SDOT, ddot, DDOT, "nxiyj", "nxiyj"),
  E(DOT, c32, cdotu, CDOTU, cblas_cdotu_sub, "Rnxiyj", "nxiyjR"),
  E(DOT, c64, zdotu, ZDOTU, cblas_zdotu_sub, "Rnxiyj", "nxiyjR"),
  E(DOT, c32, cdotc, CDOTC, cblas_cdotc_sub, "Rnxiyj", "nxiyjR"),
  E(DOT, c64, zdotc, ZDOTC, cblas_zdotc_sub, "Rnxiyj", "nxiyjR"),
  E(DOT, float, dsdot, DSDOT, cblas_dsdot, "nxiyj", "nxiyj"),
  E(DOT, float, sdsdot, SDSDOT, cblas_sdsdot, "nqxiyj", "nqxiyj"),
  E2(DOT, sasum, SASUM, dasum, DASUM, "nxi", "nxi"), C2(DOT, scasum, SCASUM, dzasum, DZASUM, "nxi", "nxi"),
  E2(DOT, snrm2, SNRM2, dnrm2, DNRM2, "nxi", "nxi"), C2(DOT, scnrm2, SCNRM2, dznrm2, DZNRM2, "nxi", "nxi"),
  I4(amax, AMAX), I4(amin, AMIN),
  E4(GEMV, gemv, GEMV, "TmnaA1xibyj", "OTmnaA1xibyj"), E4(GBMV, gbmv, GBMV, "TmnluaA1xibyj", "OTmnluaA1xibyj"),
  E2(GER, sger, SGER, dger, DGER, "mnaxiyjA1", "OmnaxiyjA1"),
  C2(GER, cgeru, CGERU, zgeru, ZGERU, "mnaxiyjA1", "OmnaxiyjA1"),
  C2(GERC, cgerc, CGERC, zgerc, ZGERC, "mnaxiyjA1", "OmnaxiyjA1"),
  E2(SYMV, ssymv, SSYMV, dsymv, DSYMV, "UnaA1xibyj", "OUnaA1xibyj"),
  E2(SBMV, ssbmv, SSBMV, dsbmv, DSBMV, "UnkaA1xibyj", "OUnkaA1xibyj"),
  E2(SPMV, sspmv, SSPMV, dspmv, DSPMV, "UnaAxibyj", "OUnaAxibyj"),
  C2(HEMV, chemv, CHEMV, zhemv, ZHEMV, "UnaA1xibyj", "OUnaA1xibyj"),
  C2(HBMV, chbmv, CHBMV, zhbmv, ZHBMV, "UnkaA1xibyj", "OUnkaA1xibyj"),
  C2(HPMV, chpmv, CHPMV, zhpmv, ZHPMV, "UnaAxibyj", "OUnaAxibyj"),
  E2(SYR, ssyr, SSYR, dsyr, DSYR, "UnaxiA1", "OUnaxiA1"), E2(SPR, sspr, SSPR, dspr, DSPR, "UnaxiA", "OUnaxiA"),
  E2(SYR, ssyr2, SSYR2, dsyr2, DSYR2, "UnaxiyjA1", "OUnaxiyjA1"),
  E2(SPR, sspr2, SSPR2, dspr2, DSPR2, "UnaxiyjA", "OUnaxiyjA"),
  C2(HER, cher, CHER, zher, ZHER, "UnaxiA1", "OUnaxiA1"), C2(HPR, chpr, CHPR, zhpr, ZHPR, "UnaxiA", "OUnaxiA"),
  C2(HER, cher2, CHER2, zher2, ZHER2, "UnaxiyjA1", "OUnaxiyjA1"),
  C2(HPR, chpr2, CHPR2, zhpr2, ZHPR2, "UnaxiyjA", "OUnaxiyjA"),
  E4(TRMV, trmv, TRMV, "UTDnA1xi", "OUTDnA1xi"), E4(TRMV, trsv, TRSV, "UTDnA1xi", "OUTDnA1xi"),
  E4(TBMV, tbmv, TBMV, "UTDnkA1xi", "OUTDnkA1xi"), E4(TBMV, tbsv, TBSV, "UTDnkA1xi", "OUTDnkA1xi"),
  E4(TPMV, tpmv, TPMV, "UTDnAxi", "OUTDnAxi"), E4(TPMV, tpsv, TPSV, "UTDnAxi", "OUTDnAxi"),
  E4(GEMM, gemm, GEMM, "TtmnkaA1B2bC3", "OTtmnkaA1B2bC3"), E4(SYMM, symm, SYMM, "SUmnaA1B2bC3", "OSUmnaA1B2bC3"),
  C2(SYMM, chemm, CHEMM, zhemm, ZHEMM, "SUmnaA1B2bC3", "OSUmnaA1B2bC3"),
  E4(SYRK, syrk, SYRK, "UTnkaA1bC3", "OUTnkaA1bC3"), C2(HERK, cherk, CHERK, zherk, ZHERK, "UTnkaA1bC3", "OUTnkaA1bC3"),
  E4(SYRK, syr2k, SYR2K, "UTnkaA1B2bC3", "OUTnkaA1B2bC3"),
  C2(HERK, cher2k, CHER2K, zher2k, ZHER2K, "UTnkaA1B2bC3", "OUTnkaA1B2bC3"),
  E4(TRMM, trmm, TRMM, "SUTDmnaA1B2", "OSUTDmnaA1B2"), E4(TRMM, trsm, TRSM, "SUTDmnaA1B2", "OSUTDmnaA1B2"),
  {"convolution_mm", CONV, sizeof(float), nullptr, "FGwIWVZJKXprYo;", nullptr, {}, &invoke<&convolution_mm>,
   FN(convolution_mm)},
};
constexpr size_t entry_count = sizeof entries / sizeof entries[0];

// ---- Checking

int real_stderr = 2;  // the process's standard error; fd 2 itself catches the reports during a call
FILE* report_file;

struct Stats {
  long valid, large, refused;
};
Stats stats[KINDS];

// The call as one line: the entry, its form and each argument by role (arrays by length and placement).
std::string describe(const Ctx& c) {
  std::string s = std::string(c.cblas ? "cblas_" : "") + c.e->name + (c.cblas ? "" : " #" + std::to_string(c.form)) +
                  (c.valid ? " valid:" : " invalid:");
  for (const char* r = c.roles; *r; ++r) {
    const Operand& o = c.op[*r];
    s += " " + std::string(1, *r) + "=";
    if (std::strchr("abcsqv", *r)) s += "(" + std::to_string(c.sv[*r][0]) + "," + std::to_string(c.sv[*r][1]) + ")";
    else if (std::strchr("ABCxyPQRefghzIJY", *r)) s += "[" + std::to_string(o.count) + "]";
    else s += std::to_string(c.iv[*r]) + (std::isprint(c.letter[*r]) ? std::string("/") + c.letter[*r] : "");
    if (o.map != nullptr) s += o.at_end ? "@end" : "@start";
  }
  return s + "\n";
}

[[noreturn]] void fail(const Ctx& c, const char* what, char role, long pos) {
  std::string s = std::string("kovra_fuzz: ") + what;
  if (role) s += " in argument '" + std::string(1, role) + "' at element " + std::to_string(pos);
  s += "\n  " + describe(c);
  if (write(real_stderr, s.data(), s.size()) < 0) std::abort();
  std::abort();
}

void check(Ctx& c, bool reported) {
  if (reported == c.valid) fail(c, c.valid ? "report for valid arguments" : "no report for a bad argument", 0, 0);
  if (c.e->kind == DOT && c.e->name[0] == 'i') {
    const long n = c.iv['n'];
    if (c.result < 0 || c.result >= std::max(1L, n)) fail(c, "index out of range", 0, c.result);
  }
  for (const char* r = c.roles; *r; ++r) {
    Operand& o = c.op[int(*r)];
    if (o.map == nullptr) continue;
    std::vector<bool> may(size_t(o.count), false);
    if (o.out && c.valid)
      for (long p : o.writable)
        if (p >= 0 && p < o.count) may[size_t(p)] = true;
    for (long i = 0; i < o.count; ++i)
      if (!may[size_t(i)] && std::memcmp(o.data + i * long(o.esize), o.before.data() + i * long(o.esize), o.esize))
        fail(c, o.out ? "stray write" : "input changed", *r, i);
  }
}

void release(Ctx& c) {
  for (Operand& o : c.op.v)
    if (o.map != nullptr) munmap(o.map, o.map_bytes);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // One or two workers keep the parallel paths busy without crowding a shared machine.
  vesk_stop();
  const char* w = std::getenv("KOVRA_FUZZ_WORKERS");
  vesk_start(w != nullptr ? std::atoi(w) : 2);
  if (const char* dir = std::getenv("KOVRA_FUZZ_WRITE_SEEDS")) {
    // The seed corpus: for the first and the last entry of every family, 512 bytes from a fixed generator
    // with the entry's index in the bytes read first (the last ones), alternating the two forms.
    Ctx g;
    g.rng = 0x9E3779B97F4A7C15u;
    for (size_t i = 0; i < entry_count; ++i) {
      const bool first = i == 0 || entries[i - 1].kind != entries[i].kind;
      const bool last = i + 1 == entry_count || entries[i + 1].kind != entries[i].kind;
      if (!first && !last) continue;
      unsigned char bytes[512];
      for (unsigned char& b : bytes) b = static_cast<unsigned char>(next(g));
      size_t end = sizeof bytes;
      if (entry_count > 256) bytes[--end] = static_cast<unsigned char>(i >> 8);
      bytes[--end] = static_cast<unsigned char>(i);
      bytes[end - 1] = static_cast<unsigned char>((bytes[end - 1] & ~1u) | (last ? 1u : 0u));
      const std::string path = std::string(dir) + "/" + entries[i].name + (last ? "-cblas" : "");
      FILE* f = std::fopen(path.c_str(), "wb");
      if (f == nullptr || std::fwrite(bytes, 1, sizeof bytes, f) != sizeof bytes || std::fclose(f) != 0) return 1;
    }
    std::exit(0);
  }
  real_stderr = dup(2);
  __sanitizer_set_report_fd(reinterpret_cast<void*>(long(real_stderr)));
  report_file = std::tmpfile();
  if (std::getenv("KOVRA_FUZZ_STATS") != nullptr)
    std::atexit([] {
      std::fprintf(stderr, "%-8s %8s %8s %8s\n", "family", "valid", ">cutoff", "refused");
      for (int k = 0; k < KINDS; ++k)
        std::fprintf(stderr, "%-8s %8ld %8ld %8ld\n", kind_name[k], stats[k].valid, stats[k].large, stats[k].refused);
    });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  static Ctx c;
  for (Operand& o : c.op.v) o = Operand();
  c.iv = {}, c.sv = {}, c.letter = {};
  c.e = &entries[in.ConsumeIntegralInRange<size_t>(0, entry_count - 1)];
  c.cblas = c.e->froles == nullptr || (c.e->cblas != nullptr && in.ConsumeBool());
  c.form = in.ConsumeIntegralInRange(0, 2);
  c.roles = c.cblas ? c.e->croles : c.e->froles;
  c.valid = true, c.result = 0;
  c.rng = in.ConsumeIntegral<uint64_t>() | 1;
  decode(c, in);
  shape(c);
  const uint64_t ends = in.ConsumeIntegral<uint64_t>();
  for (int r = 0; r < 128; ++r) c.op[r].at_end = (ends >> (r % 64)) & 1;
  const long big = std::max({c.iv['m'], c.iv['n'], c.iv['k'], c.iv['K'] * c.iv['o']});
  Stats& st = stats[c.e->kind];
  (c.valid ? st.valid : st.refused) += 1, st.large += c.valid && big > 8;

  fflush(stderr);
  rewind(report_file);
  if (ftruncate(fileno(report_file), 0) != 0 || dup2(fileno(report_file), 2) < 0) std::abort();
  if (c.cblas) c.e->cblas(c, c.e->cblas_fn);
  else c.e->call(c, c.e->fortran[c.form]);
  fflush(stderr);
  dup2(real_stderr, 2);
  char text[512] = {};
  const ssize_t got = pread(fileno(report_file), text, sizeof text - 1, 0);
  const bool reported = got > 0 && (std::strstr(text, "illegal value") != nullptr ||
                                    (std::strstr(text, "SYSTEM ERROR") && !std::strstr(text, "Aligned memory")));
  static const bool trace = std::getenv("KOVRA_FUZZ_TRACE") != nullptr;
  if (trace) std::fputs(describe(c).c_str(), stderr);
  check(c, reported);
  release(c);
  return 0;
}
