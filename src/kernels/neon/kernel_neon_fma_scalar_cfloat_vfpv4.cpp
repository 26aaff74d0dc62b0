// kernel_neon_fma_scalar<complex<float>>: the 8 by 4 float micro kernel run on the interleaved parts of
// 4 by 2 complex panels, with the complex product and alpha applied once per tile. Built with VFPv4
// enabled; reached only on processors that report it.
#include <arm_neon.h>

#include <complex>
#include <memory>

#include "kernels/neon/kernel_neon_fma_scalar_complex.h"
#include "kernels/neon/neon_cfloat_tile_end.h"
#include "kernels/neon/neon_float_tile_vfpv4.h"

#if !defined(__ARM_FEATURE_FMA)
#error "this file needs the VFPv4 fused multiply-add (-mfpu=neon-vfpv4), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

using cfloat = std::complex<float>;

// The real loop's tile, in floats: an A step is 4 complex rows, a B step 2 complex columns.
constexpr int mr = 8;
constexpr int nr = 4;
static_assert(fma_scalar_blocking<cfloat>::value.tile_m * 2 == mr && fma_scalar_blocking<cfloat>::value.tile_n * 2 == nr);
static_assert(sizeof(cfloat) == 2 * sizeof(float), "panels are interleaved real and imaginary parts");
// One A step is 32 bytes and one B step 16, so aligned panels stay aligned step by step.
static_assert(mr * sizeof(float) == 32 && nr * sizeof(float) == 16);

}  // namespace

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + that. Per half column, two complex
// elements: T = R + swapneg(I) is the product (a.re b.re - a.im b.im, a.im b.re + a.re b.im), then
// alpha's parts scale it, P = alpha.re * T and Q = alpha.im * T, and the result is (P + C) + swapneg(Q),
// or P + swapneg(Q) with no read of C when clear is set. All plain, unfused operations (the end step of
// neon_cfloat_tile_end.h).
void kernel_neon_fma_scalar<cfloat>::micro_kernel(const cfloat* alpha, int k, const cfloat* a, const cfloat* b,
                                                  cfloat* c, int ldc, bool clear) const {
  static_assert(tiles.tile_n == 2);
  if (!clear)
    for (int j = 0; j < tiles.tile_n; ++j) __builtin_prefetch(c + j * ldc);
  const neon_vfpv4::tile_accumulators t =
      neon_vfpv4::tile_product(k, reinterpret_cast<const float*>(a), reinterpret_cast<const float*>(b));
  const float32x4_t acc[nr][2] = {{t.c0_lo, t.c0_hi}, {t.c1_lo, t.c1_hi}, {t.c2_lo, t.c2_hi}, {t.c3_lo, t.c3_hi}};
  neon_cfloat::store_complex_tile(acc, alpha, c, ldc, clear);
}

template <> std::shared_ptr<kernel_object<cfloat>> make_kernel_neon_fma_scalar<cfloat>() {
  constexpr kernel_blocking numbers = fma_scalar_blocking<cfloat>::value;
  return std::make_shared<kernel_neon_fma_scalar<cfloat>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels
