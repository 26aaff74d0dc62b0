// The walkers that fill a packed A block of the convolution's product from the image: rows [m0, m0 + mb) of the
// patch matrix at depth [k0, k0 + kb), in panels of tile_m rows, each step of depth tile_m consecutive elements.
// Depth position k is (fy*filter_x + fx)*channels + c: tap row, tap column, channel, channels running fastest.
//
// Per panel and tap the channels go through the image kernel's group operation as far as whole groups of tile_n
// reach (channels rounded down to a multiple of tile_n), the rest through pack_rest_channels; an interleaved image of
// three channels takes a whole pixel at once where the depth block holds all three. The last panel of a block may
// have rows past m0 + mb: those below the row count are read although the product ignores them, those beyond it
// are zeros.
#pragma once

#include <cstddef>

#include "helper/helper.h"
#include "kernels/image_kernel_object.h"

namespace kovra::parallel::extension {

namespace detail {

template <typename T, bool Interleaved>
void pack_image(const kernels::image_kernel_object<T>& k, int m0, int k0, const T* image, T* dst, int mb, int kb) {
  if (kb < 1) return;
  const int channels = k.channels, tm = k.tile_m, rows = k.output_width * k.output_height;
  const int plane = k.image_width * k.image_height, line = k.image_width * channels;
  const int c_end = channels / k.tile_n * k.tile_n, tap_depth = k.filter_x * channels;
  for (int row = m0; row < m0 + mb; row += tm) {
    int fy = k0 / tap_depth, fx = k0 % tap_depth / channels, c = k0 % channels, p = 0;
    for (; fy < k.filter_y && p < kb; fx = 0, ++fy) {
      for (; fx < k.filter_x && p < kb; c = 0, ++fx) {
        const int x0 = fx - k.pad_left, y0 = fy - k.pad_top;
        if (Interleaved && channels == 3 && c == 0 && kb - p > 2) {
          k.pack_three_channels(image, dst, x0, y0, line, row, rows);
          c += 3, p += 3, dst += 3 * tm;
          continue;
        }
        if (Interleaved)
          k.pack_channels_interleaved(c, c_end, p, kb, image, dst, x0, y0, line, row, rows);
        else
          k.pack_channels_planar(c, c_end, p, kb, image, dst, x0, y0, plane, row, rows);
        const int used = helper::MIN(helper::MAX(c_end - c, 0), kb - p);
        c += used, p += used, dst += std::ptrdiff_t{used} * tm;
        const int rest = helper::MIN(channels - c, kb - p);  // the channels past the last whole group
        k.pack_rest_channels(c, rest, image, dst, x0, y0, Interleaved, row, rows);
        p += rest, dst += std::ptrdiff_t{rest} * tm;
      }
    }
  }
}

}  // namespace detail

// k0 and kb are the depth block's start and length; dst receives ceil(mb / tile_m) panels of kb steps.
template <typename T>
void pack_image_planar(const kernels::image_kernel_object<T>& k, int m0, int k0, const T* image, T* dst, int mb,
                       int kb) {
  detail::pack_image<T, false>(k, m0, k0, image, dst, mb, kb);
}

template <typename T>
void pack_image_interleaved(const kernels::image_kernel_object<T>& k, int m0, int k0, const T* image, T* dst, int mb,
                            int kb) {
  detail::pack_image<T, true>(k, m0, k0, image, dst, mb, kb);
}

}  // namespace kovra::parallel::extension
