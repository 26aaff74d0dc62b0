// GEMV and GBMV: results against the reference loops, the strided tile paths against the serial form,
// scalars that keep NaN out, every argument check with its report, the entries, the real-only forms.
#include <gtest/gtest.h>

#include <limits>

#include "level2_cases.h"
#include "support/element_types.h"
#include "support/worker_scope.h"
#include "threading/scratch.h"

namespace kovra_test {
namespace {

template <typename T>
class Matvec : public ::testing::Test {};
TYPED_TEST_SUITE(Matvec, element_types, element_type_names);

TYPED_TEST(Matvec, MatchTheReference) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, -0.5), beta = make<T>(-1.25, 0.25);
  const int shapes[][2] = {{8, 8}, {9, 1}, {1, 9}, {7, 9}, {17, 5}, {5, 17}, {37, 11}, {33, 40}, {100, 3}, {3, 100}};
  const int bands[][2] = {{-1, 0}, {0, 0}, {1, 0}, {0, 1}, {1, 1}, {7, 1}, {1, 7}, {7, 7}, {120, 3}, {2, 120}};
  const int incs[][2] = {{1, 1}, {-2, 1}, {1, -3}, {2, -1}, {-2, -2}, {3, 2}};
  for (int workers : {1, 2, 3}) {
    worker_scope scope(workers);
    for (char trans : {'N', 'T', 'C', 'n', 't', 'c'})
      for (const auto& s : shapes)
        for (const auto& b : bands)
          for (const auto& inc : incs) {
            matvec_case<T> c(trans, s[0], s[1], inc[0], inc[1], s[0] * 7 + s[1], b[0], b[1]);
            const auto want = c.expected(alpha, beta);
            c.run(alpha, beta);
            ASSERT_TRUE(matches(want, c.y.logical())) << trans << " " << s[0] << "x" << s[1] << " kl " << b[0]
                                                      << " ku " << b[1] << " incs " << inc[0] << " " << inc[1]
                                                      << " on " << workers << " workers";
            ASSERT_TRUE(c.y.guards_intact());
            ASSERT_TRUE(c.x.guards_intact());
          }
  }
}

// With both increments strided a GEMV tile gathers x and its slice of y, runs with unit increments and
// scatters back: the serial form's bits on contiguous copies. More than one 'N' tile would meet the
// kernel's axpy at other offsets, which may round differently; 'T' and 'C' reach y only through the
// scalar dots, whatever the tiling. A real 'C' is 'T'.
TYPED_TEST(Matvec, StridedGemvTilesGiveTheSerialBitsOnContiguousCopies) {
  using T = TypeParam;
  const T alpha = make<T>(1.5, 0.5), beta = make<T>(0.5, -1);
  for (int workers : {1, 3}) {
    worker_scope scope(workers);
    for (char trans : {'N', 'T', 'C'})
      for (const auto& inc : {std::pair{-2, -3}, std::pair{3, 2}, std::pair{-1, 2}, std::pair{2, -1}}) {
        if (workers > 1 && trans == 'N') continue;
        matvec_case<T> c(trans, 37, 29, inc.first, inc.second, 5);
        std::vector<T> x = c.x.logical(), y = c.y.logical();
        const char as = !is_complex_v<T> && trans == 'C' ? 'T' : trans;
        parallel::blas::gemv_serial(as, c.m, c.n, alpha, c.a.data(), c.a.ld(), x.data(), 1, beta, y.data(), 1);
        c.run(alpha, beta);
        EXPECT_TRUE(all_same_bits(c.y.logical(), y)) << trans << " " << inc.first << " " << inc.second;
        EXPECT_TRUE(c.y.guards_intact());
      }
  }
}

// x and the slice of y too long for the scratch: the tile runs strided in place (a sanitizer build
// catches a gather past the scratch).
TYPED_TEST(Matvec, GemvVectorsTooLongForTheScratchRunInPlace) {
  using T = TypeParam;
  const int long_side = int(threading::scratch_bytes / sizeof(T));
  for (char trans : {'N', 'T'}) {
    matvec_case<T> c(trans, trans == 'N' ? 9 : long_side, trans == 'N' ? long_side : 9, -2, 2, 11, -1, 0, 0);
    const auto want = c.expected(make<T>(0.5, 0.25), make<T>(2));
    c.run(make<T>(0.5, 0.25), make<T>(2));
    EXPECT_TRUE(matches(want, c.y.logical())) << trans;
    EXPECT_TRUE(c.y.guards_intact());
  }
}

// A full A (kl < 0) and a band.
const int kinds[][2] = {{-1, 0}, {2, 3}};

TYPED_TEST(Matvec, ScalarsAndZerosKeepNaNOut) {
  using T = TypeParam;
  const double inf = std::numeric_limits<double>::infinity();
  for (const auto& k : kinds)
    for (const auto& s : {std::pair{8, 8}, std::pair{9, 1}, std::pair{1, 9}, std::pair{40, 33}})
      for (char trans : {'N', 'C'})
        for (int incy : {1, -3}) {
          const auto make_case = [&] { return matvec_case<T>(trans, s.first, s.second, 2, incy, 3, k[0], k[1]); };
          const int ylen = y_length(trans, s.first, s.second);
          // beta = 0 never reads y; in 'N' a zero x_0 keeps a NaN column 0 out.
          matvec_case<T> c = make_case();
          if (trans == 'N') c.x[0] = make<T>(0, -0.0);
          const auto want = c.expected(make<T>(0.5, 1.5), make<T>(0));
          for (int i = 0; i < ylen; ++i) c.y[i] = nan_element<T>();
          for (int r = 0; r < c.a.rows() && trans == 'N'; ++r) c.a.at(r, 0) = nan_element<T>();
          c.run(make<T>(0.5, 1.5), make<T>(0));
          EXPECT_TRUE(matches(want, c.y.logical())) << trans << s.first << "x" << s.second << " " << incy;
          EXPECT_TRUE(c.y.guards_intact());
          // alpha = 0 scales y by beta and reads neither A nor x.
          c = make_case();
          c.a.fill(nan_element<T>());
          for (int i = 0; i < x_length(trans, c.m, c.n); ++i) c.x[i] = nan_element<T>();
          std::vector<T> scaled;
          for (const T& v : c.y.logical()) scaled.push_back(helper::mul(make<T>(0.5, -0.5), v));
          c.run(make<T>(0), make<T>(0.5, -0.5));
          EXPECT_TRUE(all_same_bits(c.y.logical(), scaled));
          // beta = 1 is no multiplication: (inf, 0) * (1, 0) would have a NaN imaginary part.
          c = make_case();
          c.y[0] = make<T>(inf, 0);
          c.run(make<T>(0.5, 0.5), make<T>(1));
          EXPECT_FALSE(has_nan(c.y[0]));
          // An empty A writes nothing, whatever beta.
          matvec_case<T> empty('T', 0, s.second, 1, incy, 3, k[0], k[1]);
          for (int i = 0; i < s.second; ++i) empty.y[i] = sentinel<T>();
          empty.run(make<T>(1), make<T>(0));
          empty.run(make<T>(1), make<T>(0), true);
          EXPECT_TRUE(all_sentinels(empty.y.logical()));
        }
}

// Every check of the routines (the front, then the serial form) and of the CBLAS entries, which report
// the positions of the call they make: row-major exchanges M and N, KL and KU.
TYPED_TEST(Matvec, EachBadArgumentIsReportedAtItsPositionAndYIsUntouched) {
  using T = TypeParam;
  struct bad { int order; bool band; int trans, m, n, kl, ku, lda, incx, incy, position; };
  const int routine = 0, col = CblasColMajor, row = CblasRowMajor, nt = CblasNoTrans, tr = CblasTrans;
  const bad calls[] = {
      {routine, false, 'X', 2, 2, 0, 0, 2, 1, 1, 1},   {routine, false, 'N', -1, 2, 0, 0, 2, 1, 1, 2},
      {routine, false, 'T', 2, -1, 0, 0, 2, 1, 1, 3},  {routine, false, 'N', 3, 2, 0, 0, 2, 1, 1, 6},
      {routine, false, 'c', 0, 2, 0, 0, 0, 1, 1, 6},   {routine, false, 'N', 2, 2, 0, 0, 2, 0, 1, 8},
      {routine, false, 'T', 2, 2, 0, 0, 2, 1, 0, 11},  {routine, false, 'Q', -1, -1, 0, 0, 0, 0, 0, 1},
      {routine, false, 'n', 2, -1, 0, 0, 0, 0, 0, 3},  {routine, true, 'Y', 2, 2, 1, 1, 3, 1, 1, 1},
      {routine, true, 'N', -1, 2, 1, 1, 3, 1, 1, 2},   {routine, true, 'T', 2, -1, 1, 1, 3, 1, 1, 3},
      {routine, true, 'N', 2, 2, -1, 1, 3, 1, 1, 4},   {routine, true, 'N', 2, 2, 1, -1, 3, 1, 1, 5},
      {routine, true, 'N', 2, 2, 1, 1, 2, 1, 1, 8},    {routine, true, 'C', 2, 2, 0, 0, 0, 1, 1, 8},
      {routine, true, 'N', 2, 2, 1, 1, 3, 0, 1, 10},   {routine, true, 't', 2, 2, 1, 1, 3, 1, 0, 13},
      {col, false, 110, 2, 2, 0, 0, 2, 1, 1, 1},       {row, false, 114, 2, 2, 0, 0, 2, 1, 1, 1},
      {col, false, nt, -1, 2, 0, 0, 2, 1, 1, 2},       {row, false, nt, -1, 2, 0, 0, 2, 1, 1, 3},
      {row, false, tr, 2, -1, 0, 0, 2, 1, 1, 2},       {row, false, nt, 2, 3, 0, 0, 2, 1, 1, 6},
      {row, false, tr, 2, 2, 0, 0, 2, 1, 0, 11},       {row, false, CblasConjTrans, 2, 2, 0, 0, 2, 1, 0, 11},
      {row, true, 99, 2, 2, 0, 0, 1, 1, 1, 1},         {row, true, nt, -1, 2, 0, 0, 1, 1, 1, 3},
      {row, true, tr, 2, -1, 0, 0, 1, 1, 1, 2},        {row, true, nt, 2, 2, -1, 0, 1, 1, 1, 5},
      {row, true, nt, 2, 2, 0, -1, 1, 1, 1, 4},        {row, true, nt, 2, 2, 1, 1, 2, 1, 1, 8},
  };
  const std::vector<T> a(16, make<T>(1)), x(8, make<T>(1));
  const T one = make<T>(1), zero = make<T>(0);
  for (const bad& c : calls) {
    std::vector<T> y(8, sentinel<T>());
    const auto o = static_cast<CBLAS_ORDER>(c.order);
    const auto t = static_cast<CBLAS_TRANSPOSE>(c.trans);
    const std::string text = stderr_of([&] {
      using namespace parallel::blas;
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
    EXPECT_EQ(text, c.order == routine ? once + once : once) << c.order << " " << c.trans << " " << c.position;
    EXPECT_TRUE(all_sentinels(y));
  }
  // A band lda of exactly kl + ku + 1 is accepted.
  matvec_case<T> exact('N', 12, 10, 1, 1, 4, 2, 3, 0);
  const auto want = exact.expected(one, one);
  EXPECT_EQ(stderr_of([&] { exact.run(one, one); }), "");
  EXPECT_TRUE(matches(want, exact.y.logical()));
}

// Fortran and column-major CBLAS give the routine's bits. Row-major reads A as the column-major storage
// of B = A^T (with kl and ku exchanged), so op(A) is B^T, B or conj(B); any order but column-major is
// row-major. A row-major ConjTrans with nothing to do gives y back bit for bit.
TYPED_TEST(Matvec, EntriesInBothFormsAndBothOrders) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, 0.5), beta = make<T>(-0.5, 1);
  for (const auto& k : kinds) {
    for (char trans : {'N', 'T', 'C'}) {
      matvec_case<T> routine(trans, 11, 7, -2, 3, 3, k[0], k[1]), fortran = routine, cblas = routine;
      routine.run(alpha, beta);
      fortran.fortran(alpha, beta);
      cblas.cblas(CblasColMajor, cblas_trans(trans), alpha, beta);
      EXPECT_TRUE(all_same_bits(fortran.y.logical(), routine.y.logical())) << trans << k[0];
      EXPECT_TRUE(all_same_bits(cblas.y.logical(), routine.y.logical())) << trans << k[0];
      for (int order : {int(CblasRowMajor), 0}) {
        matvec_case<T> row(trans == 'N' ? 'T' : 'N', 11, 7, -2, 3, 21, k[0], k[1]);
        const auto want = row.expected(alpha, beta, trans == 'C');
        row.cblas(order, cblas_trans(trans), alpha, beta);
        EXPECT_TRUE(matches(want, row.y.logical())) << trans << k[0] << " order " << order;
        EXPECT_TRUE(row.y.guards_intact());
        EXPECT_TRUE(row.x.guards_intact());
      }
    }
    matvec_case<T> idle('N', 20, 12, 1, -3, 2, k[0], k[1]);
    idle.y[3] = make<T>(-0.0, 0.0);
    idle.y[5] = nan_element<T>();
    const auto before = idle.y.logical();
    idle.cblas(CblasRowMajor, CblasConjTrans, make<T>(0), make<T>(1));
    EXPECT_TRUE(all_same_bits(idle.y.logical(), before));
    EXPECT_TRUE(idle.y.guards_intact());
  }
}

template <typename T>
class GemvRealForms : public ::testing::Test {};
using real_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(GemvRealForms, real_types, element_type_names);

// gemv_front_unit is gemv_front with alpha = beta = 1, and gemv_serial_acc is gemv_serial with beta = 1,
// bit for bit; an accumulate with alpha 0 does nothing, and both check the arguments as GEMV does.
TYPED_TEST(GemvRealForms, UnitAndAccumulateForms) {
  using T = TypeParam;
  using namespace parallel::blas;
  worker_scope scope(2);
  for (char trans : {'N', 't', 'C'})
    for (const auto& s : {std::pair{8, 8}, std::pair{9, 1}, std::pair{1, 9}, std::pair{33, 40}})
      for (const auto& inc : {std::pair{1, 1}, std::pair{-2, -1}, std::pair{2, 1}, std::pair{1, -2}}) {
        matvec_case<T> unit(trans, s.first, s.second, inc.first, inc.second, 9), front = unit, acc = unit, ser = unit;
        gemv_front_unit(trans, unit.m, unit.n, unit.a.data(), unit.a.ld(), unit.x.data(), unit.incx, unit.y.data(),
                        unit.incy);
        front.run(T(1), T(1));
        EXPECT_TRUE(all_same_bits(unit.y.logical(), front.y.logical())) << trans << s.first << "x" << s.second;
        gemv_serial_acc(trans, acc.m, acc.n, acc.a.data(), acc.a.ld(), acc.x.data(), acc.incx, acc.y.data(),
                        acc.incy, T(-0.75));
        ser.run(T(-0.75), T(1), true);
        EXPECT_TRUE(all_same_bits(acc.y.logical(), ser.y.logical())) << trans << s.first << "x" << s.second;
        EXPECT_TRUE(unit.y.guards_intact());
        EXPECT_TRUE(acc.y.guards_intact());
      }
  matvec_case<T> zero('N', 4, 4, 1, 1, 2);
  zero.a.fill(nan_element<T>());
  zero.y[0] = sentinel<T>();
  gemv_serial_acc('N', 4, 4, zero.a.data(), zero.a.ld(), zero.x.data(), 1, zero.y.data(), 1, T(0));
  EXPECT_TRUE(same_bits(zero.y[0], sentinel<T>()));
  for (const bool unit : {false, true})
    EXPECT_EQ(stderr_of([&] {
                if (unit) gemv_front_unit('N', 4, 4, zero.a.data(), 3, zero.x.data(), 1, zero.y.data(), 1);
                else gemv_serial_acc('N', 4, 4, zero.a.data(), 3, zero.x.data(), 1, zero.y.data(), 1, T(1));
              }),
              report("GEMV ", 6));
}

}  // namespace
}  // namespace kovra_test
