// Comparison and printing of tile ranges for test assertions, in the namespace of tile_range so that
// argument-dependent lookup finds them.
#pragma once

#include <ostream>
#include <tuple>

#include "threading/split.h"

namespace kovra::threading {

inline bool operator==(const tile_range& a, const tile_range& b) {
  return a.m_begin == b.m_begin && a.m_end == b.m_end && a.n_begin == b.n_begin && a.n_end == b.n_end;
}

inline bool operator<(const tile_range& a, const tile_range& b) {
  return std::tie(a.m_begin, a.n_begin, a.m_end, a.n_end) < std::tie(b.m_begin, b.n_begin, b.m_end, b.n_end);
}

inline void PrintTo(const tile_range& t, std::ostream* os) {
  *os << "[" << t.m_begin << "," << t.m_end << ")x[" << t.n_begin << "," << t.n_end << ")";
}

}  // namespace kovra::threading
