// kernel_neon_fma<double>: the shared unrolled packers and a 4 by 4 micro kernel on the VFP unit, which
// multiplies each A step by the four B elements in turn. Built with VFPv4 enabled; reached only through
// make_kernel_neon_fma<double>, on processors that report it.
#include <memory>

#include "kernels/neon/kernel_neon_fma.h"
#include "kernels/neon/neon_double_tile.h"
#include "kernels/neon/neon_real_bodies.h"

#if !defined(__ARM_FEATURE_FMA)
#error "this file needs the VFPv4 fused multiply-add (-mfpu=neon-vfpv4), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

using neon_double::mr;
using neon_double::nr;
static_assert(fma_blocking<double>::value.tile_m == mr && fma_blocking<double>::value.tile_n == nr);

}  // namespace

void kernel_neon_fma<double>::pack_a(const double* src, int ld, double* dst) const {
  neon_real::block4(src, ld).store(dst);
}
void kernel_neon_fma<double>::pack_a_trans(const double* src, int ld, double* dst) const {
  neon_real::block4(src, ld).store_transposed(dst);
}
void kernel_neon_fma<double>::pack_b_trans(const double* src, int ld, double* dst) const {
  neon_real::block4(src, ld).store(dst);
}
void kernel_neon_fma<double>::pack_b(const double* src, int ld, double* dst) const {
  neon_real::block4(src, ld).store_transposed(dst);
}

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + that. The sixteen accumulators start from
// +0; A runs one step ahead in two quadruples of registers, so A step k is read and not used. Steps run
// as k mod 4 singles, then groups of four. At the end each accumulator is multiplied by alpha, and
// unless clear is set C is added with a plain addition; with clear, C is not read.
void kernel_neon_fma<double>::micro_kernel(const double* alpha, int k, const double* a, const double* b,
                                           double* c, int ldc, bool clear) const {
  double acc[nr][mr] = {};
  neon_double::tile_product<neon_double::fused_term>(acc, k, a, b);
  const double al = *alpha;
  for (int j = 0; j < nr; ++j) {
    double* const cj = c + j * ldc;
    for (int i = 0; i < mr; ++i) {
      const double scaled = acc[j][i] * al;
      cj[i] = clear ? scaled : scaled + cj[i];
    }
  }
}

template <> std::shared_ptr<kernel_object<double>> make_kernel_neon_fma<double>() {
  constexpr kernel_blocking numbers = fma_blocking<double>::value;
  return std::make_shared<kernel_neon_fma<double>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels
