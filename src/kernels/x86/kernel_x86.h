// x86_kernel<T, Isa>: the kernels of x86-64 processors with AVX2 and FMA (Isa = avx2_fma) or AVX-512
// (Isa = avx512), for the four element types. kernel_avx2_fma<T> and kernel_avx512<T> name them.
//
// The arithmetic bodies live in x86_ops<T, Isa>, which only the file of each instruction set defines
// (kernel_x86_avx2.cpp, kernel_x86_avx512.cpp, built for that set while the rest of the library is not):
// the classes here only forward to them, so constructing one, its virtual table and its destructor are
// ordinary code, and nothing of the wider instruction set runs before the selection has made such a kernel
// on a processor that reports it.
//
// Tiles, in elements of T (MR = tile_m rows, two vector registers of A per step; NR = tile_n columns of
// broadcast B elements; a complex type runs the loop of its real type over the interleaved parts, so each
// complex column is two real ones):
//
//                 float     double    complex<float>   complex<double>
//   avx2_fma      16 x 6    8 x 6     8 x 3            4 x 3             12 accumulators of 16
//   avx512        32 x 12   16 x 12   16 x 6           8 x 6             24 accumulators of 32
//
// Arithmetic, which the tests reproduce bit for bit: each element of the product sums from +0 with one
// fused multiply-add per step of depth, in order of depth. A real tile then ends in C = fma(sum, alpha, C),
// or sum * alpha with no read of C when clear is set. A complex element is formed from its four real sums as
// (rr - ii, ir + ri), multiplied by the full complex alpha (each of the four products rounded, then one
// subtraction and one addition), and added to C with a separate addition per part (or stored when clear).
// micro_kernel_t is micro_kernel with alpha 1, so both give the same bits for the same panels. The real
// vector kernels round exactly as the portable ones; the complex types keep the portable vector kernels.
// The tile packers copy as the portable ones do, but with the tile's shape known at compile time, which
// halves their cost in calls of 9 to 32; the conjugating ones stay portable.
#pragma once

#include <complex>
#include <memory>

#include "helper/helper.h"
#include "kernels/blocking.h"
#include "kernels/kernel_object.h"
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

// The bodies, defined in the file of each instruction set. Tile shapes are those of x86_blocking.
template <typename T, typename Isa> struct x86_ops {
  static void micro_kernel(T alpha, int k, const T* a, const T* b, T* c, int ldc, bool clear);
  static void micro_kernel_t(int k, const T* a, const T* b, T* c, int ldc, bool clear);
  static void axpy(int n, T alpha, const T* x, T* y);
  static void scal(int n, T alpha, T* x);
  // The complex vector kernels run whole registers from the start and return how many elements they did: they
  // stop short of a register whose product has a NaN, which the portable body must recompute.
  static int complex_axpy(int n, T alpha, const T* x, T* y);
  static int complex_scal(int n, T alpha, T* x);
  static void pack_a(const T* src, int ld, T* dst);
  static void pack_a_trans(const T* src, int ld, T* dst);
  static void pack_b(const T* src, int ld, T* dst);
  static void pack_b_trans(const T* src, int ld, T* dst);
};

template <typename T, typename Isa> class x86_kernel final : public kernel_object<T> {
 public:
  x86_kernel() : kernel_object<T>(x86_blocking<T, Isa>()) {}

  void pack_a(const T* src, int ld, T* dst) const override { x86_ops<T, Isa>::pack_a(src, ld, dst); }
  void pack_a_trans(const T* src, int ld, T* dst) const override { x86_ops<T, Isa>::pack_a_trans(src, ld, dst); }
  void pack_b(const T* src, int ld, T* dst) const override { x86_ops<T, Isa>::pack_b(src, ld, dst); }
  void pack_b_trans(const T* src, int ld, T* dst) const override { x86_ops<T, Isa>::pack_b_trans(src, ld, dst); }
  void micro_kernel(const T* alpha, int k, const T* a, const T* b, T* c, int ldc, bool clear) const override {
    x86_ops<T, Isa>::micro_kernel(*alpha, k, a, b, c, ldc, clear);
  }
  void micro_kernel_t(int k, const T* a, const T* b, T* c, int ldc, bool clear) const override {
    x86_ops<T, Isa>::micro_kernel_t(k, a, b, c, ldc, clear);
  }
  void axpy_kernel(int n, const T* alpha, const T* x, T* y) const override {
    if constexpr (is_complex_v<T>) {
      for (int i = 0; i < n;) {  // the vector body, then the portable one for one register or the tail
        i += x86_ops<T, Isa>::complex_axpy(n - i, *alpha, x + i, y + i);
        const int rest = helper::MIN(n - i, complex_lanes);
        kernel_object<T>::axpy_kernel(rest, alpha, x + i, y + i);
        i += rest;
      }
    } else {
      x86_ops<T, Isa>::axpy(n, *alpha, x, y);
    }
  }
  void scal_kernel(int n, const T* alpha, T* x) const override {
    if constexpr (is_complex_v<T>) {
      if (helper::is_zero(*alpha)) return kernel_object<T>::scal_kernel(n, alpha, x);  // clears, x unread
      for (int i = 0; i < n;) {
        i += x86_ops<T, Isa>::complex_scal(n - i, *alpha, x + i);
        const int rest = helper::MIN(n - i, complex_lanes);
        kernel_object<T>::scal_kernel(rest, alpha, x + i);
        i += rest;
      }
    } else {
      x86_ops<T, Isa>::scal(n, *alpha, x);
    }
  }

 private:
  static constexpr int complex_lanes = Isa::register_bytes / int(sizeof(T));
};

template <typename T> using kernel_avx2_fma = x86_kernel<T, avx2_fma>;
template <typename T> using kernel_avx512 = x86_kernel<T, avx512>;

// Only for processors that report the instruction set and the operating system's support for its registers.
template <typename T, typename Isa> std::shared_ptr<kernel_object<T>> make_x86_kernel() {
  return std::make_shared<x86_kernel<T, Isa>>();
}

extern template struct x86_ops<float, avx2_fma>;
extern template struct x86_ops<double, avx2_fma>;
extern template struct x86_ops<std::complex<float>, avx2_fma>;
extern template struct x86_ops<std::complex<double>, avx2_fma>;
extern template struct x86_ops<float, avx512>;
extern template struct x86_ops<double, avx512>;
extern template struct x86_ops<std::complex<float>, avx512>;
extern template struct x86_ops<std::complex<double>, avx512>;

}  // namespace kovra::kernels

#endif  // KOVRA_X86_64
