// The launchers on the running runtime: the tiles that bodies receive for explicit worker counts,
// dropped tiles, a stopped runtime, nesting, and many application threads launching at once.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include <vesk/exceptions.h>
#include <vesk/testing.h>
#include <vesk/runtime.h>

#include "threading/launch.h"
#include "support/worker_scope.h"

namespace kovra_test {
using namespace kovra::threading;

namespace {

// Records every tile it is run on.
struct recording_body {
  mutable std::mutex lock;
  mutable std::vector<tile_range> seen;
  void run_tile(scratch*, int m_begin, int m_end, int n_begin, int n_end) const {
    std::lock_guard<std::mutex> guard(lock);
    seen.push_back({m_begin, m_end, n_begin, n_end});
  }
  std::vector<tile_range> sorted() const {
    auto tiles = seen;
    std::sort(tiles.begin(), tiles.end());
    return tiles;
  }
};

std::vector<tile_range> expected_grid(int m, int mgrain, int n, int ngrain, int workers) {
  std::vector<tile_range> tiles;
  grid_split split(m, mgrain, n, ngrain, workers);
  for (tile_range t; split.next(t);) tiles.push_back(t);
  std::sort(tiles.begin(), tiles.end());
  return tiles;
}

class Launchers : public ::testing::TestWithParam<int> {};

TEST_P(Launchers, GridTilesAreTheSplitForThisWorkerCount) {
  const int workers = GetParam();
  kovra_test::worker_scope scope(workers);
  struct shape { int m, mgrain, n, ngrain; };
  for (const shape s : {shape{9, 8, 1, 1}, shape{100, 8, 1, 1}, shape{64, 8, 1, 1}, shape{1015, 8, 1, 1},
                        shape{7, 7, 100, 4}, shape{50, 8, 13, 13}, shape{3, 0, 1, 1}}) {
    recording_body body;
    launch_grid(s.m, s.mgrain, s.n, s.ngrain, &body);
    EXPECT_EQ(body.sorted(), expected_grid(s.m, s.mgrain, s.n, s.ngrain, workers)) << "m=" << s.m;
  }
}

TEST_P(Launchers, TilesCarryTheirTileNumberAndTheCountIsReturned) {
  const int workers = GetParam();
  kovra_test::worker_scope scope(workers);
  for (int n : {1, 9, 20, 1000}) {
    recording_body body;
    const int made = launch_tiles(n, 8, &body);
    auto tiles = body.sorted();
    ASSERT_EQ(static_cast<int>(tiles.size()), made);
    EXPECT_LE(made, workers);
    for (int i = 0; i < made; ++i) {
      EXPECT_EQ(tiles[i].n_begin, i);
      EXPECT_EQ(tiles[i].n_end, i + 1);
    }
    EXPECT_EQ(tiles.back().m_end, n);
  }
}

TEST_P(Launchers, BlocksAreNotLimitedByTheWorkerCount) {
  kovra_test::worker_scope scope(GetParam());
  recording_body body;
  launch_blocks(1000, 64, 7, 7, &body);
  const auto tiles = body.sorted();
  ASSERT_EQ(tiles.size(), 15u);  // 14 runs of 64 and a last one of 104
  EXPECT_EQ(tiles.back(), (tile_range{896, 1000, 0, 7}));
  recording_body none;
  launch_blocks(1000, 64, 0, 7, &none);
  EXPECT_TRUE(none.seen.empty());
}

INSTANTIATE_TEST_SUITE_P(WorkerCounts, Launchers, ::testing::Values(1, 2, 4, 8));

TEST(LaunchFailures, TaskWithoutMemoryIsDroppedAndTheCallReturns) {
  kovra_test::worker_scope scope(4);
  recording_body body;
  vesk::testing::fail_task_allocations(0b10);  // the second task of the launch
  launch_grid(100, 8, 1, 1, &body);
  vesk::testing::fail_task_allocations(0);
  EXPECT_EQ(body.sorted(), (std::vector<tile_range>{{0, 28, 0, 1}, {52, 76, 0, 1}, {76, 100, 0, 1}}));
}

TEST(LaunchFailures, StoppedRuntimeThrowsTheRuntimeExceptionFromTheLaunch) {
  kovra_test::worker_scope scope(2);
  vesk_stop();
  recording_body body;
  try {
    launch_grid(100, 8, 1, 1, &body);
    FAIL() << "a launch on a stopped runtime must throw";
  } catch (const vesk::api_exception& e) {
    EXPECT_STREQ(e.what(),
                 "vesk/internal/task/task: 730 task(): Cannot create task unless VESK runtime is initialized");
  }
  EXPECT_TRUE(body.seen.empty());
  // The runtime comes back and launches work again.
  vesk_start(2);
  launch_grid(100, 8, 1, 1, &body);
  EXPECT_EQ(body.seen.size(), 2u);
}

// Three levels: each row of a tile at levels 1 and 2 launches the next level from inside its task and
// waits in it, so the leaves count 8 * 8 * 8 rows whatever the worker count.
struct nested_body {
  int level;
  std::atomic<int>* leaves;
  void run_tile(scratch*, int m_begin, int m_end, int, int) const {
    if (level == 3) {
      leaves->fetch_add(m_end - m_begin);
      return;
    }
    const nested_body inner{level + 1, leaves};
    for (int row = m_begin; row < m_end; ++row) launch_grid(8, 1, 1, 1, &inner);
  }
};

TEST(LaunchNesting, ThreeLevelsDeepNeverDeadlock) {
  for (int workers : {1, 2, 4}) {
    kovra_test::worker_scope scope(workers);
    std::atomic<int> leaves{0};
    const nested_body outer{1, &leaves};
    launch_grid(8, 1, 1, 1, &outer);
    EXPECT_EQ(leaves.load(), 8 * 8 * 8) << workers << " workers";
  }
}

// Each application thread adds its own pattern into its own array through many small launches.
struct add_body {
  int* data;
  int value;
  void run_tile(scratch*, int m_begin, int m_end, int, int) const {
    for (int i = m_begin; i < m_end; ++i) data[i] += value;
  }
};

TEST(LaunchConcurrency, ManyApplicationThreadsLaunchAtOnce) {
  kovra_test::worker_scope scope(2);
  constexpr int threads = 8, rounds = 400, length = 37;
  std::vector<std::vector<int>> arrays(threads, std::vector<int>(length, 0));
  std::vector<std::thread> callers;
  for (int t = 0; t < threads; ++t)
    callers.emplace_back([&, t] {
      for (int r = 0; r < rounds; ++r) {
        add_body body{arrays[t].data(), t + 1};
        launch_grid(length, 4, 1, 1, &body);
      }
    });
  for (auto& c : callers) c.join();
  for (int t = 0; t < threads; ++t)
    EXPECT_EQ(arrays[t], std::vector<int>(length, rounds * (t + 1))) << "thread " << t;
}

}  // namespace
}  // namespace kovra_test
