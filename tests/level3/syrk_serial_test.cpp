// The serial SYRK of the real types, a tile of C at a time, against its plain loops bit for bit: every order up
// to past two tiles and the largest diagonal block of the task path, both triangles and both trans forms, the
// three kinds of beta, exact zeros in A with NaN opposite them, and -0 in C that a taken step would turn to +0.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "parallel/blas/level3/syrk.h"
#include "support/values.h"

namespace kovra_test {
namespace {

namespace blas = parallel::blas;

template <typename T>
class SyrkSerialTiles : public ::testing::Test {};
TYPED_TEST_SUITE(SyrkSerialTiles, real_types, element_type_names);

TYPED_TEST(SyrkSerialTiles, AgreeWithThePlainLoopsBitForBit) {
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

}  // namespace
}  // namespace kovra_test
