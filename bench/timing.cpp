// Calibrated sampling: a warm-up call, a batch size found by doubling, then the samples within a time budget.
#include "timing.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace kovra::bench {
namespace {

// Long enough that steady_clock's resolution and the cost of reading it vanish in a sample, short
// enough that a run of ten samples of a fast call takes well under a second.
constexpr double min_sample_seconds = 0.005;

// Sampling stops early once the samples have taken this long, if there are at least min_long_samples of
// them. Of ten samples it spares only calls over a fifth of a second (GEMM of size 1000 and up on two
// cores), each one a sample long enough that no clock tick or brief stall can spoil it.
constexpr double sampling_budget_seconds = 2.0;
constexpr std::size_t min_long_samples = 2;

double seconds_for(const std::function<void()>& call, long repeats) {
  const auto start = std::chrono::steady_clock::now();
  for (long i = 0; i < repeats; ++i) call();
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  return elapsed.count();
}

}  // namespace

double time_calls(const std::function<void()>& call, int samples) {
  // The first call pays for first use (kernel creation, per-worker scratch); the batch is sized after it,
  // and sizing it by doubling warms caches and workers on the way.
  call();
  long batch = 1;
  double seconds = seconds_for(call, batch);
  while (seconds < min_sample_seconds) {
    batch *= 2;
    seconds = seconds_for(call, batch);
  }

  // The batch that settled the size is the first sample.
  std::vector<double> per_call{seconds / static_cast<double>(batch)};
  double spent = seconds;
  const auto wanted = static_cast<std::size_t>(std::max(samples, 1));
  while (per_call.size() < wanted && (per_call.size() < min_long_samples || spent < sampling_budget_seconds)) {
    seconds = seconds_for(call, batch);
    per_call.push_back(seconds / static_cast<double>(batch));
    spent += seconds;
  }
  return *std::min_element(per_call.begin(), per_call.end());
}

double percentile(std::vector<double> values, double fraction) {
  std::sort(values.begin(), values.end());
  const auto rank = static_cast<std::size_t>(std::ceil(fraction * static_cast<double>(values.size())));
  return values[std::min(values.size(), std::max<std::size_t>(rank, 1)) - 1];
}

}  // namespace kovra::bench
