// The left-side serial SYMM of the real types, several columns at a time, against the plain loops bit for bit:
// every order up to the largest diagonal block, both triangles, column counts around the pass width, the three
// kinds of beta, and NaN in the triangle that is not stored.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "parallel/blas/level3/symm.h"
#include "support/values.h"

namespace kovra_test {
namespace {

namespace blas = parallel::blas;

template <typename T>
class SymmSerialColumns : public ::testing::Test {};
TYPED_TEST_SUITE(SymmSerialColumns, real_types, element_type_names);

TYPED_TEST(SymmSerialColumns, AgreeWithThePlainLoopsBitForBit) {
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

}  // namespace
}  // namespace kovra_test
