// kernel_neon_mla<float> and <complex<float>>: the 8 by 4 float multiply-accumulate loop of NEON (product
// rounded, then added), run on float panels or on the interleaved parts of 4 by 2 complex panels (with
// the complex product and alpha applied once per tile), and the float vector kernels. Built for the NEON
// baseline; runs on every ARMv7 NEON core.
#include "kernels/neon/kernel_neon_mla_complex.h"

#if KOVRA_ARM32

#include <arm_neon.h>

#include <complex>
#include <memory>

#include "kernels/neon/kernel_neon_mla.h"
#include "kernels/neon/neon_cfloat_tile_end.h"
#include "kernels/neon/neon_float_tile_mla.h"
#include "kernels/neon/neon_real_bodies.h"

#if defined(__ARM_FEATURE_FMA)
#error "this file must keep the NEON baseline: it runs on cores without VFPv4, see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

using neon_mla::mr;
using neon_mla::nr;
static_assert(mla_blocking<float>::value.tile_m == mr && mla_blocking<float>::value.tile_n == nr);
static_assert(neon_real::float_mr == mr && neon_real::float_nr == nr);

}  // namespace

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + alpha * that with one multiply-accumulate
// per element. C is touched once, at the end; with clear set it is not read at all.
void kernel_neon_mla<float>::micro_kernel(const float* alpha, int k, const float* a, const float* b, float* c, int ldc,
                                          bool clear) const {
  const neon_mla::tile_accumulators t = neon_mla::tile_product(k, a, b);
  const float32x4_t al = vdupq_n_f32(*alpha);
  for (int j = 0; j < nr; ++j) {
    float* cj = c + j * ldc;
    if (clear) {
      vst1q_f32(cj, vmulq_f32(al, t.acc[j][0]));
      vst1q_f32(cj + 4, vmulq_f32(al, t.acc[j][1]));
    } else {
      vst1q_f32(cj, vmlaq_f32(vld1q_f32(cj), al, t.acc[j][0]));
      vst1q_f32(cj + 4, vmlaq_f32(vld1q_f32(cj + 4), al, t.acc[j][1]));
    }
  }
}

// The same product without alpha, stored by rows (row i of the tile at c + i * ldc); without clear, C is added
// with plain additions, so the bits are those of micro_kernel with alpha 1 stored by columns.
void kernel_neon_mla<float>::micro_kernel_t(int k, const float* a, const float* b, float* c, int ldc,
                                            bool clear) const {
  const neon_mla::tile_accumulators t = neon_mla::tile_product(k, a, b);
  const float32x4_t cols[2][4] = {{t.acc[0][0], t.acc[1][0], t.acc[2][0], t.acc[3][0]},
                                  {t.acc[0][1], t.acc[1][1], t.acc[2][1], t.acc[3][1]}};
  neon_real::store_tile_by_rows(cols, c, ldc, clear);
}

// y = y + alpha * x with the product rounded in the vector stages; the single elements at the end run
// on the scalar unit with a fused multiply-add.
void kernel_neon_mla<float>::axpy_kernel(int n, const float* alpha, const float* x, float* y) const {
  neon_real::axpy_float(n, *alpha, x, y, [](float32x4_t yv, float32x4_t av, float32x4_t xv) {
    return vmlaq_f32(yv, av, xv);
  });
}

void kernel_neon_mla<float>::scal_kernel(int n, const float* alpha, float* x) const {
  neon_real::scal_float(n, *alpha, x);
}

template <> std::shared_ptr<kernel_object<float>> make_kernel_neon_mla<float>() {
  constexpr kernel_blocking numbers = mla_blocking<float>::value;
  return std::make_shared<kernel_neon_mla<float>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

namespace {

using cfloat = std::complex<float>;

// The real loop's tile, in floats: an A step is 4 complex rows, a B step 2 complex columns. In the
// tile's accumulators acc[j][h] (lanes 4h to 4h + 3 of the interleaved A step times B lane j, summed
// over the steps) the lanes of B are b0.re, b0.im, b1.re, b1.im, so acc[0], acc[1], acc[2], acc[3] are
// R[0], I[0], R[1], I[1].
static_assert(mla_blocking<cfloat>::value.tile_m * 2 == neon_mla::mr &&
              mla_blocking<cfloat>::value.tile_n * 2 == neon_mla::nr);
static_assert(sizeof(cfloat) == 2 * sizeof(float), "panels are interleaved real and imaginary parts");

}  // namespace

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + that. Per half column, two complex
// elements: T = R + swapneg(I) is the product, P = alpha.re * T and Q = alpha.im * T, and the result is
// (P + C) + swapneg(Q), or P + swapneg(Q) with no read of C when clear is set (the end step of
// neon_cfloat_tile_end.h). C is touched once, at the end, and is not prefetched.
template <>
void kernel_neon_mla<cfloat>::micro_kernel(const cfloat* alpha, int k, const cfloat* a, const cfloat* b, cfloat* c,
                                           int ldc, bool clear) const {
  static_assert(mla_blocking<cfloat>::value.tile_n == 2);
  const neon_mla::tile_accumulators t =
      neon_mla::tile_product(k, reinterpret_cast<const float*>(a), reinterpret_cast<const float*>(b));
  // Passed as a fresh array, which GCC keeps in registers through the end step.
  const float32x4_t acc[4][2] = {{t.acc[0][0], t.acc[0][1]}, {t.acc[1][0], t.acc[1][1]},
                                 {t.acc[2][0], t.acc[2][1]}, {t.acc[3][0], t.acc[3][1]}};
  neon_cfloat::store_complex_tile(acc, alpha, c, ldc, clear);
}

template <> std::shared_ptr<kernel_object<cfloat>> make_kernel_neon_mla<cfloat>() {
  constexpr kernel_blocking numbers = mla_blocking<cfloat>::value;
  return std::make_shared<kernel_neon_mla<cfloat>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
