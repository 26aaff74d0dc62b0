// The fixed cost of one parallel launch: launch_grid with one empty tile per worker, timed launch by launch.
#pragma once

#include <vector>

namespace kovra::bench {

struct launch_latency {
  int workers;
  int launches;
  double median_us;
  double p90_us;
  double best_us;
  double worst_us;
  std::vector<double> samples_us;  // every launch's time, in order
};

// Times `launches` launches after a warm-up of a tenth as many.
launch_latency measure_launch_latency(int launches);

}  // namespace kovra::bench
