// Level 2 triangular products (TRMV, TBMV, TPMV) and solves (TRSV, TBSV, TPSV) in full, band and packed storage:
// products against the wide reference, solves by their residual, over tables of letters, orders, bands and
// increments with NaN in every stored position the triangle doesn't name; what a zero element keeps out; the
// argument checks with their reports; the entries in both forms and both orders; the cut-off.
#include <gtest/gtest.h>
#include <vesk/exceptions.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level2/trmv.h"
#include "parallel/blas/level2/trsv.h"
#include "support/cases.h"
#include "support/operands.h"
#include "support/reference.h"

namespace kovra_test {
namespace {

using namespace parallel::blas;

// Storage forms by the letter after the family's T: 'R' full, 'B' band, 'P' packed.
std::string family(bool solve, char form) { return std::string("T") + form + (solve ? "SV " : "MV "); }

template <typename T>
void routine(bool solve, bool serial, char form, char uplo, char trans, char diag, int n, int k, const T* a, int lda,
             T* x, int incx) {
  if (form == 'R')
    (solve ? (serial ? trsv_serial<T> : trsv_front<T>)
           : (serial ? trmv_serial<T> : trmv_front<T>))(uplo, trans, diag, n, a, lda, x, incx);
  else if (form == 'B')
    (solve ? (serial ? tbsv_serial<T> : tbsv_front<T>)
           : (serial ? tbmv_serial<T> : tbmv_front<T>))(uplo, trans, diag, n, k, a, lda, x, incx);
  else
    (solve ? (serial ? tpsv_serial<T> : tpsv_front<T>)
           : (serial ? tpmv_serial<T> : tpmv_front<T>))(uplo, trans, diag, n, a, x, incx);
}

template <typename T>
void fortran(bool solve, char form, char uplo, char trans, char diag, int n, int k, const T* a, int lda, T* x,
             int incx) {
  if (form == 'R')
    (solve ? pick<T>(strsv_, dtrsv_, ctrsv_, ztrsv_)
           : pick<T>(strmv_, dtrmv_, ctrmv_, ztrmv_))(&uplo, &trans, &diag, &n, a, &lda, x, &incx);
  else if (form == 'B')
    (solve ? pick<T>(stbsv_, dtbsv_, ctbsv_, ztbsv_)
           : pick<T>(stbmv_, dtbmv_, ctbmv_, ztbmv_))(&uplo, &trans, &diag, &n, &k, a, &lda, x, &incx);
  else
    (solve ? pick<T>(stpsv_, dtpsv_, ctpsv_, ztpsv_)
           : pick<T>(stpmv_, dtpmv_, ctpmv_, ztpmv_))(&uplo, &trans, &diag, &n, a, x, &incx);
}

template <typename T>
void cblas(bool solve, char form, int order, int uplo, int trans, int diag, int n, int k, const T* a, int lda, T* x,
           int incx) {
  const auto o = CBLAS_ORDER(order);
  const auto u = CBLAS_UPLO(uplo);
  const auto t = CBLAS_TRANSPOSE(trans);
  const auto d = CBLAS_DIAG(diag);
  if (form == 'R')
    (solve ? pick<T>(cblas_strsv, cblas_dtrsv, cblas_ctrsv, cblas_ztrsv)
           : pick<T>(cblas_strmv, cblas_dtrmv, cblas_ctrmv, cblas_ztrmv))(o, u, t, d, n, a, lda, x, incx);
  else if (form == 'B')
    (solve ? pick<T>(cblas_stbsv, cblas_dtbsv, cblas_ctbsv, cblas_ztbsv)
           : pick<T>(cblas_stbmv, cblas_dtbmv, cblas_ctbmv, cblas_ztbmv))(o, u, t, d, n, k, a, lda, x, incx);
  else
    (solve ? pick<T>(cblas_stpsv, cblas_dtpsv, cblas_ctpsv, cblas_ztpsv)
           : pick<T>(cblas_stpmv, cblas_dtpmv, cblas_ctpmv, cblas_ztpmv))(o, u, t, d, n, a, x, incx);
}

struct shape {
  char form, uplo, trans, diag;
  int n, k, incx;  // k: a band's off-diagonals, else unused
};

// A triangle in its storage with NaN in every stored position it doesn't name (the other triangle of a full
// matrix, the corner of a band, a unit diagonal) and the sentinel in the padding beyond. For a solve the
// off-diagonal parts of each row and column sum to at most 0.71 and the diagonal is 1 or at least 1.5, so op(A)
// is well conditioned whatever the letters.
template <typename T>
struct triangle_case : shape {
  padded_matrix<T> a;
  strided_vector<T> x;

  triangle_case(shape s, unsigned seed, bool dominant)
      : shape(s),
        a(rows(), form == 'P' ? 1 : n, rows() + (form == 'P' ? 0 : 1)),
        x(n, incx, random_values<T>(n, seed)) {
    a.fill(nan_element<T>());
    const int w = width(), span = 2 * w + 1;
    const auto v = random_values<T>(n * span, seed + 1);
    for (int j = 0; j < n; ++j)
      for (int i = std::max(0, j - w); i <= std::min(n - 1, j + w); ++i) {
        T* const p = slot(i, j);
        const T e = v[std::size_t(j) * span + i - j + w];
        if (p != nullptr && !(i == j && unit()))
          *p = !dominant ? e : i == j ? e * real_t<T>(0.5) + T(2) : e * real_t<T>(0.5 / std::max(w, 1));
      }
  }
  int rows() const { return form == 'R' ? n : form == 'B' ? k + 1 : n * (n + 1) / 2; }
  int width() const { return std::min(form == 'B' ? k : n, n - 1); }
  bool upper() const { return (uplo & 0xDF) == 'U'; }
  bool unit() const { return (diag & 0xDF) == 'U'; }
  // Where A(i, j) is stored; null outside the triangle and the band.
  T* slot(int i, int j) {
    if ((upper() ? i > j : i < j) || std::abs(i - j) > width()) return nullptr;
    if (form == 'R') return &a.at(i, j);
    if (form == 'B') return &a.at(upper() ? k + i - j : i - j, j);
    return &a.at(upper() ? i + j * (j + 1) / 2 : i - j + j * (2 * n - j + 1) / 2, 0);
  }
  T value(int i, int j) {
    const T* p = slot(i, j);
    return p == nullptr ? T(0) : i == j && unit() ? T(1) : *p;
  }
  // op(A) v, each row summed over the columns of its band.
  wide_result<T> product(const std::vector<T>& v) {
    const int w = width();
    const auto term = [&](int i, int, int l) {
      const int c = i - w + l;
      if (c < 0 || c >= n) return wide_t<T>(0);
      return op_element<T>(trans, [&](int r, int q) { return value(r, q); }, i, c) * widen(v[c]);
    };
    return reference_product(n, 1, 2 * w + 1, term, T(1), T(0), [](int, int) { return T(0); });
  }
  void run(bool solve, bool serial) {
    routine(solve, serial, form, uplo, trans, diag, n, k, a.data(), a.ld(), x.data(), incx);
  }
};

template <typename T>
T narrow(const wide_t<T>& v) {
  return make<T>(double(std::real(v)), double(std::imag(v)));
}

// A product's x must be op(A) x. A solve's right-hand side b = op(A) x0 must be op(A) x within the bound of that
// product, a few eps per term: substitution's backward error is about n eps |op(A)| |x|. In 'N' forms one element
// is zero, the middle one for a product and the first solved for a solve, and its whole column NaN, which the
// zero must keep out.
template <typename T>
void check_case(const shape& s, bool solve, bool serial) {
  SCOPED_TRACE(::testing::Message() << family(solve, s.form) << s.uplo << s.trans << s.diag << " n " << s.n << " k "
                                    << s.k << " incx " << s.incx << (serial ? " serial" : ""));
  triangle_case<T> c(s, unsigned(s.n * 31 + s.k), solve);
  const bool plain = (s.trans & 0xDF) == 'N';
  const int zero = !solve ? s.n / 2 : c.upper() ? s.n - 1 : 0;
  if (plain) c.x[zero] = make<T>(-0.0, 0.0);
  auto want = c.product(c.x.logical());
  for (int i = 0; i < s.n && solve; ++i) c.x[i] = narrow<T>(want.value[i]);
  triangle_case<T> run = c;
  for (int i = 0; i < s.n && plain; ++i)
    if (T* p = run.slot(i, zero)) *p = nan_element<T>();
  run.run(solve, serial);
  if (solve) want = c.product(run.x.logical());
  EXPECT_TRUE(close_to(want, solve ? c.x.logical() : run.x.logical()) && run.x.intact() && run.a.intact());
}

template <typename T>
class Triangular : public ::testing::Test {};
TYPED_TEST_SUITE(Triangular, element_types, element_type_names);

// n = 8 runs serially; 9 launches (a solve's steps all short); 10 nests a solve's first long step; 40 spans
// several row tiles of a product and nests most steps. A band of 11 is wider than the small orders and launches
// at n = 8 too. Half the rows give their letters in lower case. The serial forms run the same table.
TYPED_TEST(Triangular, ProductsAndSolvesMatchTheReference) {
  std::vector<shape> table;
  for (char form : {'R', 'B', 'P'})
    for (char uplo : {'U', 'L'})
      for (char trans : {'N', 'T', 'C'})
        for (char diag : {'N', 'U'})
          for (int n : {8, 9, 10, 40})
            for (int k : form == 'B' ? std::vector{0, 1, 11} : std::vector{0})
              for (int incx : {1, 2, -1, -3}) {
                const char lower = (n + incx) % 2 ? 0x20 : 0;
                table.push_back({form, char(uplo | lower), char(trans | lower), char(diag | lower), n, k, incx});
              }
  for (bool solve : {false, true}) {
    for_each_case(table, [&](const shape& s) { check_case<TypeParam>(s, solve, false); }, {1, 3});
    for_each_case(table, [&](const shape& s) { check_case<TypeParam>(s, solve, true); });
  }
}

// A strided x for which n * sizeof(T) + 4096 reaches 1 MiB is solved in place at its (negative) stride; one
// element shorter, it is gathered first. A band of two keeps the order cheap.
TYPED_TEST(Triangular, SolvesTooLongForTheScratchRunInPlace) {
  const int first = (1048576 - 4096) / int(sizeof(TypeParam));
  std::vector<shape> table;
  for (int n : {first, first - 1})
    for (char uplo : {'U', 'L'})
      for (char trans : {'N', 'T', 'C'}) table.push_back({'B', uplo, trans, 'N', n, 2, n == first ? -2 : 3});
  for_each_case(table, [](const shape& s) { check_case<TypeParam>(s, true, false); }, {2});
}

// Through the routines (order -1: the front, then the serial form, each reporting) and the CBLAS entries,
// whose enumerations outside their lists become letters that positions 1 to 3 refuse; the other positions
// pass unchanged in both orders. x stays untouched, conjugated twice in a row-major ConjTrans.
TYPED_TEST(Triangular, EachBadArgumentIsReportedAtItsPosition) {
  using T = TypeParam;
  struct bad {
    char form;
    int order, uplo, trans, diag, n, k, lda, incx, position;
  };
  const int fn = -1, col = CblasColMajor, row = CblasRowMajor, up = CblasUpper, lo = CblasLower, nt = CblasNoTrans;
  const int ct = CblasConjTrans, nu = CblasNonUnit, un = CblasUnit;
  // clang-format off
  const bad calls[] = {
      {'R', fn, 'X', 'N', 'N', 3, 0, 3, 1, 1}, {'R', fn, 'U', 'X', 'N', 3, 0, 3, 1, 2},
      {'R', fn, 'l', 't', 'X', 3, 0, 3, 1, 3}, {'R', fn, 'U', 'c', 'n', -1, 0, 0, 0, 4},
      {'R', fn, 'L', 'N', 'u', 3, 0, 2, 1, 6}, {'R', fn, 'U', 'T', 'N', 0, 0, 0, 1, 6},
      {'R', fn, 'u', 'C', 'U', 3, 0, 3, 0, 8}, {'R', fn, 'Q', 'Q', 'Q', -1, 0, 0, 0, 1},
      {'B', fn, 'X', 'N', 'N', 3, 1, 2, 1, 1}, {'B', fn, 'L', 'X', 'N', 3, 1, 2, 1, 2},
      {'B', fn, 'u', 'C', 'X', 3, 1, 2, 1, 3}, {'B', fn, 'U', 'N', 'N', -1, -1, 0, 0, 4},
      {'B', fn, 'l', 'T', 'N', 3, -1, 0, 0, 5}, {'B', fn, 'U', 'c', 'U', 3, 2, 2, 1, 7},
      {'B', fn, 'L', 'N', 'N', 0, 0, 0, 1, 7}, {'B', fn, 'U', 'n', 'N', 9, 1, 2, 0, 9},
      {'P', fn, 'X', 'N', 'N', 3, 0, 0, 1, 1}, {'P', fn, 'U', 'X', 'N', 3, 0, 0, 1, 2},
      {'P', fn, 'L', 'C', 'X', 3, 0, 0, 1, 3}, {'P', fn, 'L', 't', 'n', -1, 0, 0, 0, 4},
      {'P', fn, 'u', 'N', 'U', 3, 0, 0, 0, 7},
      {'R', col, 120, nt, nu, 3, 0, 3, 1, 1}, {'B', row, 123, nt, nu, 3, 1, 2, 1, 1},
      {'P', col, up, 110, nu, 3, 0, 0, 1, 2}, {'R', row, lo, 114, nu, 3, 0, 3, 1, 2},
      {'B', col, up, ct, 130, 3, 1, 2, 1, 3}, {'P', row, lo, ct, 133, 3, 0, 0, 1, 3},
      {'R', row, up, ct, un, -1, 0, 1, 1, 4}, {'R', col, lo, nt, un, 3, 0, 2, 1, 6},
      {'B', row, up, nt, nu, 3, -1, 1, 1, 5}, {'B', col, lo, ct, un, 3, 1, 1, 1, 7},
      {'P', row, up, ct, nu, 3, 0, 0, 0, 7}, {'R', col, up, nt, nu, 3, 0, 3, 0, 8},
      {'B', row, lo, ct, nu, 3, 1, 2, 0, 9}};
  // clang-format on
  const std::vector<T> a(16, make<T>(1)), untouched(4, sentinel<T>());
  for (bool solve : {false, true})
    for_each_case(calls, [&](const bad& c) {
      std::vector<T> x = untouched;
      const std::string text = stderr_of([&] {
        if (c.order != fn)
          return cblas(solve, c.form, c.order, c.uplo, c.trans, c.diag, c.n, c.k, a.data(), c.lda, x.data(), c.incx);
        for (bool serial : {false, true})
          routine(solve, serial, c.form, char(c.uplo), char(c.trans), char(c.diag), c.n, c.k, a.data(), c.lda,
                  x.data(), c.incx);
      });
      const std::string once = report(family(solve, c.form).c_str(), c.position);
      EXPECT_EQ(text, c.order == fn ? once + once : once);
      EXPECT_TRUE(all_same_bits(x, untouched));
    });
}

// Fortran and column-major CBLAS give the routine's bits. Row-major reads the storage as that of the transpose:
// the routine on the other triangle, NoTrans as 'T', Trans as 'N', and ConjTrans as 'N' on the conjugated x,
// conjugated back (plain 'N' for a real type). Order 0 is row-major too.
TYPED_TEST(Triangular, EntriesInBothFormsAndBothOrders) {
  using T = TypeParam;
  const int n = 11, k = 3, inc = -2;
  const auto conjugate = [](T* x) {
    for (int i = 0; i < n; ++i) x[-inc * i] = conj_of(x[-inc * i]);
  };
  for (bool solve : {false, true})
    for (char form : {'R', 'B', 'P'})
      for (char uplo : {'U', 'L'})
        for (char diag : {'N', 'U'})
          for (int i = 0; i < 3; ++i) {
            SCOPED_TRACE(::testing::Message() << family(solve, form) << uplo << diag << " trans " << i);
            const char trans = "NTC"[i];
            const int ct = CblasNoTrans + i, cd = diag == 'N' ? CblasNonUnit : CblasUnit;
            const int cu = uplo == 'U' ? CblasUpper : CblasLower, other = CblasUpper + CblasLower - cu;
            const bool conj = is_complex_v<T> && ct == CblasConjTrans;
            triangle_case<T> c({form, uplo, trans, diag, n, k, inc}, 7, solve);
            const T* a = c.a.data();
            const int lda = c.a.ld();
            const std::vector<T> none;
            expect_same_effect(
                c.x.logical(), inc, none, 1,
                [&](T* x, T*) { routine(solve, false, form, uplo, trans, diag, n, k, a, lda, x, inc); },
                [&](T* x, T*) { fortran(solve, form, uplo, trans, diag, n, k, a, lda, x, inc); },
                [&](T* x, T*) { cblas(solve, form, CblasColMajor, cu, ct, cd, n, k, a, lda, x, inc); });
            expect_same_effect(
                c.x.logical(), inc, none, 1,
                [&](T* x, T*) {
                  if (conj) conjugate(x);
                  routine(solve, false, form, uplo, i == 0 ? 'T' : 'N', diag, n, k, a, lda, x, inc);
                  if (conj) conjugate(x);
                },
                [&](T* x, T*) { cblas(solve, form, CblasRowMajor, other, ct, cd, n, k, a, lda, x, inc); },
                [&](T* x, T*) { cblas(solve, form, 0, other, ct, cd, n, k, a, lda, x, inc); });
          }
}

// Orders up to 8 (a band's k too) run on the calling thread, and n = 0 returns after the checks without
// reading anything, even with no matrix; one more row or off-diagonal launches, which a stopped runtime refuses.
TEST(TriangularCutOff, OnlyCallsAboveEightNeedTheRuntime) {
  worker_scope restart_afterwards(1);
  vesk_stop();
  std::vector<double> a(400, 0.5), x(20, 1);
  for (bool solve : {false, true}) {
    EXPECT_NO_THROW(routine(solve, false, 'R', 'U', 'N', 'N', 8, 0, a.data(), 8, x.data(), 1));
    EXPECT_NO_THROW(routine(solve, false, 'B', 'L', 'T', 'N', 8, 8, a.data(), 9, x.data(), -1));
    EXPECT_NO_THROW(routine(solve, false, 'P', 'U', 'C', 'U', 8, 0, a.data(), 0, x.data(), 2));
    EXPECT_NO_THROW(routine<double>(solve, false, 'R', 'L', 'N', 'N', 0, 0, nullptr, 1, nullptr, 1));
    for (auto [form, n, k] : {std::tuple{'R', 9, 0}, {'P', 9, 0}, {'B', 9, 0}, {'B', 5, 9}, {'B', 8, 9}})
      EXPECT_THROW(routine(solve, false, form, 'U', 'N', 'N', n, k, a.data(), 10, x.data(), 1), vesk::api_exception)
          << family(solve, form) << n << " " << k;
  }
}

}  // namespace
}  // namespace kovra_test
