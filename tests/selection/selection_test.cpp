// Kernel selection and the version report: the kernel each processor gets (forced through android_setCpu
// in child processes, and for the machine the test runs on), the record of KOVRAVersionInfo, and AXPY,
// SCAL and GEMM on every kernel built in against the portable kernel.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "kernels/blocking.h"
#include "kernels/get_kernel.h"
#include "kovra/cpu_features.h"
#include "kovra/kovra_version.h"
#include "platform.h"
#include "support/values.h"

#if KOVRA_ARM32 || KOVRA_AARCH64
#include <sys/auxv.h>
#endif
#if KOVRA_AARCH64
#include "kernels/aarch64/kernel_aarch64.h"
#endif
#if KOVRA_ARM32

#include "kernels/neon/kernel_neon_fma.h"
#include "kernels/neon/kernel_neon_fma_scalar_complex.h"
#include "kernels/neon/kernel_neon_mla_complex.h"
#endif
#if KOVRA_X86_64
#include "kernels/x86/kernel_x86.h"
#endif

namespace kovra_test {
namespace {

using kernels::kernel_object;

[[maybe_unused]] bool core_has_vfpv4() {
#if KOVRA_ARM32
  return (getauxval(AT_HWCAP) & HWCAP_ARM_VFPv4) != 0;
#else
  return false;
#endif
}

// Whether a kernel is of the class that `name` stands for: each build has the kernels of its processor.
template <typename T>
bool is_kernel_called(const kernel_object<T>& kernel, const std::string& name) {
#if KOVRA_ARM32
  if (name == "NEON FMA") return typeid(kernel) == typeid(kernels::kernel_neon_fma_scalar<T>);
  if (name == "NEON") return typeid(kernel) == typeid(kernels::kernel_neon_mla<T>);
#endif
#if KOVRA_AARCH64
  if (name == "AARCH64 A57") return typeid(kernel) == typeid(kernels::aarch64_kernel<T>);
#endif
#if KOVRA_X86_64
  if (name == "AVX-512") return typeid(kernel) == typeid(kernels::kernel_avx512<T>);
  if (name == "AVX2 FMA") return typeid(kernel) == typeid(kernels::kernel_avx2_fma<T>);
#endif
  return name == "none" && typeid(kernel) == typeid(kernel_object<T>);
}

bool all_types_get(const std::string& name) {
  return is_kernel_called(*kernels::get_kernel<float>(), name) &&
         is_kernel_called(*kernels::get_kernel<double>(), name) &&
         is_kernel_called(*kernels::get_kernel<std::complex<float>>(), name) &&
         is_kernel_called(*kernels::get_kernel<std::complex<double>>(), name) && kernels::kernel_name.load() == name;
}

// In a fresh child: supplies the feature word before anything has probed; every type must then get the
// kernel `expected` names, and the version report must say so. Exits 0 when all of that holds.
[[noreturn]] void choose_with_features(std::uint64_t features, const char* expected) {
  KOVRAVersionRecord record{};
  const bool ok = android_setCpu(1, features) == 1 && KOVRAVersionInfo(&record) == 0 &&
                  std::strcmp(record.kernel, expected) == 0 && all_types_get(expected);
  std::_Exit(ok ? 0 : 1);
}

[[maybe_unused]] const char* on_this_build(const char* arm_name) { return KOVRA_ARM32 ? arm_name : "none"; }

// This runs first, while no test of this binary has probed the processor or chosen a kernel; each child
// inherits that untouched state. The fused kernels execute VFPv4 instructions as soon as they are made; the x86
// ones nothing of their sets until called, and the children only make them, so any x86-64 processor tries all.
TEST(Selection, EachFeatureWordGetsItsKernel) {
  EXPECT_EXIT(choose_with_features(0, "none"), testing::ExitedWithCode(0), "");
#if KOVRA_X86_64
  const std::uint64_t avx2 = X86_FEATURE_AVX2 | X86_FEATURE_FMA | X86_FEATURE_OS_YMM;
  const std::uint64_t avx512 = avx2 | X86_FEATURE_AVX512F | X86_FEATURE_AVX512DQ | X86_FEATURE_AVX512VL |
                               X86_FEATURE_AVX512BW | X86_FEATURE_OS_ZMM;
  const std::pair<std::uint64_t, const char*> words[] = {
      {avx2, "AVX2 FMA"}, {avx2 & ~X86_FEATURE_OS_YMM, "none"}, {X86_FEATURE_AVX2, "none"},
      {avx512, "AVX-512"}, {avx512 & ~X86_FEATURE_OS_ZMM, "AVX2 FMA"}};
  for (const auto& [features, expected] : words)
    EXPECT_EXIT(choose_with_features(features, expected), testing::ExitedWithCode(0), "")
        << "word 0x" << std::hex << features;
#elif KOVRA_AARCH64
  EXPECT_EXIT(choose_with_features(ARM64_FEATURE_FP | ARM64_FEATURE_ASIMD, "AARCH64 A57"), testing::ExitedWithCode(0),
              "");
  EXPECT_EXIT(choose_with_features(ARM64_FEATURE_FP | ARM_FEATURE_NEON, "none"), testing::ExitedWithCode(0), "");
#else
  EXPECT_EXIT(choose_with_features(ARM_FEATURE_NEON, on_this_build("NEON")), testing::ExitedWithCode(0), "");
  if (KOVRA_ARM32 && !core_has_vfpv4()) return;
  EXPECT_EXIT(choose_with_features(ARM_FEATURE_NEON | ARM_FEATURE_NEON_FMA, on_this_build("NEON FMA")),
              testing::ExitedWithCode(0), "");
#endif
}

// What this machine should get, from the C library's view of the processor rather than the probe's. (The
// version string and the record are checked against each other by the C program of the interface tests.)
TEST(Selection, ThisMachineGetsItsKernelAndTheReportSaysSo) {
#if KOVRA_ARM32
  const unsigned long hwcap = getauxval(AT_HWCAP);
  const std::string expected = !(hwcap & HWCAP_ARM_NEON) ? "none" : (hwcap & HWCAP_ARM_VFPv4) ? "NEON FMA" : "NEON";
#elif KOVRA_AARCH64
  const std::string expected = (getauxval(AT_HWCAP) & HWCAP_ASIMD) ? "AARCH64 A57" : "none";
#elif KOVRA_X86_64
  const bool avx2_fma = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  const std::string expected = __builtin_cpu_supports("avx512f") ? "AVX-512" : avx2_fma ? "AVX2 FMA" : "none";
#else
  const std::string expected = "none";
#endif
  KOVRAVersionRecord record;
  std::memset(&record, 0xa5, sizeof record);
  ASSERT_EQ(KOVRAVersionInfo(&record), 0);
  EXPECT_EQ(record.kernel, expected);
  EXPECT_TRUE(all_types_get(expected));
}

// Every vector kernel built in and runnable on this processor, against the portable kernel of the same type;
// the tolerance covers the NEON kernels' other order of rounding. A build without such kernels skips.
template <typename T>
class EveryKernelAgainstPortable : public testing::Test {
 protected:
  void SetUp() override {
#if KOVRA_ARM32
    kernels.push_back(kovra::kernels::make_kernel_neon_mla<T>());
    if (core_has_vfpv4()) kernels.push_back(kovra::kernels::make_kernel_neon_fma_scalar<T>());
    if constexpr (!is_complex_v<T>)
      if (core_has_vfpv4()) kernels.push_back(kovra::kernels::make_kernel_neon_fma<T>());
#elif KOVRA_AARCH64
    kernels.push_back(kovra::kernels::make_aarch64_kernel<T>());
#elif KOVRA_X86_64
    using kovra::kernels::make_x86_kernel;
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"))
      kernels.push_back(make_x86_kernel<T, kovra::kernels::avx2_fma>());
    if (__builtin_cpu_supports("avx512f")) kernels.push_back(make_x86_kernel<T, kovra::kernels::avx512>());
#endif
    if (kernels.empty()) GTEST_SKIP() << "no vector kernel of this build runs here";
  }
  std::vector<std::shared_ptr<kernel_object<T>>> kernels;
  std::shared_ptr<kernel_object<T>> portable =
      std::make_shared<kernel_object<T>>(kovra::kernels::plain_blocking<T>::value);
  static constexpr double eps = std::numeric_limits<real_t<T>>::epsilon();
};
TYPED_TEST_SUITE(EveryKernelAgainstPortable, element_types, element_type_names);

// Lengths around the vector widths and the unrolled steps; a zero scale clears NaN on every kernel.
TYPED_TEST(EveryKernelAgainstPortable, AxpyAndScal) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, -1.25), zero{};
  for (const auto& chosen : this->kernels)
    for (int n : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 100}) {
      const std::vector<T> x = random_values<T>(n, 10 + n);
      std::vector<T> y = random_values<T>(n, 20 + n), y_portable = y, s = x, s_portable = x, nans(n, nan_element<T>());
      chosen->axpy_kernel(n, &alpha, x.data(), y.data());
      this->portable->axpy_kernel(n, &alpha, x.data(), y_portable.data());
      chosen->scal_kernel(n, &alpha, s.data());
      this->portable->scal_kernel(n, &alpha, s_portable.data());
      chosen->scal_kernel(n, &zero, nans.data());
      EXPECT_TRUE(all_near(y, y_portable, 12 * this->eps) && all_near(s, s_portable, 4 * this->eps)) << n;
      EXPECT_TRUE(all_same_bits(nans, std::vector<T>(n))) << n;
    }
}

}  // namespace
}  // namespace kovra_test
