// The command line of kovra-bench, parsed from text into a plain record.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kovra::bench {

struct options {
  std::optional<std::string> peer;  // path of another BLAS to load
  std::vector<int> workers;         // worker counts to run with; empty: the runtime's own count
  std::vector<std::string> cases;   // case names; empty: the default set
  std::vector<int> sizes;           // sizes n; empty: each case's own
  int samples = 10;                 // timed samples per case and library
  int launches = 20000;             // timed launches of the latency probe
  std::optional<std::string> csv;   // file for every sample
  std::optional<std::string> plot;  // SVG file for the rates against size
  bool help = false;
};

// Takes the arguments after the program name. Throws std::invalid_argument naming the bad argument.
options parse_options(const std::vector<std::string>& args);

// The --help text; `case_lines` list the cases (family, name, sizes with '*' on those of the run
// without --cases), one per line, and `bound_lines` the bound cases with what each one times.
std::string usage(const std::vector<std::string>& case_lines, const std::vector<std::string>& bound_lines);

}  // namespace kovra::bench
