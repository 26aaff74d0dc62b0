// Planned allocation failures for tests (vesk/testing.h): a plan covers the next 64 calls of one allocator.
#pragma once

#include <atomic>
#include <cstdint>

namespace vesk::internal {

class failure_plan {
 public:
  static constexpr unsigned span = 64;

  // Starts a new plan: call i from now fails if bit i of mask is set. A mask of 0 ends the plan.
  void arm(std::uint64_t mask);

  // Called once per allocation: true if this call is to fail. Costs one relaxed load while no plan runs.
  bool next_call_fails() {
    if (m_mask.load(std::memory_order_relaxed) == 0) return false;
    return claim_call();
  }

 private:
  bool claim_call();
  std::atomic<std::uint64_t> m_mask{0};
  std::atomic<unsigned> m_calls{span};
};

extern failure_plan task_allocation_failures;
extern failure_plan aligned_allocation_failures;

}  // namespace vesk::internal
