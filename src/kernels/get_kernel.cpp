// Kernel selection: a table of (processor test -> factory), best first, the portable kernel last, and
// the per-type singleton that runs it once.
#include "kernels/get_kernel.h"

#include <cstdint>
#include <iterator>

#include "kovra/cpu_features.h"
#include "platform.h"

#if KOVRA_ARM32
#include "kernels/neon/kernel_neon_fma_scalar_complex.h"
#include "kernels/neon/kernel_neon_mla_complex.h"
#endif
#if KOVRA_AARCH64
#include "kernels/aarch64/kernel_aarch64.h"
#endif
#if KOVRA_X86_64
#include "kernels/x86/kernel_x86.h"
#endif

namespace kovra::kernels {

std::atomic<const char*> kernel_name{nullptr};

namespace {

template <typename T> struct kernel_choice {
  bool (*available)();
  std::shared_ptr<kernel_object<T>> (*make)();
  const char* name;
};

// Each test reads the feature word afresh; the probe behind it runs once per process.
[[maybe_unused]] bool has_neon_fma() { return (android_getCpuFeatures() & ARM_FEATURE_NEON_FMA) != 0; }
[[maybe_unused]] bool has_neon() { return (android_getCpuFeatures() & ARM_FEATURE_NEON) != 0; }
[[maybe_unused]] bool has_asimd() { return (android_getCpuFeatures() & ARM64_FEATURE_ASIMD) != 0; }
// The x86 kernels need the instruction sets and the operating system's saving of their registers, which
// the probe reports as bits of their own.
[[maybe_unused]] bool has_all(std::uint64_t bits) { return (android_getCpuFeatures() & bits) == bits; }
[[maybe_unused]] bool has_avx2_fma() { return has_all(X86_FEATURE_AVX2 | X86_FEATURE_FMA | X86_FEATURE_OS_YMM); }
[[maybe_unused]] bool has_avx512() {
  return has_avx2_fma() && has_all(X86_FEATURE_AVX512F | X86_FEATURE_OS_ZMM);
}
bool any_processor() { return true; }

template <typename T> std::shared_ptr<kernel_object<T>> make_plain_kernel() {
  return std::make_shared<kernel_object<T>>(plain_blocking<T>::value);
}

// Every type chooses by the same tests, so kernel_name reads the same whichever type chose last. The
// fused kernels are built for VFPv4 and must never be made on a core without it: NEON_FMA is the only
// feature bit that promises both. Likewise the x86 kernels are built for their instruction sets alone. The
// AArch64 kernel needs only Advanced SIMD, which every such processor has; the test still reads the probe, so
// that android_setCpu(n, 0) gives the portable kernel there too.
template <typename T>
constexpr kernel_choice<T> kernel_choices[] = {
    // processor test   factory                           kernel_name
#if KOVRA_ARM32
    {has_neon_fma,      make_kernel_neon_fma_scalar<T>,   "NEON FMA"},
    {has_neon,          make_kernel_neon_mla<T>,          "NEON"},
#endif
#if KOVRA_AARCH64
    {has_asimd,         make_aarch64_kernel<T>,           "AARCH64 A57"},
#endif
#if KOVRA_X86_64
    {has_avx512,        make_x86_kernel<T, avx512>,       "AVX-512"},
    {has_avx2_fma,      make_x86_kernel<T, avx2_fma>,     "AVX2 FMA"},
#endif
    {any_processor,     make_plain_kernel<T>,             "none"},
};

template <typename T> std::shared_ptr<kernel_object<T>> select_kernel() {
  // Through a reference, so that clang knows the table's bound when it evaluates the assertion.
  constexpr const auto& choices = kernel_choices<T>;
  static_assert(choices[std::size(choices) - 1].available == any_processor,
                "the last choice must accept every processor");
  for (const kernel_choice<T>& choice : choices) {
    if (!choice.available()) continue;
    std::shared_ptr<kernel_object<T>> kernel = choice.make();
    kernel_name.store(choice.name);
    return kernel;
  }
  __builtin_unreachable();
}

}  // namespace

template <typename T> std::shared_ptr<kernel_object<T>> get_kernel() {
  // The compiler's guard makes racing first calls wait for one selection; later calls only copy.
  static const std::shared_ptr<kernel_object<T>> kernel = select_kernel<T>();
  return kernel;
}

template std::shared_ptr<kernel_object<float>> get_kernel<float>();
template std::shared_ptr<kernel_object<double>> get_kernel<double>();
template std::shared_ptr<kernel_object<std::complex<float>>> get_kernel<std::complex<float>>();
template std::shared_ptr<kernel_object<std::complex<double>>> get_kernel<std::complex<double>>();

}  // namespace kovra::kernels
