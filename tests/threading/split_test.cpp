// The launchers' split arithmetic: the documented examples as a table, and the invariants that any
// (extent, grain, workers) must keep.
#include "threading/split.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/values.h"

namespace kovra_test {
namespace {

using threading::tile_range;

std::vector<tile_range> grid(int m, int mgrain, int n, int ngrain, int workers) {
  std::vector<tile_range> tiles;
  threading::grid_split split(m, mgrain, n, ngrain, workers);
  for (tile_range t; split.next(t);) tiles.push_back(t);
  return tiles;
}

std::vector<tile_range> blocks(int m, int mstep, int n, int nstep) {
  std::vector<tile_range> tiles;
  threading::block_split split(m, mstep, n, nstep);
  for (tile_range t; split.next(t);) tiles.push_back(t);
  return tiles;
}

// Grids: shares of whole grains with the remainder a grain at a time from the first, at most one tile per
// worker; a whole dimension stays whole; a grain below one counts as one; no workers, no tiles. Blocks:
// runs of the step, the last taking the rest, rows outer.
TEST(Split, DocumentedExamples) {
  using tiles = std::vector<tile_range>;
  EXPECT_EQ(grid(9, 8, 1, 1, 4), (tiles{{0, 8, 0, 1}, {8, 9, 0, 1}}));
  EXPECT_EQ(grid(100, 8, 1, 1, 4), (tiles{{0, 28, 0, 1}, {28, 52, 0, 1}, {52, 76, 0, 1}, {76, 100, 0, 1}}));
  EXPECT_EQ(grid(1015, 8, 1, 1, 4), (tiles{{0, 256, 0, 1}, {256, 512, 0, 1}, {512, 767, 0, 1}, {767, 1015, 0, 1}}));
  EXPECT_EQ(grid(20, 8, 1, 1, 4), (tiles{{0, 8, 0, 1}, {8, 16, 0, 1}, {16, 20, 0, 1}}));
  EXPECT_EQ(grid(7, 7, 100, 4, 4), (tiles{{0, 7, 0, 28}, {0, 7, 28, 52}, {0, 7, 52, 76}, {0, 7, 76, 100}}));
  EXPECT_EQ(grid(50, 8, 13, 13, 2), (tiles{{0, 26, 0, 13}, {26, 50, 0, 13}}));
  EXPECT_EQ(grid(5, -3, 1, -1, 2), (tiles{{0, 3, 0, 1}, {3, 5, 0, 1}}));
  EXPECT_EQ(grid(1000, 8, 1, 1, 1), (tiles{{0, 1000, 0, 1}}));
  EXPECT_TRUE(grid(100, 8, 1, 1, 0).empty());
  EXPECT_EQ(blocks(127, 64, 5, 5), (tiles{{0, 127, 0, 5}}));
  EXPECT_EQ(blocks(128, 64, 300, 128),
            (tiles{{0, 64, 0, 128}, {0, 64, 128, 300}, {64, 128, 0, 128}, {64, 128, 128, 300}}));
  EXPECT_EQ(blocks(3, 0, 2, -1),
            (tiles{{0, 1, 0, 1}, {0, 1, 1, 2}, {1, 2, 0, 1}, {1, 2, 1, 2}, {2, 3, 0, 1}, {2, 3, 1, 2}}));
  EXPECT_TRUE(blocks(500, 64, 0, 1).empty());
}

TEST(Split, GridTilesCoverTheExtentInOrderWithSharesWithinOneGrain) {
  for (int workers : {1, 2, 3, 4, 8})
    for (int grain : {1, 4, 8})
      for (int m = 1; m <= 300; m += 7) {
        const auto tiles = grid(m, grain, 1, 1, workers);
        ASSERT_TRUE(!tiles.empty() && int(tiles.size()) <= workers);
        int begin = 0, longest = 0, shortest = m;
        for (const auto& t : tiles) {
          ASSERT_TRUE(t.m_begin == begin && t.m_end > t.m_begin) << m << " " << grain << " " << workers;
          begin = t.m_end;
          longest = std::max(longest, t.m_end - t.m_begin);
          shortest = std::min(shortest, t.m_end - t.m_begin);
        }
        EXPECT_EQ(begin, m);
        EXPECT_TRUE(m < grain * workers || longest - shortest <= grain);
      }
}

}  // namespace
}  // namespace kovra_test
