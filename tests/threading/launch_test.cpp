// The launchers: their split arithmetic as pure functions (the documented examples, and the invariants any
// extent, grain and worker count keep), dropped tiles and a stopped runtime, launches nested in tasks, and
// the per-worker scratch. Concurrent launchers are in the runtime's tests.
#include "threading/launch.h"

#include <gtest/gtest.h>
#include <vesk/exceptions.h>
#include <vesk/testing.h>

#include <algorithm>
#include <atomic>
#include <complex>
#include <cstdint>
#include <mutex>
#include <new>
#include <set>
#include <thread>
#include <vector>

#include "parallel/blas/level2/trsv.h"
#include "parallel/blas/level3/gemm.h"
#include "parallel/blas/level3/trsm.h"
#include "support/cases.h"
#include "support/values.h"

namespace kovra_test {
namespace {

using threading::scratch;
using threading::tile_range;

std::vector<tile_range> grid(int m, int mgrain, int n, int ngrain, int workers) {
  std::vector<tile_range> tiles;
  threading::grid_split split(m, mgrain, n, ngrain, workers);
  for (tile_range t; split.next(t);) tiles.push_back(t);
  return tiles;
}

std::vector<tile_range> blocks(int m, int mstep, int n, int nstep) {
  std::vector<tile_range> tiles;
  threading::block_split split(m, mstep, n, nstep);
  for (tile_range t; split.next(t);) tiles.push_back(t);
  return tiles;
}

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

// Grids: shares of whole grains with the remainder a grain at a time from the first, at most one tile per
// worker; a whole dimension stays whole; a grain below one counts as one; no workers, no tiles. Blocks:
// runs of the step, the last taking the rest, rows outer.
TEST(Split, DocumentedExamples) {
  using tiles = std::vector<tile_range>;
  EXPECT_EQ(grid(9, 8, 1, 1, 4), (tiles{{0, 8, 0, 1}, {8, 9, 0, 1}}));
  EXPECT_EQ(grid(100, 8, 1, 1, 4), (tiles{{0, 28, 0, 1}, {28, 52, 0, 1}, {52, 76, 0, 1}, {76, 100, 0, 1}}));
  EXPECT_EQ(grid(1015, 8, 1, 1, 4), (tiles{{0, 256, 0, 1}, {256, 512, 0, 1}, {512, 767, 0, 1}, {767, 1015, 0, 1}}));
  EXPECT_EQ(grid(20, 8, 1, 1, 4), (tiles{{0, 8, 0, 1}, {8, 16, 0, 1}, {16, 20, 0, 1}}));
  EXPECT_EQ(grid(7, 7, 100, 4, 4), (tiles{{0, 7, 0, 28}, {0, 7, 28, 52}, {0, 7, 52, 76}, {0, 7, 76, 100}}));
  EXPECT_EQ(grid(50, 8, 13, 13, 2), (tiles{{0, 26, 0, 13}, {26, 50, 0, 13}}));
  EXPECT_EQ(grid(5, -3, 1, -1, 2), (tiles{{0, 3, 0, 1}, {3, 5, 0, 1}}));
  EXPECT_EQ(grid(1000, 8, 1, 1, 1), (tiles{{0, 1000, 0, 1}}));
  EXPECT_TRUE(grid(100, 8, 1, 1, 0).empty());
  EXPECT_EQ(blocks(127, 64, 5, 5), (tiles{{0, 127, 0, 5}}));
  EXPECT_EQ(blocks(128, 64, 300, 128),
            (tiles{{0, 64, 0, 128}, {0, 64, 128, 300}, {64, 128, 0, 128}, {64, 128, 128, 300}}));
  EXPECT_EQ(blocks(3, 0, 2, -1),
            (tiles{{0, 1, 0, 1}, {0, 1, 1, 2}, {1, 2, 0, 1}, {1, 2, 1, 2}, {2, 3, 0, 1}, {2, 3, 1, 2}}));
  EXPECT_TRUE(blocks(500, 64, 0, 1).empty());
}

TEST(Split, GridTilesCoverTheExtentInOrderWithSharesWithinOneGrain) {
  for (int workers : {1, 2, 3, 4, 8})
    for (int grain : {1, 4, 8})
      for (int m = 1; m <= 300; m += 7) {
        const auto tiles = grid(m, grain, 1, 1, workers);
        ASSERT_TRUE(!tiles.empty() && int(tiles.size()) <= workers);
        int begin = 0, longest = 0, shortest = m;
        for (const auto& t : tiles) {
          ASSERT_TRUE(t.m_begin == begin && t.m_end > t.m_begin) << m << " " << grain << " " << workers;
          begin = t.m_end;
          longest = std::max(longest, t.m_end - t.m_begin);
          shortest = std::min(shortest, t.m_end - t.m_begin);
        }
        EXPECT_EQ(begin, m);
        EXPECT_TRUE(m < grain * workers || longest - shortest <= grain);
      }
}

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
  // One level of calls nests (gemm inside a task), so one wait at most is stacked on any thread.
  EXPECT_EQ(vesk::testing::deepest_wait(), 1) << workers << " workers";
  for (int r = 0; r < runs; ++r)
    for (int i = 0; i < n * n; ++i)
      ASSERT_EQ(c[n * n * r + i], T(r + 1) * a[i]) << "run " << r << ", element " << i << ", " << workers << " workers";
}

// Task -> TRSM -> GEMM: two waits at most stack on a thread, and each run gives the call's bits outside tasks.
struct nested_trsm_body {
  const std::vector<double>* a;
  std::vector<double>* b;
  void run_tile(kovra::threading::scratch*, int r_begin, int r_end, int, int) const {
    for (int r = r_begin; r < r_end; ++r)
      kovra::parallel::blas::trsm('L', 'U', 'N', 'N', 40, 12, 1.0, a->data(), 40, b->data() + 480 * r, 40);
  }
};

TEST(NestedLaunch, TrsmInsideTasks) {
  for (int workers : {1, 2, 4}) {
    kovra_test::worker_scope scope(workers);
    std::vector<double> a = kovra_test::random_values<double>(1600, 3), b = kovra_test::random_values<double>(7680, 4);
    for (int i = 0; i < 40; ++i) a[41 * i] += 4;
    std::vector<double> want = b;
    for (int r = 0; r < 16; ++r)
      kovra::parallel::blas::trsm('L', 'U', 'N', 'N', 40, 12, 1.0, a.data(), 40, want.data() + 480 * r, 40);
    const nested_trsm_body body{&a, &b};
    vesk::testing::reset_deepest_wait();
    kovra::threading::launch_blocks(16, 1, 1, 1, &body);
    EXPECT_LE(vesk::testing::deepest_wait(), 2) << workers << " workers";
    EXPECT_TRUE(kovra_test::all_same_bits(b, want)) << workers << " workers";
  }
}

// Task -> TRSV -> the Level 1 grids of its long steps: a waiting thread runs only tasks of the group it waits for
// and Level 1 tiles never wait, so two waits at most stack on a thread (exactly two with one worker, which runs
// the inner levels of its outer tasks itself); each run gives the bits of the same call outside tasks.
struct nested_trsv_body {
  const std::vector<double>* a;
  std::vector<double>* x;
  void run_tile(kovra::threading::scratch*, int r_begin, int r_end, int, int) const {
    for (int r = r_begin; r < r_end; ++r)
      kovra::parallel::blas::trsv_front('L', r % 2 ? 'T' : 'N', 'N', 60, a->data(), 60, x->data() + 60 * r, 1);
  }
};

TEST(NestedLaunch, TrsvInsideTasks) {
  for (int workers : {1, 2, 4}) {
    kovra_test::worker_scope scope(workers);
    std::vector<double> a = kovra_test::random_values<double>(3600, 5), x = kovra_test::random_values<double>(960, 6);
    for (int i = 0; i < 60; ++i) a[61 * i] += 4;
    std::vector<double> want = x;
    const nested_trsv_body outside{&a, &want}, body{&a, &x};
    outside.run_tile(nullptr, 0, 16, 0, 1);
    vesk::testing::reset_deepest_wait();
    kovra::threading::launch_blocks(16, 1, 1, 1, &body);
    const int deepest = vesk::testing::deepest_wait();
    EXPECT_TRUE(deepest <= 2 && (workers > 1 || deepest == 2)) << deepest << " waits on " << workers << " workers";
    EXPECT_TRUE(kovra_test::all_same_bits(x, want)) << workers << " workers";
  }
}

TEST(NestedLaunch, WaitsStackNoDeeperThanTheCallsNest) {
  for (int workers : {1, 2, 4}) {
    run_nested<double>(workers);
    run_nested<std::complex<float>>(workers);
  }
}

using threading::scratch_bytes;

// What a tile saw of its worker's block; a non-zero mark is then written over the whole block.
struct scratch_probe {
  mutable std::mutex lock;
  mutable std::set<scratch*> blocks;
  mutable bool all_zero = true, aligned = true;
  std::byte mark{0};
  void run_tile(scratch* s, int, int, int, int) const {
    std::lock_guard<std::mutex> guard(lock);
    blocks.insert(s);
    aligned = aligned && reinterpret_cast<std::uintptr_t>(s) % threading::scratch_alignment == 0;
    all_zero =
        all_zero && std::all_of(s->storage, s->storage + scratch_bytes, [](std::byte b) { return b == std::byte{0}; });
    if (mark != std::byte{0}) std::fill(s->storage, s->storage + scratch_bytes, mark);
  }
};

// Runs `steps` in a task that a worker has taken: the caller waits for it only once it has started, so it
// never takes the task itself. With one worker, the launches made inside run on that worker alone.
template <typename Steps>
struct on_a_worker {
  const Steps& steps;
  mutable std::atomic<bool> started{false};
  void run_tile(scratch*, int, int, int, int) const {
    started.store(true);
    steps();
  }
};

template <typename Steps>
void run_on_a_worker(const Steps& steps) {
  const on_a_worker<Steps> body{steps};
  auto group = vesk::internal::group_ptr::create();
  threading::send_tile(group, tile_range{0, 1, 0, 1}, &body);
  while (!body.started.load()) std::this_thread::yield();
  group->wait();
}

TEST(Scratch, OneAlignedBlockPerWorkerZeroedOnceMadeByAnyTask) {
  worker_scope scope(1);
  scratch_probe first, second;
  first.mark = std::byte{0x5a};
  // The task that runs these steps ignores its block, as a Level 1 tile does, and yet made it. With every
  // further aligned allocation failing, only that block lets the nested tiles run.
  run_on_a_worker([&] {
    vesk::testing::fail_aligned_allocations(~std::uint64_t{0});
    EXPECT_NO_THROW(threading::launch_grid(1, 1, 1, 1, &first));
    EXPECT_NO_THROW(threading::launch_grid(1, 1, 1, 1, &second));
  });
  vesk::testing::fail_aligned_allocations(0);
  EXPECT_TRUE(first.blocks.size() == 1u && first.all_zero && first.aligned);
  EXPECT_EQ(second.blocks, first.blocks);
  EXPECT_FALSE(second.all_zero) << "the block is zeroed when it is made only";
}

// The failed task raises bad_alloc and the next one tries again (after a restart no thread has a block yet).
TEST(Scratch, AllocationFailureStaysWithTheTaskThatMetIt) {
  worker_scope scope(1);
  vesk::testing::fail_aligned_allocations(0b1);
  scratch_probe failed, retried;
  EXPECT_THROW(threading::launch_grid(1, 1, 1, 1, &failed), std::bad_alloc);
  threading::launch_grid(1, 1, 1, 1, &retried);
  EXPECT_TRUE(failed.blocks.empty() && retried.blocks.size() == 1u && retried.all_zero);
}

}  // namespace
}  // namespace kovra_test
