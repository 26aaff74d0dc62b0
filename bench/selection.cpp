// Case choice by name or family, and the case list of --help.
#include "selection.h"

#include <algorithm>
#include <cctype>
#include <iomanip>
#include <sstream>
#include <stdexcept>

namespace kovra::bench {
namespace {

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
  return text;
}

}  // namespace

selection select_cases(const std::vector<bench_case>& all, const std::vector<std::string>& names,
                       const std::vector<int>& sizes) {
  selection chosen;
  auto plan = [&](const bench_case& c, const std::vector<int>& own_sizes) {
    chosen.cases.push_back({&c, sizes.empty() ? own_sizes : sizes});
  };
  if (names.empty()) {
    for (const auto& c : all)
      if (!c.default_run_sizes.empty()) plan(c, c.default_run_sizes);
    chosen.launch = true;
    return chosen;
  }
  for (const auto& name : names) {
    const std::string wanted = upper(name);
    if (wanted == launch_probe) {
      chosen.launch = true;
      continue;
    }
    bool found = false;
    for (const auto& c : all) {
      if (c.name != wanted && c.family != wanted) continue;
      plan(c, c.sizes);
      found = true;
    }
    if (!found) throw std::invalid_argument("unknown case or family '" + name + "'");
  }
  return chosen;
}

std::vector<std::string> describe_cases(const std::vector<bench_case>& all) {
  std::size_t family_width = 0;
  std::size_t name_width = launch_probe.size();
  for (const auto& c : all) {
    family_width = std::max(family_width, c.family.size());
    name_width = std::max(name_width, c.name.size());
  }
  std::vector<std::string> lines;
  for (const auto& c : all) {
    std::ostringstream line;
    line << std::left << std::setw(static_cast<int>(family_width + 2)) << c.family
         << std::setw(static_cast<int>(name_width + 2)) << c.name;
    for (std::size_t i = 0; i < c.sizes.size(); ++i) {
      const bool in_default_run =
          std::find(c.default_run_sizes.begin(), c.default_run_sizes.end(), c.sizes[i]) != c.default_run_sizes.end();
      line << (i == 0 ? "" : ", ") << c.sizes[i] << (in_default_run ? "*" : "");
    }
    lines.push_back(line.str());
  }
  std::ostringstream probe;
  probe << std::left << std::setw(static_cast<int>(family_width + 2)) << ""
        << std::setw(static_cast<int>(name_width + 2)) << launch_probe << "launch latency of the parallel frame*";
  lines.push_back(probe.str());
  return lines;
}

std::vector<std::string> describe_bounds(const std::vector<bench_case>& all) {
  std::size_t name_width = 0;
  for (const auto& c : all)
    if (!c.bound.empty()) name_width = std::max(name_width, c.name.size());
  std::vector<std::string> lines;
  for (const auto& c : all) {
    if (c.bound.empty()) continue;
    std::ostringstream line;
    line << std::left << std::setw(static_cast<int>(name_width + 2)) << c.name << c.bound;
    lines.push_back(line.str());
  }
  return lines;
}

}  // namespace kovra::bench
