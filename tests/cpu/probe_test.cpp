// The probe's steps over an invented system: where the capability word comes from, how it becomes
// features, the architecture and id rules, and what a processor other than 32-bit ARM reports.
#include "cpu/probe.h"

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "kovra/cpu_features.h"

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
};

// /proc/self/auxv of a 32-bit process: (type, value) pairs of 32-bit words.
std::string auxv_of(std::initializer_list<std::pair<std::uint32_t, std::uint32_t>> pairs) {
  std::string bytes;
  for (const auto& [type, value] : pairs) {
    const std::uint32_t words[2] = {type, value};
    bytes.append(reinterpret_cast<const char*>(words), sizeof words);
  }
  return bytes;
}

std::uint64_t features_of(const std::string& cpuinfo) {
  fake_source source;
  source.cpuinfo_text = cpuinfo;
  return run_probe(source, true).features;
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
  const std::pair<std::string, std::uint64_t> rows[] = {
      {"CPU architecture: 7\nFeatures\t: swp half vfp edsp neon vfpv3 tls vfpv4\n", vfpv4_neon_features | ldrex},
      {"Features\t: vfpv3d16\n", ARM_FEATURE_VFPv3 | v2 | v7},
      {"Features\t: idiv iwmmxt\n", ARM_FEATURE_IDIV_ARM | ARM_FEATURE_IDIV_THUMB2 | ARM_FEATURE_IWMMXT},
      {"CPU architecture: 8\nFeatures\t: iwmmxt\n",
       vfpv4_neon_features | ldrex | ARM_FEATURE_IDIV_ARM | ARM_FEATURE_IDIV_THUMB2},
      {"CPU architecture: 7\n", v7 | ldrex},
      {"CPU architecture: 6TEJ\n", ldrex},
      {"CPU architecture: 5\n", 0},
      {"CPU architecture: AArch64\n", 0},
      {v6, ldrex},
      {v6 + "Features\t: vfp\n", ldrex | v2},
      {"CPU architecture: 7\nFeatures\t: vfp\n", v7 | ldrex | ARM_FEATURE_VFPv3 | v2}};
  for (const auto& [text, features] : rows) EXPECT_EQ(features_of(text), features) << text;
}

TEST(Probe, GetauxvalThenAuxvThenText) {
  fake_source source;
  source.cpuinfo_text = "Features\t: iwmmxt\n";
  source.auxv_contents = auxv_of({{6, 4096}, {16, hwcap::vfp | hwcap::vfpv3d16}, {0, 0}});
  source.auxval[at_hwcap] = hwcap::neon;
  EXPECT_EQ(run_probe(source, true).features,
            ARM_FEATURE_VFPv3 | ARM_FEATURE_NEON | ARM_FEATURE_VFP_D32 | ARM_FEATURE_VFPv2 | ARM_FEATURE_ARMv7);

  source.auxval.clear();
  EXPECT_EQ(run_probe(source, true).features, ARM_FEATURE_VFPv3 | ARM_FEATURE_VFPv2 | ARM_FEATURE_ARMv7);

  // A zero word of type 16, or the end marker before it, sends the probe on to the text.
  for (const std::string& auxv : {auxv_of({{16, 0}, {16, hwcap::neon}}),
                                  auxv_of({{6, 4096}, {0, 0}, {16, hwcap::neon}}), auxv_of({{6, 4096}}) + "\x10"}) {
    source.auxv_contents = auxv;
    EXPECT_EQ(run_probe(source, true).features, ARM_FEATURE_IWMMXT);
  }
}

TEST(Probe, SecondWordGivesTheCryptoBits) {
  fake_source source;
  source.auxval[at_hwcap2] = 0x3f;
  EXPECT_EQ(run_probe(source, true).features,
            ARM_FEATURE_AES | ARM_FEATURE_PMULL | ARM_FEATURE_SHA1 | ARM_FEATURE_SHA2 | ARM_FEATURE_CRC32);
  source.auxval[at_hwcap2] = 0x12;
  EXPECT_EQ(run_probe(source, true).features, ARM_FEATURE_PMULL | ARM_FEATURE_CRC32);
}

TEST(Probe, TranslatorMeansNoGetauxval) {
  fake_source source;
  source.translator = true;
  source.auxval = {{at_hwcap, hwcap::vfpv4 | hwcap::neon}, {at_hwcap2, 0x1f}};
  source.auxv_contents = auxv_of({{16, hwcap::idiva}, {0, 0}});
  EXPECT_EQ(run_probe(source, true).features, ARM_FEATURE_IDIV_ARM);
  EXPECT_EQ(source.getauxval_calls, 0);
}

TEST(Probe, PackedIdAndTheRulesThatReadIt) {
  fake_source source;
  source.cpuinfo_text = "CPU implementer\t: 0x51\nCPU variant\t: 0x0\nCPU part\t: 0x06f\nCPU revision\t: 3\n";
  cpu_state state = run_probe(source, true);
  EXPECT_EQ(state.cpu_id, 0x510006f3u);
  EXPECT_EQ(state.features, ARM_FEATURE_IDIV_ARM | ARM_FEATURE_IDIV_THUMB2);
  source.cpuinfo_text = "CPU implementer\t: 0x51\nCPU part\t: 0x06f\nCPU revision\t: 4\n";
  EXPECT_EQ(run_probe(source, true).features, 0u);

  const std::string a8 = "CPU implementer\t: 0x41\nCPU part\t: 0xc08\nCPU revision\t: 0\n";
  source.cpuinfo_text = a8 + "Hardware\t: Goldfish\n";
  state = run_probe(source, true);
  EXPECT_EQ(state.cpu_id, 0x4100c080u);
  EXPECT_EQ(state.features, ARM_FEATURE_IDIV_ARM);
  for (const std::string& other :
       {a8 + "Hardware\t: Goldfish board\n", a8 + "CPU variant\t: 1\nHardware\t: Goldfish\n"}) {
    source.cpuinfo_text = other;
    EXPECT_EQ(run_probe(source, true).features, 0u) << other;
  }
}

TEST(Probe, UnreadableCpuinfoLeavesEveryDefault) {
  fake_source source;
  source.cpuinfo_text.reset();
  source.auxval[at_hwcap] = hwcap::neon;
  const cpu_state state = run_probe(source, true);
  EXPECT_TRUE(state.family == 1 && state.count == 1 && state.features == 0u && source.getauxval_calls == 0);
}

TEST(Probe, OtherProcessorsReportTheCountOnly) {
  fake_source source;
  source.cpuinfo_text = "CPU architecture: 8\nFeatures\t: neon vfpv4\nCPU implementer\t: 0x41\n";
  source.auxval = {{at_hwcap, hwcap::vfpv4 | hwcap::neon}, {at_hwcap2, 0x1f}};
  source.auxv_contents = auxv_of({{16, hwcap::neon}});
  cpu_state state = run_probe(source, false);
  EXPECT_TRUE(state.family == 1 && state.count == 4 && state.features == 0u && state.cpu_id == 0u);
  EXPECT_EQ(source.getauxval_calls, 0);
  state = run_probe(source, true);
  EXPECT_TRUE(state.count == 4 && state.cpu_id == 0x41000000u);
}

}  // namespace
