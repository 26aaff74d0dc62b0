// Kernel selection and the version report: the kernel each processor gets (forced through android_setCpu
// in child processes, and for the machine the test runs on), the record of KOVRAVersionInfo, and AXPY,
// SCAL and GEMM on the chosen kernel against the portable kernel.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <typeinfo>
#include <vector>

#include "kernels/blocking.h"
#include "kernels/get_kernel.h"
#include "kovra/cpu_features.h"
#include "kovra/kovra_version.h"
#include "level3/gemm_call.h"
#include "platform.h"
#include "support/element_types.h"
#include "support/values.h"

#if KOVRA_ARM32
#include <sys/auxv.h>

#include "kernels/neon/kernel_neon_fma.h"
#include "kernels/neon/kernel_neon_fma_scalar_complex.h"
#include "kernels/neon/kernel_neon_mla_complex.h"
#endif

namespace {

using kovra::kernels::get_kernel;
using kovra::kernels::kernel_blocking;
using kovra::kernels::kernel_object;
using kovra_test::make;
using kovra_test::random_values;

// The class and numbers that a kernel called `name` must have for T.
template <typename T>
bool is_kernel_called(const kernel_object<T>& kernel, const std::string& name) {
  kernel_blocking b = kovra::kernels::plain_blocking<T>::value;
  bool right_class = typeid(kernel) == typeid(kernel_object<T>);
#if KOVRA_ARM32
  if (name == "NEON FMA") {
    b = kovra::kernels::fma_scalar_blocking<T>::value;
    right_class = typeid(kernel) == typeid(kovra::kernels::kernel_neon_fma_scalar<T>);
  } else if (name == "NEON") {
    b = kovra::kernels::mla_blocking<T>::value;
    right_class = typeid(kernel) == typeid(kovra::kernels::kernel_neon_mla<T>);
  }
#else
  if (name != "none") return false;
#endif
  return right_class && kernel.block_m == b.block_m && kernel.block_n == b.block_n && kernel.block_k == b.block_k &&
         kernel.tile_m == b.tile_m && kernel.tile_n == b.tile_n;
}

// Ends the child process: 0 when every check held, else 1 after printing the failed one.
#define CHILD_CHECK(condition)                                       \
  do {                                                               \
    if (!(condition)) {                                              \
      std::fprintf(stderr, "failed in the child: %s\n", #condition); \
      std::_Exit(1);                                                 \
    }                                                                \
  } while (0)

template <typename T>
void check_choice_in_child(const char* expected) {
  const auto kernel = get_kernel<T>();
  CHILD_CHECK(std::strcmp(kovra::kernels::kernel_name.load(), expected) == 0);
  CHILD_CHECK(is_kernel_called(*kernel, expected));
}

// Runs in a fresh child: supplies the feature word before anything has probed, then every type must get
// the kernel `expected` names, and the version report must say so.
[[noreturn]] void choose_with_features(std::uint64_t features, const char* expected) {
  CHILD_CHECK(android_setCpu(1, features) == 1);
  KOVRAVersionRecord record{};
  CHILD_CHECK(KOVRAVersionInfo(&record) == 0);
  CHILD_CHECK(std::strcmp(record.kernel, expected) == 0);
  check_choice_in_child<double>(expected);
  check_choice_in_child<std::complex<float>>(expected);
  check_choice_in_child<std::complex<double>>(expected);
  check_choice_in_child<float>(expected);
  std::_Exit(0);
}

// Only ARM builds have NEON kernels: elsewhere every feature word leads to the portable one.
const char* expected_on_this_build(const char* arm_name) { return KOVRA_ARM32 ? arm_name : "none"; }

bool core_has_vfpv4() {
#if KOVRA_ARM32
  return (getauxval(AT_HWCAP) & HWCAP_ARM_VFPv4) != 0;
#else
  return false;
#endif
}

// These run first, while no test of this binary has probed the processor or chosen a kernel; each child
// inherits that untouched state.
TEST(forced_selection, NoNeonGetsThePortableKernel) {
  EXPECT_EXIT(choose_with_features(0, "none"), testing::ExitedWithCode(0), "");
}

TEST(forced_selection, NeonWithoutFusedMultiplyAddGetsTheMlaKernels) {
  EXPECT_EXIT(choose_with_features(ARM_FEATURE_NEON, expected_on_this_build("NEON")), testing::ExitedWithCode(0), "");
}

TEST(forced_selection, NeonWithFusedMultiplyAddGetsTheFmaKernels) {
  // The fused kernels execute VFPv4 instructions as soon as they are made.
  if (KOVRA_ARM32 && !core_has_vfpv4()) GTEST_SKIP() << "this core has no VFPv4";
  EXPECT_EXIT(choose_with_features(ARM_FEATURE_NEON | ARM_FEATURE_NEON_FMA, expected_on_this_build("NEON FMA")),
              testing::ExitedWithCode(0), "");
}

// What this machine should get, from the C library's view of the processor rather than the probe's.
const char* kernel_for_this_machine() {
#if KOVRA_ARM32
  const unsigned long hwcap = getauxval(AT_HWCAP);
  if (!(hwcap & HWCAP_ARM_NEON)) return "none";
  return (hwcap & HWCAP_ARM_VFPv4) ? "NEON FMA" : "NEON";
#else
  return "none";
#endif
}

TEST(machine_selection, EveryTypeGetsTheKernelOfThisProcessor) {
  const std::string expected = kernel_for_this_machine();
  KOVRAVersionRecord record{};
  ASSERT_EQ(KOVRAVersionInfo(&record), 0);
  ASSERT_NE(record.kernel, nullptr);
  EXPECT_EQ(record.kernel, expected);
  EXPECT_TRUE(is_kernel_called(*get_kernel<float>(), expected));
  EXPECT_TRUE(is_kernel_called(*get_kernel<double>(), expected));
  EXPECT_TRUE(is_kernel_called(*get_kernel<std::complex<float>>(), expected));
  EXPECT_TRUE(is_kernel_called(*get_kernel<std::complex<double>>(), expected));
  EXPECT_EQ(kovra::kernels::kernel_name.load(), expected);
}

// The string and the record come from one version number; the record names the kernel in use.
TEST(version_report, StringAndRecordAgree) {
  KOVRAVersionRecord record;
  std::memset(&record, 0xa5, sizeof record);
  ASSERT_EQ(KOVRAVersionInfo(&record), 0);
  const char* text = nullptr;
  KOVRAVersionString(&text);
  const std::string version =
      std::to_string(record.major) + "." + std::to_string(record.minor) + "." + std::to_string(record.patch);
  EXPECT_EQ(std::string(text), std::string(record.name) + " Version " + version);
  EXPECT_STREQ(record.kernel, kernel_for_this_machine());
}

template <typename T>
std::vector<T> matrix_values(const kovra_test::padded_matrix<T>& m) {
  std::vector<T> values;
  for (int j = 0; j < m.cols(); ++j)
    for (int i = 0; i < m.rows(); ++i) values.push_back(m.at(i, j));
  return values;
}

// Every NEON kernel built into the library and runnable on this core, against the portable kernel of the
// same type; the tolerance covers the NEON kernels' other order of rounding. A build without NEON
// kernels has nothing to compare.
template <typename T>
std::vector<std::shared_ptr<kernel_object<T>>> built_kernels() {
  std::vector<std::shared_ptr<kernel_object<T>>> kernels;
#if KOVRA_ARM32
  kernels.push_back(kovra::kernels::make_kernel_neon_mla<T>());
  if (core_has_vfpv4()) {
    kernels.push_back(kovra::kernels::make_kernel_neon_fma_scalar<T>());
    if constexpr (!kovra::is_complex_v<T>) kernels.push_back(kovra::kernels::make_kernel_neon_fma<T>());
  }
#endif
  return kernels;
}

template <typename T>
class every_kernel_against_portable : public testing::Test {
 protected:
  using R = kovra::real_t<T>;
  void SetUp() override {
    if (kernels.empty()) GTEST_SKIP() << "no NEON kernel in this build";
  }
  std::vector<std::shared_ptr<kernel_object<T>>> kernels = built_kernels<T>();
  std::shared_ptr<kernel_object<T>> portable =
      std::make_shared<kernel_object<T>>(kovra::kernels::plain_blocking<T>::value);
  static constexpr double eps = std::numeric_limits<R>::epsilon();
};
TYPED_TEST_SUITE(every_kernel_against_portable, kovra_test::element_types, kovra_test::element_type_names);

// Lengths around the vector widths and the unrolled steps of the NEON bodies.
constexpr int vector_lengths[] = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 100};

TYPED_TEST(every_kernel_against_portable, Axpy) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, -1.25);
  for (const auto& chosen : this->kernels)
    for (int n : vector_lengths) {
      const std::vector<T> x = random_values<T>(n, 10 + n);
      std::vector<T> y = random_values<T>(n, 20 + n);
      std::vector<T> y_portable = y;
      chosen->axpy_kernel(n, &alpha, x.data(), y.data());
      this->portable->axpy_kernel(n, &alpha, x.data(), y_portable.data());
      // |alpha * x| stays below 2 per part, |y| below 1: a few roundings of terms below 3.
      EXPECT_TRUE(kovra_test::all_near(y, y_portable, 12 * this->eps)) << "n = " << n;
    }
}

TYPED_TEST(every_kernel_against_portable, Scal) {
  using T = TypeParam;
  const T alpha = make<T>(-1.5, 0.5);
  const T zero = make<T>(0, 0);
  for (const auto& chosen : this->kernels)
    for (int n : vector_lengths) {
      std::vector<T> x = random_values<T>(n, 30 + n);
      std::vector<T> x_portable = x;
      chosen->scal_kernel(n, &alpha, x.data());
      this->portable->scal_kernel(n, &alpha, x_portable.data());
      EXPECT_TRUE(kovra_test::all_near(x, x_portable, 4 * this->eps)) << "n = " << n;

      // A zero scale clears the vector, not-a-numbers included, on every kernel.
      std::vector<T> nans(n, kovra_test::nan_element<T>());
      chosen->scal_kernel(n, &zero, nans.data());
      EXPECT_TRUE(kovra_test::all_same_bits(nans, std::vector<T>(n, zero))) << "n = " << n;
    }
}

TYPED_TEST(every_kernel_against_portable, Gemm) {
  using T = TypeParam;
  struct shape {
    char transa, transb;
    int m, n, k;
  };
  // Edge tiles of every kernel's tiles, depths across the blocks of every kernel (64 to 256), and the
  // transposed and conjugated packers.
  const shape shapes[] = {{'N', 'N', 37, 29, 300},
                          {'T', 'N', 9, 13, 65},
                          {'N', 'C', 17, 6, 129},
                          {'C', 'T', 5, 11, 7},
                          {'N', 'N', 1, 1, 1}};
  // The complex double kernels take alpha with real part 1 or imaginary part 0 as it is.
  const T alphas[] = {make<T>(1.0, 0.5), make<T>(-0.75, 0.0)};
  const T beta = make<T>(0.5, -0.25);
  for (const auto& chosen : this->kernels)
    for (const shape& s : shapes)
      for (const T& alpha : alphas) {
        kovra_test::gemm_case<T> on_chosen(s.transa, s.transb, s.m, s.n, s.k, 3, 7);
        kovra_test::gemm_case<T> on_portable(s.transa, s.transb, s.m, s.n, s.k, 3, 7);
        on_chosen.run_on(chosen, alpha, beta);
        on_portable.run_on(this->portable, alpha, beta);
        // Terms of the sum stay below 2 in magnitude (complex products of parts in [-1, 1]).
        const double tolerance = 16 * this->eps * (std::sqrt(double(s.k)) + 1) * 2 * std::abs(alpha) + 4 * this->eps;
        EXPECT_TRUE(kovra_test::all_near(matrix_values(on_chosen.c), matrix_values(on_portable.c), tolerance))
            << s.transa << s.transb << " " << s.m << " x " << s.n << " x " << s.k << ", alpha " << alpha;
        EXPECT_TRUE(on_chosen.c.guards_intact());
      }
}

}  // namespace
