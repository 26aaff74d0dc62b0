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

#include <arm_neon.h>

#include <complex>
#include <cstring>

namespace kovra::kernels::neon_double {
namespace {

constexpr int mr = 4;
constexpr int nr = 4;

// How one term meets its accumulator: rounded_term rounds the product, then adds (vmla.f64); fused_term, in
// files built with VFPv4 only, rounds once (vfma.f64).
struct rounded_term {
  static constexpr bool fused = false;
};

#if defined(__ARM_FEATURE_FMA)
struct fused_term {
  static constexpr bool fused = true;
};
#endif

// acc (zeroed by the caller) = the k steps of A_panel * B_panel, acc[j][i] taking a_i * b_j by Term in order of
// depth. A and B are packed panels of 4 doubles per step, aligned to the element only.
//
// Register plan: the sixteen accumulators are operands in VFP registers of the compiler's choice, which stay in
// registers for the whole loop; A runs one step ahead in two quadruples, x (d16-d19) holding the step in use and
// y (d20-d23) the next, so A step k is read and not used; the four B elements of a step go to d24-d27 as the step
// starts, two before its first column and two after that column's second term. A step's multiply-adds run column
// by column, and the loads of the next A step sit among those of its second and third columns. The steps run as
// k mod 4 singles (each followed by moving y into x), then groups of four, which use x, y, x, y and so leave them
// in place; each group advances the panels once. Nothing is prefetched.
//
// Written as assembly because the register assignment is the point: from C++, GCC kept the two quadruples of A
// apart only by copying one into the other inside the groups (17 moves per group of four steps), which cost about
// a fifth of the loop's cycles on the Cortex-A57 pipeline model. The same text serves both terms: the assembler
// picks the instruction of Term.
template <class Term>
[[gnu::always_inline]] inline void tile_product(double acc[nr][mr], int k, const double* a, const double* b) {
  // The accumulators travel in pairs, rows 0-1 and 2-3 of a column in the two halves of a quad register, which
  // keeps the operands within the compiler's limit; the halves are named as the double registers they are.
  uint64x2_t pairs[nr][2];
  std::memcpy(pairs, acc, sizeof pairs);
  int singles = k % 4;  // truncating: k below 1 gives none, and no groups either
  int groups = k > 0 ? k / 4 : 0;
  asm(
      ".macro kovra_term acc, a, b\n"
      ".if %c[fused]\n"
      "    vfma.f64  \\acc, \\a, \\b\n"
      ".else\n"
      "    vmla.f64  \\acc, \\a, \\b\n"
      ".endif\n"
      ".endm\n"
      "    vldr      d16, [%[a]]\n"
      "    vldr      d17, [%[a], #8]\n"
      "    vldr      d18, [%[a], #16]\n"
      "    vldr      d19, [%[a], #24]\n"
      "    add       %[a], %[a], #32\n"
      "    subs      %[singles], %[singles], #1\n"
      "    blt       1f\n"
      "0:  @ single steps: x, then y moved into x\n"
      "    vldr      d24, [%[b], #0]\n"
      "    vldr      d25, [%[b], #8]\n"
      "    kovra_term %e[c0l], d16, d24\n"
      "    kovra_term %f[c0l], d17, d24\n"
      "    vldr      d26, [%[b], #16]\n"
      "    vldr      d27, [%[b], #24]\n"
      "    kovra_term %e[c0h], d18, d24\n"
      "    kovra_term %f[c0h], d19, d24\n"
      "    kovra_term %e[c1l], d16, d25\n"
      "    kovra_term %f[c1l], d17, d25\n"
      "    vldr      d20, [%[a], #0]\n"
      "    kovra_term %e[c1h], d18, d25\n"
      "    kovra_term %f[c1h], d19, d25\n"
      "    vldr      d21, [%[a], #8]\n"
      "    kovra_term %e[c2l], d16, d26\n"
      "    kovra_term %f[c2l], d17, d26\n"
      "    vldr      d22, [%[a], #16]\n"
      "    kovra_term %e[c2h], d18, d26\n"
      "    kovra_term %f[c2h], d19, d26\n"
      "    vldr      d23, [%[a], #24]\n"
      "    kovra_term %e[c3l], d16, d27\n"
      "    kovra_term %f[c3l], d17, d27\n"
      "    kovra_term %e[c3h], d18, d27\n"
      "    kovra_term %f[c3h], d19, d27\n"
      "    add       %[a], %[a], #32\n"
      "    add       %[b], %[b], #32\n"
      "    vmov.f64  d16, d20\n"
      "    vmov.f64  d17, d21\n"
      "    vmov.f64  d18, d22\n"
      "    vmov.f64  d19, d23\n"
      "    subs      %[singles], %[singles], #1\n"
      "    bge       0b\n"
      "1:\n"
      "    cmp       %[groups], #0\n"
      "    ble       3f\n"
      "2:  @ groups of four steps: x, y, x, y\n"
      "    vldr      d24, [%[b], #0]\n"
      "    vldr      d25, [%[b], #8]\n"
      "    kovra_term %e[c0l], d16, d24\n"
      "    kovra_term %f[c0l], d17, d24\n"
      "    vldr      d26, [%[b], #16]\n"
      "    vldr      d27, [%[b], #24]\n"
      "    kovra_term %e[c0h], d18, d24\n"
      "    kovra_term %f[c0h], d19, d24\n"
      "    kovra_term %e[c1l], d16, d25\n"
      "    kovra_term %f[c1l], d17, d25\n"
      "    vldr      d20, [%[a], #0]\n"
      "    kovra_term %e[c1h], d18, d25\n"
      "    kovra_term %f[c1h], d19, d25\n"
      "    vldr      d21, [%[a], #8]\n"
      "    kovra_term %e[c2l], d16, d26\n"
      "    kovra_term %f[c2l], d17, d26\n"
      "    vldr      d22, [%[a], #16]\n"
      "    kovra_term %e[c2h], d18, d26\n"
      "    kovra_term %f[c2h], d19, d26\n"
      "    vldr      d23, [%[a], #24]\n"
      "    kovra_term %e[c3l], d16, d27\n"
      "    kovra_term %f[c3l], d17, d27\n"
      "    kovra_term %e[c3h], d18, d27\n"
      "    kovra_term %f[c3h], d19, d27\n"
      "    vldr      d24, [%[b], #32]\n"
      "    vldr      d25, [%[b], #40]\n"
      "    kovra_term %e[c0l], d20, d24\n"
      "    kovra_term %f[c0l], d21, d24\n"
      "    vldr      d26, [%[b], #48]\n"
      "    vldr      d27, [%[b], #56]\n"
      "    kovra_term %e[c0h], d22, d24\n"
      "    kovra_term %f[c0h], d23, d24\n"
      "    kovra_term %e[c1l], d20, d25\n"
      "    kovra_term %f[c1l], d21, d25\n"
      "    vldr      d16, [%[a], #32]\n"
      "    kovra_term %e[c1h], d22, d25\n"
      "    kovra_term %f[c1h], d23, d25\n"
      "    vldr      d17, [%[a], #40]\n"
      "    kovra_term %e[c2l], d20, d26\n"
      "    kovra_term %f[c2l], d21, d26\n"
      "    vldr      d18, [%[a], #48]\n"
      "    kovra_term %e[c2h], d22, d26\n"
      "    kovra_term %f[c2h], d23, d26\n"
      "    vldr      d19, [%[a], #56]\n"
      "    kovra_term %e[c3l], d20, d27\n"
      "    kovra_term %f[c3l], d21, d27\n"
      "    kovra_term %e[c3h], d22, d27\n"
      "    kovra_term %f[c3h], d23, d27\n"
      "    vldr      d24, [%[b], #64]\n"
      "    vldr      d25, [%[b], #72]\n"
      "    kovra_term %e[c0l], d16, d24\n"
      "    kovra_term %f[c0l], d17, d24\n"
      "    vldr      d26, [%[b], #80]\n"
      "    vldr      d27, [%[b], #88]\n"
      "    kovra_term %e[c0h], d18, d24\n"
      "    kovra_term %f[c0h], d19, d24\n"
      "    kovra_term %e[c1l], d16, d25\n"
      "    kovra_term %f[c1l], d17, d25\n"
      "    vldr      d20, [%[a], #64]\n"
      "    kovra_term %e[c1h], d18, d25\n"
      "    kovra_term %f[c1h], d19, d25\n"
      "    vldr      d21, [%[a], #72]\n"
      "    kovra_term %e[c2l], d16, d26\n"
      "    kovra_term %f[c2l], d17, d26\n"
      "    vldr      d22, [%[a], #80]\n"
      "    kovra_term %e[c2h], d18, d26\n"
      "    kovra_term %f[c2h], d19, d26\n"
      "    vldr      d23, [%[a], #88]\n"
      "    kovra_term %e[c3l], d16, d27\n"
      "    kovra_term %f[c3l], d17, d27\n"
      "    kovra_term %e[c3h], d18, d27\n"
      "    kovra_term %f[c3h], d19, d27\n"
      "    vldr      d24, [%[b], #96]\n"
      "    vldr      d25, [%[b], #104]\n"
      "    kovra_term %e[c0l], d20, d24\n"
      "    kovra_term %f[c0l], d21, d24\n"
      "    vldr      d26, [%[b], #112]\n"
      "    vldr      d27, [%[b], #120]\n"
      "    kovra_term %e[c0h], d22, d24\n"
      "    kovra_term %f[c0h], d23, d24\n"
      "    kovra_term %e[c1l], d20, d25\n"
      "    kovra_term %f[c1l], d21, d25\n"
      "    vldr      d16, [%[a], #96]\n"
      "    kovra_term %e[c1h], d22, d25\n"
      "    kovra_term %f[c1h], d23, d25\n"
      "    vldr      d17, [%[a], #104]\n"
      "    kovra_term %e[c2l], d20, d26\n"
      "    kovra_term %f[c2l], d21, d26\n"
      "    vldr      d18, [%[a], #112]\n"
      "    kovra_term %e[c2h], d22, d26\n"
      "    kovra_term %f[c2h], d23, d26\n"
      "    vldr      d19, [%[a], #120]\n"
      "    kovra_term %e[c3l], d20, d27\n"
      "    kovra_term %f[c3l], d21, d27\n"
      "    kovra_term %e[c3h], d22, d27\n"
      "    kovra_term %f[c3h], d23, d27\n"
      "    add       %[a], %[a], #128\n"
      "    add       %[b], %[b], #128\n"
      "    subs      %[groups], %[groups], #1\n"
      "    bne       2b\n"
      "3:\n"
      ".purgem kovra_term\n"
      : [c0l] "+w"(pairs[0][0]), [c0h] "+w"(pairs[0][1]), [c1l] "+w"(pairs[1][0]), [c1h] "+w"(pairs[1][1]),
        [c2l] "+w"(pairs[2][0]), [c2h] "+w"(pairs[2][1]), [c3l] "+w"(pairs[3][0]), [c3h] "+w"(pairs[3][1]),
        [a] "+r"(a), [b] "+r"(b), [singles] "+r"(singles), [groups] "+r"(groups)
      : [fused] "i"(Term::fused ? 1 : 0)
      // The panel reads, of lengths the operands cannot spell, are covered by the memory clobber.
      : "d16", "d17", "d18", "d19", "d20", "d21", "d22", "d23", "d24", "d25", "d26", "d27", "cc", "memory");
  std::memcpy(acc, pairs, sizeof pairs);
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
