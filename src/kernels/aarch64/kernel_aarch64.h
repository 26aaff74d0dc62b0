// aarch64_kernel<T>: the kernels of 64-bit ARM processors, whose Advanced SIMD (NEON) with 32 registers of 128 bits
// and fused multiply-add every one of them has, for the four element types.
//
// They are vector_kernels (kernels/vector_kernel.h) over aarch64_tile<real_t<T>>, with the blocking below; the
// bodies, vector_ops<T, aarch64_tile<R>>, live in kernel_aarch64.cpp. Tiles, in elements of T (a complex type runs
// the loop of its real type over the interleaved parts, so each complex row and column is two real ones):
//
//   float 12 x 8    double 8 x 6    complex<float> 6 x 4    complex<double> 4 x 3      24 accumulators
//
// Each tile is at least as high as it is wide, since the stores by rows of an edge tile lay its rows tile_m
// elements apart: the float tile is 12 rows by 8 rather than 8 by 12 for that, with the same counts in its loop.
//
// Arithmetic, which the tests reproduce bit for bit, as kernels/vector_kernel_bodies.h states it: each element of
// the product sums from +0 with one fused multiply-add per step of depth, in order of depth, then meets alpha and
// C. The complex vector kernels stop short of a register whose product has a NaN and leave it to the portable body.
// The conjugating tile packers stay portable.
#pragma once

#include <complex>
#include <memory>
#include <type_traits>

#include "helper/helper.h"
#include "kernels/blocking.h"
#include "kernels/kernel_object.h"
#include "kernels/vector_kernel.h"
#include "platform.h"

#if KOVRA_AARCH64

namespace kovra::kernels {

// Blocking, for the cores of phones: first-level data caches of 32 to 64 KiB, second-level ones of 128 KiB to
// 1 MiB, often no third level. The micro kernel runs one A panel against every B panel of a block, so the A panel
// is what the first-level cache must keep: the depth is the largest multiple of 64 steps whose A panel and one B
// panel take at most 24 KiB, three quarters of the smallest first-level cache, leaving the rest to the lines of C
// and the stack (256 steps for float, 20 KiB; 192 for double, 21 KiB). The B block, which every A panel of the
// block reads again, takes at most 64 KiB, half of the smallest second-level cache. The A block takes 768 KiB,
// most of what the 1 MiB scratch leaves: it streams from memory once per block of columns, where each of its reals
// serves 42 multiply-adds or more, little enough for the prefetchers to keep up with.
template <typename T> constexpr kernel_blocking aarch64_blocking() {
  using R = real_t<T>;
  constexpr int parts = is_complex_v<T> ? 2 : 1;
  constexpr int real_rows = std::is_same_v<R, float> ? 12 : 8, real_columns = std::is_same_v<R, float> ? 8 : 6;
  constexpr int block_k = (24 << 10) / ((real_rows + real_columns) * int(sizeof(R))) / 64 * 64;
  constexpr int tile_m = real_rows / parts, tile_n = real_columns / parts;
  constexpr int column_bytes = block_k * int(sizeof(T));
  constexpr int block_m = (768 << 10) / column_bytes / tile_m * tile_m;
  constexpr int block_n = (64 << 10) / column_bytes / tile_n * tile_n;
  return kernel_blocking{block_m, block_n, block_k, tile_m, tile_n, 0, 0};
}
static_assert(sound_blocking<float>(aarch64_blocking<float>()));
static_assert(sound_blocking<double>(aarch64_blocking<double>()));
static_assert(sound_blocking<std::complex<float>>(aarch64_blocking<std::complex<float>>()));
static_assert(sound_blocking<std::complex<double>>(aarch64_blocking<std::complex<double>>()));
// The stores by rows of an edge tile need tiles no wider than high.
template <typename T>
constexpr bool tile_no_wider_than_high = aarch64_blocking<T>().tile_n <= aarch64_blocking<T>().tile_m;
static_assert(tile_no_wider_than_high<float> && tile_no_wider_than_high<double> &&
              tile_no_wider_than_high<std::complex<float>> && tile_no_wider_than_high<std::complex<double>>);

// The tile product over real panels, defined with the registers in aarch64_float_tile.h and aarch64_double_tile.h.
template <typename R> struct aarch64_tile;

inline constexpr int aarch64_register_bytes = 16;  // a NEON register, which the complex vector kernels step by

template <typename T>
class aarch64_kernel final : public vector_kernel<T, aarch64_tile<real_t<T>>, aarch64_register_bytes> {
 public:
  aarch64_kernel() : vector_kernel<T, aarch64_tile<real_t<T>>, aarch64_register_bytes>(aarch64_blocking<T>()) {}
};

template <typename T> std::shared_ptr<kernel_object<T>> make_aarch64_kernel() {
  return std::make_shared<aarch64_kernel<T>>();
}

extern template struct vector_ops<float, aarch64_tile<float>>;
extern template struct vector_ops<double, aarch64_tile<double>>;
extern template struct vector_ops<std::complex<float>, aarch64_tile<float>>;
extern template struct vector_ops<std::complex<double>, aarch64_tile<double>>;

}  // namespace kovra::kernels

#endif  // KOVRA_AARCH64
