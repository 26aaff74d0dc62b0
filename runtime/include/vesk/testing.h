// Test seams of the vesk runtime: make chosen allocations fail, and read how deeply waits were stacked on
// the threads that run tasks. Not for production use.
#pragma once

#include <cstdint>

namespace vesk::testing {

// The next 64 calls of task_allocator::allocate, counted from this call: call i returns null if bit i
// of `mask` is set. A mask of 0 ends the injection.
void fail_task_allocations(std::uint64_t mask);

// The same for vesk_aligned_malloc.
void fail_aligned_allocations(std::uint64_t mask);

// The largest number of group waits made inside tasks that were stacked on one thread at once (a wait
// inside a task that runs inside another such wait counts two; an application thread's wait for its own
// call is not made inside a task) since the last reset.
void reset_deepest_wait();
int deepest_wait();

}  // namespace vesk::testing
