// GER, GERU and GERC edge cases in exact values: quick returns that read nothing, zero elements of y that
// skip their columns, the conjugation of GERC, every argument check with its report, and the entries
// (Fortran and CBLAS in both orders, with the row-major GERC that runs as GERU on a conjugated copy).
#include <gtest/gtest.h>

#include <array>
#include <complex>
#include <limits>
#include <string>
#include <vector>

#include <vesk/exceptions.h>

#include "ger_forms.h"
#include "kovra/vesk_runtime.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "support/element_types.h"
#include "support/reference_ger.h"
#include "support/strided_vector.h"

namespace kovra::testing {
namespace {

template <typename T>
class GerEdges : public ::testing::Test {};
TYPED_TEST_SUITE(GerEdges, element_types, element_type_names);

// One serial and one launched shape, each with unit and with strided vectors.
const int both_paths[][2] = {{8, 8}, {20, 30}};

template <typename T>
::testing::AssertionResult all_sentinel(const padded_matrix<T>& a) {
  if (auto guards = a.guards_intact(); !guards) return guards;
  return all_same_bits(matrix_part(a), std::vector<T>(matrix_part(a).size(), sentinel<T>()));
}

std::string report(const char* name, int position) {
  return std::string("** KOVRA Error!  On Entry to ") + name + " parameter number " + std::to_string(position) +
         " had an illegal value!\n";
}

TYPED_TEST(GerEdges, ZeroAlphaOrAnEmptyDimensionReturnsBeforeAnythingIsRead) {
  using T = TypeParam;
  const std::vector<T> nans(30, nan_element<T>());
  for (const auto& shape : both_paths)
    for (rank_one_form form : forms_of<T>())
      for (int inc : {1, -2}) {
        const int m = shape[0], n = shape[1];
        strided_vector<T> x(m, inc, nans), y(n, inc, nans);
        padded_matrix<T> a(m, n, m);
        a.fill(sentinel<T>());
        for (const T alpha : {make<T>(0), make<T>(-0.0, -0.0)})
          run_front(form, m, n, alpha, x.data(), inc, y.data(), inc, a.data(), m);
        run_front(form, 0, n, make<T>(1), x.data(), inc, y.data(), inc, a.data(), m);
        run_front(form, m, 0, make<T>(1), x.data(), inc, y.data(), inc, a.data(), m);
        EXPECT_TRUE(all_sentinel(a)) << form_text(form) << m << "x" << n << " inc " << inc;
      }
}

// A zero t = y_j skips column j altogether: even an infinite alpha, whose product with t is NaN, leaves
// the column as it was, NaN included.
TYPED_TEST(GerEdges, ZeroElementsOfYLeaveTheirColumnsUnread) {
  using T = TypeParam;
  const double inf = std::numeric_limits<double>::infinity();
  for (const auto& shape : both_paths)
    for (rank_one_form form : forms_of<T>())
      for (int inc : {1, -2})
        for (const T alpha : {make<T>(2, 1), make<T>(inf, 1)}) {
          const int m = shape[0], n = shape[1];
          std::vector<T> yv(n, make<T>(0));
          for (int j = 1; j < n; j += 2) yv[j] = make<T>(-0.0, -0.0);
          yv[n - 1] = make<T>(0.5, -2);
          strided_vector<T> x(m, inc, random_values<T>(m, 3)), y(n, inc, yv);
          padded_matrix<T> a(m, n, m + 1);
          a.fill(make<T>(3, -3));
          for (int j = 0; j < n; ++j) a.at(0, j) = sentinel<T>();
          padded_matrix<T> before = a;
          run_front(form, m, n, alpha, x.data(), inc, y.data(), inc, a.data(), a.ld());
          EXPECT_TRUE(a.guards_intact());
          for (int j = 0; j + 1 < n; ++j)
            for (int i = 0; i < m; ++i) ASSERT_TRUE(same_bits(a.at(i, j), before.at(i, j))) << i << ", " << j;
          for (int i = 1; i < m; ++i)  // the one non-zero element of y did update its column
            EXPECT_FALSE(same_bits(a.at(i, n - 1), before.at(i, n - 1)));
        }
}

// Both dimensions at most 8 run on the calling thread and need no runtime; one more row or column
// launches, which a stopped runtime refuses before any tile has run.
TEST(GerCutOff, OnlyCallsAboveEightNeedTheRuntime) {
  struct stopped_runtime {
    stopped_runtime() { vesk_stop(); }
    ~stopped_runtime() { vesk_start(0); }
  } stopped;
  const std::vector<double> x(9, 0.5), y(9, 2);
  std::vector<double> a(81, 1);
  parallel::blas::ger_front(8, 8, 3.0, x.data(), 1, y.data(), 1, a.data(), 9);
  EXPECT_EQ(a[0], 4);
  EXPECT_EQ(a[7 * 9 + 7], 4);
  EXPECT_EQ(a[8], 1);
  EXPECT_THROW(parallel::blas::ger_front(9, 1, 3.0, x.data(), 1, y.data(), 1, a.data(), 9), vesk::api_exception);
  EXPECT_THROW(parallel::blas::ger_front(1, 9, 3.0, x.data(), 1, y.data(), 1, a.data(), 9), vesk::api_exception);
  EXPECT_EQ(a[8], 1);
}

// GERC is GERU on conj(y), bit for bit; and the two differ where y has imaginary parts.
TEST(GercConjugation, IsGeruOnTheConjugateOfY) {
  using T = std::complex<double>;
  const int m = 13, n = 11;
  const auto xv = random_values<T>(m, 5), yv = random_values<T>(n, 6);
  std::vector<T> conj_y;
  for (const T& v : yv) conj_y.push_back(std::conj(v));
  padded_matrix<T> c(m, n, m), u(m, n, m), plain(m, n, m);
  for (auto* a : {&c, &u, &plain}) a->random(7);
  const T alpha(0.5, 1.5);
  parallel::blas::gerc_front(m, n, alpha, xv.data(), 1, yv.data(), 1, c.data(), m);
  parallel::blas::geru_front(m, n, alpha, xv.data(), 1, conj_y.data(), 1, u.data(), m);
  parallel::blas::geru_front(m, n, alpha, xv.data(), 1, yv.data(), 1, plain.data(), m);
  EXPECT_TRUE(c.same_as(u));
  EXPECT_FALSE(c.same_as(plain));
}

struct bad_call {
  int m, n, incx, incy, lda, position;
};

TYPED_TEST(GerEdges, EachBadArgumentIsReportedAtItsPositionAndAIsUntouched) {
  using T = TypeParam;
  const bad_call calls[] = {{-1, 2, 1, 1, 4, 1},  {2, -1, 1, 1, 4, 2}, {2, 2, 0, 1, 4, 5},  {2, 2, 1, 0, 4, 7},
                            {4, 2, 1, 1, 3, 9},   {0, 2, 1, 1, 0, 9},  {-1, -1, 0, 0, 0, 1}, {2, -1, 0, 1, 0, 2},
                            {2, 2, 0, 0, 1, 5},   {2, 2, -1, 0, 1, 7}, {20, 20, 1, 1, 19, 9}};
  const std::vector<T> values = random_values<T>(40, 9);
  for (rank_one_form form : forms_of<T>())
    for (const bad_call& call : calls)
      for (bool serial : {false, true}) {
        padded_matrix<T> a(4, 4, 4);
        a.fill(sentinel<T>());
        ::testing::internal::CaptureStderr();
        if (serial)
          run_serial(form, call.m, call.n, make<T>(1), values.data(), call.incx, values.data(), call.incy, a.data(),
                     call.lda);
        else
          run_front(form, call.m, call.n, make<T>(1), values.data(), call.incx, values.data(), call.incy, a.data(),
                    call.lda);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), report(form_text(form), call.position));
        EXPECT_TRUE(all_sentinel(a));
      }
}

// With no increments to check, the unit forms test M, N and LDA only.
TYPED_TEST(GerEdges, UnitIncrementFormsCheckDimensionsAndLeadingDimension) {
  using T = TypeParam;
  const bad_call calls[] = {{-1, 2, 0, 0, 4, 1}, {2, -1, 0, 0, 0, 2}, {3, 2, 0, 0, 2, 9}, {0, 2, 0, 0, 0, 9}};
  const std::vector<T> values = random_values<T>(8, 10);
  for (rank_one_form form : forms_of<T>())
    for (const bad_call& call : calls) {
      padded_matrix<T> a(4, 4, 4);
      a.fill(sentinel<T>());
      ::testing::internal::CaptureStderr();
      run_serial_unit(form, call.m, call.n, make<T>(1), values.data(), values.data(), a.data(), call.lda);
      EXPECT_EQ(::testing::internal::GetCapturedStderr(), report(form_text(form), call.position));
      EXPECT_TRUE(all_sentinel(a));
    }
}

// The entries of a type: the Fortran routine and the cblas_ form of each rank-one routine, with their
// front. Complex scalars go by address.
template <typename T> struct ger_entries;
template <> struct ger_entries<float> {
  static constexpr std::array fortran{sger_};
  static constexpr std::array cblas{cblas_sger};
  static float scalar(const float& v) { return v; }
};
template <> struct ger_entries<double> {
  static constexpr std::array fortran{dger_};
  static constexpr std::array cblas{cblas_dger};
  static double scalar(const double& v) { return v; }
};
template <> struct ger_entries<std::complex<float>> {
  static constexpr std::array fortran{cgeru_, cgerc_};
  static constexpr std::array cblas{cblas_cgeru, cblas_cgerc};
  static const void* scalar(const std::complex<float>& v) { return &v; }
};
template <> struct ger_entries<std::complex<double>> {
  static constexpr std::array fortran{zgeru_, zgerc_};
  static constexpr std::array cblas{cblas_zgeru, cblas_zgerc};
  static const void* scalar(const std::complex<double>& v) { return &v; }
};

// Column-major entries are the front itself, bit for bit. A row-major M by N matrix is updated as
// stored: element (i, j) at a[i*lda + j] gets alpha x_i op(y_j). Order 0 is row-major too.
TYPED_TEST(GerEdges, BothEntryFormsInBothOrders) {
  using T = TypeParam;
  using entries = ger_entries<T>;
  const int m = 11, n = 7, incx = -2, incy = 3;
  const T alpha = make<T>(0.75, 0.5);
  const auto xv = random_values<T>(m, 14), yv = random_values<T>(n, 15);
  strided_vector<T> x(m, incx, xv), y(n, incy, yv);
  const auto forms = forms_of<T>();
  for (std::size_t f = 0; f < forms.size(); ++f) {
    const auto fortran = entries::fortran[f];
    const auto cblas = entries::cblas[f];
    padded_matrix<T> routine(m, n, m + 2);
    routine.random(16);
    padded_matrix<T> by_reference = routine, col_major = routine;
    run_front(forms[f], m, n, alpha, x.data(), incx, y.data(), incy, routine.data(), routine.ld());
    const int ld = routine.ld();
    fortran(&m, &n, &alpha, x.data(), &incx, y.data(), &incy, by_reference.data(), &ld);
    cblas(CblasColMajor, m, n, entries::scalar(alpha), x.data(), incx, y.data(), incy, col_major.data(), ld);
    EXPECT_TRUE(by_reference.same_as(routine)) << form_text(forms[f]);
    EXPECT_TRUE(col_major.same_as(routine)) << form_text(forms[f]);

    for (int order : {int(CblasRowMajor), 0}) {
      padded_matrix<T> row_major(n, m, n + 1);  // the column-major view of the row-major M by N matrix
      row_major.random(17);
      padded_matrix<T> expected = row_major;
      reference_ger(forms[f] == rank_one_form::gerc, m, n, alpha, xv, yv,
                    [&](int i, int j) -> T& { return expected.at(j, i); });
      cblas(static_cast<CBLAS_ORDER>(order), m, n, entries::scalar(alpha), x.data(), incx, y.data(), incy,
            row_major.data(), row_major.ld());
      EXPECT_TRUE(near_reference(row_major, expected)) << form_text(forms[f]) << " order " << order;
    }
    EXPECT_TRUE(x.guards_intact());
    EXPECT_TRUE(y.guards_intact());
  }
}

// A row-major call reports the positions of the swapped call: N first, then M, incY at 5, incX at 7 and
// lda against max(1, N).
TEST(GerEntries, RowMajorReportsThePositionsOfTheSwappedCall) {
  std::vector<double> v(16, 1), a(16, 5);
  struct bad { int m, n, incx, incy, lda, position; };
  for (const bad call : {bad{2, -1, 1, 1, 4, 1}, bad{-1, 2, 1, 1, 4, 2}, bad{2, 2, 1, 0, 4, 5}, bad{2, 2, 0, 1, 4, 7},
                         bad{4, 3, 1, 1, 2, 9}}) {
    ::testing::internal::CaptureStderr();
    cblas_dger(CblasRowMajor, call.m, call.n, 1.0, v.data(), call.incx, v.data(), call.incy, a.data(), call.lda);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), report("GER ", call.position));
  }
  EXPECT_EQ(a, std::vector<double>(16, 5));
}

// Row-major GERC runs GERU on a conjugated copy of Y: its reports name GERU, a zero incY is not refused
// (every element of the copy is Y's first), and a negative N fails the copy's allocation first.
TEST(GerEntries, RowMajorGercRunsAsGeruOnAConjugatedCopy) {
  using T = std::complex<double>;
  const T one(1, 0), y0(0.5, -2);
  std::vector<T> x(4, T(1, 1)), y = {y0, T(7, 7)}, a(16, T(5, 5));
  struct bad { int m, n, incx; const char* text; };
  for (const bad call : {bad{-1, 2, 1, ""}, bad{2, 2, 0, ""},
                         bad{2, -1, 1, "** KOVRA SYSTEM ERROR! Aligned memory allocation failed!\n"}}) {
    ::testing::internal::CaptureStderr();
    cblas_zgerc(CblasRowMajor, call.m, call.n, &one, x.data(), call.incx, y.data(), 1, a.data(), 4);
    const int position = call.m < 0 ? 2 : call.n < 0 ? 1 : 7;
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), call.text + report("GERU ", position));
  }
  EXPECT_EQ(a, std::vector<T>(16, T(5, 5)));

  ::testing::internal::CaptureStderr();
  cblas_zgerc(CblasRowMajor, 2, 3, &one, x.data(), 1, y.data(), 0, a.data(), 4);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_EQ(a[i * 4 + j], T(5, 5) + T(1, 1) * std::conj(y0)) << i << ", " << j;
}

}  // namespace
}  // namespace kovra::testing
