// Level 2: GEMV, GBMV and the GER family against the wide reference over tables of shapes, bands, letters and
// increments on several worker counts; what must not be read; the argument checks with their reports; the
// entries in both forms and orders; the order of the dots, which no tolerance shows.
#include <gtest/gtest.h>
#include <vesk/exceptions.h>

#include <algorithm>
#include <array>
#include <vector>

#include "kernels/get_kernel.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level2/gbmv.h"
#include "parallel/blas/level2/gemv.h"
#include "parallel/blas/level2/ger.h"
#include "parallel/blas/level2/vector_primitives.h"
#include "support/cases.h"
#include "support/operands.h"
#include "support/reference.h"
#include "threading/scratch.h"

namespace kovra_test {
namespace {

using namespace parallel::blas;

struct shape {
  char trans;
  int m, n, kl, ku, incx, incy;  // kl < 0: GEMV
};

// A's leading dimension is `pad` beyond its stored rows; that padding and the band positions outside A
// keep the sentinel, so reading one shows.
template <typename T>
struct matvec_case : shape {
  padded_matrix<T> a;
  strided_vector<T> x, y;

  matvec_case(shape s, unsigned seed = 1, int pad = 1)
      : shape(s),
        a(rows(), n, rows() + pad),
        x(len(n, m), incx, random_values<T>(len(n, m), seed + 1)),
        y(len(m, n), incy, random_values<T>(len(m, n), seed + 2)) {
    a.random(seed);
    for (int j = 0; j < n && kl >= 0; ++j)
      for (int r = 0; r <= kl + ku; ++r)
        if (r - ku + j < 0 || r - ku + j >= m) a.at(r, j) = sentinel<T>();
  }
  int rows() const { return kl >= 0 ? kl + ku + 1 : std::max(m, 1); }
  int len(int if_n, int if_t) const { return (trans & 0xDF) == 'N' ? if_n : if_t; }
  wide_result<T> expected(T alpha, T beta, bool conjugate_a = false) const {
    const auto xl = x.logical(), yl = y.logical();
    const auto at = [&](int i, int j) {
      const T v = kl < 0 ? a.at(i, j) : i - j > kl || j - i > ku ? T(0) : a.at(ku + i - j, j);
      return helper::CONJG(conjugate_a, v);
    };
    const auto term = [&](int r, int, int l) { return op_element<T>(trans, at, r, l) * widen(xl[l]); };
    return reference_product(len(m, n), 1, len(n, m), term, alpha, beta, [&](int r, int) { return yl[r]; });
  }
  void run(T alpha, T beta, bool serial = false) {
    T *ap = a.data(), *xp = x.data(), *yp = y.data();
    if (kl >= 0)
      (serial ? gbmv_serial<T> : gbmv_front<T>)(trans, m, n, kl, ku, alpha, ap, a.ld(), xp, incx, beta, yp, incy);
    else
      (serial ? gemv_serial<T> : gemv_front<T>)(trans, m, n, alpha, ap, a.ld(), xp, incx, beta, yp, incy);
  }
  void fortran(T alpha, T beta) {
    const int lda = a.ld();
    T *ap = a.data(), *xp = x.data(), *yp = y.data();
    if (kl >= 0)
      pick<T>(sgbmv_, dgbmv_, cgbmv_, zgbmv_)(&trans, &m, &n, &kl, &ku, &alpha, ap, &lda, xp, &incx, &beta, yp, &incy);
    else
      pick<T>(sgemv_, dgemv_, cgemv_, zgemv_)(&trans, &m, &n, &alpha, ap, &lda, xp, &incx, &beta, yp, &incy);
  }
  // A row-major call is given this A as the row-major storage of its transpose.
  void cblas(int order, CBLAS_TRANSPOSE t, T alpha, T beta) {
    const bool row = order != CblasColMajor;
    const auto o = CBLAS_ORDER(order);
    const auto al = scalar(alpha), be = scalar(beta);
    T *ap = a.data(), *xp = x.data(), *yp = y.data();
    const int rows = row ? n : m, cols = row ? m : n, ld = a.ld();
    if (kl >= 0)
      pick<T>(cblas_sgbmv, cblas_dgbmv, cblas_cgbmv, cblas_zgbmv)(o, t, rows, cols, row ? ku : kl, row ? kl : ku, al,
                                                                  ap, ld, xp, incx, be, yp, incy);
    else
      pick<T>(cblas_sgemv, cblas_dgemv, cblas_cgemv, cblas_zgemv)(o, t, rows, cols, al, ap, ld, xp, incx, be, yp, incy);
  }
};

CBLAS_TRANSPOSE cblas_trans(char t) { return t == 'N' ? CblasNoTrans : t == 'T' ? CblasTrans : CblasConjTrans; }

template <typename T>
class Matvec : public ::testing::Test {};
TYPED_TEST_SUITE(Matvec, element_types, element_type_names);

// Then x and the slice of y too long for the scratch: the tile runs strided in place.
TYPED_TEST(Matvec, MatchTheReference) {
  using T = TypeParam;
  const int huge = int(threading::scratch_bytes / sizeof(T));
  std::vector<shape> table, single = {{'N', 9, huge, -1, 0, -2, 2}, {'T', huge, 9, -1, 0, -2, 2}};
  for (char trans : {'N', 'T', 'C', 'n', 't', 'c'})
    for (auto [m, n] : {std::pair{8, 8}, {9, 1}, {1, 9}, {7, 9}, {17, 5}, {37, 11}, {33, 40}, {100, 3}, {3, 100}})
      for (auto [kl, ku] : {std::pair{-1, 0}, {0, 0}, {1, 0}, {0, 1}, {7, 1}, {1, 7}, {120, 3}, {2, 120}})
        for (auto [incx, incy] : {std::pair{1, 1}, {-2, 1}, {1, -3}, {3, 2}})
          table.push_back({trans, m, n, kl, ku, incx, incy});
  const auto check = [](const shape& s) {
    matvec_case<T> c(s, s.m * 7 + s.n, s.n == int(threading::scratch_bytes / sizeof(T)) ? 0 : 1);
    const auto want = c.expected(make<T>(0.75, -0.5), make<T>(-1.25, 0.25));
    c.run(make<T>(0.75, -0.5), make<T>(-1.25, 0.25));
    ASSERT_TRUE(close_to(want, c.y.logical()) && c.y.intact() && c.x.intact());
  };
  for_each_case(table, check, {1, 2, 3});
  for_each_case(single, check);
}

// beta = 0 never reads y, and in 'N' a zero x_0 keeps a NaN column 0 out; alpha = 0 scales y by beta and
// reads neither A nor x; beta = 1 multiplies nothing ((inf, 0) * (1, 0) would have a NaN imaginary part);
// an empty A writes nothing, whatever beta.
TYPED_TEST(Matvec, ScalarsAndZerosKeepNaNOut) {
  using T = TypeParam;
  const T nan = nan_element<T>();
  for (auto [kl, ku] : {std::pair{-1, 0}, {2, 3}})
    for (auto [m, n] : {std::pair{8, 8}, {9, 1}, {1, 9}, {40, 33}})
      for (char trans : {'N', 'C'})
        for (int incy : {1, -3}) {
          SCOPED_TRACE(::testing::Message() << trans << " " << m << "x" << n << " kl " << kl << " incy " << incy);
          matvec_case<T> c({trans, m, n, kl, ku, 2, incy}, 3), scaled = c, one = c, empty({'T', 0, n, kl, ku, 1, incy});
          if (trans == 'N') c.x[0] = make<T>(0, -0.0);
          const auto want = c.expected(make<T>(0.5, 1.5), make<T>(0));
          for (int i = 0; i < c.len(m, n); ++i) c.y[i] = nan;
          for (int r = 0; r < c.a.rows() && trans == 'N'; ++r) c.a.at(r, 0) = nan;
          c.run(make<T>(0.5, 1.5), make<T>(0));
          EXPECT_TRUE(close_to(want, c.y.logical()) && c.y.intact());
          std::vector<T> times_beta;
          for (const T& v : scaled.y.logical()) times_beta.push_back(helper::mul(make<T>(0.5, -0.5), v));
          scaled.a.fill(nan);
          for (int i = 0; i < scaled.len(n, m); ++i) scaled.x[i] = nan;
          scaled.run(make<T>(0), make<T>(0.5, -0.5));
          one.y[0] = make<T>(INFINITY, 0);
          one.run(make<T>(0.5, 0.5), make<T>(1));
          EXPECT_TRUE(all_same_bits(scaled.y.logical(), times_beta) && !has_nan(one.y[0]));
          for (int i = 0; i < n; ++i) empty.y[i] = sentinel<T>();
          empty.run(make<T>(1), make<T>(0));
          empty.run(make<T>(1), make<T>(0), true);
          EXPECT_TRUE(all_same_bits(empty.y.logical(), std::vector<T>(n, sentinel<T>())));
        }
}

// The routines (the front, then the serial form, each reporting) and the CBLAS entries, which report the
// positions of the call they make: row-major exchanges M and N, KL and KU. y stays untouched; a band lda
// of exactly kl + ku + 1 is accepted.
TYPED_TEST(Matvec, EachBadArgumentIsReportedAtItsPosition) {
  using T = TypeParam;
  struct bad {
    int order;
    bool band;
    int trans, m, n, kl, ku, lda, incx, incy, position;
  };
  const int fn = 0, col = CblasColMajor, row = CblasRowMajor, nt = CblasNoTrans, tr = CblasTrans, ct = CblasConjTrans;
  // clang-format off
  const bad calls[] = {
      {fn, false, 'X', 2, 2, 0, 0, 2, 1, 1, 1}, {fn, false, 'N', -1, 2, 0, 0, 2, 1, 1, 2},
      {fn, false, 'T', 2, -1, 0, 0, 2, 1, 1, 3}, {fn, false, 'N', 3, 2, 0, 0, 2, 1, 1, 6},
      {fn, false, 'c', 0, 2, 0, 0, 0, 1, 1, 6}, {fn, false, 'N', 2, 2, 0, 0, 2, 0, 1, 8},
      {fn, false, 'T', 2, 2, 0, 0, 2, 1, 0, 11}, {fn, false, 'Q', -1, -1, 0, 0, 0, 0, 0, 1},
      {fn, false, 'n', 2, -1, 0, 0, 0, 0, 0, 3}, {fn, true, 'Y', 2, 2, 1, 1, 3, 1, 1, 1},
      {fn, true, 'N', -1, 2, 1, 1, 3, 1, 1, 2}, {fn, true, 'T', 2, -1, 1, 1, 3, 1, 1, 3},
      {fn, true, 'N', 2, 2, -1, 1, 3, 1, 1, 4}, {fn, true, 'N', 2, 2, 1, -1, 3, 1, 1, 5},
      {fn, true, 'N', 2, 2, 1, 1, 2, 1, 1, 8}, {fn, true, 'C', 2, 2, 0, 0, 0, 1, 1, 8},
      {fn, true, 'N', 2, 2, 1, 1, 3, 0, 1, 10}, {fn, true, 't', 2, 2, 1, 1, 3, 1, 0, 13},
      {col, false, 110, 2, 2, 0, 0, 2, 1, 1, 1}, {row, false, 114, 2, 2, 0, 0, 2, 1, 1, 1},
      {col, false, nt, -1, 2, 0, 0, 2, 1, 1, 2}, {row, false, nt, -1, 2, 0, 0, 2, 1, 1, 3},
      {row, false, tr, 2, -1, 0, 0, 2, 1, 1, 2}, {row, false, nt, 2, 3, 0, 0, 2, 1, 1, 6},
      {row, false, ct, 2, 2, 0, 0, 2, 1, 0, 11}, {row, true, 99, 2, 2, 0, 0, 1, 1, 1, 1},
      {row, true, nt, -1, 2, 0, 0, 1, 1, 1, 3}, {row, true, tr, 2, -1, 0, 0, 1, 1, 1, 2},
      {row, true, nt, 2, 2, -1, 0, 1, 1, 1, 5}, {row, true, nt, 2, 2, 0, -1, 1, 1, 1, 4},
      {row, true, nt, 2, 2, 1, 1, 2, 1, 1, 8}};
  // clang-format on
  const std::vector<T> a(16, make<T>(1)), x(8, make<T>(1));
  const T one = make<T>(1), zero = make<T>(0);
  for_each_case(calls, [&](const bad& c) {
    std::vector<T> y(8, sentinel<T>());
    const auto o = CBLAS_ORDER(c.order);
    const auto t = CBLAS_TRANSPOSE(c.trans);
    const std::string text = stderr_of([&] {
      if (c.order == fn && c.band)
        for (auto f : {&gbmv_front<T>, &gbmv_serial<T>})
          f(char(c.trans), c.m, c.n, c.kl, c.ku, one, a.data(), c.lda, x.data(), c.incx, zero, y.data(), c.incy);
      else if (c.order == fn)
        for (auto f : {&gemv_front<T>, &gemv_serial<T>})
          f(char(c.trans), c.m, c.n, one, a.data(), c.lda, x.data(), c.incx, zero, y.data(), c.incy);
      else if (c.band)
        pick<T>(cblas_sgbmv, cblas_dgbmv, cblas_cgbmv, cblas_zgbmv)(
            o, t, c.m, c.n, c.kl, c.ku, scalar(one), a.data(), c.lda, x.data(), c.incx, scalar(zero), y.data(), c.incy);
      else
        pick<T>(cblas_sgemv, cblas_dgemv, cblas_cgemv, cblas_zgemv)(o, t, c.m, c.n, scalar(one), a.data(), c.lda,
                                                                    x.data(), c.incx, scalar(zero), y.data(), c.incy);
    });
    const std::string once = report(c.band ? "GBMV " : "GEMV ", c.position);
    EXPECT_EQ(text, c.order == fn ? once + once : once);
    EXPECT_TRUE(all_same_bits(y, std::vector<T>(8, sentinel<T>())));
  });
  matvec_case<T> exact({'N', 12, 10, 2, 3, 1, 1}, 4, 0);
  const auto want = exact.expected(one, one);
  EXPECT_EQ(stderr_of([&] { exact.run(one, one); }), "");
  EXPECT_TRUE(close_to(want, exact.y.logical()));
}

// Fortran and column-major CBLAS give the routine's bits. Row-major reads A as the column-major storage of
// B = A^T (kl and ku exchanged), so op(A) is B^T, B or conj(B); any order but column-major is row-major.
// A row-major ConjTrans with nothing to do gives y back bit for bit.
TYPED_TEST(Matvec, EntriesInBothFormsAndBothOrders) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, 0.5), beta = make<T>(-0.5, 1);
  for (auto [kl, ku] : {std::pair{-1, 0}, {2, 3}}) {
    for (char trans : {'N', 'T', 'C'}) {
      matvec_case<T> routine({trans, 11, 7, kl, ku, -2, 3}, 3), fortran = routine, cblas = routine;
      routine.run(alpha, beta);
      fortran.fortran(alpha, beta);
      cblas.cblas(CblasColMajor, cblas_trans(trans), alpha, beta);
      EXPECT_TRUE(all_same_bits(fortran.y.logical(), routine.y.logical()));
      EXPECT_TRUE(all_same_bits(cblas.y.logical(), routine.y.logical()));
      for (int order : {int(CblasRowMajor), 0}) {
        matvec_case<T> row({trans == 'N' ? 'T' : 'N', 11, 7, kl, ku, -2, 3}, 21);
        const auto want = row.expected(alpha, beta, trans == 'C');
        row.cblas(order, cblas_trans(trans), alpha, beta);
        EXPECT_TRUE(close_to(want, row.y.logical()) && row.y.intact() && row.x.intact()) << trans << kl << order;
      }
    }
    matvec_case<T> idle({'N', 20, 12, kl, ku, 1, -3}, 2);
    idle.y[3] = make<T>(-0.0, 0.0);
    idle.y[5] = nan_element<T>();
    const auto before = idle.y.logical();
    idle.cblas(CblasRowMajor, CblasConjTrans, make<T>(0), make<T>(1));
    EXPECT_TRUE(all_same_bits(idle.y.logical(), before) && idle.y.intact());
  }
}

template <typename T>
class BandByDiagonals : public ::testing::Test {};
TYPED_TEST_SUITE(BandByDiagonals, real_types, element_type_names);

// The 'N' rows of a band taken a diagonal at a time give the bits of the tile's column pieces, over whole
// and clipped row ranges, blocks and bands cut short by either edge; a zero x_j keeps its NaN column out.
TYPED_TEST(BandByDiagonals, GiveTheBitsOfTheColumnPieces) {
  using T = TypeParam;
  if (!kernel_steps_are_fused<T>) GTEST_SKIP() << "the tiles take a band by diagonals only where steps are fused";
  for (const std::array<int, 4> band : {std::array{150, 140, 8, 8}, {140, 150, 0, 5}, {70, 200, 6, 0}, {200, 9, 3, 20}})
    for (auto [f, l] : {std::pair{0, band[0]}, {1, band[0] - 1}, {63, std::min(band[0], 131)}}) {
      const int m = band[0], n = band[1], kl = band[2], ku = band[3];
      matvec_case<T> c({'N', m, n, kl, ku, 1, 1}, unsigned(m + kl));
      c.x[n / 2] = T(0);
      for (int r = 0; r <= kl + ku; ++r) c.a.at(r, n / 2) = nan_element<T>();
      std::vector<T> plain = c.y.logical(), by_diagonals = plain;
      const auto record = [&](T* y) {
        return gbmv_object<T>{'N', m, n, kl, ku, T(0.75), c.a.data(), c.a.ld(), c.x.data(), 1, T(1), y, 1};
      };
      record(plain.data()).add_rows(f, l);
      record(by_diagonals.data()).add_rows_by_diagonals(f, l);
      EXPECT_TRUE(all_same_bits(plain, by_diagonals)) << m << "x" << n << " " << kl << "," << ku << " rows " << f;
    }
}

template <typename T>
class VectorPrimitives : public ::testing::Test {};
TYPED_TEST_SUITE(VectorPrimitives, element_types, element_type_names);

TYPED_TEST(VectorPrimitives, DotsSumInIndexOrderWithOneAccumulator) {
  using T = TypeParam;
  using R = real_t<T>;
  const R big = std::is_same_v<R, float> ? R(1e9) : R(1e17);
  const std::vector<T> ones(4, T(1)), terms = {make<T>(big), T(1), make<T>(-big), T(1)};
  for (int inc : {1, 2, -1, -3}) {
    strided_vector<T> x(4, inc, terms);
    EXPECT_TRUE(same_bits(vec_dot(4, ones.data(), x.data(), inc), T(1))) << inc;
    EXPECT_TRUE(same_bits(vec_dot_rev(4, ones.data(), x.data(), inc), T(1))) << inc;
  }
  const std::vector<T> reversed = {T(1), make<T>(-big), T(1), make<T>(big)};
  EXPECT_TRUE(same_bits(vec_dot_rev(4, reversed.data(), ones.data(), 1), T(1)));
  EXPECT_FALSE(same_bits(vec_dot(4, reversed.data(), ones.data(), 1), T(1)));
  // conj(a) . x = (1-2i)(2+i) + (3+i)(-1+4i) = -3+8i; reversed, (3+i)(2+i) + (1-2i)(-1+4i) = 12+11i.
  const std::vector<T> a = {make<T>(1, 2), make<T>(3, -1)}, x = {make<T>(2, 1), make<T>(-1, 4)};
  EXPECT_TRUE(same_bits(vec_dotc(2, a.data(), x.data(), 1), is_complex_v<T> ? make<T>(-3, 8) : make<T>(-1)));
  EXPECT_TRUE(same_bits(vec_dotc_rev(2, a.data(), x.data(), 1), is_complex_v<T> ? make<T>(12, 11) : make<T>(5)));
}

using parallel::blas::rank_one_form;

template <typename T>
std::vector<rank_one_form> forms_of() {
  return is_complex_v<T> ? std::vector{rank_one_form::geru, rank_one_form::gerc} : std::vector{rank_one_form::ger};
}

enum path { front, serial, unit };

// The front, serial or unit-increment routine of a form chosen at run time.
template <rank_one_form F, typename T>
void run_form(path p, int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  using namespace parallel::blas;
  p == front    ? rank_one_front<F>(m, n, alpha, x, incx, y, incy, a, lda)
  : p == serial ? rank_one_serial<F>(m, n, alpha, x, incx, y, incy, a, lda)
                : rank_one_serial_unit<F>(m, n, alpha, x, y, a, lda);
}

template <typename T>
void run_ger(rank_one_form form, int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda,
             path p = front) {
  using f = rank_one_form;
  if constexpr (!is_complex_v<T>)
    run_form<f::ger>(p, m, n, alpha, x, incx, y, incy, a, lda);
  else
    (form == f::gerc ? run_form<f::gerc, T> : run_form<f::geru, T>)(p, m, n, alpha, x, incx, y, incy, a, lda);
}

struct rank_one_shape {
  int m, n, incx, incy;
};

// One update: x and y strided with sentinels in the gaps and guards, A with sentinels in its padding.
template <typename T>
struct ger_case : rank_one_shape {
  rank_one_form form;
  strided_vector<T> x, y;
  padded_matrix<T> a;

  ger_case(rank_one_form f, rank_one_shape s, unsigned seed, int pad = 1)
      : rank_one_shape(s),
        form(f),
        x(m, incx, random_values<T>(m, seed)),
        y(n, incy, random_values<T>(n, seed + 1)),
        a(m, n, m + pad) {
    a.random(seed + 2);
  }
  void run(T alpha) { run_ger(form, m, n, alpha, x.data(), incx, y.data(), incy, a.data(), a.ld()); }
  // A after the update; stored by rows, a.at(r, c) is element (c, r).
  wide_result<T> expected(T alpha, bool row_major = false) const {
    const auto xl = x.logical(), yl = y.logical();
    const bool conj = form == rank_one_form::gerc;
    const auto term = [&](int r, int c, int) {
      const int i = row_major ? c : r, j = row_major ? r : c;
      return widen(xl[i]) * widen(helper::CONJG(conj, yl[j]));
    };
    return reference_product(a.rows(), a.cols(), 1, term, alpha, T(1), [&](int r, int c) { return a.at(r, c); });
  }
};

template <typename T>
class Ger : public ::testing::Test {};
TYPED_TEST_SUITE(Ger, element_types, element_type_names);

// 8x8 is serial; 9x1 one tile with all rows; 1x9 splits a single row; the rest meet the column grain and
// the per-worker shares from both sides. Then x and the y slice that only just fit the scratch, or x alone
// nearly filling it, so that the tile runs in place.
TYPED_TEST(Ger, MatchesTheReference) {
  using T = TypeParam;
  const int g = kernels::get_kernel<T>()->tile_n;
  const int limit = int((threading::scratch_bytes - threading::scratch_alignment) / sizeof(T)) - 9;
  std::vector<rank_one_shape> table;
  for (auto [m, n] : {std::pair{8, 8}, {9, 1}, {1, 9}, {3, 2 * g - 1}, {5, 2 * g}, {7, 2 * g + 1}, {33, 3 * g + 2}})
    for (auto [incx, incy] : {std::pair{1, 1}, {2, 1}, {1, -2}, {-3, 2}, {-2, -1}}) table.push_back({m, n, incx, incy});
  for (const rank_one_form form : forms_of<T>()) {
    const auto check = [&](const rank_one_shape& s) {
      ger_case<T> c(form, s, s.m + s.n, 3);
      const auto want = c.expected(make<T>(1.25, -0.75));
      c.run(make<T>(1.25, -0.75));
      EXPECT_TRUE(close_to(want, c.a.elements()) && c.a.intact() && c.x.intact() && c.y.intact());
    };
    for_each_case(table, check, {1, 2, 3});
    for_each_case(std::vector<rank_one_shape>{{limit - 1, 9, -2, 3}, {limit + 300, 9, -2, 3}}, check, {1});
  }
}

// A zero alpha or an empty dimension returns before anything is read (and an empty A prints nothing); a
// zero y_j skips column j, so even an infinite alpha (whose product with 0 is NaN) leaves it as it was.
TYPED_TEST(Ger, NothingIsReadWhereNothingIsAdded) {
  using T = TypeParam;
  for (const auto& size : {std::pair{8, 8}, {20, 30}})
    for (rank_one_form form : forms_of<T>())
      for (int inc : {1, -2}) {
        const int m = size.first, n = size.second;
        ger_case<T> idle(form, {m, n, inc, inc}, 1, 0);
        idle.a.fill(sentinel<T>());
        for (int i = 0; i < m; ++i) idle.x[i] = nan_element<T>();
        for (int j = 0; j < n; ++j) idle.y[j] = nan_element<T>();
        for (const T alpha : {make<T>(0), make<T>(-0.0, -0.0)}) idle.run(alpha);
        for (const auto& empty : {std::pair{0, n}, {m, 0}})
          EXPECT_EQ(stderr_of([&] {
                      run_ger(form, empty.first, empty.second, make<T>(1), idle.x.data(), inc, idle.y.data(), inc,
                              idle.a.data(), m);
                    }),
                    "");
        EXPECT_TRUE(all_same_bits(idle.a.elements(), std::vector<T>(m * n, sentinel<T>())) && idle.a.intact());
        for (const T alpha : {make<T>(2, 1), make<T>(INFINITY, 1)}) {
          ger_case<T> c(form, {m, n, inc, inc}, 3);
          for (int j = 0; j + 1 < n; ++j) c.y[j] = make<T>(0, j % 2 ? -0.0 : 0.0);
          const auto before = c.a.elements();
          c.run(alpha);
          const auto after = c.a.elements();
          for (int p = 0; p < m * n; ++p) ASSERT_EQ(same_bits(after[p], before[p]), p < m * (n - 1)) << p;
        }
      }
}

// Both dimensions at most 8 run on the calling thread; one more row or column launches, which a stopped
// runtime refuses before any tile has run.
TEST(GerCutOff, OnlyCallsAboveEightNeedTheRuntime) {
  worker_scope restart_afterwards(1);
  vesk_stop();
  const std::vector<double> x(9, 0.5), y(9, 2);
  std::vector<double> a(81, 1);
  parallel::blas::ger_front(8, 8, 3.0, x.data(), 1, y.data(), 1, a.data(), 9);
  for (auto [m, n] : {std::pair{9, 1}, {1, 9}})
    EXPECT_THROW(parallel::blas::ger_front(m, n, 3.0, x.data(), 1, y.data(), 1, a.data(), 9), vesk::api_exception);
  EXPECT_TRUE(a[7 * 9 + 7] == 4 && a[8] == 1);
}

// The front, the serial form and (where the increments are valid, since it has none) the unit form.
TYPED_TEST(Ger, EachBadArgumentIsReportedAtItsPositionAndAIsUntouched) {
  using T = TypeParam;
  struct bad {
    int m, n, incx, incy, lda, position;
  };
  // clang-format off
  const bad calls[] = {
      {-1, 2, 1, 1, 4, 1}, {2, -1, 1, 1, 4, 2}, {2, 2, 0, 1, 4, 5}, {2, 2, 1, 0, 4, 7}, {4, 2, 1, 1, 3, 9},
      {0, 2, 1, 1, 0, 9}, {-1, -1, 0, 0, 0, 1}, {2, -1, 0, 1, 0, 2}, {2, 2, 0, 0, 1, 5}, {2, 2, -1, 0, 1, 7},
      {20, 20, 1, 1, 19, 9}};
  // clang-format on
  const std::vector<T> v = random_values<T>(40, 9);
  for (rank_one_form form : forms_of<T>())
    for (path p : {front, serial, unit}) {
      padded_matrix<T> a(4, 4, 4);
      std::vector<bad> rows;
      for (const bad& c : calls)
        if (p != unit || (c.incx != 0 && c.incy != 0)) rows.push_back(c);
      expect_reports(parallel::blas::rank_one_name(form), rows, [&](const bad& c) {
        run_ger(form, c.m, c.n, make<T>(1), v.data(), c.incx, v.data(), c.incy, a.data(), c.lda, p);
      });
      EXPECT_TRUE(all_same_bits(a.elements(), std::vector<T>(16, sentinel<T>())) && a.intact());
    }
}

// Fortran and column-major CBLAS give the front's bits; a row-major M by N matrix is updated as stored,
// element (i, j) at a[i*lda + j]. Order 0 is row-major too.
TYPED_TEST(Ger, EntriesInBothFormsAndBothOrders) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, 0.5);
  for (rank_one_form form : forms_of<T>()) {
    const bool c = form == rank_one_form::gerc;
    const auto fortran = pick<T>(sger_, dger_, c ? cgerc_ : cgeru_, c ? zgerc_ : zgeru_);
    const auto cblas = pick<T>(cblas_sger, cblas_dger, c ? cblas_cgerc : cblas_cgeru, c ? cblas_zgerc : cblas_zgeru);
    ger_case<T> routine(form, {11, 7, -2, 3}, 14, 2), by_fortran = routine, by_cblas = routine;
    routine.run(alpha);
    const int lda = by_fortran.a.ld();
    fortran(&routine.m, &routine.n, &alpha, by_fortran.x.data(), &routine.incx, by_fortran.y.data(), &routine.incy,
            by_fortran.a.data(), &lda);
    cblas(CblasColMajor, 11, 7, scalar(alpha), by_cblas.x.data(), -2, by_cblas.y.data(), 3, by_cblas.a.data(), lda);
    EXPECT_TRUE(all_same_bits(by_fortran.a.elements(), routine.a.elements()));
    EXPECT_TRUE(all_same_bits(by_cblas.a.elements(), routine.a.elements()));
    for (int order : {int(CblasRowMajor), 0}) {
      ger_case<T> row = routine;
      row.a = padded_matrix<T>(7, 11, 8);
      row.a.random(17);
      const auto want = row.expected(alpha, true);
      cblas(static_cast<CBLAS_ORDER>(order), 11, 7, scalar(alpha), row.x.data(), -2, row.y.data(), 3, row.a.data(), 8);
      EXPECT_TRUE(close_to(want, row.a.elements()) && row.a.intact()) << order;
    }
  }
}

// A row-major call reports the positions of the swapped call: N first, then M, incY at 5, incX at 7 and
// lda against max(1, N). Row-major GERC runs GERU on a conjugated copy of Y: its reports name GERU, a
// negative N fails the copy's allocation first, and a zero incY is not refused (the copy holds Y's first).
TEST(GerEntries, RowMajorReportsThePositionsOfTheCallItMakes) {
  using T = std::complex<double>;
  const T one(1, 0), y0(0.5, -2);
  std::vector<double> v(16, 1), a(16, 5);
  std::vector<T> x(4, T(1, 1)), y = {y0, T(7, 7)}, b(16, T(5, 5));
  struct bad {
    bool gerc;
    int m, n, incx, incy, lda;
    std::string text;
  };
  for (const bad& c :
       {bad{false, 2, -1, 1, 1, 4, report("GER ", 1)}, bad{false, -1, 2, 1, 1, 4, report("GER ", 2)},
        bad{false, 2, 2, 1, 0, 4, report("GER ", 5)}, bad{false, 2, 2, 0, 1, 4, report("GER ", 7)},
        bad{false, 4, 3, 1, 1, 2, report("GER ", 9)}, bad{true, -1, 2, 1, 1, 4, report("GERU ", 2)},
        bad{true, 2, 2, 0, 1, 4, report("GERU ", 7)},
        bad{true, 2, -1, 1, 1, 4, "** KOVRA SYSTEM ERROR! Aligned memory allocation failed!\n" + report("GERU ", 1)}})
    EXPECT_EQ(stderr_of([&] {
                if (c.gerc)
                  cblas_zgerc(CblasRowMajor, c.m, c.n, &one, x.data(), c.incx, y.data(), c.incy, b.data(), 4);
                else
                  cblas_dger(CblasRowMajor, c.m, c.n, 1.0, v.data(), c.incx, v.data(), c.incy, a.data(), c.lda);
              }),
              c.text);
  EXPECT_TRUE(a == std::vector<double>(16, 5) && b == std::vector<T>(16, T(5, 5)));
  EXPECT_EQ(stderr_of([&] { cblas_zgerc(CblasRowMajor, 2, 3, &one, x.data(), 1, y.data(), 0, b.data(), 4); }), "");
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_EQ(b[i * 4 + j], T(5, 5) + T(1, 1) * std::conj(y0)) << i << ", " << j;
}

}  // namespace
}  // namespace kovra_test
