// The x86 tile product, x86_tile<Isa, R>, over the vector registers of an instruction set, x86_simd<Isa, R>,
// which the file of each set specialises (x86_avx2_vectors.h, x86_avx512_vectors.h) and alone includes, with the
// bodies of vector_ops that every set shares (kernels/vector_kernel_bodies.h): every function here is a template
// of the set, so no code built for one set can stand in for code of another.
//
// The tile loop, per step of depth: two vector loads of A (the MR rows), then for each of the NR real
// columns one broadcast of B and two fused multiply-adds, 2 * NR accumulators in all (12 of the 16
// registers of AVX2, 24 of the 32 of AVX-512), which leaves the A pair and one broadcast. The C tile's
// columns are fetched into the cache while the loop runs.
#pragma once

#include "kernels/vector_kernel_bodies.h"
#include "kernels/x86/kernel_x86.h"

namespace kovra::kernels {

template <typename Isa, typename R> struct x86_simd;

// The sums of one tile: acc[j][h] holds rows [h * lanes, (h + 1) * lanes) of real column j.
template <typename Isa, typename R> struct x86_tile {
  using V = x86_simd<Isa, R>;
  using reg = typename V::reg;
  static constexpr int mr = 2 * V::lanes;
  static constexpr int nr = Isa::real_columns;

  reg acc[nr][2];

  // Sums over k steps of panels a (mr reals per step) and b (nr reals per step), from +0. They run in
  // local registers: the member is written once, at the end, since vector types may alias the panels.
  x86_tile(int k, const R* a, const R* b) {
    reg sum[nr][2];
    for_each_index<nr>([&](auto j) { sum[j][0] = sum[j][1] = V::zero(); });
    for (int p = 0; p < k; ++p, a += mr, b += nr) {
      const reg a0 = V::load(a), a1 = V::load(a + V::lanes);
      for_each_index<nr>([&](auto j) {
        const reg bj = V::broadcast(b + j);
        sum[j][0] = V::fma(a0, bj, sum[j][0]);
        sum[j][1] = V::fma(a1, bj, sum[j][1]);
      });
    }
    for_each_index<nr>([&](auto j) {
      acc[j][0] = sum[j][0];
      acc[j][1] = sum[j][1];
    });
  }
};

}  // namespace kovra::kernels
