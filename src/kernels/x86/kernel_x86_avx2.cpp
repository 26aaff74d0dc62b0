// The x86 bodies on AVX2 with FMA. This file alone is built for that instruction set (see
// src/CMakeLists.txt); the selection reaches it only on processors that report both extensions and whose
// operating system saves the 256-bit registers.
#include "kernels/x86/x86_avx2_vectors.h"

#if !defined(__AVX2__) || !defined(__FMA__)
#error "this file needs AVX2 and FMA (-mavx2 -mfma), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {

template struct vector_ops<float, x86_tile<avx2_fma, float>>;
template struct vector_ops<double, x86_tile<avx2_fma, double>>;
template struct vector_ops<std::complex<float>, x86_tile<avx2_fma, float>>;
template struct vector_ops<std::complex<double>, x86_tile<avx2_fma, double>>;

}  // namespace kovra::kernels
