// The x86 bodies on AVX2 with FMA. This file alone is built for that instruction set (see
// src/CMakeLists.txt); the selection reaches it only on processors that report both extensions and whose
// operating system saves the 256-bit registers.
#include "kernels/x86/x86_avx2_vectors.h"

#if !defined(__AVX2__) || !defined(__FMA__)
#error "this file needs AVX2 and FMA (-mavx2 -mfma), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {

template struct x86_ops<float, avx2_fma>;
template struct x86_ops<double, avx2_fma>;
template struct x86_ops<std::complex<float>, avx2_fma>;
template struct x86_ops<std::complex<double>, avx2_fma>;

}  // namespace kovra::kernels
