// GEMM's edge cases in exact values: the serial cut-off, quick returns that must not read C, beta = 0
// clearing NaN, the k = 0 difference between the serial and the task path, the serial zero-skip of B,
// argument checks with their exact reports, and the entries (Fortran and CBLAS, both orders).
#include <gtest/gtest.h>

#include "gemm_call.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "support/element_types.h"
#include "support/reference_level3.h"
#include "support/reports.h"

namespace kovra_test {
namespace {

template <typename T>
class GemmEdges : public ::testing::Test {};

struct shape_case {
  char ta, tb;
  int m, n, k;
};
TYPED_TEST_SUITE(GemmEdges, element_types, element_type_names);

// Both sides of the serial cut-off: (8, 8, 8) is serial, a 9 anywhere takes the task path.
const int small_sizes[][3] = {{8, 8, 8}};
const int task_sizes[][3] = {{9, 8, 8}, {8, 9, 8}, {8, 8, 9}};

template <typename T, typename F>
void for_both_paths(F check) {
  for (const auto& s : small_sizes) check(s[0], s[1], s[2], true);
  for (const auto& s : task_sizes) check(s[0], s[1], s[2], false);
}

TYPED_TEST(GemmEdges, AlphaZeroBetaZeroClearsNaNWithoutReadingAOrB) {
  using T = TypeParam;
  for_both_paths<T>([](int m, int n, int k, bool) {
    gemm_case<T> g('N', 'N', m, n, k, 1);
    g.a.fill(nan_element<T>());
    g.b.fill(nan_element<T>());
    g.c.fill(nan_element<T>());
    g.run(make<T>(0), make<T>(0));
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < m; ++i) EXPECT_TRUE(same_bits(g.c.at(i, j), make<T>(0))) << m << n << k;
    EXPECT_TRUE(g.c.guards_intact());
  });
}

TYPED_TEST(GemmEdges, BetaZeroNeverReadsC) {
  using T = TypeParam;
  for_both_paths<T>([](int m, int n, int k, bool) {
    for (char ta : {'N', 'T'}) {
      gemm_case<T> g(ta, 'N', m, n, k, 1);
      g.c.fill(nan_element<T>());
      const auto want = reference_gemm(g.transa, g.transb, m, n, k, make<T>(1.5), g.a, g.b, make<T>(0), g.c);
      g.run(make<T>(1.5), make<T>(0));
      EXPECT_TRUE(matches(want, g.c)) << ta << " " << m << n << k;
    }
  });
}

TYPED_TEST(GemmEdges, QuickReturnsLeaveCUnreadAndUntouched) {
  using T = TypeParam;
  for_both_paths<T>([](int m, int n, int k, bool) {
    gemm_case<T> g('N', 'N', m, n, k, 1);
    g.c.fill(sentinel<T>());  // any write, even of the same value through arithmetic, would change the payload
    g.run(make<T>(0), make<T>(1));
    EXPECT_TRUE(g.c.guards_intact());
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < m; ++i) EXPECT_TRUE(same_bits(g.c.at(i, j), sentinel<T>()));
    gemm_case<T> no_depth('N', 'N', m, n, 0, 1);
    no_depth.c.fill(sentinel<T>());
    no_depth.run(make<T>(2), make<T>(1));
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < m; ++i) EXPECT_TRUE(same_bits(no_depth.c.at(i, j), sentinel<T>()));
  });
}

TYPED_TEST(GemmEdges, NoDepthScalesByBetaOnBothPaths) {
  using T = TypeParam;
  for_both_paths<T>([](int m, int n, int, bool) {
    gemm_case<T> g('N', 'N', m, n, 0, 1);
    g.c.fill(make<T>(3, -1));
    g.run(make<T>(2), make<T>(0.5, 0.5));
    const T want = make<T>(0.5, 0.5) * make<T>(3, -1);
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < m; ++i) EXPECT_TRUE(same_bits(g.c.at(i, j), want));
  });
}

TYPED_TEST(GemmEdges, NoDepthWithBetaZeroClearsOnlyOnTheSerialPath) {
  using T = TypeParam;
  for_both_paths<T>([](int m, int n, int, bool) {
    // With no depth only m and n decide the path.
    const bool serial = m <= serial_cutoff && n <= serial_cutoff;
    gemm_case<T> g('N', 'N', m, n, 0, 1);
    g.c.fill(make<T>(7, 7));
    g.run(make<T>(2), make<T>(0));
    const T want = serial ? make<T>(0) : make<T>(7, 7);
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < m; ++i) EXPECT_TRUE(same_bits(g.c.at(i, j), want)) << m << " " << n << " got " << describe(g.c.at(i, j));
  });
}

TYPED_TEST(GemmEdges, ZeroInBHidesNaNInAOnlyOnTheSerialPath) {
  using T = TypeParam;
  for_both_paths<T>([](int m, int n, int k, bool serial) {
    gemm_case<T> g('N', 'N', m, n, k, 0);
    g.a.at(0, 0) = nan_element<T>();
    for (int j = 0; j < n; ++j) g.b.at(0, j) = make<T>(0);
    g.run(make<T>(1), make<T>(0));
    EXPECT_EQ(has_nan(g.c.at(0, 0)), !serial) << m << " " << n << " " << k;
    EXPECT_FALSE(has_nan(g.c.at(1, 0)));
  });
}

TYPED_TEST(GemmEdges, EachBadArgumentIsReportedAtItsPositionAndCIsUntouched) {
  using T = TypeParam;
  struct bad_call { char ta, tb; int m, n, k, lda, ldb, ldc, position; };
  const bad_call calls[] = {
      {'q', 'N', 2, 2, 2, 2, 2, 2, 1},  {'R', 'N', 2, 2, 2, 2, 2, 2, 1},  {'N', 'x', 2, 2, 2, 2, 2, 2, 2},
      {'N', 'N', -1, 2, 2, 2, 2, 2, 3}, {'N', 'N', 2, -1, 2, 2, 2, 2, 4}, {'N', 'N', 2, 2, -1, 2, 2, 2, 5},
      {'N', 'N', 3, 2, 2, 2, 2, 3, 8},  {'T', 'N', 2, 2, 3, 2, 3, 2, 8},  {'N', 'N', 2, 2, 3, 2, 2, 2, 10},
      {'N', 'C', 2, 3, 2, 2, 2, 2, 10}, {'N', 'N', 3, 2, 2, 3, 2, 2, 13}, {'Q', 'N', -1, 2, 2, 0, 0, 0, 1},
  };
  for (const bad_call& call : calls) {
    padded_matrix<T> a(4, 4, 4), b(4, 4, 4), c(4, 4, 4);
    a.random(1);
    b.random(2);
    c.fill(sentinel<T>());
    EXPECT_EQ(stderr_of([&] {
                parallel::blas::gemm(call.ta, call.tb, call.m, call.n, call.k, make<T>(1), a.data(), call.lda,
                                     b.data(), call.ldb, make<T>(0), c.data(), call.ldc);
              }),
              report("GEMM ", call.position));
    for (int j = 0; j < 4; ++j)
      for (int i = 0; i < 4; ++i) EXPECT_TRUE(same_bits(c.at(i, j), sentinel<T>()));
  }
}

// The entries of each type, both forms, against the routine they map to, bit for bit.
template <typename T> struct gemm_entries;
template <> struct gemm_entries<float> {
  static constexpr auto fortran = sgemm_;
  static constexpr auto cblas = cblas_sgemm;
  static float scalar(const float& v) { return v; }
};
template <> struct gemm_entries<double> {
  static constexpr auto fortran = dgemm_;
  static constexpr auto cblas = cblas_dgemm;
  static double scalar(const double& v) { return v; }
};
template <> struct gemm_entries<std::complex<float>> {
  static constexpr auto fortran = cgemm_;
  static constexpr auto cblas = cblas_cgemm;
  static const void* scalar(const std::complex<float>& v) { return &v; }
};
template <> struct gemm_entries<std::complex<double>> {
  static constexpr auto fortran = zgemm_;
  static constexpr auto cblas = cblas_zgemm;
  static const void* scalar(const std::complex<double>& v) { return &v; }
};

TYPED_TEST(GemmEdges, BothEntryFormsComputeWhatTheRoutineComputes) {
  using T = TypeParam;
  using entries = gemm_entries<T>;
  const T alpha = make<T>(1.5, -0.5), beta = make<T>(-0.25, 1);
  for (const shape_case s : {shape_case{'N', 'T', 9, 3, 2}, shape_case{'C', 'N', 5, 6, 7}}) {
    gemm_case<T> routine(s.ta, s.tb, s.m, s.n, s.k, 1, 3), fortran = routine, cblas = routine;
    routine.run(alpha, beta);
    const int lda = fortran.a.ld(), ldb = fortran.b.ld(), ldc = fortran.c.ld();
    entries::fortran(&s.ta, &s.tb, &s.m, &s.n, &s.k, &alpha, fortran.a.data(), &lda, fortran.b.data(), &ldb, &beta,
                     fortran.c.data(), &ldc);
    const auto cblas_trans = [](char t) { return t == 'N' ? CblasNoTrans : t == 'T' ? CblasTrans : CblasConjTrans; };
    entries::cblas(CblasColMajor, cblas_trans(s.ta), cblas_trans(s.tb), s.m, s.n, s.k, entries::scalar(alpha),
                   cblas.a.data(), cblas.a.ld(), cblas.b.data(), cblas.b.ld(), entries::scalar(beta), cblas.c.data(),
                   cblas.c.ld());
    EXPECT_TRUE(fortran.c.same_as(routine.c));
    EXPECT_TRUE(cblas.c.same_as(routine.c));
  }
}

TEST(GemmEntries, FortranNamesAreOneRoutine) {
  const int m = 9, n = 3, k = 2, ld = 9;
  const double alpha = 2, beta = 0;
  std::vector<double> a(ld * k, 1.0), b(k * n, 0.5), c1(ld * n, 9), c2(ld * n, 9), c3(ld * n, 9);
  dgemm_("N", "N", &m, &n, &k, &alpha, a.data(), &ld, b.data(), &k, &beta, c1.data(), &ld);
  dgemm("n", "n", &m, &n, &k, &alpha, a.data(), &ld, b.data(), &k, &beta, c2.data(), &ld);
  DGEMM("N", "N", &m, &n, &k, &alpha, a.data(), &ld, b.data(), &k, &beta, c3.data(), &ld);
  EXPECT_EQ(c1, std::vector<double>(ld * n, 2.0));
  EXPECT_EQ(c2, c1);
  EXPECT_EQ(c3, c1);
}

TEST(GemmEntries, RowMajorIsTheSwappedColumnMajorCallForAnyOrderButColMajor) {
  // Row-major 2x3 A times 3x2 B: C = [[1*1+2*3+3*5, 1*2+2*4+3*6], [4*1+5*3+6*5, 4*2+5*4+6*6]].
  const float a[] = {1, 2, 3, 4, 5, 6}, b[] = {1, 2, 3, 4, 5, 6};
  for (int order : {101, 0, 7}) {
    float c[4] = {-1, -1, -1, -1};
    cblas_sgemm(static_cast<CBLAS_ORDER>(order), CblasNoTrans, CblasNoTrans, 2, 2, 3, 1.0f, a, 3, b, 2, 0.0f, c, 2);
    EXPECT_EQ(std::vector<float>(c, c + 4), (std::vector<float>{22, 28, 49, 64})) << "order " << order;
  }
  float c[4] = {-1, -1, -1, -1};
  cblas_sgemm(CblasColMajor, CblasTrans, CblasTrans, 2, 2, 3, 1.0f, a, 3, b, 2, 0.0f, c, 2);
  EXPECT_EQ(std::vector<float>(c, c + 4), (std::vector<float>{22, 49, 28, 64}));
}

TEST(GemmEntries, RowMajorReportsThePositionsOfTheSwappedCall) {
  std::vector<std::complex<double>> a(16), b(16), c(16, {5, 5});
  const std::complex<double> one(1, 0);
  struct bad { int order, ta, tb, m, n, position; };
  for (const bad call : {bad{101, 111, 199, 2, 2, 1}, bad{101, 199, 111, 2, 2, 2}, bad{102, 199, 111, 2, 2, 1},
                         bad{101, 111, 111, -1, 2, 4}, bad{101, 111, 111, 2, -1, 3}}) {
    EXPECT_EQ(stderr_of([&] {
                cblas_zgemm(static_cast<CBLAS_ORDER>(call.order), static_cast<CBLAS_TRANSPOSE>(call.ta),
                            static_cast<CBLAS_TRANSPOSE>(call.tb), call.m, call.n, 2, &one, a.data(), 4, b.data(), 4,
                            &one, c.data(), 4);
              }),
              report("GEMM ", call.position));
  }
  EXPECT_EQ(c, std::vector<std::complex<double>>(16, {5, 5}));
}

}  // namespace
}  // namespace kovra_test
