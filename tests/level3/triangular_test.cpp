// TRSM and TRMM on every (side, uplo, transa, diag) across the cut-off and the diagonal block. alpha enters
// only the diagonal blocks, so TRSM solves op(A') X = alpha B with A's entries between blocks scaled by alpha,
// and TRMM gives op(A') B with the entries inside a block scaled by alpha. The triangle not stored and a unit
// diagonal hold NaN. Then the edge cases, the argument checks and the entries.
#include <gtest/gtest.h>

#include "kernels/get_kernel.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level3/trmm.h"
#include "parallel/blas/level3/trsm.h"
#include "support/cases.h"
#include "support/reference.h"

namespace kovra_test {
namespace {

struct problem {
  char side, uplo, transa, diag;
  int m, n;
  double alpha;
};

template <typename T>
using routine = void (*)(char, char, char, char, int, int, T, const T*, int, T*, int);

template <typename T>
class Triangular : public ::testing::Test {
 protected:
  const routine<T> trsm = parallel::blas::trsm<T>, trmm = parallel::blas::trmm<T>;
};
TYPED_TEST_SUITE(Triangular, element_types, element_type_names);

TYPED_TEST(Triangular, ResultsWithTheBlockwiseAlpha) {
  using T = TypeParam;
  const auto kernel = kernels::get_kernel<T>();
  std::vector<problem> table;
  for (char side : {'L', 'r'})
    for (char uplo : {'U', 'l'})
      for (char transa : {'N', 't', 'C'})
        for (char diag : {'N', 'u'}) {
          const int bs = 4 * (side == 'L' ? kernel->tile_n : kernel->tile_m);
          for (int extent : {5, 9, bs, bs + 1, 2 * bs + 3})
            for (double alpha : {1.0, 2.0})
              table.push_back(side == 'L' ? problem{side, uplo, transa, diag, extent, 7, alpha}
                                          : problem{side, uplo, transa, diag, 10, extent, alpha});
        }
  for (const bool solve : {true, false})
    for_each_case(table, [&](const problem& s) {
      const bool left = s.side == 'L', upper = s.uplo == 'U', unit = s.diag == 'u', nt = s.transa == 'N';
      const int k = left ? s.m : s.n, bs = 4 * (left ? kernel->tile_n : kernel->tile_m);
      padded_matrix<T> a(k, k, k + 2), b(s.m, s.n, s.m + 3);
      a.random(k), b.random(s.m + s.n);
      for (int i = 0; i < k; ++i) {
        a.at(i, i) = unit ? nan_element<T>() : plain_add(a.at(i, i), make<T>(4));  // well conditioned
        for (int j = 0; j < k; ++j)
          if (upper ? i > j : i < j) a.at(i, j) = nan_element<T>();
      }
      const T alpha = make<T>(s.alpha);
      const padded_matrix<T> before = b;
      (solve ? this->trsm : this->trmm)(s.side, s.uplo, s.transa, s.diag, s.m, s.n, alpha, a.data(), a.ld(), b.data(),
                                        b.ld());
      // The block of index i: the walk runs forward or from the far end, TRMM the other way to TRSM's.
      const bool forward = (left ? upper != nt : upper == nt) == solve;
      const auto block = [&](int i) { return k <= 8 ? 0 : forward ? i / bs : (k - 1 - i) / bs; };
      const auto tri = [&](int r, int c) {
        const T v = r == c ? (unit ? make<T>(1) : a.at(r, r)) : (upper ? r < c : r > c) ? a.at(r, c) : T(0);
        return (block(r) == block(c)) != solve ? plain_mul(alpha, v) : v;
      };
      const padded_matrix<T>& x = solve ? b : before;  // the operand of op(A')
      const auto term = [&](int i, int j, int l) {
        return left ? op_element<T>(s.transa, tri, i, l) * widen(x.at(l, j))
                    : widen(x.at(i, l)) * op_element<T>(s.transa, tri, l, j);
      };
      std::vector<T> got = b.elements();
      if (solve)
        for (T& v : got = before.elements()) v = plain_mul(alpha, v);
      const auto zero = [](int, int) { return T(0); };
      EXPECT_TRUE(close_to(reference_product(s.m, s.n, k, term, make<T>(1), T(0), zero), got)) << solve;
      EXPECT_TRUE(a.intact() && b.intact());
    });
}

// alpha = 0 clears B without reading A; serially a zero in B skips its column of A (NaN); a real 'C' is 'T'.
TYPED_TEST(Triangular, EdgeCases) {
  using T = TypeParam;
  for (const routine<T> f : {this->trsm, this->trmm})
    for (int m : {8, 40}) {
      padded_matrix<T> a(m, m, m), b(m, 3, m), c(m, 3, m), d(m, 3, m);
      a.fill(nan_element<T>()), b.random(1);
      f('L', 'U', 'N', 'N', m, 3, T(0), a.data(), m, b.data(), m);
      EXPECT_TRUE(all_same_bits(b.elements(), std::vector<T>(3 * m)));
      a.random(2);
      for (int i = 0; i < m; ++i) a.at(i, i) = make<T>(2), a.at(i, m - 1) = i < m - 1 ? nan_element<T>() : make<T>(2);
      b.random(3), b.at(m - 1, 0) = T(0);
      f('L', 'U', 'N', 'N', m, 1, make<T>(1), a.data(), m, b.data(), m);
      for (int i = 0; i < m && m <= 8; ++i) EXPECT_FALSE(has_nan(b.at(i, 0))) << i;
      c.random(4), d.random(4), a.random(5);
      for (int i = 0; i < m; ++i) a.at(i, i) = make<T>(3);
      f('R', 'L', 'C', 'N', m, 3, make<T>(1), a.data(), m, c.data(), m);
      f('R', 'L', is_complex_v<T> ? 'C' : 'T', 'N', m, 3, make<T>(1), a.data(), m, d.data(), m);
      EXPECT_TRUE(all_same_bits(c.elements(), d.elements()));
    }
}

// The routines, then the CBLAS entries, reporting the positions of the call they make. B stays untouched.
TYPED_TEST(Triangular, EachBadArgumentIsReportedAtItsPosition) {
  using T = TypeParam;
  struct bad {
    int order, side, uplo, transa, diag, m, n, lda, ldb, position;
  };
  const int fn = 0, row = CblasRowMajor, L = CblasLeft, U = CblasUpper, N = CblasNoTrans, D = CblasNonUnit;
  // clang-format off
  const bad calls[] = {
      {fn, 'X', 'U', 'N', 'N', 2, 2, 2, 2, 1}, {fn, 'L', 'Y', 'N', 'N', 2, 2, 2, 2, 2},
      {fn, 'L', 'U', 'R', 'N', 2, 2, 2, 2, 3}, {fn, 'r', 'l', 'c', 'Z', 2, 2, 2, 2, 4},
      {fn, 'L', 'U', 'N', 'N', -1, 2, 2, 2, 5}, {fn, 'L', 'U', 'N', 'N', 2, -1, 2, 2, 6},
      {fn, 'L', 'U', 'N', 'N', 3, 2, 2, 3, 9}, {fn, 'R', 'U', 'N', 'N', 2, 3, 2, 2, 9},
      {fn, 'L', 'U', 'N', 'N', 3, 1, 3, 2, 11}, {fn, 'x', 'U', 'N', 'N', -1, 2, 0, 0, 1},
      {CblasColMajor, 143, U, N, D, 2, 2, 2, 2, 1}, {row, L, 120, N, D, 2, 2, 2, 2, 2},
      {row, L, U, N, D, -1, 2, 2, 2, 6}, {row, L, U, N, D, 3, 2, 2, 3, 9}};
  // clang-format on
  std::vector<T> a(16, make<T>(1)), b(16, sentinel<T>());
  const T one = make<T>(1);
  for (const bool solve : {true, false}) {
    const auto cblas = solve ? pick<T>(cblas_strsm, cblas_dtrsm, cblas_ctrsm, cblas_ztrsm)
                             : pick<T>(cblas_strmm, cblas_dtrmm, cblas_ctrmm, cblas_ztrmm);
    expect_reports(solve ? "TRSM " : "TRMM ", calls, [&](const bad& c) {
      if (c.order == fn)
        (solve ? this->trsm : this->trmm)(char(c.side), char(c.uplo), char(c.transa), char(c.diag), c.m, c.n, one,
                                          a.data(), c.lda, b.data(), c.ldb);
      else
        cblas(CBLAS_ORDER(c.order), CBLAS_SIDE(c.side), CBLAS_UPLO(c.uplo), CBLAS_TRANSPOSE(c.transa),
              CBLAS_DIAG(c.diag), c.m, c.n, scalar(one), a.data(), c.lda, b.data(), c.ldb);
    });
  }
  EXPECT_TRUE(all_same_bits(b, std::vector<T>(16, sentinel<T>())));
}

// Fortran and column-major CBLAS give the routine's bits; row-major Left works from the right, Uplo flipped.
TYPED_TEST(Triangular, EntriesInBothFormsAndBothOrders) {
  using T = TypeParam;
  const int m = 11, n = 9, lda = 12, ldb = 13;
  const T alpha = make<T>(1.5, -0.5);
  padded_matrix<T> a(lda, lda, lda), b(ldb, lda, ldb);
  a.random(6), b.random(7);
  for (int i = 0; i < lda; ++i) a.at(i, i) = make<T>(4);
  for (const bool solve : {true, false}) {
    std::vector<padded_matrix<T>> out(5, b);
    const routine<T> f = solve ? this->trsm : this->trmm;
    const auto fortran = solve ? pick<T>(strsm_, dtrsm_, ctrsm_, ztrsm_) : pick<T>(strmm_, dtrmm_, ctrmm_, ztrmm_);
    const auto cblas = solve ? pick<T>(cblas_strsm, cblas_dtrsm, cblas_ctrsm, cblas_ztrsm)
                             : pick<T>(cblas_strmm, cblas_dtrmm, cblas_ctrmm, cblas_ztrmm);
    f('L', 'L', 'C', 'N', m, n, alpha, a.data(), lda, out[0].data(), ldb);
    fortran("L", "L", "C", "N", &m, &n, &alpha, a.data(), &lda, out[1].data(), &ldb);
    cblas(CblasColMajor, CblasLeft, CblasLower, CblasConjTrans, CblasNonUnit, m, n, scalar(alpha), a.data(), lda,
          out[2].data(), ldb);
    cblas(CblasRowMajor, CblasLeft, CblasLower, CblasConjTrans, CblasNonUnit, n, m, scalar(alpha), a.data(), lda,
          out[3].data(), ldb);
    f('R', 'U', 'C', 'N', m, n, alpha, a.data(), lda, out[4].data(), ldb);
    for (int form : {1, 2}) EXPECT_TRUE(all_same_bits(out[form].elements(), out[0].elements())) << solve << form;
    EXPECT_TRUE(all_same_bits(out[3].elements(), out[4].elements())) << solve;
  }
}

}  // namespace
}  // namespace kovra_test
