// The float 8 by 4 tile product with fused multiply-adds, shared by the VFPv4 micro kernels of float and
// complex<float> (the latter runs it on the interleaved parts of its panels). Include it only from
// *_vfpv4.cpp files: it uses vfma. Everything here has internal linkage, so each including file keeps
// its own copy built with its own flags.
#pragma once

#include "platform.h"

#if KOVRA_ARM32

#include <arm_neon.h>

#if !defined(__ARM_FEATURE_FMA)
#error "neon_float_tile_vfpv4.h needs the VFPv4 fused multiply-add (-mfpu=neon-vfpv4)"
#endif

namespace kovra::kernels::neon_vfpv4 {
namespace {

// The 8 by 4 float tile product, without alpha and without C: A and B are packed panels of k steps,
// A steps of 8 floats and B steps of 4, both 16-byte aligned.
//
// c<j>_lo and c<j>_hi hold column j of the 8 by 4 product, rows 0-3 and 4-7: eight quad registers.
// One step is four broadcasts of the B elements and eight fused multiply-adds,
// c<j>_<h> = fma(a_<h>, b_j, c<j>_<h>) lane by lane, each element starting from +0. The broadcast of
// each B element sits between the multiply-adds of the previous one.
//
// Read-ahead: A runs two steps ahead in two register pairs, x (q8, q9) holding the current step and
// y (q10, q11) the next, B one step ahead in q12, so the loops read up to A step k+1 and B step k;
// those values are never used. Each step refills the pair it used with A two steps on. The steps run
// as k mod 4 singles first, each followed by a swap of the pairs, then groups of four, which use x, y,
// x, y and so leave them in place. A is prefetched about two cache lines ahead: past step
// k mod 4 + 1 once, then step p + 6 at the head of the group starting at step p, which is 128 bytes
// past the step about to be loaded. B panels are short and are not prefetched.
//
// Written as assembly because the register assignment is the point: eight accumulators, two pairs of
// A, the B step and two broadcasts (q13, q14) take fifteen of the sixteen quad registers, and with
// intrinsics GCC's scheduler hoists the loads and broadcasts of the next steps until they no longer
// fit, so accumulators went to the stack in every group.
struct tile_accumulators {
  float32x4_t c0_lo, c0_hi, c1_lo, c1_hi, c2_lo, c2_hi, c3_lo, c3_hi;
};

[[gnu::always_inline]] inline tile_accumulators tile_product(int k, const float* a, const float* b) {
  float32x4_t c0_lo, c0_hi, c1_lo, c1_hi, c2_lo, c2_hi, c3_lo, c3_hi;
  int singles = k % 4;  // truncating: k below 1 gives none, and no groups either
  int groups = k > 0 ? k / 4 : 0;
  asm(
      "    vmov.i32  %q[c0l], #0\n"
      "    vmov.i32  %q[c0h], #0\n"
      "    vmov.i32  %q[c1l], #0\n"
      "    vmov.i32  %q[c1h], #0\n"
      "    vmov.i32  %q[c2l], #0\n"
      "    vmov.i32  %q[c2h], #0\n"
      "    vmov.i32  %q[c3l], #0\n"
      "    vmov.i32  %q[c3h], #0\n"
      "    vld1.32   {d16-d17}, [%[a]:128]!\n"
      "    vld1.32   {d18-d19}, [%[a]:128]!\n"
      "    vld1.32   {d20-d21}, [%[a]:128]!\n"
      "    vld1.32   {d22-d23}, [%[a]:128]!\n"
      "    vld1.32   {d24-d25}, [%[b]:128]!\n"
      "    subs      %[singles], %[singles], #1\n"
      "    blt       1f\n"
      "0:  @ single steps, the pairs swapped after each\n"
      "    vdup.32   q13, d24[0]\n"
      "    vfma.f32  %q[c0l], q8, q13\n"
      "    vdup.32   q14, d24[1]\n"
      "    vfma.f32  %q[c0h], q9, q13\n"
      "    vfma.f32  %q[c1l], q8, q14\n"
      "    vdup.32   q13, d25[0]\n"
      "    vfma.f32  %q[c1h], q9, q14\n"
      "    vfma.f32  %q[c2l], q8, q13\n"
      "    vdup.32   q14, d25[1]\n"
      "    vfma.f32  %q[c2h], q9, q13\n"
      "    vld1.32   {d24-d25}, [%[b]:128]!\n"
      "    vfma.f32  %q[c3l], q8, q14\n"
      "    vld1.32   {d16-d17}, [%[a]:128]!\n"
      "    vfma.f32  %q[c3h], q9, q14\n"
      "    vld1.32   {d18-d19}, [%[a]:128]!\n"
      "    vswp      q8, q10\n"
      "    vswp      q9, q11\n"
      "    subs      %[singles], %[singles], #1\n"
      "    bge       0b\n"
      "1:  @ prefetch past step k mod 4 + 1\n"
      "    pld       [%[a], #192]\n"
      "    pld       [%[a], #320]\n"
      "    cmp       %[groups], #0\n"
      "    ble       3f\n"
      "2:  @ groups of four steps: x, y, x, y\n"
      "    pld       [%[a], #128]\n"
      "    vdup.32   q13, d24[0]\n"
      "    vfma.f32  %q[c0l], q8, q13\n"
      "    vdup.32   q14, d24[1]\n"
      "    vfma.f32  %q[c0h], q9, q13\n"
      "    vfma.f32  %q[c1l], q8, q14\n"
      "    vdup.32   q13, d25[0]\n"
      "    vfma.f32  %q[c1h], q9, q14\n"
      "    vfma.f32  %q[c2l], q8, q13\n"
      "    vdup.32   q14, d25[1]\n"
      "    vfma.f32  %q[c2h], q9, q13\n"
      "    vld1.32   {d24-d25}, [%[b]:128]!\n"
      "    vfma.f32  %q[c3l], q8, q14\n"
      "    vld1.32   {d16-d17}, [%[a]:128]!\n"
      "    vfma.f32  %q[c3h], q9, q14\n"
      "    vld1.32   {d18-d19}, [%[a]:128]!\n"
      "    vdup.32   q13, d24[0]\n"
      "    vfma.f32  %q[c0l], q10, q13\n"
      "    vdup.32   q14, d24[1]\n"
      "    vfma.f32  %q[c0h], q11, q13\n"
      "    vfma.f32  %q[c1l], q10, q14\n"
      "    vdup.32   q13, d25[0]\n"
      "    vfma.f32  %q[c1h], q11, q14\n"
      "    vfma.f32  %q[c2l], q10, q13\n"
      "    vdup.32   q14, d25[1]\n"
      "    vfma.f32  %q[c2h], q11, q13\n"
      "    vld1.32   {d24-d25}, [%[b]:128]!\n"
      "    vfma.f32  %q[c3l], q10, q14\n"
      "    vld1.32   {d20-d21}, [%[a]:128]!\n"
      "    vfma.f32  %q[c3h], q11, q14\n"
      "    vld1.32   {d22-d23}, [%[a]:128]!\n"
      "    vdup.32   q13, d24[0]\n"
      "    vfma.f32  %q[c0l], q8, q13\n"
      "    vdup.32   q14, d24[1]\n"
      "    vfma.f32  %q[c0h], q9, q13\n"
      "    vfma.f32  %q[c1l], q8, q14\n"
      "    vdup.32   q13, d25[0]\n"
      "    vfma.f32  %q[c1h], q9, q14\n"
      "    vfma.f32  %q[c2l], q8, q13\n"
      "    vdup.32   q14, d25[1]\n"
      "    vfma.f32  %q[c2h], q9, q13\n"
      "    vld1.32   {d24-d25}, [%[b]:128]!\n"
      "    vfma.f32  %q[c3l], q8, q14\n"
      "    vld1.32   {d16-d17}, [%[a]:128]!\n"
      "    vfma.f32  %q[c3h], q9, q14\n"
      "    vld1.32   {d18-d19}, [%[a]:128]!\n"
      "    vdup.32   q13, d24[0]\n"
      "    vfma.f32  %q[c0l], q10, q13\n"
      "    vdup.32   q14, d24[1]\n"
      "    vfma.f32  %q[c0h], q11, q13\n"
      "    vfma.f32  %q[c1l], q10, q14\n"
      "    vdup.32   q13, d25[0]\n"
      "    vfma.f32  %q[c1h], q11, q14\n"
      "    vfma.f32  %q[c2l], q10, q13\n"
      "    vdup.32   q14, d25[1]\n"
      "    vfma.f32  %q[c2h], q11, q13\n"
      "    vld1.32   {d24-d25}, [%[b]:128]!\n"
      "    vfma.f32  %q[c3l], q10, q14\n"
      "    vld1.32   {d20-d21}, [%[a]:128]!\n"
      "    vfma.f32  %q[c3h], q11, q14\n"
      "    vld1.32   {d22-d23}, [%[a]:128]!\n"
      "    subs      %[groups], %[groups], #1\n"
      "    bne       2b\n"
      "3:\n"
      : [c0l] "=&w"(c0_lo), [c0h] "=&w"(c0_hi), [c1l] "=&w"(c1_lo), [c1h] "=&w"(c1_hi), [c2l] "=&w"(c2_lo),
        [c2h] "=&w"(c2_hi), [c3l] "=&w"(c3_lo), [c3h] "=&w"(c3_hi), [a] "+r"(a),
        [b] "+r"(b), [singles] "+r"(singles), [groups] "+r"(groups)
      :
      // The panel reads, of lengths the operands cannot spell, are covered by the memory clobber.
      : "d16", "d17", "d18", "d19", "d20", "d21", "d22", "d23", "d24", "d25", "d26", "d27", "d28", "d29", "cc",
        "memory");
  return {c0_lo, c0_hi, c1_lo, c1_hi, c2_lo, c2_hi, c3_lo, c3_hi};
}

}  // namespace
}  // namespace kovra::kernels::neon_vfpv4

#endif  // KOVRA_ARM32
