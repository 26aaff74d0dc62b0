// Message helpers of the vesk runtime: formatting, type names, the thread id and the fatal log.
// On Android the log goes to the system log; elsewhere to standard error.
#pragma once

#include <atomic>
#include <string>
#include <typeinfo>

namespace vesk::internal {

std::string strprintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

struct demangler {
  static std::string do_work(const std::type_info& type);
};

unsigned get_thread_id();

// A running number for log messages, incremented once per message.
extern std::atomic<unsigned> vesk_log_counter;

[[noreturn]] void vesk_exit(int code);

}  // namespace vesk::internal

// printf-style log line at a numeric Android priority (6 is error).
extern "C" void vesk_android_logprintf(int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
