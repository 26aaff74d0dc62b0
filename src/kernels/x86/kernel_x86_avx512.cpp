// The x86 bodies on AVX-512 F. This file alone is built for that instruction set (see src/CMakeLists.txt);
// the selection reaches it only on processors that report it, with AVX2 and FMA, and whose operating system
// saves the opmask and 512-bit registers.
#include "kernels/x86/x86_avx512_vectors.h"

#if !defined(__AVX512F__)
#error "this file needs AVX-512 F (-mavx512f), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {

template struct vector_ops<float, x86_tile<avx512, float>>;
template struct vector_ops<double, x86_tile<avx512, double>>;
template struct vector_ops<std::complex<float>, x86_tile<avx512, float>>;
template struct vector_ops<std::complex<double>, x86_tile<avx512, double>>;

}  // namespace kovra::kernels
