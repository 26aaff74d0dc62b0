// Test seams of the vesk runtime: make chosen allocations fail. Not for production use.
#pragma once

#include <cstdint>

namespace vesk::testing {

// The next 64 calls of task_allocator::allocate, counted from this call: call i returns null if bit i
// of `mask` is set. A mask of 0 ends the injection.
void fail_task_allocations(std::uint64_t mask);

// The same for vesk_aligned_malloc.
void fail_aligned_allocations(std::uint64_t mask);

}  // namespace vesk::testing
