// kernel_neon_fma_scalar<float>: NEON packers, micro kernels and vector kernels with fused
// multiply-adds. Built with VFPv4 enabled; reached only on processors that report it.
#include <arm_neon.h>

#include <cstring>
#include <memory>

#include "kernels/neon/kernel_neon_fma_scalar.h"

#if !defined(__ARM_FEATURE_FMA)
#error "this file needs the VFPv4 fused multiply-add (-mfpu=neon-vfpv4), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

constexpr int mr = 8;  // rows of the tile: two quad registers per column
constexpr int nr = 4;  // columns of the tile: one quad register per B step
static_assert(fma_scalar_blocking<float>::value.tile_m == mr && fma_scalar_blocking<float>::value.tile_n == nr);
static_assert(sizeof(float32x4_t) == 4 * sizeof(float), "a B step is one quad register");
// Panel alignment: one A step is 32 bytes and one B step 16, so aligned panels stay aligned step by step.
static_assert(mr * sizeof(float) == 32 && nr * sizeof(float) == 16);

// Rows of a 4 by 4 block given by its columns (or columns given by rows): r[i] lane j = c[j] lane i.
inline void transpose4(const float32x4_t c[4], float32x4_t r[4]) {
  const float32x4x2_t t01 = vtrnq_f32(c[0], c[1]);
  const float32x4x2_t t23 = vtrnq_f32(c[2], c[3]);
  r[0] = vcombine_f32(vget_low_f32(t01.val[0]), vget_low_f32(t23.val[0]));
  r[1] = vcombine_f32(vget_low_f32(t01.val[1]), vget_low_f32(t23.val[1]));
  r[2] = vcombine_f32(vget_high_f32(t01.val[0]), vget_high_f32(t23.val[0]));
  r[3] = vcombine_f32(vget_high_f32(t01.val[1]), vget_high_f32(t23.val[1]));
}

// The tile product shared by micro_kernel and micro_kernel_t, without alpha and without C.
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

// Packers: the bytes of the default bodies, every source vector loaded before the first store. Sources
// have element alignment only.

// 4 source columns of 8 rows, copied as they are.
void kernel_neon_fma_scalar<float>::pack_a(const float* src, int ld, float* dst) const {
  float32x4_t v[nr][2];
  for (int j = 0; j < nr; ++j) {
    v[j][0] = vld1q_f32(src + j * ld);
    v[j][1] = vld1q_f32(src + j * ld + 4);
  }
  for (int j = 0; j < nr; ++j) {
    vst1q_f32(dst + j * mr, v[j][0]);
    vst1q_f32(dst + j * mr + 4, v[j][1]);
  }
}

// 8 source columns of 4 (the rows of the tile), transposed in two 4 by 4 blocks into 4 steps of 8.
void kernel_neon_fma_scalar<float>::pack_a_trans(const float* src, int ld, float* dst) const {
  float32x4_t v[2][4];
  for (int h = 0; h < 2; ++h)
    for (int i = 0; i < 4; ++i) v[h][i] = vld1q_f32(src + (4 * h + i) * ld);
  float32x4_t t[2][4];
  transpose4(v[0], t[0]);
  transpose4(v[1], t[1]);
  for (int j = 0; j < nr; ++j) {
    vst1q_f32(dst + j * mr, t[0][j]);
    vst1q_f32(dst + j * mr + 4, t[1][j]);
  }
}

// 8 source columns of 4 (the depth steps), copied as they are.
void kernel_neon_fma_scalar<float>::pack_b_trans(const float* src, int ld, float* dst) const {
  float32x4_t v[mr];
  for (int i = 0; i < mr; ++i) v[i] = vld1q_f32(src + i * ld);
  for (int i = 0; i < mr; ++i) vst1q_f32(dst + i * nr, v[i]);
}

// 4 source columns of 8 depth steps, transposed in two 4 by 4 blocks. The walker moves down the
// columns, so each column is prefetched 128 bytes past this tile. A B tile starts a whole number of
// 16-byte steps into a page-aligned block, hence the aligned stores.
void kernel_neon_fma_scalar<float>::pack_b(const float* src, int ld, float* dst) const {
  for (int j = 0; j < nr; ++j) __builtin_prefetch(src + j * ld + mr + 128 / sizeof(float));
  float32x4_t v[2][nr];
  for (int j = 0; j < nr; ++j) {
    v[0][j] = vld1q_f32(src + j * ld);
    v[1][j] = vld1q_f32(src + j * ld + 4);
  }
  float32x4_t t[2][4];
  transpose4(v[0], t[0]);
  transpose4(v[1], t[1]);
  float* out = static_cast<float*>(__builtin_assume_aligned(dst, 16));
  for (int h = 0; h < 2; ++h)
    for (int i = 0; i < 4; ++i) vst1q_f32(out + (4 * h + i) * nr, t[h][i]);
}

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + that with one fused multiply-add per
// element. C is touched once, at the end; with clear set it is not read at all.
void kernel_neon_fma_scalar<float>::micro_kernel(const float* alpha, int k, const float* a, const float* b, float* c,
                                                 int ldc, bool clear) const {
  if (!clear)
    for (int j = 0; j < nr; ++j) __builtin_prefetch(c + j * ldc);
  const tile_accumulators t = tile_product(k, a, b);
  const float32x4_t al = vdupq_n_f32(*alpha);
  const auto update = [&](float* cj, float32x4_t lo, float32x4_t hi) {
    if (clear) {
      vst1q_f32(cj, vmulq_f32(al, lo));
      vst1q_f32(cj + 4, vmulq_f32(al, hi));
    } else {
      vst1q_f32(cj, vfmaq_f32(vld1q_f32(cj), al, lo));
      vst1q_f32(cj + 4, vfmaq_f32(vld1q_f32(cj + 4), al, hi));
    }
  };
  update(c, t.c0_lo, t.c0_hi);
  update(c + ldc, t.c1_lo, t.c1_hi);
  update(c + 2 * ldc, t.c2_lo, t.c2_hi);
  update(c + 3 * ldc, t.c3_lo, t.c3_hi);
}

// The same product without alpha, a of height 8 and b of width 4, stored by rows: row i of the tile,
// 4 consecutive elements, at c + i * ldc. Without clear, C is added with plain additions.
void kernel_neon_fma_scalar<float>::micro_kernel_t(int k, const float* a, const float* b, float* c, int ldc,
                                                   bool clear) const {
  if (!clear)
    for (int i = 0; i < 4; ++i) __builtin_prefetch(c + i * ldc);
  const tile_accumulators t = tile_product(k, a, b);
  const float32x4_t halves[2][4] = {{t.c0_lo, t.c1_lo, t.c2_lo, t.c3_lo}, {t.c0_hi, t.c1_hi, t.c2_hi, t.c3_hi}};
  for (int h = 0; h < 2; ++h) {
    float32x4_t rows[4];
    transpose4(halves[h], rows);
    for (int i = 0; i < 4; ++i) {
      float* ci = c + (4 * h + i) * ldc;
      vst1q_f32(ci, clear ? rows[i] : vaddq_f32(vld1q_f32(ci), rows[i]));
    }
  }
}

// y = fma(alpha, x, y): groups of 16 with a prefetch 256 bytes ahead, then groups of 4, then single
// elements on the scalar unit.
void kernel_neon_fma_scalar<float>::axpy_kernel(int n, const float* alpha, const float* x, float* y) const {
  if (n < 1) return;
  const float al = *alpha;
  const float32x4_t av = vdupq_n_f32(al);
  const int n_by16 = n / 16 * 16, n_by4 = n / 4 * 4;
  int i = 0;
  for (; i < n_by16; i += 16) {
    __builtin_prefetch(x + i + 256 / sizeof(float));
    __builtin_prefetch(y + i + 256 / sizeof(float));
    float32x4_t xv[4], yv[4];
    for (int q = 0; q < 4; ++q) {
      xv[q] = vld1q_f32(x + i + 4 * q);
      yv[q] = vld1q_f32(y + i + 4 * q);
    }
    for (int q = 0; q < 4; ++q) vst1q_f32(y + i + 4 * q, vfmaq_f32(yv[q], av, xv[q]));
  }
  for (; i < n_by4; i += 4) vst1q_f32(y + i, vfmaq_f32(vld1q_f32(y + i), av, vld1q_f32(x + i)));
  for (; i < n; ++i) y[i] = __builtin_fmaf(al, x[i], y[i]);
}

// x = x * alpha in the same groups as axpy; alpha zero stores zeros without reading x, so NaN and
// infinity there are gone.
void kernel_neon_fma_scalar<float>::scal_kernel(int n, const float* alpha, float* x) const {
  if (n < 1) return;
  const float al = *alpha;
  const int n_by16 = n / 16 * 16, n_by4 = n / 4 * 4;
  int i = 0;
  if (al == 0.0f) {
    const float32x4_t zero = vdupq_n_f32(0.0f);
    for (; i < n_by16; i += 16)
      for (int q = 0; q < 4; ++q) vst1q_f32(x + i + 4 * q, zero);
    for (; i < n_by4; i += 4) vst1q_f32(x + i, zero);
    std::memset(x + i, 0, static_cast<std::size_t>(n - i) * sizeof(float));
    return;
  }
  const float32x4_t av = vdupq_n_f32(al);
  for (; i < n_by16; i += 16) {
    __builtin_prefetch(x + i + 256 / sizeof(float));
    float32x4_t xv[4];
    for (int q = 0; q < 4; ++q) xv[q] = vld1q_f32(x + i + 4 * q);
    for (int q = 0; q < 4; ++q) vst1q_f32(x + i + 4 * q, vmulq_f32(xv[q], av));
  }
  for (; i < n_by4; i += 4) vst1q_f32(x + i, vmulq_f32(vld1q_f32(x + i), av));
  for (; i < n; ++i) x[i] = x[i] * al;
}

template <> std::shared_ptr<kernel_object<float>> make_kernel_neon_fma_scalar<float>() {
  constexpr kernel_blocking numbers = fma_scalar_blocking<float>::value;
  return std::make_shared<kernel_neon_fma_scalar<float>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels
