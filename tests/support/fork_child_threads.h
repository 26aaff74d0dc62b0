// Whether this host can run threads in a child of fork() of a threaded process, for the tests that do.
#pragma once

#include <fstream>
#include <iterator>
#include <string>

namespace kovra_test {

// Threads in a child of a threaded process are beyond ThreadSanitizer (it reuses the parent's thread ids) and
// qemu's user mode (an internal assertion fails); qemu passes the host's /proc/cpuinfo through, which has no
// "CPU implementer" line.
inline bool threads_in_fork_child_supported() {
#if defined(__SANITIZE_THREAD__)
  return false;
#elif defined(__arm__) || defined(__aarch64__)
  std::ifstream cpuinfo("/proc/cpuinfo");
  const std::string text((std::istreambuf_iterator<char>(cpuinfo)), std::istreambuf_iterator<char>());
  return text.find("CPU implementer") != std::string::npos;
#else
  return true;
#endif
}

}  // namespace kovra_test
