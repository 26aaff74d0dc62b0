// Default bodies of image_kernel_object<T>: the portable path and the meaning of each operation. The position of
// a row's pixel costs a division by output_width, so it is worked out once per row and call, not per element.
#include "kernels/image_kernel_object.h"

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

template <typename T>
void image_kernel_object<T>::pixel_offsets(int x0, int y0, int row, int rows, std::ptrdiff_t* offsets) const {
  for (int i = 0; i < tile_m; ++i) {
    const int r = row + i;
    offsets[i] = -1;
    if (r >= rows) continue;
    const std::ptrdiff_t x = x0 + std::ptrdiff_t{stride} * (r % output_width);
    const std::ptrdiff_t y = y0 + std::ptrdiff_t{stride} * (r / output_width);
    if (x < 0 || x >= image_width || y < 0 || y >= image_height) continue;
    offsets[i] = x + std::ptrdiff_t{image_width} * y;
  }
}

namespace {

// Whole groups of tile_n channels from c_begin while the channel is below c_end and the position below p_end; the
// value of row i and channel c comes from at(offset of row i, c) where the row's pixel is in the image.
template <typename T, typename At>
void pack_groups(const image_kernel_object<T>& k, int c_begin, int c_end, int p, int p_end, T* dst, int x0, int y0,
                 int row, int rows, At at) {
  if (c_begin >= c_end || p >= p_end) return;
  std::ptrdiff_t offsets[image_kernel_object<T>::max_tile_m];
  k.pixel_offsets(x0, y0, row, rows, offsets);
  for (int c = c_begin; c < c_end && p < p_end; c += k.tile_n, p += k.tile_n) {
    for (int t = 0; t < k.tile_n; ++t) {
      const int channel = c + t;
      for (int i = 0; i < k.tile_m; ++i)
        *dst++ = offsets[i] < 0 || channel >= k.channels ? T(0) : at(offsets[i], channel);
    }
  }
}

}  // namespace

template <typename T>
void image_kernel_object<T>::pack_channels_planar(int c_begin, int c_end, int p, int p_end, const T* image, T* dst,
                                                  int x0, int y0, int plane, int row, int rows) const {
  pack_groups(*this, c_begin, c_end, p, p_end, dst, x0, y0, row, rows,
              [&](std::ptrdiff_t pixel, int c) { return image[pixel + std::ptrdiff_t{plane} * c]; });
}

template <typename T>
void image_kernel_object<T>::pack_channels_interleaved(int c_begin, int c_end, int p, int p_end, const T* image, T* dst,
                                                       int x0, int y0, int line, int row, int rows) const {
  // The pixel offset counts pixels; a pixel of an interleaved image is `channels` elements wide. `line` is
  // image_width*channels, so the row step is already in the offset.
  (void)line;
  pack_groups(*this, c_begin, c_end, p, p_end, dst, x0, y0, row, rows,
              [&](std::ptrdiff_t pixel, int c) { return image[c + std::ptrdiff_t{channels} * pixel]; });
}

template <typename T>
void image_kernel_object<T>::pack_three_channels(const T* image, T* dst, int x0, int y0, int line, int row,
                                                 int rows) const {
  (void)line;
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
