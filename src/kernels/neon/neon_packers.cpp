// The tile packers of the float and double NEON kernels: 8 by 4 float tiles moved as quad registers,
// 4 by 4 double blocks loaded whole before any of it is stored. Built for the NEON baseline, so the
// kernels of every arithmetic share this one copy.
#include "kernels/neon/neon_kernel_base.h"

#if KOVRA_ARM32

#include <type_traits>

#include "kernels/neon/neon_real_bodies.h"

#if defined(__ARM_FEATURE_FMA)
#error "this file must keep the NEON baseline: it runs on cores without VFPv4, see src/CMakeLists.txt"
#endif

namespace kovra::kernels {

template <typename T> void neon_kernel_base<T>::pack_a(const T* src, int ld, T* dst) const {
  if constexpr (std::is_same_v<T, float>) neon_real::pack_a_8x4(src, ld, dst);
  else neon_real::block4(src, ld).store(dst);
}
template <typename T> void neon_kernel_base<T>::pack_a_trans(const T* src, int ld, T* dst) const {
  if constexpr (std::is_same_v<T, float>) neon_real::pack_a_trans_8x4(src, ld, dst);
  else neon_real::block4(src, ld).store_transposed(dst);
}
template <typename T> void neon_kernel_base<T>::pack_b_trans(const T* src, int ld, T* dst) const {
  if constexpr (std::is_same_v<T, float>) neon_real::pack_b_trans_8x4(src, ld, dst);
  else neon_real::block4(src, ld).store(dst);
}
template <typename T> void neon_kernel_base<T>::pack_b(const T* src, int ld, T* dst) const {
  if constexpr (std::is_same_v<T, float>) neon_real::pack_b_8x4(src, ld, dst);
  else neon_real::block4(src, ld).store_transposed(dst);
}

template class neon_kernel_base<float>;
template class neon_kernel_base<double>;

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
