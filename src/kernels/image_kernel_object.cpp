// Default bodies of image_kernel_object<T>: the portable path and the meaning of each operation. The position of
// a row's pixel costs a division by output_width, so the rows of a call are worked out once, from one division.
// Float panels of 8, 16, ... rows move the channels of an interleaved image 8 at a time through a transpose in
// registers; every path copies, so all of them write the same bits.
#include "kernels/image_kernel_object.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "helper/helper.h"

namespace kovra::kernels {

template <typename T>
void image_kernel_object<T>::set_shape(int tile_m, int tile_n, int image_width, int image_height, int output_width,
                                       int output_height, int stride, int pad_left, int pad_top, int channels,
                                       int filter_x, int filter_y) {
  this->tile_m = tile_m;
  this->tile_n = tile_n;
  this->tile_size = tile_m * tile_n;
  this->image_width = image_width;
  this->image_height = image_height;
  this->output_width = output_width;
  this->output_height = output_height;
  this->stride = stride;
  this->pad_left = pad_left;
  this->pad_top = pad_top;
  this->channels = channels;
  this->filter_x = filter_x;
  this->filter_y = filter_y;
}

// One division for the first row. Rows that stay in one output row (the usual case) share its y and step x by the
// stride, so each row's test is a compare of x without branches; otherwise the rows step along the output row and
// wrap to the next one (a negative output width, whose quotients count down, divides for every row).
template <typename T>
void image_kernel_object<T>::pixel_offsets(int x0, int y0, int row, int rows, std::ptrdiff_t* offsets) const {
  int ox = row % output_width, oy = row / output_width;
  if (output_width > 0 && ox + tile_m <= output_width) {
    const std::ptrdiff_t y = y0 + std::ptrdiff_t{stride} * oy, x = x0 + std::ptrdiff_t{stride} * ox;
    const bool line_inside = y >= 0 && y < image_height;
    const std::ptrdiff_t first = x + std::ptrdiff_t{image_width} * y;
    for (int i = 0; i < tile_m; ++i) {
      const std::ptrdiff_t step = std::ptrdiff_t{stride} * i;
      const bool inside = line_inside && row + i < rows && x + step >= 0 && x + step < image_width;
      offsets[i] = inside ? first + step : -1;
    }
    return;
  }
  for (int i = 0; i < tile_m; ++i, ++ox) {
    const int r = row + i;
    if (output_width < 0)
      ox = r % output_width, oy = r / output_width;
    else if (ox == output_width)
      ox = 0, ++oy;
    offsets[i] = -1;
    if (r >= rows) continue;
    const std::ptrdiff_t x = x0 + std::ptrdiff_t{stride} * ox;
    const std::ptrdiff_t y = y0 + std::ptrdiff_t{stride} * oy;
    if (x < 0 || x >= image_width || y < 0 || y >= image_height) continue;
    offsets[i] = x + std::ptrdiff_t{image_width} * y;
  }
}

namespace {

// Whole groups of tile_n channels from c_begin while the channel is below c_end and the position below p_end.
// Row i's channel c is pixel[i][c * step]: `pixel` holds each row's first channel in the image, null where the row
// reads zeros. A group that reaches past the last channel writes zeros there instead of reading.
template <typename T>
void pack_groups_any(const image_kernel_object<T>& k, int c_begin, int c_end, int p, int p_end, T* dst,
                     const T* const* pixel, std::ptrdiff_t step) {
  const int tm = k.tile_m, tn = k.tile_n;
  for (int c = c_begin; c < c_end && p < p_end; c += tn, p += tn, dst += k.tile_size) {
    const int whole = helper::MAX(0, helper::MIN(tn, k.channels - c));
    for (int i = 0; i < tm; ++i) {
      T* const out = dst + i;
      if (pixel[i] == nullptr) {
        for (int t = 0; t < tn; ++t) out[t * tm] = T(0);
        continue;
      }
      const T* const from = pixel[i] + c * step;
      if (whole == tn) {
        for (int t = 0; t < tn; ++t) out[t * tm] = from[t * step];
        continue;
      }
      for (int t = 0; t < tn; ++t) out[t * tm] = t < whole ? from[t * step] : T(0);
    }
  }
}

// The plain kernel's 8 by 4 groups of an interleaved image of the types other than float, the channels of a pixel
// adjacent: with the sizes fixed the compiler moves each group as a block. Returns false for any other shape.
template <typename T>
bool pack_groups_8x4(const image_kernel_object<T>& k, int c_begin, int c_end, int p, int p_end, T* dst,
                     const T* const* pixel, std::ptrdiff_t step) {
  if (k.tile_m != 8 || k.tile_n != 4 || step != 1) return false;
  for (int c = c_begin; c < c_end && p < p_end; c += 4, p += 4, dst += 32) {
    if (c + 4 > k.channels) {  // the group runs past the last channel: the general form writes its zeros
      pack_groups_any(k, c, c_end, p, p_end, dst, pixel, step);
      return true;
    }
    T rows[8][4];  // the 4 channels of each row's pixel, then stored channel by channel
    for (int i = 0; i < 8; ++i) {
      if (pixel[i] == nullptr)
        for (int t = 0; t < 4; ++t) rows[i][t] = T(0);
      else
        std::memcpy(static_cast<void*>(rows[i]), pixel[i] + c, sizeof rows[i]);
    }
    for (int t = 0; t < 4; ++t)
      for (int i = 0; i < 8; ++i) dst[t * 8 + i] = rows[i][t];
  }
  return true;
}

// The groups a call writes from c_begin: channels [c_begin, c_begin + count) one after another, tile_m elements
// each, since a group of tile_n channels is tile_n such steps of depth.
inline int group_channels(int tile_n, int c_begin, int c_end, int p, int p_end) {
  const int groups = helper::MIN((c_end - c_begin + tile_n - 1) / tile_n, (p_end - p + tile_n - 1) / tile_n);
  return groups * tile_n;
}

// The generic 32-byte vector of GCC and Clang, which each target lowers to its own registers (two halves where
// they are 16 bytes wide). Values of it stay inside one function, so no call passes one.
using float8 = float __attribute__((vector_size(32)));

// Rows [0, 8) of the 8 channels from `window`, all inside each row's pixel (null pointer: zeros), as 8 loads, an 8
// by 8 transpose in registers and `kept` channels from window + first stored: channel window + first + u of row i
// at dst[u*tm + i].
void transpose_8x8(const float* const* pixel, int window, int first, int kept, float* dst, int tm) {
  static constexpr float zeros[8] = {};
  float8 r[8];
#pragma GCC unroll 8
  for (int i = 0; i < 8; ++i) std::memcpy(&r[i], pixel[i] == nullptr ? zeros : pixel[i] + window, sizeof r[i]);
  // Pairs of rows interleaved, then pairs of pairs: b[q + 4*h] holds channels q and q + 4 of rows 4h to 4h + 3.
  float8 a[8], b[8];
#pragma GCC unroll 4
  for (int j = 0; j < 8; j += 2) {
    a[j] = __builtin_shufflevector(r[j], r[j + 1], 0, 8, 1, 9, 4, 12, 5, 13);
    a[j + 1] = __builtin_shufflevector(r[j], r[j + 1], 2, 10, 3, 11, 6, 14, 7, 15);
  }
#pragma GCC unroll 2
  for (int j = 0; j < 8; j += 4) {
    b[j] = __builtin_shufflevector(a[j], a[j + 2], 0, 1, 8, 9, 4, 5, 12, 13);
    b[j + 1] = __builtin_shufflevector(a[j], a[j + 2], 2, 3, 10, 11, 6, 7, 14, 15);
    b[j + 2] = __builtin_shufflevector(a[j + 1], a[j + 3], 0, 1, 8, 9, 4, 5, 12, 13);
    b[j + 3] = __builtin_shufflevector(a[j + 1], a[j + 3], 2, 3, 10, 11, 6, 7, 14, 15);
  }
  float8 out[8];
#pragma GCC unroll 4
  for (int q = 0; q < 4; ++q) {
    out[q] = __builtin_shufflevector(b[q], b[q + 4], 0, 1, 2, 3, 8, 9, 10, 11);
    out[q + 4] = __builtin_shufflevector(b[q], b[q + 4], 4, 5, 6, 7, 12, 13, 14, 15);
  }
  if (kept == 8) {  // as all but a run's last: a fixed count keeps the channels in registers
#pragma GCC unroll 8
    for (int t = 0; t < 8; ++t) std::memcpy(dst + std::ptrdiff_t{tm} * t, &out[t], sizeof out[t]);
    return;
  }
  for (int u = 0; u < kept; ++u) std::memcpy(dst + std::ptrdiff_t{tm} * u, &out[first + u], sizeof out[0]);
}

// Channels [c_begin, c_begin + count), all below `channels`, of an interleaved float image for panels of 8 rows or
// more, in runs of 8 channels whatever tile_n is. A run's last window ends at the pixel's last channel, so that it
// reads nothing past the pixel; a pixel of fewer than 8 channels, and the rows past the last whole 8 of a panel
// (the last 4 of the AArch64 tile's 12), go one value at a time.
void pack_float_channels(const image_kernel_object<float>& k, int c_begin, int count, float* dst,
                         const float* const* pixel) {
  const int tm = k.tile_m;
  for (int t = 0; t < count; t += 8) {
    const int c = c_begin + t, kept = helper::MIN(8, count - t);
    float* const out = dst + std::ptrdiff_t{tm} * t;
    int i = 0;
    if (k.channels >= 8) {
      const int window = helper::MIN(c, k.channels - 8);
      for (; i + 8 <= tm; i += 8) transpose_8x8(pixel + i, window, c - window, kept, out + i, tm);
    }
    for (int u = 0; u < kept; ++u)
      for (int r = i; r < tm; ++r) out[u * tm + r] = pixel[r] == nullptr ? 0.0f : pixel[r][c + u];
  }
}

// The groups of an interleaved float image, `count` channels from c_begin; those at or beyond `channels` are zeros.
void pack_float_groups(const image_kernel_object<float>& k, int c_begin, int count, float* dst,
                       const float* const* pixel) {
  const int readable = helper::MAX(0, helper::MIN(count, k.channels - c_begin));
  pack_float_channels(k, c_begin, readable, dst, pixel);
  std::fill(dst + std::ptrdiff_t{k.tile_m} * readable, dst + std::ptrdiff_t{k.tile_m} * count, 0.0f);
}

template <typename T>
void pack_groups(const image_kernel_object<T>& k, int c_begin, int c_end, int p, int p_end, T* dst,
                 const T* const* pixel, std::ptrdiff_t step) {
  if constexpr (std::is_same_v<T, float>) {
    if (step == 1 && k.tile_m >= 8) {
      pack_float_groups(k, c_begin, group_channels(k.tile_n, c_begin, c_end, p, p_end), dst, pixel);
      return;
    }
  }
  if (!pack_groups_8x4(k, c_begin, c_end, p, p_end, dst, pixel, step))
    pack_groups_any(k, c_begin, c_end, p, p_end, dst, pixel, step);
}

// The first channel of each of the tile_m rows at a tap, or null, for an image whose pixel offsets are scaled by
// `pixel_step` (1 planar, channels interleaved).
template <typename T>
void row_pixels(const image_kernel_object<T>& k, const T* image, int x0, int y0, int row, int rows,
                std::ptrdiff_t pixel_step, const T** pixel) {
  std::ptrdiff_t offsets[image_kernel_object<T>::max_tile_m];
  k.pixel_offsets(x0, y0, row, rows, offsets);
  for (int i = 0; i < k.tile_m; ++i) pixel[i] = offsets[i] < 0 ? nullptr : image + pixel_step * offsets[i];
}

// Whether the rows read adjacent pixels of one image row, all inside: then a channel of a planar image is one run.
template <typename T>
bool adjacent_pixels(int tile_m, const T* const* pixel) {
  for (int i = 0; i < tile_m; ++i)
    if (pixel[i] == nullptr || pixel[i] != pixel[0] + i) return false;
  return true;
}

}  // namespace

template <typename T>
void image_kernel_object<T>::pack_channels_planar(int c_begin, int c_end, int p, int p_end, const T* image, T* dst,
                                                  int x0, int y0, int plane, int row, int rows) const {
  if (c_begin >= c_end || p >= p_end) return;
  const T* pixel[max_tile_m] = {};
  row_pixels(*this, image, x0, y0, row, rows, 1, pixel);
  if (!adjacent_pixels(tile_m, pixel)) {
    pack_groups(*this, c_begin, c_end, p, p_end, dst, pixel, plane);
    return;
  }
  const int count = group_channels(tile_n, c_begin, c_end, p, p_end);
  for (int c = c_begin; c < c_begin + count; ++c, dst += tile_m) {
    if (c < channels)
      std::memcpy(static_cast<void*>(dst), pixel[0] + std::ptrdiff_t{plane} * c, sizeof(T) * tile_m);
    else
      std::fill(dst, dst + tile_m, T(0));
  }
}

// The pixel offsets count pixels, each `channels` elements wide; `line` = image_width*channels is that row step.
template <typename T>
void image_kernel_object<T>::pack_channels_interleaved(int c_begin, int c_end, int p, int p_end, const T* image, T* dst,
                                                       int x0, int y0, int line, int row, int rows) const {
  (void)line;
  if (c_begin >= c_end || p >= p_end) return;
  const T* pixel[max_tile_m] = {};
  row_pixels(*this, image, x0, y0, row, rows, channels, pixel);
  pack_groups(*this, c_begin, c_end, p, p_end, dst, pixel, 1);
}

template <typename T>
void image_kernel_object<T>::pack_rest_channels(int c, int count, const T* image, T* dst, int x0, int y0,
                                                bool interleaved, int row, int rows) const {
  if (count < 1) return;
  const T* pixel[max_tile_m] = {};
  row_pixels(*this, image, x0, y0, row, rows, interleaved ? channels : 1, pixel);
  if constexpr (std::is_same_v<T, float>) {
    if (interleaved && tile_m % 8 == 0) {
      pack_float_channels(*this, c, count, dst, pixel);
      return;
    }
  }
  const std::ptrdiff_t step = interleaved ? 1 : std::ptrdiff_t{image_width} * image_height;
  for (int u = 0; u < count; ++u, dst += tile_m)
    for (int i = 0; i < tile_m; ++i) dst[i] = pixel[i] == nullptr ? T(0) : pixel[i][(c + u) * step];
}

namespace {

// Channel t of row i from pixel[i][t], stored at dst[t*tm + i]; Tm, when not 0, is tm fixed at compile time, so that
// the usual panels of 8 and 16 rows copy without a loop counter.
template <int Tm, typename T>
void copy_three_channels(const T* const* pixel, T* dst, int tm) {
  const int n = Tm > 0 ? Tm : tm;
  for (int t = 0; t < 3; ++t)
    for (int i = 0; i < n; ++i) dst[t * n + i] = pixel[i][t];
}

using float4 = float __attribute__((vector_size(16)));

// The three channels of rows [i0, i0 + 4), row i's pixel at pixel_of(i) read as 4 floats whose last is dropped: a
// 4 by 4 transpose in registers, channel t of row i stored at dst[t*tm + i - i0].
template <typename PixelOf>
void transpose_three_channels(PixelOf pixel_of, int i0, float* dst, int tm) {
  float4 r[4];
#pragma GCC unroll 4
  for (int u = 0; u < 4; ++u) std::memcpy(&r[u], pixel_of(i0 + u), sizeof r[u]);
  const float4 low01 = __builtin_shufflevector(r[0], r[1], 0, 4, 1, 5);
  const float4 low23 = __builtin_shufflevector(r[2], r[3], 0, 4, 1, 5);
  const float4 high01 = __builtin_shufflevector(r[0], r[1], 2, 6, 3, 7);
  const float4 high23 = __builtin_shufflevector(r[2], r[3], 2, 6, 3, 7);
  const float4 out[3] = {__builtin_shufflevector(low01, low23, 0, 1, 4, 5),
                         __builtin_shufflevector(low01, low23, 2, 3, 6, 7),
                         __builtin_shufflevector(high01, high23, 0, 1, 4, 5)};
#pragma GCC unroll 3
  for (int t = 0; t < 3; ++t) std::memcpy(dst + std::ptrdiff_t{tm} * t, &out[t], sizeof out[t]);
}

}  // namespace

// Rows that read zeros take them from a pixel of zeros, so the copy has no branch. Panels inside the image and one
// output row, as most are, find their pixels a stride apart from one division. Float panels of 4, 8, ... rows read
// each pixel as 4 floats where the image goes on after the furthest pixel read.
template <typename T>
void image_kernel_object<T>::pack_three_channels(const T* image, T* dst, int x0, int y0, int line, int row,
                                                 int rows) const {
  (void)line;
  // `reach`: one past the last element of the image that the rows' pixels hold.
  const auto vector_form = [&](auto pixel_of, std::ptrdiff_t reach) {
    if constexpr (std::is_same_v<T, float>) {
      if (tile_m % 4 == 0 && reach < 3 * std::ptrdiff_t{image_width} * image_height) {
        for (int i = 0; i < tile_m; i += 4) transpose_three_channels(pixel_of, i, dst + i, tile_m);
        return true;
      }
    }
    return false;
  };
  const T zeros[4] = {};
  const T* pixel[max_tile_m];
  const int ox = output_width > 0 ? row % output_width : 0, oy = output_width > 0 ? row / output_width : 0;
  const std::ptrdiff_t x = x0 + std::ptrdiff_t{stride} * ox, y = y0 + std::ptrdiff_t{stride} * oy;
  const std::ptrdiff_t x_last = x + std::ptrdiff_t{stride} * (tile_m - 1);
  if (output_width > 0 && row + tile_m <= rows && ox + tile_m <= output_width && std::min(x, x_last) >= 0 &&
      std::max(x, x_last) < image_width && y >= 0 && y < image_height) {
    const T* const from = image + 3 * (x + std::ptrdiff_t{image_width} * y);
    const std::ptrdiff_t step = 3 * std::ptrdiff_t{stride};
    const auto pixel_of = [from, step](int i) { return from + step * i; };
    if (vector_form(pixel_of, 3 * (std::max(x, x_last) + std::ptrdiff_t{image_width} * y) + 3)) return;
    for (int i = 0; i < tile_m; ++i) pixel[i] = pixel_of(i);
  } else {
    std::ptrdiff_t offsets[max_tile_m], reach = 0;
    pixel_offsets(x0, y0, row, rows, offsets);
    for (int i = 0; i < tile_m; ++i) {
      pixel[i] = offsets[i] < 0 ? zeros : image + 3 * offsets[i];
      reach = std::max(reach, 3 * offsets[i] + 3);
    }
    if (vector_form([&pixel](int i) { return pixel[i]; }, reach)) return;
  }
  if (tile_m == 16)
    copy_three_channels<16>(pixel, dst, tile_m);
  else if (tile_m == 8)
    copy_three_channels<8>(pixel, dst, tile_m);
  else
    copy_three_channels<0>(pixel, dst, tile_m);
}

template class image_kernel_object<float>;
template class image_kernel_object<double>;
template class image_kernel_object<std::complex<float>>;
template class image_kernel_object<std::complex<double>>;

}  // namespace kovra::kernels
