// The vector image packers of the NEON FMA float kernel write, bit for bit, what the default bodies write, and
// nothing more, wherever the panels' rows and channel groups start and end.
#include <asm/hwcap.h>
#include <gtest/gtest.h>
#include <sys/auxv.h>

#include <memory>
#include <utility>
#include <vector>

#include "kernels/neon/image_kernel_neon_fma_scalar.h"
#include "kernels/neon/kernel_neon_fma_scalar.h"
#include "support/values.h"

namespace kovra_test {
namespace {

using kernels::image_kernel_object;

// A 5 by 4 image seen through an output of 3 by 4 pixels: with strides 1 to 3 and the taps below, rows read left of
// and above the image and (stride 2 and 3) right of and below it; 8 rows never end on an output row.
constexpr int width = 5, height = 4, output_width = 3, output_height = 4, rows = output_width * output_height;
constexpr int dst_room = 192;  // more than the most groups of a run: 4 groups of 32

class ImageKernelNeon : public ::testing::Test {
 protected:
  void SetUp() override {
    if ((getauxval(AT_HWCAP) & HWCAP_VFPv4) == 0) GTEST_SKIP() << "the NEON FMA float kernel needs VFPv4";
  }

  // pack(neon, plain, image, x0, y0, row) for both objects on the same shape, over tiles (the 8 by 4 forms and the
  // fallback of other tile numbers), strides, taps and panel starts (the last one's rows run past `rows`). The
  // image is followed by sentinels, which a load past its last channel would carry into the panel.
  template <typename Pack>
  void for_each_placement(int channels, Pack pack) {
    std::vector<float> image = random_values<float>(width * height * channels, 40 + channels);
    image.resize(image.size() + 4, sentinel<float>());
    const auto neon = kernels::make_kernel_neon_fma_scalar<float>()->new_image_kernel();
    image_kernel_object<float> plain;
    for (const auto& [tile_m, tile_n] : {std::pair{8, 4}, std::pair{5, 3}})
      for (int stride = 1; stride <= 3; ++stride) {
        for (image_kernel_object<float>* k : {neon.get(), &plain})
          k->set_shape(tile_m, tile_n, width, height, output_width, output_height, stride, 2, 1, channels, 3, 3);
        for (int x0 : {-2, 0, 2})
          for (int y0 : {-1, 0, 2})
            for (int row : {0, 5, 8}) {
              SCOPED_TRACE(::testing::Message() << "tiles " << tile_m << "x" << tile_n << " stride " << stride << " x0 "
                                                << x0 << " y0 " << y0 << " row " << row);
              pack(*neon, plain, image.data(), x0, y0, row);
            }
      }
  }
};

// The float kernel makes the vector form, both as the cached object and as a fresh one.
TEST_F(ImageKernelNeon, KernelMakesTheVectorForm) {
  const auto kern = kernels::make_kernel_neon_fma_scalar<float>();
  const auto cached = kern->make_image_kernel(width, height, output_width, output_height, 1, 0, 0, 4, 3, 3);
  const auto fresh = kern->new_image_kernel();
  EXPECT_TRUE(cached->tile_m == 8 && cached->tile_n == 4 && fresh != cached);
  for (const auto& made : {cached, fresh})
    EXPECT_NE(dynamic_cast<kernels::image_kernel_neon_fma_scalar<float>*>(made.get()), nullptr);
}

// Runs from the aligned group start and from channels 1 to 3 (whose last group reaches past `channels` when it is a
// multiple of 4), ending inside the first group, inside the second, or at c_end.
TEST_F(ImageKernelNeon, InterleavedGroupsMatchTheDefaultBody) {
  for (int channels : {4, 5, 8, 16}) {
    for_each_placement(channels, [&](const image_kernel_object<float>& neon, const image_kernel_object<float>& plain,
                                     const float* image, int x0, int y0, int row) {
      const int c_end = channels / plain.tile_n * plain.tile_n, line = width * channels;
      for (int c_begin : {0, 1, 2, 3, 4})
        for (int p_end : {3, 7, 64}) {
          std::vector<float> got(dst_room, sentinel<float>()), want = got;
          neon.pack_channels_interleaved(c_begin, c_end, 1, p_end, image, got.data() + 1, x0, y0, line, row, rows);
          plain.pack_channels_interleaved(c_begin, c_end, 1, p_end, image, want.data() + 1, x0, y0, line, row, rows);
          EXPECT_TRUE(all_same_bits(got, want)) << channels << " channels from " << c_begin << ", p_end " << p_end;
        }
    });
  }
}

TEST_F(ImageKernelNeon, ThreeChannelsMatchTheDefaultBody) {
  for_each_placement(3, [&](const image_kernel_object<float>& neon, const image_kernel_object<float>& plain,
                            const float* image, int x0, int y0, int row) {
    std::vector<float> got(dst_room, sentinel<float>()), want = got;
    neon.pack_three_channels(image, got.data() + 1, x0, y0, 3 * width, row, rows);
    plain.pack_three_channels(image, want.data() + 1, x0, y0, 3 * width, row, rows);
    EXPECT_TRUE(all_same_bits(got, want));
  });
}

}  // namespace
}  // namespace kovra_test
