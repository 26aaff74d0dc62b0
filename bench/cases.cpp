// The whole case table: the families in the order their tables print.
#include "bench_case.h"

#include <utility>

namespace kovra::bench {

std::vector<bench_case> all_cases() {
  std::vector<bench_case> all = level1_cases();
  for (auto& c : reduction_cases()) all.push_back(std::move(c));
  for (auto& c : level2_cases()) all.push_back(std::move(c));
  for (auto& c : triangular_vector_cases()) all.push_back(std::move(c));
  for (auto& c : symmetric_vector_cases()) all.push_back(std::move(c));
  for (auto& c : rank_update_cases()) all.push_back(std::move(c));
  for (auto& c : level3_cases()) all.push_back(std::move(c));
  for (auto& c : fma_peak_cases()) all.push_back(std::move(c));
  for (auto& c : triangular_cases()) all.push_back(std::move(c));
  for (auto& c : symmetric_cases()) all.push_back(std::move(c));
  for (auto& c : convolution_cases()) all.push_back(std::move(c));
  return all;
}

}  // namespace kovra::bench
