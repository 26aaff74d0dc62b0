// The bodies of x86_ops<T, Isa> over the vector registers of an instruction set, x86_simd<Isa, R>, which the
// file of each set specialises (x86_avx2_vectors.h, x86_avx512_vectors.h) and alone includes: every function
// here is a template of the set, so no code built for one set can stand in for code of another.
//
// The tile loop, per step of depth: two vector loads of A (the MR rows), then for each of the NR real
// columns one broadcast of B and two fused multiply-adds, 2 * NR accumulators in all (12 of the 16
// registers of AVX2, 24 of the 32 of AVX-512), which leaves the A pair and one broadcast. The C tile's
// columns are fetched into the cache while the loop runs. A complex panel is a real one twice as wide and
// deep in parts: the loop runs unchanged, and column 2j of its sums holds A times the real part of B's
// column j, column 2j + 1 A times its imaginary part.
#pragma once

#include <complex>
#include <cstring>
#include <utility>

#include "kernels/x86/kernel_x86.h"

namespace kovra::kernels {

template <typename Isa, typename R> struct x86_simd;

// f(std::integral_constant<int, 0>) ... f(std::integral_constant<int, N - 1>), unrolled.
template <int N, typename F> inline void for_each_index(F f) {
  [&]<int... I>(std::integer_sequence<int, I...>) { (f(std::integral_constant<int, I>{}), ...); }
  (std::make_integer_sequence<int, N>{});
}

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

  // Complex column j (the sums of real columns 2j and 2j + 1), half h: (rr - ii, ir + ri) per element.
  reg complex_sum(int j, int h) const { return V::addsub(acc[2 * j][h], V::swap_pairs(acc[2 * j + 1][h])); }
};

// The tile's sums as reals, column-major with MR elements of T per column, for the stores by rows.
template <typename Isa, typename T> void store_sums(const x86_tile<Isa, real_t<T>>& tile, real_t<T>* out) {
  using V = x86_simd<Isa, real_t<T>>;
  constexpr int mr = x86_tile<Isa, real_t<T>>::mr, nr = x86_tile<Isa, real_t<T>>::nr;
  for (int h = 0; h < 2; ++h) {
    if constexpr (is_complex_v<T>)
      for (int j = 0; j < nr / 2; ++j) V::store(out + j * mr + h * V::lanes, tile.complex_sum(j, h));
    else
      for (int j = 0; j < nr; ++j) V::store(out + j * mr + h * V::lanes, tile.acc[j][h]);
  }
}

// `count` lines of `length` reals, `stride` reals apart: zeroed, or fetched into the cache ahead of use.
template <typename Isa, typename R> void clear_lines(R* c, int count, int stride, int length) {
  for (int j = 0; j < count; ++j) std::memset(static_cast<void*>(c + j * stride), 0, length * sizeof(R));
}
// Always inlined: as a function of its own, g++ finds it free of effects and drops the call.
template <typename Isa, typename R>
[[gnu::always_inline]] inline void prefetch_lines(const R* c, int count, int stride, int length) {
  for (int j = 0; j < count; ++j) {
    __builtin_prefetch(c + j * stride);
    __builtin_prefetch(c + j * stride + length - 1);
  }
}

template <typename T, typename Isa>
void x86_ops<T, Isa>::micro_kernel(T alpha, int k, const T* a, const T* b, T* c, int ldc, bool clear) {
  using R = real_t<T>;
  using V = x86_simd<Isa, R>;
  using reg = typename V::reg;
  using tile_t = x86_tile<Isa, R>;
  constexpr int parts = is_complex_v<T> ? 2 : 1;
  constexpr int nr = tile_t::nr / parts;
  R* const cr = reinterpret_cast<R*>(c);
  const int ldc_reals = ldc * parts;
  if (k < 1) {
    if (clear) clear_lines<Isa>(cr, nr, ldc_reals, tile_t::mr);
    return;
  }
  if (!clear) prefetch_lines<Isa>(cr, nr, ldc_reals, tile_t::mr);
  const tile_t tile(k, reinterpret_cast<const R*>(a), reinterpret_cast<const R*>(b));
  const R* const al = reinterpret_cast<const R*>(&alpha);
  if constexpr (is_complex_v<T>) {
    // alpha * s = (ar * s) -+ (ai * swapped s): four rounded products, then one subtraction and one addition.
    const reg ar = V::set1(al[0]), ai = V::set1(al[1]);
    for (int j = 0; j < nr; ++j)
      for (int h = 0; h < 2; ++h) {
        R* cj = cr + j * ldc_reals + h * V::lanes;
        const reg s = tile.complex_sum(j, h);
        const reg t = V::addsub(V::mul(s, ar), V::mul(V::swap_pairs(s), ai));
        V::store(cj, clear ? t : V::add(V::load(cj), t));
      }
  } else {
    const reg ar = V::set1(al[0]);
    for (int j = 0; j < nr; ++j)
      for (int h = 0; h < 2; ++h) {
        R* cj = cr + j * ldc_reals + h * V::lanes;
        V::store(cj, clear ? V::mul(tile.acc[j][h], ar) : V::fma(tile.acc[j][h], ar, V::load(cj)));
      }
  }
}

// The sums of micro_kernel, stored by rows: C + sum per element (which is fma(sum, 1, C) exactly), or the sum.
template <typename T, typename Isa>
void x86_ops<T, Isa>::micro_kernel_t(int k, const T* a, const T* b, T* c, int ldc, bool clear) {
  using R = real_t<T>;
  using tile_t = x86_tile<Isa, R>;
  constexpr int parts = is_complex_v<T> ? 2 : 1;
  constexpr int mr = tile_t::mr / parts, row = tile_t::nr;  // rows of the tile; reals in a row
  R* const cr = reinterpret_cast<R*>(c);
  const int ldc_reals = ldc * parts;
  if (k < 1) {
    if (clear) clear_lines<Isa>(cr, mr, ldc_reals, row);
    return;
  }
  if (!clear) prefetch_lines<Isa>(cr, mr, ldc_reals, row);
  const tile_t tile(k, reinterpret_cast<const R*>(a), reinterpret_cast<const R*>(b));
  alignas(64) R sums[tile_t::mr * tile_t::nr / parts];
  store_sums<Isa, T>(tile, sums);
  for (int i = 0; i < mr; ++i) {
    R* ci = cr + i * ldc_reals;
    for (int j = 0; j < row / parts; ++j)
      for (int part = 0; part < parts; ++part) {
        const R s = sums[(j * mr + i) * parts + part];
        ci[j * parts + part] = clear ? s : ci[j * parts + part] + s;
      }
  }
}

// Runs register(i) for every whole register of n elements from i = 0, four at a time and then one at a time,
// and element(i) for the rest.
template <typename V, typename Register, typename Element>
void over_registers(int n, Register register_at, Element element) {
  int i = 0;
  for (; i + 4 * V::lanes <= n; i += 4 * V::lanes) for_each_index<4>([&](auto u) { register_at(i + u * V::lanes); });
  for (; i + V::lanes <= n; i += V::lanes) register_at(i);
  for (; i < n; ++i) element(i);
}

// y = fma(alpha, x, y) per element, as the portable loop rounds it.
template <typename T, typename Isa> void x86_ops<T, Isa>::axpy(int n, T alpha, const T* x, T* y) {
  if constexpr (!is_complex_v<T>) {
    using V = x86_simd<Isa, T>;
    const typename V::reg al = V::set1(alpha);
    over_registers<V>(
        n, [&](int i) { V::store(y + i, V::fma(al, V::load(x + i), V::load(y + i))); },
        [&](int i) { y[i] = __builtin_fma(alpha, x[i], y[i]); });
  }
}

// x = x * alpha, or zeros with no read of x when alpha is 0.
template <typename T, typename Isa> void x86_ops<T, Isa>::scal(int n, T alpha, T* x) {
  if constexpr (!is_complex_v<T>) {
    if (n < 1) return;
    if (alpha == 0) {
      std::memset(static_cast<void*>(x), 0, n * sizeof(T));
      return;
    }
    using V = x86_simd<Isa, T>;
    const typename V::reg al = V::set1(alpha);
    over_registers<V>(
        n, [&](int i) { V::store(x + i, V::mul(V::load(x + i), al)); }, [&](int i) { x[i] = x[i] * alpha; });
  }
}

// alpha * x on interleaved complex elements, as helper::cmul forms it: re = ac - bd and im = ad + bc with each
// product rounded on its own. The vector holds (a c, a d) and (b d, b c) per element, then subtracts in the
// real lane and adds in the imaginary one. A product with a NaN may be one that cmul recovers (infinite
// operands), so the callers leave such a register to the portable body.
template <typename T, typename Isa> struct complex_scaler {
  using V = x86_simd<Isa, real_t<T>>;
  typename V::reg re, im;
  explicit complex_scaler(T alpha) : re(V::set1(alpha.real())), im(V::set1(alpha.imag())) {}
  typename V::reg times(typename V::reg x) const { return V::addsub(V::mul(re, x), V::mul(im, V::swap_pairs(x))); }
};

// y = y + alpha * x, each part added on its own, register by register up to the first NaN product (a NaN in
// a group of four stops the group, whose sum of products is NaN then, or also where infinities cancel).
template <typename T, typename Isa> int x86_ops<T, Isa>::complex_axpy(int n, T alpha, const T* x, T* y) {
  int i = 0;
  if constexpr (is_complex_v<T>) {
    using V = x86_simd<Isa, real_t<T>>;
    constexpr int per = V::lanes / 2;
    const complex_scaler<T, Isa> al(alpha);
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
template <typename T, typename Isa> int x86_ops<T, Isa>::complex_scal(int n, T alpha, T* x) {
  int i = 0;
  if constexpr (is_complex_v<T>) {
    using V = x86_simd<Isa, real_t<T>>;
    constexpr int per = V::lanes / 2;
    const complex_scaler<T, Isa> al(alpha);
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
template <typename T, typename Isa> void x86_ops<T, Isa>::pack_a(const T* src, int ld, T* dst) {
  constexpr int tile_m = x86_blocking<T, Isa>().tile_m, tile_n = x86_blocking<T, Isa>().tile_n;
  for_each_index<tile_n>([&](auto j) {
    std::memcpy(static_cast<void*>(dst + j * tile_m), src + std::ptrdiff_t{j} * ld, tile_m * sizeof(T));
  });
}

template <typename T, typename Isa> void x86_ops<T, Isa>::pack_a_trans(const T* src, int ld, T* dst) {
  constexpr int tile_m = x86_blocking<T, Isa>().tile_m, tile_n = x86_blocking<T, Isa>().tile_n;
  for_each_index<tile_m>([&](auto i) {
    for_each_index<tile_n>([&](auto j) { dst[j * tile_m + i] = src[j + std::ptrdiff_t{i} * ld]; });
  });
}

template <typename T, typename Isa> void x86_ops<T, Isa>::pack_b(const T* src, int ld, T* dst) {
  constexpr int tile_m = x86_blocking<T, Isa>().tile_m, tile_n = x86_blocking<T, Isa>().tile_n;
  for_each_index<tile_n>([&](auto j) {
    for_each_index<tile_m>([&](auto i) { dst[i * tile_n + j] = src[i + std::ptrdiff_t{j} * ld]; });
  });
}

template <typename T, typename Isa> void x86_ops<T, Isa>::pack_b_trans(const T* src, int ld, T* dst) {
  constexpr int tile_m = x86_blocking<T, Isa>().tile_m, tile_n = x86_blocking<T, Isa>().tile_n;
  for_each_index<tile_m>([&](auto i) {
    std::memcpy(static_cast<void*>(dst + i * tile_n), src + std::ptrdiff_t{i} * ld, tile_n * sizeof(T));
  });
}

}  // namespace kovra::kernels
