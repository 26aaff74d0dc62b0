// The Level 1 reductions bit for bit against the tile-order reference (each tile reduces its slice as the
// serial form does, the partials fold in tile order), the exact values the rules fix (NRM2's complex term,
// the searches' ties and NaN), and every exported Level 1 entry against its routine.
#include <gtest/gtest.h>
#include <kovra/kovra.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "kernels/get_kernel.h"
#include "parallel/blas/level1/asum.h"
#include "parallel/blas/level1/axpby.h"
#include "parallel/blas/level1/axpy.h"
#include "parallel/blas/level1/copy.h"
#include "parallel/blas/level1/dot.h"
#include "parallel/blas/level1/dsdot.h"
#include "parallel/blas/level1/iamax.h"
#include "parallel/blas/level1/nrm2.h"
#include "parallel/blas/level1/rot.h"
#include "parallel/blas/level1/rotg.h"
#include "parallel/blas/level1/rotm.h"
#include "parallel/blas/level1/rotmg.h"
#include "parallel/blas/level1/scal.h"
#include "parallel/blas/level1/swap.h"
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
  for (std::size_t i = 0; i < x.size(); ++i) acc = multiply_add(A(conj ? conj_of(x[i]) : x[i]), A(y[i]), acc);
  return acc;
}

template <typename T>
real_t<T> measure(const T& v) {
  return std::fabs(helper::REAL(v)) + std::fabs(helper::IMAG(v));
}

template <typename T>
real_t<T> plain_asum(const std::vector<T>& x) {
  real_t<T> sum = 0;
  for (const T& v : x) sum += measure(v);
  return sum;
}

// The first position whose measure is strictly larger (smaller) than all before it.
template <typename T>
int plain_index(const std::vector<T>& x, bool largest) {
  int pos = 0;
  for (std::size_t i = 1; i < x.size(); ++i)
    pos = (largest ? measure(x[pos]) < measure(x[i]) : measure(x[pos]) > measure(x[i])) ? int(i) : pos;
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
  EXPECT_EQ((sdsdot<float, double>(-3, 2.5f, nullptr, 1, nullptr, 1)), 2.5f);  // sb even with nothing to add
  for (auto [n, inc] : {std::pair{0, 1}, {-2, 1}, {1, 1}, {3, 0}, {3, -1}})
    EXPECT_TRUE(iamax(n, x.data(), inc) == 0 && iamin(n, x.data(), inc) == 0) << n << " " << inc;
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

namespace blas = parallel::blas;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

template <typename T>
class Entries : public ::testing::Test {};
TYPED_TEST_SUITE(Entries, element_types, element_type_names);

// Unequal increments of either sign and unequal scalars, so that any two arguments mixed up change the
// result; 12 elements take the tiled path.
TYPED_TEST(Entries, EachEntryLeavesWhatItsRoutineLeaves) {
  using T = TypeParam;
  using R = real_t<T>;
  const int n = 12, ix = 2, iy = -3;
  const T a = make<T>(0.5, -2), b = make<T>(-1.5, 0.25);
  const R c = 0.28, s = -0.96;
  const auto x0 = random_values<T>(n, 41), y0 = random_values<T>(n, 43);
  const auto same = [&](auto... calls) { expect_same_effect(x0, ix, y0, iy, calls...); };
  same([&](T* x, T* y) { blas::axpy(n, a, x, ix, y, iy); },
       [&](T* x, T* y) { pick<T>(saxpy_, daxpy_, caxpy_, zaxpy_)(&n, &a, x, &ix, y, &iy); },
       [&](T* x, T* y) { pick<T>(cblas_saxpy, cblas_daxpy, cblas_caxpy, cblas_zaxpy)(n, scalar(a), x, ix, y, iy); });
  same([&](T* x, T* y) { blas::axpby(n, a, x, ix, b, y, iy); },
       [&](T* x, T* y) { pick<T>(saxpby_, daxpby_, caxpby_, zaxpby_)(&n, &a, x, &ix, &b, y, &iy); },
       [&](T* x, T* y) {
         pick<T>(cblas_saxpby, cblas_daxpby, cblas_caxpby, cblas_zaxpby)(n, scalar(a), x, ix, scalar(b), y, iy);
       });
  same([&](T* x, T*) { blas::scal(n, a, x, ix); },
       [&](T* x, T*) { pick<T>(sscal_, dscal_, cscal_, zscal_)(&n, &a, x, &ix); },
       [&](T* x, T*) { pick<T>(cblas_sscal, cblas_dscal, cblas_cscal, cblas_zscal)(n, scalar(a), x, ix); });
  same([&](T* x, T* y) { blas::copy(n, x, ix, y, iy); },
       [&](T* x, T* y) { pick<T>(scopy_, dcopy_, ccopy_, zcopy_)(&n, x, &ix, y, &iy); },
       [&](T* x, T* y) { pick<T>(cblas_scopy, cblas_dcopy, cblas_ccopy, cblas_zcopy)(n, x, ix, y, iy); });
  same([&](T* x, T* y) { blas::swap(n, x, ix, y, iy); },
       [&](T* x, T* y) { pick<T>(sswap_, dswap_, cswap_, zswap_)(&n, x, &ix, y, &iy); },
       [&](T* x, T* y) { pick<T>(cblas_sswap, cblas_dswap, cblas_cswap, cblas_zswap)(n, x, ix, y, iy); });
  same([&](T* x, T* y) { blas::rot(n, x, ix, y, iy, c, s); },
       [&](T* x, T* y) { pick<T>(srot_, drot_, csrot_, zdrot_)(&n, x, &ix, y, &iy, &c, &s); },
       [&](T* x, T* y) { pick<T>(cblas_srot, cblas_drot, cblas_csrot, cblas_zdrot)(n, x, ix, y, iy, c, s); });
  same([&](T* x, T*) { return blas::asum(n, x, ix); },
       [&](T* x, T*) { return pick<T>(sasum_, dasum_, scasum_, dzasum_)(&n, x, &ix); },
       [&](T* x, T*) { return pick<T>(cblas_sasum, cblas_dasum, cblas_scasum, cblas_dzasum)(n, x, ix); });
  same([&](T* x, T*) { return blas::nrm2(n, x, ix); },
       [&](T* x, T*) { return pick<T>(snrm2_, dnrm2_, scnrm2_, dznrm2_)(&n, x, &ix); },
       [&](T* x, T*) { return pick<T>(cblas_snrm2, cblas_dnrm2, cblas_scnrm2, cblas_dznrm2)(n, x, ix); });
  same([&](T* x, T*) { return blas::iamax(n, x, ix); },
       [&](T* x, T*) { return pick<T>(isamax_, idamax_, icamax_, izamax_)(&n, x, &ix); },
       [&](T* x, T*) { return pick<T>(cblas_isamax, cblas_idamax, cblas_icamax, cblas_izamax)(n, x, ix); });
  same([&](T* x, T*) { return blas::iamin(n, x, ix); },
       [&](T* x, T*) { return pick<T>(isamin_, idamin_, icamin_, izamin_)(&n, x, &ix); },
       [&](T* x, T*) { return pick<T>(cblas_isamin, cblas_idamin, cblas_icamin, cblas_izamin)(n, x, ix); });
  // a, b, c, s of ROTG in x; a complex c lives in the real part of its slot.
  const auto rotg_on = [](auto entry) {
    return [entry](T* v, T*) { entry(v, v + 1, reinterpret_cast<R*>(v + 2), v + 3); };
  };
  expect_same_effect<T>({make<T>(2, -1), make<T>(-3, 0.5), T{}, T{}}, 1, {}, 1, rotg_on(&blas::rotg<T>),
                        rotg_on(pick<T>(srotg_, drotg_, crotg_, zrotg_)),
                        rotg_on(pick<T>(cblas_srotg, cblas_drotg, cblas_crotg, cblas_zrotg)));
  if constexpr (is_complex_v<T>) {
    // The dots store their result: first argument in the Fortran form, last in cblas_..._sub; the
    // pointer starts as the sentinel, so a missing store shows. The real scale of SCAL.
    for (bool conj : {false, true}) {
      const auto stored = [](auto call) {
        T r = sentinel<T>();
        call(&r);
        return r;
      };
      same([&](T* x, T* y) { return conj ? blas::dotc(n, x, ix, y, iy) : blas::dot(n, x, ix, y, iy); },
           [&](T* x, T* y) {
             return stored([&](T* r) {
               (conj ? pick<T>(0, 0, cdotc_, zdotc_) : pick<T>(0, 0, cdotu_, zdotu_))(r, &n, x, &ix, y, &iy);
             });
           },
           [&](T* x, T* y) {
             return stored([&](T* r) {
               (conj ? pick<T>(0, 0, cblas_cdotc_sub, cblas_zdotc_sub)
                     : pick<T>(0, 0, cblas_cdotu_sub, cblas_zdotu_sub))(n, x, ix, y, iy, r);
             });
           });
    }
    same([&](T* x, T*) { blas::scal(n, c, x, ix); }, [&](T* x, T*) { pick<T>(0, 0, csscal_, zdscal_)(&n, &c, x, &ix); },
         [&](T* x, T*) { pick<T>(0, 0, cblas_csscal, cblas_zdscal)(n, c, x, ix); });
  } else {
    same([&](T* x, T* y) { return blas::dot(n, x, ix, y, iy); },
         [&](T* x, T* y) { return pick<T>(sdot_, ddot_, 0, 0)(&n, x, &ix, y, &iy); },
         [&](T* x, T* y) { return pick<T>(cblas_sdot, cblas_ddot, 0, 0)(n, x, ix, y, iy); });
    const R param[5] = {-1, 0.75, -0.5, 0.25, 1.5};
    same([&](T* x, T* y) { blas::rotm(n, x, ix, y, iy, param); },
         [&](T* x, T* y) { pick<T>(srotm_, drotm_, 0, 0)(&n, x, &ix, y, &iy, param); },
         [&](T* x, T* y) { pick<T>(cblas_srotm, cblas_drotm, 0, 0)(n, x, ix, y, iy, param); });
    // d1, d2, x1, y1, param of ROTMG in x; inputs that need a rescaling pass, so every output moves.
    expect_same_effect<T>(
        {1, 0x1p30, 0.75, 1.5, 0, 0, 0, 0, 0}, 1, {}, 1, [](T* v, T*) { blas::rotmg(v, v + 1, v + 2, v[3], v + 4); },
        [](T* v, T*) { pick<T>(srotmg_, drotmg_, 0, 0)(v, v + 1, v + 2, v + 3, v + 4); },
        [](T* v, T*) { pick<T>(cblas_srotmg, cblas_drotmg, 0, 0)(v, v + 1, v + 2, v[3], v + 4); });
  }
  if constexpr (std::is_same_v<T, float>) {  // sb between n and x in both forms
    const float sb = -0.625f;
    same([&](T* x, T* y) { return blas::dsdot<float, double>(n, x, ix, y, iy); },
         [&](T* x, T* y) { return dsdot_(&n, x, &ix, y, &iy); },
         [&](T* x, T* y) { return cblas_dsdot(n, x, ix, y, iy); });
    same([&](T* x, T* y) { return blas::sdsdot<float, double>(n, sb, x, ix, y, iy); },
         [&](T* x, T* y) { return sdsdot_(&n, &sb, x, &ix, y, &iy); },
         [&](T* x, T* y) { return cblas_sdsdot(n, sb, x, ix, y, iy); });
  }
}

TEST(Cabs1, SumsTheAbsoluteParts) {
  const c32 f(-3.0f, 4.5f);
  const c64 d(2.25, -0.0), nan_part(1.0, std::numeric_limits<double>::quiet_NaN());
  EXPECT_TRUE(scabs1_(&f) == 7.5f && cblas_scabs1(&f) == 7.5f);
  EXPECT_TRUE(dcabs1_(&d) == 2.25 && cblas_dcabs1(&d) == 2.25);
  EXPECT_TRUE(std::isnan(dcabs1_(&nan_part)));
}

}  // namespace
}  // namespace kovra_test
