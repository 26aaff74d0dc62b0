// Default bodies of image_kernel_object<T>: the portable path and the meaning of each operation. The position of
// a row's pixel costs a division by output_width, so the rows of a call are worked out once, from one division.
#include "kernels/image_kernel_object.h"

#include <cstring>

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

// The plain kernel's 8 by 4 groups of an interleaved image, the channels of a pixel adjacent: with the sizes fixed
// the compiler moves each group as a block. Returns false for any other shape.
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

template <typename T>
void pack_groups(const image_kernel_object<T>& k, int c_begin, int c_end, int p, int p_end, T* dst,
                 const T* const* pixel, std::ptrdiff_t step) {
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

}  // namespace

template <typename T>
void image_kernel_object<T>::pack_channels_planar(int c_begin, int c_end, int p, int p_end, const T* image, T* dst,
                                                  int x0, int y0, int plane, int row, int rows) const {
  if (c_begin >= c_end || p >= p_end) return;
  const T* pixel[max_tile_m] = {};
  row_pixels(*this, image, x0, y0, row, rows, 1, pixel);
  pack_groups(*this, c_begin, c_end, p, p_end, dst, pixel, plane);
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
void image_kernel_object<T>::pack_three_channels(const T* image, T* dst, int x0, int y0, int line, int row,
                                                 int rows) const {
  (void)line;
  if (tile_m == 8 && output_width > 0 && row + 8 <= rows) {
    // The plain kernel's panels inside the image and one output row, as most are: eight pixels a stride apart.
    const int ox = row % output_width, oy = row / output_width;
    const std::ptrdiff_t x = x0 + std::ptrdiff_t{stride} * ox, y = y0 + std::ptrdiff_t{stride} * oy;
    if (ox + 8 <= output_width && x >= 0 && x + 7 * std::ptrdiff_t{stride} < image_width && y >= 0 &&
        y < image_height) {
      const T* const from = image + 3 * (x + std::ptrdiff_t{image_width} * y);
      const std::ptrdiff_t step = 3 * std::ptrdiff_t{stride};
      for (int t = 0; t < 3; ++t)
        for (int i = 0; i < 8; ++i) dst[t * 8 + i] = from[t + step * i];
      return;
    }
  }
  std::ptrdiff_t offsets[max_tile_m];
  pixel_offsets(x0, y0, row, rows, offsets);
  for (int t = 0; t < 3; ++t)
    for (int i = 0; i < tile_m; ++i) *dst++ = offsets[i] < 0 ? T(0) : image[t + 3 * offsets[i]];
}

template class image_kernel_object<float>;
template class image_kernel_object<double>;
template class image_kernel_object<std::complex<float>>;
template class image_kernel_object<std::complex<double>>;

}  // namespace kovra::kernels
