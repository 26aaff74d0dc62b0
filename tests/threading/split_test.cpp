// The launchers' split arithmetic on its own: every documented example, and the invariants that any
// (extent, grain, workers) must keep.
#include <gtest/gtest.h>

#include <vector>

#include "threading/split.h"

namespace kovra_test {
using namespace kovra::threading;

namespace {

std::vector<tile_range> grid(int m, int mgrain, int n, int ngrain, int workers) {
  std::vector<tile_range> tiles;
  grid_split split(m, mgrain, n, ngrain, workers);
  for (tile_range t; split.next(t);) tiles.push_back(t);
  return tiles;
}

std::vector<tile_range> blocks(int m, int mstep, int n, int nstep) {
  std::vector<tile_range> tiles;
  block_split split(m, mstep, n, nstep);
  for (tile_range t; split.next(t);) tiles.push_back(t);
  return tiles;
}

std::vector<int> row_lengths(const std::vector<tile_range>& tiles) {
  std::vector<int> lengths;
  for (const auto& t : tiles) lengths.push_back(t.m_end - t.m_begin);
  return lengths;
}

TEST(GridSplit, DocumentedExamples) {
  EXPECT_EQ(grid(9, 8, 1, 1, 4), (std::vector<tile_range>{{0, 8, 0, 1}, {8, 9, 0, 1}}));
  EXPECT_EQ(row_lengths(grid(100, 8, 1, 1, 4)), (std::vector<int>{28, 24, 24, 24}));
  EXPECT_EQ(row_lengths(grid(64, 8, 1, 1, 8)), (std::vector<int>(8, 8)));
  EXPECT_EQ(row_lengths(grid(1015, 8, 1, 1, 4)), (std::vector<int>{256, 256, 255, 248}));
  EXPECT_EQ(grid(20, 8, 1, 1, 4), (std::vector<tile_range>{{0, 8, 0, 1}, {8, 16, 0, 1}, {16, 20, 0, 1}}));
}

TEST(GridSplit, WholeRowDimensionStaysWholeInEveryTask) {
  // launch_grid(m, m, n, ngrain): columns split, every task keeps rows [0, m).
  EXPECT_EQ(grid(7, 7, 100, 4, 4),
            (std::vector<tile_range>{{0, 7, 0, 28}, {0, 7, 28, 52}, {0, 7, 52, 76}, {0, 7, 76, 100}}));
  // launch_grid(m, tile_m, n, n): rows split, every task keeps columns [0, n).
  for (const auto& t : grid(50, 8, 13, 13, 2)) {
    EXPECT_EQ(t.n_begin, 0);
    EXPECT_EQ(t.n_end, 13);
  }
}

TEST(GridSplit, GrainBelowOneCountsAsOne) {
  EXPECT_EQ(grid(5, 0, 1, 1, 2), grid(5, 1, 1, 1, 2));
  EXPECT_EQ(grid(5, -3, 1, -1, 2), grid(5, 1, 1, 1, 2));
  EXPECT_EQ(row_lengths(grid(5, 0, 1, 1, 2)), (std::vector<int>{3, 2}));
}

TEST(GridSplit, OneWorkerGetsOneWholeTile) {
  EXPECT_EQ(grid(1000, 8, 1, 1, 1), (std::vector<tile_range>{{0, 1000, 0, 1}}));
  EXPECT_EQ(grid(3, 8, 1, 1, 1), (std::vector<tile_range>{{0, 3, 0, 1}}));
}

TEST(GridSplit, NoWorkersNoTiles) { EXPECT_TRUE(grid(100, 8, 1, 1, 0).empty()); }

TEST(GridSplit, TilesCoverTheExtentInOrderWithSharesWithinOneGrain) {
  for (int workers : {1, 2, 3, 4, 8})
    for (int grain : {1, 4, 8})
      for (int m = 1; m <= 300; m += 7) {
        const auto tiles = grid(m, grain, 1, 1, workers);
        ASSERT_FALSE(tiles.empty());
        ASSERT_LE(static_cast<int>(tiles.size()), workers);
        int expected_begin = 0, longest = 0, shortest = m;
        for (const auto& t : tiles) {
          ASSERT_EQ(t.m_begin, expected_begin) << "m=" << m << " grain=" << grain << " P=" << workers;
          ASSERT_GT(t.m_end, t.m_begin);
          expected_begin = t.m_end;
          longest = std::max(longest, t.m_end - t.m_begin);
          shortest = std::min(shortest, t.m_end - t.m_begin);
        }
        EXPECT_EQ(expected_begin, m);
        // Equal shares of whole grains; the remainder adds at most one grain to a share.
        if (m >= grain * workers) {
          EXPECT_LE(longest - shortest, grain);
        }
      }
}

TEST(BlockSplit, DocumentedExamples) {
  EXPECT_EQ(blocks(127, 64, 5, 5), (std::vector<tile_range>{{0, 127, 0, 5}}));
  EXPECT_EQ(blocks(191, 64, 5, 5), (std::vector<tile_range>{{0, 64, 0, 5}, {64, 191, 0, 5}}));
  EXPECT_TRUE(blocks(500, 64, 0, 1).empty());
}

TEST(BlockSplit, LastRunTakesTheRestAndRowsAreOuter) {
  EXPECT_EQ(blocks(128, 64, 300, 128),
            (std::vector<tile_range>{{0, 64, 0, 128}, {0, 64, 128, 300}, {64, 128, 0, 128}, {64, 128, 128, 300}}));
  EXPECT_EQ(row_lengths(blocks(1000, 128, 1, 1)), (std::vector<int>{128, 128, 128, 128, 128, 128, 232}));
  EXPECT_EQ(blocks(3, 0, 2, -1), blocks(3, 1, 2, 1));
}

}  // namespace
}  // namespace kovra_test
