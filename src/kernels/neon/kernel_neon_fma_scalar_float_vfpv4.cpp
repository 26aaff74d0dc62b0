// kernel_neon_fma_scalar<float> and <complex<float>>: the register-resident 8 by 4 float micro kernel
// with fused multiply-adds, run on float panels or on the interleaved parts of 4 by 2 complex panels
// (with the complex product and alpha applied once per tile), the vector micro_kernel_t, the prefetching
// pack_b, the float vector kernels and the making of the float image kernel. Built with VFPv4 enabled;
// reached only on processors that report it.
#include <arm_neon.h>

#include <complex>
#include <memory>

#include "kernels/neon/image_kernel_neon_fma_scalar.h"
#include "kernels/neon/kernel_neon_fma_scalar_complex.h"
#include "kernels/neon/kernel_neon_fma_scalar.h"
#include "kernels/neon/neon_cfloat_tile_end.h"
#include "kernels/neon/neon_float_tile_vfpv4.h"
#include "kernels/neon/neon_real_bodies.h"

#if !defined(__ARM_FEATURE_FMA)
#error "this file needs the VFPv4 fused multiply-add (-mfpu=neon-vfpv4), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

using neon_vfpv4::tile_accumulators;
using neon_vfpv4::tile_product;

constexpr int mr = 8;  // rows of the tile: two quad registers per column
constexpr int nr = 4;  // columns of the tile: one quad register per B step
static_assert(fma_scalar_blocking<float>::value.tile_m == mr && fma_scalar_blocking<float>::value.tile_n == nr);
static_assert(sizeof(float32x4_t) == 4 * sizeof(float), "a B step is one quad register");
// Panel alignment: one A step is 32 bytes and one B step 16, so aligned panels stay aligned step by step.
static_assert(mr * sizeof(float) == 32 && nr * sizeof(float) == 16);

}  // namespace

// The walker moves down the source columns, so each is prefetched 128 bytes past this tile. A B tile
// starts a whole number of 16-byte steps into a page-aligned block, hence the aligned stores.
void kernel_neon_fma_scalar<float>::pack_b(const float* src, int ld, float* dst) const {
  for (int j = 0; j < nr; ++j) __builtin_prefetch(src + j * ld + mr + 128 / sizeof(float));
  neon_real::pack_b_8x4(src, ld, static_cast<float*>(__builtin_assume_aligned(dst, 16)));
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
  const float32x4_t cols[2][4] = {{t.c0_lo, t.c1_lo, t.c2_lo, t.c3_lo}, {t.c0_hi, t.c1_hi, t.c2_hi, t.c3_hi}};
  neon_real::store_tile_by_rows(cols, c, ldc, clear);
}

// y = fma(alpha, x, y) in every stage.
void kernel_neon_fma_scalar<float>::axpy_kernel(int n, const float* alpha, const float* x, float* y) const {
  neon_real::axpy_float(n, *alpha, x, y, [](float32x4_t yv, float32x4_t av, float32x4_t xv) {
    return vfmaq_f32(yv, av, xv);
  });
}

void kernel_neon_fma_scalar<float>::scal_kernel(int n, const float* alpha, float* x) const {
  neon_real::scal_float(n, *alpha, x);
}

std::shared_ptr<image_kernel_object<float>> kernel_neon_fma_scalar<float>::new_image_kernel() const {
  return std::make_shared<image_kernel_neon_fma_scalar<float>>();
}

template <> std::shared_ptr<kernel_object<float>> make_kernel_neon_fma_scalar<float>() {
  constexpr kernel_blocking numbers = fma_scalar_blocking<float>::value;
  return std::make_shared<kernel_neon_fma_scalar<float>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

namespace {

using cfloat = std::complex<float>;

// The real loop's tile, in floats: an A step is 4 complex rows, a B step 2 complex columns.
static_assert(fma_scalar_blocking<cfloat>::value.tile_m * 2 == mr &&
              fma_scalar_blocking<cfloat>::value.tile_n * 2 == nr);
static_assert(sizeof(cfloat) == 2 * sizeof(float), "panels are interleaved real and imaginary parts");

}  // namespace

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + that. Per half column, two complex
// elements: T = R + swapneg(I) is the product (a.re b.re - a.im b.im, a.im b.re + a.re b.im), then
// alpha's parts scale it, P = alpha.re * T and Q = alpha.im * T, and the result is (P + C) + swapneg(Q),
// or P + swapneg(Q) with no read of C when clear is set. All plain, unfused operations (the end step of
// neon_cfloat_tile_end.h).
template <>
void kernel_neon_fma_scalar<cfloat>::micro_kernel(const cfloat* alpha, int k, const cfloat* a, const cfloat* b,
                                                  cfloat* c, int ldc, bool clear) const {
  static_assert(fma_scalar_blocking<cfloat>::value.tile_n == 2);
  if (!clear)
    for (int j = 0; j < fma_scalar_blocking<cfloat>::value.tile_n; ++j) __builtin_prefetch(c + j * ldc);
  const neon_vfpv4::tile_accumulators t =
      neon_vfpv4::tile_product(k, reinterpret_cast<const float*>(a), reinterpret_cast<const float*>(b));
  const float32x4_t acc[nr][2] = {{t.c0_lo, t.c0_hi}, {t.c1_lo, t.c1_hi}, {t.c2_lo, t.c2_hi}, {t.c3_lo, t.c3_hi}};
  neon_cfloat::store_complex_tile(acc, alpha, c, ldc, clear);
}

template <> std::shared_ptr<kernel_object<cfloat>> make_kernel_neon_fma_scalar<cfloat>() {
  constexpr kernel_blocking numbers = fma_scalar_blocking<cfloat>::value;
  return std::make_shared<kernel_neon_fma_scalar<cfloat>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels
