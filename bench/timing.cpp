// Calibrated sampling: a warm-up call, a batch size found by doubling, then the samples.
#include "timing.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace kovra::bench {
namespace {

// Long enough that steady_clock's resolution and the cost of reading it vanish in a sample, short
// enough that a run of ten samples of a fast call takes well under a second.
constexpr double min_sample_seconds = 0.005;

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
  while (seconds_for(call, batch) < min_sample_seconds) batch *= 2;

  std::vector<double> per_call;
  for (int s = 0; s < std::max(samples, 1); ++s)
    per_call.push_back(seconds_for(call, batch) / static_cast<double>(batch));
  return *std::min_element(per_call.begin(), per_call.end());
}

double percentile(std::vector<double> values, double fraction) {
  std::sort(values.begin(), values.end());
  const auto rank = static_cast<std::size_t>(std::ceil(fraction * static_cast<double>(values.size())));
  return values[std::min(values.size(), std::max<std::size_t>(rank, 1)) - 1];
}

}  // namespace kovra::bench
