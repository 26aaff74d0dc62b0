// SYR, SPR, SYR2, SPR2 (real types) and HER, HPR, HER2, HPR2 (complex) in full and packed storage against the update
// of the full matrix: the other triangle and the padding keep their bits, a Hermitian diagonal becomes real, and a
// launched HER2 takes alpha unconjugated outside its diagonal blocks; the checks and the cut-off; the entries.
#include <gtest/gtest.h>
#include <vesk/exceptions.h>
#include <vesk/task.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kernels/get_kernel.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level2/syr.h"
#include "support/cases.h"
#include "support/reference.h"

namespace kovra_test {
namespace {

using namespace parallel::blas;

// Storage forms: 'R' full, 'P' packed; rank 1 or 2.
std::string family(int rank, char form, bool hermitian) {
  return std::string(hermitian ? "H" : "S") + (form == 'P' ? "PR" : hermitian ? "ER" : "YR") + (rank == 2 ? "2 " : " ");
}

enum { front = -1, serial = -2, fortran = -3 };  // else a CBLAS entry with this Order and an enumerated Uplo

// A complex rank-one update takes alpha as the real type in the routine and the entries.
template <typename T>
void update(int via, int rank, char form, int uplo, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a,
            int lda) {
  const bool full = form == 'R', one = via == serial;
  const char u = char(uplo);
  const real_t<T> r = helper::REAL(alpha);
  const auto o = CBLAS_ORDER(via);
  const auto e = CBLAS_UPLO(uplo);
  if (via == fortran) {
    if (rank == 2 && full) return pick<T>(ssyr2_, dsyr2_, cher2_, zher2_)(&u, &n, &alpha, x, &incx, y, &incy, a, &lda);
    if (rank == 2) return pick<T>(sspr2_, dspr2_, chpr2_, zhpr2_)(&u, &n, &alpha, x, &incx, y, &incy, a);
    if (full) return pick<T>(ssyr_, dsyr_, cher_, zher_)(&u, &n, &r, x, &incx, a, &lda);
    return pick<T>(sspr_, dspr_, chpr_, zhpr_)(&u, &n, &r, x, &incx, a);
  }
  if (via >= 0) {
    const auto al = scalar(alpha);
    if (rank == 2 && full)
      return pick<T>(cblas_ssyr2, cblas_dsyr2, cblas_cher2, cblas_zher2)(o, e, n, al, x, incx, y, incy, a, lda);
    if (rank == 2) return pick<T>(cblas_sspr2, cblas_dspr2, cblas_chpr2, cblas_zhpr2)(o, e, n, al, x, incx, y, incy, a);
    if (full) return pick<T>(cblas_ssyr, cblas_dsyr, cblas_cher, cblas_zher)(o, e, n, r, x, incx, a, lda);
    return pick<T>(cblas_sspr, cblas_dspr, cblas_chpr, cblas_zhpr)(o, e, n, r, x, incx, a);
  }
  if constexpr (is_complex_v<T>) {
    using R = real_t<T>;
    if (rank == 2 && full) return (one ? her2_serial<T> : her2_front<T>)(u, n, alpha, x, incx, y, incy, a, lda);
    if (rank == 2) return (one ? hpr2_serial<T> : hpr2_front<T>)(u, n, alpha, x, incx, y, incy, a);
    if (full) return (one ? her_serial<T, R> : her_front<T, R>)(u, n, r, x, incx, a, lda);
    return (one ? hpr_serial<T, R> : hpr_front<T, R>)(u, n, r, x, incx, a);
  } else {
    if (rank == 2 && full) return (one ? syr2_serial<T> : syr2_front<T>)(u, n, alpha, x, incx, y, incy, a, lda);
    if (rank == 2) return (one ? spr2_serial<T> : spr2_front<T>)(u, n, alpha, x, incx, y, incy, a);
    if (full) return (one ? syr_serial<T> : syr_front<T>)(u, n, alpha, x, incx, a, lda);
    return (one ? spr_serial<T> : spr_front<T>)(u, n, alpha, x, incx, a);
  }
}

struct shape {
  int rank;
  char form, uplo;
  int n, incx, incy;
};

// A random triangle, full (NaN in the other one) or packed.
template <typename T>
struct update_case : shape {
  int rows = form == 'R' ? n : n * (n + 1) / 2;
  padded_matrix<T> a = padded_matrix<T>(rows, form == 'R' ? n : 1, rows + (form == 'R')).random(n);
  strided_vector<T> x, y;

  update_case(shape s, unsigned seed)
      : shape(s), x(n, incx, random_values<T>(n, seed)), y(n, incy, random_values<T>(n, seed + 1)) {
    for (int j = 0; j < n && form == 'R'; ++j)
      for (int i = 0; i < n; ++i)
        if (offset(i, j) < 0) a.at(i, j) = nan_element<T>();
  }
  std::ptrdiff_t offset(int i, int j) const { return stored_offset(form, uplo, n, 0, a.ld(), i, j); }
  void run(T alpha, int via = front, int cblas_uplo = 0) {
    update(via, rank, form, via >= 0 ? cblas_uplo : uplo, n, alpha, x.data(), incx, y.data(), incy, a.data(), a.ld());
  }
  // The positions of the stored triangle column by column, or of the other one; their elements, with a Hermitian
  // diagonal made real where asked.
  std::vector<std::pair<int, int>> cells(bool stored) const {
    std::vector<std::pair<int, int>> at;
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i)
        if ((offset(i, j) >= 0) == stored && (stored || form == 'R')) at.emplace_back(i, j);
    return at;
  }
  std::vector<T> part(bool stored, bool real_diagonal = false) const {
    std::vector<T> values;
    for (auto [i, j] : cells(stored)) {
      const T v = stored ? a.data()[offset(i, j)] : a.at(i, j);
      values.push_back(i == j && real_diagonal ? make<T>(helper::REAL(v)) : v);
    }
    return values;
  }
  // The stored triangle plus alpha x x^H or alpha x y^H + alpha' y x^H, alpha' = conj(alpha) but alpha itself in a
  // HER2 launched on `workers` (0: serial) outside the diagonal blocks of the split (each worker's share of whole
  // kernel grains, the rest a grain at a time from the first).
  wide_result<T> expected(T alpha, int workers) const {
    std::vector<int> block(n, 0);
    const int g = kernels::get_kernel<T>()->tile_n, share = workers > 0 ? g * (n / (g * workers)) : 0;
    for (int t = 0, begin = 0, rest = n - share * workers; t < workers; ++t, rest -= g) {
      const int end = begin + share + std::clamp(rest, 0, g);
      std::fill(block.begin() + begin, block.begin() + end, t);
      begin = end;
    }
    const bool departs = is_complex_v<T> && rank == 2 && form == 'R' && workers > 0;
    const auto at = cells(true);
    const auto xl = x.logical(), yl = rank == 2 ? y.logical() : xl;
    const auto term = [&](int p, int, int l) {
      const auto [i, j] = at[p];
      if (l == 0) return widen(alpha) * widen(xl[i]) * widen(conj_of(yl[j]));
      return widen(departs && block[i] != block[j] ? alpha : conj_of(alpha)) * widen(yl[i]) * widen(conj_of(xl[j]));
    };
    const std::vector<T> old = part(true, true);
    return reference_product(int(at.size()), 1, rank, term, T(1), T(1), [&](int p, int) { return old[p]; });
  }
};

template <typename T>
class SymmetricUpdate : public ::testing::Test {};
TYPED_TEST_SUITE(SymmetricUpdate, element_types, element_type_names);

// n = 8 runs serially, 9 launches, 37 and 100 split unevenly by the kernel's grain over 2 and 3 workers; HER2's alpha
// has an imaginary part. Cases: x (and y) zero in the middle column; zero throughout, which leaves all but the
// imaginary parts of a Hermitian diagonal as they were; alpha = 0 over NaN x and y, which leaves everything. The
// serial forms run the same table.
TYPED_TEST(SymmetricUpdate, MatchesTheFullUpdate) {
  using T = TypeParam;
  std::vector<shape> table;
  for (int rank : {1, 2})
    for (char form : {'R', 'P'})
      for (char uplo : {'U', 'l'})
        for (int n : {8, 9, 37, 100})
          for (auto [incx, incy] : {std::pair{1, 1}, {2, -1}, {-1, -3}, {-3, 1}, {1, 2}})
            table.push_back({rank, form, uplo, n, incx, incy});
  const auto check = [](const shape& s, int via) {
    const int workers = via == serial || s.n <= 8 ? 0 : vesk::internal::num_exec_ctx();
    for (int mode = 0; mode < 3; ++mode) {
      update_case<T> c(s, unsigned(s.n * 5 + s.incx + mode));
      const T alpha = mode == 2 ? T(0) : s.rank == 1 ? make<T>(0.75) : make<T>(0.5, 1);
      for (int i = 0; i < s.n; ++i)
        if (mode > 0 || i == s.n / 2) c.x[i] = c.y[i] = mode == 2 ? nan_element<T>() : make<T>(0, -0.0);
      const update_case<T> before = c;
      c.run(alpha, via);
      EXPECT_TRUE(mode == 0 ? close_to(before.expected(alpha, workers), c.part(true))
                            : all_same_bits(c.part(true), before.part(true, mode == 1)))
          << "case " << mode;
      int complex_diagonal = 0;
      for (int j = 0; j < s.n; ++j) complex_diagonal += helper::IMAG(c.a.data()[c.offset(j, j)]) != 0;
      EXPECT_EQ(complex_diagonal, mode == 2 ? complex_diagonal : 0) << "case " << mode;
      EXPECT_TRUE(all_same_bits(c.part(false), before.part(false)) && c.a.intact() && c.x.intact() && c.y.intact());
    }
  };
  for_each_case(table, [&](const shape& s) { check(s, front); }, {2, 3});
  for_each_case(table, [&](const shape& s) { check(s, serial); });
}

// The routines (order 0: the front, then the serial form, each reporting) and the CBLAS entries, whose Uplo outside
// its list fails position 1, report and leave A as it was. n = 0 returns and 8 runs on the calling thread; 9
// launches, which a stopped runtime refuses.
TYPED_TEST(SymmetricUpdate, ChecksAndCutOff) {
  using T = TypeParam;
  struct bad {
    int rank;
    char form;
    int order, uplo, n, incx, incy, lda, position;
  };
  const int fn = front, col = CblasColMajor, row = CblasRowMajor, up = CblasUpper, lo = CblasLower;
  // clang-format off
  const bad calls[] = {
      {1, 'R', fn, 'X', 3, 1, 1, 3, 1}, {1, 'R', fn, 'u', -1, 1, 1, 3, 2}, {1, 'R', fn, 'L', 3, 0, 1, 3, 5},
      {1, 'R', fn, 'l', 3, 1, 1, 2, 7}, {1, 'R', fn, 'U', 0, 1, 1, 0, 7}, {1, 'P', fn, 'Q', 3, 1, 1, 0, 1},
      {1, 'P', fn, 'L', -1, 0, 1, 0, 2}, {1, 'P', fn, 'u', 3, 0, 1, 0, 5}, {2, 'R', fn, 'X', 3, 1, 1, 3, 1},
      {2, 'R', fn, 'U', -1, 1, 1, 3, 2}, {2, 'R', fn, 'l', 3, 0, 1, 3, 5}, {2, 'R', fn, 'L', 3, 1, 0, 3, 7},
      {2, 'R', fn, 'u', 3, 1, 1, 2, 9}, {2, 'P', fn, 'X', 3, 1, 1, 0, 1}, {2, 'P', fn, 'l', -1, 1, 1, 0, 2},
      {2, 'P', fn, 'U', 3, 0, 0, 0, 5}, {2, 'P', fn, 'L', 3, 1, 0, 0, 7}, {1, 'R', col, 120, 3, 1, 1, 3, 1},
      {2, 'P', row, 123, 3, 1, 1, 0, 1}, {1, 'P', 0, 0, 3, 1, 1, 0, 1}, {1, 'R', row, lo, 3, 1, 1, 2, 7},
      {2, 'R', row, up, 3, 1, 1, 2, 9}, {2, 'P', col, lo, 3, 1, 0, 0, 7}, {1, 'R', col, up, 3, 0, 1, 3, 5}};
  // clang-format on
  const std::vector<T> x(8, make<T>(1)), untouched(16, sentinel<T>());
  for_each_case(calls, [&](const bad& c) {
    std::vector<T> a = untouched;
    const std::string text = stderr_of([&] {
      for (int via : c.order == fn ? std::vector<int>{front, serial} : std::vector<int>{c.order})
        update(via, c.rank, c.form, c.uplo, c.n, T(1), x.data(), c.incx, x.data(), c.incy, a.data(), c.lda);
    });
    const std::string once = report(family(c.rank, c.form, is_complex_v<T>).c_str(), c.position);
    EXPECT_EQ(text, c.order == fn ? once + once : once);
    EXPECT_TRUE(all_same_bits(a, untouched));
  });
  worker_scope restart_afterwards(1);
  vesk_stop();
  for (int rank : {1, 2})
    for (char form : {'R', 'P'})
      for (int n : {0, 8, 9}) {
        update_case<T> c({rank, form, 'L', n, 1, 1}, 3);
        if (n > 8)
          EXPECT_THROW(c.run(T(1)), vesk::api_exception) << family(rank, form, is_complex_v<T>);
        else
          EXPECT_NO_THROW(c.run(T(1))) << family(rank, form, is_complex_v<T>) << n;
      }
}

// Fortran and column-major CBLAS give the front's bits. Row-major storage of Uplo U is the column-major storage of
// the transpose with the lower triangle, and the transpose of alpha x y^H + alpha' y x^H is alpha conj(y) conj(x)^H
// + alpha' conj(x) conj(y)^H: the column-major update with conj(y) as x and conj(x) as y (conj(x) alone for rank
// one). Order 0 is row-major too. A row-major complex call with incX = 0 reads x[0] n times; a real one refuses it.
TYPED_TEST(SymmetricUpdate, EntriesInBothFormsAndBothOrders) {
  using T = TypeParam;
  const int n = 11, workers = vesk::internal::num_exec_ctx();
  for (int rank : {1, 2})
    for (char form : {'R', 'P'})
      for (char uplo : {'U', 'L'}) {
        const T alpha = rank == 1 ? make<T>(0.75) : make<T>(0.5, 1);
        const int cu = uplo == 'U' ? CblasUpper : CblasLower, other = CblasUpper + CblasLower - cu;
        const update_case<T> c({rank, form, uplo, n, -2, 3}, 9);
        update_case<T> routine = c;
        routine.run(alpha);
        for (int via : {int(fortran), int(CblasColMajor)}) {
          update_case<T> entry = c;
          entry.run(alpha, via, cu);
          EXPECT_TRUE(all_same_bits(entry.a.elements(), routine.a.elements())) << family(rank, form, 0) << uplo << via;
        }
        for (int order : {int(CblasRowMajor), 0})
          for (int inc : {-2, 0}) {
            update_case<T> row({rank, form, uplo, n, inc, 3}, 13), twin = row;
            const auto conj_all = [](std::vector<T> v) {
              for (T& e : v) e = conj_of(e);
              return v;
            };
            twin.x = strided_vector<T>(n, 1, conj_all(rank == 2 ? row.y.logical() : row.x.logical()));
            twin.y = strided_vector<T>(n, 1, conj_all(row.x.logical()));
            const std::string text = stderr_of([&] { row.run(alpha, order, other); });
            const bool refused = inc == 0 && !is_complex_v<T>;
            EXPECT_EQ(text, refused ? report(family(rank, form, false).c_str(), 5) : "");
            EXPECT_TRUE(refused ? all_same_bits(row.part(true), twin.part(true))
                                : close_to(twin.expected(alpha, workers), row.part(true)))
                << family(rank, form, 0) << uplo << order << inc;
            EXPECT_TRUE(all_same_bits(row.part(false), twin.part(false)) && row.a.intact());
          }
      }
}

}  // namespace
}  // namespace kovra_test
