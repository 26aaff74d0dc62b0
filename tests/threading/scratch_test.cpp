// The per-worker scratch block: created on a worker's first task (aligned, zeroed once), the same block
// for every later task and element type, created even by tasks that never touch it, and an allocation
// failure confined to the task that met it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <new>
#include <set>

#include <vesk/testing.h>

#include "threading/launch.h"
#include "support/worker_scope.h"

namespace kovra_test {
using namespace kovra::threading;
namespace {

// What a tile saw of its worker's block.
struct scratch_probe {
  mutable std::mutex lock;
  mutable std::set<scratch*> blocks;
  mutable bool all_zero = true;
  mutable bool aligned = true;
  std::byte mark{0};  // written over the whole block afterwards when non-zero

  void run_tile(scratch* s, int, int, int, int) const {
    std::lock_guard<std::mutex> guard(lock);
    blocks.insert(s);
    aligned = aligned && reinterpret_cast<std::uintptr_t>(s) % scratch_alignment == 0;
    all_zero = all_zero && std::all_of(s->storage, s->storage + scratch_bytes, [](std::byte b) { return b == std::byte{0}; });
    if (mark != std::byte{0}) std::fill(s->storage, s->storage + scratch_bytes, mark);
  }
};

// A body of another element type that only takes note of the block's address.
template <typename T>
struct typed_probe {
  mutable scratch* seen = nullptr;
  void run_tile(scratch* s, int, int, int, int) const { seen = s; }
};

// A body that never touches its block, like a Level 1 tile.
struct ignoring_body {
  void run_tile(scratch*, int, int, int, int) const {}
};

TEST(Scratch, FirstTaskGetsAnAlignedZeroBlockThatLaterTasksReuseUncleared) {
  kovra_test::worker_scope scope(1);
  scratch_probe first;
  first.mark = std::byte{0x5a};
  launch_grid(1, 1, 1, 1, &first);
  ASSERT_EQ(first.blocks.size(), 1u);
  EXPECT_TRUE(first.all_zero);
  EXPECT_TRUE(first.aligned);

  scratch_probe second;
  launch_grid(1, 1, 1, 1, &second);
  EXPECT_EQ(second.blocks, first.blocks);
  EXPECT_FALSE(second.all_zero) << "the block is zeroed at creation only";
}

TEST(Scratch, OneBlockPerWorkerForEveryElementType) {
  kovra_test::worker_scope scope(1);
  typed_probe<float> single;
  typed_probe<double> twice;
  launch_grid(1, 1, 1, 1, &single);
  launch_grid(1, 1, 1, 1, &twice);
  ASSERT_NE(single.seen, nullptr);
  EXPECT_EQ(single.seen, twice.seen);
}

TEST(Scratch, TasksThatIgnoreTheBlockStillCreateIt) {
  kovra_test::worker_scope scope(1);
  ignoring_body level1_like;
  launch_grid(1, 1, 1, 1, &level1_like);
  // With every further aligned allocation failing, only an existing block lets the next task run.
  vesk::testing::fail_aligned_allocations(~std::uint64_t{0});
  scratch_probe probe;
  EXPECT_NO_THROW(launch_grid(1, 1, 1, 1, &probe));
  vesk::testing::fail_aligned_allocations(0);
  EXPECT_EQ(probe.blocks.size(), 1u);
}

TEST(Scratch, AllocationFailureRaisesBadAllocAndTheNextTaskTriesAgain) {
  kovra_test::worker_scope scope(1);
  vesk::testing::fail_aligned_allocations(0b1);
  scratch_probe failed;
  EXPECT_THROW(launch_grid(1, 1, 1, 1, &failed), std::bad_alloc);
  EXPECT_TRUE(failed.blocks.empty());
  scratch_probe retried;
  launch_grid(1, 1, 1, 1, &retried);
  EXPECT_EQ(retried.blocks.size(), 1u);
  EXPECT_TRUE(retried.all_zero);
}

TEST(Scratch, FailureOnOneWorkerLeavesTheOtherWorkersBlocks) {
  kovra_test::worker_scope scope(2);
  // Give both workers a block and mark it.
  scratch_probe marked;
  marked.mark = std::byte{0x33};
  for (int round = 0; round < 200 && marked.blocks.size() < 2; ++round) launch_grid(2, 1, 1, 1, &marked);
  ASSERT_EQ(marked.blocks.size(), 2u);
  // No new block can be had now, and none is needed: both blocks survive with their contents.
  vesk::testing::fail_aligned_allocations(~std::uint64_t{0});
  scratch_probe later;
  EXPECT_NO_THROW(launch_grid(2, 1, 1, 1, &later));
  vesk::testing::fail_aligned_allocations(0);
  for (scratch* s : later.blocks) EXPECT_TRUE(marked.blocks.count(s));
  EXPECT_FALSE(later.all_zero);
}

}  // namespace
}  // namespace kovra_test
