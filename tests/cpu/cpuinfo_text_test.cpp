// The text rules of the probe on invented contents: fields, whole words, processor lists, the id.
#include "cpu/cpuinfo_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace kovra::cpu;

// A key must open a line and be followed by a colon and a blank; the value keeps any further blanks and
// runs to the end of the line or of a text with no final newline.
TEST(CpuinfoText, Fields) {
  struct row {
    const char *text, *key, *value;
  };
  for (const row r : {row{"Hardware\t: Goldfish\nRevision\t: 0000\n", "Hardware", "Goldfish"},
                      {"model name\t: Features: x\nFeatures\t: half neon\n", "Features", "half neon"},
                      {"processor\t: 0\nBogoMIPS\t: 38.40\n", "Features", nullptr},
                      {"x Hardware : a\n", "Hardware", nullptr},
                      {"Hardware:Goldfish\n", "Hardware", nullptr},
                      {"Hardware :", "Hardware", nullptr},
                      {"Hardware : \n", "Hardware", ""},
                      {"a: 1\nCPU part\t:  0xc0f", "CPU part", " 0xc0f"}}) {
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
  for (const row r : {row{"0-3\n", "0-7\n", 4},
                      {"0,2-3\n", "0-7", 3},
                      {"0-63\n", "0-40\n", 32},
                      {"30-33", "0-63", 2},
                      {"0-1,x,5", "0-7", 2},
                      {"0-1\n5", "0-7", 2},
                      {"0-1,5-", "0-7", 2},
                      {"4-7", "0-3", 1},
                      {"", "0-3", 1},
                      {"0-3", "\n0-3", 1},
                      {"3-1", "0-7", 1},
                      {"7,1", "0-7", 2}})
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

}  // namespace
