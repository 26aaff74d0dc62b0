// Wall-clock timing of repeated calls with steady_clock: a warm-up, then samples, taken in turns when two
// libraries are timed side by side.
#pragma once

#include <functional>
#include <vector>

namespace kovra::bench {

// Times each of `calls` over `samples` samples and returns each one's seconds per call, sample by sample.
// Every call is first warmed up and given a batch: it repeats as often as needed for a sample to last a
// few milliseconds, so that short calls are not lost in the clock's resolution. Then the samples go in
// turns, one batch of each call after the other, so that slow drifts of a machine shared with other work
// touch every call alike; `before_batch` runs before each batch. Every call gets the same number of
// samples: fewer than `samples` when they are so long that the samples would pass a budget of seconds.
std::vector<std::vector<double>> time_in_turns(const std::vector<std::function<void()>>& calls, int samples,
                                               const std::function<void()>& before_batch);

// The value below which `fraction` of `values` lie (nearest rank); `values` must not be empty.
double percentile(std::vector<double> values, double fraction);

// The middle value, or the mean of the two middle ones; `values` must not be empty.
double median(std::vector<double> values);

}  // namespace kovra::bench
