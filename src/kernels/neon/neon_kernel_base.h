// neon_kernel_base<T>: what every NEON kernel class shares. The constructor takes the block sizes and
// the class's own tile numbers; for float and double it also brings the unrolled tile packers, which
// write exactly the bytes of the default bodies (neon_packers.cpp, built for the NEON baseline, so one
// copy serves the kernels of every arithmetic). The complex kernels keep the default packers.
#pragma once

#include <complex>

#include "kernels/blocking.h"
#include "kernels/kernel_object.h"
#include "platform.h"

#if KOVRA_ARM32

namespace kovra::kernels {

template <typename T> class neon_kernel_base : public kernel_object<T> {
 public:
  neon_kernel_base(int block_m, int block_n, int block_k, const kernel_blocking& tiles)
      : kernel_object<T>(block_m, block_n, block_k, tiles.tile_m, tiles.tile_n, tiles.reserved_hint) {}

  void pack_a(const T* src, int ld, T* dst) const override;
  void pack_a_trans(const T* src, int ld, T* dst) const override;
  void pack_b_trans(const T* src, int ld, T* dst) const override;
  void pack_b(const T* src, int ld, T* dst) const override;
};

template <typename R> class neon_kernel_base<std::complex<R>> : public kernel_object<std::complex<R>> {
 public:
  neon_kernel_base(int block_m, int block_n, int block_k, const kernel_blocking& tiles)
      : kernel_object<std::complex<R>>(block_m, block_n, block_k, tiles.tile_m, tiles.tile_n, tiles.reserved_hint) {}
};

extern template class neon_kernel_base<float>;
extern template class neon_kernel_base<double>;

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
