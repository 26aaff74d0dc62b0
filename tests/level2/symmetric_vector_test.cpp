// SYMV, SBMV, SPMV (real types) and HEMV, HBMV, HPMV (complex) in full, band and packed storage against the full
// matrix of their triangle, NaN in every stored position the triangle doesn't name and in the imaginary parts of a
// Hermitian diagonal; the scalars' special values; the checks and the cut-off; the entries in both forms and orders.
#include <gtest/gtest.h>
#include <vesk/exceptions.h>

#include <string>
#include <tuple>
#include <vector>

#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level2/symv.h"
#include "support/cases.h"
#include "support/reference.h"

namespace kovra_test {
namespace {

using namespace parallel::blas;

// Storage forms: 'R' full, 'B' band, 'P' packed.
std::string family(char form, bool hermitian) {
  return std::string(hermitian ? "HEHBHP" : "SYSBSP").substr(form == 'R' ? 0 : form == 'B' ? 2 : 4, 2) + "MV ";
}

enum { front = -1, serial = -2, fortran = -3 };  // else a CBLAS entry with this Order and an enumerated Uplo

template <typename T>
void product(int via, char form, int uplo, int n, int k, T alpha, const T* a, int lda, const T* x, int incx, T beta,
             T* y, int incy) {
  const bool one = via == serial;
  const char u = char(uplo);
  const auto o = CBLAS_ORDER(via);
  const auto e = CBLAS_UPLO(uplo);
  const auto al = scalar(alpha), be = scalar(beta);
  if (via == fortran && form == 'R')
    return pick<T>(ssymv_, dsymv_, chemv_, zhemv_)(&u, &n, &alpha, a, &lda, x, &incx, &beta, y, &incy);
  if (via == fortran && form == 'B')
    return pick<T>(ssbmv_, dsbmv_, chbmv_, zhbmv_)(&u, &n, &k, &alpha, a, &lda, x, &incx, &beta, y, &incy);
  if (via == fortran) return pick<T>(sspmv_, dspmv_, chpmv_, zhpmv_)(&u, &n, &alpha, a, x, &incx, &beta, y, &incy);
  if (via >= 0 && form == 'R')
    return pick<T>(cblas_ssymv, cblas_dsymv, cblas_chemv, cblas_zhemv)(o, e, n, al, a, lda, x, incx, be, y, incy);
  if (via >= 0 && form == 'B')
    return pick<T>(cblas_ssbmv, cblas_dsbmv, cblas_chbmv, cblas_zhbmv)(o, e, n, k, al, a, lda, x, incx, be, y, incy);
  if (via >= 0)
    return pick<T>(cblas_sspmv, cblas_dspmv, cblas_chpmv, cblas_zhpmv)(o, e, n, al, a, x, incx, be, y, incy);
  if constexpr (is_complex_v<T>) {
    if (form == 'R') return (one ? hemv_serial<T> : hemv_front<T>)(u, n, alpha, a, lda, x, incx, beta, y, incy);
    if (form == 'B') return (one ? hbmv_serial<T> : hbmv_front<T>)(u, n, k, alpha, a, lda, x, incx, beta, y, incy);
    return (one ? hpmv_serial<T> : hpmv_front<T>)(u, n, alpha, a, x, incx, beta, y, incy);
  } else {
    if (form == 'R') return (one ? symv_serial<T> : symv_front<T>)(u, n, alpha, a, lda, x, incx, beta, y, incy);
    if (form == 'B') return (one ? sbmv_serial<T> : sbmv_front<T>)(u, n, k, alpha, a, lda, x, incx, beta, y, incy);
    return (one ? spmv_serial<T> : spmv_front<T>)(u, n, alpha, a, x, incx, beta, y, incy);
  }
}

struct shape {
  char form, uplo;
  int n, k, incx, incy;  // k: a band's off-diagonals, else unused
};

// The stored triangle of a random symmetric (real T) or Hermitian (complex T) matrix, NaN in every other stored
// position (the other triangle, a band's corner) and in the imaginary parts of a Hermitian diagonal.
template <typename T>
struct product_case : shape {
  int rows = form == 'R' ? n : form == 'B' ? k + 1 : n * (n + 1) / 2;
  padded_matrix<T> a = padded_matrix<T>(rows, form == 'P' ? 1 : n, rows + (form != 'P')).fill(nan_element<T>());
  strided_vector<T> x, y;

  product_case(shape s, unsigned seed)
      : shape(s), x(n, incx, random_values<T>(n, seed)), y(n, incy, random_values<T>(n, seed + 1)) {
    const auto v = random_values<T>(n * n, seed + 2);
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i)
        if (const auto p = offset(i, j); p >= 0)
          a.data()[p] = i == j ? make<T>(helper::REAL(v[i + n * j]), NAN) : v[i + n * j];
  }
  std::ptrdiff_t offset(int i, int j) const { return stored_offset(form, uplo, n, k, a.ld(), i, j); }
  // Element (i, j) of the full matrix (0 outside the band), conjugated for the transpose a row-major call stores.
  wide_t<T> full(int i, int j, bool conjugate) const {
    const auto p = offset(i, j), q = offset(j, i);
    if (p < 0 && q < 0) return 0;
    const T v = p >= 0 ? a.data()[p] : conj_of(a.data()[q]);
    return widen(i == j ? make<T>(helper::REAL(v)) : conjugate ? conj_of(v) : v);
  }
  wide_result<T> expected(T alpha, T beta, bool conjugate = false) const {
    const auto xl = x.logical(), yl = y.logical();
    const auto term = [&](int i, int, int l) { return full(i, l, conjugate) * widen(xl[l]); };
    return reference_product(n, 1, n, term, alpha, beta, [&](int i, int) { return yl[i]; });
  }
  void run(T alpha, T beta, int via = front, int cblas_uplo = 0) {
    const int u = via >= 0 ? cblas_uplo : uplo;
    product(via, form, u, n, k, alpha, a.data(), a.ld(), x.data(), incx, beta, y.data(), incy);
  }
};

template <typename T>
class SymmetricMatvec : public ::testing::Test {};
TYPED_TEST_SUITE(SymmetricMatvec, element_types, element_type_names);

// n = 8 runs serially, 9 launches, 37 and 100 split unevenly by the kernel's grain; 3 workers give a tile with rows
// on both sides. A band of 40 is wider than every order. Scalars by case: general; beta = 0 over a NaN y; alpha = 0;
// alpha = 0 and beta = 1 return at once, even over a NaN x. The serial forms run the same table.
TYPED_TEST(SymmetricMatvec, MatchesTheFullMatrix) {
  using T = TypeParam;
  std::vector<shape> table;
  for (char form : {'R', 'B', 'P'})
    for (char uplo : {'U', 'l'})
      for (int n : {8, 9, 37, 100})
        for (int k : form == 'B' ? std::vector{0, 1, 40} : std::vector{0})
          for (auto [incx, incy] : {std::pair{1, 1}, {2, -1}, {-1, -3}, {-3, 1}, {1, 2}})
            table.push_back({form, uplo, n, k, incx, incy});
  const T alphas[] = {make<T>(0.75, -0.5), make<T>(-1.25, 0.5), T(0), T(0)};
  const T betas[] = {make<T>(-1.25, 0.25), T(0), make<T>(0.5, -1), T(1)};
  const auto check = [&](const shape& s, int via) {
    for (int mode = 0; mode < 4; ++mode) {
      product_case<T> c(s, unsigned(s.n * 7 + s.k + mode));
      for (int i = 0; i < s.n && mode % 2; ++i) (mode == 1 ? c.y[i] : c.x[i]) = nan_element<T>();
      const auto want = c.expected(alphas[mode], betas[mode]);
      const auto before = c.y.logical();
      c.run(alphas[mode], betas[mode], via);
      EXPECT_TRUE(mode == 3 ? all_same_bits(c.y.logical(), before) : close_to(want, c.y.logical())) << "case " << mode;
      EXPECT_TRUE(c.y.intact() && c.x.intact() && c.a.intact());
    }
  };
  for_each_case(table, [&](const shape& s) { check(s, front); }, {2, 3});
  for_each_case(table, [&](const shape& s) { check(s, serial); });
}

// The routines (order 0: the front, then the serial form, each reporting) and the CBLAS entries, whose Uplo outside
// its list fails position 1, report and leave y as it was (conjugated twice in a row-major complex call). Orders up to
// 8 (a band's k too; n = 0 returns) run on the calling thread; above, a stopped runtime refuses the launch.
TYPED_TEST(SymmetricMatvec, ChecksAndCutOff) {
  using T = TypeParam;
  struct bad {
    char form;
    int order, uplo, n, k, lda, incx, incy, position;
  };
  const int fn = front, col = CblasColMajor, row = CblasRowMajor, up = CblasUpper, lo = CblasLower;
  // clang-format off
  const bad calls[] = {
      {'R', fn, 'X', 3, 0, 3, 1, 1, 1}, {'R', fn, 'u', -1, 0, 3, 1, 1, 2}, {'R', fn, 'L', 3, 0, 2, 1, 1, 5},
      {'R', fn, 'U', 0, 0, 0, 1, 1, 5}, {'R', fn, 'l', 3, 0, 3, 0, 1, 7}, {'R', fn, 'U', 3, 0, 3, 1, 0, 10},
      {'R', fn, 'Q', -1, 0, 0, 0, 0, 1}, {'B', fn, 'X', 3, 1, 2, 1, 1, 1}, {'B', fn, 'L', -1, 1, 2, 1, 1, 2},
      {'B', fn, 'U', 3, -1, 1, 1, 1, 3}, {'B', fn, 'u', 3, 2, 2, 1, 1, 6}, {'B', fn, 'L', 0, 0, 0, 1, 1, 6},
      {'B', fn, 'L', 3, 1, 2, 0, 1, 8}, {'B', fn, 'l', 3, 1, 2, 1, 0, 11}, {'P', fn, 'X', 3, 0, 0, 1, 1, 1},
      {'P', fn, 'U', -1, 0, 0, 1, 1, 2}, {'P', fn, 'l', 3, 0, 0, 0, 1, 6}, {'P', fn, 'L', 3, 0, 0, 1, 0, 9},
      {'R', col, 120, 3, 0, 3, 1, 1, 1}, {'B', row, 123, 3, 1, 2, 1, 1, 1}, {'P', 0, 0, 3, 0, 0, 1, 1, 1},
      {'R', row, up, 3, 0, 2, 1, 1, 5}, {'B', row, lo, 3, 1, 1, 1, 1, 6}, {'P', row, up, 3, 0, 0, 1, 0, 9},
      {'R', col, lo, 3, 0, 3, 0, 1, 7}, {'B', col, up, 3, -1, 2, 1, 1, 3}};
  // clang-format on
  const std::vector<T> a(16, make<T>(1)), x(8, make<T>(1)), untouched(8, sentinel<T>());
  for_each_case(calls, [&](const bad& c) {
    std::vector<T> y = untouched;
    const std::string text = stderr_of([&] {
      for (int via : c.order == fn ? std::vector<int>{front, serial} : std::vector<int>{c.order})
        product(via, c.form, c.uplo, c.n, c.k, T(1), a.data(), c.lda, x.data(), c.incx, T(0), y.data(), c.incy);
    });
    const std::string once = report(family(c.form, is_complex_v<T>).c_str(), c.position);
    EXPECT_EQ(text, c.order == fn ? once + once : once);
    EXPECT_TRUE(all_same_bits(y, untouched));
  });
  worker_scope restart_afterwards(1);
  vesk_stop();
  // clang-format off
  for (auto [form, n, k] : {std::tuple{'R', 0, 0}, {'B', 0, 0}, {'P', 0, 0}, {'R', 8, 0}, {'B', 8, 8}, {'P', 8, 0},
                            {'R', 9, 0}, {'B', 9, 0}, {'B', 8, 9}, {'P', 9, 0}}) {
    // clang-format on
    product_case<T> c({form, 'U', n, k, 1, 1}, 3);
    if (n > 8 || k > 8)
      EXPECT_THROW(c.run(T(1), T(0)), vesk::api_exception) << form << n << " " << k;
    else
      EXPECT_NO_THROW(c.run(T(1), T(0))) << form << n << " " << k;
  }
}

// Fortran and column-major CBLAS give the front's bits. Row-major storage of Uplo U is the column-major storage of
// the transpose with the lower triangle, and the transpose of a Hermitian matrix is its conjugate; order 0 is
// row-major too. A row-major complex call with incX = 0 reads x[0] n times, where a real one refuses it.
TYPED_TEST(SymmetricMatvec, EntriesInBothFormsAndBothOrders) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, 0.5), beta = make<T>(-0.5, 1);
  for (char form : {'R', 'B', 'P'})
    for (char uplo : {'U', 'L'}) {
      const int cu = uplo == 'U' ? CblasUpper : CblasLower, other = CblasUpper + CblasLower - cu;
      const product_case<T> c({form, uplo, 11, 3, -2, 3}, 5);
      product_case<T> routine = c;
      routine.run(alpha, beta);
      for (int via : {int(fortran), int(CblasColMajor)}) {
        product_case<T> entry = c;
        entry.run(alpha, beta, via, cu);
        EXPECT_TRUE(all_same_bits(entry.y.logical(), routine.y.logical()) && entry.y.intact()) << form << uplo << via;
      }
      for (int order : {int(CblasRowMajor), 0})
        for (int inc : {-2, 0}) {
          product_case<T> r({form, uplo, 11, 3, inc, 3}, 7);
          const auto want = r.expected(alpha, beta, true);
          const auto before = r.y.logical();
          const std::string text = stderr_of([&] { r.run(alpha, beta, order, other); });
          const bool refused = inc == 0 && !is_complex_v<T>;
          EXPECT_EQ(text, refused ? report(family(form, false).c_str(), form == 'R' ? 7 : form == 'B' ? 8 : 6) : "");
          EXPECT_TRUE(refused ? all_same_bits(r.y.logical(), before) : close_to(want, r.y.logical()))
              << form << uplo << order << inc;
          EXPECT_TRUE(r.y.intact() && r.x.intact());
        }
    }
}

}  // namespace
}  // namespace kovra_test
