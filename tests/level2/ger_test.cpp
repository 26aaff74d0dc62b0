// GER, GERU and GERC: results against the wide reference over a table of shapes and increments on
// several worker counts, the packed tiles' exact bits, what must not be read, the serial cut-off, the
// argument checks with their reports, and the entries in both forms and orders.
#include "parallel/blas/level2/ger.h"

#include <gtest/gtest.h>
#include <vesk/exceptions.h>

#include "kernels/get_kernel.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "support/cases.h"
#include "support/reference.h"
#include "threading/scratch.h"

namespace kovra_test {
namespace {

using parallel::blas::rank_one_form;

template <typename T>
std::vector<rank_one_form> forms_of() {
  return is_complex_v<T> ? std::vector{rank_one_form::geru, rank_one_form::gerc} : std::vector{rank_one_form::ger};
}

enum path { front, serial, unit };

// The front, serial or unit-increment routine of a form chosen at run time.
template <typename T>
void run_ger(rank_one_form form, int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda,
             path p = front) {
  using namespace parallel::blas;
  const auto with = [&](auto f) {
    constexpr rank_one_form F = decltype(f)::value;
    p == front    ? rank_one_front<F>(m, n, alpha, x, incx, y, incy, a, lda)
    : p == serial ? rank_one_serial<F>(m, n, alpha, x, incx, y, incy, a, lda)
                  : rank_one_serial_unit<F>(m, n, alpha, x, y, a, lda);
  };
  using form_t = rank_one_form;
  if constexpr (!is_complex_v<T>)
    with(std::integral_constant<form_t, form_t::ger>{});
  else if (form == form_t::gerc)
    with(std::integral_constant<form_t, form_t::gerc>{});
  else
    with(std::integral_constant<form_t, form_t::geru>{});
}

struct shape {
  int m, n, incx, incy;
};

// One update: x and y strided with sentinels in the gaps and guards, A with sentinels in its padding.
template <typename T>
struct ger_case : shape {
  rank_one_form form;
  strided_vector<T> x, y;
  padded_matrix<T> a;

  ger_case(rank_one_form f, shape s, unsigned seed, int pad = 1)
      : shape(s),
        form(f),
        x(m, incx, random_values<T>(m, seed)),
        y(n, incy, random_values<T>(n, seed + 1)),
        a(m, n, m + pad) {
    a.random(seed + 2);
  }
  void run(T alpha) { run_ger(form, m, n, alpha, x.data(), incx, y.data(), incy, a.data(), a.ld()); }
  // A after the update; a row-major A holds element (i, j) at a.at(j, i), and its elements() are by rows.
  wide_result<T> expected(T alpha, bool row_major = false) const {
    const auto xl = x.logical(), yl = y.logical();
    const bool conj = form == rank_one_form::gerc;
    const auto term = [&](int i, int j) { return widen(xl[i]) * widen(helper::CONJG(conj, yl[j])); };
    if (!row_major)
      return reference_product(
          m, n, 1, [&](int i, int j, int) { return term(i, j); }, alpha, T(1),
          [&](int i, int j) { return a.at(i, j); });
    return reference_product(
        n, m, 1, [&](int j, int i, int) { return term(i, j); }, alpha, T(1), [&](int j, int i) { return a.at(j, i); });
  }
};

template <typename T>
class Ger : public ::testing::Test {};
TYPED_TEST_SUITE(Ger, element_types, element_type_names);

// 8x8 is serial; 9x1 one tile with all rows; 1x9 splits a single row; the rest meet the column grain and
// the per-worker shares from both sides. Then x and the y slice that only just fit the scratch, or x alone
// nearly filling it, so that the tile runs in place.
TYPED_TEST(Ger, MatchesTheReference) {
  using T = TypeParam;
  const int g = kernels::get_kernel<T>()->tile_n;
  const int limit = int((threading::scratch_bytes - threading::scratch_alignment) / sizeof(T)) - 9;
  std::vector<shape> table;
  for (auto [m, n] : {std::pair{8, 8}, {9, 1}, {1, 9}, {3, 2 * g - 1}, {5, 2 * g}, {7, 2 * g + 1}, {33, 3 * g + 2}})
    for (auto [incx, incy] : {std::pair{1, 1}, {2, 1}, {1, -2}, {-3, 2}, {-2, -1}}) table.push_back({m, n, incx, incy});
  for (const rank_one_form form : forms_of<T>()) {
    const auto check = [&](const shape& s) {
      ger_case<T> c(form, s, s.m + s.n, 3);
      const auto want = c.expected(make<T>(1.25, -0.75));
      c.run(make<T>(1.25, -0.75));
      EXPECT_TRUE(close_to(want, c.a.elements()) && c.a.intact() && c.x.intact() && c.y.intact());
    };
    for_each_case(table, check, {1, 2, 3});
    for_each_case(std::vector<shape>{{limit - 1, 9, -2, 3}, {limit + 300, 9, -2, 3}}, check, {1});
  }
}

// The packed path gathers x and each tile's y slice in logical order and runs with unit increments: with
// two strided vectors the result is the call on contiguous copies, bit for bit.
TYPED_TEST(Ger, PackedTilesGiveExactlyTheContiguousResult) {
  using T = TypeParam;
  const int m = 45, n = 6 * kernels::get_kernel<T>()->tile_n + 5;
  for (int workers : {1, 2, 4}) {
    worker_scope scope(workers);
    for (rank_one_form form : forms_of<T>()) {
      ger_case<T> contiguous(form, {m, n, 1, 1}, 11);
      contiguous.run(make<T>(1.25, -0.75));
      for (auto [incx, incy] : {std::pair{-2, -3}, {3, 2}, {-1, 4}}) {
        ger_case<T> c(form, {m, n, incx, incy}, 11);
        c.run(make<T>(1.25, -0.75));
        EXPECT_TRUE(all_same_bits(c.a.elements(), contiguous.a.elements()) && c.a.intact()) << workers << incx;
      }
    }
  }
}

// A zero alpha or an empty dimension returns before anything is read (and an empty A prints nothing); a
// zero y_j skips column j, so even an infinite alpha (whose product with 0 is NaN) leaves it as it was.
TYPED_TEST(Ger, NothingIsReadWhereNothingIsAdded) {
  using T = TypeParam;
  for (auto [m, n] : {std::pair{8, 8}, {20, 30}})
    for (rank_one_form form : forms_of<T>())
      for (int inc : {1, -2}) {
        ger_case<T> idle(form, {m, n, inc, inc}, 1, 0);
        idle.a.fill(sentinel<T>());
        for (int i = 0; i < m; ++i) idle.x[i] = nan_element<T>();
        for (int j = 0; j < n; ++j) idle.y[j] = nan_element<T>();
        for (const T alpha : {make<T>(0), make<T>(-0.0, -0.0)}) idle.run(alpha);
        for (auto [rows, cols] : {std::pair{0, n}, {m, 0}})
          EXPECT_EQ(stderr_of([&] {
                      run_ger(form, rows, cols, make<T>(1), idle.x.data(), inc, idle.y.data(), inc, idle.a.data(), m);
                    }),
                    "");
        EXPECT_TRUE(all_same_bits(idle.a.elements(), std::vector<T>(m * n, sentinel<T>())) && idle.a.intact());
        for (const T alpha : {make<T>(2, 1), make<T>(INFINITY, 1)}) {
          ger_case<T> c(form, {m, n, inc, inc}, 3);
          for (int j = 0; j + 1 < n; ++j) c.y[j] = make<T>(0, j % 2 ? -0.0 : 0.0);
          const auto before = c.a.elements();
          c.run(alpha);
          const auto after = c.a.elements();
          for (int p = 0; p < m * n; ++p) ASSERT_EQ(same_bits(after[p], before[p]), p < m * (n - 1)) << p;
        }
      }
}

// Both dimensions at most 8 run on the calling thread; one more row or column launches, which a stopped
// runtime refuses before any tile has run.
TEST(GerCutOff, OnlyCallsAboveEightNeedTheRuntime) {
  worker_scope restart_afterwards(1);
  vesk_stop();
  const std::vector<double> x(9, 0.5), y(9, 2);
  std::vector<double> a(81, 1);
  parallel::blas::ger_front(8, 8, 3.0, x.data(), 1, y.data(), 1, a.data(), 9);
  for (auto [m, n] : {std::pair{9, 1}, {1, 9}})
    EXPECT_THROW(parallel::blas::ger_front(m, n, 3.0, x.data(), 1, y.data(), 1, a.data(), 9), vesk::api_exception);
  EXPECT_TRUE(a[7 * 9 + 7] == 4 && a[8] == 1);
}

// The front, the serial form and (where the increments are valid, since it has none) the unit form.
TYPED_TEST(Ger, EachBadArgumentIsReportedAtItsPositionAndAIsUntouched) {
  using T = TypeParam;
  struct bad {
    int m, n, incx, incy, lda, position;
  };
  const bad calls[] = {{-1, 2, 1, 1, 4, 1}, {2, -1, 1, 1, 4, 2}, {2, 2, 0, 1, 4, 5},   {2, 2, 1, 0, 4, 7},
                       {4, 2, 1, 1, 3, 9},  {0, 2, 1, 1, 0, 9},  {-1, -1, 0, 0, 0, 1}, {2, -1, 0, 1, 0, 2},
                       {2, 2, 0, 0, 1, 5},  {2, 2, -1, 0, 1, 7}, {20, 20, 1, 1, 19, 9}};
  const std::vector<T> v = random_values<T>(40, 9);
  for (rank_one_form form : forms_of<T>())
    for (path p : {front, serial, unit}) {
      padded_matrix<T> a(4, 4, 4);
      std::vector<bad> rows;
      for (const bad& c : calls)
        if (p != unit || (c.incx != 0 && c.incy != 0)) rows.push_back(c);
      expect_reports(parallel::blas::rank_one_name(form), rows, [&](const bad& c) {
        run_ger(form, c.m, c.n, make<T>(1), v.data(), c.incx, v.data(), c.incy, a.data(), c.lda, p);
      });
      EXPECT_TRUE(all_same_bits(a.elements(), std::vector<T>(16, sentinel<T>())) && a.intact());
    }
}

// Fortran and column-major CBLAS give the front's bits; a row-major M by N matrix is updated as stored,
// element (i, j) at a[i*lda + j]. Order 0 is row-major too.
TYPED_TEST(Ger, EntriesInBothFormsAndBothOrders) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, 0.5);
  for (rank_one_form form : forms_of<T>()) {
    const bool c = form == rank_one_form::gerc;
    const auto fortran = pick<T>(sger_, dger_, c ? cgerc_ : cgeru_, c ? zgerc_ : zgeru_);
    const auto cblas = pick<T>(cblas_sger, cblas_dger, c ? cblas_cgerc : cblas_cgeru, c ? cblas_zgerc : cblas_zgeru);
    ger_case<T> routine(form, {11, 7, -2, 3}, 14, 2), by_fortran = routine, by_cblas = routine;
    routine.run(alpha);
    const int lda = by_fortran.a.ld();
    fortran(&routine.m, &routine.n, &alpha, by_fortran.x.data(), &routine.incx, by_fortran.y.data(), &routine.incy,
            by_fortran.a.data(), &lda);
    cblas(CblasColMajor, 11, 7, scalar(alpha), by_cblas.x.data(), -2, by_cblas.y.data(), 3, by_cblas.a.data(), lda);
    EXPECT_TRUE(all_same_bits(by_fortran.a.elements(), routine.a.elements()));
    EXPECT_TRUE(all_same_bits(by_cblas.a.elements(), routine.a.elements()));
    for (int order : {int(CblasRowMajor), 0}) {
      ger_case<T> row = routine;
      row.a = padded_matrix<T>(7, 11, 8);
      row.a.random(17);
      const auto want = row.expected(alpha, true);
      cblas(static_cast<CBLAS_ORDER>(order), 11, 7, scalar(alpha), row.x.data(), -2, row.y.data(), 3, row.a.data(), 8);
      EXPECT_TRUE(close_to(want, row.a.elements()) && row.a.intact()) << order;
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
  struct bad {
    bool gerc;
    int m, n, incx, incy, lda;
    std::string text;
  };
  for (const bad& c :
       {bad{false, 2, -1, 1, 1, 4, report("GER ", 1)}, bad{false, -1, 2, 1, 1, 4, report("GER ", 2)},
        bad{false, 2, 2, 1, 0, 4, report("GER ", 5)}, bad{false, 2, 2, 0, 1, 4, report("GER ", 7)},
        bad{false, 4, 3, 1, 1, 2, report("GER ", 9)}, bad{true, -1, 2, 1, 1, 4, report("GERU ", 2)},
        bad{true, 2, 2, 0, 1, 4, report("GERU ", 7)},
        bad{true, 2, -1, 1, 1, 4, "** KOVRA SYSTEM ERROR! Aligned memory allocation failed!\n" + report("GERU ", 1)}})
    EXPECT_EQ(stderr_of([&] {
                if (c.gerc)
                  cblas_zgerc(CblasRowMajor, c.m, c.n, &one, x.data(), c.incx, y.data(), c.incy, b.data(), 4);
                else
                  cblas_dger(CblasRowMajor, c.m, c.n, 1.0, v.data(), c.incx, v.data(), c.incy, a.data(), c.lda);
              }),
              c.text);
  EXPECT_TRUE(a == std::vector<double>(16, 5) && b == std::vector<T>(16, T(5, 5)));
  EXPECT_EQ(stderr_of([&] { cblas_zgerc(CblasRowMajor, 2, 3, &one, x.data(), 1, y.data(), 0, b.data(), 4); }), "");
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_EQ(b[i * 4 + j], T(5, 5) + T(1, 1) * std::conj(y0)) << i << ", " << j;
}

}  // namespace
}  // namespace kovra_test
