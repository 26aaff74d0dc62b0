// kernel_neon_mla<complex<float>>: the 8 by 4 float multiply-accumulate loop run on the interleaved parts
// of 4 by 2 complex panels, with the complex product and alpha applied once per tile. Built for the NEON
// baseline; runs on every ARMv7 NEON core.
#include "kernels/neon/kernel_neon_mla_complex.h"

#if KOVRA_ARM32

#include <arm_neon.h>

#include <complex>
#include <memory>

#include "kernels/neon/neon_cfloat_tile_end.h"
#include "kernels/neon/neon_float_tile_mla.h"

#if defined(__ARM_FEATURE_FMA)
#error "this file must keep the NEON baseline: it runs on cores without VFPv4, see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

using cfloat = std::complex<float>;

// The real loop's tile, in floats: an A step is 4 complex rows, a B step 2 complex columns. In the
// tile's accumulators acc[j][h] (lanes 4h to 4h + 3 of the interleaved A step times B lane j, summed
// over the steps) the lanes of B are b0.re, b0.im, b1.re, b1.im, so acc[0], acc[1], acc[2], acc[3] are
// R[0], I[0], R[1], I[1].
static_assert(mla_blocking<cfloat>::value.tile_m * 2 == neon_mla::mr &&
              mla_blocking<cfloat>::value.tile_n * 2 == neon_mla::nr);
static_assert(sizeof(cfloat) == 2 * sizeof(float), "panels are interleaved real and imaginary parts");

}  // namespace

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + that. Per half column, two complex
// elements: T = R + swapneg(I) is the product, P = alpha.re * T and Q = alpha.im * T, and the result is
// (P + C) + swapneg(Q), or P + swapneg(Q) with no read of C when clear is set (the end step of
// neon_cfloat_tile_end.h). C is touched once, at the end, and is not prefetched.
void kernel_neon_mla<cfloat>::micro_kernel(const cfloat* alpha, int k, const cfloat* a, const cfloat* b, cfloat* c,
                                           int ldc, bool clear) const {
  static_assert(tiles.tile_n == 2);
  const neon_mla::tile_accumulators t =
      neon_mla::tile_product(k, reinterpret_cast<const float*>(a), reinterpret_cast<const float*>(b));
  // Passed as a fresh array, which GCC keeps in registers through the end step.
  const float32x4_t acc[4][2] = {{t.acc[0][0], t.acc[0][1]}, {t.acc[1][0], t.acc[1][1]},
                                 {t.acc[2][0], t.acc[2][1]}, {t.acc[3][0], t.acc[3][1]}};
  neon_cfloat::store_complex_tile(acc, alpha, c, ldc, clear);
}

template <> std::shared_ptr<kernel_object<cfloat>> make_kernel_neon_mla<cfloat>() {
  constexpr kernel_blocking numbers = mla_blocking<cfloat>::value;
  return std::make_shared<kernel_neon_mla<cfloat>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
