// GEMM results against the reference product: shapes that are no multiples of any tile or block, all
// nine transpose pairs (including 'C' on real types), padded leading dimensions whose padding must stay
// untouched, the default kernel and a test kernel with odd tiles, and calls from inside running tasks.
#include <gtest/gtest.h>

#include <atomic>
#include <complex>
#include <tuple>
#include <type_traits>
#include <typeinfo>

#include "gemm_call.h"
#include "kernels/get_kernel.h"
#include "support/element_types.h"
#include "support/reference_level3.h"
#include "support/worker_scope.h"
#include "threading/launch.h"

namespace kovra_test {
namespace {

template <typename T>
class GemmResults : public ::testing::Test {};
TYPED_TEST_SUITE(GemmResults, element_types, element_type_names);

// The NEON kernels of complex<double> scale by alpha.re * (1 + i alpha.im), which is alpha itself only
// when alpha.re is 1 or alpha.im is 0; every other kernel, and the small products that run on no kernel,
// scale by alpha.
template <typename T>
T alpha_applied_by(const kernels::kernel_object<T>& kernel, T alpha) {
  if constexpr (std::is_same_v<T, std::complex<double>>)
    if (typeid(kernel) != typeid(kernels::kernel_object<T>)) return alpha.real() * T(1, alpha.imag());
  return alpha;
}

template <typename T>
void check_product(gemm_case<T>& g, T alpha, T beta, std::shared_ptr<kernels::kernel_object<T>> kernel = nullptr) {
  const bool small = g.m <= serial_cutoff && g.n <= serial_cutoff && g.k <= serial_cutoff;
  const T applied = kernel ? alpha_applied_by(*kernel, alpha)
                    : small ? alpha
                            : alpha_applied_by(*kernels::get_kernel<T>(), alpha);
  const auto want = reference_gemm(g.transa, g.transb, g.m, g.n, g.k, applied, g.a, g.b, beta, g.c);
  if (kernel) g.run_on(kernel, alpha, beta);
  else g.run(alpha, beta);
  EXPECT_TRUE(matches(want, g.c)) << g.transa << g.transb << " m=" << g.m << " n=" << g.n << " k=" << g.k;
  EXPECT_TRUE(g.c.guards_intact());
  EXPECT_TRUE(g.a.guards_intact());
  EXPECT_TRUE(g.b.guards_intact());
}

struct shape { int m, n, k; };

// Around the serial cut-off, tile and block edges, the split boundary (4 * tile_m = 32 rows) and deep k
// beyond every block_k of the plain kernels (256 at most).
const shape result_shapes[] = {{1, 1, 1},   {9, 1, 1},    {1, 9, 1},    {1, 1, 9},   {8, 8, 9},   {10, 7, 3},
                               {17, 33, 5}, {32, 17, 9},  {33, 17, 9},  {127, 9, 2}, {129, 65, 17}, {6, 513, 4},
                               {513, 3, 7}, {40, 23, 300}, {5, 4, 257}};

TYPED_TEST(GemmResults, ShapesAcrossTilesBlocksAndTheSplit) {
  using T = TypeParam;
  for (const shape s : result_shapes) {
    gemm_case<T> g('N', 'N', s.m, s.n, s.k, 3);
    check_product(g, make<T>(0.75, -0.5), make<T>(-1.25, 0.5));
  }
}

TYPED_TEST(GemmResults, AllNineTransposePairs) {
  using T = TypeParam;
  for (char ta : {'N', 'T', 'C'})
    for (char tb : {'n', 't', 'c'})
      for (const shape s : {shape{19, 13, 21}, shape{41, 10, 9}, shape{7, 6, 5}}) {
        gemm_case<T> g(ta, tb, s.m, s.n, s.k, 2, 7);
        check_product(g, make<T>(1.5, 0.25), make<T>(0.5, -0.75));
      }
}

TYPED_TEST(GemmResults, BetaZeroAndOneOnTheTaskPath) {
  using T = TypeParam;
  gemm_case<T> zero('T', 'N', 21, 34, 12, 1);
  zero.c.fill(nan_element<T>());  // beta = 0: C is never read
  check_product(zero, make<T>(2, 1), make<T>(0));
  gemm_case<T> one('N', 'C', 36, 9, 30, 1);
  check_product(one, make<T>(-1, 0.5), make<T>(1));
}

TYPED_TEST(GemmResults, OddTestKernelRunsEveryWalkerAndEdgeTile) {
  using T = TypeParam;
  const auto kernel = odd_kernel<T>();
  for (char ta : {'N', 'T', 'C'})
    for (char tb : {'N', 'T', 'C'})
      for (const shape s : {shape{11, 16, 8}, shape{25, 31, 15}, shape{4, 17, 22}, shape{16, 1, 3}}) {
        gemm_case<T> g(ta, tb, s.m, s.n, s.k, 2, 11);
        check_product(g, make<T>(0.5, 1), make<T>(-2, 0), kernel);
      }
}

TYPED_TEST(GemmResults, FullBlocksStayInsideTheScratch) {
  using T = TypeParam;
  // Every task gets more than block_m rows and the depth exceeds block_k, so the packed blocks reach the
  // sizes of the kernel's blocking numbers (an overrun would show under AddressSanitizer).
  const auto kernel = kernels::get_kernel<T>();
  const int m = 2 * kernel->block_m + 3, k = kernel->block_k + 5, n = kernel->block_n + 3;
  gemm_case<T> g('N', 'T', m, n, k, 0, 5);
  check_product(g, make<T>(1), make<T>(0.5));
}

// A task body that runs a whole GEMM of its own, as the Level 3 routines do.
template <typename T>
struct gemm_in_task {
  gemm_case<T>* cases;
  void run_tile(threading::scratch*, int begin, int end, int, int) const {
    for (int i = begin; i < end; ++i) cases[i].run(make<T>(1, -1), make<T>(0.5));
  }
};

TYPED_TEST(GemmResults, CallableFromInsideRunningTasks) {
  using T = TypeParam;
  for (int workers : {1, 2, 4}) {
    worker_scope scope(workers);
    std::vector<gemm_case<T>> cases;
    for (int i = 0; i < 4; ++i) cases.emplace_back('N', 'T', 20 + 9 * i, 11 + i, 10, 1, 31 * i + 1);
    std::vector<expected_product<T>> want;
    for (auto& g : cases) want.push_back(reference_gemm(g.transa, g.transb, g.m, g.n, g.k, make<T>(1, -1), g.a, g.b, make<T>(0.5), g.c));
    gemm_in_task<T> body{cases.data()};
    threading::launch_grid(4, 1, 1, 1, &body);
    for (std::size_t i = 0; i < cases.size(); ++i) EXPECT_TRUE(matches(want[i], cases[i].c)) << workers << " workers";
  }
}

}  // namespace
}  // namespace kovra_test
