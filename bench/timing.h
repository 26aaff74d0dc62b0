// Wall-clock timing of repeated calls with steady_clock: warm-up first, then a number of samples.
#pragma once

#include <functional>
#include <vector>

namespace kovra::bench {

// Times `call` over `samples` samples after a warm-up and returns the best sample's seconds per call: on a
// machine shared with other work the fastest sample is the one least disturbed. A sample repeats the
// call as often as needed to last a few milliseconds, so that short calls are not lost in the clock's
// resolution. Calls so long that the samples would pass a budget of seconds get fewer of them.
double time_calls(const std::function<void()>& call, int samples);

// The value below which `fraction` of `values` lie (nearest rank); `values` must not be empty.
double percentile(std::vector<double> values, double fraction);

}  // namespace kovra::bench
