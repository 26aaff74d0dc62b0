// Tasks, groups and the hand-over of tasks to the workers of the vesk runtime.
//
// A launch creates a group, adds one to its task count per task, allocates each task from the task
// allocator, constructs it in place and sends it to the runtime; then it waits for the group. A worker
// runs a task, destroys it, gives its memory back and then drops it from its group: the task count
// coming back to zero is what releases the waiter.
#pragma once

#include <atomic>
#include <cstdint>
#include <exception>

namespace vesk::internal {

class group;
class scheduler;

// Worker count of the running runtime (the last one while stopped). Launchers read it once per launch.
extern std::atomic<int> s_num_exec_ctx;
// A task may be made only while vesk_started is set and vesk_stopped is clear.
extern std::atomic<bool> vesk_started;
extern std::atomic<bool> vesk_stopped;

inline int num_exec_ctx() { return s_num_exec_ctx.load(std::memory_order_acquire); }

// True on the runtime's worker threads.
bool on_worker_thread();

class task {
 public:
  // Throws vesk::api_exception "Cannot create task unless VESK runtime is initialized" unless running.
  // `owner` is the group that the task counts in (see group::add_task); never null.
  explicit task(group* owner);
  virtual ~task() = default;
  task(const task&) = delete;
  task& operator=(const task&) = delete;

  // An exception that escapes run() is stored in the owner group and raised again by its wait().
  virtual void run() = 0;
  // What a task does when asked to cancel. No task of ours can stop half-way, so the default writes
  // the fatal report (to the Android log, or standard error elsewhere) and ends the process.
  virtual void do_cancel_notify();

  group* owner() const { return m_owner; }

 private:
  friend class scheduler;
  group* m_owner;
  task* m_next = nullptr;  // links in the runtime's ready queues
  task* m_prev = nullptr;
};

// Memory for tasks. allocate returns null when no memory can be had (or a test asked for a failure).
// deallocate takes any pointer that allocate returned; the runtime calls it for every task it has run.
struct task_allocator {
  static void* allocate(unsigned size);
  static void deallocate(void* p);
};

// Takes over a task constructed in memory from task_allocator and runs it on some worker, any time from
// now on; after running it the worker destroys it, gives the memory back and calls its group's
// task_done. `where` names a scheduler; there is one, so it may be null.
void send_to_runtime(task* t, scheduler* where);

// A group of tasks that a launcher waits for. Records for ids below 32 come from a static pool, the
// others from the heap; ids come from an atomic bitmap that always hands out the lowest free one.
// Only the launcher that created a group waits for it.
class alignas(64) group {  // a cache line of its own: pool slots are used by different threads
 public:
  static constexpr std::uint32_t leaf_bit = 0x10000000u;
  static constexpr std::uint32_t id_mask = 0x7ffffffu;
  static constexpr std::uint32_t pool_slots = 32;

  explicit group(std::uint32_t id) : m_flags(id | leaf_bit) {}
  group(const group&) = delete;
  group& operator=(const group&) = delete;

  // One more outstanding task; the first one also holds a reference on the group until the count
  // comes back to zero, so tasks never outlive their group.
  void add_task();
  // Takes back add_task for a task that was never sent (its memory could not be had).
  void remove_unsent_task();
  // A task of the group has finished (called by the runtime after the task is destroyed). This is the
  // task's last access to the group.
  void task_done();

  // Returns when the task count is zero. Meanwhile the waiting thread runs the group's tasks that no
  // worker has taken (a worker those of its own deque), so nested waits never deadlock; then it spins
  // briefly and sleeps. When the count is zero it
  // raises again the first exception that a task of the group let escape, if any (the others are
  // dropped); the group stays usable, and a second wait raises the same exception again.
  void wait();

  // Keeps the first exception handed to it. Called by the runtime for a task of this group before
  // that task's task_done.
  void store_exception(std::exception_ptr e);

  std::uint32_t id() const { return m_flags & id_mask; }
  bool is_leaf() const { return (m_flags & leaf_bit) != 0; }
  int pending_tasks() const { return m_tasks.load(std::memory_order_acquire); }

 private:
  friend class group_ptr;
  friend class scheduler;
  friend void release_group(group* g);

  std::atomic<int> m_refs{0};
  const std::uint32_t m_flags;
  std::atomic<int> m_tasks{0};
  // Set while the waiting worker sleeps in the scheduler; the last task_done then wakes it.
  std::atomic<bool> m_helper_sleeping{false};
  std::atomic<bool> m_has_exception{false};
  std::exception_ptr m_exception;
};

// The owning handle of a group that a launcher keeps in its frame.
class group_ptr {
 public:
  // Takes the lowest free id; ids below 32 use the static pool.
  static group_ptr create();

  group_ptr() = default;
  ~group_ptr() { reset(); }
  group_ptr(group_ptr&& other) noexcept : m_group(other.m_group) { other.m_group = nullptr; }
  group_ptr& operator=(group_ptr&& other) noexcept {
    if (this != &other) {
      reset();
      m_group = other.m_group;
      other.m_group = nullptr;
    }
    return *this;
  }
  group_ptr(const group_ptr&) = delete;

  // Throws vesk::api_exception "null group pointer." when empty.
  group* operator->() const;
  group* get() const { return m_group; }
  // Drops the reference; the last one returns the record to the pool (or the heap) and frees its id.
  void reset() noexcept;

 private:
  explicit group_ptr(group* g) : m_group(g) {}
  group* m_group = nullptr;
};

// Drops a reference on a group (shared by group_ptr::reset and the task count).
void release_group(group* g);

}  // namespace vesk::internal
