// convolution_mm: a bank of square filters applied to an image as one matrix product C = A*B (or C += A*B), with
// A the patch matrix (row m an output pixel, column k = (fy*filter_x + fx)*channels + c a tap of a channel), B the
// filters (filter n's tap k at filters[n + k*filter_count]) and C the output. The patch matrix never exists: each
// task packs its block of A from the image through the image kernel, straight into the packed A block of the
// matrix products' loop, and reuses it for all its column blocks.
#pragma once

#include <memory>

#include "kernels/image_kernel_object.h"
#include "kernels/kernel_object.h"
#include "threading/scratch.h"

namespace kovra::parallel::extension {

// The per-call record and tile body. output_format 0 writes C by columns (one output plane per filter, element
// (m, n) at output[m + n*ldc]) through micro_kernel with alpha 1; 1 writes it by rows (the filters of a pixel
// adjacent, at output[n + m*ldc]) through micro_kernel_t, which stores the tile transposed.
template <typename T>
struct convolution_mm_object {
  const T* image;
  const T* filters;
  int ldb;
  T* output;
  int ldc;
  int depth;
  std::shared_ptr<kernels::kernel_object<T>> kernel;
  std::shared_ptr<kernels::image_kernel_object<T>> image_kernel;
  unsigned int input_format;
  unsigned int output_format;
  bool accumulate;

  // Output pixels [m_begin, m_end) by filters [n_begin, n_end). Without accumulate the first depth block stores
  // and later ones add; with it every block adds.
  void run_tile(threading::scratch* s, int m_begin, int m_end, int n_begin, int n_end) const;
};

// The call on checked arguments: the product of the M = output_width*output_height pixels by the filter_count
// filters over K = filter_x*filter_x*channels taps, split over the workers along one dimension of C. Nothing
// is done if M, N or K is below 1.
void convolution_mm_float(unsigned int input_format, unsigned int output_format, bool accumulate, const float* image,
                          int image_width, int image_height, int channels, const float* filters, int filter_count,
                          int filter_x, int pad_left, int stride, float* output, int output_width, int output_height);

}  // namespace kovra::parallel::extension
