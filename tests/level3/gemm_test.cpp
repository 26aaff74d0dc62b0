// GEMM against the wide reference over a table of shapes and letters on the chosen kernel and on a test
// kernel of odd tiles; the edge cases on both sides of the serial cut-off; the argument checks with their
// reports; the entries in both forms and orders; the block loop's row-major store. GEMM inside tasks is in
// the threading suite's nested launch test.
#include "parallel/blas/level3/gemm.h"

#include <gtest/gtest.h>

#include <memory>
#include <typeinfo>
#include <vector>

#include "kernels/get_kernel.h"
#include "kernels/kernel_object.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level3/block_driver.h"
#include "parallel/blas/level3/packing.h"
#include "platform.h"
#include "support/cases.h"
#include "support/operands.h"
#include "support/reference.h"

namespace kovra_test {
namespace {

// A test-only kernel with 3 by 5 tiles and small blocks, so that a modest matrix crosses several blocks in
// every dimension and the depth block (7) is no multiple of either tile: the packing walkers and the edge
// tiles run on any host.
inline constexpr kernels::kernel_blocking odd_blocking{9, 15, 7, 3, 5, 0, 0};

template <typename T>
std::shared_ptr<kernels::kernel_object<T>> odd_kernel() {
  static_assert(kernels::sound_blocking<T>(odd_blocking));
  return std::make_shared<kernels::kernel_object<T>>(odd_blocking);
}

struct shape {
  char ta, tb;
  int m, n, k, pad;
};

// C := alpha*op(A)*op(B) + beta*C, A and B shaped for their letters, every leading dimension `pad` larger.
template <typename T>
struct gemm_case : shape {
  padded_matrix<T> a, b, c;

  static int rows(char t, int r, int s) { return std::max((t & 0xDF) == 'N' ? r : s, 1); }
  static int cols(char t, int r, int s) { return (t & 0xDF) == 'N' ? s : r; }
  gemm_case(shape s, unsigned seed = 1)
      : shape(s),
        a(rows(ta, m, k), cols(ta, m, k), rows(ta, m, k) + pad),
        b(rows(tb, k, n), cols(tb, k, n), rows(tb, k, n) + pad),
        c(m, n, m + pad) {
    a.random(seed), b.random(seed + 1), c.random(seed + 2);
  }
  void run(T alpha, T beta) {
    parallel::blas::gemm(ta, tb, m, n, k, alpha, a.data(), a.ld(), b.data(), b.ld(), beta, c.data(), c.ld());
  }
  wide_result<T> expected(T alpha, T beta) const {
    const auto at = [&](int i, int j) { return a.at(i, j); };
    const auto bt = [&](int i, int j) { return b.at(i, j); };
    const auto term = [&](int i, int j, int l) { return op_element<T>(ta, at, i, l) * op_element<T>(tb, bt, l, j); };
    return reference_product(m, n, k, term, alpha, beta, [&](int i, int j) { return c.at(i, j); });
  }
};

// The NEON kernels of complex<double> scale by alpha.re * (1 + i alpha.im), which is alpha only when
// alpha.re is 1 or alpha.im is 0; every other kernel (the portable one, and those of other processors),
// and the serial products, scale by alpha.
template <typename T>
T alpha_applied_by(const kernels::kernel_object<T>& kernel, T alpha) {
  if constexpr (std::is_same_v<T, std::complex<double>>)
    if (KOVRA_ARM32 && typeid(kernel) != typeid(kernels::kernel_object<T>)) return alpha.real() * T(1, alpha.imag());
  return alpha;
}

template <typename T>
class Gemm : public ::testing::Test {};
TYPED_TEST_SUITE(Gemm, element_types, element_type_names);

// Around the serial cut-off, tile and block edges, the split boundary and deep k beyond every block_k;
// all nine letter pairs; full blocks of the chosen kernel; every walker and edge tile of the odd kernel.
TYPED_TEST(Gemm, MatchesTheReference) {
  using T = TypeParam;
  const auto chosen = kernels::get_kernel<T>(), odd = odd_kernel<T>();
  std::vector<shape> table;
  const int big_m = 2 * chosen->block_m + 3, big_n = chosen->block_n + 3, big_k = chosen->block_k + 5;
  // clang-format off
  for (auto [m, n, k] : {std::tuple{1, 1, 1}, {9, 1, 1}, {1, 9, 1}, {1, 1, 9}, {8, 8, 9}, {17, 33, 5}, {33, 17, 9},
                         {129, 65, 17}, {6, 513, 4}, {513, 3, 7}, {40, 23, 300}, {big_m, big_n, big_k}})
    // clang-format on
    table.push_back({'N', 'T', m, n, k, 3});
  for (char ta : {'N', 'T', 'C'})
    for (char tb : {'n', 't', 'c'})
      for (auto [m, n, k] : {std::tuple{19, 13, 21}, {7, 6, 5}, {25, 31, 15}, {16, 1, 3}})
        table.push_back({ta, tb, m, n, k, 2});
  for (const auto& kernel : {chosen, odd})
    for_each_case(table, [&](const shape& s) {
      if (kernel == odd && s.m > 40) return;
      gemm_case<T> g(s, s.m + s.k);
      const bool serial = s.m <= serial_cutoff && s.n <= serial_cutoff && s.k <= serial_cutoff;
      const T alpha = make<T>(0.75, -0.5), beta = make<T>(-1.25, 0.5);
      const auto want = g.expected(serial ? alpha : alpha_applied_by(*kernel, alpha), beta);
      if (serial || kernel == chosen)
        g.run(alpha, beta);
      else
        parallel::blas::gemm_tasks(kernel, g.ta, g.tb, g.m, g.n, g.k, alpha, g.a.data(), g.a.ld(), g.b.data(), g.b.ld(),
                                   beta, g.c.data(), g.c.ld());
      EXPECT_TRUE(close_to(want, g.c.elements()) && g.c.intact() && g.a.intact() && g.b.intact());
    });
}

// Both sides of the cut-off: (8, 8, 8) is serial, a 9 anywhere takes the task path. beta = 0 never reads
// C; alpha = 0 never reads A or B; alpha = 0, beta = 1 and k = 0, beta = 1 leave C unwritten; k = 0 scales
// by beta, but with beta = 0 only the serial path clears; a zero row of B hides NaN in A only serially.
TYPED_TEST(Gemm, EdgeCasesOnBothPaths) {
  using T = TypeParam;
  const T nan = nan_element<T>(), sentinel_value = sentinel<T>();
  for (const auto& [m0, n0, k0] : {std::tuple{8, 8, 8}, {9, 8, 8}, {8, 9, 8}, {8, 8, 9}}) {
    const int m = m0, n = n0, k = k0;
    SCOPED_TRACE(::testing::Message() << m << "x" << n << "x" << k);
    const bool serial = m <= 8 && n <= 8 && k <= 8, serial_mn = m <= 8 && n <= 8;
    const auto all = [&](gemm_case<T>& g, T v) { return all_same_bits(g.c.elements(), std::vector<T>(m * n, v)); };
    gemm_case<T> cleared({'N', 'N', m, n, k, 1}), unread({'T', 'N', m, n, k, 1}), idle({'N', 'N', m, n, k, 1});
    cleared.a.fill(nan), cleared.b.fill(nan), cleared.c.fill(nan);
    cleared.run(make<T>(0), make<T>(0));
    EXPECT_TRUE(all(cleared, T(0)) && cleared.c.intact());
    unread.c.fill(nan);
    const auto want = unread.expected(make<T>(1.5), make<T>(0));
    unread.run(make<T>(1.5), make<T>(0));
    EXPECT_TRUE(close_to(want, unread.c.elements()));
    idle.c.fill(sentinel_value);
    idle.run(make<T>(0), make<T>(1));
    EXPECT_TRUE(all(idle, sentinel_value) && idle.c.intact());
    gemm_case<T> flat({'N', 'N', m, n, 0, 1}), scaled = flat, kept = flat;
    flat.c.fill(sentinel_value), scaled.c.fill(make<T>(3, -1)), kept.c.fill(make<T>(7, 7));
    flat.run(make<T>(2), make<T>(1));
    scaled.run(make<T>(2), make<T>(0.5, 0.5));
    kept.run(make<T>(2), make<T>(0));
    EXPECT_TRUE(all(flat, sentinel_value) && all(scaled, make<T>(0.5, 0.5) * make<T>(3, -1)));
    EXPECT_TRUE(all(kept, serial_mn ? T(0) : make<T>(7, 7)));
    gemm_case<T> hidden({'N', 'N', m, n, k, 0});
    hidden.a.at(0, 0) = nan;
    for (int j = 0; j < n; ++j) hidden.b.at(0, j) = T(0);
    hidden.run(make<T>(1), make<T>(0));
    EXPECT_TRUE(has_nan(hidden.c.at(0, 0)) == !serial && !has_nan(hidden.c.at(1, 0)));
  }
}

TYPED_TEST(Gemm, EachBadArgumentIsReportedAtItsPositionAndCIsUntouched) {
  using T = TypeParam;
  struct bad {
    char ta, tb;
    int m, n, k, lda, ldb, ldc, position;
  };
  // clang-format off
  const bad calls[] = {
      {'q', 'N', 2, 2, 2, 2, 2, 2, 1}, {'R', 'N', 2, 2, 2, 2, 2, 2, 1}, {'N', 'x', 2, 2, 2, 2, 2, 2, 2},
      {'N', 'N', -1, 2, 2, 2, 2, 2, 3}, {'N', 'N', 2, -1, 2, 2, 2, 2, 4}, {'N', 'N', 2, 2, -1, 2, 2, 2, 5},
      {'N', 'N', 3, 2, 2, 2, 2, 3, 8}, {'T', 'N', 2, 2, 3, 2, 3, 2, 8}, {'N', 'N', 2, 2, 3, 2, 2, 2, 10},
      {'N', 'C', 2, 3, 2, 2, 2, 2, 10}, {'N', 'N', 3, 2, 2, 3, 2, 2, 13}, {'Q', 'N', -1, 2, 2, 0, 0, 0, 1}};
  // clang-format on
  padded_matrix<T> a(4, 4, 4), b(4, 4, 4), c(4, 4, 4);
  expect_reports("GEMM ", calls, [&](const bad& x) {
    parallel::blas::gemm(x.ta, x.tb, x.m, x.n, x.k, make<T>(1), a.data(), x.lda, b.data(), x.ldb, make<T>(0), c.data(),
                         x.ldc);
  });
  EXPECT_TRUE(all_same_bits(c.elements(), std::vector<T>(16, sentinel<T>())) && c.intact());
  // A row-major call reports the positions of the swapped call.
  struct bad_row {
    int order, ta, tb, m, n, position;
  };
  // clang-format off
  const bad_row rows[] = {
      {101, 111, 199, 2, 2, 1}, {101, 199, 111, 2, 2, 2}, {102, 199, 111, 2, 2, 1}, {101, 111, 111, -1, 2, 4},
      {101, 111, 111, 2, -1, 3}};
  // clang-format on
  const T one = make<T>(1);
  expect_reports("GEMM ", rows, [&](const bad_row& x) {
    pick<T>(cblas_sgemm, cblas_dgemm, cblas_cgemm, cblas_zgemm)(CBLAS_ORDER(x.order), CBLAS_TRANSPOSE(x.ta),
                                                                CBLAS_TRANSPOSE(x.tb), x.m, x.n, 2, scalar(one),
                                                                a.data(), 4, b.data(), 4, scalar(one), c.data(), 4);
  });
  EXPECT_TRUE(all_same_bits(c.elements(), std::vector<T>(16, sentinel<T>())));
}

// Fortran and column-major CBLAS give the routine's bits; row-major (any order but column-major) computes
// the product of the row-major operands.
TYPED_TEST(Gemm, EntriesInBothFormsAndBothOrders) {
  using T = TypeParam;
  const T alpha = make<T>(1.5, -0.5), beta = make<T>(-0.25, 1);
  const auto letter = [](char t) { return t == 'N' ? CblasNoTrans : t == 'T' ? CblasTrans : CblasConjTrans; };
  for (auto [ta, tb, m, n, k] : {std::tuple{'N', 'T', 9, 3, 2}, {'C', 'N', 5, 6, 7}}) {
    gemm_case<T> routine({ta, tb, m, n, k, 1}, 3), fortran = routine, cblas = routine;
    routine.run(alpha, beta);
    const int lda = routine.a.ld(), ldb = routine.b.ld(), ldc = routine.c.ld();
    pick<T>(sgemm_, dgemm_, cgemm_, zgemm_)(&ta, &tb, &m, &n, &k, &alpha, fortran.a.data(), &lda, fortran.b.data(),
                                            &ldb, &beta, fortran.c.data(), &ldc);
    pick<T>(cblas_sgemm, cblas_dgemm, cblas_cgemm, cblas_zgemm)(CblasColMajor, letter(ta), letter(tb), m, n, k,
                                                                scalar(alpha), cblas.a.data(), lda, cblas.b.data(), ldb,
                                                                scalar(beta), cblas.c.data(), ldc);
    EXPECT_TRUE(all_same_bits(fortran.c.elements(), routine.c.elements()));
    EXPECT_TRUE(all_same_bits(cblas.c.elements(), routine.c.elements()));
  }
  // Row-major 2x3 A times 3x2 B.
  const T a[] = {make<T>(1), make<T>(2), make<T>(3), make<T>(4), make<T>(5), make<T>(6)}, one = make<T>(1), zero{};
  for (int order : {101, 0, 7}) {
    std::vector<T> c(4, make<T>(-1));
    pick<T>(cblas_sgemm, cblas_dgemm, cblas_cgemm, cblas_zgemm)(CBLAS_ORDER(order), CblasNoTrans, CblasNoTrans, 2, 2, 3,
                                                                scalar(one), a, 3, a, 2, scalar(zero), c.data(), 2);
    EXPECT_TRUE(all_same_bits(c, {make<T>(22), make<T>(28), make<T>(49), make<T>(64)})) << order;
  }
}

using namespace parallel::blas;

template <typename T>
class Blocks : public ::testing::Test {};
TYPED_TEST_SUITE(Blocks, element_types, element_type_names);

TYPED_TEST(Blocks, RowMajorStoreIsTheTransposedLayoutOfTheColumnMajorOne) {
  using T = TypeParam;
  // 5 by 3 tiles: a row of the edge tile fits in its leading dimension tile_m, as in every kernel.
  constexpr kernels::kernel_blocking odd_rows{10, 9, 7, 5, 3, 0, 0};
  static_assert(kernels::sound_blocking<T>(odd_rows));
  const auto kernel = std::make_shared<kernels::kernel_object<T>>(odd_rows);
  const auto s = std::make_unique<threading::scratch>();
  const block_buffers<T> buffers(*kernel, s.get());
  const int m = 23, n = 32, k = 17;
  // Small integers: every sum is exact, so the two stores must agree bit for bit.
  std::vector<T> a(m * k), b(k * n);
  for (int i = 0; i < m * k; ++i) a[i] = make<T>(i % 5 - 2, i % 3 - 1);
  for (int i = 0; i < k * n; ++i) b[i] = make<T>(i % 7 - 3, i % 2);
  const auto pack_a = [&](T* packed, int i, int l, int mb, int kb) {
    pack_a_block(*kernel, a.data() + i + m * l, m, packed, mb, kb);
  };
  const auto pack_b = [&](T* packed, int l, int j, int kb, int nb) {
    pack_b_block(*kernel, b.data() + l + k * j, k, packed, kb, nb);
  };
  for (bool clear : {true, false}) {
    padded_matrix<T> by_columns(m, n, m + 3), by_rows(n, m, n + 3);
    by_columns.fill(clear ? nan_element<T>() : make<T>(1, -1)), by_rows.fill(clear ? nan_element<T>() : make<T>(1, -1));
    run_blocks(*kernel, buffers, 0, m, 0, n, k, clear, pack_a, pack_b,
               column_major_store<T>{by_columns.data(), m + 3, T(1)});
    run_blocks(*kernel, buffers, 0, m, 0, n, k, clear, pack_a, pack_b, row_major_store<T>{by_rows.data(), n + 3});
    for (int i = 0; i < m; ++i)
      for (int j = 0; j < n; ++j) {
        ASSERT_FALSE(has_nan(by_columns.at(i, j))) << i << ", " << j << " clear " << clear;
        ASSERT_TRUE(same_bits(by_rows.at(j, i), by_columns.at(i, j))) << i << ", " << j;
      }
    EXPECT_TRUE(by_columns.intact() && by_rows.intact());
  }
}

}  // namespace
}  // namespace kovra_test
