// A guard against hangs for tests that could deadlock: if the scope it guards has not ended within its limit, it
// prints the stack of every thread of the process to standard error and aborts, so that the test fails with the
// stacks of the deadlock named instead of running into CTest's timeout. The stacks come from gdb when it is
// installed and may attach; otherwise each thread writes its own, from a signal whose handler runs glibc's
// backtrace (exported names only, with addresses).
#pragma once

#include <dirent.h>
#include <execinfo.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace kovra_test {

namespace watchdog_detail {

inline std::atomic<bool> stack_written{false};

// Runs on the signalled thread. Only calls that are safe in a handler: the id is formatted by hand.
inline void write_own_stack(int) {
  char line[32] = "--- thread ";
  char digits[20];
  int count = 0;
  for (long tid = syscall(SYS_gettid); tid > 0 || count == 0; tid /= 10) digits[count++] = char('0' + tid % 10);
  int length = 11;
  while (count > 0) line[length++] = digits[--count];
  line[length++] = '\n';
  if (write(STDERR_FILENO, line, length) < 0) return;
  void* frames[64];
  backtrace_symbols_fd(frames, backtrace(frames, 64), STDERR_FILENO);
  stack_written.store(true);
}

// gdb attached to this process, when it is there; false if it is missing or could not attach.
inline bool stacks_from_gdb() {
  // Under Yama a process may be traced by a descendant only when it says so.
  prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY, 0, 0, 0);
  const std::string command = "command -v gdb >/dev/null && gdb -p " + std::to_string(getpid()) +
                              " -batch -nx -ex 'set pagination off' -ex 'thread apply all bt' </dev/null 1>&2";
  return std::system(command.c_str()) == 0;
}

// Every other thread in turn writes its stack; a thread that cannot take the signal within a second is passed.
inline void stacks_from_signals() {
  struct sigaction action = {};
  action.sa_handler = write_own_stack;
  sigaction(SIGUSR2, &action, nullptr);
  DIR* tasks = opendir("/proc/self/task");
  if (tasks == nullptr) return;
  for (dirent* entry; (entry = readdir(tasks)) != nullptr;) {
    const long tid = std::atol(entry->d_name);
    if (tid <= 0 || tid == syscall(SYS_gettid)) continue;
    stack_written.store(false);
    if (syscall(SYS_tgkill, getpid(), tid, SIGUSR2) != 0) continue;
    for (int wait = 0; wait < 100 && !stack_written.load(); ++wait)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  closedir(tasks);
}

}  // namespace watchdog_detail

class watchdog {
 public:
  watchdog(std::chrono::seconds limit, std::string what) {
    void* frame;
    backtrace(&frame, 1);  // loads the unwinder now rather than inside a signal handler
    thread_ = std::thread([this, limit, what = std::move(what)] {
      {
        std::unique_lock<std::mutex> lock(mutex_);
        if (ended_.wait_for(lock, limit, [this] { return done_; })) return;
      }
      std::fprintf(stderr, "watchdog: %s has not ended after %lld s; the stacks of every thread follow\n", what.c_str(),
                   static_cast<long long>(limit.count()));
      if (!watchdog_detail::stacks_from_gdb()) watchdog_detail::stacks_from_signals();
      std::abort();
    });
  }
  ~watchdog() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      done_ = true;
    }
    ended_.notify_one();
    thread_.join();
  }
  watchdog(const watchdog&) = delete;
  watchdog& operator=(const watchdog&) = delete;

 private:
  std::mutex mutex_;
  std::condition_variable ended_;
  bool done_ = false;
  std::thread thread_;
};

}  // namespace kovra_test
