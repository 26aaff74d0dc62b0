// Runs a block of a test on a runtime restarted with a given worker count, and restores the default (one
// worker per processor) when the block ends. A start that fails is a failure of the test that asked for it.
#pragma once

#include <gtest/gtest.h>

#include <vesk/runtime.h>

namespace kovra_test {

class worker_scope {
 public:
  explicit worker_scope(int workers) {
    vesk_stop();
    EXPECT_EQ(vesk_start(workers), 0) << "could not start the runtime with " << workers << " workers";
  }
  ~worker_scope() {
    vesk_stop();
    vesk_start(0);
  }
  worker_scope(const worker_scope&) = delete;
  worker_scope& operator=(const worker_scope&) = delete;
};

}  // namespace kovra_test
