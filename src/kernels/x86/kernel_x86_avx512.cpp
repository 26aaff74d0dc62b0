// The x86 bodies on AVX-512 F. This file alone is built for that instruction set (see src/CMakeLists.txt);
// the selection reaches it only on processors that report it, with AVX2 and FMA, and whose operating system
// saves the opmask and 512-bit registers.
#include "kernels/x86/x86_avx512_vectors.h"

#if !defined(__AVX512F__)
#error "this file needs AVX-512 F (-mavx512f), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {

template struct x86_ops<float, avx512>;
template struct x86_ops<double, avx512>;
template struct x86_ops<std::complex<float>, avx512>;
template struct x86_ops<std::complex<double>, avx512>;

}  // namespace kovra::kernels
