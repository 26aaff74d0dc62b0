// The CPU probe: what the processor can do, worked out once from the system's files and the C library's
// getauxval on ARM, from CPUID and XCR0 on x86-64. The probe reaches the system only through a probe_source,
// so that every rule can be run on invented contents; system_source() is the real one.
#pragma once

#include <cstdint>
#include <string>

#include "cpu/cpuinfo_text.h"

namespace kovra::cpu {

// Where the probe's inputs come from. Every call may fail; a failure gives the empty answer.
class probe_source {
 public:
  virtual ~probe_source() = default;
  // The whole of /proc/cpuinfo; null when it cannot be opened, memory is lacking or nothing was read.
  // `size` receives the number of bytes read.
  virtual field_value cpuinfo(std::size_t& size) = 0;
  // The first bytes (up to 64) of /sys/devices/system/cpu/present and .../possible; empty when missing.
  virtual std::string present() = 0;
  virtual std::string possible() = 0;
  // True when the ARM translator for x86 systems is installed; its getauxval answers are not to be trusted.
  virtual bool translator_installed() = 0;
  // getauxval(type) of the C library found at run time; 0 when it cannot be found.
  virtual unsigned long getauxval(unsigned long type) = 0;
  // The contents of /proc/self/auxv; empty when it cannot be read.
  virtual std::string auxv() = 0;
  // CPUID of `leaf` and `subleaf` into regs (eax, ebx, ecx, edx); false on processors without the
  // instruction. A leaf above the highest one in leaf 0's eax may fail or answer as another leaf.
  virtual bool cpuid(unsigned leaf, unsigned subleaf, unsigned regs[4]) = 0;
  // XCR0, the register state the operating system saves; asked only when CPUID reports OSXSAVE.
  virtual unsigned long long xgetbv0() = 0;
};

// The processor whose rules the probe applies.
enum class probe_target { arm32, aarch64, x86_64, other };

probe_source& system_source();

struct cpu_state {
  int family = 1;
  std::uint64_t features = 0;
  int count = 1;
  std::uint32_t cpu_id = 0;
};

// Features from a capability word, each rule applied to the result of the ones before.
std::uint64_t apply_hwcap(std::uint64_t features, std::uint32_t hwcap);

// Runs the probe. For x86-64 the family and the features come from the processor itself, and for AArch64
// from the capability word alone, so they are worked out even without /proc/cpuinfo; the count needs that
// file, as on every processor, and so does the processor id of both ARM targets. For other
// processors only the count is worked out: their files and capability words do not speak of ARM features.
cpu_state run_probe(probe_source& source, probe_target target);

}  // namespace kovra::cpu
