// kernel_neon_mla<float>: NEON packers, micro kernel and vector kernels with the multiply-accumulate of
// NEON (product rounded, then added). Built for the NEON baseline; runs on every ARMv7 NEON core.
#include "kernels/neon/kernel_neon_mla.h"

#if KOVRA_ARM32

#include <arm_neon.h>

#include <memory>

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

void kernel_neon_mla<float>::pack_a(const float* src, int ld, float* dst) const {
  neon_real::pack_a_8x4(src, ld, dst);
}
void kernel_neon_mla<float>::pack_a_trans(const float* src, int ld, float* dst) const {
  neon_real::pack_a_trans_8x4(src, ld, dst);
}
void kernel_neon_mla<float>::pack_b_trans(const float* src, int ld, float* dst) const {
  neon_real::pack_b_trans_8x4(src, ld, dst);
}
void kernel_neon_mla<float>::pack_b(const float* src, int ld, float* dst) const {
  neon_real::pack_b_8x4(src, ld, dst);
}

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + alpha * that with one multiply-accumulate
// per element. C is touched once, at the end; with clear set it is not read at all.
void kernel_neon_mla<float>::micro_kernel(const float* alpha, int k, const float* a, const float* b, float* c,
                                          int ldc, bool clear) const {
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

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
