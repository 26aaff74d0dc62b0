// kernel_neon_fma_scalar<complex<double>>: the 4 by 4 double micro kernel run on the interleaved parts
// of 2 by 2 complex panels, with the complex product and alpha applied once per tile. The arithmetic
// runs on the VFP unit, built with VFPv4 enabled; reached only on processors that report it.
#include <complex>
#include <memory>

#include "kernels/neon/kernel_neon_fma_scalar_complex.h"
#include "kernels/neon/neon_double_tile.h"

#if !defined(__ARM_FEATURE_FMA)
#error "this file needs the VFPv4 fused multiply-add (-mfpu=neon-vfpv4), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

using cdouble = std::complex<double>;

// The real loop's tile, in doubles: an A step is 2 complex rows, a B step 2 complex columns.
static_assert(fma_scalar_blocking<cdouble>::value.tile_m * 2 == neon_double::mr &&
              fma_scalar_blocking<cdouble>::value.tile_n * 2 == neon_double::nr);
static_assert(sizeof(cdouble) == 2 * sizeof(double), "panels are interleaved real and imaginary parts");

}  // namespace

// C (columns ldc apart) = alpha' * A_panel * B_panel, or C + that, where alpha' = alpha.re * (1 + i
// alpha.im): the end step scales both parts of the sum by alpha.re first and multiplies those scaled
// values by alpha.im. The sums accumulate from +0 with one fused multiply-add per term, A one step ahead
// in two quadruples of registers (A step k is read and not used), k mod 4 single steps, then groups of
// four. Everything after the sums is plain multiplication and addition.
void kernel_neon_fma_scalar<cdouble>::micro_kernel(const cdouble* alpha, int k, const cdouble* a, const cdouble* b,
                                                   cdouble* c, int ldc, bool clear) const {
  double acc[neon_double::nr][neon_double::mr] = {};
  const double* ap = reinterpret_cast<const double*>(a);
  const double* bp = reinterpret_cast<const double*>(b);
  neon_double::tile_product<neon_double::fused_term>(acc, k, ap, bp);
  neon_double::store_complex_tile(acc, alpha, c, ldc, clear);
}

template <> std::shared_ptr<kernel_object<cdouble>> make_kernel_neon_fma_scalar<cdouble>() {
  constexpr kernel_blocking numbers = fma_scalar_blocking<cdouble>::value;
  return std::make_shared<kernel_neon_fma_scalar<cdouble>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels
