// The dynamic symbol table of libKOVRA-0.11.38.so holds exactly the public entries: every routine under
// its Fortran triple (SAXPY, saxpy, saxpy_) and its CBLAS name (cblas_saxpy), the processor probe entries,
// the version report, and nothing else. The table is read from the ELF file itself, so the test runs the
// same on the host and under an emulator.
#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// Routines exported in both forms, by their lower-case Fortran name.
std::vector<std::string> routine_names() {
  std::vector<std::string> names;
  for (const char* family : {"axpy", "scal", "copy", "swap", "axpby", "gemm", "gemv", "gbmv", "rotg"})
    for (const char* type : {"s", "d", "c", "z"}) names.push_back(std::string(type) + family);
  for (const char* name :
       {"csscal", "zdscal", "scabs1", "dcabs1", "sger",   "dger",   "cgeru",  "zgeru",  "cgerc", "zgerc", "srotmg",
        "drotmg", "srot",   "drot",   "csrot",  "zdrot",  "srotm",  "drotm",  "sdot",   "ddot",  "cdotu", "zdotu",
        "cdotc",  "zdotc",  "dsdot",  "sdsdot", "sasum",  "dasum",  "scasum", "dzasum", "snrm2", "dnrm2", "scnrm2",
        "dznrm2", "isamax", "idamax", "icamax", "izamax", "isamin", "idamin", "icamin", "izamin"})
    names.push_back(name);
  return names;
}

// The cblas_ name of a routine; the complex dots store their result through a pointer and carry _sub.
std::string cblas_name(const std::string& lower) {
  const bool complex_dot = lower.size() == 5 && lower.compare(1, 3, "dot") == 0 && (lower[0] == 'c' || lower[0] == 'z');
  return "cblas_" + lower + (complex_dot ? "_sub" : "");
}

std::string upper(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::toupper(c); });
  return s;
}

// Entries exported under one name only.
const char* const single_names[] = {"android_getCpuFamily", "android_getCpuFeatures", "android_getCpuCount",
                                    "android_setCpu",       "android_getCpuIdArm",    "android_setCpuArm",
                                    "KOVRAVersionString",   "KOVRAVersionInfo"};

std::set<std::string> expected_exports() {
  std::set<std::string> names(std::begin(single_names), std::end(single_names));
  for (const std::string& lower : routine_names()) names.insert({upper(lower), lower, lower + "_", cblas_name(lower)});
  return names;
}

// Symbols that the linker defines in every shared object (ARM's linker script adds the __bss_*__ forms).
bool linker_made(const std::string& name) {
  static const std::set<std::string> names = {"_init",       "_fini",         "_edata",      "_end",      "__end__",
                                              "__bss_start", "__bss_start__", "__bss_end__", "_bss_end__"};
  return names.count(name) != 0;
}

// name -> address of every symbol that the object defines and exports.
using symbol_table = std::map<std::string, std::uint64_t>;

template <class Ehdr, class Shdr, class Sym>
symbol_table read_dynamic_symbols(const std::vector<char>& image) {
  auto at = [&](std::uint64_t offset, std::uint64_t size) {
    if (offset > image.size() || size > image.size() - offset) throw std::runtime_error("truncated ELF file");
    return image.data() + offset;
  };
  Ehdr header;
  std::memcpy(&header, at(0, sizeof header), sizeof header);
  if (header.e_shentsize != sizeof(Shdr)) throw std::runtime_error("unexpected section header size");
  std::vector<Shdr> sections(header.e_shnum);
  if (!sections.empty())
    std::memcpy(sections.data(), at(header.e_shoff, sections.size() * sizeof(Shdr)), sections.size() * sizeof(Shdr));

  symbol_table table;
  for (const Shdr& section : sections) {
    if (section.sh_type != SHT_DYNSYM) continue;
    if (section.sh_link >= sections.size()) throw std::runtime_error("bad string table index");
    const Shdr& strings = sections[section.sh_link];
    const char* string_base = at(strings.sh_offset, strings.sh_size);
    const char* symbol_base = at(section.sh_offset, section.sh_size);
    for (std::uint64_t i = 1; i < section.sh_size / sizeof(Sym); ++i) {
      Sym symbol;
      std::memcpy(&symbol, symbol_base + i * sizeof(Sym), sizeof symbol);
      // Imports and local entries (section symbols, which ARM objects keep in .dynsym) are not exports.
      if (symbol.st_shndx == SHN_UNDEF || (symbol.st_info >> 4) == STB_LOCAL) continue;
      if (symbol.st_name >= strings.sh_size) throw std::runtime_error("bad symbol name offset");
      const char* name = string_base + symbol.st_name;
      if (std::memchr(name, '\0', strings.sh_size - symbol.st_name) == nullptr)
        throw std::runtime_error("unterminated symbol name");
      table.emplace(name, symbol.st_value);
    }
  }
  return table;
}

symbol_table exported_symbols(const char* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(std::string("cannot open ") + path);
  const std::vector<char> image((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (image.size() < EI_NIDENT || std::memcmp(image.data(), ELFMAG, SELFMAG) != 0)
    throw std::runtime_error(std::string(path) + " is not an ELF file");
  const int native_data = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ELFDATA2LSB : ELFDATA2MSB;
  if (image[EI_DATA] != native_data) throw std::runtime_error("foreign byte order");
  switch (image[EI_CLASS]) {
    case ELFCLASS32:
      return read_dynamic_symbols<Elf32_Ehdr, Elf32_Shdr, Elf32_Sym>(image);
    case ELFCLASS64:
      return read_dynamic_symbols<Elf64_Ehdr, Elf64_Shdr, Elf64_Sym>(image);
    default:
      throw std::runtime_error("unknown ELF class");
  }
}

// Read once; a broken file throws out of the first test that asks, which GoogleTest reports as a failure.
const symbol_table& library_symbols() {
  static const symbol_table table = exported_symbols(KOVRA_SHARED_LIBRARY);
  return table;
}

// Every public entry is exported and nothing else is; the three Fortran names of a routine are one
// function, not three copies or wrappers.
TEST(ExportedSymbols, ExactlyThePublicEntries) {
  const symbol_table& table = library_symbols();
  const std::set<std::string> expected = expected_exports();
  std::vector<std::string> missing, extra;
  for (const std::string& name : expected)
    if (table.count(name) == 0) missing.push_back(name);
  for (const auto& [name, address] : table)
    if (expected.count(name) == 0 && !linker_made(name)) extra.push_back(name);
  EXPECT_TRUE(missing.empty()) << "missing: " << testing::PrintToString(missing);
  EXPECT_TRUE(extra.empty()) << "not public entries: " << testing::PrintToString(extra);
  for (const std::string& lower : routine_names())
    for (const std::string& alias : {lower, upper(lower)})
      EXPECT_TRUE(!table.count(lower + "_") || (table.count(alias) && table.at(alias) == table.at(lower + "_")))
          << alias;
}

}  // namespace
