// The CPU probe: what the processor can do, worked out once from the system's files and the C library's
// getauxval. The probe reaches the system only through a probe_source, so that every rule can be run on
// invented contents; system_source() is the real one.
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
};

probe_source& system_source();

struct cpu_state {
  int family = 1;
  std::uint64_t features = 0;
  int count = 1;
  std::uint32_t cpu_id = 0;
};

// Features from a capability word, each rule applied to the result of the ones before.
std::uint64_t apply_hwcap(std::uint64_t features, std::uint32_t hwcap);

// Runs the probe. With arm32 false only the family and the processor count are worked out: the files and
// capability words of other processors do not speak of ARM features.
cpu_state run_probe(probe_source& source, bool arm32);

}  // namespace kovra::cpu
