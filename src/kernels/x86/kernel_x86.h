// x86_kernel<T, Isa>: the kernels of x86-64 processors with AVX2 and FMA (Isa = avx2_fma) or AVX-512
// (Isa = avx512), for the four element types. kernel_avx2_fma<T> and kernel_avx512<T> name them.
//
// They are vector_kernels (kernels/vector_kernel.h) over x86_tile<Isa, real_t<T>> with the blocking below. The
// bodies over the registers live in vector_ops<T, x86_tile<Isa, R>>, which only the file of each instruction set
// instantiates (kernel_x86_avx2.cpp, kernel_x86_avx512.cpp, built for that set while the rest of the library is
// not): the classes only forward to them, so constructing one, its virtual table and its destructor are ordinary
// code, and nothing of the wider instruction set runs before the selection has made such a kernel on a processor
// that reports it.
//
// Tiles, in elements of T (MR = tile_m rows, two vector registers of A per step; NR = tile_n columns of
// broadcast B elements; a complex type runs the loop of its real type over the interleaved parts, so each
// complex column is two real ones):
//
//                 float     double    complex<float>   complex<double>
//   avx2_fma      16 x 6    8 x 6     8 x 3            4 x 3             12 accumulators of 16
//   avx512        32 x 12   16 x 12   16 x 6           8 x 6             24 accumulators of 32
//
// Arithmetic, which the tests reproduce bit for bit, as kernels/vector_kernel_bodies.h states it: each element of
// the product sums from +0 with one fused multiply-add per step of depth, in order of depth, then meets alpha and
// C. The complex vector kernels stop short of a register whose product has a NaN and leave it to the portable body.
// The conjugating tile packers stay portable.
#pragma once

#include <complex>
#include <memory>

#include "helper/helper.h"
#include "kernels/blocking.h"
#include "kernels/kernel_object.h"
#include "kernels/vector_kernel.h"
#include "platform.h"

#if KOVRA_X86_64

namespace kovra::kernels {

// The instruction sets, by the width of a vector register and the real columns of a tile.
struct avx2_fma {
  static constexpr int register_bytes = 32;
  static constexpr int real_columns = 6;
};
struct avx512 {
  static constexpr int register_bytes = 64;
  static constexpr int real_columns = 12;
};

// Blocking of both sets: a depth of 256 steps (128 for complex<double>), the packed A block 768 KiB and the
// B block 192 KiB, which with the edge tile fill the 1 MiB scratch (384 rows by 96 columns of double). A panel
// of A (16 KiB for double on AVX2) stays in the first-level cache while the micro kernel runs it against every
// B panel of the block, which the second-level cache holds; the A block streams once per block of columns.
// Measured on a 2000 by 2000 product against depths of 128 and 512 and other splits of the 1 MiB: this one led
// for double and was level with the best for float.
template <typename T, typename Isa> constexpr kernel_blocking x86_blocking() {
  constexpr int parts = is_complex_v<T> ? 2 : 1;
  constexpr int tile_m = 2 * Isa::register_bytes / int(sizeof(T));
  constexpr int block_k = sizeof(T) <= 8 ? 256 : 128;
  constexpr int block_m = (768 << 10) / (block_k * int(sizeof(T)));
  constexpr int block_n = (192 << 10) / (block_k * int(sizeof(T)));
  return kernel_blocking{block_m, block_n, block_k, tile_m, Isa::real_columns / parts, 0, 0};
}
static_assert(sound_blocking<float>(x86_blocking<float, avx2_fma>()));
static_assert(sound_blocking<double>(x86_blocking<double, avx2_fma>()));
static_assert(sound_blocking<std::complex<float>>(x86_blocking<std::complex<float>, avx2_fma>()));
static_assert(sound_blocking<std::complex<double>>(x86_blocking<std::complex<double>, avx2_fma>()));
static_assert(sound_blocking<float>(x86_blocking<float, avx512>()));
static_assert(sound_blocking<double>(x86_blocking<double, avx512>()));
static_assert(sound_blocking<std::complex<float>>(x86_blocking<std::complex<float>, avx512>()));
static_assert(sound_blocking<std::complex<double>>(x86_blocking<std::complex<double>, avx512>()));

// The tile product of a set over real panels, defined (with the set's registers) in x86_kernel_bodies.h.
template <typename Isa, typename R> struct x86_tile;

template <typename T, typename Isa>
class x86_kernel final : public vector_kernel<T, x86_tile<Isa, real_t<T>>, Isa::register_bytes> {
 public:
  x86_kernel() : vector_kernel<T, x86_tile<Isa, real_t<T>>, Isa::register_bytes>(x86_blocking<T, Isa>()) {}
};

template <typename T> using kernel_avx2_fma = x86_kernel<T, avx2_fma>;
template <typename T> using kernel_avx512 = x86_kernel<T, avx512>;

// Only for processors that report the instruction set and the operating system's support for its registers.
template <typename T, typename Isa> std::shared_ptr<kernel_object<T>> make_x86_kernel() {
  return std::make_shared<x86_kernel<T, Isa>>();
}

extern template struct vector_ops<float, x86_tile<avx2_fma, float>>;
extern template struct vector_ops<double, x86_tile<avx2_fma, double>>;
extern template struct vector_ops<std::complex<float>, x86_tile<avx2_fma, float>>;
extern template struct vector_ops<std::complex<double>, x86_tile<avx2_fma, double>>;
extern template struct vector_ops<float, x86_tile<avx512, float>>;
extern template struct vector_ops<double, x86_tile<avx512, double>>;
extern template struct vector_ops<std::complex<float>, x86_tile<avx512, float>>;
extern template struct vector_ops<std::complex<double>, x86_tile<avx512, double>>;

}  // namespace kovra::kernels

#endif  // KOVRA_X86_64
