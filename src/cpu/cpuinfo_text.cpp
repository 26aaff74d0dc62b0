// The text rules of the CPU probe, over buffers (see cpuinfo_text.h).
#include "cpu/cpuinfo_text.h"

#include <bit>
#include <cctype>
#include <cstring>

namespace kovra::cpu {

field_value cpuinfo_field(std::string_view text, std::string_view key) {
  std::size_t at = text.find(key);
  while (at != std::string_view::npos && at != 0 && text[at - 1] != '\n') at = text.find(key, at + 1);
  if (at == std::string_view::npos) return nullptr;

  const std::size_t colon = text.find(':', at + key.size());
  if (colon == std::string_view::npos || colon + 1 >= text.size() || text[colon + 1] != ' ') return nullptr;
  const std::size_t start = colon + 2;
  std::size_t end = text.find('\n', start);
  if (end == std::string_view::npos) end = text.size();

  field_value value(static_cast<char*>(std::malloc(end - start + 1)));
  if (!value) return nullptr;
  std::memcpy(value.get(), text.data() + start, end - start);
  value.get()[end - start] = '\0';
  return value;
}

bool has_word(std::string_view value, std::string_view word) {
  std::size_t pos = 0;
  while (pos < value.size()) {
    const std::size_t start = value.find_first_not_of(" \t", pos);
    if (start == std::string_view::npos) return false;
    std::size_t end = value.find_first_of(" \t", start);
    if (end == std::string_view::npos) end = value.size();
    if (value.substr(start, end - start) == word) return true;
    pos = end;
  }
  return false;
}

namespace {

// Reads a decimal number at `pos`; false if no digit is there. Saturates, since any id of 32 or more is
// dropped anyway.
bool read_decimal(std::string_view text, std::size_t& pos, std::uint64_t& value) {
  const std::size_t start = pos;
  value = 0;
  for (; pos < text.size() && text[pos] >= '0' && text[pos] <= '9'; ++pos)
    value = value > 0xffffffffu ? value : value * 10 + static_cast<unsigned>(text[pos] - '0');
  return pos != start;
}

}  // namespace

std::uint32_t parse_cpu_list(std::string_view text) {
  std::uint32_t mask = 0;
  std::size_t pos = 0;
  while (pos < text.size() && text[pos] != '\n') {
    std::uint64_t first, last;
    if (!read_decimal(text, pos, first)) break;
    last = first;
    if (pos < text.size() && text[pos] == '-') {
      ++pos;
      if (!read_decimal(text, pos, last)) break;
    }
    for (std::uint64_t id = first; id <= last && id < 32; ++id) mask |= std::uint32_t{1} << id;
    if (pos < text.size() && text[pos] == ',') ++pos;
    else break;
  }
  return mask;
}

int processor_count(std::string_view present, std::string_view possible) {
  for (std::string_view list : {present, possible})
    if (list.empty() || list[0] == '\n') return 1;
  const int count = std::popcount(parse_cpu_list(present) & parse_cpu_list(possible));
  return count == 0 ? 1 : count;
}

std::uint32_t hwcap_from_words(std::string_view features) {
  static constexpr struct {
    std::string_view word;
    std::uint32_t bits;
  } words[] = {
      {"vfp", hwcap::vfp},
      {"vfpv3", hwcap::vfpv3},
      {"vfpv3d16", hwcap::vfpv3d16},
      {"vfpv4", hwcap::vfpv4},
      {"neon", hwcap::neon},
      {"idiva", hwcap::idiva},
      {"idivt", hwcap::idivt},
      {"idiv", hwcap::idiva | hwcap::idivt},
      {"iwmmxt", hwcap::iwmmxt},
  };
  std::uint32_t bits = 0;
  for (const auto& entry : words)
    if (has_word(features, entry.word)) bits |= entry.bits;
  return bits;
}

namespace {

template <typename Word> Word auxv_value(std::string_view contents, Word type) {
  for (std::size_t at = 0; at + 2 * sizeof(Word) <= contents.size(); at += 2 * sizeof(Word)) {
    Word pair[2];
    std::memcpy(pair, contents.data() + at, sizeof pair);
    if (pair[0] == type) return pair[1];
    if (pair[0] == 0 && pair[1] == 0) break;
  }
  return 0;
}

}  // namespace

std::uint32_t auxv_hwcap(std::string_view contents) { return auxv_value<std::uint32_t>(contents, at_hwcap); }
std::uint64_t auxv_hwcap64(std::string_view contents) { return auxv_value<std::uint64_t>(contents, at_hwcap); }

namespace {

// A number of the given base, or of base 16 behind a "0x"/"0X" prefix, up to the first character that
// is no digit of the base. Only the low bits are kept by the caller, so wrapping does no harm.
bool read_number(const char* text, unsigned base, std::uint32_t& value) {
  if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X') && std::isxdigit(static_cast<unsigned char>(text[2]))) {
    base = 16;
    text += 2;
  }
  value = 0;
  bool any = false;
  for (;; ++text, any = true) {
    const char c = *text;
    unsigned digit;
    if (c >= '0' && c <= '9') digit = static_cast<unsigned>(c - '0');
    else if (c >= 'a' && c <= 'f') digit = static_cast<unsigned>(c - 'a' + 10);
    else if (c >= 'A' && c <= 'F') digit = static_cast<unsigned>(c - 'A' + 10);
    else break;
    if (digit >= base) break;
    value = value * base + digit;
  }
  return any;
}

}  // namespace

std::uint32_t parse_cpu_id(std::string_view cpuinfo) {
  static constexpr struct {
    std::string_view key;
    unsigned base, shift, width;
  } fields[] = {
      {"CPU implementer", 16, 24, 8},
      {"CPU variant", 16, 20, 4},
      {"CPU part", 16, 4, 12},
      {"CPU revision", 10, 0, 4},
  };
  std::uint32_t id = 0;
  for (const auto& field : fields) {
    const field_value value = cpuinfo_field(cpuinfo, field.key);
    std::uint32_t number;
    if (value && read_number(value.get(), field.base, number))
      id |= (number & ((std::uint32_t{1} << field.width) - 1)) << field.shift;
  }
  return id;
}

}  // namespace kovra::cpu
