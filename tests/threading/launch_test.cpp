// The launchers on the running runtime: the tiles that bodies receive for each worker count, dropped
// tiles and a stopped runtime. Nesting is in nested_launch_test.cpp, concurrent launchers in the runtime's.
#include "threading/launch.h"

#include <gtest/gtest.h>
#include <vesk/exceptions.h>
#include <vesk/testing.h>

#include <algorithm>
#include <mutex>
#include <vector>

#include "support/cases.h"
#include "support/values.h"

namespace kovra_test {
namespace {

using threading::scratch;
using threading::tile_range;

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

// Grids are the split for the worker count; launch_tiles numbers its tiles in the column range and
// returns how many it made; blocks are not limited by the worker count.
TEST(Launch, TilesAreTheSplitForEachWorkerCount) {
  struct shape {
    int m, mgrain, n, ngrain;
  };
  const shape shapes[] = {{9, 8, 1, 1}, {100, 8, 1, 1}, {1015, 8, 1, 1}, {7, 7, 100, 4}, {50, 8, 13, 13}, {3, 0, 1, 1}};
  for (int workers : {1, 2, 4, 8}) {
    worker_scope scope(workers);
    for_each_case(shapes, [&](const shape& s) {
      recording_body body;
      threading::launch_grid(s.m, s.mgrain, s.n, s.ngrain, &body);
      std::vector<tile_range> want;
      threading::grid_split split(s.m, s.mgrain, s.n, s.ngrain, workers);
      for (tile_range t; split.next(t);) want.push_back(t);
      EXPECT_EQ(body.sorted(), want);
    });
    for (int n : {1, 9, 20, 1000}) {
      recording_body body;
      const int made = threading::launch_tiles(n, 8, &body);
      const auto tiles = body.sorted();
      ASSERT_TRUE(int(tiles.size()) == made && made <= workers && tiles.back().m_end == n);
      for (int i = 0; i < made; ++i) EXPECT_TRUE(tiles[i].n_begin == i && tiles[i].n_end == i + 1);
    }
    recording_body runs, none;
    threading::launch_blocks(1000, 64, 7, 7, &runs);
    threading::launch_blocks(1000, 64, 0, 7, &none);
    EXPECT_TRUE(runs.sorted().size() == 15u && runs.sorted().back() == (tile_range{896, 1000, 0, 7}) &&
                none.seen.empty());
  }
}

// A task without memory is dropped and the call returns; a stopped runtime throws from the launch and
// runs nothing, and once restarted launches again.
TEST(Launch, FailuresDropTilesOrThrow) {
  worker_scope scope(4);
  recording_body dropped, refused;
  vesk::testing::fail_task_allocations(0b10);  // the second task of the launch
  threading::launch_grid(100, 8, 1, 1, &dropped);
  vesk::testing::fail_task_allocations(0);
  EXPECT_EQ(dropped.sorted(), (std::vector<tile_range>{{0, 28, 0, 1}, {52, 76, 0, 1}, {76, 100, 0, 1}}));
  vesk_stop();
  EXPECT_THROW(threading::launch_grid(100, 8, 1, 1, &refused), vesk::api_exception);
  EXPECT_TRUE(refused.seen.empty());
  vesk_start(2);
  threading::launch_grid(100, 8, 1, 1, &refused);
  EXPECT_EQ(refused.seen.size(), 2u);
}

}  // namespace
}  // namespace kovra_test
