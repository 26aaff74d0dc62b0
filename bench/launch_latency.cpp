// A record whose tile body does nothing, so that a launch costs only the split, the tasks, their hand-over
// to the workers and the wait.
#include "launch_latency.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

#include "vesk/runtime.h"
#include "threading/launch.h"
#include "timing.h"

namespace kovra::bench {
namespace {

struct empty_tile {
  void run_tile(kovra::threading::scratch*, int, int, int, int) const {}
};

// One tile per worker: m = P with grain 1 gives each worker a share of exactly one row.
void launch_once(int workers, const empty_tile& record) {
  kovra::threading::launch_grid(workers, 1, 1, 1, &record);
}

}  // namespace

launch_latency measure_launch_latency(int launches) {
  const int workers = vesk_worker_count();
  const empty_tile record;
  for (int i = 0; i < std::max(launches / 10, 1); ++i) launch_once(workers, record);

  std::vector<double> micros;
  micros.reserve(static_cast<std::size_t>(launches));
  for (int i = 0; i < launches; ++i) {
    const auto start = std::chrono::steady_clock::now();
    launch_once(workers, record);
    const std::chrono::duration<double, std::micro> elapsed = std::chrono::steady_clock::now() - start;
    micros.push_back(elapsed.count());
  }
  const auto [best, worst] = std::minmax_element(micros.begin(), micros.end());
  return {workers, launches, percentile(micros, 0.5), percentile(micros, 0.9), *best, *worst, std::move(micros)};
}

}  // namespace kovra::bench
