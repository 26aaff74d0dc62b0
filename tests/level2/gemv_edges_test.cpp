// GEMV's edge cases in exact values: quick returns that leave y unread, beta = 0 never reading y, zero
// x_j or alpha keeping a NaN column out, the argument checks with their reports, and the entries
// (Fortran triples, CBLAS in both orders, the row-major ConjTrans route).
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <string>

#include "matvec_case.h"
#include "support/element_types.h"

namespace kovra::testing {
namespace {

template <typename T>
class GemvEdges : public ::testing::Test {};
TYPED_TEST_SUITE(GemvEdges, element_types, element_type_names);

// Serial (8 by 8) and task (9 by 1, 1 by 9, larger) shapes.
const int path_shapes[][2] = {{8, 8}, {9, 1}, {1, 9}, {40, 33}};

std::string gemv_report(int position) {
  return "** KOVRA Error!  On Entry to GEMV  parameter number " + std::to_string(position) + " had an illegal value!\n";
}

template <typename T>
bool all_sentinels(const std::vector<T>& v) {
  return all_same_bits(v, std::vector<T>(v.size(), sentinel<T>()));
}

TYPED_TEST(GemvEdges, QuickReturnsLeaveYUnread) {
  using T = TypeParam;
  for (const auto& shape : path_shapes) {
    gemv_case<T> g('N', shape[0], shape[1], 1, -2);
    for (int i = 0; i < shape[0]; ++i) g.y[i] = sentinel<T>();  // any write, even of the same value, shows
    g.run(make<T>(0), make<T>(1));
    EXPECT_TRUE(all_sentinels(g.y.logical()));
  }
  for (const auto& empty : {std::pair{0, 5}, std::pair{5, 0}, std::pair{0, 20}}) {
    gemv_case<T> g('T', empty.first, empty.second, 1, 1);
    for (int i = 0; i < empty.second; ++i) g.y[i] = sentinel<T>();
    std::vector<T> y(empty.second, sentinel<T>());
    g.run(make<T>(1), make<T>(0));
    parallel::blas::gemv_front('N', empty.first, empty.second, make<T>(1), g.a.data(), g.a.ld(), g.x.data(), 1,
                               make<T>(0), y.data(), 1);
    EXPECT_TRUE(all_sentinels(g.y.logical()));
    EXPECT_TRUE(all_sentinels(y));
  }
}

TYPED_TEST(GemvEdges, BetaZeroNeverReadsY) {
  using T = TypeParam;
  const T alpha = make<T>(0.5, 1.5);
  for (char trans : {'N', 'C'})
    for (const auto& shape : path_shapes)
      for (int incy : {1, -3}) {
        gemv_case<T> g(trans, shape[0], shape[1], 2, incy);
        const auto want = g.expected(alpha, make<T>(0));
        for (int i = 0; i < y_length(trans, g.m, g.n); ++i) g.y[i] = nan_element<T>();
        g.run(alpha, make<T>(0));
        EXPECT_TRUE(matches(want, g.y.logical())) << trans << " " << shape[0] << "x" << shape[1] << " " << incy;
        EXPECT_TRUE(g.y.guards_intact());
      }
}

// A beta of exactly 1 leaves y unscaled: multiplying (inf, 0) by (1, 0) would make its imaginary part NaN.
TYPED_TEST(GemvEdges, BetaOneIsNoMultiplication) {
  using T = TypeParam;
  const double inf = std::numeric_limits<double>::infinity();
  for (const auto& shape : path_shapes)
    for (char trans : {'N', 'T'})
      for (int incy : {1, -2}) {
        gemv_case<T> g(trans, shape[0], shape[1], 1, incy);
        g.y[0] = make<T>(inf, 0);
        g.run(make<T>(0.5, 0.5), make<T>(1));
        EXPECT_FALSE(std::isnan(helper::IMAG(g.y[0])) || std::isnan(helper::REAL(g.y[0]))) << trans << incy;
      }
}

// alpha = 0 scales y by beta and never touches A or x; a zero x_j keeps column j of A out of y.
TYPED_TEST(GemvEdges, ZeroAlphaOrZeroXjKeepsNaNColumnsOut) {
  using T = TypeParam;
  const T beta = make<T>(0.5, -0.5);
  for (const auto& shape : path_shapes) {
    for (char trans : {'N', 'T'}) {
      gemv_case<T> g(trans, shape[0], shape[1], 1, 2);
      g.a.fill(nan_element<T>());
      for (int i = 0; i < x_length(trans, g.m, g.n); ++i) g.x[i] = nan_element<T>();
      std::vector<T> want;
      for (const T& v : g.y.logical()) want.push_back(helper::mul(beta, v));
      g.run(make<T>(0), beta);
      EXPECT_TRUE(all_same_bits(g.y.logical(), want));
    }
    gemv_case<T> col('N', shape[0], shape[1], -1, 1);
    col.x[0] = make<T>(0, -0.0);
    const auto expected = col.expected(make<T>(1.25), make<T>(0.75));
    for (int i = 0; i < col.m; ++i) col.a.at(i, 0) = nan_element<T>();
    col.run(make<T>(1.25), make<T>(0.75));
    EXPECT_TRUE(matches(expected, col.y.logical())) << shape[0] << "x" << shape[1];
  }
}

TYPED_TEST(GemvEdges, EachBadArgumentIsReportedAtItsPositionAndYIsUntouched) {
  using T = TypeParam;
  struct bad_call { char trans; int m, n, lda, incx, incy, position; };
  const bad_call calls[] = {
      {'X', 2, 2, 2, 1, 1, 1}, {'R', 2, 2, 2, 1, 1, 1}, {'N', -1, 2, 2, 1, 1, 2}, {'T', 2, -1, 2, 1, 1, 3},
      {'N', 3, 2, 2, 1, 1, 6}, {'c', 0, 2, 0, 1, 1, 6}, {'N', 2, 2, 2, 0, 1, 8}, {'T', 2, 2, 2, 1, 0, 11},
      {'Q', -1, -1, 0, 0, 0, 1}, {'n', 2, -1, 0, 0, 0, 3},
  };
  std::vector<T> a(16, make<T>(1)), x(8, make<T>(1));
  for (const bad_call& call : calls) {
    std::vector<T> y(8, sentinel<T>());
    ::testing::internal::CaptureStderr();
    parallel::blas::gemv_front(call.trans, call.m, call.n, make<T>(1), a.data(), call.lda, x.data(), call.incx,
                               make<T>(0), y.data(), call.incy);
    parallel::blas::gemv_serial(call.trans, call.m, call.n, make<T>(1), a.data(), call.lda, x.data(), call.incx,
                                make<T>(0), y.data(), call.incy);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), gemv_report(call.position) + gemv_report(call.position));
    EXPECT_TRUE(all_sentinels(y));
  }
}

// Column-major CBLAS and Fortran give the routine's bits. Row-major runs on the same storage read as
// the transpose: an m by n row-major A is the n by m column-major matrix B = A^T, so op(A) is B^T, B or
// conj(B) for NoTrans, Trans and ConjTrans; any Order but 102 is row-major.
TYPED_TEST(GemvEdges, EntriesInBothFormsAndBothOrders) {
  using T = TypeParam;
  using entries = matvec_entries<T>;
  const T alpha = make<T>(0.75, 0.5), beta = make<T>(-0.5, 1);
  for (char trans : {'N', 'T', 'C'})
    for (int incx : {1, -2}) {
      gemv_case<T> routine(trans, 11, 7, incx, 2), fortran = routine, cblas = routine;
      routine.run(alpha, beta);
      const int m = 11, n = 7, lda = fortran.a.ld(), incy = 2;
      entries::gemv(&trans, &m, &n, &alpha, fortran.a.data(), &lda, fortran.x.data(), &incx, &beta,
                    fortran.y.data(), &incy);
      entries::gemv_cblas(CblasColMajor, cblas_trans(trans), m, n, entries::scalar(alpha), cblas.a.data(), lda,
                          cblas.x.data(), incx, entries::scalar(beta), cblas.y.data(), incy);
      EXPECT_TRUE(all_same_bits(fortran.y.logical(), routine.y.logical()));
      EXPECT_TRUE(all_same_bits(cblas.y.logical(), routine.y.logical()));

      for (int order : {int(CblasRowMajor), 0}) {
        // B is 11 by 7 column-major, so the row-major A is 7 by 11: M = 7, N = 11.
        const char as_b = trans == 'N' ? 'T' : 'N';
        gemv_case<T> row(as_b, 11, 7, incx, 2, 21);
        const bool conj = trans == 'C';
        const auto want = reference_matvec(
            as_b, 11, 7, alpha,
            [&](int i, int j) { return conj ? helper::CONJG(true, row.a.at(i, j)) : row.a.at(i, j); },
            row.x.logical(), beta, row.y.logical());
        entries::gemv_cblas(static_cast<CBLAS_ORDER>(order), cblas_trans(trans), 7, 11, entries::scalar(alpha),
                            row.a.data(), row.a.ld(), row.x.data(), incx, entries::scalar(beta), row.y.data(), 2);
        EXPECT_TRUE(matches(want, row.y.logical())) << trans << " order " << order;
        EXPECT_TRUE(row.y.guards_intact());
        EXPECT_TRUE(row.x.guards_intact());
      }
    }
}

// Row-major ConjTrans conjugates y, returns at once (alpha 0, beta 1) and conjugates y back.
TYPED_TEST(GemvEdges, RowMajorConjTransWithNothingToDoLeavesYBitForBit) {
  using T = TypeParam;
  using entries = matvec_entries<T>;
  gemv_case<T> g('N', 20, 12, 1, -3);
  g.y[3] = make<T>(-0.0, 0.0);
  g.y[5] = nan_element<T>();
  const auto before = g.y.logical();
  entries::gemv_cblas(CblasRowMajor, CblasConjTrans, 12, 20, entries::scalar(make<T>(0)), g.a.data(), g.a.ld(),
                      g.x.data(), 1, entries::scalar(make<T>(1)), g.y.data(), -3);
  EXPECT_TRUE(all_same_bits(g.y.logical(), before));
  EXPECT_TRUE(g.y.guards_intact());
}

TYPED_TEST(GemvEdges, CblasReportsThePositionsOfTheCallItMakes) {
  using T = TypeParam;
  using entries = matvec_entries<T>;
  struct bad { int order, trans, m, n, lda, incx, incy, position; };
  const bad calls[] = {
      {CblasColMajor, 110, 2, 2, 2, 1, 1, 1}, {CblasRowMajor, 114, 2, 2, 2, 1, 1, 1},
      {CblasColMajor, CblasNoTrans, -1, 2, 2, 1, 1, 2}, {CblasRowMajor, CblasNoTrans, -1, 2, 2, 1, 1, 3},
      {CblasRowMajor, CblasTrans, 2, -1, 2, 1, 1, 2}, {CblasRowMajor, CblasNoTrans, 2, 3, 2, 1, 1, 6},
      {CblasRowMajor, CblasTrans, 2, 2, 2, 1, 0, 11}, {CblasRowMajor, CblasConjTrans, 2, 2, 2, 1, 0, 11},
  };
  std::vector<T> a(16, make<T>(1)), x(8, make<T>(1));
  for (const bad& call : calls) {
    std::vector<T> y(8, sentinel<T>());
    ::testing::internal::CaptureStderr();
    entries::gemv_cblas(static_cast<CBLAS_ORDER>(call.order), static_cast<CBLAS_TRANSPOSE>(call.trans), call.m,
                        call.n, entries::scalar(make<T>(1)), a.data(), call.lda, x.data(), call.incx,
                        entries::scalar(make<T>(0)), y.data(), call.incy);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), gemv_report(call.position)) << call.position;
    EXPECT_TRUE(all_sentinels(y));
  }
}

TEST(GemvEntries, FortranNamesAreOneRoutine) {
  const int m = 9, n = 3, inc = 1;
  const double alpha = 2, beta = 0;
  std::vector<double> a(m * n, 1.0), x(n, 0.5), y1(m, 9), y2(m, 9), y3(m, 9);
  dgemv_("N", &m, &n, &alpha, a.data(), &m, x.data(), &inc, &beta, y1.data(), &inc);
  dgemv("n", &m, &n, &alpha, a.data(), &m, x.data(), &inc, &beta, y2.data(), &inc);
  DGEMV("N", &m, &n, &alpha, a.data(), &m, x.data(), &inc, &beta, y3.data(), &inc);
  EXPECT_EQ(y1, std::vector<double>(m, 3.0));
  EXPECT_EQ(y2, y1);
  EXPECT_EQ(y3, y1);
}

}  // namespace
}  // namespace kovra::testing
