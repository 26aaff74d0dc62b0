// The 8 by 4 and 8 by 3 interleaved image packers of image_kernel_neon_fma_scalar<float>. Built with VFPv4 like the
// kernel that creates the object; the loads, transposes and stores here are plain NEON moves, so every value is
// copied bit for bit and the panels equal those of the default bodies.
#include <arm_neon.h>

#include <cstddef>

#include "kernels/neon/image_kernel_neon_fma_scalar.h"
#include "kernels/neon/neon_real_bodies.h"

namespace kovra::kernels {
namespace {

using neon_real::transpose4;

constexpr int mr = 8;  // rows of a panel: two 4 by 4 blocks of the transpose
constexpr int nr = 4;  // channels of a group: one quad register per pixel
static_assert(nr * sizeof(float) == sizeof(float32x4_t), "a group of one pixel is one 16-byte load");
static_assert(mr <= image_kernel_object<float>::max_tile_m);

// Writes the 8 by 4 block whose row i is v[i / 4][i % 4] (the 4 channels of row i) as 4 channels of 8 rows.
inline void store_transposed(const float32x4_t v[2][4], int channels_kept, float* dst) {
  float32x4_t t[2][4];
  transpose4(v[0], t[0]);
  transpose4(v[1], t[1]);
  for (int c = 0; c < channels_kept; ++c) {
    vst1q_f32(dst + c * mr, t[0][c]);
    vst1q_f32(dst + c * mr + 4, t[1][c]);
  }
}

}  // namespace

void image_kernel_neon_fma_scalar<float>::pack_channels_interleaved(int c_begin, int c_end, int p, int p_end,
                                                                    const float* image, float* dst, int x0, int y0,
                                                                    int line, int row, int rows) const {
  if (tile_m != mr || tile_n != nr) {
    image_kernel_object<float>::pack_channels_interleaved(c_begin, c_end, p, p_end, image, dst, x0, y0, line, row,
                                                          rows);
    return;
  }
  if (c_begin >= c_end || p >= p_end) return;
  // The first channel of each row's pixel, or null where the row reads zeros; the same for every group.
  std::ptrdiff_t offsets[max_tile_m];
  pixel_offsets(x0, y0, row, rows, offsets);
  const float* pixel[mr];
  for (int i = 0; i < mr; ++i) pixel[i] = offsets[i] < 0 ? nullptr : image + std::ptrdiff_t{channels} * offsets[i];

  const float32x4_t zero = vdupq_n_f32(0.0f);
  for (int c = c_begin; c < c_end && p < p_end; c += nr, p += nr, dst += tile_size) {
    if (c + nr <= channels) {
      float32x4_t v[2][4];
      for (int i = 0; i < mr; ++i) v[i / 4][i % 4] = pixel[i] ? vld1q_f32(pixel[i] + c) : zero;
      store_transposed(v, nr, dst);
    } else {
      // The group runs past the last channel: a 16-byte load would read the next pixel or past the image.
      for (int t = 0; t < nr; ++t)
        for (int i = 0; i < mr; ++i) dst[t * mr + i] = pixel[i] && c + t < channels ? pixel[i][c + t] : 0.0f;
    }
  }
}

void image_kernel_neon_fma_scalar<float>::pack_three_channels(const float* image, float* dst, int x0, int y0, int line,
                                                              int row, int rows) const {
  if (tile_m != mr || tile_n != nr) {
    image_kernel_object<float>::pack_three_channels(image, dst, x0, y0, line, row, rows);
    return;
  }
  std::ptrdiff_t offsets[max_tile_m];
  pixel_offsets(x0, y0, row, rows, offsets);
  const float32x2_t zero2 = vdup_n_f32(0.0f);
  float32x4_t v[2][4];
  for (int i = 0; i < mr; ++i) {
    if (offsets[i] < 0) {
      v[i / 4][i % 4] = vdupq_n_f32(0.0f);
      continue;
    }
    // Channels 0 and 1 in one 8-byte load, channel 2 into the low lane of a zero pair: nothing past the pixel.
    const float* pixel = image + 3 * offsets[i];
    v[i / 4][i % 4] = vcombine_f32(vld1_f32(pixel), vld1_lane_f32(pixel + 2, zero2, 0));
  }
  store_transposed(v, 3, dst);
}

}  // namespace kovra::kernels
