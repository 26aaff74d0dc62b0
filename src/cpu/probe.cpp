// The CPU probe's steps over a probe_source (see probe.h).
#include "cpu/probe.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "kovra/cpu_features.h"

namespace kovra::cpu {

namespace {

// "CPU architecture" as a decimal number; false when the field is missing or holds no number.
bool architecture(std::string_view cpuinfo, long& value) {
  const field_value field = cpuinfo_field(cpuinfo, "CPU architecture");
  if (!field) return false;
  char* end;
  value = std::strtol(field.get(), &end, 10);
  return end != field.get();
}

std::uint64_t architecture_features(std::string_view cpuinfo) {
  long arch;
  if (!architecture(cpuinfo, arch)) return 0;
  std::uint64_t features = 0;
  if (arch >= 7) {
    // An ARMv6 core may report a newer architecture number; its "Processor" name gives it away.
    const field_value processor = cpuinfo_field(cpuinfo, "Processor");
    if (!processor || !has_word(processor.get(), "(v6l)")) features |= ARM_FEATURE_ARMv7;
  }
  if (arch >= 6) features |= ARM_FEATURE_LDREX_STREX;
  return features;
}

// The capability word: getauxval, else /proc/self/auxv, else the text. getauxval is not asked when the
// translator is installed, since under it the C library describes the host.
std::uint32_t capability_word(probe_source& source, bool translator, std::string_view cpuinfo) {
  if (!translator) {
    if (const unsigned long word = source.getauxval(at_hwcap); word != 0) return static_cast<std::uint32_t>(word);
  }
  if (const std::uint32_t word = auxv_hwcap(source.auxv()); word != 0) return word;

  long arch;
  if (architecture(cpuinfo, arch) && arch >= 8)
    return hwcap::vfp | hwcap::vfpv3 | hwcap::neon | hwcap::vfpv4 | hwcap::idiva | hwcap::idivt;
  const field_value features = cpuinfo_field(cpuinfo, "Features");
  return features ? hwcap_from_words(features.get()) : 0;
}

std::uint64_t second_word_features(probe_source& source) {
  static constexpr std::uint64_t bits[] = {ARM_FEATURE_AES, ARM_FEATURE_PMULL, ARM_FEATURE_SHA1, ARM_FEATURE_SHA2,
                                           ARM_FEATURE_CRC32};
  const unsigned long word = source.getauxval(at_hwcap2);
  std::uint64_t features = 0;
  for (unsigned i = 0; i < 5; ++i)
    if (word & (1ul << i)) features |= bits[i];
  return features;
}

// x86-64: the instruction sets from CPUID leaves 1 and 7, and the register state the operating system saves
// from XCR0. Both kinds are reported as they are; whoever selects code combines them.
std::uint64_t x86_features(probe_source& source) {
  enum : unsigned { eax, ebx, ecx };
  unsigned regs[4];
  if (!source.cpuid(0, 0, regs) || regs[eax] < 1) return 0;
  const unsigned max_leaf = regs[eax];
  if (!source.cpuid(1, 0, regs)) return 0;
  std::uint64_t features = (regs[ecx] & (1u << 12)) ? X86_FEATURE_FMA : 0;
  if (regs[ecx] & (1u << 27)) {  // OSXSAVE: XGETBV exists and the system manages XCR0
    const unsigned long long xcr0 = source.xgetbv0();
    if ((xcr0 & 0x6) == 0x6) {  // SSE and upper YMM halves
      features |= X86_FEATURE_OS_YMM;
      if ((xcr0 & 0xe0) == 0xe0) features |= X86_FEATURE_OS_ZMM;  // opmask, upper ZMM halves, ZMM16-31
    }
  }
  if (max_leaf < 7 || !source.cpuid(7, 0, regs)) return features;
  static constexpr std::pair<unsigned, std::uint64_t> leaf7_bits[] = {
      {5, X86_FEATURE_AVX2},      {16, X86_FEATURE_AVX512F}, {17, X86_FEATURE_AVX512DQ},
      {30, X86_FEATURE_AVX512BW}, {31, X86_FEATURE_AVX512VL}};
  for (const auto& [bit, feature] : leaf7_bits)
    if (regs[ebx] & (1u << bit)) features |= feature;
  return features;
}

// AArch64: the capability word of the auxiliary vector, from getauxval or else /proc/self/auxv, whose pairs are
// of 64-bit words here. Without either answer the floating-point unit and Advanced SIMD are assumed, as every
// AArch64 system has them (this library's own floating-point code uses them throughout).
std::uint64_t aarch64_features(probe_source& source) {
  std::uint64_t word = source.getauxval(at_hwcap);
  if (word == 0) word = auxv_hwcap64(source.auxv());
  if (word == 0) return ARM64_FEATURE_FP | ARM64_FEATURE_ASIMD;
  // Linux's AArch64 capability bits, in order from bit 0: fp, asimd, evtstrm, aes, pmull, sha1, sha2, crc32.
  static constexpr std::pair<unsigned, std::uint64_t> hwcap_bits[] = {
      {0, ARM64_FEATURE_FP},    {1, ARM64_FEATURE_ASIMD}, {3, ARM64_FEATURE_AES},  {4, ARM64_FEATURE_PMULL},
      {5, ARM64_FEATURE_SHA1}, {6, ARM64_FEATURE_SHA2},  {7, ARM64_FEATURE_CRC32}};
  std::uint64_t features = 0;
  for (const auto& [bit, feature] : hwcap_bits)
    if (word & (std::uint64_t{1} << bit)) features |= feature;
  return features;
}

}  // namespace

std::uint64_t apply_hwcap(std::uint64_t features, std::uint32_t hwcap) {
  if (hwcap & hwcap::vfpv4) features |= ARM_FEATURE_VFPv3 | ARM_FEATURE_VFP_FP16 | ARM_FEATURE_VFP_FMA;
  if (hwcap & (hwcap::vfpv3 | hwcap::vfpv3d16)) features |= ARM_FEATURE_VFPv3;
  if (hwcap & hwcap::vfp) features |= (features & ARM_FEATURE_ARMv7) ? ARM_FEATURE_VFPv3 : ARM_FEATURE_VFPv2;
  if (hwcap & hwcap::neon) {
    features |= ARM_FEATURE_VFPv3 | ARM_FEATURE_NEON | ARM_FEATURE_VFP_D32;
    if (hwcap & hwcap::vfpv4) features |= ARM_FEATURE_NEON_FMA;
  }
  if (features & ARM_FEATURE_VFPv3) features |= ARM_FEATURE_VFPv2 | ARM_FEATURE_ARMv7;
  if (hwcap & hwcap::idiva) features |= ARM_FEATURE_IDIV_ARM;
  if (hwcap & hwcap::idivt) features |= ARM_FEATURE_IDIV_THUMB2;
  if (hwcap & hwcap::iwmmxt) features |= ARM_FEATURE_IWMMXT;
  return features;
}

cpu_state run_probe(probe_source& source, probe_target target) {
  cpu_state state;
  if (target == probe_target::x86_64) {
    state.family = KOVRA_CPU_FAMILY_X86_64;
    state.features = x86_features(source);
  } else if (target == probe_target::aarch64) {
    state.family = KOVRA_CPU_FAMILY_ARM64;
    state.features = aarch64_features(source);
  }
  std::size_t size = 0;
  const field_value buffer = source.cpuinfo(size);
  if (!buffer) return state;
  const std::string_view cpuinfo(buffer.get(), size);

  state.count = processor_count(source.present(), source.possible());
  if (target == probe_target::aarch64) state.cpu_id = parse_cpu_id(cpuinfo);
  if (target != probe_target::arm32) return state;

  state.features = architecture_features(cpuinfo);
  const bool translator = source.translator_installed();
  state.features = apply_hwcap(state.features, capability_word(source, translator, cpuinfo));
  if (!translator) state.features |= second_word_features(source);

  state.cpu_id = parse_cpu_id(cpuinfo);
  // Cores known to divide in hardware whether or not the kernel says so.
  if (state.cpu_id == 0x510006f2 || state.cpu_id == 0x510006f3)
    state.features |= ARM_FEATURE_IDIV_ARM | ARM_FEATURE_IDIV_THUMB2;
  // A "Goldfish" board with this core id divides in ARM state.
  const field_value hardware = cpuinfo_field(cpuinfo, "Hardware");
  if (hardware && std::strcmp(hardware.get(), "Goldfish") == 0 && state.cpu_id == 0x4100c080 && (state.family & 1))
    state.features |= ARM_FEATURE_IDIV_ARM;
  return state;
}

}  // namespace kovra::cpu
