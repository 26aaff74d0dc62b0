// The task base: the running-runtime check made for every task, and the fatal report of a cancellation
// that no task of ours supports.
#include <vesk/exceptions.h>
#include <vesk/log.h>
#include <vesk/task.h>

namespace vesk::internal {

task::task(group* owner) : m_owner(owner) {
  if (!vesk_started.load() || vesk_stopped.load())
    throw api_exception("Cannot create task unless VESK runtime is initialized", "vesk/internal/task/task", 730,
                        "task");
}

void task::do_cancel_notify() {
  constexpr int error_priority = 6;
  constexpr const char* tag = "vesk";
  constexpr const char* file = "vesk/internal/task/cputaskinternal";
  constexpr int line = 501;
  const unsigned number = ++vesk_log_counter;
  const unsigned thread = get_thread_id();
  vesk_android_logprintf(error_priority, tag,
                         "\033[31mFATAL %8x t%x %s:%d %s() Body has no cancel_notify() method.", number, thread,
                         file, line, "do_cancel_notify");
  vesk_android_logprintf(error_priority, tag, "t%x %s:%d **********", thread, file, line);
  vesk_android_logprintf(error_priority, tag, "t%x %s:%d - Terminating with exit(1)", thread, file, line);
  vesk_android_logprintf(error_priority, tag, "t%x %s:%d **********\033[0m", thread, file, line);
  vesk_exit(1);
}

}  // namespace vesk::internal
