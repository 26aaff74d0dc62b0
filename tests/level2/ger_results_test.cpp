// GER, GERU and GERC results against the reference loop: shapes on both sides of the serial cut-off and
// around the column grain, several worker counts, every sign of the two increments, padding of A left
// alone; and the packed tile path, which must give what the same call on contiguous vectors gives.
#include <gtest/gtest.h>

#include <vector>

#include "ger_forms.h"
#include "kernels/get_kernel.h"
#include "support/element_types.h"
#include "support/reference_ger.h"
#include "support/strided_vector.h"
#include "support/worker_scope.h"
#include "threading/scratch.h"

namespace kovra::testing {
namespace {

template <typename T>
class GerResults : public ::testing::Test {};
TYPED_TEST_SUITE(GerResults, element_types, element_type_names);

struct increments {
  int x, y;
};
const increments all_signs[] = {{1, 1}, {2, 1}, {1, -2}, {-3, 2}, {-2, -1}, {2, 3}};

template <typename T>
T test_alpha() {
  return make<T>(1.25, -0.75);
}

// One update of an m by n matrix (ld = m + 3, NaN sentinels in the padding) checked against the reference.
template <typename T>
void check_update(rank_one_form form, int m, int n, increments inc, unsigned seed) {
  const auto xv = random_values<T>(m, seed), yv = random_values<T>(n, seed + 1);
  strided_vector<T> x(m, inc.x, xv), y(n, inc.y, yv);
  padded_matrix<T> a(m, n, m + 3);
  a.random(seed + 2);
  padded_matrix<T> expected = a;
  reference_ger(form == rank_one_form::gerc, m, n, test_alpha<T>(), xv, yv,
                [&](int i, int j) -> T& { return expected.at(i, j); });
  run_front(form, m, n, test_alpha<T>(), x.data(), inc.x, y.data(), inc.y, a.data(), a.ld());
  EXPECT_TRUE(near_reference(a, expected))
      << form_text(form) << m << "x" << n << " incx " << inc.x << " incy " << inc.y;
  EXPECT_TRUE(x.guards_intact());
  EXPECT_TRUE(y.guards_intact());
}

TYPED_TEST(GerResults, MatchTheReferenceAcrossShapesWorkersAndIncrements) {
  using T = TypeParam;
  const int grain = kernels::get_kernel<T>()->tile_n;
  // 8x8 is serial; 9x1 is one tile with all rows; 1x9 splits a single row; the rest meet the column
  // grain and the per-worker shares from both sides.
  const int shapes[][2] = {{8, 8},         {9, 1},         {1, 9},         {3, 2 * grain - 1}, {5, 2 * grain},
                           {7, 2 * grain + 1}, {33, 3 * grain + 2}, {17, 5 * grain + 3}};
  for (int workers : {1, 2, 3}) {
    worker_scope scope(workers);
    for (rank_one_form form : forms_of<T>())
      for (const auto& shape : shapes)
        for (const increments inc : all_signs) check_update<T>(form, shape[0], shape[1], inc, 7 * workers);
  }
}

// The packed path gathers x and each tile's y slice in logical order and then runs with unit increments,
// so with two strided vectors the result is bit for bit the call on contiguous copies of them.
TYPED_TEST(GerResults, PackedTilesGiveExactlyTheContiguousResult) {
  using T = TypeParam;
  const int m = 45, n = 6 * kernels::get_kernel<T>()->tile_n + 5;
  const auto xv = random_values<T>(m, 11), yv = random_values<T>(n, 12);
  for (int workers : {1, 2, 4}) {
    worker_scope scope(workers);
    for (rank_one_form form : forms_of<T>()) {
      padded_matrix<T> contiguous(m, n, m + 1);
      contiguous.random(13);
      run_front(form, m, n, test_alpha<T>(), xv.data(), 1, yv.data(), 1, contiguous.data(), contiguous.ld());
      for (const increments inc : {increments{-2, -3}, increments{3, 2}, increments{-1, 4}}) {
        strided_vector<T> x(m, inc.x, xv), y(n, inc.y, yv);
        padded_matrix<T> a(m, n, m + 1);
        a.random(13);
        run_front(form, m, n, test_alpha<T>(), x.data(), inc.x, y.data(), inc.y, a.data(), a.ld());
        EXPECT_TRUE(a.same_as(contiguous)) << form_text(form) << workers << " workers, incx " << inc.x;
        EXPECT_TRUE(a.guards_intact());
      }
    }
  }
}

// x and the slice only just fit the scratch block with the page rounding between them; and x alone
// nearly fills it, so the tile must run in place: gathering there would run past the block, which the
// sanitizer build reports.
TYPED_TEST(GerResults, TheGatherSizeLimitIsMetFromBothSides) {
  using T = TypeParam;
  const int n = 9;
  const int limit = int((threading::scratch_bytes - threading::scratch_alignment) / sizeof(T)) - n;
  worker_scope scope(1);
  for (const int m : {limit - 1, limit + 300}) check_update<T>(forms_of<T>().back(), m, n, {-2, 3}, 21);
}

}  // namespace
}  // namespace kovra::testing
