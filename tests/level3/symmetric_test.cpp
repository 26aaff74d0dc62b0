// SYMM/HEMM and the rank updates against the full matrices their triangles stand for, NaN where nothing is read;
// updates without terms and serial zero skips exactly; the checks; the entries; a large SYRK's nested waits.
#include <gtest/gtest.h>
#include <vesk/testing.h>

#include <algorithm>
#include <tuple>
#include <vector>

#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level3/symm.h"
#include "parallel/blas/level3/syr2k.h"
#include "parallel/blas/level3/syrk.h"
#include "support/cases.h"
#include "support/reference.h"

namespace kovra_test {
namespace {

namespace blas = parallel::blas;

struct any_enum {  // an int where a CBLAS entry takes an enumeration, so that bad values reach it
  int value;
  template <typename E>
  operator E() const {
    return E(value);
  }
};

template <typename S, typename T>
S as(const T& v) {  // a scalar as a routine takes it: the real part where that is real
  if constexpr (std::is_same_v<S, T>) return v;
  return helper::REAL(v);
}

// SYRK or HERK called with the two-operand argument list: B and its leading dimension, from position P, dropped.
template <std::size_t P, typename F>
auto without_b(F f) {
  return [f](auto... args) {
    const auto all = std::tuple(args...);
    const auto call = [&]<std::size_t... I, std::size_t... J>(std::index_sequence<I...>, std::index_sequence<J...>) {
      f(std::get<I>(all)..., std::get<P + 2 + J>(all)...);
    };
    call(std::make_index_sequence<P>{}, std::make_index_sequence<sizeof...(args) - P - 2>{});
  };
}

// A routine with its kind, its Fortran and CBLAS entries, and scalars of the types they take.
template <typename F, typename Fortran, typename Cblas, typename S, typename B>
struct family {
  const char* name;
  bool hermitian, one_operand;
  F routine;
  Fortran fortran;
  Cblas cblas;
  S alpha;
  B beta;
};
template <typename... X>
family(const char*, bool, bool, X...) -> family<X...>;

// visit(family) for SYMM and, for complex T, HEMM.
template <typename T, typename Visit>
void for_each_product_family(Visit visit) {
  const T alpha = make<T>(1.5, -0.5), beta = make<T>(-0.25, 1);
  visit(family{"SYMM ", false, false, blas::symm<T>, pick<T>(ssymm_, dsymm_, csymm_, zsymm_),
               pick<T>(cblas_ssymm, cblas_dsymm, cblas_csymm, cblas_zsymm), alpha, beta});
  if constexpr (is_complex_v<T>)
    visit(family{"HEMM ", true, false, blas::hemm<T>, pick<T>(0, 0, chemm_, zhemm_),
                 pick<T>(0, 0, cblas_chemm, cblas_zhemm), alpha, beta});
}

// The same for SYRK, SYR2K and, for complex T, HERK and HER2K.
template <typename T, typename Visit>
void for_each_rank_family(Visit visit) {
  using R = real_t<T>;
  const T alpha = make<T>(1.5, -0.5), beta = make<T>(-0.25, 1);
  visit(family{"SYRK ", false, true, without_b<7>(blas::syrk<T>), without_b<7>(pick<T>(ssyrk_, dsyrk_, csyrk_, zsyrk_)),
               without_b<8>(pick<T>(cblas_ssyrk, cblas_dsyrk, cblas_csyrk, cblas_zsyrk)), alpha, beta});
  visit(family{"SYR2K ", false, false, blas::syr2k<T>, pick<T>(ssyr2k_, dsyr2k_, csyr2k_, zsyr2k_),
               pick<T>(cblas_ssyr2k, cblas_dsyr2k, cblas_csyr2k, cblas_zsyr2k), alpha, beta});
  if constexpr (is_complex_v<T>) {
    visit(family{"HERK ", true, true, without_b<7>(blas::herk<T, R>), without_b<7>(pick<T>(0, 0, cherk_, zherk_)),
                 without_b<8>(pick<T>(0, 0, cblas_cherk, cblas_zherk)), R(1.5), R(-0.25)});
    visit(family{"HER2K ", true, false, blas::her2k<T, R>, pick<T>(0, 0, cher2k_, zher2k_),
                 pick<T>(0, 0, cblas_cher2k, cblas_zher2k), alpha, R(-0.25)});
  }
}

struct bad {
  int order, e1, e2, d1, d2, lda, ldb, ldc, position;  // order 0: the routine, with e1 and e2 as letters
};

// Each row is reported at its position and C stays as it was; a one-operand form has no check 9 and LDC is 10.
template <typename T, typename Family>
void expect_checks(const Family& f, std::vector<bad> rows) {
  if (f.one_operand) std::erase_if(rows, [](const bad& r) { return r.position == 9; });
  for (bad& r : rows) r.position = f.one_operand && r.position == 12 ? 10 : r.position;
  std::vector<T> a(16, make<T>(1)), c(16, sentinel<T>());
  expect_reports(f.name, rows, [&](const bad& r) {
    if (r.order == 0)
      f.routine(char(r.e1), char(r.e2), r.d1, r.d2, f.alpha, a.data(), r.lda, a.data(), r.ldb, f.beta, c.data(), r.ldc);
    else
      f.cblas(any_enum{r.order}, any_enum{r.e1}, any_enum{r.e2}, r.d1, r.d2, scalar(f.alpha), a.data(), r.lda, a.data(),
              r.ldb, scalar(f.beta), c.data(), r.ldc);
  });
  EXPECT_TRUE(all_same_bits(c, std::vector<T>(16, sentinel<T>())));
}

// CBLAS (e1, e2) and Fortran give the routine's bits on l[0], l[1]; row-major on l[2], l[3], swapped when `swap`.
template <typename T, typename Family>
void expect_entries(const Family& f, std::initializer_list<std::tuple<int, int, const char*>> sets, bool swap) {
  const int p = 11, q = 9, ld = 12;
  padded_matrix<T> a(ld, ld, ld), b(ld, ld, ld), c(ld, ld, ld);
  a.random(1), b.random(2), c.random(3);
  for (const auto& [e1, e2, l] : sets) {
    std::vector<padded_matrix<T>> out(5, c);
    f.routine(l[0], l[1], p, q, f.alpha, a.data(), ld, b.data(), ld, f.beta, out[0].data(), ld);
    f.fortran(&l[0], &l[1], &p, &q, &f.alpha, a.data(), &ld, b.data(), &ld, &f.beta, out[1].data(), &ld);
    for (int order : {CblasColMajor, CblasRowMajor})
      f.cblas(any_enum{order}, any_enum{e1}, any_enum{e2}, p, q, scalar(f.alpha), a.data(), ld, b.data(), ld,
              scalar(f.beta), out[order == CblasColMajor ? 2 : 3].data(), ld);
    f.routine(l[2], l[3], swap ? q : p, swap ? p : q, f.alpha, a.data(), ld, b.data(), ld, f.beta, out[4].data(), ld);
    for (int form : {1, 2}) EXPECT_TRUE(all_same_bits(out[form].elements(), out[0].elements())) << f.name << form;
    EXPECT_TRUE(all_same_bits(out[3].elements(), out[4].elements())) << f.name << " row-major " << l;
  }
}

template <typename T>
class SymmetricProduct : public ::testing::Test {};
TYPED_TEST_SUITE(SymmetricProduct, element_types, element_type_names);

// C's other dimension 1 to 3; serial at order 8, one run to 255, two from 256. Case bit 0: beta = 0, C all NaN and its
// ld tight, A's and B's not; bit 1 (orders 8, 256): alpha = 0, A and B all NaN. NaN in the triangle not stored and
// HEMM's imaginary diagonal. gemm applies a complex alpha of real part 1 exactly on every kernel.
TYPED_TEST(SymmetricProduct, MatchesTheFullMatrix) {
  using T = TypeParam;
  for_each_product_family<T>([&](auto f) {
    for (char side : {'L', 'r'})
      for (char uplo : {'U', 'l'})
        for (int extent : {8, 9, 255, 256, 383})
          for (int mode = 0; mode < (extent % 2 ? 2 : 4); ++mode) {
            SCOPED_TRACE(::testing::Message() << f.name << side << uplo << " order " << extent << " case " << mode);
            const bool left = side == 'L', upper = uplo == 'U', idle = mode & 2;
            const int other = 3 - extent % 3, m = left ? extent : other, n = left ? other : extent;
            const T alpha = idle ? T(0) : make<T>(is_complex_v<T> ? 1 : 1.5, -0.5);
            const T beta = mode & 1 ? T(0) : make<T>(2, 0.5);
            padded_matrix<T> a(extent, extent, extent + mode % 2), b(m, n, m + mode % 2 * 2), c(m, n, m + 1 - mode % 2);
            a.random(extent), b.random(m + n), c.random(m);
            if (mode & 1) c.fill(nan_element<T>());
            if (idle) a.fill(nan_element<T>()), b.fill(nan_element<T>());
            for (int j = 0; j < extent; ++j)
              for (int i = 0; i < extent; ++i)
                if (upper ? i > j : i < j) a.at(i, j) = nan_element<T>();
            for (int i = 0; i < extent && f.hermitian; ++i) a.at(i, i) = make<T>(helper::REAL(a.at(i, i)), NAN);
            const padded_matrix<T> before = c;
            f.routine(side, uplo, m, n, alpha, a.data(), a.ld(), b.data(), b.ld(), beta, c.data(), c.ld());
            // A(r, q) of the full matrix: stored or mirrored, the mirror conjugated and the diagonal real for HEMM.
            const auto full = [&](int r, int q) {
              const bool stored = upper ? r <= q : r >= q;
              const T v = stored ? a.at(r, q) : a.at(q, r);
              return widen(f.hermitian && r == q ? make<T>(helper::REAL(v)) : f.hermitian && !stored ? conj_of(v) : v);
            };
            const auto term = [&](int i, int j, int l) {
              if (idle) return wide_t<T>(0);
              return left ? full(i, l) * widen(b.at(l, j)) : widen(b.at(i, l)) * full(l, j);
            };
            const auto old = [&](int i, int j) { return before.at(i, j); };
            EXPECT_TRUE(close_to(reference_product(m, n, extent, term, alpha, beta, old), c.elements()));
            EXPECT_TRUE(a.intact() && b.intact() && c.intact());
          }
  });
}

// The checks through the routine and CBLAS, none for an empty C; the entries' bits, row-major flipping Side and Uplo
// and swapping M and N.
TYPED_TEST(SymmetricProduct, EntriesAndTheirChecks) {
  const int col = CblasColMajor, row = CblasRowMajor, L = CblasLeft, U = CblasUpper;
  // clang-format off
  const std::vector<bad> rows = {
      {0, 'X', 'U', 2, 2, 2, 2, 2, 1}, {0, 'l', 'Y', 2, 2, 2, 2, 2, 2}, {0, 'L', 'u', -1, 2, 2, 2, 2, 3},
      {0, 'R', 'L', 2, -1, 2, 2, 2, 4}, {0, 'L', 'U', 3, 2, 2, 3, 3, 7}, {0, 'r', 'U', 2, 3, 2, 2, 2, 7},
      {0, 'L', 'U', 3, 2, 3, 2, 3, 9}, {0, 'R', 'U', 3, 2, 2, 3, 2, 12}, {0, 'x', 'y', -1, -1, 0, 0, 0, 1},
      {col, 143, U, 2, 2, 2, 2, 2, 1}, {col, L, 124, 2, 2, 2, 2, 2, 2}, {row, 140, U, 2, 2, 2, 2, 2, 1},
      {row, L, 120, 2, 2, 2, 2, 2, 2}, {row, L, U, -1, 2, 2, 2, 2, 4}, {row, L, U, 2, 3, 3, 2, 3, 9}};
  // clang-format on
  for_each_product_family<TypeParam>([&](auto f) {
    expect_checks<TypeParam>(f, rows);
    EXPECT_EQ(stderr_of([&] { f.routine('R', 'L', 0, 0, f.alpha, nullptr, 1, nullptr, 1, f.beta, nullptr, 1); }), "");
    expect_entries<TypeParam>(f, {{L, CblasLower, "LLRU"}, {CblasRight, U, "RULL"}}, true);
  });
}

// A rank update of a random n by n C, NaN where it must not be read, and what the call must leave there.
template <typename T>
struct rank_case {
  bool hermitian, one_operand;
  char uplo, trans;
  int n, k;
  T alpha, beta;  // real where the routine takes a real one
  bool upper = (uplo & 0xDF) == 'U', notrans = (trans & 0xDF) == 'N';
  int rows = notrans ? n : k, cols = notrans ? k : n, pad = k % 2;  // tight leading dimensions of A and C for an even k
  padded_matrix<T> a = padded_matrix<T>(rows, cols, std::max(rows + pad, 1)).random(n + k);
  padded_matrix<T> b = padded_matrix<T>(rows, cols, rows + 2).random(n + 2 * k + 1);
  padded_matrix<T> c = padded_matrix<T>(n, n, std::max(n + pad, 1)).random(n), before = c;

  bool in(int i, int j) const { return upper ? i <= j : i >= j; }
  void run(const auto& f) {
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i)
        if (i == j ? upper && !hermitian : helper::is_zero(beta)) c.at(i, j) = nan_element<T>();
    before = c;
    f.routine(uplo, trans, n, k, as<decltype(f.alpha)>(alpha), a.data(), a.ld(), b.data(), b.ld(),
              as<decltype(f.beta)>(beta), c.data(), c.ld());
  }
  // What keeps its bits: the other triangle; with 'U' the symmetric forms' diagonal, and HER2K's with 'C' and terms.
  bool untouched(int i, int j) const {
    return !in(i, j) || (i == j && upper && (!hermitian || (!one_operand && !notrans && !helper::is_zero(alpha))));
  }
  // C(i, j) before the terms are added, which is the result when there are none.
  T kept(int i, int j) const {
    const double re = helper::REAL(before.at(i, j)), scale = helper::REAL(beta);
    if (untouched(i, j)) return before.at(i, j);
    if (!hermitian || i != j) return helper::is_zero(beta) ? T(0) : plain_mul(beta, before.at(i, j));
    if (helper::is_zero(alpha)) return scale == 0 ? (upper ? before.at(i, j) : T(0)) : make<T>(scale * re);
    // A real diagonal; with 'U' and 'N', HER2K adds to its real part as it was, and HERK does with beta = 0.
    return make<T>(upper && notrans && (!one_operand || scale == 0) ? re : scale * re);
  }
  // Term l of C(i, j): alpha op(A) op(A or B)^S for l < k, else alpha' op(B) op(A)^S; S is the transpose ('C' as 'T')
  // or in the Hermitian forms the conjugate one, and alpha' is conj(alpha) in HER2K's triangles of the runs alone.
  wide_t<T> term(int i, int j, int l) const {
    const auto h = [&](const T& v) { return hermitian ? conj_of(v) : v; };
    const auto x = [&](const padded_matrix<T>& p, int r) { return notrans ? p.at(r, l % k) : p.at(l % k, r); };
    const auto product = [&](const padded_matrix<T>& p, const padded_matrix<T>& q) {
      return notrans ? widen(x(p, i)) * widen(h(x(q, j))) : widen(h(x(p, i))) * widen(x(q, j));
    };
    const int runs = std::max(n / 64, 1);
    const bool triangle = (n <= 8 && k <= 8) || std::min(i / 64, runs - 1) == std::min(j / 64, runs - 1);
    if (l < k) return widen(alpha) * product(a, one_operand ? a : b);
    return widen(triangle ? h(alpha) : alpha) * product(b, a);
  }
  // What the call writes within the tolerance, what keeps its bits bit for bit, no padding written.
  void check() const {
    std::vector<std::pair<int, int>> written;
    std::vector<T> got, now, was;
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i)
        if (untouched(i, j))
          now.push_back(c.at(i, j)), was.push_back(before.at(i, j));
        else
          written.emplace_back(i, j), got.push_back(c.at(i, j));
    const auto term_of = [&](int p, int, int l) { return term(written[p].first, written[p].second, l); };
    const auto kept_of = [&](int p, int) { return kept(written[p].first, written[p].second); };
    EXPECT_TRUE(close_to(
        reference_product(int(got.size()), 1, one_operand ? k : 2 * k, term_of, make<T>(1), make<T>(1), kept_of), got));
    EXPECT_TRUE(all_same_bits(now, was));
    EXPECT_TRUE(a.intact() && b.intact() && c.intact());
  }
};

template <typename T>
class RankUpdate : public ::testing::Test {};
TYPED_TEST_SUITE(RankUpdate, element_types, element_type_names);

// beta = 0 for an even k. Serial at (8, 8); one run for (8, 9), 9, 127; two up to 191; three to 200, the last of 72. A
// complex alpha has real part 1 (for gemm's kernels) and is not real, so HER2K's parts differ.
TYPED_TEST(RankUpdate, MatchesTheFullMatrix) {
  using T = TypeParam;
  for_each_rank_family<T>([&](auto f) {
    for (char uplo : {'U', 'l'})
      for (char trans : {'N', 't', 'C'})
        for (auto [n, k] : {std::pair{8, 8}, {8, 9}, {9, 4}, {127, 3}, {128, 2}, {191, 3}, {192, 2}, {200, 3}}) {
          if (f.hermitian && trans == 't') continue;
          SCOPED_TRACE(::testing::Message() << f.name << uplo << trans << " n " << n << " k " << k);
          const T alpha = f.hermitian && f.one_operand ? make<T>(1.5) : make<T>(is_complex_v<T> ? 1 : 1.5, -0.5);
          const T beta = k % 2 ? make<T>(2, f.hermitian ? 0 : 0.5) : T(0);
          rank_case<T> r{f.hermitian, f.one_operand, uplo, trans, n, k, alpha, beta};
          if (n <= 8 && k <= 8) vesk_stop();  // the serial path runs on the calling thread, with no runtime
          r.run(f);
          vesk_start(0);
          r.check();
        }
  });
}

// No terms: alpha = 0 scales the triangle, reading no A or B; k = 0 leaves C above the cut-off, scales at or below;
// n = 0 is no error.
TYPED_TEST(RankUpdate, WithoutUpdateTheTriangleIsOnlyScaled) {
  using T = TypeParam;
  for_each_rank_family<T>([&](auto f) {
    for (char uplo : {'U', 'L'})
      for (char trans : {'N', 'C'})
        for (int n : {0, 8, 130})
          for (auto [alpha, k, beta] : {std::tuple{0.0, 3, 0.0}, {0.0, 4, 2.0}, {1.5, 0, 2.0}}) {
            rank_case<T> r{f.hermitian, f.one_operand, uplo, trans, n, k, make<T>(alpha), make<T>(beta)};
            r.a.fill(nan_element<T>()), r.b.fill(nan_element<T>());
            EXPECT_EQ(stderr_of([&] { r.run(f); }), "");
            std::vector<T> want;
            for (int j = 0; j < n; ++j)
              for (int i = 0; i < n; ++i) want.push_back(k == 0 && n > 8 ? r.before.at(i, j) : r.kept(i, j));
            EXPECT_TRUE(all_same_bits(r.c.elements(), want) && r.c.intact()) << f.name << uplo << trans << k << n;
          }
  });
}

// The serial 'N' loops skip A(j, l) = 0 (both parts; for SYR2K with B(j, l) = 0), keeping NaN in A(i, l) out of C.
TYPED_TEST(RankUpdate, SerialZeroSkipsKeepNaNOutOfTheColumn) {
  using T = TypeParam;
  for_each_rank_family<T>([&](auto f) {
    for (char uplo : {'U', 'L'})
      for (bool skips : {true, false}) {
        if (!skips && f.one_operand && !is_complex_v<T>) continue;
        rank_case<T> r{f.hermitian, f.one_operand, uplo, 'N', 8, 3, make<T>(1.5), make<T>(2)};
        const int j = uplo == 'U' ? 7 : 0;
        for (int i = 0; i < 8; ++i) r.a.at(i, 0) = r.b.at(i, 0) = nan_element<T>();
        r.a.at(j, 0) = skips ? T(0) : make<T>(0, 1), r.b.at(j, 0) = make<T>(skips ? 0 : 1);
        r.run(f);
        int nans = 0;
        for (int i = 0; i < 8; ++i) nans += i != j && r.in(i, j) && has_nan(r.c.at(i, j));
        EXPECT_EQ(nans, skips ? 0 : 7) << f.name << uplo;
      }
  });
}

// The checks through the routine and CBLAS; the entries' bits, row-major flipping Uplo and Trans ('N' to 'T' or 'C').
TYPED_TEST(RankUpdate, EntriesAndTheirChecks) {
  const int col = CblasColMajor, row = CblasRowMajor, U = CblasUpper, N = CblasNoTrans;
  // clang-format off
  const std::vector<bad> rows = {
      {0, 'X', 'N', 2, 2, 2, 2, 2, 1}, {0, 'U', 'R', 2, 2, 2, 2, 2, 2}, {0, 'u', 'n', -1, 2, 2, 2, 2, 3},
      {0, 'L', 'N', 2, -1, 2, 2, 2, 4}, {0, 'L', 'N', 3, 2, 2, 3, 3, 7}, {0, 'L', 'c', 2, 3, 2, 3, 2, 7},
      {0, 'L', 'N', 3, 2, 3, 2, 3, 9}, {0, 'U', 'C', 2, 3, 3, 2, 2, 9}, {0, 'U', 'N', 3, 2, 3, 3, 2, 12},
      {0, 'q', 'q', -1, -1, 0, 0, 0, 1}, {col, 120, N, 2, 2, 2, 2, 2, 1}, {col, U, 114, 2, 2, 2, 2, 2, 2},
      {row, 123, N, 2, 2, 2, 2, 2, 1}, {row, U, N, 2, 3, 2, 3, 2, 7}, {row, U, CblasConjTrans, 3, 2, 2, 3, 3, 7},
      {row, U, N, -1, 2, 2, 2, 2, 3}};
  // clang-format on
  for_each_rank_family<TypeParam>([&](auto f) {
    expect_checks<TypeParam>(f, rows);
    if (f.hermitian) expect_checks<TypeParam>(f, {{0, 'U', 'T', 2, 2, 2, 2, 2, 2}, {col, U, 112, 2, 2, 2, 2, 2, 2}});
    expect_entries<TypeParam>(f, {{U, N, f.hermitian ? "UNLC" : "UNLT"}, {CblasLower, CblasConjTrans, "LCUN"}}, false);
    if (!f.hermitian) expect_entries<TypeParam>(f, {{CblasLower, CblasTrans, "lTUN"}}, false);
  });
}

// SYRK of order 1000 from the test thread: each of its 15 runs is a task that waits once, in its nested gemm.
TEST(RankUpdateNesting, LargeSyrkWaitsOneLevelDeep) {
  for (int workers : {1, 2}) {
    worker_scope scope(workers);
    rank_case<double> r{false, true, 'L', 'N', 1000, 2, 0.75, -0.5};
    vesk::testing::reset_deepest_wait();
    r.run(family{"SYRK ", false, true, without_b<7>(blas::syrk<double>), 0, 0, 0.0, 0.0});
    EXPECT_EQ(vesk::testing::deepest_wait(), 1) << workers << " workers";
    r.check();
  }
}

}  // namespace
}  // namespace kovra_test
