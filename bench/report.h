// The tables that kovra-bench prints.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "launch_latency.h"
#include "runner.h"

namespace kovra::bench {

// One row per case and size: the median rate of KOVRA's samples and of the peer's (when `peer_name` is
// not empty) with their range, the ratio of the medians, the outcome of the result checks and the case's
// note, if it has one. Rows print as they come, so a long run shows its progress; finish() prints the
// legend and the geometric mean of the ratios of each family under them.
class rate_table {
 public:
  // `longest_name`: the length of the longest case name the table will show.
  rate_table(std::ostream& out, std::string peer_name, int samples, std::size_t longest_name);
  void add(const case_result& row);
  void finish();

 private:
  std::ostream& out_;
  int name_width_;
  std::string peer_name_;
  int peer_width_;
  std::vector<case_result> rows_;
};

void print_launch_latency(std::ostream& out, const launch_latency& latency);

}  // namespace kovra::bench
