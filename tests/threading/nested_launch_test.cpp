// Nested launches in bulk: 500 runs of launch_blocks, each calling a gemm<T> that launches and waits in
// turn. A waiting worker runs only the tasks of the group it waits for, so however many outer tasks are
// queued, no worker stacks more than the one wait of the nested gemm.
#include <gtest/gtest.h>

#include <complex>
#include <vector>

#include <vesk/testing.h>

#include "parallel/blas/level3/gemm.h"
#include "support/cases.h"
#include "threading/launch.h"

namespace {

constexpr int runs = 500;
constexpr int n = 12;  // above the serial cut-off, so every gemm launches

// Run r computes C_r = A * B_r with B_r = (r + 1) * I: small integers, so every product is exact.
template <typename T>
struct nested_gemm_body {
  const std::vector<T>* a;
  std::vector<T>* c;
  void run_tile(kovra::threading::scratch*, int r_begin, int r_end, int, int) const {
    for (int r = r_begin; r < r_end; ++r) {
      std::vector<T> b(n * n, T(0));
      for (int i = 0; i < n; ++i) b[i + n * i] = T(r + 1);
      kovra::parallel::blas::gemm('N', 'N', n, n, n, T(1), a->data(), n, b.data(), n, T(0), c->data() + n * n * r, n);
    }
  }
};

template <typename T>
void run_nested(int workers) {
  kovra_test::worker_scope scope(workers);
  std::vector<T> a(n * n), c(n * n * runs, T(-1));
  for (int i = 0; i < n * n; ++i) a[i] = T(i % 7 - 3);
  const nested_gemm_body<T> body{&a, &c};
  vesk::testing::reset_deepest_wait();
  kovra::threading::launch_blocks(runs, 1, 1, 1, &body);
  // One level of calls nests (gemm inside a task), so one wait at most is stacked on any worker.
  EXPECT_EQ(vesk::testing::deepest_wait(), 1) << workers << " workers";
  for (int r = 0; r < runs; ++r)
    for (int i = 0; i < n * n; ++i)
      ASSERT_EQ(c[n * n * r + i], T(r + 1) * a[i]) << "run " << r << ", element " << i << ", " << workers << " workers";
}

TEST(NestedLaunch, WaitsStackNoDeeperThanTheCallsNest) {
  for (int workers : {1, 2, 4}) {
    run_nested<double>(workers);
    run_nested<std::complex<float>>(workers);
  }
}

}  // namespace
