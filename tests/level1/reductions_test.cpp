// The Level 1 reductions bit for bit against the tile-order reference: each tile reduces its slice as
// the serial form does, and the partials are folded in tile order. Then the exact values the rules fix:
// SDSDOT's sb per tile, NRM2's complex term rule, and the index searches' ties and NaN.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "kernels/get_kernel.h"
#include "parallel/blas/level1/asum.h"
#include "parallel/blas/level1/dot.h"
#include "parallel/blas/level1/dsdot.h"
#include "parallel/blas/level1/iamax.h"
#include "parallel/blas/level1/nrm2.h"
#include "support/cases.h"
#include "support/operands.h"

namespace kovra_test {
namespace {

using namespace parallel::blas;

struct slice_range {
  int begin, end;
};

// Equal shares of whole grains, the remainder handed out a grain at a time from the first tile, at most
// one tile per worker; a call of at most 8 elements is one serial range.
template <typename T>
std::vector<slice_range> tiles(int n, int workers) {
  if (n <= serial_cutoff) return {{0, n}};
  const int grain = kernels::get_kernel<T>()->tile_m, share = grain * (n / (grain * workers));
  int rest = n - share * workers;
  std::vector<slice_range> out;
  for (int begin = 0; int(out.size()) < workers && begin < n; begin = out.back().end) {
    const int extra = std::min(rest, grain);
    rest -= extra;
    out.push_back({begin, begin + share + extra});
  }
  return out;
}

template <typename T>
std::vector<T> slice(const std::vector<T>& v, slice_range r) {
  return std::vector<T>(v.begin() + r.begin, v.begin() + r.end);
}

// acc + x[i]*y[i] (conj(x[i]) with `conj`) in order: real products fused into the accumulator type A,
// complex ones rounded and added part by part.
template <typename A, typename T>
A ordered_dot(A acc, const std::vector<T>& x, const std::vector<T>& y, bool conj) {
  for (std::size_t i = 0; i < x.size(); ++i) {
    if constexpr (is_complex_v<T>)
      acc = plain_add(acc, plain_mul(conj ? conj_of(x[i]) : x[i], y[i]));
    else
      acc = std::fma(A(x[i]), A(y[i]), acc);
  }
  return acc;
}

template <typename T>
real_t<T> plain_asum(const std::vector<T>& x) {
  real_t<T> sum = 0;
  for (const T& v : x) sum += std::fabs(helper::REAL(v)) + std::fabs(helper::IMAG(v));
  return sum;
}

// The first position whose |Re| + |Im| is strictly larger (smaller) than all before it.
template <typename T>
int plain_index(const std::vector<T>& x, bool largest) {
  int pos = 0;
  for (std::size_t i = 1; i < x.size(); ++i) {
    const auto measure = [](const T& v) { return std::fabs(helper::REAL(v)) + std::fabs(helper::IMAG(v)); };
    const real_t<T> m = measure(x[i]), best = measure(x[pos]);
    if (largest ? best < m : best > m) pos = int(i);
  }
  return pos;
}

struct shape {
  int n, incx, incy, workers;
};

std::vector<shape> shapes() {
  std::vector<shape> table;
  for (int workers : {1, 2, 4})
    for (int n : {1, 5, 8, 9, 16, 17, 33, 1015})
      for (auto [incx, incy] : {std::pair{1, 1}, {2, 3}, {-1, 1}, {1, -2}, {-3, -1}, {0, 1}, {1, 0}})
        table.push_back({n, incx, incy, workers});
  return table;
}

template <typename T>
class Reductions : public ::testing::Test {};
TYPED_TEST_SUITE(Reductions, element_types, element_type_names);

TYPED_TEST(Reductions, MatchTheTileOrderReference) {
  using T = TypeParam;
  for_each_case(shapes(), [](const shape& s) {
    worker_scope scope(s.workers);
    strided_vector<T> x(s.n, s.incx, random_values<T>(s.n, 7 + s.n)), y(s.n, s.incy, random_values<T>(s.n, 19));
    const auto xl = x.logical(), yl = y.logical();
    const auto parts = tiles<T>(s.n, s.workers);
    // Each tile's partial, rounded to P, folded in tile order from `fold`.
    const auto dot_of = [&](auto start, auto fold, bool conj) {
      if (s.n <= serial_cutoff) return decltype(fold)(ordered_dot(start, xl, yl, conj));
      for (const slice_range r : parts)
        fold = plain_add(fold, decltype(fold)(ordered_dot(start, slice(xl, r), slice(yl, r), conj)));
      return fold;
    };
    EXPECT_TRUE(same_bits(dot(s.n, x.data(), s.incx, y.data(), s.incy), dot_of(T{}, T{}, false)));
    EXPECT_TRUE(same_bits(dotc(s.n, x.data(), s.incx, y.data(), s.incy), dot_of(T{}, T{}, true)));
    if constexpr (std::is_same_v<T, float>) {
      // sb starts the double sum of every tile (rounded to float) and the fold.
      EXPECT_TRUE(same_bits(dsdot<float, double>(s.n, x.data(), s.incx, y.data(), s.incy), dot_of(0.0, 0.0, false)));
      EXPECT_TRUE(same_bits(sdsdot<float, double>(s.n, 0.375f, x.data(), s.incx, y.data(), s.incy),
                            dot_of(0.375, 0.375f, false)));
    }
    // ASUM and NRM2 fold the tiles' partials with their serial form, as a real vector.
    if (s.incx > 0) {
      const auto fold = [&](auto reduce) {
        if (s.n <= serial_cutoff) return reduce(xl);
        std::vector<decltype(reduce(xl))> partials;
        for (const slice_range r : parts) partials.push_back(reduce(slice(xl, r)));
        return reduce(partials);
      };
      const auto serial_nrm2 = [](const auto& v) { return nrm2_serial(int(v.size()), v.data(), 1); };
      EXPECT_TRUE(same_bits(asum(s.n, x.data(), s.incx), fold([](const auto& v) { return plain_asum(v); })));
      EXPECT_TRUE(same_bits(nrm2(s.n, x.data(), s.incx), fold(serial_nrm2)));
      if constexpr (!is_complex_v<T>) {
        long double squares = 0;
        for (T v : xl) squares += (long double)v * v;
        EXPECT_NEAR(nrm2(s.n, x.data(), s.incx), std::sqrt(squares),
                    4 * std::sqrt(s.n) * std::numeric_limits<T>::epsilon() * std::sqrt(squares));
      }
    }
    EXPECT_TRUE(x.intact() && y.intact());
  });
}

TYPED_TEST(Reductions, QuickReturnsAreZero) {
  using T = TypeParam;
  const std::vector<T> x(20, make<T>(1, -1));
  for (auto [n, inc] : {std::pair{0, 1}, {-1, 1}, {1, 0}, {20, 0}, {20, -3}}) {
    EXPECT_TRUE(asum(n, x.data(), inc) == 0 && nrm2(n, x.data(), inc) == 0) << n << " " << inc;
    if (n < 1) {
      EXPECT_TRUE(same_bits(dot(n, x.data(), inc, x.data(), 1), T{}));
      EXPECT_TRUE(same_bits(dotc(n, x.data(), 1, x.data(), inc), T{}));
    }
  }
  for (auto [n, inc] : {std::pair{0, 1}, {-2, 1}, {1, 1}, {3, 0}, {3, -1}})
    EXPECT_TRUE(iamax(n, x.data(), inc) == 0 && iamin(n, x.data(), inc) == 0) << n << " " << inc;
}

// With every product 2, a tiled call returns sb*(tiles + 1) + 2n, a serial one sb + 2n.
TEST(WideDots, SbOncePerTileAndOnceInTheFold) {
  EXPECT_EQ((sdsdot<float, double>(-3, 2.5f, nullptr, 1, nullptr, 1)), 2.5f);
  const std::vector<float> ones(40, 1.0f), twos(40, 2.0f);
  for (int workers : {2, 4}) {
    worker_scope scope(workers);
    for (int n : {8, 9, 40})
      EXPECT_EQ((sdsdot<float, double>(n, 0.5f, ones.data(), 1, twos.data(), 1)),
                0.5f * (n <= 8 ? 1 : tiles<float>(n, workers).size() + 1) + 2.0f * n)
          << workers << " " << n;
  }
}

// Both terms of a complex element take |Re| as their size: (3, 4) is 3*sqrt(2), and (0, 5) before any
// non-zero term is 0/0. Large values do not overflow.
TEST(Nrm2, ExactValuesAndTheComplexTermRule) {
  using C = std::complex<double>;
  const double d[] = {3, 4}, big[] = {1e300, 1e300};
  const C z34(3, 4), z05(0, 5), later[] = {C(3, 0), z05};
  EXPECT_EQ(nrm2(2, d, 1), 5.0);
  EXPECT_NEAR(nrm2(2, big, 1), std::sqrt(2.0) * 1e300, 1e285);
  EXPECT_EQ(nrm2(1, &z34, 1), 3 * std::sqrt(2.0));
  EXPECT_TRUE(std::isnan(nrm2(1, &z05, 1)));
  EXPECT_EQ(nrm2(2, later, 1), 3.0);
  worker_scope scope(2);
  std::vector<C> tiled(20, z34);
  EXPECT_NEAR(nrm2(20, tiled.data(), 1), 3 * std::sqrt(40.0), 1e-13);
  tiled[0] = z05;
  EXPECT_TRUE(std::isnan(nrm2(20, tiled.data(), 1)));
}

// Vectors built to stress the searches: 0 few distinct values (ties everywhere), 1 rising values,
// 2 mostly NaN, 3 a NaN first, 4 infinities. Each tile scans its slice, the winners are scanned again in
// tile order, so a NaN opening a later tile never wins.
template <typename T>
std::vector<T> pattern(int p, int n) {
  std::mt19937 engine(100 + n);
  std::uniform_int_distribution<int> small(-3, 3);
  std::vector<T> v;
  for (int i = 0; i < n; ++i) {
    const int a = small(engine), b = small(engine);
    const bool other = p == 1 || (p == 2 && a != 3) || (p == 3 && i == 0) || (p == 4 && a == -3);
    v.push_back(!other   ? make<T>(a, b)
                : p == 1 ? make<T>(i % 2 ? -i : i, a)
                : p == 4 ? make<T>(b > 0 ? INFINITY : -INFINITY, 1)
                         : nan_element<T>());
  }
  return v;
}

TYPED_TEST(Reductions, IndexSearchesFollowTheTileOrder) {
  using T = TypeParam;
  struct search {
    int n, incx, pattern, workers;
  };
  std::vector<search> table;
  for (int workers : {1, 2, 4})
    for (int p = 0; p < 5; ++p)
      for (int n : {2, 9, 33, 511, 512, 513, 1537, 3000}) table.push_back({n, p % 2 ? 3 : 1, p, workers});
  for_each_case(table, [](const search& s) {
    worker_scope scope(s.workers);
    strided_vector<T> x(s.n, s.incx, pattern<T>(s.pattern, s.n));
    const auto xl = x.logical();
    for (bool largest : {true, false}) {
      std::vector<int> winners;
      std::vector<T> values;
      for (const slice_range r : tiles<T>(s.n, s.workers)) {
        winners.push_back(r.begin + plain_index(slice(xl, r), largest));
        values.push_back(xl[winners.back()]);
      }
      EXPECT_EQ((largest ? iamax<T> : iamin<T>)(s.n, x.data(), s.incx), winners[plain_index(values, largest)]);
    }
  });
  // (3, 4) measures 7 and beats (5, 0) although its modulus is the same; the first of equals wins.
  const std::vector<T> z = {make<T>(5, 0), make<T>(3, -4), make<T>(-4, 3)};
  EXPECT_EQ(iamax(3, z.data(), 1), is_complex_v<T> ? 1 : 0);
  EXPECT_EQ(iamin(3, z.data(), 1), is_complex_v<T> ? 0 : 1);
}

}  // namespace
}  // namespace kovra_test
