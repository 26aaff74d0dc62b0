// kernel_neon_fma_scalar<double>: unrolled packers, a register-resident 4 by 4 micro kernel and vector
// kernels in pairs. ARMv7 NEON has no double lanes, so the arithmetic runs on the VFP unit, whose
// VFPv4 fused multiply-add this file is built for; reached only on processors that report it.
#include <memory>

#include "kernels/neon/kernel_neon_fma_scalar.h"
#include "kernels/neon/neon_double_tile.h"
#include "kernels/neon/neon_real_bodies.h"

#if !defined(__ARM_FEATURE_FMA)
#error "this file needs the VFPv4 fused multiply-add (-mfpu=neon-vfpv4), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

using neon_double::mr;
using neon_double::nr;
static_assert(fma_scalar_blocking<double>::value.tile_m == mr && fma_scalar_blocking<double>::value.tile_n == nr);

}  // namespace

void kernel_neon_fma_scalar<double>::pack_a(const double* src, int ld, double* dst) const {
  neon_real::block4(src, ld).store(dst);
}
void kernel_neon_fma_scalar<double>::pack_a_trans(const double* src, int ld, double* dst) const {
  neon_real::block4(src, ld).store_transposed(dst);
}
void kernel_neon_fma_scalar<double>::pack_b_trans(const double* src, int ld, double* dst) const {
  neon_real::block4(src, ld).store(dst);
}
void kernel_neon_fma_scalar<double>::pack_b(const double* src, int ld, double* dst) const {
  neon_real::block4(src, ld).store_transposed(dst);
}

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + that. Sixteen scalar accumulators start
// from +0 and take acc[j][i] = fma(a_i, b_j, acc[j][i]) per step; A runs one step ahead in two
// quadruples of registers, so A step k is read and not used. Steps run as k mod 4 singles, then groups
// of four. At the end C = fma(acc, alpha, C), or acc * alpha with no read of C when clear is set.
void kernel_neon_fma_scalar<double>::micro_kernel(const double* alpha, int k, const double* a, const double* b,
                                                  double* c, int ldc, bool clear) const {
  double acc[nr][mr] = {};
  neon_double::tile_product<neon_double::fused_term>(acc, k, a, b);
  const double al = *alpha;
  for (int j = 0; j < nr; ++j) {
    double* cj = c + j * ldc;
    for (int i = 0; i < mr; ++i) cj[i] = clear ? acc[j][i] * al : __builtin_fma(acc[j][i], al, cj[i]);
  }
}

// y = fma(alpha, x, y) in pairs, then the last element.
void kernel_neon_fma_scalar<double>::axpy_kernel(int n, const double* alpha, const double* x, double* y) const {
  if (n < 1) return;
  const double al = *alpha;
  const int n_by2 = n / 2 * 2;
  int i = 0;
  for (; i < n_by2; i += 2) {
    const double x0 = x[i], x1 = x[i + 1], y0 = y[i], y1 = y[i + 1];
    y[i] = __builtin_fma(al, x0, y0);
    y[i + 1] = __builtin_fma(al, x1, y1);
  }
  if (i < n) y[i] = __builtin_fma(al, x[i], y[i]);
}

void kernel_neon_fma_scalar<double>::scal_kernel(int n, const double* alpha, double* x) const {
  neon_real::scal_double(n, *alpha, x);
}

template <> std::shared_ptr<kernel_object<double>> make_kernel_neon_fma_scalar<double>() {
  constexpr kernel_blocking numbers = fma_scalar_blocking<double>::value;
  return std::make_shared<kernel_neon_fma_scalar<double>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels
