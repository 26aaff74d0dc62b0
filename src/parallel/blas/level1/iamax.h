// IAMAX and IAMIN, the 0-based position of the element of largest (smallest) |Re v| + |Im v|: the
// records amax_object and amin_object with their tile bodies, and the one routine behind the ISAMAX,
// ..., IZAMIN entries (both forms). The serial form is index_scan (index_scan.h).
#pragma once

#include <algorithm>
#include <cstdlib>
#include <type_traits>

#include <vesk/task.h>

#include "helper/aligned.h"
#include "helper/helper.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level1/index_scan.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

// A tile scans its slice of logical elements [s, e) and stores the array offset incx*(s + pos) of its
// winner in indices[tile].
template <typename Order, typename T>
int tile_winner(int s, int e, const T* x, int incx) {
  return incx * (s + index_scan<Order>(e - s, x + std::ptrdiff_t{s} * incx, incx));
}

template <typename T, typename R>
struct amax_object {
  int* indices;
  int n;
  const T* x;
  int incx;

  void run_tile(threading::scratch*, int s, int e, int tile, int) const {
    indices[tile] = tile_winner<largest_first>(s, e, x, incx);
  }
};

template <typename T, typename R>
struct amin_object {
  int* indices;
  int n;
  const T* x;
  int incx;

  void run_tile(threading::scratch*, int s, int e, int tile, int) const {
    indices[tile] = tile_winner<smallest_first>(s, e, x, incx);
  }
};

// 0 for n < 2 or incx < 1. A parallel call folds in two steps on the calling thread: the tiles'
// winners are copied out in tile order and scanned again, so ties between tiles go to the lowest tile
// and the result is the serial scan's position.
template <typename Order, typename T>
int index_search(int n, const T* x, int incx) {
  if (n < 2 || incx < 1) return 0;
  if (n <= serial_cutoff) return index_scan<Order>(n, x, incx);
  const int workers = vesk::internal::num_exec_ctx();
  int* indices = helper::aligned_array<int>(workers);
  // A tile whose task could not be had leaves position 0 in its entry, never an offset off the vector.
  if (indices != nullptr) std::fill_n(indices, workers, 0);
  T* winners = helper::aligned_array<T>(workers);
  const auto kernel = kernels::get_kernel<T>();
  using record_type = std::conditional_t<std::is_same_v<Order, largest_first>, amax_object<T, real_t<T>>,
                                         amin_object<T, real_t<T>>>;
  const record_type record{indices, n, x, incx};
  const int tiles = threading::launch_tiles(n, kernel->tile_m, &record);
  for (int t = 0; t < tiles; ++t) winners[t] = x[indices[t]];
  const int w = tiles > 1 ? index_scan<Order>(tiles, winners, 1) : 0;
  const int position = indices[w] / incx;
  std::free(winners);
  std::free(indices);
  return position;
}

template <typename T>
int iamax(int n, const T* x, int incx) {
  return index_search<largest_first>(n, x, incx);
}

template <typename T>
int iamin(int n, const T* x, int incx) {
  return index_search<smallest_first>(n, x, incx);
}

}  // namespace kovra::parallel::blas
