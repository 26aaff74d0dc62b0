// The test seams of vesk/testing.h. Each allocation claims the next call number with a compare-exchange,
// so concurrent callers each get a number of their own and the count stops at the end of the plan.
#include "failure_plan.h"

#include <vesk/testing.h>

namespace vesk::internal {

failure_plan task_allocation_failures;
failure_plan aligned_allocation_failures;

void failure_plan::arm(std::uint64_t mask) {
  m_mask.store(0);
  m_calls.store(0);
  m_mask.store(mask);
}

bool failure_plan::claim_call() {
  unsigned call = m_calls.load();
  do {
    if (call >= span) return false;
  } while (!m_calls.compare_exchange_weak(call, call + 1));
  return ((m_mask.load() >> call) & 1u) != 0;
}

}  // namespace vesk::internal

namespace vesk::testing {

void fail_task_allocations(std::uint64_t mask) { internal::task_allocation_failures.arm(mask); }
void fail_aligned_allocations(std::uint64_t mask) { internal::aligned_allocation_failures.arm(mask); }

}  // namespace vesk::testing
