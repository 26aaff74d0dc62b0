// The exported Level 1 entries: one Fortran name and the cblas_ name of each routine (the other names are
// aliases of the same symbol) leave what the routine leaves, with the arguments mapped in order and the
// complex results stored through the pointer; SCABS1/DCABS1; the mapping of the CBLAS enumerations.
#include "support/cases.h"

#include <gtest/gtest.h>
#include <kovra/kovra.h>

#include <cmath>
#include <complex>
#include <limits>
#include <string>

#include "interface/enums.h"
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

namespace kovra_test {
namespace {

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

TEST(CblasEnumerations, MapToCharactersAndAnythingElseToX) {
  using namespace interface;
  EXPECT_EQ(std::string() + trans_char(CblasNoTrans) + trans_char(CblasTrans) + trans_char(CblasConjTrans), "NTC");
  EXPECT_EQ(std::string() + uplo_char(CblasUpper) + uplo_char(CblasLower) + diag_char(CblasNonUnit) +
                diag_char(CblasUnit) + side_char(CblasLeft) + side_char(CblasRight),
            "ULNULR");
  for (int bad : {0, -1, 101, 110, 114, 121, 131, 141}) EXPECT_EQ(trans_char(bad), 'X') << bad;
  for (int bad : {0, 111, 120, 123, 133, 143})
    EXPECT_TRUE(uplo_char(bad) == 'X' && diag_char(bad) == 'X' && side_char(bad) == 'X') << bad;
  EXPECT_TRUE(is_col_major(CblasColMajor));
  for (int other : {int{CblasRowMajor}, 0, 103, -102}) EXPECT_FALSE(is_col_major(other)) << other;
}

}  // namespace
}  // namespace kovra_test
