// The bodies of vector_ops<T, Tile> that do not depend on the instruction set, shared by the x86 kernels and the
// AArch64 ones. Only the file that instantiates a set's bodies includes this, with the set's own types:
//
//   V     the vector registers of one real type (x86_simd<Isa, R>, aarch64_simd<R>): reg, lanes, zero(), set1(x),
//         load(p), store(p, v), fma(a, b, c) = a*b + c rounded once, mul, add, addsub(a, b) = (a0 - b0, a1 + b1,
//         ...), swap_pairs(a) = (a1, a0, a3, a2, ...), any_nan(a)
//   Tile  the set's tile product, its own loop: Tile(k, a, b) with k >= 1 sums k steps of a real A panel (Tile::mr
//         reals per step) against a real B panel (Tile::nr reals per step), each sum from +0 with one fused
//         multiply-add per step in order of depth; acc[j][h] holds rows [h * lanes, (h + 1) * lanes) of real
//         column j. Tile::V names its registers.
//
// Every function here is a template of V or Tile, so no code built for one set can stand in for another's (the
// linker keeps one copy of an instantiation, from whichever file), and nothing here calls an inline function that
// is not. A complex panel is a real one twice as wide and deep in parts: the tile's loop runs unchanged, and real
// column 2j of its sums holds A times the real part of B's column j, column 2j + 1 A times its imaginary part.
//
// Arithmetic, which the tests reproduce bit for bit: a real tile ends in C = fma(sum, alpha, C), or sum * alpha
// with no read of C when clear is set. A complex element is formed from its four real sums as (rr - ii, ir + ri),
// multiplied by the full complex alpha (each of the four products rounded, then one subtraction and one addition),
// and added to C with a separate addition per part (or stored when clear). micro_kernel_t is micro_kernel with
// alpha 1, so both give the same bits for the same panels. The real vector kernels round exactly as the portable
// ones. The tile packers copy as the portable ones do, but with the tile's shape known at compile time, which halves
// their cost in calls of 9 to 32.
#pragma once

#include <complex>
#include <cstddef>
#include <cstring>
#include <utility>

#include "kernels/vector_kernel.h"

namespace kovra::kernels {

// f(std::integral_constant<int, 0>) ... f(std::integral_constant<int, N - 1>), unrolled.
template <int N, typename F> inline void for_each_index(F f) {
  [&]<int... I>(std::integer_sequence<int, I...>) { (f(std::integral_constant<int, I>{}), ...); }
  (std::make_integer_sequence<int, N>{});
}

// Registers of A per step of a tile, and the tile's shape in elements of T.
template <typename Tile> inline constexpr int tile_height = Tile::mr / Tile::V::lanes;
template <typename T, typename Tile> inline constexpr int tile_rows = Tile::mr / (is_complex_v<T> ? 2 : 1);
template <typename T, typename Tile> inline constexpr int tile_columns = Tile::nr / (is_complex_v<T> ? 2 : 1);

// Complex column j (the sums of real columns 2j and 2j + 1), register h: (rr - ii, ir + ri) per element.
template <typename Tile> typename Tile::V::reg complex_sum(const Tile& tile, int j, int h) {
  using V = typename Tile::V;
  return V::addsub(tile.acc[2 * j][h], V::swap_pairs(tile.acc[2 * j + 1][h]));
}

// The tile's sums as reals, column-major with Tile::mr reals per column (complex sums formed), for the stores by rows.
template <typename T, typename Tile> void store_sums(const Tile& tile, real_t<T>* out) {
  using V = typename Tile::V;
  for (int h = 0; h < tile_height<Tile>; ++h) {
    if constexpr (is_complex_v<T>)
      for (int j = 0; j < Tile::nr / 2; ++j) V::store(out + j * Tile::mr + h * V::lanes, complex_sum(tile, j, h));
    else
      for (int j = 0; j < Tile::nr; ++j) V::store(out + j * Tile::mr + h * V::lanes, tile.acc[j][h]);
  }
}

// `count` lines of `length` reals, `stride` reals apart: zeroed, or fetched into the cache ahead of use.
template <typename V, typename R> void clear_lines(R* c, int count, int stride, int length) {
  for (int j = 0; j < count; ++j) std::memset(static_cast<void*>(c + j * stride), 0, length * sizeof(R));
}
// Always inlined: as a function of its own, g++ finds it free of effects and drops the call.
template <typename V, typename R>
[[gnu::always_inline]] inline void prefetch_lines(const R* c, int count, int stride, int length) {
  for (int j = 0; j < count; ++j) {
    __builtin_prefetch(c + j * stride);
    __builtin_prefetch(c + j * stride + length - 1);
  }
}

// C's columns are fetched into the cache while the tile's loop runs.
template <typename T, typename Tile>
void vector_ops<T, Tile>::micro_kernel(T alpha, int k, const T* a, const T* b, T* c, int ldc, bool clear) {
  using R = real_t<T>;
  using V = typename Tile::V;
  using reg = typename V::reg;
  constexpr int nr = tile_columns<T, Tile>;
  R* const cr = reinterpret_cast<R*>(c);
  const int ldc_reals = ldc * (is_complex_v<T> ? 2 : 1);
  if (k < 1) {
    if (clear) clear_lines<V>(cr, nr, ldc_reals, Tile::mr);
    return;
  }
  if (!clear) prefetch_lines<V>(cr, nr, ldc_reals, Tile::mr);
  const Tile tile(k, reinterpret_cast<const R*>(a), reinterpret_cast<const R*>(b));
  const R* const al = reinterpret_cast<const R*>(&alpha);
  if constexpr (is_complex_v<T>) {
    // alpha * s = (ar * s) -+ (ai * swapped s): four rounded products, then one subtraction and one addition.
    const reg ar = V::set1(al[0]), ai = V::set1(al[1]);
    for (int j = 0; j < nr; ++j)
      for (int h = 0; h < tile_height<Tile>; ++h) {
        R* cj = cr + j * ldc_reals + h * V::lanes;
        const reg s = complex_sum(tile, j, h);
        const reg t = V::addsub(V::mul(s, ar), V::mul(V::swap_pairs(s), ai));
        V::store(cj, clear ? t : V::add(V::load(cj), t));
      }
  } else {
    const reg ar = V::set1(al[0]);
    for (int j = 0; j < nr; ++j)
      for (int h = 0; h < tile_height<Tile>; ++h) {
        R* cj = cr + j * ldc_reals + h * V::lanes;
        V::store(cj, clear ? V::mul(tile.acc[j][h], ar) : V::fma(tile.acc[j][h], ar, V::load(cj)));
      }
  }
}

// The sums of micro_kernel, stored by rows: C + sum per element (which is fma(sum, 1, C) exactly), or the sum.
template <typename T, typename Tile>
void vector_ops<T, Tile>::micro_kernel_t(int k, const T* a, const T* b, T* c, int ldc, bool clear) {
  using R = real_t<T>;
  using V = typename Tile::V;
  constexpr int parts = is_complex_v<T> ? 2 : 1;
  constexpr int mr = tile_rows<T, Tile>, row = Tile::nr;  // rows of the tile; reals in a row
  R* const cr = reinterpret_cast<R*>(c);
  const int ldc_reals = ldc * parts;
  if (k < 1) {
    if (clear) clear_lines<V>(cr, mr, ldc_reals, row);
    return;
  }
  if (!clear) prefetch_lines<V>(cr, mr, ldc_reals, row);
  const Tile tile(k, reinterpret_cast<const R*>(a), reinterpret_cast<const R*>(b));
  alignas(64) R sums[Tile::mr * Tile::nr / parts];
  store_sums<T>(tile, sums);
  for (int i = 0; i < mr; ++i) {
    R* ci = cr + i * ldc_reals;
    for (int j = 0; j < row / parts; ++j)
      for (int part = 0; part < parts; ++part) {
        const R s = sums[(j * mr + i) * parts + part];
        ci[j * parts + part] = clear ? s : ci[j * parts + part] + s;
      }
  }
}

// Runs register_at(i) for every whole register of n elements from i = 0, four at a time and then one at a time,
// and element(i) for the rest.
template <typename V, typename Register, typename Element>
void over_registers(int n, Register register_at, Element element) {
  int i = 0;
  for (; i + 4 * V::lanes <= n; i += 4 * V::lanes) for_each_index<4>([&](auto u) { register_at(i + u * V::lanes); });
  for (; i + V::lanes <= n; i += V::lanes) register_at(i);
  for (; i < n; ++i) element(i);
}

// y = fma(alpha, x, y) per element, as the portable loop rounds it.
template <typename T, typename Tile> void vector_ops<T, Tile>::axpy(int n, T alpha, const T* x, T* y) {
  if constexpr (!is_complex_v<T>) {
    using V = typename Tile::V;
    const typename V::reg al = V::set1(alpha);
    over_registers<V>(
        n, [&](int i) { V::store(y + i, V::fma(al, V::load(x + i), V::load(y + i))); },
        [&](int i) { y[i] = __builtin_fma(alpha, x[i], y[i]); });
  }
}

// x = x * alpha, or zeros with no read of x when alpha is 0.
template <typename T, typename Tile> void vector_ops<T, Tile>::scal(int n, T alpha, T* x) {
  if constexpr (!is_complex_v<T>) {
    if (n < 1) return;
    if (alpha == 0) {
      std::memset(static_cast<void*>(x), 0, n * sizeof(T));
      return;
    }
    using V = typename Tile::V;
    const typename V::reg al = V::set1(alpha);
    over_registers<V>(
        n, [&](int i) { V::store(x + i, V::mul(V::load(x + i), al)); }, [&](int i) { x[i] = x[i] * alpha; });
  }
}

// alpha * x on interleaved complex elements, as helper::cmul forms it: re = ac - bd and im = ad + bc with each
// product rounded on its own. The vector holds (a c, a d) and (b d, b c) per element, then subtracts in the
// real lane and adds in the imaginary one. A product with a NaN may be one that cmul recovers (infinite
// operands), so the callers leave such a register to the portable body.
template <typename V, typename T> struct complex_scaler {
  typename V::reg re, im;
  explicit complex_scaler(T alpha) : re(V::set1(alpha.real())), im(V::set1(alpha.imag())) {}
  typename V::reg times(typename V::reg x) const { return V::addsub(V::mul(re, x), V::mul(im, V::swap_pairs(x))); }
};

// y = y + alpha * x, each part added on its own, register by register up to the first NaN product (a NaN in
// a group of four stops the group, whose sum of products is NaN then, or also where infinities cancel).
template <typename T, typename Tile> int vector_ops<T, Tile>::complex_axpy(int n, T alpha, const T* x, T* y) {
  int i = 0;
  if constexpr (is_complex_v<T>) {
    using V = typename Tile::V;
    constexpr int per = V::lanes / 2;
    const complex_scaler<V, T> al(alpha);
    const auto xr = reinterpret_cast<const real_t<T>*>(x);
    const auto yr = reinterpret_cast<real_t<T>*>(y);
    for (; i + 4 * per <= n; i += 4 * per) {  // four registers at a time, one NaN test for all
      typename V::reg p[4];
      for_each_index<4>([&](auto u) { p[u] = al.times(V::load(xr + 2 * (i + u * per))); });
      if (V::any_nan(V::add(V::add(p[0], p[1]), V::add(p[2], p[3])))) return i;
      for_each_index<4>([&](auto u) {
        real_t<T>* at = yr + 2 * (i + u * per);
        V::store(at, V::add(V::load(at), p[u]));
      });
    }
    for (; i + per <= n; i += per) {
      const typename V::reg p = al.times(V::load(xr + 2 * i));
      if (V::any_nan(p)) break;
      V::store(yr + 2 * i, V::add(V::load(yr + 2 * i), p));
    }
  }
  return i;
}

// x = alpha * x, register by register up to the first NaN product.
template <typename T, typename Tile> int vector_ops<T, Tile>::complex_scal(int n, T alpha, T* x) {
  int i = 0;
  if constexpr (is_complex_v<T>) {
    using V = typename Tile::V;
    constexpr int per = V::lanes / 2;
    const complex_scaler<V, T> al(alpha);
    const auto xr = reinterpret_cast<real_t<T>*>(x);
    for (; i + 4 * per <= n; i += 4 * per) {
      typename V::reg p[4];
      for_each_index<4>([&](auto u) { p[u] = al.times(V::load(xr + 2 * (i + u * per))); });
      if (V::any_nan(V::add(V::add(p[0], p[1]), V::add(p[2], p[3])))) return i;
      for_each_index<4>([&](auto u) { V::store(xr + 2 * (i + u * per), p[u]); });
    }
    for (; i + per <= n; i += per) {
      const typename V::reg p = al.times(V::load(xr + 2 * i));
      if (V::any_nan(p)) break;
      V::store(xr + 2 * i, p);
    }
  }
  return i;
}

// The tile packers, with the tile's shape fixed at compile time so that the copies unroll into straight
// moves: one tile of tile_m rows by tile_n columns, or of tile_n rows by tile_m columns for B, in the same
// layouts as the portable packers.
template <typename T, typename Tile> void vector_ops<T, Tile>::pack_a(const T* src, int ld, T* dst) {
  constexpr int tile_m = tile_rows<T, Tile>, tile_n = tile_columns<T, Tile>;
  for_each_index<tile_n>([&](auto j) {
    std::memcpy(static_cast<void*>(dst + j * tile_m), src + std::ptrdiff_t{j} * ld, tile_m * sizeof(T));
  });
}

template <typename T, typename Tile> void vector_ops<T, Tile>::pack_a_trans(const T* src, int ld, T* dst) {
  constexpr int tile_m = tile_rows<T, Tile>, tile_n = tile_columns<T, Tile>;
  for_each_index<tile_m>([&](auto i) {
    for_each_index<tile_n>([&](auto j) { dst[j * tile_m + i] = src[j + std::ptrdiff_t{i} * ld]; });
  });
}

template <typename T, typename Tile> void vector_ops<T, Tile>::pack_b(const T* src, int ld, T* dst) {
  constexpr int tile_m = tile_rows<T, Tile>, tile_n = tile_columns<T, Tile>;
  for_each_index<tile_n>([&](auto j) {
    for_each_index<tile_m>([&](auto i) { dst[i * tile_n + j] = src[i + std::ptrdiff_t{j} * ld]; });
  });
}

template <typename T, typename Tile> void vector_ops<T, Tile>::pack_b_trans(const T* src, int ld, T* dst) {
  constexpr int tile_m = tile_rows<T, Tile>, tile_n = tile_columns<T, Tile>;
  for_each_index<tile_m>([&](auto i) {
    std::memcpy(static_cast<void*>(dst + i * tile_n), src + std::ptrdiff_t{i} * ld, tile_n * sizeof(T));
  });
}

}  // namespace kovra::kernels
