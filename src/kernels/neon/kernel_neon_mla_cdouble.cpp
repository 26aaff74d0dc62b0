// kernel_neon_mla<complex<double>>: the 4 by 4 double multiply-accumulate loop run on the interleaved
// parts of 2 by 2 complex panels, with the complex product and alpha applied once per tile. The
// arithmetic runs on the VFP unit; built for the NEON baseline, it runs on every ARMv7 NEON core.
#include "kernels/neon/kernel_neon_mla_complex.h"

#if KOVRA_ARM32

#include <complex>
#include <cstring>
#include <memory>

#if defined(__ARM_FEATURE_FMA)
#error "this file must keep the NEON baseline: it runs on cores without VFPv4, see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

using cdouble = std::complex<double>;

// The real loop's tile, in doubles: an A step is 2 complex rows, a B step 2 complex columns.
constexpr int mr = 4;
constexpr int nr = 4;
static_assert(mla_blocking<cdouble>::value.tile_m * 2 == mr && mla_blocking<cdouble>::value.tile_n * 2 == nr);
static_assert(sizeof(cdouble) == 2 * sizeof(double), "panels are interleaved real and imaginary parts");
// Sixteen accumulators and two A steps take 24 of the 32 double registers, leaving room for B.
static_assert(mr * nr + 2 * mr <= 32);

// acc[j][i] += a_i * b_j, the product rounded on its own, with a_i running over a0.re, a0.im, a1.re,
// a1.im and b_j over b0.re, b0.im, b1.re, b1.im. B is read one element at a time, as each column starts.
inline void mla_step(double acc[nr][mr], const double a[mr], const double* b) {
#pragma GCC unroll 4
  for (int j = 0; j < nr; ++j) {
    const double bj = b[j];
#pragma GCC unroll 4
    for (int i = 0; i < mr; ++i) acc[j][i] += a[i] * bj;
  }
}

inline void load_step(double a[mr], const double* src) {
#pragma GCC unroll 4
  for (int i = 0; i < mr; ++i) a[i] = src[i];
}

}  // namespace

// C (columns ldc apart) = alpha' * A_panel * B_panel, or C + that, where alpha' = alpha.re * (1 + i
// alpha.im): the end step scales both parts of the sum by alpha.re first and multiplies those scaled
// values by alpha.im. The sums accumulate from +0 with one rounded product and one add per term, A one
// step ahead in two quadruples of registers (A step k is read and not used), k mod 4 single steps, then
// groups of four; nothing is prefetched.
void kernel_neon_mla<cdouble>::micro_kernel(const cdouble* alpha, int k, const cdouble* a, const cdouble* b,
                                            cdouble* c, int ldc, bool clear) const {
  const double* ap = reinterpret_cast<const double*>(a);
  const double* bp = reinterpret_cast<const double*>(b);
  double acc[nr][mr] = {};
  double x[mr], y[mr];
  load_step(x, ap);
  const double* a_ahead = ap + mr;
  const int singles = k % 4;
  for (int p = 0; p < singles; ++p) {
    load_step(y, a_ahead);
    a_ahead += mr;
    mla_step(acc, x, bp + p * nr);
    std::memcpy(x, y, sizeof x);
  }
  for (int p = singles; p < k; p += 4) {
#pragma GCC unroll 2
    for (int half = 0; half < 2; ++half) {
      load_step(y, a_ahead);
      mla_step(acc, x, bp + (p + 2 * half) * nr);
      load_step(x, a_ahead + mr);
      mla_step(acc, y, bp + (p + 2 * half + 1) * nr);
      a_ahead += 2 * mr;
    }
  }

  const double al_re = alpha->real(), al_im = alpha->imag();
  for (int j = 0; j < tiles.tile_n; ++j) {
    // Accumulator columns 2j and 2j + 1 hold the sums against b_j.re and b_j.im.
    const double* by_re = acc[2 * j];
    const double* by_im = acc[2 * j + 1];
    cdouble* cj = c + j * ldc;
    for (int i = 0; i < tiles.tile_m; ++i) {
      const double t_re = by_re[2 * i] - by_im[2 * i + 1];
      const double t_im = by_re[2 * i + 1] + by_im[2 * i];
      const double u = t_re * al_re, v = t_im * al_re;
      const double w = u * al_im, z = v * al_im;
      double re = u - z, im = v + w;
      if (!clear) {
        re += cj[i].real();
        im += cj[i].imag();
      }
      cj[i] = cdouble(re, im);
    }
  }
}

template <> std::shared_ptr<kernel_object<cdouble>> make_kernel_neon_mla<cdouble>() {
  constexpr kernel_blocking numbers = mla_blocking<cdouble>::value;
  return std::make_shared<kernel_neon_mla<cdouble>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
