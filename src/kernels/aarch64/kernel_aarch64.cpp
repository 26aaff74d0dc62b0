// The AArch64 kernels' bodies: the shared vector bodies over the NEON registers and this set's tile products.
#include "platform.h"

#if KOVRA_AARCH64

#include "kernels/aarch64/aarch64_double_tile.h"
#include "kernels/aarch64/aarch64_float_tile.h"
#include "kernels/vector_kernel_bodies.h"

namespace kovra::kernels {

template struct vector_ops<float, aarch64_tile<float>>;
template struct vector_ops<double, aarch64_tile<double>>;
template struct vector_ops<std::complex<float>, aarch64_tile<float>>;
template struct vector_ops<std::complex<double>, aarch64_tile<double>>;

}  // namespace kovra::kernels

#endif  // KOVRA_AARCH64
