// The per-worker scratch block: made on a worker's first task (aligned, zeroed once), the same block for
// every later task and element type, made even by tasks that never touch it, and an allocation failure
// confined to the task that met it.
#include <gtest/gtest.h>
#include <vesk/testing.h>

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <new>
#include <set>

#include "support/values.h"
#include "support/cases.h"
#include "threading/launch.h"

namespace kovra_test {
namespace {

using threading::scratch;
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

// A body that never touches its block, like a Level 1 tile.
struct ignoring_body {
  void run_tile(scratch*, int, int, int, int) const {}
};

TEST(Scratch, OneAlignedBlockPerWorkerZeroedOnceMadeByAnyTask) {
  worker_scope scope(1);
  ignoring_body level1_like;
  threading::launch_grid(1, 1, 1, 1, &level1_like);
  // With every further aligned allocation failing, only an existing block lets the next tasks run.
  vesk::testing::fail_aligned_allocations(~std::uint64_t{0});
  scratch_probe first, second;
  first.mark = std::byte{0x5a};
  EXPECT_NO_THROW(threading::launch_grid(1, 1, 1, 1, &first));
  threading::launch_grid(1, 1, 1, 1, &second);
  vesk::testing::fail_aligned_allocations(0);
  EXPECT_TRUE(first.blocks.size() == 1u && first.all_zero && first.aligned);
  EXPECT_EQ(second.blocks, first.blocks);
  EXPECT_FALSE(second.all_zero) << "the block is zeroed when it is made only";
}

// The failed task raises bad_alloc and the next one tries again; on two workers, a failure once both
// have blocks changes neither block.
TEST(Scratch, AllocationFailureStaysWithTheTaskThatMetIt) {
  {
    worker_scope scope(1);
    vesk::testing::fail_aligned_allocations(0b1);
    scratch_probe failed, retried;
    EXPECT_THROW(threading::launch_grid(1, 1, 1, 1, &failed), std::bad_alloc);
    threading::launch_grid(1, 1, 1, 1, &retried);
    EXPECT_TRUE(failed.blocks.empty() && retried.blocks.size() == 1u && retried.all_zero);
  }
  worker_scope scope(2);
  scratch_probe marked, later;
  marked.mark = std::byte{0x33};
  for (int round = 0; round < 200 && marked.blocks.size() < 2; ++round) threading::launch_grid(2, 1, 1, 1, &marked);
  ASSERT_EQ(marked.blocks.size(), 2u);
  vesk::testing::fail_aligned_allocations(~std::uint64_t{0});
  EXPECT_NO_THROW(threading::launch_grid(2, 1, 1, 1, &later));
  vesk::testing::fail_aligned_allocations(0);
  for (scratch* s : later.blocks) EXPECT_TRUE(marked.blocks.count(s));
  EXPECT_FALSE(later.all_zero);
}

}  // namespace
}  // namespace kovra_test
