// Message helpers of the runtime: printf into std::string, readable type names, thread ids, the log line
// writer used by the fatal report, and the exit that a worker may call.
#include <vesk/log.h>

#include <cxxabi.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "platform.h"

#if VESK_ANDROID
#include <android/log.h>
#endif

namespace vesk::internal {
namespace {

std::string vstrprintf(const char* format, va_list args) {
  va_list measure;
  va_copy(measure, args);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  if (length <= 0) return std::string();
  std::string text(static_cast<std::size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, args);
  return text;
}

}  // namespace

std::atomic<unsigned> vesk_log_counter{0};

std::string strprintf(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::string text = vstrprintf(format, args);
  va_end(args);
  return text;
}

std::string demangler::do_work(const std::type_info& type) {
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                              std::free);
  return status == 0 && name ? std::string(name.get()) : std::string(type.name());
}

// Not cached: after fork() a cached value would be the parent's.
unsigned get_thread_id() { return static_cast<unsigned>(syscall(SYS_gettid)); }

void vesk_exit(int code) {
  // Static destructors would try to join the workers, which cannot work from a worker; so flush what the
  // streams hold and leave at once.
  std::fflush(nullptr);
  _exit(code);
}

}  // namespace vesk::internal

extern "C" void vesk_android_logprintf(int priority, const char* tag, const char* format, ...) {
  va_list args;
  va_start(args, format);
#if VESK_ANDROID
  __android_log_vprint(priority, tag, format, args);
#else
  (void)priority;
  (void)tag;
  // One write per line, so that lines from several threads do not interleave.
  std::string line = vesk::internal::vstrprintf(format, args);
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
#endif
  va_end(args);
}
