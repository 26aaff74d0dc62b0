// Split arithmetic of launch_grid, launch_tiles and launch_blocks. All arithmetic is 32-bit signed and
// every division truncates, as the tile ranges that bodies receive depend on it exactly.
#include "threading/split.h"

namespace kovra::threading {

grid_split::grid_split(int m, int mgrain, int n, int ngrain, int workers)
    : m_(m), n_(n), mg_(mgrain < 1 ? 1 : mgrain), ng_(ngrain < 1 ? 1 : ngrain), workers_(workers) {
  // The runtime publishes a positive worker count before any launch; no tasks without workers.
  if (workers_ < 1) {
    done_ = true;
    return;
  }
  mtile_ = mg_ * (m_ / (mg_ * workers_));
  ntile_ = ng_ * (n_ / (ng_ * workers_));
  mrem_ = m_ - mtile_ * workers_;
  nrem_ = n_ - ntile_ * workers_;
}

bool grid_split::next(tile_range& tile) {
  if (done_) return false;

  m_end_ += mtile_;
  if (mrem_ > 0) {
    m_end_ += mrem_ < mg_ ? mrem_ : mg_;
    mrem_ -= mg_;
  }
  n_end_ += ntile_;
  if (nrem_ > 0) {
    n_end_ += nrem_ < ng_ ? nrem_ : ng_;
    nrem_ -= ng_;
  }
  tile = {m_begin_, m_end_, n_begin_, n_end_};

  // A dimension that has reached its end keeps its last begin: a whole dimension stays [0, extent).
  if (m_end_ < m_) m_begin_ = m_end_;
  if (n_end_ < n_) n_begin_ = n_end_;

  ++issued_;
  const bool nothing_left = mrem_ <= 0 && nrem_ <= 0 && mtile_ == 0 && ntile_ == 0;
  if (nothing_left || issued_ == workers_) done_ = true;
  return true;
}

block_split::block_split(int m, int mstep, int n, int nstep)
    : m_(m), n_(n), ms_(mstep < 1 ? 1 : mstep), ns_(nstep < 1 ? 1 : nstep) {
  done_ = n_ == 0;
}

// The run starting at `begin` is one step long while at least two steps remain; otherwise it takes the rest.
int block_split::run_end(int begin, int step, int extent) {
  return extent >= begin + 2 * step ? begin + step : extent;
}

bool block_split::next(tile_range& tile) {
  if (done_) return false;
  if (!started_) {
    started_ = true;
    m_end_ = run_end(m_begin_, ms_, m_);
    n_end_ = run_end(n_begin_, ns_, n_);
  } else if (n_end_ < n_) {
    n_begin_ = n_end_;
    n_end_ = run_end(n_begin_, ns_, n_);
  } else if (m_end_ < m_) {
    m_begin_ = m_end_;
    m_end_ = run_end(m_begin_, ms_, m_);
    n_begin_ = 0;
    n_end_ = run_end(n_begin_, ns_, n_);
  } else {
    done_ = true;
    return false;
  }
  tile = {m_begin_, m_end_, n_begin_, n_end_};
  return true;
}

}  // namespace kovra::threading
