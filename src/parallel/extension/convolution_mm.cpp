// The tile body of convolution_mm_object and the call's set-up: the image kernel of this call, the split and
// the launch.
#include "parallel/extension/convolution_mm.h"

#include <cstddef>
#include <cstdint>

#include "kernels/get_kernel.h"
#include "parallel/blas/level3/block_driver.h"
#include "parallel/blas/level3/packing.h"
#include "parallel/extension/image_packing.h"
#include "threading/launch.h"

namespace kovra::parallel::extension {

template <typename T>
void convolution_mm_object<T>::run_tile(threading::scratch* s, int m_begin, int m_end, int n_begin, int n_end) const {
  const kernels::kernel_object<T>& kern = *kernel;
  const kernels::image_kernel_object<T>& patches = *image_kernel;
  const auto pack_a = [&](T* packed, int i, int l, int mb, int kb) {
    if (input_format == 0)
      pack_image_planar(patches, i, l, image, packed, mb, kb);
    else
      pack_image_interleaved(patches, i, l, image, packed, mb, kb);
  };
  // The filters as op(B) = B^T: nb filters (contiguous) by kb taps, ldb apart.
  const auto pack_b = [&](T* packed, int l, int j, int kb, int nb) {
    blas::pack_b_trans_block(kern, filters + j + std::ptrdiff_t{ldb} * l, ldb, packed, nb, kb);
  };
  const blas::block_buffers<T> buffers(kern, s);
  if (output_format == 0)
    blas::run_blocks(kern, buffers, m_begin, m_end, n_begin, n_end, depth, !accumulate, pack_a, pack_b,
                     blas::column_major_store<T>{output, ldc, T(1)});
  else
    blas::run_blocks(kern, buffers, m_begin, m_end, n_begin, n_end, depth, !accumulate, pack_a, pack_b,
                     blas::row_major_store<T>{output, ldc});
}

template struct convolution_mm_object<float>;

void convolution_mm_float(unsigned int input_format, unsigned int output_format, bool accumulate, const float* image,
                          int image_width, int image_height, int channels, const float* filters, int filter_count,
                          int filter_x, int pad_left, int stride, float* output, int output_width, int output_height) {
  const long long m = static_cast<long long>(output_width) * output_height;
  const long long k = static_cast<long long>(filter_x) * filter_x * channels;
  const int n = filter_count;
  if (m < 1 || k < 1 || n < 1 || m > INT32_MAX || k > INT32_MAX) return;
  const auto kernel = kernels::get_kernel<float>();
  // This call's own image kernel, of the class the kernel's make_image_kernel would cache, so that calls of
  // other shapes running at the same time never see these numbers.
  const auto patches = kernel->new_image_kernel();
  patches->set_shape(kernel->tile_m, kernel->tile_n, image_width, image_height, output_width, output_height, stride,
                     pad_left, pad_left, channels, filter_x, filter_x);
  const int rows = static_cast<int>(m);
  const convolution_mm_object<float> record{.image = image,
                                            .filters = filters,
                                            .ldb = n,
                                            .output = output,
                                            .ldc = output_format == 0 ? rows : n,
                                            .depth = static_cast<int>(k),
                                            .kernel = kernel,
                                            .image_kernel = patches,
                                            .input_format = input_format,
                                            .output_format = output_format,
                                            .accumulate = accumulate};
  // Split one dimension of C only, as the matrix products do: few pixels split the filters.
  if (rows <= 4 * kernel->tile_m)
    threading::launch_grid(rows, rows, n, kernel->tile_n, &record);
  else
    threading::launch_grid(rows, kernel->tile_m, n, n, &record);
}

}  // namespace kovra::parallel::extension
