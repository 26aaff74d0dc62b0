// image_kernel_object<T>: what a tile packer of kernel_object<T> is to a matrix, for the patches of an image. It
// writes part of a packed A block of the convolution's product, reading the elements of the patch matrix straight
// from the image and applying padding and stride as it reads, so that no patch matrix exists in memory.
//
// Row r of the patch matrix is the output pixel (r % output_width, r / output_width); at one tap of the filter,
// x0 and y0 being the tap's column and row less the padding, its value for channel c is the image element at
//
//   x = x0 + stride*(r % output_width),  y = y0 + stride*(r / output_width)
//
// or zero where x or y lies outside the image, or r at or beyond `rows` (the row count of the patch matrix). The
// image is planar (element (x, y, c) at x + image_width*y + c*plane, plane = image_width*image_height) or
// interleaved (at c + channels*x + line*y, line = image_width*channels).
//
// Each operation writes, at one tap, for tile_m consecutive rows from `row`, values channel after channel, each
// channel as tile_m consecutive elements of dst: the packed A panel layout, one step of depth per channel.
//
// pack_channels_planar / pack_channels_interleaved(c_begin, c_end, p, p_end, ...): from channel c_begin at depth
// position p, whole groups of tile_n channels while the channel is below c_end and the position below p_end. A
// group that the run's end cuts is still written whole, up to tile_n - 1 channels past p_end: the walker counts
// only what it uses, the next run overwrites the rest, and the block's room in the scratch takes the last of it.
// Channels of a group at or beyond `channels` are written as zeros, so nothing outside the image is read.
//
// pack_three_channels: the three channels of an interleaved image with channels = 3, 3*tile_m elements.
#pragma once

#include <complex>
#include <cstddef>

namespace kovra::kernels {

template <typename T>
class image_kernel_object {
 public:
  virtual ~image_kernel_object() = default;

  int tile_m = 0;  // rows per panel, of the owning kernel
  int tile_n = 0;  // channels per group, of the owning kernel
  int tile_size = 0;
  int image_width = 0;
  int image_height = 0;
  int output_width = 0;
  int output_height = 0;
  int stride = 0;
  int pad_left = 0;
  int pad_top = 0;
  int channels = 0;
  int filter_x = 0;
  int filter_y = 0;

  // The numbers of one convolution: the tile numbers of the kernel that makes the object, and the shape.
  void set_shape(int tile_m, int tile_n, int image_width, int image_height, int output_width, int output_height,
                 int stride, int pad_left, int pad_top, int channels, int filter_x, int filter_y);

  virtual void pack_channels_planar(int c_begin, int c_end, int p, int p_end, const T* image, T* dst, int x0, int y0,
                                    int plane, int row, int rows) const;
  virtual void pack_channels_interleaved(int c_begin, int c_end, int p, int p_end, const T* image, T* dst, int x0,
                                         int y0, int line, int row, int rows) const;
  virtual void pack_three_channels(const T* image, T* dst, int x0, int y0, int line, int row, int rows) const;

  // Channels [c, c + count), all below `channels`, of the tile_m rows at a tap, tile_m elements each: what the
  // walkers store after the groups, each channel with the value rule above.
  void pack_rest_channels(int c, int count, const T* image, T* dst, int x0, int y0, bool interleaved, int row,
                          int rows) const;

  // Where the tile_m rows from `row` read at a tap: the offset of their pixel in the image counted in pixels
  // (x + image_width*y), or -1 where the value is zero. At most max_tile_m rows: the tallest tile of any kernel,
  // 32 rows of float on AVX-512.
  static constexpr int max_tile_m = 32;
  void pixel_offsets(int x0, int y0, int row, int rows, std::ptrdiff_t* offsets) const;
};

extern template class image_kernel_object<float>;
extern template class image_kernel_object<double>;
extern template class image_kernel_object<std::complex<float>>;
extern template class image_kernel_object<std::complex<double>>;

}  // namespace kovra::kernels
