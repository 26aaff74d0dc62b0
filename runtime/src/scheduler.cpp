// The workers and their ready queue: start and stop, the hand-over of tasks, the two ways of waiting
// for a group, fork() handling, and the runtime's own start when the library is loaded.
//
// Queues, all under one lock: each worker has a deque of the tasks it sent itself, and tasks sent from
// other threads (the application's) go to one shared FIFO queue. An idle worker steals the oldest task
// of another worker's deque, else takes the oldest shared one; the nested work of a call that is already
// running thus goes first. A worker that runs out of tasks spins for a short while, watching the count
// of queued tasks without the lock, so that back-to-back launches find it awake; then it sleeps on a
// condition variable. A sender signals a sleeper only when there is one.
//
// A thread that waits for a group runs only that group's tasks. A waiting worker (a task that launched
// work of its own) takes the newest task of its own deque as long as that task belongs to the group,
// since a group's tasks are sent by the thread that waits for it and lie on top of its deque. A waiting
// application thread takes the newest task of its group from the shared queue, wherever it lies among
// other threads' tasks, while the workers woken by the sends take the oldest: the caller runs one tile
// of its call itself and no hand-over is paid for it, and a small call whose tiles no worker has taken
// yet runs on the caller whole. Neither kind of waiter runs an outer task while it waits, so the waits
// stacked on one thread are as deep as the calls nest, whatever the number of queued tasks. No wait can
// deadlock: the waiter runs every task of its group that nobody has taken, and a task taken by another
// thread finishes by the same argument one level down. When none of its group's tasks is left to take,
// the waiter spins, then sleeps until the group's last task ends.
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <new>

#include <vesk/runtime.h>
#include <vesk/exceptions.h>
#include <vesk/task.h>
#include <vesk/testing.h>

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
// A worker's stack. The waits stacked on a worker are bounded by the nesting of the calls (an application
// task -> TRSM -> GEMM -> tile is the deepest the library makes), a few KiB of frames each, so 4 MiB leaves
// room for the application's own tasks and for the sanitizers' larger frames. It is set rather than
// inherited, because the inherited size follows `ulimit -s` (8 MiB with glibc, under 1 MiB on Android).
constexpr std::size_t worker_stack_bytes = 4u << 20;
// An application thread waiting for its group: long enough to catch the end of a small launch without a
// sleep and a wake-up, short enough not to take a processor from the workers.
constexpr auto application_spin = std::chrono::microseconds(10);
// A spinning idle worker leaves the tasks that an application thread has just sent alone this long: the
// sender runs its call's tasks itself once it waits, and a small call (a few tiles of a microsecond or
// less) is then done whole on that thread, with no hand-over to a worker and back. A larger call loses
// this much of its workers' start. Sleeping workers woken by the send take tasks at once.
constexpr auto sender_first = std::chrono::microseconds(2);
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
// The worker's deque, or -1 off the workers.
thread_local int t_worker = -1;
// The tasks running on this thread, one inside the other's wait: on a worker, its current task and those
// it runs while that one waits; on an application thread, those it runs while it waits for its call.
thread_local int t_tasks_running = 0;
// The waits made inside tasks that are stacked on this thread, and the deepest that any thread reached
// (vesk/testing.h). An application thread's wait for its own call is not made inside a task.
thread_local int t_wait_depth = 0;
std::atomic<int> s_deepest_wait{0};
// The runtime's run (counted by starts) whose storage values this application thread holds.
thread_local unsigned t_storage_run = 0;

// Counts a wait that begins on this thread; false (and not counted) for an application's own wait.
bool enter_wait() {
  if (t_tasks_running == 0) return false;
  const int depth = ++t_wait_depth;
  for (int deepest = s_deepest_wait.load(std::memory_order_relaxed);
       depth > deepest && !s_deepest_wait.compare_exchange_weak(deepest, depth, std::memory_order_relaxed);) {
  }
  return true;
}

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

  // An intrusive queue of tasks through task::m_next, oldest at `first`.
  struct task_queue {
    task* first = nullptr;
    task* last = nullptr;
    void push(task* t);
    task* pop_oldest();
    task* pop_newest();
    task* pop_newest_of(const group& g);
  };
  struct worker_start {
    scheduler* self;
    int index;
  };

  static void* worker_main(void* start);
  static void run(task* t);
  task* next_task();
  task* try_take();
  task* take_locked();
  task* take_own_locked(const group& g);
  task* take_shared_locked(const group& g);
  void count_taken_locked();
  void renew_storage();
  int spawn_locked(int workers);
  void clear_queues_locked();

  pthread_mutex_t m_lock = PTHREAD_MUTEX_INITIALIZER;
  // Idle workers sleep here until new work comes.
  pthread_cond_t m_wake = PTHREAD_COND_INITIALIZER;
  // Waiting workers sleep here until their group's last task ends.
  pthread_cond_t m_group_done = PTHREAD_COND_INITIALIZER;
  // Serialises start and stop, which wait for threads without holding m_lock.
  pthread_mutex_t m_control = PTHREAD_MUTEX_INITIALIZER;

  // Under m_lock.
  task_queue m_shared;
  // One per worker, m_deque_count of them. Unlike m_live, the count stays while a stop joins the workers,
  // so that the tasks of calls still running are found until they end.
  task_queue* m_deques = nullptr;
  int m_deque_count = 0;
  int m_sleepers = 0;
  phase m_phase = phase::stopped;
  int m_workers = 0;               // while running: the worker count asked for
  pthread_t* m_threads = nullptr;  // the workers made by this process, m_live of them
  worker_start* m_starts = nullptr;
  int m_live = 0;
  // In a child of fork() of a running runtime: make m_workers workers at the first submit.
  bool m_respawn = false;
  // Starts so far: an application thread renews its storage at its first task of each run, as new
  // workers start with none. Written under m_lock, read without it by application threads.
  std::atomic<unsigned> m_run{0};

  // The number of queued tasks, written under m_lock and read without it by spinners, as a hint.
  std::atomic<int> m_queued{0};
  // Until this time (steady clock, in its ticks) spinning idle workers take nothing: the newest shared
  // task was sent less than sender_first ago. Written under m_lock, read without it.
  std::atomic<spin_clock::rep> m_spinners_wait_until{0};
};

namespace {
constinit scheduler s_scheduler;
}  // namespace

void scheduler::task_queue::push(task* t) {
  t->m_next = nullptr;
  t->m_prev = last;
  if (last != nullptr) last->m_next = t;
  else first = t;
  last = t;
}

task* scheduler::task_queue::pop_oldest() {
  task* t = first;
  if (t == nullptr) return nullptr;
  first = t->m_next;
  if (first != nullptr) first->m_prev = nullptr;
  else last = nullptr;
  return t;
}

task* scheduler::task_queue::pop_newest() {
  task* t = last;
  if (t == nullptr) return nullptr;
  last = t->m_prev;
  if (last != nullptr) last->m_next = nullptr;
  else first = nullptr;
  return t;
}

// The newest task of g, from wherever it lies: a look at each task newer than it.
task* scheduler::task_queue::pop_newest_of(const group& g) {
  task* t = last;
  while (t != nullptr && t->m_owner != &g) t = t->m_prev;
  if (t == nullptr) return nullptr;
  if (t->m_prev != nullptr) t->m_prev->m_next = t->m_next;
  else first = t->m_next;
  if (t->m_next != nullptr) t->m_next->m_prev = t->m_prev;
  else last = t->m_prev;
  return t;
}

// Makes up to `workers` workers with a deque each; returns how many could be made.
int scheduler::spawn_locked(int workers) {
  delete[] m_threads;
  delete[] m_deques;
  delete[] m_starts;
  m_threads = new (std::nothrow) pthread_t[workers];
  m_deques = new (std::nothrow) task_queue[workers];
  m_starts = new (std::nothrow) worker_start[workers];
  m_live = 0;
  m_deque_count = 0;
  if (m_threads == nullptr || m_deques == nullptr || m_starts == nullptr) return 0;
  m_deque_count = workers;
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return 0;
  pthread_attr_setstacksize(&attributes, worker_stack_bytes);
  while (m_live < workers) {
    m_starts[m_live] = {this, m_live};
    if (pthread_create(&m_threads[m_live], &attributes, worker_main, &m_starts[m_live]) != 0) break;
    ++m_live;
  }
  pthread_attr_destroy(&attributes);
  return m_live;
}

// Drops every queued task without running it (a child of fork(): their launchers are in the parent).
void scheduler::clear_queues_locked() {
  m_shared = task_queue{};
  for (int i = 0; i < m_deque_count; ++i) m_deques[i] = task_queue{};
  m_queued.store(0);
}

scheduler::outcome scheduler::start(int workers) {
  if (t_on_worker || t_tasks_running > 0) return outcome::from_worker;
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
  m_run.store(m_run.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
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
  if (t_on_worker || t_tasks_running > 0) return outcome::from_worker;
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

void* scheduler::worker_main(void* start) {
  const worker_start where = *static_cast<worker_start*>(start);
  t_on_worker = true;
  t_worker = where.index;
  while (task* t = where.self->next_task()) run(t);
  return nullptr;
}

void scheduler::run(task* t) {
  group* owner = t->m_owner;
  ++t_tasks_running;
  try {
    t->run();
  } catch (...) {
    owner->store_exception(std::current_exception());
  }
  --t_tasks_running;
  t->~task();
  task_allocator::deallocate(t);
  owner->task_done();
}

void scheduler::count_taken_locked() {
  m_queued.store(m_queued.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
}

// An idle worker's next task: the oldest of another worker's deque (nested work of a running call),
// else the oldest shared one. An idle worker's own deque is empty: a worker's tasks all end before the
// task that sent them returns.
task* scheduler::take_locked() {
  for (int i = 0; i < m_deque_count; ++i) {
    if (task* t = m_deques[i].pop_oldest()) {
      count_taken_locked();
      return t;
    }
  }
  task* t = m_shared.pop_oldest();
  if (t != nullptr) count_taken_locked();
  return t;
}

// The newest task of the calling worker's deque if it belongs to g: the only tasks a waiter runs.
task* scheduler::take_own_locked(const group& g) {
  if (t_worker < 0 || t_worker >= m_deque_count) return nullptr;
  task_queue& own = m_deques[t_worker];
  if (own.last == nullptr || own.last->m_owner != &g) return nullptr;
  count_taken_locked();
  return own.pop_newest();
}

// The newest task of g in the shared queue, for an application thread that waits for g: it may run its
// own call's tasks only, never another thread's.
task* scheduler::take_shared_locked(const group& g) {
  task* t = m_shared.pop_newest_of(g);
  if (t != nullptr) count_taken_locked();
  return t;
}

task* scheduler::try_take() {
  if (m_queued.load(std::memory_order_relaxed) == 0) return nullptr;
  if (spin_clock::now().time_since_epoch().count() < m_spinners_wait_until.load(std::memory_order_relaxed))
    return nullptr;
  pthread_mutex_lock(&m_lock);
  task* t = take_locked();
  pthread_mutex_unlock(&m_lock);
  return t;
}

// The next task for an idle worker, or null when the worker is to end.
task* scheduler::next_task() {
  task* t = try_take();
  if (t != nullptr) return t;
  // The spin goes on while applications keep sending: the tasks a spinner leaves to their senders
  // (sender_first) would otherwise find it asleep, and every later send would pay for a wake-up.
  for (spin_clock::rep sent = m_spinners_wait_until.load(std::memory_order_relaxed);;) {
    if (spin_until([&] { return (t = try_take()) != nullptr; }, idle_spin)) return t;
    const spin_clock::rep latest = m_spinners_wait_until.load(std::memory_order_relaxed);
    if (latest == sent) break;
    sent = latest;
  }
  pthread_mutex_lock(&m_lock);
  while ((t = take_locked()) == nullptr && m_phase == phase::running) {
    ++m_sleepers;
    pthread_cond_wait(&m_wake, &m_lock);
    --m_sleepers;
  }
  pthread_mutex_unlock(&m_lock);
  return t;
}

void scheduler::submit(task* t) {
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
  if (t_worker >= 0 && t_worker < m_deque_count) {
    m_deques[t_worker].push(t);
  } else {
    m_shared.push(t);
    m_spinners_wait_until.store((spin_clock::now() + sender_first).time_since_epoch().count(),
                                std::memory_order_relaxed);
  }
  m_queued.store(m_queued.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  const bool wake = m_sleepers > 0;
  pthread_mutex_unlock(&m_lock);
  if (wake) pthread_cond_signal(&m_wake);
}

void scheduler::help(group& g) {
  const bool counted = enter_wait();
  for (;;) {
    pthread_mutex_lock(&m_lock);
    task* t = take_own_locked(g);
    pthread_mutex_unlock(&m_lock);
    if (t == nullptr) break;
    run(t);
  }
  // The rest of the group runs on other workers; nothing more of it can come to this deque.
  if (!spin_until([&] { return g.m_tasks.load() == 0; }, helper_spin)) {
    // The flag and the count are both seq_cst: either the last task_done sees the flag and wakes this
    // thread under the lock, or this thread sees the count at zero and does not sleep.
    pthread_mutex_lock(&m_lock);
    g.m_helper_sleeping.store(true);
    while (g.m_tasks.load() != 0) pthread_cond_wait(&m_group_done, &m_lock);
    g.m_helper_sleeping.store(false);
    pthread_mutex_unlock(&m_lock);
  }
  if (counted) --t_wait_depth;
}

// An application thread's wait: it runs its group's tasks that no worker has taken, then spins and sleeps
// on the task count for those that run on workers. Tasks of the group come to the shared queue only before
// the wait (a group's tasks are sent by its waiter), so none can appear once the thread stops looking.
void scheduler::block(group& g) {
  const bool counted = enter_wait();
  while (g.m_tasks.load(std::memory_order_acquire) != 0 && m_queued.load(std::memory_order_relaxed) != 0) {
    pthread_mutex_lock(&m_lock);
    task* t = take_shared_locked(g);
    pthread_mutex_unlock(&m_lock);
    if (t == nullptr) break;
    if (t_tasks_running == 0) renew_storage();
    run(t);
  }
  if (!spin_until([&] { return g.m_tasks.load(std::memory_order_acquire) == 0; }, application_spin)) {
    for (int n; (n = g.m_tasks.load(std::memory_order_acquire)) != 0;)
      g.m_tasks.wait(n, std::memory_order_acquire);
  }
  if (counted) --t_wait_depth;
}

// Called by an application thread with no task running on it, before it runs one: values it set in an
// earlier run of the runtime are cleaned up, as a stop ends the workers' values with the workers, so
// that a task finds the thread's storage as a new worker's would be. No task of the thread can hold them.
void scheduler::renew_storage() {
  const unsigned run = m_run.load(std::memory_order_relaxed);
  if (t_storage_run == run) return;
  t_storage_run = run;
  clean_up_thread_storage();
}

void scheduler::wake_helpers() {
  pthread_mutex_lock(&m_lock);
  pthread_cond_broadcast(&m_group_done);
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
  pthread_cond_init(&m_group_done, nullptr);
  pthread_mutex_init(&m_control, nullptr);
  clear_queues_locked();
  m_sleepers = 0;
  m_live = 0;  // m_threads still holds the parent's; the next spawn or stop frees the array
  // The forking thread has no deque in the child: its waits block, and what it sends is shared.
  t_worker = -1;
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

}  // namespace vesk::internal

namespace vesk::testing {

void reset_deepest_wait() { internal::s_deepest_wait.store(0); }
int deepest_wait() { return internal::s_deepest_wait.load(); }

}  // namespace vesk::testing

namespace vesk::internal {

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
