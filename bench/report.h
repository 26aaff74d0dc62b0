// The tables that kovra-bench prints.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>

#include "launch_latency.h"
#include "runner.h"

namespace kovra::bench {

// One row per case and size: KOVRA's rate, the peer's (when `peer_name` is not empty), their ratio, the
// outcome of the result checks and the case's note, if it has one. Rows print as they come, so a long run
// shows its progress.
class rate_table {
 public:
  // `longest_name`: the length of the longest case name the table will show.
  rate_table(std::ostream& out, std::string peer_name, int samples, std::size_t longest_name);
  void add(const case_result& row);

 private:
  std::ostream& out_;
  int name_width_;
  std::string peer_name_;
  int peer_width_;
};

void print_launch_latency(std::ostream& out, const launch_latency& latency);

}  // namespace kovra::bench
