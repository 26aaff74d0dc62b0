// GEMV and GBMV: results against the wide reference over a table of shapes, bands, letters and
// increments on several worker counts; the strided tiles' exact bits; the scalars that keep NaN out;
// the argument checks with their reports; the entries in both forms and orders; the real-only forms.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level2/gbmv.h"
#include "parallel/blas/level2/gemv.h"
#include "support/cases.h"
#include "support/reference.h"
#include "threading/scratch.h"

namespace kovra_test {
namespace {

using namespace parallel::blas;

// One GEMV call (kl < 0) or GBMV call in band storage. A's leading dimension is `pad` beyond its stored
// rows; that padding and the band positions outside A keep the NaN sentinel, so reading one shows.
struct shape {
  char trans;
  int m, n, kl, ku, incx, incy;
};

template <typename T>
struct matvec_case : shape {
  padded_matrix<T> a;
  strided_vector<T> x, y;

  matvec_case(shape s, unsigned seed = 1, int pad = 1)
      : shape(s),
        a(rows(), n, rows() + pad),
        x(xlen(), incx, random_values<T>(xlen(), seed + 1)),
        y(ylen(), incy, random_values<T>(ylen(), seed + 2)) {
    a.random(seed);
    for (int j = 0; j < n && band(); ++j)
      for (int r = 0; r <= kl + ku; ++r)
        if (r - ku + j < 0 || r - ku + j >= m) a.at(r, j) = sentinel<T>();
  }
  bool band() const { return kl >= 0; }
  int rows() const { return band() ? kl + ku + 1 : std::max(m, 1); }
  int xlen() const { return (trans & 0xDF) == 'N' ? n : m; }
  int ylen() const { return (trans & 0xDF) == 'N' ? m : n; }
  T element(int i, int j) const {
    if (!band()) return a.at(i, j);
    return i - j > kl || j - i > ku ? T(0) : a.at(ku + i - j, j);
  }
  wide_result<T> expected(T alpha, T beta, bool conjugate_a = false) const {
    const auto xl = x.logical(), yl = y.logical();
    const auto at = [&](int i, int j) { return helper::CONJG(conjugate_a, element(i, j)); };
    const auto term = [&](int r, int, int l) { return op_element<T>(trans, at, r, l) * widen(xl[l]); };
    return reference_product(ylen(), 1, xlen(), term, alpha, beta, [&](int r, int) { return yl[r]; });
  }
  void run(T alpha, T beta, bool serial = false) {
    T *ap = a.data(), *xp = x.data(), *yp = y.data();
    if (band())
      (serial ? gbmv_serial<T> : gbmv_front<T>)(trans, m, n, kl, ku, alpha, ap, a.ld(), xp, incx, beta, yp, incy);
    else
      (serial ? gemv_serial<T> : gemv_front<T>)(trans, m, n, alpha, ap, a.ld(), xp, incx, beta, yp, incy);
  }
  void fortran(T alpha, T beta) {
    const int lda = a.ld();
    T *ap = a.data(), *xp = x.data(), *yp = y.data();
    if (band())
      pick<T>(sgbmv_, dgbmv_, cgbmv_, zgbmv_)(&trans, &m, &n, &kl, &ku, &alpha, ap, &lda, xp, &incx, &beta, yp, &incy);
    else
      pick<T>(sgemv_, dgemv_, cgemv_, zgemv_)(&trans, &m, &n, &alpha, ap, &lda, xp, &incx, &beta, yp, &incy);
  }
  // A row-major call is given this A as the row-major storage of its transpose.
  void cblas(int order, CBLAS_TRANSPOSE t, T alpha, T beta) {
    const bool row = order != CblasColMajor;
    const auto o = static_cast<CBLAS_ORDER>(order);
    const int rows = row ? n : m, cols = row ? m : n, lower = row ? ku : kl, upper = row ? kl : ku;
    const auto al = scalar(alpha), be = scalar(beta);
    T *ap = a.data(), *xp = x.data(), *yp = y.data();
    if (band())
      pick<T>(cblas_sgbmv, cblas_dgbmv, cblas_cgbmv, cblas_zgbmv)(o, t, rows, cols, lower, upper, al, ap, a.ld(), xp,
                                                                  incx, be, yp, incy);
    else
      pick<T>(cblas_sgemv, cblas_dgemv, cblas_cgemv, cblas_zgemv)(o, t, rows, cols, al, ap, a.ld(), xp, incx, be, yp,
                                                                  incy);
  }
};

CBLAS_TRANSPOSE cblas_trans(char t) { return t == 'N' ? CblasNoTrans : t == 'T' ? CblasTrans : CblasConjTrans; }

template <typename T>
class Matvec : public ::testing::Test {};
TYPED_TEST_SUITE(Matvec, element_types, element_type_names);

TYPED_TEST(Matvec, MatchTheReference) {
  using T = TypeParam;
  std::vector<shape> table;
  for (char trans : {'N', 'T', 'C', 'n', 't', 'c'})
    for (auto [m, n] : {std::pair{8, 8}, {9, 1}, {1, 9}, {7, 9}, {17, 5}, {37, 11}, {33, 40}, {100, 3}, {3, 100}})
      for (auto [kl, ku] : {std::pair{-1, 0}, {0, 0}, {1, 0}, {0, 1}, {7, 1}, {1, 7}, {120, 3}, {2, 120}})
        for (auto [incx, incy] : {std::pair{1, 1}, {-2, 1}, {1, -3}, {3, 2}})
          table.push_back({trans, m, n, kl, ku, incx, incy});
  for_each_case(table,
                [](const shape& s) {
                  matvec_case<T> c(s, s.m * 7 + s.n);
                  const auto want = c.expected(make<T>(0.75, -0.5), make<T>(-1.25, 0.25));
                  c.run(make<T>(0.75, -0.5), make<T>(-1.25, 0.25));
                  ASSERT_TRUE(close_to(want, c.y.logical()) && c.y.intact() && c.x.intact());
                },
                {1, 2, 3});
  // x and the slice of y too long for the scratch: the tile runs strided in place.
  const int long_side = int(threading::scratch_bytes / sizeof(T));
  for (char trans : {'N', 'T'}) {
    matvec_case<T> c({trans, trans == 'N' ? 9 : long_side, trans == 'N' ? long_side : 9, -1, 0, -2, 2}, 11, 0);
    const auto want = c.expected(make<T>(0.5, 0.25), make<T>(2));
    c.run(make<T>(0.5, 0.25), make<T>(2));
    EXPECT_TRUE(close_to(want, c.y.logical()) && c.y.intact()) << trans;
  }
}

// With both increments strided a GEMV tile gathers x and its slice of y and scatters back: the serial
// form's bits on contiguous copies. 'T' and 'C' reach y only through dots, whatever the tiling.
TYPED_TEST(Matvec, StridedGemvTilesGiveTheSerialBitsOnContiguousCopies) {
  using T = TypeParam;
  const T alpha = make<T>(1.5, 0.5), beta = make<T>(0.5, -1);
  for (int workers : {1, 3}) {
    worker_scope scope(workers);
    for (char trans : {'N', 'T', 'C'})
      for (auto [incx, incy] : {std::pair{-2, -3}, {3, 2}, {-1, 2}, {2, -1}}) {
        if (workers > 1 && trans == 'N') continue;  // more 'N' tiles meet the kernel's axpy at other offsets
        matvec_case<T> c({trans, 37, 29, -1, 0, incx, incy}, 5);
        std::vector<T> x = c.x.logical(), y = c.y.logical();
        const char as = !is_complex_v<T> && trans == 'C' ? 'T' : trans;  // a real 'C' is 'T'
        gemv_serial(as, c.m, c.n, alpha, c.a.data(), c.a.ld(), x.data(), 1, beta, y.data(), 1);
        c.run(alpha, beta);
        EXPECT_TRUE(all_same_bits(c.y.logical(), y) && c.y.intact()) << trans << " " << incx << " " << incy;
      }
  }
}

// beta = 0 never reads y and a zero x_j keeps a NaN column out; alpha = 0 scales y by beta and reads
// neither A nor x; beta = 1 multiplies nothing; an empty A writes nothing, whatever beta.
TYPED_TEST(Matvec, ScalarsAndZerosKeepNaNOut) {
  using T = TypeParam;
  const T nan = nan_element<T>();
  for (auto [kl, ku] : {std::pair{-1, 0}, {2, 3}})
    for (auto [m, n] : {std::pair{8, 8}, {9, 1}, {1, 9}, {40, 33}})
      for (char trans : {'N', 'C'})
        for (int incy : {1, -3}) {
          SCOPED_TRACE(::testing::Message() << trans << " " << m << "x" << n << " kl " << kl << " incy " << incy);
          matvec_case<T> c({trans, m, n, kl, ku, 2, incy}, 3), scaled = c, one = c;
          if (trans == 'N') c.x[0] = make<T>(0, -0.0);
          const auto want = c.expected(make<T>(0.5, 1.5), make<T>(0));
          for (int i = 0; i < c.ylen(); ++i) c.y[i] = nan;
          for (int r = 0; r < c.a.rows() && trans == 'N'; ++r) c.a.at(r, 0) = nan;
          c.run(make<T>(0.5, 1.5), make<T>(0));
          EXPECT_TRUE(close_to(want, c.y.logical()) && c.y.intact());
          std::vector<T> times_beta;
          for (const T& v : scaled.y.logical()) times_beta.push_back(helper::mul(make<T>(0.5, -0.5), v));
          scaled.a.fill(nan);
          for (int i = 0; i < scaled.xlen(); ++i) scaled.x[i] = nan;
          scaled.run(make<T>(0), make<T>(0.5, -0.5));
          EXPECT_TRUE(all_same_bits(scaled.y.logical(), times_beta));
          one.y[0] = make<T>(INFINITY, 0);  // (inf, 0) * (1, 0) would have a NaN imaginary part
          one.run(make<T>(0.5, 0.5), make<T>(1));
          EXPECT_FALSE(has_nan(one.y[0]));
          matvec_case<T> empty({'T', 0, n, kl, ku, 1, incy}, 3);
          for (int i = 0; i < n; ++i) empty.y[i] = sentinel<T>();
          empty.run(make<T>(1), make<T>(0));
          empty.run(make<T>(1), make<T>(0), true);
          EXPECT_TRUE(all_same_bits(empty.y.logical(), std::vector<T>(n, sentinel<T>())));
        }
}

// The routines (the front, then the serial form, each reporting) and the CBLAS entries, which report the
// positions of the call they make: row-major exchanges M and N, KL and KU. y stays untouched.
TYPED_TEST(Matvec, EachBadArgumentIsReportedAtItsPosition) {
  using T = TypeParam;
  struct bad {
    int order;
    bool band;
    int trans, m, n, kl, ku, lda, incx, incy, position;
  };
  const int routine = 0, col = CblasColMajor, row = CblasRowMajor, nt = CblasNoTrans, tr = CblasTrans;
  // clang-format off
  const bad calls[] = {
      {routine, false, 'X', 2, 2, 0, 0, 2, 1, 1, 1}, {routine, false, 'N', -1, 2, 0, 0, 2, 1, 1, 2},
      {routine, false, 'T', 2, -1, 0, 0, 2, 1, 1, 3}, {routine, false, 'N', 3, 2, 0, 0, 2, 1, 1, 6},
      {routine, false, 'c', 0, 2, 0, 0, 0, 1, 1, 6}, {routine, false, 'N', 2, 2, 0, 0, 2, 0, 1, 8},
      {routine, false, 'T', 2, 2, 0, 0, 2, 1, 0, 11}, {routine, false, 'Q', -1, -1, 0, 0, 0, 0, 0, 1},
      {routine, false, 'n', 2, -1, 0, 0, 0, 0, 0, 3}, {routine, true, 'Y', 2, 2, 1, 1, 3, 1, 1, 1},
      {routine, true, 'N', -1, 2, 1, 1, 3, 1, 1, 2}, {routine, true, 'T', 2, -1, 1, 1, 3, 1, 1, 3},
      {routine, true, 'N', 2, 2, -1, 1, 3, 1, 1, 4}, {routine, true, 'N', 2, 2, 1, -1, 3, 1, 1, 5},
      {routine, true, 'N', 2, 2, 1, 1, 2, 1, 1, 8}, {routine, true, 'C', 2, 2, 0, 0, 0, 1, 1, 8},
      {routine, true, 'N', 2, 2, 1, 1, 3, 0, 1, 10}, {routine, true, 't', 2, 2, 1, 1, 3, 1, 0, 13},
      {col, false, 110, 2, 2, 0, 0, 2, 1, 1, 1}, {row, false, 114, 2, 2, 0, 0, 2, 1, 1, 1},
      {col, false, nt, -1, 2, 0, 0, 2, 1, 1, 2}, {row, false, nt, -1, 2, 0, 0, 2, 1, 1, 3},
      {row, false, tr, 2, -1, 0, 0, 2, 1, 1, 2}, {row, false, nt, 2, 3, 0, 0, 2, 1, 1, 6},
      {row, false, CblasConjTrans, 2, 2, 0, 0, 2, 1, 0, 11}, {row, true, 99, 2, 2, 0, 0, 1, 1, 1, 1},
      {row, true, nt, -1, 2, 0, 0, 1, 1, 1, 3}, {row, true, tr, 2, -1, 0, 0, 1, 1, 1, 2},
      {row, true, nt, 2, 2, -1, 0, 1, 1, 1, 5}, {row, true, nt, 2, 2, 0, -1, 1, 1, 1, 4},
      {row, true, nt, 2, 2, 1, 1, 2, 1, 1, 8}};
  // clang-format on
  const std::vector<T> a(16, make<T>(1)), x(8, make<T>(1));
  const T one = make<T>(1), zero = make<T>(0);
  for_each_case(calls, [&](const bad& c) {
    std::vector<T> y(8, sentinel<T>());
    const auto o = static_cast<CBLAS_ORDER>(c.order);
    const auto t = static_cast<CBLAS_TRANSPOSE>(c.trans);
    const std::string text = stderr_of([&] {
      if (c.order == routine && c.band)
        for (auto f : {&gbmv_front<T>, &gbmv_serial<T>})
          f(char(c.trans), c.m, c.n, c.kl, c.ku, one, a.data(), c.lda, x.data(), c.incx, zero, y.data(), c.incy);
      else if (c.order == routine)
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
    EXPECT_EQ(text, c.order == routine ? once + once : once);
    EXPECT_TRUE(all_same_bits(y, std::vector<T>(8, sentinel<T>())));
  });
  matvec_case<T> exact({'N', 12, 10, 2, 3, 1, 1}, 4, 0);  // a band lda of exactly kl + ku + 1 is accepted
  const auto want = exact.expected(one, one);
  EXPECT_EQ(stderr_of([&] { exact.run(one, one); }), "");
  EXPECT_TRUE(close_to(want, exact.y.logical()));
}

// Fortran and column-major CBLAS give the routine's bits. Row-major reads A as the column-major storage
// of B = A^T (kl and ku exchanged), so op(A) is B^T, B or conj(B); any order but column-major is
// row-major. A row-major ConjTrans with nothing to do gives y back bit for bit.
TYPED_TEST(Matvec, EntriesInBothFormsAndBothOrders) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, 0.5), beta = make<T>(-0.5, 1);
  for (auto [kl, ku] : {std::pair{-1, 0}, {2, 3}}) {
    for (char trans : {'N', 'T', 'C'}) {
      matvec_case<T> routine({trans, 11, 7, kl, ku, -2, 3}, 3), fortran = routine, cblas = routine;
      routine.run(alpha, beta);
      fortran.fortran(alpha, beta);
      cblas.cblas(CblasColMajor, cblas_trans(trans), alpha, beta);
      EXPECT_TRUE(all_same_bits(fortran.y.logical(), routine.y.logical()) &&
                  all_same_bits(cblas.y.logical(), routine.y.logical()))
          << trans << kl;
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

// gemv_front_unit is gemv_front with alpha = beta = 1 and gemv_serial_acc gemv_serial with beta = 1, bit
// for bit; both check their arguments as GEMV does.
TEST(GemvRealForms, UnitAndAccumulateForms) {
  worker_scope scope(2);
  for (char trans : {'N', 't'})
    for (auto [m, n] : {std::pair{8, 8}, {9, 1}, {33, 40}})
      for (auto [incx, incy] : {std::pair{1, 1}, {-2, -1}, {2, 1}}) {
        matvec_case<double> unit({trans, m, n, -1, 0, incx, incy}, 9), front = unit, acc = unit, ser = unit;
        gemv_front_unit(trans, m, n, unit.a.data(), unit.a.ld(), unit.x.data(), incx, unit.y.data(), incy);
        front.run(1, 1);
        gemv_serial_acc(trans, m, n, acc.a.data(), acc.a.ld(), acc.x.data(), incx, acc.y.data(), incy, -0.75);
        ser.run(-0.75, 1, true);
        EXPECT_TRUE(all_same_bits(unit.y.logical(), front.y.logical()) &&
                    all_same_bits(acc.y.logical(), ser.y.logical()))
            << trans << m << "x" << n;
      }
  std::vector<double> a(16), x(4), y(4);
  EXPECT_EQ(stderr_of([&] {
              gemv_front_unit('N', 4, 4, a.data(), 3, x.data(), 1, y.data(), 1);
              gemv_serial_acc('N', 4, 4, a.data(), 3, x.data(), 1, y.data(), 1, 1.0);
            }),
            report("GEMV ", 6) + report("GEMV ", 6));
}

}  // namespace
}  // namespace kovra_test
