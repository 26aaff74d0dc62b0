// aarch64_tile<double>: the 8 by 6 tile product of the double and complex<double> kernels, over real panels of 8
// reals of A and 6 of B per step of depth, summed from +0 with one fused multiply-add per step.
//
// Register plan: the 24 accumulators c<j><h> hold rows [2h, 2h + 2) of column j (h = 0..3, j = 0..5), in the
// registers the compiler gives them (v0 to v23). A step of A is a0-a3 (v24-v27), the step of B b0-b2 (v28-v30),
// each holding two columns. A step is 24 by-element fused multiply-adds, c<j><h> += a<h> * b[j], with no
// broadcast, in blocks of two (the two lanes of one B register against one A register) in the order
// (a0 b0) (a1 b0) (a0 b1) (a1 b1) (a0 b2) (a1 b2) (a2 b0) (a3 b0) (a2 b1) (a3 b1) (a2 b2) (a3 b2), which ends each
// register's use in the step at a different point.
//
// What runs ahead: 31 of the 32 registers are taken, so every operand is reloaded in place, with a plain ldr at an
// immediate offset, as soon as its last multiply-add of the step has issued: the next step's a0, a1, b0, b1, a2 and
// b2 in the order their last uses come. a3, whose last use ends the step with b2's, is loaded within its own step
// instead, ten multiply-adds ahead of its first use, so that no two loads meet. Nothing is read past the panels: the
// first step's a0-a2 and b0-b2 are loaded before the loop, and the last step loads only its a3. The steps run in
// groups of eight, then one at a time; the pointers step once per group.
//
// Written as assembly for the reason aarch64_float_tile.h gives: on an in-order core the order of the loads is the
// point. Each step costs seven loads besides its 24 multiply-adds, which LLVM's Cortex-A55 model, issuing two
// instructions a cycle and two multiply-adds among them, puts at 0.76 of the multiply-adds' bound
// (bench/a64_kernel_steps.py).
#pragma once

#include "platform.h"

#if KOVRA_AARCH64

#include <arm_neon.h>

#include "kernels/aarch64/aarch64_vectors.h"
#include "kernels/aarch64/kernel_aarch64.h"

namespace kovra::kernels {

template <> struct aarch64_tile<double> {
  using V = aarch64_simd<double>;
  static constexpr int mr = aarch64_blocking<double>().tile_m, nr = aarch64_blocking<double>().tile_n;
  static_assert(mr == 4 * V::lanes && nr == 3 * V::lanes, "the register plan above");

  float64x2_t acc[nr][4];

  // k >= 1 steps of a (8 reals per step) and b (6 reals per step). The sums run in the asm's registers: the member
  // is written once, at the end, since vector types may alias the panels.
  [[gnu::always_inline]] aarch64_tile(int k, const double* a, const double* b) {
    float64x2_t s[nr][4];
    asm(".macro kovra_f64_step step, load_next\n"  // load_next 0: the last step, which loads only its a3
        "    fmla    %[c00].2d, v24.2d, v28.d[0]\n"
        "    fmla    %[c10].2d, v24.2d, v28.d[1]\n"
        "    fmla    %[c01].2d, v25.2d, v28.d[0]\n"
        "    fmla    %[c11].2d, v25.2d, v28.d[1]\n"
        "    ldr     q27, [%[a], #64 * \\step + 48]\n"
        "    fmla    %[c20].2d, v24.2d, v29.d[0]\n"
        "    fmla    %[c30].2d, v24.2d, v29.d[1]\n"
        "    fmla    %[c21].2d, v25.2d, v29.d[0]\n"
        "    fmla    %[c31].2d, v25.2d, v29.d[1]\n"
        "    fmla    %[c40].2d, v24.2d, v30.d[0]\n"
        "    fmla    %[c50].2d, v24.2d, v30.d[1]\n"
        "    .if \\load_next\n    ldr     q24, [%[a], #64 * \\step + 64]\n    .endif\n"
        "    fmla    %[c41].2d, v25.2d, v30.d[0]\n"
        "    fmla    %[c51].2d, v25.2d, v30.d[1]\n"
        "    .if \\load_next\n    ldr     q25, [%[a], #64 * \\step + 80]\n    .endif\n"
        "    fmla    %[c02].2d, v26.2d, v28.d[0]\n"
        "    fmla    %[c12].2d, v26.2d, v28.d[1]\n"
        "    fmla    %[c03].2d, v27.2d, v28.d[0]\n"
        "    fmla    %[c13].2d, v27.2d, v28.d[1]\n"
        "    .if \\load_next\n    ldr     q28, [%[b], #48 * \\step + 48]\n    .endif\n"
        "    fmla    %[c22].2d, v26.2d, v29.d[0]\n"
        "    fmla    %[c32].2d, v26.2d, v29.d[1]\n"
        "    fmla    %[c23].2d, v27.2d, v29.d[0]\n"
        "    fmla    %[c33].2d, v27.2d, v29.d[1]\n"
        "    .if \\load_next\n    ldr     q29, [%[b], #48 * \\step + 64]\n    .endif\n"
        "    fmla    %[c42].2d, v26.2d, v30.d[0]\n"
        "    fmla    %[c52].2d, v26.2d, v30.d[1]\n"
        "    .if \\load_next\n    ldr     q26, [%[a], #64 * \\step + 96]\n    .endif\n"
        "    fmla    %[c43].2d, v27.2d, v30.d[0]\n"
        "    fmla    %[c53].2d, v27.2d, v30.d[1]\n"
        "    .if \\load_next\n    ldr     q30, [%[b], #48 * \\step + 80]\n    .endif\n"
        ".endm\n"
        ".irp sum, %[c00], %[c01], %[c02], %[c03], %[c10], %[c11], %[c12], %[c13], %[c20], %[c21], %[c22], %[c23],"
        "     %[c30], %[c31], %[c32], %[c33], %[c40], %[c41], %[c42], %[c43], %[c50], %[c51], %[c52], %[c53]\n"
        "    movi    \\sum\\().16b, #0\n"
        ".endr\n"
        "    ldp     q24, q25, [%[a]]\n"
        "    ldr     q26, [%[a], #32]\n"
        "    ld1     {v28.2d, v29.2d, v30.2d}, [%[b]]\n"
        "    lsr     w9, %w[after_first], #3\n"  // groups of eight steps
        "    and     w10, %w[after_first], #7\n"  // single steps in the rest
        "    cbz     w9, 2f\n"
        "1:  subs    w9, w9, #1\n"
        "    kovra_f64_step 0, 1\n"
        "    kovra_f64_step 1, 1\n"
        "    kovra_f64_step 2, 1\n"
        "    kovra_f64_step 3, 1\n"
        "    kovra_f64_step 4, 1\n"
        "    kovra_f64_step 5, 1\n"
        "    kovra_f64_step 6, 1\n"
        "    kovra_f64_step 7, 1\n"
        "    add     %[a], %[a], #512\n"
        "    add     %[b], %[b], #384\n"
        "    b.ne    1b\n"
        "2:  cbz     w10, 4f\n"
        "3:  subs    w10, w10, #1\n"
        "    kovra_f64_step 0, 1\n"
        "    add     %[a], %[a], #64\n"
        "    add     %[b], %[b], #48\n"
        "    b.ne    3b\n"
        "4:  kovra_f64_step 0, 0\n"
        ".purgem kovra_f64_step\n"
        : [c00] "=w"(s[0][0]), [c01] "=w"(s[0][1]), [c02] "=w"(s[0][2]), [c03] "=w"(s[0][3]), [c10] "=w"(s[1][0]),
          [c11] "=w"(s[1][1]), [c12] "=w"(s[1][2]), [c13] "=w"(s[1][3]), [c20] "=w"(s[2][0]), [c21] "=w"(s[2][1]),
          [c22] "=w"(s[2][2]), [c23] "=w"(s[2][3]), [c30] "=w"(s[3][0]), [c31] "=w"(s[3][1]), [c32] "=w"(s[3][2]),
          [c33] "=w"(s[3][3]), [c40] "=w"(s[4][0]), [c41] "=w"(s[4][1]), [c42] "=w"(s[4][2]), [c43] "=w"(s[4][3]),
          [c50] "=w"(s[5][0]), [c51] "=w"(s[5][1]), [c52] "=w"(s[5][2]), [c53] "=w"(s[5][3]), [a] "+r"(a),
          [b] "+r"(b)
        : [after_first] "r"(k - 1)
        // The panel reads, of lengths the operands cannot spell, are covered by the memory clobber.
        : "x9", "x10", "v24", "v25", "v26", "v27", "v28", "v29", "v30", "cc", "memory");
    for (int j = 0; j < nr; ++j)
      for (int h = 0; h < 4; ++h) acc[j][h] = s[j][h];
  }
};

}  // namespace kovra::kernels

#endif  // KOVRA_AARCH64
