// The split arithmetic of the launchers as pure functions of (extent, grain, workers), apart from the
// runtime, so that every rule of it can be checked on its own.
//
// grid_split: one loop hands task i the i-th slice of each dimension. Each worker's share is a whole
// number of grains; the remainder goes out a grain at a time from the first task on. A dimension passed
// as one whole tile (grain = extent) keeps [0, extent) for every task.
//
// block_split: runs of a fixed step, the last run taking the rest (step to 2*step - 1 entries).
#pragma once

#include <compare>

namespace kovra::threading {

struct tile_range {
  int m_begin, m_end, n_begin, n_end;
  // Tiles are values: equal when their bounds are, ordered by them.
  auto operator<=>(const tile_range&) const = default;
};

// Walks the tiles of launch_grid(m, mgrain, n, ngrain) for P workers.
class grid_split {
 public:
  grid_split(int m, int mgrain, int n, int ngrain, int workers);
  // Stores the next tile and returns true, or returns false when the split is done.
  bool next(tile_range& tile);

 private:
  int m_, n_, mg_, ng_, workers_;
  int mtile_ = 0, ntile_ = 0, mrem_ = 0, nrem_ = 0;
  int m_begin_ = 0, m_end_ = 0, n_begin_ = 0, n_end_ = 0;
  int issued_ = 0;
  bool done_ = false;
};

// Walks the tiles of launch_blocks(m, mstep, n, nstep): rows outer, columns inner.
class block_split {
 public:
  block_split(int m, int mstep, int n, int nstep);
  bool next(tile_range& tile);

 private:
  static int run_end(int begin, int step, int extent);
  int m_, n_, ms_, ns_;
  int m_begin_ = 0, m_end_ = 0, n_begin_ = 0, n_end_ = 0;
  bool started_ = false, done_ = false;
};

}  // namespace kovra::threading
