// Runs a block of a test on a runtime restarted with a given worker count, and restores the default
// (one worker per processor) when the block ends.
#pragma once

namespace kovra::testing {

class worker_scope {
 public:
  explicit worker_scope(int workers);
  ~worker_scope();
  worker_scope(const worker_scope&) = delete;
  worker_scope& operator=(const worker_scope&) = delete;
};

}  // namespace kovra::testing
