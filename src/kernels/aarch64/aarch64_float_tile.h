// aarch64_tile<float>: the 12 by 8 tile product of the float and complex<float> kernels, over real panels of 12
// reals of A and 8 of B per step of depth, summed from +0 with one fused multiply-add per step.
//
// Register plan: the 24 accumulators c<j><h> hold rows [4h, 4h + 4) of column j (h = 0..2, j = 0..7), in the
// registers the compiler gives them (v0 to v23, as the rest are taken). A step of A is one triple of registers,
// x (v24-v26) or y (v27-v29), the step of B the pair v30-v31. A step is 24 by-element fused multiply-adds,
// c<j><h> += a<h> * b[j], with no broadcast: first the four lanes of v30, then those of v31.
//
// What runs ahead: A one step ahead in the other triple, with one ld1 of three registers that the pointer steps
// past; B one step ahead in place, each register reloaded as soon as its last multiply-add of the step has issued.
// So nothing is read past the panels: the first step is loaded before the loop, and the last step loads nothing.
// The steps run in groups of eight (x, y, ..., y), then pairs, then a single x step when the count is odd, so that
// every group ends where it started; B's offsets are immediates, its pointer steps once per group.
//
// Written as assembly because the order is the point: on an in-order core (Cortex-A53, A55) an instruction waits
// for its operands, so each load must issue well before its first use and between multiply-adds it can pair with.
// With intrinsics GCC put a step's loads together at its head, which LLVM's Cortex-A55 model ran at under half of
// the multiply-adds' bound, against 0.85 for this order (bench/a64_kernel_steps.py measures it).
#pragma once

#include "platform.h"

#if KOVRA_AARCH64

#include <arm_neon.h>

#include "kernels/aarch64/aarch64_vectors.h"
#include "kernels/aarch64/kernel_aarch64.h"

namespace kovra::kernels {

template <> struct aarch64_tile<float> {
  using V = aarch64_simd<float>;
  static constexpr int mr = aarch64_blocking<float>().tile_m, nr = aarch64_blocking<float>().tile_n;
  static_assert(mr == 3 * V::lanes && nr == 2 * V::lanes, "the register plan above");

  float32x4_t acc[nr][3];

  // k >= 1 steps of a (12 reals per step) and b (8 reals per step). The sums run in the asm's registers: the
  // member is written once, at the end, since vector types may alias the panels.
  [[gnu::always_inline]] aarch64_tile(int k, const float* a, const float* b) {
    float32x4_t s[nr][3];
    asm(".macro kovra_f32_step x0, x1, x2, y0, y1, y2, next_b\n"  // next_b 0: the last step, which loads nothing
        "    fmla    %[c00].4s, \\x0\\().4s, v30.s[0]\n"
        "    fmla    %[c01].4s, \\x1\\().4s, v30.s[0]\n"
        "    fmla    %[c02].4s, \\x2\\().4s, v30.s[0]\n"
        "    fmla    %[c10].4s, \\x0\\().4s, v30.s[1]\n"
        "    .if \\next_b\n    ld1     {\\y0\\().4s, \\y1\\().4s, \\y2\\().4s}, [%[a]], #48\n    .endif\n"
        "    fmla    %[c11].4s, \\x1\\().4s, v30.s[1]\n"
        "    fmla    %[c12].4s, \\x2\\().4s, v30.s[1]\n"
        "    fmla    %[c20].4s, \\x0\\().4s, v30.s[2]\n"
        "    fmla    %[c21].4s, \\x1\\().4s, v30.s[2]\n"
        "    fmla    %[c22].4s, \\x2\\().4s, v30.s[2]\n"
        "    fmla    %[c30].4s, \\x0\\().4s, v30.s[3]\n"
        "    fmla    %[c31].4s, \\x1\\().4s, v30.s[3]\n"
        "    fmla    %[c32].4s, \\x2\\().4s, v30.s[3]\n"
        "    fmla    %[c40].4s, \\x0\\().4s, v31.s[0]\n"
        "    fmla    %[c41].4s, \\x1\\().4s, v31.s[0]\n"
        "    .if \\next_b\n    ldr     q30, [%[b], #\\next_b]\n    .endif\n"
        "    fmla    %[c42].4s, \\x2\\().4s, v31.s[0]\n"
        "    fmla    %[c50].4s, \\x0\\().4s, v31.s[1]\n"
        "    fmla    %[c51].4s, \\x1\\().4s, v31.s[1]\n"
        "    fmla    %[c52].4s, \\x2\\().4s, v31.s[1]\n"
        "    fmla    %[c60].4s, \\x0\\().4s, v31.s[2]\n"
        "    fmla    %[c61].4s, \\x1\\().4s, v31.s[2]\n"
        "    fmla    %[c62].4s, \\x2\\().4s, v31.s[2]\n"
        "    fmla    %[c70].4s, \\x0\\().4s, v31.s[3]\n"
        "    fmla    %[c71].4s, \\x1\\().4s, v31.s[3]\n"
        "    fmla    %[c72].4s, \\x2\\().4s, v31.s[3]\n"
        "    .if \\next_b\n    ldr     q31, [%[b], #\\next_b + 16]\n    .endif\n"
        ".endm\n"
        ".irp sum, %[c00], %[c01], %[c02], %[c10], %[c11], %[c12], %[c20], %[c21], %[c22], %[c30], %[c31], %[c32],"
        "     %[c40], %[c41], %[c42], %[c50], %[c51], %[c52], %[c60], %[c61], %[c62], %[c70], %[c71], %[c72]\n"
        "    movi    \\sum\\().16b, #0\n"
        ".endr\n"
        "    ld1     {v24.4s, v25.4s, v26.4s}, [%[a]], #48\n"
        "    ldp     q30, q31, [%[b]]\n"
        "    lsr     w9, %w[after_first], #3\n"  // groups of eight steps
        "    ubfx    w10, %w[after_first], #1, #2\n"  // pairs of steps in the rest
        "    cbz     w9, 2f\n"
        "1:  subs    w9, w9, #1\n"
        "    kovra_f32_step v24, v25, v26, v27, v28, v29, 32\n"
        "    kovra_f32_step v27, v28, v29, v24, v25, v26, 64\n"
        "    kovra_f32_step v24, v25, v26, v27, v28, v29, 96\n"
        "    kovra_f32_step v27, v28, v29, v24, v25, v26, 128\n"
        "    kovra_f32_step v24, v25, v26, v27, v28, v29, 160\n"
        "    kovra_f32_step v27, v28, v29, v24, v25, v26, 192\n"
        "    kovra_f32_step v24, v25, v26, v27, v28, v29, 224\n"
        "    kovra_f32_step v27, v28, v29, v24, v25, v26, 256\n"
        "    add     %[b], %[b], #256\n"
        "    b.ne    1b\n"
        "2:  cbz     w10, 4f\n"
        "3:  subs    w10, w10, #1\n"
        "    kovra_f32_step v24, v25, v26, v27, v28, v29, 32\n"
        "    kovra_f32_step v27, v28, v29, v24, v25, v26, 64\n"
        "    add     %[b], %[b], #64\n"
        "    b.ne    3b\n"
        "4:  tbz     %w[after_first], #0, 5f\n"
        "    kovra_f32_step v24, v25, v26, v27, v28, v29, 32\n"
        "    kovra_f32_step v27, v28, v29, v24, v25, v26, 0\n"
        "    b       6f\n"
        "5:  kovra_f32_step v24, v25, v26, v27, v28, v29, 0\n"
        "6:\n"
        ".purgem kovra_f32_step\n"
        : [c00] "=w"(s[0][0]), [c01] "=w"(s[0][1]), [c02] "=w"(s[0][2]), [c10] "=w"(s[1][0]), [c11] "=w"(s[1][1]),
          [c12] "=w"(s[1][2]), [c20] "=w"(s[2][0]), [c21] "=w"(s[2][1]), [c22] "=w"(s[2][2]), [c30] "=w"(s[3][0]),
          [c31] "=w"(s[3][1]), [c32] "=w"(s[3][2]), [c40] "=w"(s[4][0]), [c41] "=w"(s[4][1]), [c42] "=w"(s[4][2]),
          [c50] "=w"(s[5][0]), [c51] "=w"(s[5][1]), [c52] "=w"(s[5][2]), [c60] "=w"(s[6][0]), [c61] "=w"(s[6][1]),
          [c62] "=w"(s[6][2]), [c70] "=w"(s[7][0]), [c71] "=w"(s[7][1]), [c72] "=w"(s[7][2]), [a] "+r"(a),
          [b] "+r"(b)
        : [after_first] "r"(k - 1)
        // The panel reads, of lengths the operands cannot spell, are covered by the memory clobber.
        : "x9", "x10", "v24", "v25", "v26", "v27", "v28", "v29", "v30", "v31", "cc", "memory");
    for (int j = 0; j < nr; ++j)
      for (int h = 0; h < 3; ++h) acc[j][h] = s[j][h];
  }
};

}  // namespace kovra::kernels

#endif  // KOVRA_AARCH64
