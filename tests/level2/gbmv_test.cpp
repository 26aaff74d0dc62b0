// GBMV against the reference for band widths from none to wider than the matrix, every transpose, shapes
// around the cut-off and the tile grains, several worker counts and increment signs, with NaN in the
// stored positions that hold no element; the checks on lda and their reports; the entries.
#include <gtest/gtest.h>

#include <complex>
#include <limits>
#include <string>

#include "matvec_case.h"
#include "support/element_types.h"
#include "support/worker_scope.h"

namespace kovra::testing {
namespace {

template <typename T>
class Gbmv : public ::testing::Test {};
TYPED_TEST_SUITE(Gbmv, element_types, element_type_names);

const int band_shapes[][2] = {{8, 8}, {9, 1}, {1, 9}, {20, 20}, {37, 11}, {11, 37}, {100, 7}, {7, 100}};
const int band_widths[][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {7, 1}, {1, 7}, {7, 7}, {120, 3}, {2, 120}};
const int increment_pairs[][2] = {{1, 1}, {-2, 1}, {1, -3}, {2, -1}};

TYPED_TEST(Gbmv, MatchesTheReferenceForEveryBandShapeAndWorkerCount) {
  using T = TypeParam;
  const T alpha = make<T>(-0.75, 0.5), beta = make<T>(1.5, -0.25);
  for (int workers : {1, 2, 3}) {
    worker_scope scope(workers);
    for (char trans : {'N', 'T', 'c'})
      for (const auto& shape : band_shapes)
        for (const auto& width : band_widths)
          for (const auto& inc : increment_pairs) {
            gbmv_case<T> g(trans, shape[0], shape[1], width[0], width[1], inc[0], inc[1], shape[0] + 3 * shape[1]);
            const auto want = g.expected(alpha, beta);
            g.run(alpha, beta);
            ASSERT_TRUE(matches(want, g.y.logical()))
                << trans << " " << shape[0] << "x" << shape[1] << " kl " << width[0] << " ku " << width[1] << " incs "
                << inc[0] << " " << inc[1] << " on " << workers << " workers";
            ASSERT_TRUE(g.y.guards_intact());
          }
  }
}

// The serial form, with beta = 0 over a NaN y and a zero x_j over a NaN column, on both paths.
TYPED_TEST(Gbmv, BetaZeroAndZeroXjKeepNaNOut) {
  using T = TypeParam;
  for (const auto& shape : {std::pair{8, 8}, std::pair{30, 25}})
    for (char trans : {'N', 'T'}) {
      gbmv_case<T> g(trans, shape.first, shape.second, 2, 3, 1, -2);
      g.x[1] = make<T>(0);
      const auto want = g.expected(make<T>(2), make<T>(0));
      for (int r = 0; r <= g.kl + g.ku; ++r) g.a.at(r, 1) = trans == 'N' ? nan_element<T>() : g.a.at(r, 1);
      for (int i = 0; i < y_length(trans, g.m, g.n); ++i) g.y[i] = nan_element<T>();
      g.run(make<T>(2), make<T>(0));
      EXPECT_TRUE(matches(want, g.y.logical())) << trans << " " << shape.first;
    }
}

// A beta of exactly 1 leaves y unscaled in the serial form and in the tiles alike.
TYPED_TEST(Gbmv, BetaOneIsNoMultiplication) {
  using T = TypeParam;
  const double inf = std::numeric_limits<double>::infinity();
  for (const auto& shape : {std::pair{8, 8}, std::pair{30, 25}})
    for (char trans : {'N', 'T'})
      for (int incy : {1, -2}) {
        gbmv_case<T> g(trans, shape.first, shape.second, 1, 2, 1, incy);
        g.y[shape.second - 1] = make<T>(inf, 0);
        g.run(make<T>(0.5, 0.5), make<T>(1));
        EXPECT_FALSE(has_nan(g.y[shape.second - 1])) << trans << incy;
      }
}

std::string gbmv_report(int position) {
  return "** KOVRA Error!  On Entry to GBMV  parameter number " + std::to_string(position) + " had an illegal value!\n";
}

TYPED_TEST(Gbmv, EachBadArgumentIsReportedAtItsPositionAndYIsUntouched) {
  using T = TypeParam;
  struct bad_call { char trans; int m, n, kl, ku, lda, incx, incy, position; };
  const bad_call calls[] = {
      {'Y', 2, 2, 1, 1, 3, 1, 1, 1}, {'N', -1, 2, 1, 1, 3, 1, 1, 2}, {'T', 2, -1, 1, 1, 3, 1, 1, 3},
      {'N', 2, 2, -1, 1, 3, 1, 1, 4}, {'N', 2, 2, 1, -1, 3, 1, 1, 5}, {'N', 2, 2, 1, 1, 2, 1, 1, 8},
      {'C', 2, 2, 0, 0, 0, 1, 1, 8}, {'N', 2, 2, 1, 1, 3, 0, 1, 10}, {'t', 2, 2, 1, 1, 3, 1, 0, 13},
  };
  std::vector<T> a(16, make<T>(1)), x(8, make<T>(1));
  for (const bad_call& c : calls) {
    std::vector<T> y(8, sentinel<T>());
    ::testing::internal::CaptureStderr();
    parallel::blas::gbmv_front(c.trans, c.m, c.n, c.kl, c.ku, make<T>(1), a.data(), c.lda, x.data(), c.incx,
                               make<T>(0), y.data(), c.incy);
    parallel::blas::gbmv_serial(c.trans, c.m, c.n, c.kl, c.ku, make<T>(1), a.data(), c.lda, x.data(), c.incx,
                                make<T>(0), y.data(), c.incy);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), gbmv_report(c.position) + gbmv_report(c.position));
    EXPECT_TRUE(all_same_bits(y, std::vector<T>(8, sentinel<T>())));
  }
  // lda = kl + ku + 1 holds the band exactly and is accepted.
  gbmv_case<T> exact('N', 12, 10, 2, 3, 1, 1, 4, 0);
  const auto want = exact.expected(make<T>(1), make<T>(1));
  ::testing::internal::CaptureStderr();
  exact.run(make<T>(1), make<T>(1));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(matches(want, exact.y.logical()));
}

// Fortran and column-major CBLAS give the routine's bits. Row-major reads the band storage of an
// m by n A with (kl, ku) as that of the n by m B = A^T with (ku, kl): op(A) is B^T, B or conj(B).
TYPED_TEST(Gbmv, EntriesInBothFormsAndBothOrders) {
  using T = TypeParam;
  using entries = matvec_entries<T>;
  const T alpha = make<T>(1.25, -1), beta = make<T>(0.5, 0.5);
  for (char trans : {'N', 'T', 'C'}) {
    gbmv_case<T> routine(trans, 13, 10, 3, 1, -1, 2), fortran = routine, cblas = routine;
    routine.run(alpha, beta);
    const int m = 13, n = 10, kl = 3, ku = 1, lda = fortran.a.ld(), incx = -1, incy = 2;
    entries::gbmv(&trans, &m, &n, &kl, &ku, &alpha, fortran.a.data(), &lda, fortran.x.data(), &incx, &beta,
                     fortran.y.data(), &incy);
    const CBLAS_TRANSPOSE t = cblas_trans(trans);
    entries::gbmv_cblas(CblasColMajor, t, m, n, kl, ku, entries::scalar(alpha), cblas.a.data(), lda,
                        cblas.x.data(), incx, entries::scalar(beta), cblas.y.data(), incy);
    EXPECT_TRUE(all_same_bits(fortran.y.logical(), routine.y.logical()));
    EXPECT_TRUE(all_same_bits(cblas.y.logical(), routine.y.logical()));

    // B is 13 by 10 with (kl, ku) = (3, 1), so the row-major A is 10 by 13 with (kl, ku) = (1, 3).
    const char as_b = trans == 'N' ? 'T' : 'N';
    gbmv_case<T> row(as_b, 13, 10, 3, 1, -1, 2, 17);
    const bool conj = trans == 'C';
    const auto want = reference_matvec(
        as_b, 13, 10, alpha, [&](int i, int j) { return helper::CONJG(conj, row.element(i, j)); }, row.x.logical(),
        beta, row.y.logical());
    entries::gbmv_cblas(CblasRowMajor, t, 10, 13, 1, 3, entries::scalar(alpha), row.a.data(), row.a.ld(),
                        row.x.data(), -1, entries::scalar(beta), row.y.data(), 2);
    EXPECT_TRUE(matches(want, row.y.logical())) << trans;
    EXPECT_TRUE(row.y.guards_intact());
  }
}

TYPED_TEST(Gbmv, RowMajorReportsThePositionsOfTheSwappedCall) {
  using T = TypeParam;
  using entries = matvec_entries<T>;
  struct bad { int trans, m, n, kl, ku, lda, position; };
  // Row-major swaps M and N, KL and KU: a negative M is N of the call made, a negative KL its KU.
  for (const bad c : {bad{CblasNoTrans, -1, 2, 0, 0, 1, 3}, bad{CblasTrans, 2, -1, 0, 0, 1, 2},
                      bad{CblasNoTrans, 2, 2, -1, 0, 1, 5}, bad{CblasNoTrans, 2, 2, 0, -1, 1, 4},
                      bad{CblasNoTrans, 2, 2, 1, 1, 2, 8}, bad{99, 2, 2, 0, 0, 1, 1}}) {
    std::vector<T> a(16, make<T>(1)), x(8, make<T>(1)), y(8, sentinel<T>());
    ::testing::internal::CaptureStderr();
    entries::gbmv_cblas(CblasRowMajor, static_cast<CBLAS_TRANSPOSE>(c.trans), c.m, c.n, c.kl, c.ku,
                        entries::scalar(make<T>(1)), a.data(), c.lda, x.data(), 1, entries::scalar(make<T>(0)),
                        y.data(), 1);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), gbmv_report(c.position));
    EXPECT_TRUE(all_same_bits(y, std::vector<T>(8, sentinel<T>())));
  }
}

}  // namespace
}  // namespace kovra::testing
