// The convolution's walkers and the default image packers fill a packed A block bit for bit as the patch matrix
// reads, on every path: pixels in and around the image, panels past output rows and the last row, any depth block.
#include <gtest/gtest.h>

#include <vector>

#include "kernels/image_kernel_object.h"
#include "parallel/extension/image_packing.h"
#include "support/values.h"

namespace kovra_test {
namespace {

struct packing_case {
  int tile_m, tile_n, width, height, output_width, output_height, stride, pad, channels, filter;
};

// Row m, depth k of the patch matrix of an interleaved image: zero outside the image.
float patch_value(const packing_case& s, const std::vector<float>& image, int m, int k) {
  const int fy = k / (s.filter * s.channels), fx = k / s.channels % s.filter, c = k % s.channels;
  const int x = m % s.output_width * s.stride + fx - s.pad, y = m / s.output_width * s.stride + fy - s.pad;
  return x >= 0 && x < s.width && y >= 0 && y < s.height ? image[c + s.channels * (x + s.width * y)] : 0.0f;
}

TEST(ImagePackers, BlocksHoldThePatchMatrixInPanels) {
  const packing_case cases[] = {
      {16, 6, 7, 5, 7, 5, 1, 1, 64, 3},     // the AVX2 tile: runs of 8 channels, a tail of 4, output rows crossed
      {16, 6, 20, 20, 10, 10, 2, 3, 3, 7},  // a colour image: three channels a pixel, taps beside the image
      {8, 4, 24, 3, 18, 2, -1, 0, 3, 2},    // a negative stride walks left, off the image's first column
      {16, 6, 40, 2, 24, 2, 1, 0, 13, 1},   // adjacent pixels; runs of 13 that end past a pixel's channels
      {8, 4, 9, 6, 9, 6, 1, 1, 5, 3},       // the plain tile, a group and a single channel per tap
      {8, 4, 6, 6, 4, 4, 2, 2, 9, 3},       // stride 2 over a wide border
      {4, 2, 6, 5, 6, 5, 1, 1, 11, 3},      // panels of 4 rows go the general way
      {32, 12, 9, 9, 9, 9, 1, 1, 40, 3},    // the AVX-512 tile, the tallest
      {12, 8, 9, 7, 9, 7, 1, 1, 19, 3},     // the AArch64 tile: 8 rows transposed, 4 one value at a time
  };
  for (const packing_case& s : cases) {
    const int rows = s.output_width * s.output_height, depth = s.filter * s.filter * s.channels;
    const int panels = (rows + s.tile_m - 1) / s.tile_m, plane = s.width * s.height;
    // Both images end at their last element, where the address sanitizer stops any read past them.
    std::vector<float> image = random_values<float>(s.width * s.height * s.channels, 7 + s.channels), planar = image;
    image.shrink_to_fit();
    for (int at = 0; at < plane * s.channels; ++at) planar[at] = image[at / plane + s.channels * (at % plane)];
    kernels::image_kernel_object<float> k;
    k.set_shape(s.tile_m, s.tile_n, s.width, s.height, s.output_width, s.output_height, s.stride, s.pad, s.pad,
                s.channels, s.filter, s.filter);
    for (const int block : {depth, 7, 10, 37})
      for (int k0 = 0; k0 < depth; k0 += block) {
        const int kb = helper::MIN(block, depth - k0), size = panels * kb * s.tile_m;
        SCOPED_TRACE(::testing::Message() << "case " << &s - cases << ", depth " << k0 << " + " << kb);
        std::vector<float> want(size);  // rows past the last are zeros
        for (int m = 0; m < rows; ++m)
          for (int p = 0; p < kb; ++p)
            want[(m - m % s.tile_m) * kb + p * s.tile_m + m % s.tile_m] = patch_value(s, image, m, k0 + p);
        // Room after the block for the groups that its end cuts.
        std::vector<float> interleaved(size + s.tile_n * s.tile_m, sentinel<float>()), from_planar = interleaved;
        parallel::extension::pack_image_interleaved(k, 0, k0, image.data(), interleaved.data(), rows, kb);
        parallel::extension::pack_image_planar(k, 0, k0, planar.data(), from_planar.data(), rows, kb);
        for (std::vector<float>* got : {&interleaved, &from_planar})
          EXPECT_TRUE(all_same_bits(std::vector<float>(got->begin(), got->begin() + size), want));
      }
  }
}

}  // namespace
}  // namespace kovra_test
