// The exported rotation entries, one Fortran name and the cblas_ name of each routine (the other names
// are aliases): each leaves what the routine leaves, its arguments mapped in order (c before s, y1 by
// address or by value).
#include <gtest/gtest.h>

#include <complex>
#include <vector>

#include <kovra/kovra.h>

#include "parallel/blas/level1/rot.h"
#include "parallel/blas/level1/rotg.h"
#include "parallel/blas/level1/rotm.h"
#include "parallel/blas/level1/rotmg.h"
#include "support/values.h"

namespace kovra_test {
namespace {

using c32 = std::complex<float>;
using c64 = std::complex<double>;

// Runs the routine and each entry on its own copy of the same operands; all must leave the same bits.
template <typename T, typename Routine, typename... Entries>
void expect_forms_agree(const std::vector<T>& start, Routine routine, Entries... entries) {
  auto want = start;
  routine(want.data());
  int form = 0;
  auto check = [&](auto entry) {
    auto got = start;
    entry(got.data());
    EXPECT_TRUE(all_same_bits(got, want)) << "entry form " << form++;
  };
  (check(entries), ...);
}

// a, b, c, s; a complex c lives in the real part of its slot.
template <typename T, typename F, typename C>
void check_rotg(T a, T b, F fortran, C cblas) {
  auto on = [](auto entry) { return [entry](T* v) { entry(v, v + 1, reinterpret_cast<real_t<T>*>(v + 2), v + 3); }; };
  expect_forms_agree<T>({a, b, T{}, T{}}, on(&parallel::blas::rotg<T>), on(fortran), on(cblas));
}

// d1, d2, x1, y1, param; inputs that need a rescaling pass, so every output moves.
template <typename R, typename F, typename C>
void check_rotmg(F fortran, C cblas) {
  expect_forms_agree<R>({1, 0x1p30, 0.75, 1.5, 0, 0, 0, 0, 0},
                        [](R* v) { parallel::blas::rotmg(v, v + 1, v + 2, v[3], v + 4); },
                        [fortran](R* v) { fortran(v, v + 1, v + 2, v + 3, v + 4); },
                        [cblas](R* v) { cblas(v, v + 1, v + 2, v[3], v + 4); });
}

TEST(RotationEntries, Generators) {
  check_rotg<float>(-4, 3, &srotg_, &cblas_srotg);
  check_rotg<double>(1.5, -2, &drotg_, &cblas_drotg);
  check_rotg(c32(2, -1), c32(-3, 0.5), &crotg_, &cblas_crotg);
  check_rotg(c64(-2, 1), c64(3, 0.5), &zrotg_, &cblas_zrotg);
  check_rotmg<float>(&srotmg_, &cblas_srotmg);
  check_rotmg<double>(&drotmg_, &cblas_drotmg);
}

// Unequal increments of either sign and unequal c, s, so that any two arguments mixed up change the
// result; x spans 23 elements, y the 34 after it, and 12 elements take the tiled path.
constexpr int n = 12, incx = 2, incy = -3;

template <typename T, typename F, typename C>
void check_rot(F fortran, C cblas) {
  const real_t<T> c = 0.28, s = -0.96;
  expect_forms_agree(
      random_values<T>(57, 1), [&](T* v) { parallel::blas::rot(n, v, incx, v + 23, incy, c, s); },
      [&](T* v) { fortran(&n, v, &incx, v + 23, &incy, &c, &s); },
      [&](T* v) { cblas(n, v, incx, v + 23, incy, c, s); });
}

template <typename R, typename F, typename C>
void check_rotm(F fortran, C cblas) {
  const R param[5] = {-1, 0.75, -0.5, 0.25, 1.5};
  expect_forms_agree(
      random_values<R>(57, 1), [&](R* v) { parallel::blas::rotm(n, v, incx, v + 23, incy, param); },
      [&](R* v) { fortran(&n, v, &incx, v + 23, &incy, param); },
      [&](R* v) { cblas(n, v, incx, v + 23, incy, param); });
}

TEST(RotationEntries, Appliers) {
  check_rot<float>(&srot_, &cblas_srot);
  check_rot<double>(&drot_, &cblas_drot);
  check_rot<c32>(&csrot_, &cblas_csrot);
  check_rot<c64>(&zdrot_, &cblas_zdrot);
  check_rotm<float>(&srotm_, &cblas_srotm);
  check_rotm<double>(&drotm_, &cblas_drotm);
}

}  // namespace
}  // namespace kovra_test
