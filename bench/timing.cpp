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

// Sampling stops early once the samples of one call have taken this long, if there are at least
// min_long_samples of them. Of ten samples it spares only calls over a fifth of a second (GEMM of size
// 1000 and up on two cores), each one a sample long enough that no clock tick or brief stall can spoil it.
constexpr double sampling_budget_seconds = 2.0;
constexpr std::size_t min_long_samples = 2;

double seconds_for(const std::function<void()>& call, long repeats) {
  const auto start = std::chrono::steady_clock::now();
  for (long i = 0; i < repeats; ++i) call();
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  return elapsed.count();
}

// One call's batch size and its samples so far.
struct sampler {
  const std::function<void()>* call;
  long batch = 1;
  std::vector<double> per_call = {};
  double spent = 0;

  void take(double seconds) {
    per_call.push_back(seconds / static_cast<double>(batch));
    spent += seconds;
  }
};

// The first call pays for first use (kernel creation, per-worker scratch); the batch is sized after it,
// and sizing it by doubling warms caches and workers on the way. The batch that settles the size is the
// first sample.
sampler calibrate(const std::function<void()>& call) {
  sampler s{&call};
  call();
  double seconds = seconds_for(call, s.batch);
  while (seconds < min_sample_seconds) {
    s.batch *= 2;
    seconds = seconds_for(call, s.batch);
  }
  s.take(seconds);
  return s;
}

}  // namespace

std::vector<std::vector<double>> time_in_turns(const std::vector<std::function<void()>>& calls, int samples,
                                               const std::function<void()>& before_batch) {
  std::vector<sampler> samplers;
  for (const auto& call : calls) {
    before_batch();
    samplers.push_back(calibrate(call));
  }
  const auto wanted = static_cast<std::size_t>(std::max(samples, 1));
  auto more = [&] {
    const std::size_t taken = samplers.empty() ? wanted : samplers.front().per_call.size();
    if (taken >= wanted) return false;
    const auto over_budget = [](const sampler& s) { return s.spent >= sampling_budget_seconds; };
    return taken < min_long_samples || std::none_of(samplers.begin(), samplers.end(), over_budget);
  };
  while (more()) {
    for (sampler& s : samplers) {
      before_batch();
      s.take(seconds_for(*s.call, s.batch));
    }
  }
  std::vector<std::vector<double>> per_call;
  for (sampler& s : samplers) per_call.push_back(std::move(s.per_call));
  return per_call;
}

double percentile(std::vector<double> values, double fraction) {
  std::sort(values.begin(), values.end());
  const auto rank = static_cast<std::size_t>(std::ceil(fraction * static_cast<double>(values.size())));
  return values[std::min(values.size(), std::max<std::size_t>(rank, 1)) - 1];
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t half = values.size() / 2;
  return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

}  // namespace kovra::bench
