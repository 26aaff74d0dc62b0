// Test seams of the vesk runtime: make chosen allocations fail, and read how deeply waits were stacked on
// the workers. Not for production use.
#pragma once

#include <cstdint>

namespace vesk::testing {

// The next 64 calls of task_allocator::allocate, counted from this call: call i returns null if bit i
// of `mask` is set. A mask of 0 ends the injection.
void fail_task_allocations(std::uint64_t mask);

// The same for vesk_aligned_malloc.
void fail_aligned_allocations(std::uint64_t mask);

// The largest number of group waits that were stacked on one worker at once (a wait inside a task that
// runs inside another wait counts two) since the last reset.
void reset_deepest_wait();
int deepest_wait();

}  // namespace vesk::testing
