// Test helper: run a block of a test with an explicit worker count, restoring the default after it.
#pragma once

#include <kovra/vesk_runtime.h>

namespace kovra::testing {

class scoped_workers {
 public:
  explicit scoped_workers(int workers) {
    vesk_stop();
    vesk_start(workers);
  }
  ~scoped_workers() {
    vesk_stop();
    vesk_start(0);
  }
  scoped_workers(const scoped_workers&) = delete;
  scoped_workers& operator=(const scoped_workers&) = delete;
};

}  // namespace kovra::testing
