// The probe's one contact with the system: the real files, the translator check, getauxval found
// by name at run time, and CPUID and XGETBV on x86-64. The rules that read what comes back live in probe.cpp
// and cpuinfo_text.cpp.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "cpu/probe.h"
#include "platform.h"

#if KOVRA_X86_64
#include <cpuid.h>
#endif

namespace kovra::cpu {

namespace {

int open_retrying(const char* path) {
  int fd;
  do fd = ::open(path, O_RDONLY | O_CLOEXEC);
  while (fd < 0 && errno == EINTR);
  return fd;
}

ssize_t read_retrying(int fd, void* buffer, std::size_t size) {
  ssize_t got;
  do got = ::read(fd, buffer, size);
  while (got < 0 && errno == EINTR);
  return got;
}

// Reads until `size` bytes, the end of the file or an error; the number of bytes read.
std::size_t read_up_to(int fd, char* buffer, std::size_t size) {
  std::size_t total = 0;
  while (total < size) {
    const ssize_t got = read_retrying(fd, buffer + total, size - total);
    if (got <= 0) break;
    total += static_cast<std::size_t>(got);
  }
  return total;
}

class file {
 public:
  explicit file(const char* path) : fd_(open_retrying(path)) {}
  ~file() {
    if (fd_ >= 0) ::close(fd_);
  }
  file(const file&) = delete;
  file& operator=(const file&) = delete;
  bool is_open() const { return fd_ >= 0; }
  int fd() const { return fd_; }

 private:
  int fd_;
};

std::string read_small_file(const char* path, std::size_t limit) {
  file f(path);
  if (!f.is_open()) return {};
  std::string text(limit, '\0');
  text.resize(read_up_to(f.fd(), text.data(), limit));
  return text;
}

class real_source final : public probe_source {
 public:
  field_value cpuinfo(std::size_t& size) override {
    // The size that stat reports for this file is meaningless: measure it by reading it through.
    std::size_t length = 0;
    {
      file f("/proc/cpuinfo");
      if (!f.is_open()) return nullptr;
      char block[256];
      for (ssize_t got; (got = read_retrying(f.fd(), block, sizeof block)) > 0;) length += static_cast<std::size_t>(got);
    }
    field_value buffer(static_cast<char*>(std::malloc(length + 1)));
    if (!buffer) return nullptr;
    file f("/proc/cpuinfo");
    if (!f.is_open()) return nullptr;
    size = read_up_to(f.fd(), buffer.get(), length);
    if (size == 0) return nullptr;
    buffer.get()[size] = '\0';
    return buffer;
  }

  // Lists of processor ids are short; 64 bytes hold every list of ids below 32.
  std::string present() override { return read_small_file("/sys/devices/system/cpu/present", 64); }
  std::string possible() override { return read_small_file("/sys/devices/system/cpu/possible", 64); }

  bool translator_installed() override { return ::access("/system/lib/libhoudini.so", F_OK) == 0; }

  unsigned long getauxval(unsigned long type) override {
    // Found by name, since older C libraries lack it. glibc refuses this dlopen (its libc.so is a linker
    // script and mode 0 is invalid there); the auxv file then serves.
    void* libc = ::dlopen("libc.so", 0);
    if (libc == nullptr) return 0;
    unsigned long value = 0;
    using getauxval_fn = unsigned long (*)(unsigned long);
    if (void* symbol = ::dlsym(libc, "getauxval")) value = reinterpret_cast<getauxval_fn>(symbol)(type);
    ::dlclose(libc);
    return value;
  }

  std::string auxv() override {
    file f("/proc/self/auxv");
    if (!f.is_open()) return {};
    std::string contents;
    char block[256];
    for (ssize_t got; (got = read_retrying(f.fd(), block, sizeof block)) > 0;) contents.append(block, static_cast<std::size_t>(got));
    return contents;
  }

#if KOVRA_X86_64
  // __get_cpuid_count refuses a leaf above the highest one that __get_cpuid_max finds.
  bool cpuid(unsigned leaf, unsigned subleaf, unsigned regs[4]) override {
    return __get_cpuid_count(leaf, subleaf, &regs[0], &regs[1], &regs[2], &regs[3]) != 0;
  }

  // Written out rather than the _xgetbv intrinsic, which needs this file compiled with -mxsave.
  unsigned long long xgetbv0() override {
    unsigned low, high;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0u));
    return static_cast<unsigned long long>(high) << 32 | low;
  }
#else
  bool cpuid(unsigned, unsigned, unsigned*) override { return false; }
  unsigned long long xgetbv0() override { return 0; }
#endif
};

}  // namespace

probe_source& system_source() {
  static real_source source;
  return source;
}

}  // namespace kovra::cpu
