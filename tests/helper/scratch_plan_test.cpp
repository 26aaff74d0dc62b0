// The scratch plan of the matrix products: packed A, packed B and the edge tile, and what fits.
#include <complex>

#include <gtest/gtest.h>

#include "helper/scratch_plan.h"

namespace {

using kovra::helper::fits_scratch;
using kovra::helper::plan_blocks;

TEST(ScratchLayout, BlockOffsetsAndPageAlignedEdgeTile) {
  // 512 x 256 floats of A, then 256 x 16 of B ending exactly on a page: the edge tile starts there.
  const auto plain = plan_blocks(512, 16, 256, 8, 4, 0, sizeof(float));
  EXPECT_EQ(plain.a_offset, 0u);
  EXPECT_EQ(plain.b_offset, 524288u);
  EXPECT_EQ(plain.edge_offset, 540672u);
  EXPECT_EQ(plain.end, 540800u);
  EXPECT_TRUE(fits_scratch(plain));

  // Slack moves B; a B block ending inside a page pushes the edge tile to the next boundary.
  const auto odd = plan_blocks(4, 3, 5, 2, 3, 7, 16);
  EXPECT_EQ(odd.b_offset, (7u + 20u) * 16u);
  EXPECT_EQ(odd.edge_offset, 4096u);
  EXPECT_EQ(odd.end, 4096u + 6u * 16u);
}

TEST(ScratchLayout, FullDepthBlocksOfWideElementsDoNotFit) {
  // 512 by 256 elements of A: the whole megabyte for 8-byte elements, twice that for 16-byte ones.
  EXPECT_FALSE(fits_scratch(plan_blocks(512, 16, 256, 8, 4, 0, sizeof(double))));
  EXPECT_FALSE(fits_scratch(plan_blocks(512, 16, 256, 8, 4, 0, sizeof(std::complex<double>))));
  // A block of 254 pages, one byte of B, the edge tile on page 255: a 4096-byte tile ends exactly at
  // the end of the scratch, one row more runs past it.
  EXPECT_TRUE(fits_scratch(plan_blocks(254 * 4096, 1, 1, 64, 64, 0, 1)));
  EXPECT_FALSE(fits_scratch(plan_blocks(254 * 4096, 1, 1, 65, 64, 0, 1)));
}

}  // namespace
