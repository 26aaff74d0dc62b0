// small_trsm's left solves of float and double, many right-hand sides at once, against the plain loop nest bit
// for bit: every uplo, transa and diag, sizes across the blocks of rows and the groups of columns, alpha 1 and
// other, runs of exact zeros (-0 among them) that the 'N' forms skip, guarding NaN and infinity in A.
#include <gtest/gtest.h>

#include "parallel/blas/level3/trsm.h"
#include "support/cases.h"

namespace kovra_test {
namespace {

struct shape {
  char uplo, transa, diag;
  int m, n, lda, ldb;
  double alpha;
  bool poison;  // NaN and infinity in A where only the zero skips keep them out of some columns
};

template <typename T>
class TrsmSerial : public ::testing::Test {};
TYPED_TEST_SUITE(TrsmSerial, real_types, element_type_names);

TYPED_TEST(TrsmSerial, LeftSolvesMatchTheLoopNest) {
  using T = TypeParam;
  std::vector<shape> table;
  for (char uplo : {'U', 'l'})
    for (char transa : {'N', 't', 'C'})
      for (char diag : {'N', 'u'}) {
        for (int m = 1; m <= 40; ++m)
          table.push_back({uplo, transa, diag, m, 1 + m % 19, m + m % 3, m + 1, m % 2 ? 1.0 : -0.75, false});
        for (int m : {64, 127, 128, 129}) table.push_back({uplo, transa, diag, m, 17 + m % 3, m, m, 1.0, false});
        for (int n : {1, 8, 15, 16, 17, 33})
          table.push_back({uplo, transa, diag, 24, n, 25, 24, n % 2 ? 1.0 : 2.5, transa == 'N'});
      }
  for_each_case(table, [](const shape& s) {
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
