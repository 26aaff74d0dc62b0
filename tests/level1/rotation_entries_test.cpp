// The exported rotation entries: the three Fortran names and the cblas_ name of each routine give what
// the routine itself gives, with arguments mapped in order (c before s, y1 by address or by value).
#include <gtest/gtest.h>

#include <array>
#include <complex>
#include <functional>
#include <vector>

#include <kovra/kovra.h>

#include "parallel/blas/level1/rot.h"
#include "parallel/blas/level1/rotg.h"
#include "parallel/blas/level1/rotm.h"
#include "parallel/blas/level1/rotmg.h"
#include "support/strided_vector.h"
#include "support/values.h"

namespace kovra::testing {
namespace {

using c32 = std::complex<float>;
using c64 = std::complex<double>;

// Runs every call on its own copy of the same operands and expects the operands that `routine` leaves.
// An operand is a vector of elements compared bit for bit.
template <typename T, typename Routine, typename... Calls>
void expect_forms_agree(std::vector<std::vector<T>> operands, Routine routine, Calls... calls) {
  auto want = operands;
  routine(want);
  int form = 0;
  for (auto call : {std::function<void(std::vector<std::vector<T>>&)>(calls)...}) {
    SCOPED_TRACE(::testing::Message() << "entry form " << form++);
    auto got = operands;
    call(got);
    for (std::size_t i = 0; i < got.size(); ++i) EXPECT_TRUE(all_same_bits(got[i], want[i])) << "operand " << i;
  }
}

using operands_f = std::vector<std::vector<float>>;
using operands_d = std::vector<std::vector<double>>;

// ROTG operands: a, b, c, s. The complex forms keep c in the real part of a third complex slot.
TEST(RotationEntries, Rotg) {
  expect_forms_agree<float>(
      {{-4}, {3}, {0}, {0}}, [](operands_f& v) { parallel::blas::rotg(&v[0][0], &v[1][0], &v[2][0], &v[3][0]); },
      [](operands_f& v) { srotg_(&v[0][0], &v[1][0], &v[2][0], &v[3][0]); },
      [](operands_f& v) { srotg(&v[0][0], &v[1][0], &v[2][0], &v[3][0]); },
      [](operands_f& v) { SROTG(&v[0][0], &v[1][0], &v[2][0], &v[3][0]); },
      [](operands_f& v) { cblas_srotg(&v[0][0], &v[1][0], &v[2][0], &v[3][0]); });
  expect_forms_agree<double>(
      {{1.5}, {-2}, {0}, {0}}, [](operands_d& v) { parallel::blas::rotg(&v[0][0], &v[1][0], &v[2][0], &v[3][0]); },
      [](operands_d& v) { drotg_(&v[0][0], &v[1][0], &v[2][0], &v[3][0]); },
      [](operands_d& v) { drotg(&v[0][0], &v[1][0], &v[2][0], &v[3][0]); },
      [](operands_d& v) { DROTG(&v[0][0], &v[1][0], &v[2][0], &v[3][0]); },
      [](operands_d& v) { cblas_drotg(&v[0][0], &v[1][0], &v[2][0], &v[3][0]); });

  using cv = std::vector<std::vector<c32>>;
  auto c_of = [](cv& v) { return reinterpret_cast<float*>(&v[2][0]); };
  expect_forms_agree<c32>(
      {{{2, -1}}, {{-3, 0.5}}, {{0, 0}}, {{0, 0}}},
      [&](cv& v) { parallel::blas::rotg(&v[0][0], &v[1][0], c_of(v), &v[3][0]); },
      [&](cv& v) { crotg_(&v[0][0], &v[1][0], c_of(v), &v[3][0]); },
      [&](cv& v) { crotg(&v[0][0], &v[1][0], c_of(v), &v[3][0]); },
      [&](cv& v) { CROTG(&v[0][0], &v[1][0], c_of(v), &v[3][0]); },
      [&](cv& v) { cblas_crotg(&v[0][0], &v[1][0], c_of(v), &v[3][0]); });
  using zv = std::vector<std::vector<c64>>;
  auto z_of = [](zv& v) { return reinterpret_cast<double*>(&v[2][0]); };
  expect_forms_agree<c64>(
      {{{-2, 1}}, {{3, 0.5}}, {{0, 0}}, {{0, 0}}},
      [&](zv& v) { parallel::blas::rotg(&v[0][0], &v[1][0], z_of(v), &v[3][0]); },
      [&](zv& v) { zrotg_(&v[0][0], &v[1][0], z_of(v), &v[3][0]); },
      [&](zv& v) { zrotg(&v[0][0], &v[1][0], z_of(v), &v[3][0]); },
      [&](zv& v) { ZROTG(&v[0][0], &v[1][0], z_of(v), &v[3][0]); },
      [&](zv& v) { cblas_zrotg(&v[0][0], &v[1][0], z_of(v), &v[3][0]); });
}

// ROTMG operands: d1, d2, x1, y1, param. Inputs that need a rescaling pass, so every output moves.
template <typename R, typename Fortran, typename Cblas>
void check_rotmg_entries(const std::array<Fortran, 3>& names, Cblas cblas_form) {
  using ops = std::vector<std::vector<R>>;
  auto run = [](ops& v, auto entry, auto y1) { entry(&v[0][0], &v[1][0], &v[2][0], y1, v[4].data()); };
  expect_forms_agree<R>(
      {{1}, {0x1p30}, {0.75}, {1.5}, {0, 0, 0, 0, 0}},
      [&](ops& v) { run(v, parallel::blas::rotmg<R>, v[3][0]); }, [&](ops& v) { run(v, names[0], &v[3][0]); },
      [&](ops& v) { run(v, names[1], &v[3][0]); }, [&](ops& v) { run(v, names[2], &v[3][0]); },
      [&](ops& v) { run(v, cblas_form, v[3][0]); });
}

TEST(RotationEntries, Rotmg) {
  check_rotmg_entries<float>(std::array{&srotmg_, &srotmg, &SROTMG}, &cblas_srotmg);
  check_rotmg_entries<double>(std::array{&drotmg_, &drotmg, &DROTMG}, &cblas_drotmg);
}

// Unequal increments of either sign and unequal c, s, so that any two arguments mixed up in an entry
// change the result; 12 elements take the tiled path.
constexpr int n = 12, incx = 2, incy = -3;

// Runs the routine and then each entry form (all given x and y) on the same strided vectors.
template <typename T, typename Routine, typename... Calls>
void expect_vector_forms_agree(Routine routine, Calls... calls) {
  using ops = std::vector<std::vector<T>>;
  auto on_vectors = [](auto call) {
    return [call](ops& v) {
      strided_vector<T> x(n, incx, v[0]), y(n, incy, v[1]);
      call(x.data(), y.data());
      v = {x.logical(), y.logical()};
    };
  };
  expect_forms_agree<T>({random_values<T>(n, 1), random_values<T>(n, 2)}, on_vectors(routine), on_vectors(calls)...);
}

template <typename T, typename Fortran, typename Cblas>
void check_rot_entries(const std::array<Fortran, 3>& names, Cblas cblas_form) {
  const real_t<T> c = 0.28, s = -0.96;
  auto fortran = [&](Fortran entry) { return [&, entry](T* x, T* y) { entry(&n, x, &incx, y, &incy, &c, &s); }; };
  expect_vector_forms_agree<T>([&](T* x, T* y) { parallel::blas::rot(n, x, incx, y, incy, c, s); },
                               fortran(names[0]), fortran(names[1]), fortran(names[2]),
                               [&](T* x, T* y) { cblas_form(n, x, incx, y, incy, c, s); });
}

template <typename R, typename Fortran, typename Cblas>
void check_rotm_entries(const std::array<Fortran, 3>& names, Cblas cblas_form) {
  const R param[5] = {-1, 0.75, -0.5, 0.25, 1.5};
  auto fortran = [&](Fortran entry) { return [&, entry](R* x, R* y) { entry(&n, x, &incx, y, &incy, param); }; };
  expect_vector_forms_agree<R>([&](R* x, R* y) { parallel::blas::rotm(n, x, incx, y, incy, param); },
                               fortran(names[0]), fortran(names[1]), fortran(names[2]),
                               [&](R* x, R* y) { cblas_form(n, x, incx, y, incy, param); });
}

TEST(RotationEntries, RotAndRotm) {
  check_rot_entries<float>(std::array{&srot_, &srot, &SROT}, &cblas_srot);
  check_rot_entries<double>(std::array{&drot_, &drot, &DROT}, &cblas_drot);
  check_rot_entries<c32>(std::array{&csrot_, &csrot, &CSROT}, &cblas_csrot);
  check_rot_entries<c64>(std::array{&zdrot_, &zdrot, &ZDROT}, &cblas_zdrot);
  check_rotm_entries<float>(std::array{&srotm_, &srotm, &SROTM}, &cblas_srotm);
  check_rotm_entries<double>(std::array{&drotm_, &drotm, &DROTM}, &cblas_drotm);
}

}  // namespace
}  // namespace kovra::testing
