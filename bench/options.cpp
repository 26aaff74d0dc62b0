// Options come as "--name value" or "--name=value"; lists are comma-separated.
#include "options.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace kovra::bench {
namespace {

std::vector<std::string> split_list(const std::string& text) {
  std::vector<std::string> items;
  std::size_t begin = 0;
  while (true) {
    const std::size_t comma = text.find(',', begin);
    items.push_back(text.substr(begin, comma - begin));
    if (comma == std::string::npos) return items;
    begin = comma + 1;
  }
}

// A positive count, in plain or exponent form ("10000000" or "1e7"), that fits an int.
int parse_count(const std::string& option, const std::string& text) {
  errno = 0;
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || errno != 0 || !(value >= 1) || value > INT_MAX ||
      value != std::floor(value))
    throw std::invalid_argument(option + " wants a whole number from 1 to " + std::to_string(INT_MAX) +
                                ", not '" + text + "'");
  return static_cast<int>(value);
}

std::vector<int> parse_counts(const std::string& option, const std::string& text) {
  std::vector<int> counts;
  for (const auto& item : split_list(text)) counts.push_back(parse_count(option, item));
  return counts;
}

}  // namespace

options parse_options(const std::vector<std::string>& args) {
  options result;
  for (std::size_t i = 0; i < args.size(); ++i) {
    std::string name = args[i];
    std::optional<std::string> inline_value;
    if (const auto equals = name.find('='); name.rfind("--", 0) == 0 && equals != std::string::npos) {
      inline_value = name.substr(equals + 1);
      name.resize(equals);
    }
    if (name == "--help" || name == "-h") {
      result.help = true;
      continue;
    }
    auto value = [&]() -> std::string {
      if (inline_value) return *inline_value;
      if (i + 1 >= args.size()) throw std::invalid_argument(name + " needs a value");
      return args[++i];
    };
    if (name == "--peer")
      result.peer = value();
    else if (name == "--workers")
      result.workers = parse_counts(name, value());
    else if (name == "--cases")
      result.cases = split_list(value());
    else if (name == "--n")
      result.sizes = parse_counts(name, value());
    else if (name == "--reps")
      result.samples = parse_count(name, value());
    else if (name == "--launches")
      result.launches = parse_count(name, value());
    else if (name == "--csv")
      result.csv = value();
    else if (name == "--plot")
      result.plot = value();
    else
      throw std::invalid_argument("unknown argument '" + args[i] + "'");
  }
  return result;
}

std::string usage(const std::vector<std::string>& case_lines, const std::vector<std::string>& bound_lines) {
  const options defaults;
  std::ostringstream text;
  text << "Usage: kovra-bench [options]\n"
       << "Times KOVRA's routines (GB/s, GFLOPS or kcall/s: rates, higher is better; the median of the samples\n"
       << "and their min-max) and the launch latency of its parallel frame; with --peer, the same routines of\n"
       << "another BLAS side by side, the two libraries timed in turns, and KOVRA/peer, the ratio of the\n"
       << "medians (above 1: KOVRA is faster), with its geometric mean per family under each table. Every\n"
       << "result is first checked against a plain reference; a wrong one of KOVRA's makes the exit status 1.\n\n"
       << "  --peer PATH        load another BLAS and call its CBLAS entries\n"
       << "                     (e.g. /usr/lib/x86_64-linux-gnu/libopenblas.so.0)\n"
       << "  --workers N[,N..]  restart the runtime with N workers, one table per count; the peer gets\n"
       << "                     as many threads if it has openblas_set_num_threads\n"
       << "  --cases A[,B..]    cases, or families for all their cases, in any letter case (default: the\n"
       << "                     sizes marked * below, and LAUNCH)\n"
       << "  --n N[,N..]        sizes n, 1e7 style accepted (default: each case's own, listed below)\n"
       << "  --reps R           timed samples per case and library (default " << defaults.samples
       << "; fewer for calls so\n"
       << "                     long that they would take more than a few seconds)\n"
       << "  --launches L       timed launches of the launch probe (default " << defaults.launches << ")\n"
       << "  --csv FILE         write every sample to FILE, one line each (workers, case, family, n, library,\n"
       << "                     sample, seconds_per_call, rate, unit), after a header line\n"
       << "  --plot FILE        draw the rates against n as an SVG picture: a panel per family and unit, a\n"
       << "                     series per case and library, the median with a bar from min to max\n"
       << "  --help             this text\n\n"
       << "Cases (family, name, sizes; * marks the run without --cases):\n";
  for (const auto& line : case_lines) text << "  " << line << "\n";
  text << "_BOUND cases time no routine but the fastest that ours can be in the order it keeps; they stay out\n"
       << "of the geometric means:\n";
  for (const auto& line : bound_lines) text << "  " << line << "\n";
  text << "DGER updates a square column-major A of size n, A = alpha x y^T + A.\n";
  text << "GEMM cases are square column-major products of size n, C = alpha op(A) B + beta C, op(A) = A^T\n"
       << "for the _TN cases; the _CALLS cases count calls per second at small sizes.\n";
  return text.str();
}

}  // namespace kovra::bench
