// kernel_neon_mla<double> and <complex<double>>: the 4 by 4 double tile loop with the product rounded
// before it is added, run on double panels or on the interleaved parts of 2 by 2 complex panels (with
// the complex product and alpha applied once per tile), and the double vector kernels in pairs. ARMv7
// NEON has no double lanes, so the arithmetic runs on the VFP unit; built for the NEON baseline, it runs
// on every ARMv7 NEON core.
#include "kernels/neon/kernel_neon_mla_complex.h"

#if KOVRA_ARM32

#include <cmath>
#include <complex>
#include <memory>

#include "kernels/neon/kernel_neon_mla.h"
#include "kernels/neon/neon_double_tile.h"
#include "kernels/neon/neon_real_bodies.h"

#if defined(__ARM_FEATURE_FMA)
#error "this file must keep the NEON baseline: it runs on cores without VFPv4, see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

using neon_double::mr;
using neon_double::nr;
static_assert(mla_blocking<double>::value.tile_m == mr && mla_blocking<double>::value.tile_n == nr);

}  // namespace

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + alpha * that. Sixteen scalar accumulators
// start from +0 and take acc[j][i] += a_i * b_j per step; A runs one step ahead in two quadruples of
// registers, so A step k is read and not used. Steps run as k mod 4 singles, then groups of four. At
// the end C = C + acc * alpha, or acc * alpha with no read of C when clear is set.
template <>
void kernel_neon_mla<double>::micro_kernel(const double* alpha, int k, const double* a, const double* b, double* c,
                                           int ldc, bool clear) const {
  double acc[nr][mr] = {};
  neon_double::tile_product<neon_double::rounded_term>(acc, k, a, b);
  const double al = *alpha;
  for (int j = 0; j < nr; ++j) {
    double* cj = c + j * ldc;
    for (int i = 0; i < mr; ++i) cj[i] = clear ? acc[j][i] * al : cj[i] + acc[j][i] * al;
  }
}

// y = y + alpha * x (product rounded) in pairs, then the last element with a fused multiply-add.
template <>
void kernel_neon_mla<double>::axpy_kernel(int n, const double* alpha, const double* x, double* y) const {
  if (n < 1) return;
  const double al = *alpha;
  const int n_by2 = n / 2 * 2;
  int i = 0;
  for (; i < n_by2; i += 2) {
    const double x0 = x[i], x1 = x[i + 1], y0 = y[i], y1 = y[i + 1];
    y[i] = y0 + al * x0;
    y[i + 1] = y1 + al * x1;
  }
  if (i < n) y[i] = std::fma(al, x[i], y[i]);
}

template <>
void kernel_neon_mla<double>::scal_kernel(int n, const double* alpha, double* x) const {
  neon_real::scal_double(n, *alpha, x);
}

template <> std::shared_ptr<kernel_object<double>> make_kernel_neon_mla<double>() {
  constexpr kernel_blocking numbers = mla_blocking<double>::value;
  return std::make_shared<kernel_neon_mla<double>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

namespace {

using cdouble = std::complex<double>;

// The real loop's tile, in doubles: an A step is 2 complex rows, a B step 2 complex columns.
static_assert(mla_blocking<cdouble>::value.tile_m * 2 == neon_double::mr &&
              mla_blocking<cdouble>::value.tile_n * 2 == neon_double::nr);

}  // namespace

// The complex<double> loop of neon_double_tile.h with one rounded product and one add per term.
template <>
void kernel_neon_mla<cdouble>::micro_kernel(const cdouble* alpha, int k, const cdouble* a, const cdouble* b,
                                            cdouble* c, int ldc, bool clear) const {
  neon_double::complex_micro_kernel<neon_double::rounded_term>(alpha, k, a, b, c, ldc, clear);
}

template <> std::shared_ptr<kernel_object<cdouble>> make_kernel_neon_mla<cdouble>() {
  constexpr kernel_blocking numbers = mla_blocking<cdouble>::value;
  return std::make_shared<kernel_neon_mla<cdouble>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
