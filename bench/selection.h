// Which cases a run makes, at which sizes, from --cases and --n; and the list of cases that --help shows.
#pragma once

#include <string>
#include <vector>

#include "bench_case.h"

namespace kovra::bench {

// The launch latency probe is chosen with --cases like a case, under this name.
inline const std::string launch_probe = "LAUNCH";

struct planned_case {
  const bench_case* c;
  std::vector<int> sizes;
};

struct selection {
  std::vector<planned_case> cases;
  bool launch = false;
};

// `names` are case or family names in any letter case; none chooses the run without --cases: each case
// at its default-run sizes, and the launch probe. `sizes`, if not empty, replace every case's own.
// Throws std::invalid_argument naming an unknown name.
selection select_cases(const std::vector<bench_case>& all, const std::vector<std::string>& names,
                       const std::vector<int>& sizes);

// One line per case: family, name and sizes, those of the run without --cases marked with '*'.
std::vector<std::string> describe_cases(const std::vector<bench_case>& all);

// One line per bound case: its name and what it times.
std::vector<std::string> describe_bounds(const std::vector<bench_case>& all);

}  // namespace kovra::bench
