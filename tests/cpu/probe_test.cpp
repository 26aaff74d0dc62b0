// The probe's steps over an invented system (the capability word, the features, the architecture and id
// rules, the x86-64 rules, other processors), the text rules on invented contents, and the exported entries.
#include "cpu/probe.h"

#include <gtest/gtest.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "cpu/cpuinfo_text.h"
#include "kovra/cpu_features.h"
#include "platform.h"

namespace {

using namespace kovra::cpu;

struct fake_source final : probe_source {
  std::optional<std::string> cpuinfo_text = "processor\t: 0\n";
  std::string present_list = "0-3\n", possible_list = "0-7\n";
  bool translator = false;
  std::map<unsigned long, unsigned long> auxval;
  std::string auxv_contents;
  int getauxval_calls = 0;

  field_value cpuinfo(std::size_t& size) override {
    if (!cpuinfo_text) return nullptr;
    size = cpuinfo_text->size();
    field_value copy(static_cast<char*>(std::malloc(size + 1)));
    std::memcpy(copy.get(), cpuinfo_text->c_str(), size + 1);
    return copy;
  }
  std::string present() override { return present_list; }
  std::string possible() override { return possible_list; }
  bool translator_installed() override { return translator; }
  unsigned long getauxval(unsigned long type) override {
    ++getauxval_calls;
    const auto found = auxval.find(type);
    return found == auxval.end() ? 0 : found->second;
  }
  std::string auxv() override { return auxv_contents; }

  // CPUID of subleaf 0 by leaf, answered whatever leaf 0 says, as the instruction does; none: no CPUID.
  std::map<unsigned, std::array<unsigned, 4>> leaves;
  unsigned long long xcr0 = 0;
  int xgetbv_calls = 0;

  bool cpuid(unsigned leaf, unsigned subleaf, unsigned regs[4]) override {
    const auto found = leaves.find(leaf);
    if (found == leaves.end() || subleaf != 0) return false;
    std::memcpy(regs, found->second.data(), sizeof found->second);
    return true;
  }
  unsigned long long xgetbv0() override { ++xgetbv_calls; return xcr0; }
};

constexpr probe_target arm32 = probe_target::arm32, aarch64 = probe_target::aarch64, x86_64 = probe_target::x86_64,
                       other = probe_target::other;
constexpr int build_family = KOVRA_X86_64    ? KOVRA_CPU_FAMILY_X86_64
                             : KOVRA_AARCH64 ? KOVRA_CPU_FAMILY_ARM64
                                             : KOVRA_CPU_FAMILY_ARM;

// /proc/self/auxv: (type, value) pairs of the process's words, 32-bit ones by default.
template <typename Word = std::uint32_t> std::string auxv_of(std::initializer_list<std::pair<Word, Word>> pairs) {
  std::string bytes;
  for (const auto& [type, value] : pairs) {
    const Word words[2] = {type, value};
    bytes.append(reinterpret_cast<const char*>(words), sizeof words);
  }
  return bytes;
}

std::uint64_t features_of(const std::string& cpuinfo) {
  fake_source source;
  source.cpuinfo_text = cpuinfo;
  return run_probe(source, arm32).features;
}

constexpr std::uint64_t vfpv4_neon_features = ARM_FEATURE_ARMv7 | ARM_FEATURE_VFPv3 | ARM_FEATURE_NEON |
                                              ARM_FEATURE_VFPv2 | ARM_FEATURE_VFP_D32 | ARM_FEATURE_VFP_FP16 |
                                              ARM_FEATURE_VFP_FMA | ARM_FEATURE_NEON_FMA;

// With no capability word the feature words are read; vfpv3d16 alone brings VFPv2 and ARMv7 with VFPv3,
// but no 32 registers; from architecture 8 on, the words are not read and the full ARMv7 set with
// division is assumed; VFP counts as VFPv3 only on a processor already known as ARMv7.
TEST(Probe, FeaturesFromTheText) {
  const std::string v6 = "Processor\t: ARMv6-compatible processor rev 7 (v6l)\nCPU architecture: 7\n";
  const std::uint64_t ldrex = ARM_FEATURE_LDREX_STREX, v7 = ARM_FEATURE_ARMv7, v2 = ARM_FEATURE_VFPv2;
  // clang-format off
  const std::pair<std::string, std::uint64_t> rows[] = {
      {"CPU architecture: 7\nFeatures\t: swp half vfp edsp neon vfpv3 tls vfpv4\n", vfpv4_neon_features | ldrex},
      {"Features\t: vfpv3d16\n", ARM_FEATURE_VFPv3 | v2 | v7},
      {"Features\t: idiv iwmmxt\n", ARM_FEATURE_IDIV_ARM | ARM_FEATURE_IDIV_THUMB2 | ARM_FEATURE_IWMMXT},
      {"CPU architecture: 8\nFeatures\t: iwmmxt\n",
       vfpv4_neon_features | ldrex | ARM_FEATURE_IDIV_ARM | ARM_FEATURE_IDIV_THUMB2},
      {"CPU architecture: 7\n", v7 | ldrex}, {"CPU architecture: 6TEJ\n", ldrex}, {"CPU architecture: 5\n", 0},
      {"CPU architecture: AArch64\n", 0}, {v6, ldrex}, {v6 + "Features\t: vfp\n", ldrex | v2},
      {"CPU architecture: 7\nFeatures\t: vfp\n", v7 | ldrex | ARM_FEATURE_VFPv3 | v2}};
  // clang-format on
  for (const auto& [text, features] : rows) EXPECT_EQ(features_of(text), features) << text;
}

// The capability word comes from getauxval, else /proc/self/auxv (a zero word of type 16, or the end
// marker before it, sends the probe on), else the text; the second word gives the crypto bits. Under a
// translator getauxval is never called.
TEST(Probe, CapabilityWords) {
  fake_source source;
  source.cpuinfo_text = "Features\t: iwmmxt\n";
  source.auxv_contents = auxv_of({{6, 4096}, {16, hwcap::vfp | hwcap::vfpv3d16}, {0, 0}});
  source.auxval[at_hwcap] = hwcap::neon;
  const std::uint64_t vfp = ARM_FEATURE_VFPv3 | ARM_FEATURE_VFPv2 | ARM_FEATURE_ARMv7;
  EXPECT_EQ(run_probe(source, arm32).features, vfp | ARM_FEATURE_NEON | ARM_FEATURE_VFP_D32);
  source.auxval.clear();
  EXPECT_EQ(run_probe(source, arm32).features, vfp);
  for (const std::string& auxv : {auxv_of({{16, 0}, {16, hwcap::neon}}),
                                  auxv_of({{6, 4096}, {0, 0}, {16, hwcap::neon}}), auxv_of({{6, 4096}}) + "\x10"}) {
    source.auxv_contents = auxv;
    EXPECT_EQ(run_probe(source, arm32).features, ARM_FEATURE_IWMMXT);
  }
  source.auxval[at_hwcap2] = 0x12;
  EXPECT_EQ(run_probe(source, arm32).features, ARM_FEATURE_PMULL | ARM_FEATURE_CRC32 | ARM_FEATURE_IWMMXT);
  source.translator = true;
  source.auxval = {{at_hwcap, hwcap::vfpv4 | hwcap::neon}, {at_hwcap2, 0x1f}};
  source.auxv_contents = auxv_of({{16, hwcap::idiva}, {0, 0}});
  source.getauxval_calls = 0;
  EXPECT_EQ(run_probe(source, arm32).features, ARM_FEATURE_IDIV_ARM);
  EXPECT_EQ(source.getauxval_calls, 0);
}

// The packed id, and the rules that read it: Qualcomm's part 0x06f before revision 4 divides; the
// emulator's Cortex-A8 (variant 0, revision 0, hardware exactly "Goldfish") divides in ARM state.
TEST(Probe, IdRules) {
  const std::string a8 = "CPU implementer\t: 0x41\nCPU part\t: 0xc08\nCPU revision\t: 0\n";
  const std::string q = "CPU implementer\t: 0x51\nCPU part\t: 0x06f\nCPU revision\t: ";
  // clang-format off
  const std::pair<std::string, std::uint64_t> rows[] = {
      {q + "3\n", ARM_FEATURE_IDIV_ARM | ARM_FEATURE_IDIV_THUMB2}, {q + "4\n", 0},
      {a8 + "Hardware\t: Goldfish\n", ARM_FEATURE_IDIV_ARM}, {a8 + "Hardware\t: Goldfish board\n", 0},
      {a8 + "CPU variant\t: 1\nHardware\t: Goldfish\n", 0}};
  // clang-format on
  for (const auto& [text, features] : rows) EXPECT_EQ(features_of(text), features) << text;
  fake_source source;
  source.cpuinfo_text = q + "3\n";
  EXPECT_EQ(run_probe(source, arm32).cpu_id, 0x510006f3u);
}

// An unreadable /proc/cpuinfo leaves every default; a processor other than 32-bit ARM reports the count
// only (and the id, on ARM).
TEST(Probe, DefaultsAndOtherProcessors) {
  fake_source source;
  source.cpuinfo_text.reset();
  source.auxval[at_hwcap] = hwcap::neon;
  cpu_state state = run_probe(source, arm32);
  EXPECT_TRUE(state.family == 1 && state.count == 1 && state.features == 0u && source.getauxval_calls == 0);
  source.cpuinfo_text = "CPU architecture: 8\nFeatures\t: neon vfpv4\nCPU implementer\t: 0x41\n";
  source.auxval = {{at_hwcap, hwcap::vfpv4 | hwcap::neon}, {at_hwcap2, 0x1f}};
  state = run_probe(source, other);
  EXPECT_TRUE(state.family == 1 && state.count == 4 && state.features == 0u && state.cpu_id == 0u);
  EXPECT_EQ(source.getauxval_calls, 0);
  EXPECT_EQ(run_probe(source, arm32).cpu_id, 0x41000000u);
}

// x86-64: each instruction-set bit alone (FMA's in every row) and all at once; XCR0 read only under
// OSXSAVE, into the two OS bits; no leaf 7 below a highest leaf of 7; family and features also without
// /proc/cpuinfo (count 1); no features without CPUID, nor for other processors.
TEST(Probe, X86Features) {
  fake_source source;
  const std::pair<unsigned, std::uint64_t> leaf7[] = {{5, X86_FEATURE_AVX2},      {16, X86_FEATURE_AVX512F},
                                                      {17, X86_FEATURE_AVX512DQ}, {30, X86_FEATURE_AVX512BW},
                                                      {31, X86_FEATURE_AVX512VL}};
  for (const auto& [bit, feature] : leaf7) {
    source.leaves = {{0, {7, 0, 0, 0}}, {1, {0, 0, 1u << 12, 0}}, {7, {0, 1u << bit, 0, 0}}};
    EXPECT_EQ(run_probe(source, x86_64).features, feature | X86_FEATURE_FMA) << bit;
  }
  const std::uint64_t sets = 0x3f, ymm = X86_FEATURE_OS_YMM, zmm = X86_FEATURE_OS_ZMM;
  source.leaves = {{0, {0xd, 0, 0, 0}}, {1, {~0u, ~0u, ~0u, ~0u}}, {7, {~0u, ~0u, ~0u, ~0u}}};
  const std::pair<unsigned long long, std::uint64_t> xcr0_rows[] = {
      {0xe7, ymm | zmm}, {~0ull, ymm | zmm}, {0x67, ymm}, {0x6, ymm}, {0xe5, 0}, {0xe3, 0}};
  for (const auto& [xcr0, os] : xcr0_rows) {
    source.xcr0 = xcr0;
    EXPECT_EQ(run_probe(source, x86_64).features, sets | os) << xcr0;
  }
  source.leaves[1][2] = ~(1u << 27);
  cpu_state state = run_probe(source, x86_64);
  EXPECT_TRUE(state.family == KOVRA_CPU_FAMILY_X86_64 && state.count == 4 && state.features == sets &&
              source.xgetbv_calls == 6);
  EXPECT_TRUE(run_probe(source, other).features == 0u && run_probe(source, arm32).features == 0u);
  source.leaves[0][0] = 6;
  source.cpuinfo_text.reset();
  state = run_probe(source, x86_64);
  EXPECT_TRUE(state.family == KOVRA_CPU_FAMILY_X86_64 && state.count == 1 && state.features == X86_FEATURE_FMA);
  source.leaves.clear();
  EXPECT_EQ(run_probe(source, x86_64).features, 0u);
}

// AArch64: each capability bit the probe reads, from getauxval or else from 64-bit auxv pairs (a type whose
// low half is 16 must not match); FP and Advanced SIMD assumed without either;
// family and features also without /proc/cpuinfo, and the id from it.
TEST(Probe, Aarch64Features) {
  fake_source source;
  const std::pair<unsigned, std::uint64_t> bits[] = {{0, ARM64_FEATURE_FP},    {1, ARM64_FEATURE_ASIMD},
                                                     {3, ARM64_FEATURE_AES},   {4, ARM64_FEATURE_PMULL},
                                                     {5, ARM64_FEATURE_SHA1},  {6, ARM64_FEATURE_SHA2},
                                                     {7, ARM64_FEATURE_CRC32}, {2, 0}};
  for (const auto& [bit, feature] : bits) {
    source.auxval = {{at_hwcap, 1ul << bit}};
    EXPECT_EQ(run_probe(source, aarch64).features, feature) << bit;
    source.auxval.clear();
    source.auxv_contents = auxv_of<std::uint64_t>({{6, 4096}, {std::uint64_t{1} << 32 | 16, 1}, {16, 1ul << bit}});
    EXPECT_EQ(run_probe(source, aarch64).features, feature) << bit;
  }
  source.auxv_contents = auxv_of<std::uint64_t>({{6, 4096}, {0, 0}, {16, 1}});
  source.cpuinfo_text = "CPU implementer\t: 0x41\nCPU part\t: 0xd03\n";
  cpu_state state = run_probe(source, aarch64);
  EXPECT_TRUE(state.family == KOVRA_CPU_FAMILY_ARM64 && state.count == 4 && state.cpu_id == 0x4100d030u &&
              state.features == (ARM64_FEATURE_FP | ARM64_FEATURE_ASIMD));
  source.cpuinfo_text.reset();
  state = run_probe(source, aarch64);
  EXPECT_TRUE(state.family == KOVRA_CPU_FAMILY_ARM64 && state.count == 1 && state.features == 3u);
}

// A key must open a line and be followed by a colon and a blank; the value keeps any further blanks and
// runs to the end of the line or of a text with no final newline.
TEST(CpuinfoText, Fields) {
  struct row {
    const char *text, *key, *value;
  };
  // clang-format off
  const row rows[] = {
      {"Hardware\t: Goldfish\nRevision\t: 0000\n", "Hardware", "Goldfish"},
      {"model name\t: Features: x\nFeatures\t: half neon\n", "Features", "half neon"},
      {"processor\t: 0\nBogoMIPS\t: 38.40\n", "Features", nullptr}, {"x Hardware : a\n", "Hardware", nullptr},
      {"Hardware:Goldfish\n", "Hardware", nullptr}, {"Hardware :", "Hardware", nullptr},
      {"Hardware : \n", "Hardware", ""}, {"a: 1\nCPU part\t:  0xc0f", "CPU part", " 0xc0f"}};
  // clang-format on
  for (const row& r : rows) {
    const field_value value = cpuinfo_field(r.text, r.key);
    EXPECT_EQ(value ? std::string(value.get()) : "<absent>", r.value ? r.value : "<absent>") << r.text;
  }
}

TEST(CpuinfoText, WholeWordsOnly) {
  EXPECT_TRUE(has_word("swp half\tvfpv3 neon", "vfpv3") && has_word("neon", "neon"));
  EXPECT_TRUE(has_word("ARMv6-compatible processor rev 7 (v6l)", "(v6l)"));
  EXPECT_FALSE(has_word("vfpv3d16 neon", "vfpv3") || has_word("vfpv3", "vfpv3d16") || has_word("idivt idiva", "idiv"));
  EXPECT_FALSE(has_word("", "vfp") || has_word("ARMv7 Processor rev 3 (v7l)", "(v6l)"));
}

// Present processors that are also possible, ids below 32; a malformed list counts up to its fault.
TEST(CpuinfoText, ProcessorCount) {
  struct row {
    const char *present, *possible;
    int count;
  };
  // clang-format off
  const row rows[] = {
      {"0-3\n", "0-7\n", 4}, {"0,2-3\n", "0-7", 3}, {"0-63\n", "0-40\n", 32}, {"30-33", "0-63", 2},
      {"0-1,x,5", "0-7", 2}, {"0-1\n5", "0-7", 2}, {"0-1,5-", "0-7", 2}, {"4-7", "0-3", 1}, {"", "0-3", 1},
      {"0-3", "\n0-3", 1}, {"3-1", "0-7", 1}, {"7,1", "0-7", 2}};
  // clang-format on
  for (const row& r : rows)
    EXPECT_EQ(processor_count(r.present, r.possible), r.count) << r.present << " & " << r.possible;
}

// Hexadecimal fields need no prefix; the decimal one is hexadecimal behind a prefix; wide values keep
// their low bits; a value that starts with no digit of its base is left out, and parsing stops at the
// first such character.
TEST(CpuinfoText, PackedId) {
  EXPECT_EQ(parse_cpu_id("processor\t: 0\nCPU implementer\t: 0x41\nCPU architecture: 7\nCPU variant\t: 0x2\n"
                         "CPU part\t: 0xc0f\nCPU revision\t: 4\n"),
            0x4120c0f4u);
  EXPECT_EQ(parse_cpu_id("CPU implementer: 51\nCPU revision: 12\n"), 0x5100000cu);
  EXPECT_EQ(parse_cpu_id("CPU revision: 0x12\nCPU variant: 0x13\n"), 0x00300002u);
  EXPECT_EQ(parse_cpu_id("CPU part: 0x1c0fzz\n"), 0xc0f0u);
  EXPECT_EQ(parse_cpu_id("CPU implementer: zz\nCPU part: abc\nCPU revision: 7a\n"), 0xabc7u);
  EXPECT_EQ(parse_cpu_id("CPU revision: c\nCPU implementer:0x41\n"), 0u);
}

void in_child(const std::function<bool()>& checks) {
  EXPECT_EXIT(std::_Exit(checks() ? 0 : 1), testing::ExitedWithCode(0), "");
}

// The first setter before any getter supplies the results (and the id with android_setCpuArm); every
// later setter, and any setter after a getter, changes nothing.
TEST(CpuEntries, ResultsAreSetOnce) {
  in_child([] {
    return android_setCpu(0, ARM_FEATURE_NEON) == 1 && android_getCpuCount() == 1 &&
           android_getCpuFeatures() == ARM_FEATURE_NEON && android_getCpuFamily() == build_family &&
           android_getCpuIdArm() == 0 && android_setCpu(3, ARM_FEATURE_NEON_FMA) == 0 &&
           android_setCpuArm(3, ARM_FEATURE_NEON_FMA, 0x41) == 0 && android_getCpuCount() == 1 &&
           android_getCpuFeatures() == ARM_FEATURE_NEON && android_getCpuIdArm() == 0;
  });
  in_child([] {
    return android_setCpuArm(6, 0x1ff, 0x412fc0f4) == 1 && android_getCpuIdArm() == 0x412fc0f4 &&
           android_getCpuCount() == 6 && android_getCpuFeatures() == 0x1ff && android_setCpuArm(2, 0, 1) == 0 &&
           android_getCpuIdArm() == 0x412fc0f4;
  });
  in_child([] {
    const int count = android_getCpuCount();
    const uint64_t features = android_getCpuFeatures();
    const uint32_t id = android_getCpuIdArm();
    return android_setCpu(count + 5, ~features) == 0 && android_setCpuArm(count + 5, ~features, ~id) == 0 &&
           android_getCpuCount() == count && android_getCpuFeatures() == features && android_getCpuIdArm() == id;
  });
}

// This machine, probed for real. The C library's getauxval is the reference for the ARM features: the
// probe reaches the same word another way (under qemu-user, through /proc/self/auxv). On x86-64 the
// compiler's own check is, which counts an instruction set only with its registers saved.
TEST(CpuEntries, RealProbeOfThisMachine) {
  EXPECT_EQ(android_getCpuFamily(), build_family);
  const int count = android_getCpuCount();
  const long online = sysconf(_SC_NPROCESSORS_ONLN);  // the list files count ids below 32 only
  EXPECT_TRUE(count >= 1 && count <= 32 && (online > 32 || count >= online)) << count;
  const uint64_t features = android_getCpuFeatures();
#if KOVRA_ARM32
  const unsigned long hwcap = getauxval(AT_HWCAP);
  const bool neon = hwcap & HWCAP_ARM_NEON, vfpv4 = hwcap & HWCAP_ARM_VFPv4;
  EXPECT_TRUE(features & ARM_FEATURE_NEON);  // this build needs NEON to run at all
  EXPECT_EQ((features & ARM_FEATURE_VFP_FMA) != 0, vfpv4);
  EXPECT_EQ((features & ARM_FEATURE_NEON_FMA) != 0, neon && vfpv4);
  const std::string model = std::getenv("QEMU_CPU") ? std::getenv("QEMU_CPU") : "";  // known by name under qemu
  EXPECT_TRUE(model != "cortex-a15" || (features & ARM_FEATURE_NEON_FMA));
  EXPECT_TRUE(model != "cortex-a9" || !(features & (ARM_FEATURE_VFP_FMA | ARM_FEATURE_NEON_FMA)));
#elif KOVRA_AARCH64
  EXPECT_EQ((features & ARM64_FEATURE_ASIMD) != 0, (getauxval(AT_HWCAP) & HWCAP_ASIMD) != 0);
  EXPECT_TRUE((features & ARM64_FEATURE_ASIMD) && features <= 0x7f) << features;
#elif KOVRA_X86_64
  const bool ymm = features & X86_FEATURE_OS_YMM, zmm = features & X86_FEATURE_OS_ZMM;
  EXPECT_EQ(ymm && (features & X86_FEATURE_AVX2), __builtin_cpu_supports("avx2") != 0);
  EXPECT_EQ(ymm && (features & X86_FEATURE_FMA), __builtin_cpu_supports("fma") != 0);
  EXPECT_EQ(zmm && (features & X86_FEATURE_AVX512F), __builtin_cpu_supports("avx512f") != 0);
  EXPECT_TRUE(features <= 0xff && (ymm || !zmm) && android_getCpuIdArm() == 0u) << features;
#else
  EXPECT_TRUE(features == 0u && android_getCpuIdArm() == 0u);
#endif
}

}  // namespace
