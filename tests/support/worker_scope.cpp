// Restarting the runtime for a test block; a start that fails is a failure of the test that asked for it.
#include "worker_scope.h"

#include <gtest/gtest.h>

#include <vesk/runtime.h>

namespace kovra::testing {

worker_scope::worker_scope(int workers) {
  vesk_stop();
  EXPECT_EQ(vesk_start(workers), 0) << "could not start the runtime with " << workers << " workers";
}

worker_scope::~worker_scope() {
  vesk_stop();
  vesk_start(0);
}

}  // namespace kovra::testing
