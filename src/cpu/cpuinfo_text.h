// The text rules of the CPU probe: fields of /proc/cpuinfo, words in a field, the processor lists of
// /sys/devices/system/cpu and the capability pairs of /proc/self/auxv. Everything here works on buffers,
// so the rules can be tried on invented file contents; cpu/system_source.cpp reads the real files.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace kovra::cpu {

struct free_delete {
  void operator()(char* p) const { std::free(p); }
};
// A field value in memory of its own, terminated, released with free.
using field_value = std::unique_ptr<char, free_delete>;

// The value of `key` in cpuinfo text: the key must open the text or follow a newline (hits inside a line
// are skipped); the first ':' after it must be followed by one blank, else the field is absent. The
// value runs from after the blank to the next newline or the end. Null when absent or out of memory.
field_value cpuinfo_field(std::string_view text, std::string_view key);

// True if `value`, cut into words at blanks and tabs, holds `word` as a whole word.
bool has_word(std::string_view value, std::string_view word);

// A processor list like "0-3,6,8-9": the bits of the ids below 32. Parsing stops at a newline or at
// anything that is not an "N" or "N-M" item; what came before it counts.
std::uint32_t parse_cpu_list(std::string_view text);

// popcount(present & possible), or 1 when either list is empty, starts with a newline or the two share
// no processor.
int processor_count(std::string_view present, std::string_view possible);

// Linux capability bits as the probe reads them, from the AT_HWCAP word or the "Features" words.
namespace hwcap {
inline constexpr std::uint32_t vfp = 0x40;
inline constexpr std::uint32_t iwmmxt = 0x200;
inline constexpr std::uint32_t neon = 0x1000;
inline constexpr std::uint32_t vfpv3 = 0x2000;
inline constexpr std::uint32_t vfpv3d16 = 0x4000;
inline constexpr std::uint32_t vfpv4 = 0x10000;
inline constexpr std::uint32_t idiva = 0x20000;
inline constexpr std::uint32_t idivt = 0x40000;
}  // namespace hwcap

// The capability bits named by the words of a "Features" value.
std::uint32_t hwcap_from_words(std::string_view features);

// The auxiliary vector types the probe asks for.
inline constexpr unsigned long at_hwcap = 16;
inline constexpr unsigned long at_hwcap2 = 26;

// The value of the first (type, value) pair with type 16 in the contents of /proc/self/auxv; 0 if a (0, 0)
// pair or the end of the contents comes first. The pairs are of the process's word: 32-bit words in a 32-bit
// process, 64-bit ones in a 64-bit process.
std::uint32_t auxv_hwcap(std::string_view contents);
std::uint64_t auxv_hwcap64(std::string_view contents);

// The packed processor id: implementer << 24 | variant << 20 | part << 4 | revision, each field taken
// only when its value starts with a digit of its base.
std::uint32_t parse_cpu_id(std::string_view cpuinfo);

}  // namespace kovra::cpu
