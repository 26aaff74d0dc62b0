// GER, GERU and GERC: results against the reference loop, the packed tile path, the cases that must
// read nothing, the serial cut-off, every argument check with its report, and the entries.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include <vesk/exceptions.h>

#include "kernels/get_kernel.h"
#include "vesk/runtime.h"
#include "level2_cases.h"
#include "parallel/blas/level2/ger.h"
#include "support/element_types.h"
#include "support/worker_scope.h"
#include "threading/scratch.h"

namespace kovra_test {
namespace {

using parallel::blas::rank_one_form;

template <typename T>
std::vector<rank_one_form> forms_of() {
  if constexpr (is_complex_v<T>) return {rank_one_form::geru, rank_one_form::gerc};
  else return {rank_one_form::ger};
}

enum path { front, serial, unit };

// The front, serial or unit-increment routine of a form chosen at run time.
template <typename T>
void run_ger(rank_one_form form, int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda,
             path p = front) {
  using namespace parallel::blas;
  const auto with = [&](auto f) {
    constexpr rank_one_form F = decltype(f)::value;
    if (p == front) rank_one_front<F>(m, n, alpha, x, incx, y, incy, a, lda);
    else if (p == serial) rank_one_serial<F>(m, n, alpha, x, incx, y, incy, a, lda);
    else rank_one_serial_unit<F>(m, n, alpha, x, y, a, lda);
  };
  if constexpr (!is_complex_v<T>) with(std::integral_constant<rank_one_form, rank_one_form::ger>{});
  else if (form == rank_one_form::gerc) with(std::integral_constant<rank_one_form, rank_one_form::gerc>{});
  else with(std::integral_constant<rank_one_form, rank_one_form::geru>{});
}

template <typename T>
std::vector<T> matrix_part(const padded_matrix<T>& a) {
  std::vector<T> values;
  for (int j = 0; j < a.cols(); ++j)
    for (int i = 0; i < a.rows(); ++i) values.push_back(a.at(i, j));
  return values;
}

// Each element is a few roundings of numbers below 4 away from the reference.
template <typename T>
::testing::AssertionResult near_reference(const padded_matrix<T>& actual, const padded_matrix<T>& expected) {
  if (auto guards = actual.guards_intact(); !guards) return guards;
  return all_near(matrix_part(actual), matrix_part(expected), 32 * double(std::numeric_limits<real_t<T>>::epsilon()));
}

template <typename T>
::testing::AssertionResult untouched(const padded_matrix<T>& a) {
  if (auto guards = a.guards_intact(); !guards) return guards;
  return all_sentinels(matrix_part(a));
}

// One update: x and y strided with sentinels in the gaps and guards, A with NaN sentinels in its padding.
template <typename T>
struct ger_case {
  rank_one_form form;
  int m, n, incx, incy;
  std::vector<T> xv, yv;
  strided_vector<T> x, y;
  padded_matrix<T> a;

  ger_case(rank_one_form f, int m_, int n_, int incx_, int incy_, unsigned seed, int pad = 1)
      : form(f), m(m_), n(n_), incx(incx_), incy(incy_), xv(random_values<T>(m, seed)),
        yv(random_values<T>(n, seed + 1)), x(m, incx, xv), y(n, incy, yv), a(m, n, m + pad) {
    a.random(seed + 2);
  }
  void run(T alpha) { run_ger(form, m, n, alpha, x.data(), incx, y.data(), incy, a.data(), a.ld()); }
  void fortran(T alpha) {
    const int lda = a.ld();
    const bool c = form == rank_one_form::gerc;
    pick<T>(sger_, dger_, c ? cgerc_ : cgeru_, c ? zgerc_ : zgeru_)(&m, &n, &alpha, x.data(), &incx, y.data(), &incy,
                                                                  a.data(), &lda);
  }
  void cblas(int order, T alpha) {
    const bool c = form == rank_one_form::gerc;
    pick<T>(cblas_sger, cblas_dger, c ? cblas_cgerc : cblas_cgeru, c ? cblas_zgerc : cblas_zgeru)(
        static_cast<CBLAS_ORDER>(order), m, n, scalar(alpha), x.data(), incx, y.data(), incy, a.data(), a.ld());
  }
  // A after the reference update; a row-major A holds element (i, j) at a.at(j, i).
  padded_matrix<T> expected(T alpha, bool row_major = false) const {
    padded_matrix<T> b = a;
    reference_ger(form == rank_one_form::gerc, m, n, alpha, xv, yv,
                  [&](int i, int j) -> T& { return row_major ? b.at(j, i) : b.at(i, j); });
    return b;
  }
};

template <typename T>
class Ger : public ::testing::Test {};
TYPED_TEST_SUITE(Ger, element_types, element_type_names);

template <typename T>
void check_update(rank_one_form form, int m, int n, int incx, int incy, unsigned seed) {
  const T alpha = make<T>(1.25, -0.75);
  ger_case<T> c(form, m, n, incx, incy, seed, 3);
  const auto want = c.expected(alpha);
  c.run(alpha);
  EXPECT_TRUE(near_reference(c.a, want)) << int(form) << " " << m << "x" << n << " incs " << incx << " " << incy;
  EXPECT_TRUE(c.x.guards_intact());
  EXPECT_TRUE(c.y.guards_intact());
}

// 8x8 is serial; 9x1 is one tile with all rows; 1x9 splits a single row; the rest meet the column grain
// and the per-worker shares from both sides. x and the y slice only just fit the scratch, or x alone
// nearly fills it and the tile runs in place (a sanitizer build catches a gather past the scratch).
TYPED_TEST(Ger, MatchesTheReference) {
  using T = TypeParam;
  const int g = kernels::get_kernel<T>()->tile_n;
  const int shapes[][2] = {{8, 8},         {9, 1},         {1, 9},         {3, 2 * g - 1}, {5, 2 * g},
                           {7, 2 * g + 1}, {33, 3 * g + 2}, {17, 5 * g + 3}};
  const int incs[][2] = {{1, 1}, {2, 1}, {1, -2}, {-3, 2}, {-2, -1}, {2, 3}};
  for (int workers : {1, 2, 3}) {
    worker_scope scope(workers);
    for (rank_one_form form : forms_of<T>())
      for (const auto& s : shapes)
        for (const auto& inc : incs) check_update<T>(form, s[0], s[1], inc[0], inc[1], 7 * workers);
  }
  worker_scope scope(1);
  const int limit = int((threading::scratch_bytes - threading::scratch_alignment) / sizeof(T)) - 9;
  for (const int m : {limit - 1, limit + 300}) check_update<T>(forms_of<T>().back(), m, 9, -2, 3, 21);
}

// The packed path gathers x and each tile's y slice in logical order and runs with unit increments, so
// with two strided vectors the result is bit for bit the call on contiguous copies.
TYPED_TEST(Ger, PackedTilesGiveExactlyTheContiguousResult) {
  using T = TypeParam;
  const int m = 45, n = 6 * kernels::get_kernel<T>()->tile_n + 5;
  for (int workers : {1, 2, 4}) {
    worker_scope scope(workers);
    for (rank_one_form form : forms_of<T>()) {
      ger_case<T> contiguous(form, m, n, 1, 1, 11);
      contiguous.run(make<T>(1.25, -0.75));
      for (const auto& inc : {std::pair{-2, -3}, std::pair{3, 2}, std::pair{-1, 4}}) {
        ger_case<T> c(form, m, n, inc.first, inc.second, 11);
        c.run(make<T>(1.25, -0.75));
        EXPECT_TRUE(c.a.same_as(contiguous.a)) << int(form) << " " << workers << " workers, incx " << inc.first;
        EXPECT_TRUE(c.a.guards_intact());
      }
    }
  }
}

// A zero alpha or an empty dimension returns before anything is read; a zero y_j skips column j, so even
// an infinite alpha (whose product with 0 is NaN) leaves it as it was.
TYPED_TEST(Ger, NothingIsReadWhereNothingIsAdded) {
  using T = TypeParam;
  const double inf = std::numeric_limits<double>::infinity();
  for (const auto& s : {std::pair{8, 8}, std::pair{20, 30}})
    for (rank_one_form form : forms_of<T>())
      for (int inc : {1, -2}) {
        const int m = s.first, n = s.second;
        ger_case<T> idle(form, m, n, inc, inc, 1, 0);
        idle.a.fill(sentinel<T>());
        for (int i = 0; i < m; ++i) idle.x[i] = nan_element<T>();
        for (int j = 0; j < n; ++j) idle.y[j] = nan_element<T>();
        for (const T alpha : {make<T>(0), make<T>(-0.0, -0.0)}) idle.run(alpha);
        // An empty A is no error: nothing is printed either.
        for (const auto& empty : {std::pair{0, n}, std::pair{m, 0}})
          EXPECT_EQ(stderr_of([&] {
                      run_ger(form, empty.first, empty.second, make<T>(1), idle.x.data(), inc, idle.y.data(), inc,
                              idle.a.data(), m);
                    }),
                    "");
        EXPECT_TRUE(untouched(idle.a)) << int(form) << " " << m << "x" << n << " inc " << inc;

        for (const T alpha : {make<T>(2, 1), make<T>(inf, 1)}) {
          ger_case<T> c(form, m, n, inc, inc, 3);
          for (int j = 0; j + 1 < n; ++j) c.y[j] = make<T>(0, j % 2 ? -0.0 : 0.0);
          for (int j = 0; j < n; ++j) c.a.at(0, j) = sentinel<T>();
          const padded_matrix<T> before = c.a;
          c.run(alpha);
          EXPECT_TRUE(c.a.guards_intact());
          for (int j = 0; j + 1 < n; ++j)
            for (int i = 0; i < m; ++i) ASSERT_TRUE(same_bits(c.a.at(i, j), before.at(i, j))) << i << ", " << j;
          for (int i = 1; i < m; ++i) EXPECT_FALSE(same_bits(c.a.at(i, n - 1), before.at(i, n - 1)));
        }
      }
}

// Calls with both dimensions at most 8 run on the calling thread; one more row or column launches, which
// a stopped runtime refuses before any tile has run.
TEST(GerCutOff, OnlyCallsAboveEightNeedTheRuntime) {
  struct restart_after { ~restart_after() { vesk_start(0); } } restart;
  vesk_stop();
  const std::vector<double> x(9, 0.5), y(9, 2);
  std::vector<double> a(81, 1);
  parallel::blas::ger_front(8, 8, 3.0, x.data(), 1, y.data(), 1, a.data(), 9);
  for (const auto& s : {std::pair{9, 1}, std::pair{1, 9}})
    EXPECT_THROW(parallel::blas::ger_front(s.first, s.second, 3.0, x.data(), 1, y.data(), 1, a.data(), 9),
                 vesk::api_exception);
  EXPECT_EQ(a[7 * 9 + 7], 4);
  EXPECT_EQ(a[8], 1);
}

// The front, the serial form and (where the increments are valid, since it has none) the unit form.
TYPED_TEST(Ger, EachBadArgumentIsReportedAtItsPositionAndAIsUntouched) {
  using T = TypeParam;
  struct bad { int m, n, incx, incy, lda, position; };
  const bad calls[] = {{-1, 2, 1, 1, 4, 1}, {2, -1, 1, 1, 4, 2}, {2, 2, 0, 1, 4, 5},  {2, 2, 1, 0, 4, 7},
                       {4, 2, 1, 1, 3, 9},  {0, 2, 1, 1, 0, 9},  {-1, -1, 0, 0, 0, 1}, {2, -1, 0, 1, 0, 2},
                       {2, 2, 0, 0, 1, 5},  {2, 2, -1, 0, 1, 7}, {20, 20, 1, 1, 19, 9}};
  const std::vector<T> v = random_values<T>(40, 9);
  for (rank_one_form form : forms_of<T>())
    for (const bad& c : calls)
      for (path p : {front, serial, unit}) {
        if (p == unit && (c.incx == 0 || c.incy == 0)) continue;
        padded_matrix<T> a(4, 4, 4);
        const std::string text = stderr_of(
            [&] { run_ger(form, c.m, c.n, make<T>(1), v.data(), c.incx, v.data(), c.incy, a.data(), c.lda, p); });
        EXPECT_EQ(text, report(parallel::blas::rank_one_name(form), c.position)) << c.position << " path " << p;
        EXPECT_TRUE(untouched(a));
      }
}

// Fortran and column-major CBLAS give the front's bits. A row-major M by N matrix is updated as stored:
// element (i, j) at a[i*lda + j] gets alpha x_i op(y_j). Order 0 is row-major too.
TYPED_TEST(Ger, EntriesInBothFormsAndBothOrders) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, 0.5);
  for (rank_one_form form : forms_of<T>()) {
    ger_case<T> routine(form, 11, 7, -2, 3, 14, 2), fortran = routine, col = routine, row = routine;
    routine.run(alpha);
    fortran.fortran(alpha);
    col.cblas(CblasColMajor, alpha);
    EXPECT_TRUE(fortran.a.same_as(routine.a)) << int(form);
    EXPECT_TRUE(col.a.same_as(routine.a)) << int(form);
    for (int order : {int(CblasRowMajor), 0}) {
      row.a = padded_matrix<T>(7, 11, 8);
      row.a.random(17);
      const auto want = row.expected(alpha, true);
      row.cblas(order, alpha);
      EXPECT_TRUE(near_reference(row.a, want)) << int(form) << " order " << order;
      EXPECT_TRUE(row.x.guards_intact());
      EXPECT_TRUE(row.y.guards_intact());
    }
  }
}

// A row-major call reports the positions of the swapped call: N first, then M, incY at 5, incX at 7 and
// lda against max(1, N). Row-major GERC runs GERU on a conjugated copy of Y: its reports name GERU, a
// negative N fails the copy's allocation first, and a zero incY is not refused (the copy holds Y's first).
TEST(GerEntries, RowMajorReportsThePositionsOfTheCallItMakes) {
  using T = std::complex<double>;
  const T one(1, 0), y0(0.5, -2);
  std::vector<double> v(16, 1), a(16, 5);
  std::vector<T> x(4, T(1, 1)), y = {y0, T(7, 7)}, b(16, T(5, 5));
  struct bad { bool gerc; int m, n, incx, incy, lda; std::string text; };
  for (const bad& c : {bad{false, 2, -1, 1, 1, 4, report("GER ", 1)}, bad{false, -1, 2, 1, 1, 4, report("GER ", 2)},
                       bad{false, 2, 2, 1, 0, 4, report("GER ", 5)}, bad{false, 2, 2, 0, 1, 4, report("GER ", 7)},
                       bad{false, 4, 3, 1, 1, 2, report("GER ", 9)}, bad{true, -1, 2, 1, 1, 4, report("GERU ", 2)},
                       bad{true, 2, 2, 0, 1, 4, report("GERU ", 7)},
                       bad{true, 2, -1, 1, 1, 4, "** KOVRA SYSTEM ERROR! Aligned memory allocation failed!\n" +
                                                     report("GERU ", 1)}})
    EXPECT_EQ(stderr_of([&] {
                if (c.gerc) cblas_zgerc(CblasRowMajor, c.m, c.n, &one, x.data(), c.incx, y.data(), c.incy, b.data(), 4);
                else cblas_dger(CblasRowMajor, c.m, c.n, 1.0, v.data(), c.incx, v.data(), c.incy, a.data(), c.lda);
              }),
              c.text);
  EXPECT_EQ(a, std::vector<double>(16, 5));
  EXPECT_EQ(b, std::vector<T>(16, T(5, 5)));
  EXPECT_EQ(stderr_of([&] { cblas_zgerc(CblasRowMajor, 2, 3, &one, x.data(), 1, y.data(), 0, b.data(), 4); }), "");
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_EQ(b[i * 4 + j], T(5, 5) + T(1, 1) * std::conj(y0)) << i << ", " << j;
}

}  // namespace
}  // namespace kovra_test
