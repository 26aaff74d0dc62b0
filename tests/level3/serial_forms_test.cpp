// The fast serial forms of the real types against their plain loops, bit for bit, on the shared harness:
// - left SYMM, a pass of columns at a time: every order up to the largest diagonal block and one past it, column
//   counts around the pass width, both triangles, three kinds of beta, NaN in the triangle not stored;
// - SYRK, a tile of C at a time: every order to past two tiles and the task path's blocks, both triangles and
//   trans forms, exact zeros in A with NaN opposite them, and -0 in C that a taken step would turn to +0;
// - left TRSM, many right-hand sides at once: every uplo, transa and diag, sizes across the row blocks and column
//   groups, alpha 1 and other, runs of exact zeros (-0 among them) the 'N' forms skip, guarding NaN and infinity.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "parallel/blas/level3/symm.h"
#include "parallel/blas/level3/syrk.h"
#include "parallel/blas/level3/trsm.h"
#include "support/cases.h"
#include "support/values.h"

namespace kovra_test {
namespace {

namespace blas = parallel::blas;

template <typename T>
class SerialForms : public ::testing::Test {};
TYPED_TEST_SUITE(SerialForms, real_types, element_type_names);

TYPED_TEST(SerialForms, LeftSymmAgreesWithThePlainLoops) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  unsigned seed = 1;
  const int width = blas::symm_left_columns<T>::width;
  // 257 is past the column block's rows and must take the loops; the large orders take one ragged pass.
  for (const int m : {1, 2, 3, 4, 5, 6, 7, 9, 13, 31, 64, 127, 255, 256, 257})
    for (const int n : m < 127 ? std::vector<int>{1, 5, width, width + 3, 37} : std::vector<int>{width + 3})
      for (const char uplo : {'U', 'L'})
        for (const double beta : {0.0, 1.0, -0.5}) {
          const int lda = m + 2, ld = m + 1;
          std::vector<T> a = random_values<T>(lda * m, ++seed), b = random_values<T>(ld * n, ++seed);
          for (int k = 0; k < m; ++k)  // the triangle that is not stored, and exact zeros in the stored one
            for (int i = 0; i < m; ++i) {
              if (uplo == 'U' ? i > k : i < k) a[i + k * lda] = nan;
              if ((i + 3 * k) % 11 == 0 && i != k && (uplo == 'U' ? i < k : i > k)) a[i + k * lda] = T(0);
            }
          const std::vector<T> c0 = random_values<T>(ld * n, ++seed);
          std::vector<T> fast = c0, plain = c0;
          const T alpha = T(m % 2 ? 1.0 : 0.75);
          blas::small_symm<T>('L', uplo, m, n, alpha, a.data(), lda, b.data(), ld, T(beta), fast.data(), ld);
          blas::small_symmetric_product<false, T>('L', uplo, m, n, alpha, a.data(), lda, b.data(), ld, T(beta),
                                                  plain.data(), ld);
          for (std::size_t p = 0; p < fast.size(); ++p)
            ASSERT_TRUE(same_bits(fast[p], plain[p]))
                << "m " << m << " n " << n << " uplo " << uplo << " beta " << beta << " at " << p % ld << ","
                << p / ld << ": " << fast[p] << " against " << plain[p];
        }
}

TYPED_TEST(SerialForms, SyrkAgreesWithThePlainLoops) {
  using T = TypeParam;
  std::vector<int> orders;
  for (int n = 1; n <= 2 * blas::rank_update_tile<T>::rows + 8; ++n) orders.push_back(n);
  for (const int n : {63, 64, 65, 104, 127}) orders.push_back(n);
  unsigned seed = 1;
  for (const int n : orders)
    for (const int k : {1, 7, blas::rank_update_tile<T>::depth + 3})
      for (const char trans : {'N', 'T'})
        for (const char uplo : {'U', 'L'})
          for (const double beta : {0.0, 1.0, -0.5}) {
            const bool notrans = trans == 'N';
            const int lda = (notrans ? n : k) + 3, ldc = n + 2;
            std::vector<T> a = random_values<T>(lda * (notrans ? k : n), ++seed);
            if (notrans)  // A(z, l) = 0 skips column z's step l, which must keep A(p, l) = NaN out of it
              for (int l = 0; l < k; l += 3) {
                const int z = (l * 7) % n, p = (l * 5 + 1) % n;
                a[z + l * lda] = T(0);
                if (p != z && l % 2) a[p + l * lda] = std::numeric_limits<T>::quiet_NaN();
              }
            std::vector<T> c0 = random_values<T>(ldc * n, ++seed);
            for (std::size_t p = 0; p < c0.size(); p += 5) c0[p] = -T(0);
            std::vector<T> fast = c0, plain = c0;
            const T alpha = T(n % 2 ? 1.0 : 0.75);
            blas::small_syrk<T>(uplo, trans, n, k, alpha, a.data(), lda, T(beta), fast.data(), ldc);
            blas::small_syrk_loops<T>(uplo, trans, n, k, alpha, a.data(), lda, T(beta), plain.data(), ldc);
            for (std::size_t p = 0; p < fast.size(); ++p)
              ASSERT_TRUE(same_bits(fast[p], plain[p]))
                  << "n " << n << " k " << k << " trans " << trans << " uplo " << uplo << " beta " << beta << " at "
                  << p % ldc << "," << p / ldc << ": " << fast[p] << " against " << plain[p];
          }
}

struct solve_shape {
  char uplo, transa, diag;
  int m, n, lda, ldb;
  double alpha;
  bool poison;  // NaN and infinity in A where only the zero skips keep them out of some columns
};

TYPED_TEST(SerialForms, LeftTrsmAgreesWithThePlainLoops) {
  using T = TypeParam;
  std::vector<solve_shape> table;
  for (char uplo : {'U', 'l'})
    for (char transa : {'N', 't', 'C'})
      for (char diag : {'N', 'u'}) {
        for (int m = 1; m <= 40; ++m)
          table.push_back({uplo, transa, diag, m, 1 + m % 19, m + m % 3, m + 1, m % 2 ? 1.0 : -0.75, false});
        for (int m : {64, 127, 128, 129}) table.push_back({uplo, transa, diag, m, 17 + m % 3, m, m, 1.0, false});
        for (int n : {1, 8, 15, 16, 17, 33})
          table.push_back({uplo, transa, diag, 24, n, 25, 24, n % 2 ? 1.0 : 2.5, transa == 'N'});
      }
  for_each_case(table, [](const solve_shape& s) {
    const bool upper = s.uplo == 'U', unit = s.diag == 'u';
    const auto row = [&](int o) { return upper == (s.transa == 'N') ? s.m - 1 - o : o; };  // in solve order
    padded_matrix<T> a(s.m, s.m, s.lda), b(s.m, s.n, s.ldb);
    a.random(s.m), b.random(s.m + s.n);
    for (int j = 0; j < s.m; ++j)
      for (int i = 0; i < s.m; ++i)
        if (i == j ? unit : upper ? i > j : i < j) a.at(i, j) = nan_element<T>();
        else if (i == j) a.at(i, j) += T(4);  // well conditioned
    const auto guarded = [&](int j) { return j % 3 == 1 || j % 5 == 3; };
    for (int j = 0; j < s.n; ++j)  // zeros leading the solve, or a whole column of them
      for (int o = 0; o < s.m && guarded(j) && (o < 3 || j % 5 == 3); ++o) b.at(row(o), j) = o == 1 ? T(-0.0) : T(0);
    for (int o = 1; s.poison && o < s.m; ++o) {
      a.at(row(o), row(0)) = nan_element<T>(), a.at(row(o), row(1)) = T(INFINITY);
      if (!unit) a.at(row(0), row(0)) = T(0);
    }
    padded_matrix<T> expected = b;
    parallel::blas::small_trsm_loops('L', s.uplo, s.transa, s.diag, s.m, s.n, T(s.alpha), a.data(), a.ld(),
                                     expected.data(), expected.ld());
    parallel::blas::small_trsm('L', s.uplo, s.transa, s.diag, s.m, s.n, T(s.alpha), a.data(), a.ld(), b.data(),
                               b.ld());
    EXPECT_TRUE(b.intact());
    int differing = 0, spread = 0;
    for (int j = 0; j < s.n; ++j)
      for (int i = 0; i < s.m; ++i) {
        differing += !same_bits(b.at(i, j), expected.at(i, j)) && !(has_nan(b.at(i, j)) && has_nan(expected.at(i, j)));
        spread += s.poison && guarded(j) && (has_nan(b.at(i, j)) || std::isinf(b.at(i, j)));
      }
    EXPECT_EQ(differing, 0);
    EXPECT_EQ(spread, 0);
  });
}

}  // namespace
}  // namespace kovra_test
