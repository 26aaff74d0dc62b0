// The workers and their ready queue: start and stop, the hand-over of tasks, the two ways of waiting
// for a group, fork() handling, and the runtime's own start when the library is loaded.
//
// One FIFO queue under one lock serves every worker. A worker that runs out of tasks spins for a short
// while, watching the queue's length without the lock, so that back-to-back launches find it awake;
// then it sleeps on a condition variable. A launcher signals a sleeper only when there is one.
//
// A worker that waits for a group (a task that launched work of its own) keeps running ready tasks
// while its group has some outstanding, so nested waits cannot deadlock however few workers there are.
// When there is nothing to run it sleeps on the same condition variable, woken either by new work or by
// the last task of its group.
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <new>

#include <kovra/vesk_runtime.h>
#include <vesk/exceptions.h>
#include <vesk/task.h>

#include "platform.h"
#include "runtime_internal.h"

namespace vesk::internal {

std::atomic<int> s_num_exec_ctx{0};
std::atomic<bool> vesk_started{false};
std::atomic<bool> vesk_stopped{false};

namespace {

using spin_clock = std::chrono::steady_clock;

// A worker with nothing to do stays awake this long: the next launch of a caller that launches in a loop
// comes well within it, and an idle process still sleeps almost all the time.
constexpr auto idle_spin = std::chrono::microseconds(100);
// A waiting worker whose group's last tasks run elsewhere: these are usually short.
constexpr auto helper_spin = std::chrono::microseconds(50);
// An application thread waiting for its group: long enough to catch the end of a small launch without a
// sleep and a wake-up, short enough not to take a processor from the workers.
constexpr auto application_spin = std::chrono::microseconds(10);
// After this much of a spin the spinner yields its processor at every look at the clock, so that
// spinners never keep a launcher or a busy worker that shares their processor from running.
constexpr auto pause_only_spin = std::chrono::microseconds(1);

// Spins until `ready()` holds (returns true) or `limit` has passed (returns false).
template <typename Ready>
bool spin_until(Ready ready, spin_clock::duration limit) {
  const auto start = spin_clock::now();
  for (unsigned round = 1;; ++round) {
    if (ready()) return true;
    // Reading the clock costs more than a pause; look at it once in a while.
    if (round % 16 != 0) {
      cpu_relax();
      continue;
    }
    const auto spent = spin_clock::now() - start;
    if (spent >= limit) return false;
    if (spent >= pause_only_spin) sched_yield();
  }
}

thread_local bool t_on_worker = false;

int online_processors() {
  const long n = sysconf(_SC_NPROCESSORS_ONLN);
  return n > 0 ? static_cast<int>(n) : 1;
}

// VESK_WORKERS if it holds a positive integer, otherwise one worker per online processor. A count in the
// thousands is a typo rather than a machine, and would only exhaust the process's threads.
int default_worker_count() {
  if (const char* text = std::getenv("VESK_WORKERS")) {
    char* end = nullptr;
    const long n = std::strtol(text, &end, 10);
    if (end != text && *end == '\0' && n > 0 && n <= 4096) return static_cast<int>(n);
  }
  return online_processors();
}

}  // namespace

class scheduler {
 public:
  enum class outcome { done, from_worker, already_running, no_threads };

  outcome start(int workers);
  outcome stop();
  int running_workers();
  void submit(task* t);
  void help(group& g);
  void block(group& g);
  void wake_helpers();

  void before_fork();
  void after_fork_in_parent();
  void after_fork_in_child();

 private:
  enum class phase { stopped, running, stopping };

  static void* worker_main(void* self);
  static void run(task* t);
  task* next_task();
  task* try_take();
  task* pop_locked();
  int spawn_locked(int workers);

  pthread_mutex_t m_lock = PTHREAD_MUTEX_INITIALIZER;
  // Sleeping workers, idle or helping, wait here for new work; helpers also for their group's end.
  pthread_cond_t m_wake = PTHREAD_COND_INITIALIZER;
  // Serialises start and stop, which wait for threads without holding m_lock.
  pthread_mutex_t m_control = PTHREAD_MUTEX_INITIALIZER;

  // Under m_lock.
  task* m_head = nullptr;
  task* m_tail = nullptr;
  int m_sleepers = 0;
  phase m_phase = phase::stopped;
  int m_workers = 0;               // while running: the worker count asked for
  pthread_t* m_threads = nullptr;  // the workers made by this process, m_live of them
  int m_live = 0;
  // In a child of fork() of a running runtime: make m_workers workers at the first submit.
  bool m_respawn = false;

  // The queue's length, written under m_lock and read without it by spinners, as a hint.
  std::atomic<int> m_queued{0};
};

namespace {
constinit scheduler s_scheduler;
}  // namespace

// Makes up to `workers` workers; returns how many could be made.
int scheduler::spawn_locked(int workers) {
  delete[] m_threads;
  m_threads = new (std::nothrow) pthread_t[workers];
  m_live = 0;
  if (m_threads == nullptr) return 0;
  while (m_live < workers && pthread_create(&m_threads[m_live], nullptr, worker_main, this) == 0) ++m_live;
  return m_live;
}

scheduler::outcome scheduler::start(int workers) {
  if (t_on_worker) return outcome::from_worker;
  pthread_mutex_lock(&m_control);
  pthread_mutex_lock(&m_lock);
  if (m_phase != phase::stopped) {
    pthread_mutex_unlock(&m_lock);
    pthread_mutex_unlock(&m_control);
    return outcome::already_running;
  }
  const int count = workers > 0 ? workers : default_worker_count();
  m_phase = phase::running;
  m_workers = count;
  const bool complete = spawn_locked(count) == count;
  pthread_mutex_unlock(&m_lock);
  if (complete) {
    s_num_exec_ctx.store(count);
    vesk_stopped.store(false);
    vesk_started.store(true);
  }
  pthread_mutex_unlock(&m_control);
  if (complete) return outcome::done;
  stop();
  return outcome::no_threads;
}

scheduler::outcome scheduler::stop() {
  if (t_on_worker) return outcome::from_worker;
  pthread_mutex_lock(&m_control);
  pthread_mutex_lock(&m_lock);
  if (m_phase != phase::running) {
    pthread_mutex_unlock(&m_lock);
    pthread_mutex_unlock(&m_control);
    return outcome::done;
  }
  // Workers leave once the queue is empty; a child of fork() that never made its workers has none.
  pthread_t* threads = m_threads;
  const int live = m_live;
  m_threads = nullptr;
  m_live = 0;
  m_respawn = false;
  m_phase = phase::stopping;
  pthread_cond_broadcast(&m_wake);
  pthread_mutex_unlock(&m_lock);

  for (int i = 0; i < live; ++i) pthread_join(threads[i], nullptr);
  delete[] threads;

  pthread_mutex_lock(&m_lock);
  m_phase = phase::stopped;
  m_workers = 0;
  pthread_mutex_unlock(&m_lock);
  vesk_started.store(false);
  vesk_stopped.store(true);
  pthread_mutex_unlock(&m_control);
  return outcome::done;
}

int scheduler::running_workers() {
  pthread_mutex_lock(&m_lock);
  const int count = m_phase == phase::running ? m_workers : 0;
  pthread_mutex_unlock(&m_lock);
  return count;
}

void* scheduler::worker_main(void* self) {
  t_on_worker = true;
  auto* s = static_cast<scheduler*>(self);
  while (task* t = s->next_task()) run(t);
  return nullptr;
}

void scheduler::run(task* t) {
  group* owner = t->m_owner;
  try {
    t->run();
  } catch (...) {
    owner->store_exception(std::current_exception());
  }
  t->~task();
  task_allocator::deallocate(t);
  owner->task_done();
}

task* scheduler::pop_locked() {
  task* t = m_head;
  m_head = t->m_next;
  if (m_head == nullptr) m_tail = nullptr;
  m_queued.store(m_queued.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
  return t;
}

task* scheduler::try_take() {
  if (m_queued.load(std::memory_order_relaxed) == 0) return nullptr;
  pthread_mutex_lock(&m_lock);
  task* t = m_head != nullptr ? pop_locked() : nullptr;
  pthread_mutex_unlock(&m_lock);
  return t;
}

// The next task for an idle worker, or null when the worker is to end.
task* scheduler::next_task() {
  task* t = try_take();
  if (t != nullptr) return t;
  if (spin_until([&] { return (t = try_take()) != nullptr; }, idle_spin)) return t;
  pthread_mutex_lock(&m_lock);
  while (m_head == nullptr && m_phase == phase::running) {
    ++m_sleepers;
    pthread_cond_wait(&m_wake, &m_lock);
    --m_sleepers;
  }
  t = m_head != nullptr ? pop_locked() : nullptr;
  pthread_mutex_unlock(&m_lock);
  return t;
}

void scheduler::submit(task* t) {
  t->m_next = nullptr;
  pthread_mutex_lock(&m_lock);
  if (m_respawn) {
    m_respawn = false;
    spawn_locked(m_workers);
  }
  if (m_live == 0) {
    // No worker to run it: only a task made before a stop (or in a child that could not make its
    // workers) gets here. Running it now is better than leaving its launcher waiting forever.
    pthread_mutex_unlock(&m_lock);
    run(t);
    return;
  }
  if (m_tail != nullptr)
    m_tail->m_next = t;
  else
    m_head = t;
  m_tail = t;
  m_queued.store(m_queued.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  const bool wake = m_sleepers > 0;
  pthread_mutex_unlock(&m_lock);
  if (wake) pthread_cond_signal(&m_wake);
}

void scheduler::help(group& g) {
  while (g.m_tasks.load() != 0) {
    if (task* t = try_take()) {
      run(t);
      continue;
    }
    if (spin_until([&] { return g.m_tasks.load() == 0 || m_queued.load(std::memory_order_relaxed) > 0; },
                   helper_spin))
      continue;
    // The flag and the count are both seq_cst: either the last task_done sees the flag and wakes this
    // thread under the lock, or this thread sees the count at zero and does not sleep.
    pthread_mutex_lock(&m_lock);
    g.m_helper_sleeping.store(true);
    while (g.m_tasks.load() != 0 && m_head == nullptr) {
      ++m_sleepers;
      pthread_cond_wait(&m_wake, &m_lock);
      --m_sleepers;
    }
    g.m_helper_sleeping.store(false);
    // A signal for new work may have woken this thread just as its group finished; hand it on to a
    // sleeper that will take the work.
    const bool hand_on = m_head != nullptr && m_sleepers > 0 && g.m_tasks.load() == 0;
    pthread_mutex_unlock(&m_lock);
    if (hand_on) pthread_cond_signal(&m_wake);
  }
}

void scheduler::block(group& g) {
  if (spin_until([&] { return g.m_tasks.load(std::memory_order_acquire) == 0; }, application_spin)) return;
  for (int n; (n = g.m_tasks.load(std::memory_order_acquire)) != 0;) g.m_tasks.wait(n, std::memory_order_acquire);
}

void scheduler::wake_helpers() {
  pthread_mutex_lock(&m_lock);
  pthread_cond_broadcast(&m_wake);
  pthread_mutex_unlock(&m_lock);
}

void scheduler::before_fork() {
  pthread_mutex_lock(&m_lock);
  task_memory_before_fork();
}

void scheduler::after_fork_in_parent() {
  task_memory_after_fork();
  pthread_mutex_unlock(&m_lock);
}

// The child has only the thread that called fork(). The parent's workers are gone from it; their
// pthread_t values are forgotten, never joined. Tasks still queued belong to launches of the parent,
// whose waiters the child does not have, so they are dropped. The child makes its own workers, as many
// as the parent had, when it first sends a task.
void scheduler::after_fork_in_child() {
  task_memory_after_fork();
  pthread_cond_init(&m_wake, nullptr);
  pthread_mutex_init(&m_control, nullptr);
  m_head = m_tail = nullptr;
  m_queued.store(0);
  m_sleepers = 0;
  m_live = 0;  // m_threads still holds the parent's; the next spawn or stop frees the array
  if (m_phase == phase::running) {
    m_respawn = true;
  } else if (m_phase == phase::stopping) {
    // The parent was stopping; the child ends up stopped.
    m_phase = phase::stopped;
    m_workers = 0;
    vesk_started.store(false);
    vesk_stopped.store(true);
  }
  pthread_mutex_unlock(&m_lock);
}

bool on_worker_thread() { return t_on_worker; }

void send_to_runtime(task* t, scheduler*) { s_scheduler.submit(t); }

void help_until_done(group& g) { s_scheduler.help(g); }

void block_until_done(group& g) { s_scheduler.block(g); }

void wake_sleeping_helper() { s_scheduler.wake_helpers(); }

namespace {

// Starts the runtime when the library is loaded and stops it when the library is unloaded or the process
// exits, so that workers are joined and their storage cleaned up. A worker cannot join itself, so a
// process that exits from inside a task leaves the workers to the system.
struct load_time_start {
  load_time_start() {
    pthread_atfork([] { s_scheduler.before_fork(); }, [] { s_scheduler.after_fork_in_parent(); },
                   [] { s_scheduler.after_fork_in_child(); });
    s_scheduler.start(0);
  }
  ~load_time_start() {
    if (t_on_worker) return;
    s_scheduler.stop();
    release_cached_task_memory();
  }
};

load_time_start s_load_time_start;

}  // namespace
}  // namespace vesk::internal

extern "C" int vesk_start(int workers) {
  return vesk::internal::s_scheduler.start(workers) == vesk::internal::scheduler::outcome::done ? 0 : -1;
}

extern "C" int vesk_stop(void) {
  return vesk::internal::s_scheduler.stop() == vesk::internal::scheduler::outcome::done ? 0 : -1;
}

extern "C" int vesk_worker_count(void) { return vesk::internal::s_scheduler.running_workers(); }

namespace vesk {

void start(int workers) {
  switch (internal::s_scheduler.start(workers)) {
    case internal::scheduler::outcome::done:
      return;
    case internal::scheduler::outcome::from_worker:
      throw api_exception("Cannot start the runtime from inside a task.", "vesk/runtime", __LINE__, "start");
    case internal::scheduler::outcome::already_running:
      throw api_exception("Cannot start the runtime: it is already running.", "vesk/runtime", __LINE__, "start");
    case internal::scheduler::outcome::no_threads:
      throw api_exception("Cannot start the runtime: unable to create its worker threads.", "vesk/runtime",
                          __LINE__, "start");
  }
}

void stop() {
  if (internal::s_scheduler.stop() == internal::scheduler::outcome::from_worker)
    throw api_exception("Cannot stop the runtime from inside a task.", "vesk/runtime", __LINE__, "stop");
}

int worker_count() { return vesk_worker_count(); }

}  // namespace vesk
