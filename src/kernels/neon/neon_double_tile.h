// The 4 by 4 double tile loop that the NEON kernels of double and complex<double> share, on the VFP unit
// (ARMv7 NEON has no double lanes), parameterised on the multiply-add of one term: rounded_term (the
// product rounded, then added) or, in files built with VFPv4, fused_term (one fused multiply-add).
// Also the complex<double> end step, which applies alpha.re * (1 + i alpha.im) to the summed parts.
//
// The including files are built for different instruction sets (the *_vfpv4.cpp files with VFPv4, the
// others with the NEON baseline). Everything here has internal linkage, so each file keeps its own copy
// built with its own flags, and the linker can never hand a baseline caller a VFPv4 body.
#pragma once

#include "platform.h"

#if KOVRA_ARM32

#include <complex>
#include <cstring>

namespace kovra::kernels::neon_double {
namespace {

constexpr int mr = 4;
constexpr int nr = 4;
// Sixteen accumulators and two A steps take 24 of the 32 double registers, leaving room for B.
static_assert(mr * nr + 2 * mr <= 32);

// acc += a * b with the product rounded on its own.
struct rounded_term {
  [[gnu::always_inline]] static void add(double& acc, double a, double b) { acc += a * b; }
};

#if defined(__ARM_FEATURE_FMA)
// acc = fma(a, b, acc): one rounding per term. Only files built with VFPv4 can name it.
struct fused_term {
  [[gnu::always_inline]] static void add(double& acc, double a, double b) { acc = __builtin_fma(a, b, acc); }
};
#endif

// acc[j][i] += a_i * b_j by Term, column by column; each B element is read as its column starts.
template <class Term>
[[gnu::always_inline]] inline void tile_step(double acc[nr][mr], const double a[mr], const double* b) {
#pragma GCC unroll 4
  for (int j = 0; j < nr; ++j) {
    const double bj = b[j];
#pragma GCC unroll 4
    for (int i = 0; i < mr; ++i) Term::add(acc[j][i], a[i], bj);
  }
}

[[gnu::always_inline]] inline void load_step(double a[mr], const double* src) {
#pragma GCC unroll 4
  for (int i = 0; i < mr; ++i) a[i] = src[i];
}

// acc (zeroed by the caller) = the k steps of A_panel * B_panel. A runs one step ahead in two quadruples
// of registers, so A step k is read and not used. Steps run as k mod 4 singles, then groups of four;
// nothing is prefetched.
template <class Term>
[[gnu::always_inline]] inline void tile_product(double acc[nr][mr], int k, const double* a, const double* b) {
  double x[mr], y[mr];
  load_step(x, a);
  const double* a_ahead = a + mr;
  const int singles = k % 4;
  for (int p = 0; p < singles; ++p) {
    load_step(y, a_ahead);
    a_ahead += mr;
    tile_step<Term>(acc, x, b + p * nr);
    std::memcpy(x, y, sizeof x);
  }
  for (int p = singles; p < k; p += 4) {
#pragma GCC unroll 2
    for (int half = 0; half < 2; ++half) {
      load_step(y, a_ahead);
      tile_step<Term>(acc, x, b + (p + 2 * half) * nr);
      load_step(x, a_ahead + mr);
      tile_step<Term>(acc, y, b + (p + 2 * half + 1) * nr);
      a_ahead += 2 * mr;
    }
  }
}

// The complex<double> end step for a tile of 2 by 2 complex elements whose interleaved parts went
// through tile_product (a_i over a0.re, a0.im, a1.re, a1.im; b_j over b0.re, b0.im, b1.re, b1.im).
// C = alpha' * sum, or C + that, where alpha' = alpha.re * (1 + i alpha.im): both parts of the sum are
// scaled by alpha.re first and those scaled values multiplied by alpha.im. Plain multiplications and
// additions; with clear set C is not read.
inline void store_complex_tile(const double acc[nr][mr], const std::complex<double>* alpha,
                                                      std::complex<double>* c, int ldc, bool clear) {
  const double al_re = alpha->real(), al_im = alpha->imag();
  for (int j = 0; j < nr / 2; ++j) {
    // Accumulator columns 2j and 2j + 1 hold the sums against b_j.re and b_j.im.
    const double* by_re = acc[2 * j];
    const double* by_im = acc[2 * j + 1];
    std::complex<double>* cj = c + j * ldc;
    for (int i = 0; i < mr / 2; ++i) {
      const double t_re = by_re[2 * i] - by_im[2 * i + 1];
      const double t_im = by_re[2 * i + 1] + by_im[2 * i];
      const double u = t_re * al_re, v = t_im * al_re;
      const double w = u * al_im, z = v * al_im;
      double re = u - z, im = v + w;
      if (!clear) {
        re += cj[i].real();
        im += cj[i].imag();
      }
      cj[i] = std::complex<double>(re, im);
    }
  }
}

// The complex<double> micro kernel: the 4 by 4 loop by Term on the interleaved parts of 2 by 2 complex
// panels (an A step is 2 complex rows, a B step 2 complex columns), then the end step above. So the
// factor is alpha' = alpha.re * (1 + i alpha.im), and the sums accumulate from +0, A one step ahead in
// two quadruples of registers (A step k is read and not used), k mod 4 single steps, then groups of four.
static_assert(sizeof(std::complex<double>) == 2 * sizeof(double), "panels are interleaved real and imaginary parts");

template <class Term>
[[gnu::always_inline]] inline void complex_micro_kernel(const std::complex<double>* alpha, int k,
                                                        const std::complex<double>* a, const std::complex<double>* b,
                                                        std::complex<double>* c, int ldc, bool clear) {
  double acc[nr][mr] = {};
  tile_product<Term>(acc, k, reinterpret_cast<const double*>(a), reinterpret_cast<const double*>(b));
  store_complex_tile(acc, alpha, c, ldc, clear);
}

}  // namespace
}  // namespace kovra::kernels::neon_double

#endif  // KOVRA_ARM32
