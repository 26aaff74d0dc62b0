// Helpers of the runtime tests: a task that runs a function, launches built the way the library's
// launchers build them, and loop counts scaled down for slow hosts.
#pragma once

#include <vesk/runtime.h>
#include <vesk/task.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <utility>

#include "support/worker_scope.h"

namespace vesk_test {

using kovra_test::worker_scope;
using vesk::internal::group_ptr;

class function_task final : public vesk::internal::task {
 public:
  function_task(vesk::internal::group* owner, std::function<void()> body) : task(owner), m_body(std::move(body)) {}
  void run() override { m_body(); }

 private:
  std::function<void()> m_body;
};

// Counts, allocates, constructs and sends one task; false if its memory could not be had (the count is
// then taken back).
inline bool send(group_ptr& group, std::function<void()> body) {
  group->add_task();
  void* memory = vesk::internal::task_allocator::allocate(sizeof(function_task));
  if (memory == nullptr) {
    group->remove_unsent_task();
    return false;
  }
  vesk::internal::send_to_runtime(new (memory) function_task(group.get(), std::move(body)), nullptr);
  return true;
}

// `count` tasks running `body` in a new group, and the wait for them.
inline void launch(int count, const std::function<void()>& body) {
  auto group = group_ptr::create();
  for (int i = 0; i < count; ++i) send(group, body);
  group->wait();
}

// Loop counts of the heavier tests, divided by KOVRA_TEST_SCALE_DOWN where the tests run under emulation.
inline int scaled(int count) {
  const char* text = std::getenv("KOVRA_TEST_SCALE_DOWN");
  const int divisor = text != nullptr ? std::atoi(text) : 1;
  return divisor > 1 && count / divisor > 0 ? count / divisor : count;
}

}  // namespace vesk_test
