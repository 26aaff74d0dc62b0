// What the Level 1 reductions share: the run of a record's tiles into a per-call array of partial
// results, one entry per worker, and the plain ascending sum that folds the partials of the dots.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include <vesk/task.h>

#include "helper/aligned.h"
#include "helper/complex_arith.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

// Gives `record` (fields `results` and `n`) an array of one Partial per worker, launches its tiles with
// `grain`, and returns fold(results, tiles) as computed on the calling thread after the wait. Tile t
// writes entry t only, so the entries need no synchronisation. The entries start at zero: a tile whose
// task could not be had leaves a defined value for the fold rather than whatever the allocator held.
// An exception from the launch leaves the array allocated: only the caller's kernel reference is
// released on that path.
template <typename Partial, typename Record, typename Fold>
auto reduce_in_tiles(Record& record, int grain, Fold&& fold) {
  const int workers = vesk::internal::num_exec_ctx();
  record.results = helper::aligned_array<Partial>(workers);
  if (record.results != nullptr) std::fill_n(record.results, workers, Partial{});
  const int tiles = threading::launch_tiles(record.n, grain, &record);
  const auto value = fold(static_cast<const Partial*>(record.results), tiles);
  std::free(record.results);
  return value;
}

// Calls visit(offset) for the array offsets 0, inc, 2*inc, ... of a len-element vector, inc > 0: the
// walk of the single-vector reductions, which return early for other increments. The walk ends when
// the running offset reaches len*inc.
template <typename Visit>
inline void walk_forward(int len, int inc, Visit&& visit) {
  const std::ptrdiff_t end = std::ptrdiff_t{len} * inc;
  for (std::ptrdiff_t offset = 0; offset < end; offset += inc) visit(offset);
}

// start + partials[0] + partials[1] + ..., in ascending tile order; complex parts are added separately.
template <typename T>
T sum_partials(T start, const T* partials, int count) {
  for (int t = 0; t < count; ++t) start = helper::add(start, partials[t]);
  return start;
}

}  // namespace kovra::parallel::blas
