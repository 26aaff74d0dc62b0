// The double-precision bodies with the VFPv4 fused multiply-add: the 4 by 4 double tile loop of
// kernel_neon_fma<double> and kernel_neon_fma_scalar<double> (the two differ only in how the sums meet C),
// the same loop on the interleaved parts of 2 by 2 complex<double> panels, and the double vector kernels
// in pairs. ARMv7 NEON has no double lanes, so the arithmetic runs on the VFP unit. Reached only on
// processors that report VFPv4.
#include <complex>
#include <memory>

#include "kernels/neon/kernel_neon_fma_scalar_complex.h"
#include "kernels/neon/kernel_neon_fma.h"
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
static_assert(fma_blocking<double>::value.tile_m == mr && fma_blocking<double>::value.tile_n == nr);

}  // namespace

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + that. The sixteen accumulators start from
// +0; A runs one step ahead in two quadruples of registers, so A step k is read and not used. Steps run
// as k mod 4 singles, then groups of four. At the end each accumulator is multiplied by alpha, and
// unless clear is set C is added with a plain addition; with clear, C is not read.
template <>
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

namespace {

static_assert(fma_scalar_blocking<double>::value.tile_m == mr && fma_scalar_blocking<double>::value.tile_n == nr);

}  // namespace

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + that. Sixteen scalar accumulators start
// from +0 and take acc[j][i] = fma(a_i, b_j, acc[j][i]) per step; A runs one step ahead in two
// quadruples of registers, so A step k is read and not used. Steps run as k mod 4 singles, then groups
// of four. At the end C = fma(acc, alpha, C), or acc * alpha with no read of C when clear is set.
template <>
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
template <>
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

template <>
void kernel_neon_fma_scalar<double>::scal_kernel(int n, const double* alpha, double* x) const {
  neon_real::scal_double(n, *alpha, x);
}

template <> std::shared_ptr<kernel_object<double>> make_kernel_neon_fma_scalar<double>() {
  constexpr kernel_blocking numbers = fma_scalar_blocking<double>::value;
  return std::make_shared<kernel_neon_fma_scalar<double>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

namespace {

using cdouble = std::complex<double>;

// The real loop's tile, in doubles: an A step is 2 complex rows, a B step 2 complex columns.
static_assert(fma_scalar_blocking<cdouble>::value.tile_m * 2 == neon_double::mr &&
              fma_scalar_blocking<cdouble>::value.tile_n * 2 == neon_double::nr);

}  // namespace

// The complex<double> loop of neon_double_tile.h with one fused multiply-add per term.
template <>
void kernel_neon_fma_scalar<cdouble>::micro_kernel(const cdouble* alpha, int k, const cdouble* a, const cdouble* b,
                                                   cdouble* c, int ldc, bool clear) const {
  neon_double::complex_micro_kernel<neon_double::fused_term>(alpha, k, a, b, c, ldc, clear);
}

template <> std::shared_ptr<kernel_object<cdouble>> make_kernel_neon_fma_scalar<cdouble>() {
  constexpr kernel_blocking numbers = fma_scalar_blocking<cdouble>::value;
  return std::make_shared<kernel_neon_fma_scalar<cdouble>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels
