// GEMV results against the reference: every transpose, shapes around the serial cut-off and the tile
// grains, several worker counts, every sign of both increments, the packed tile path and its fallback,
// and the real-only forms gemv_front_unit and gemv_serial_acc.
#include <gtest/gtest.h>

#include <cstdlib>

#include "kernels/get_kernel.h"
#include "matvec_case.h"
#include "support/element_types.h"
#include "support/worker_scope.h"

namespace kovra::testing {
namespace {

using parallel::blas::gemv_serial;

template <typename T>
class GemvResults : public ::testing::Test {};
TYPED_TEST_SUITE(GemvResults, element_types, element_type_names);

struct increments {
  int x, y;
};
const increments increment_pairs[] = {{1, 1}, {2, 1}, {1, -1}, {-2, -2}, {3, -1}, {-1, 2}};

// 8 by 8 is serial; a 9 in either dimension launches. The others give uneven tiles and partial grains.
const int shapes[][2] = {{8, 8}, {9, 1}, {1, 9}, {7, 9}, {17, 5}, {5, 17}, {33, 40}, {100, 3}, {3, 100}};

TYPED_TEST(GemvResults, MatchTheReferenceForEveryTransposeShapeIncrementAndWorkerCount) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, -0.5), beta = make<T>(-1.25, 0.25);
  for (int workers : {1, 2, 3, 4}) {
    worker_scope scope(workers);
    for (char trans : {'N', 'T', 'C', 'n', 't', 'c'})
      for (const auto& shape : shapes)
        for (const increments inc : increment_pairs) {
          gemv_case<T> g(trans, shape[0], shape[1], inc.x, inc.y, shape[0] * 7 + shape[1]);
          const auto want = g.expected(alpha, beta);
          g.run(alpha, beta);
          ASSERT_TRUE(matches(want, g.y.logical()))
              << trans << " " << shape[0] << "x" << shape[1] << " incx " << inc.x << " incy " << inc.y << " on "
              << workers << " workers";
          ASSERT_TRUE(g.y.guards_intact());
          ASSERT_TRUE(g.x.guards_intact());
        }
  }
}

// With both increments strided each tile gathers x and its slice of y into the scratch, runs with unit
// increments and scatters back: the result is that of the serial form on gathered copies, in the places
// where the strided serial form writes.
TYPED_TEST(GemvResults, PackedTilesWriteWhereTheSerialFormWrites) {
  using T = TypeParam;
  const T alpha = make<T>(1.5, 0.5), beta = make<T>(0.5, -1);
  // One worker makes one tile, as long as the serial call. With more, 'N' tiles would meet the kernel's
  // axpy at other offsets, whose vector and scalar stages may round differently on some processors.
  for (int workers : {1, 3}) {
    worker_scope scope(workers);
    for (char trans : {'N', 'T', 'C'}) {
      if (workers > 1 && trans == 'N') continue;
      for (const increments inc : {increments{-2, -2}, increments{2, 3}, increments{-1, 2}, increments{3, -3}}) {
        gemv_case<T> g(trans, 37, 29, inc.x, inc.y, 5);
        std::vector<T> x = g.x.logical(), y = g.y.logical();
        gemv_serial(trans, g.m, g.n, alpha, g.a.data(), g.a.ld(), x.data(), 1, beta, y.data(), 1);
        g.run(alpha, beta);
        EXPECT_TRUE(all_same_bits(g.y.logical(), y)) << trans << " " << inc.x << " " << inc.y << " " << workers;
        EXPECT_TRUE(g.y.guards_intact());
      }
    }
  }
}

// x and the slice of y together too long for the scratch: the tile runs strided in place, and nothing
// is written beyond the scratch (a sanitizer build catches that).
TYPED_TEST(GemvResults, VectorsTooLongForTheScratchRunInPlace) {
  using T = TypeParam;
  const int long_side = int(threading::scratch_bytes / sizeof(T));
  const T alpha = make<T>(0.5, 0.25), beta = make<T>(2, 0);
  for (char trans : {'N', 'T'}) {
    const int m = trans == 'N' ? 9 : long_side, n = trans == 'N' ? long_side : 9;
    gemv_case<T> g(trans, m, n, -2, 2, 11, 0);
    const auto want = g.expected(alpha, beta);
    g.run(alpha, beta);
    EXPECT_TRUE(matches(want, g.y.logical())) << trans;
    EXPECT_TRUE(g.y.guards_intact());
  }
}

// T and C reach y only through the scalar dot of each column, whatever the tiling, so the task path
// gives the serial form's bits; for real types C is T.
TYPED_TEST(GemvResults, DotFormsAreTheSerialFormBitForBit) {
  using T = TypeParam;
  const T alpha = make<T>(-0.5, 2), beta = make<T>(0.25, 0.25);
  worker_scope scope(2);
  for (char trans : {'T', 'C'})
    for (const increments inc : {increments{1, 1}, increments{-3, 1}, increments{1, -2}}) {
      gemv_case<T> tasks(trans, 23, 41, inc.x, inc.y, 3), serial = tasks, other = tasks;
      tasks.run(alpha, beta);
      serial.run_serial(alpha, beta);
      EXPECT_TRUE(all_same_bits(tasks.y.logical(), serial.y.logical())) << trans;
      if constexpr (!is_complex_v<T>) {
        other.trans = trans == 'T' ? 'C' : 'T';
        other.run(alpha, beta);
        EXPECT_TRUE(all_same_bits(other.y.logical(), tasks.y.logical()));
      }
    }
}

template <typename T>
class GemvRealForms : public ::testing::Test {};
using real_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(GemvRealForms, real_types, element_type_names);

// y += op(A) x: the same bits as gemv_front with alpha = beta = 1, on both sides of the cut-off.
TYPED_TEST(GemvRealForms, FrontUnitIsTheFrontWithUnitScalars) {
  using T = TypeParam;
  worker_scope scope(2);
  for (char trans : {'N', 't'})
    for (const auto& shape : shapes)
      for (const increments inc : {increments{1, 1}, increments{-2, -1}, increments{2, 1}}) {
        gemv_case<T> unit(trans, shape[0], shape[1], inc.x, inc.y, 9), front = unit;
        parallel::blas::gemv_front_unit(trans, unit.m, unit.n, unit.a.data(), unit.a.ld(), unit.x.data(), inc.x,
                                        unit.y.data(), inc.y);
        front.run(T(1), T(1));
        EXPECT_TRUE(all_same_bits(unit.y.logical(), front.y.logical())) << trans << shape[0] << "x" << shape[1];
        EXPECT_TRUE(unit.y.guards_intact());
      }
}

// y += alpha op(A) x on the calling thread: gemv_serial with beta = 1, and nothing at all for alpha 0.
TYPED_TEST(GemvRealForms, SerialAccumulateAddsWithoutABetaPass) {
  using T = TypeParam;
  for (char trans : {'N', 'T', 'C'})
    for (const increments inc : increment_pairs) {
      gemv_case<T> acc(trans, 13, 6, inc.x, inc.y, 4), serial = acc;
      parallel::blas::gemv_serial_acc(trans, acc.m, acc.n, acc.a.data(), acc.a.ld(), acc.x.data(), inc.x,
                                      acc.y.data(), inc.y, T(-0.75));
      serial.run_serial(T(-0.75), T(1));
      EXPECT_TRUE(all_same_bits(acc.y.logical(), serial.y.logical()));
      EXPECT_TRUE(acc.y.guards_intact());
    }
  gemv_case<T> zero('N', 4, 4, 1, 1, 2);
  zero.a.fill(nan_element<T>());
  zero.y[0] = sentinel<T>();
  parallel::blas::gemv_serial_acc('N', 4, 4, zero.a.data(), zero.a.ld(), zero.x.data(), 1, zero.y.data(), 1, T(0));
  EXPECT_TRUE(same_bits(zero.y[0], sentinel<T>()));
  ::testing::internal::CaptureStderr();
  parallel::blas::gemv_serial_acc('N', 4, 4, zero.a.data(), 3, zero.x.data(), 1, zero.y.data(), 1, T(1));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "** KOVRA Error!  On Entry to GEMV  parameter number 6 had an illegal value!\n");
}

}  // namespace
}  // namespace kovra::testing
