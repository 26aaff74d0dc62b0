// The text rules of the probe on invented contents: fields, whole words, processor lists, the id.
#include <gtest/gtest.h>

#include <string>

#include "cpu/cpuinfo_text.h"

namespace {

using namespace kovra::cpu;

std::string field(std::string_view text, std::string_view key) {
  const field_value value = cpuinfo_field(text, key);
  return value ? std::string(value.get()) : "<absent>";
}

TEST(cpuinfo_field, KeyMustOpenALine) {
  EXPECT_EQ(field("Hardware\t: Goldfish\nRevision\t: 0000\n", "Hardware"), "Goldfish");
  // The first hit stands inside a line and is skipped; the later one at a line start counts.
  EXPECT_EQ(field("model name\t: Features: x\nFeatures\t: half neon\n", "Features"), "half neon");
  EXPECT_EQ(field("processor\t: 0\nBogoMIPS\t: 38.40\n", "Features"), "<absent>");
  EXPECT_EQ(field("x Hardware : a\n", "Hardware"), "<absent>");
}

TEST(cpuinfo_field, ColonNeedsABlankAfterIt) {
  EXPECT_EQ(field("Hardware:Goldfish\n", "Hardware"), "<absent>");
  EXPECT_EQ(field("Hardware :", "Hardware"), "<absent>");
  EXPECT_EQ(field("Hardware : \n", "Hardware"), "");
  // The value keeps any further blanks and runs to the end of a text with no final newline.
  EXPECT_EQ(field("a: 1\nCPU part\t:  0xc0f", "CPU part"), " 0xc0f");
}

TEST(has_word, MatchesWholeWordsOnly) {
  EXPECT_TRUE(has_word("swp half\tvfpv3 neon", "vfpv3"));
  EXPECT_TRUE(has_word("neon", "neon"));
  EXPECT_FALSE(has_word("vfpv3d16 neon", "vfpv3"));
  EXPECT_FALSE(has_word("vfpv3", "vfpv3d16"));
  EXPECT_FALSE(has_word("idivt idiva", "idiv"));
  EXPECT_FALSE(has_word("", "vfp"));
  EXPECT_TRUE(has_word("ARMv6-compatible processor rev 7 (v6l)", "(v6l)"));
  EXPECT_FALSE(has_word("ARMv7 Processor rev 3 (v7l)", "(v6l)"));
}

TEST(processor_count, PresentAndPossibleLists) {
  struct {
    const char *present, *possible;
    int count;
  } cases[] = {
      {"0-3\n", "0-7\n", 4},  {"0,2-3\n", "0-7", 3},  {"0-63\n", "0-40\n", 32},  {"30-33", "0-63", 2},
      {"0-1,x,5", "0-7", 2},  {"0-1\n5", "0-7", 2},   {"0-1,5-", "0-7", 2},      {"4-7", "0-3", 1},
      {"", "0-3", 1},         {"0-3", "\n0-3", 1},    {"3-1", "0-7", 1},         {"7,1", "0-7", 2},
  };
  for (const auto& c : cases) EXPECT_EQ(processor_count(c.present, c.possible), c.count) << c.present << " & " << c.possible;
}

TEST(parse_cpu_id, FieldsPackedByFormat) {
  const char* cortex_a15 =
      "processor\t: 0\nCPU implementer\t: 0x41\nCPU architecture: 7\nCPU variant\t: 0x2\nCPU part\t: 0xc0f\n"
      "CPU revision\t: 4\n";
  EXPECT_EQ(parse_cpu_id(cortex_a15), 0x4120c0f4u);
  // Hexadecimal fields need no prefix; the decimal one is hexadecimal behind a prefix; wide values keep
  // their low bits.
  EXPECT_EQ(parse_cpu_id("CPU implementer: 51\nCPU revision: 12\n"), 0x5100000cu);
  EXPECT_EQ(parse_cpu_id("CPU revision: 0x12\nCPU variant: 0x13\n"), 0x00300002u);
  EXPECT_EQ(parse_cpu_id("CPU part: 0x1c0fzz\n"), 0xc0f0u);
  // A value that starts with no digit of its base is left out; parsing stops at the first such character.
  EXPECT_EQ(parse_cpu_id("CPU implementer: zz\nCPU part: abc\nCPU revision: 7a\n"), 0xabc7u);
  EXPECT_EQ(parse_cpu_id("CPU revision: c\nCPU implementer:0x41\n"), 0u);
}

}  // namespace
