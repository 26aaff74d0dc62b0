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
#include <mutex>
#include <vector>

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
  explicit task(group* owner);
  virtual ~task() = default;
  task(const task&) = delete;
  task& operator=(const task&) = delete;

  virtual void run() = 0;
  // Called when a task is cancelled; the default writes the fatal report and ends the process.
  virtual void do_cancel_notify();

  group* owner() const { return m_owner; }

 private:
  friend class scheduler;
  group* m_owner;
  task* m_next = nullptr;  // link in the runtime's ready queue
};

// Memory for tasks. allocate returns null when no memory can be had (or a test asked for a failure).
struct task_allocator {
  static void* allocate(unsigned size);
  static void deallocate(void* p, unsigned size);
};

// Takes over a constructed task and runs it on some worker, any time from now on. `where` may be null.
void send_to_runtime(task* t, scheduler* where);

// A group of tasks that a launcher waits for. Leaf groups come from a pool of 32 records indexed by a
// group id; ids beyond the pool come from the heap.
class group {
 public:
  static constexpr std::uint32_t leaf_bit = 0x10000000u;
  static constexpr std::uint32_t id_mask = 0x7ffffffu;

  explicit group(std::uint32_t id);
  group(const group&) = delete;
  group& operator=(const group&) = delete;

  // One more outstanding task; the first one also holds a reference on the group until the count
  // comes back to zero, so tasks never outlive their group.
  void add_task();
  // Takes back add_task for a task that was never sent (its memory could not be had).
  void remove_unsent_task();
  // A task of the group has finished (called by the runtime after the task is destroyed).
  void task_done();

  // Returns when the task count is zero. On a worker it runs other ready tasks meanwhile, so nested
  // waits never deadlock; an application thread spins briefly, then sleeps. Rethrows the first
  // exception that a task of the group raised.
  void wait();

  void store_exception(std::exception_ptr e);

  std::uint32_t id() const { return m_flags & id_mask; }
  bool is_leaf() const { return (m_flags & leaf_bit) != 0; }
  int pending_tasks() const { return m_tasks.load(std::memory_order_acquire); }

 private:
  friend class group_ptr;
  std::atomic<int> m_refs{0};
  std::uint32_t m_flags;
  std::atomic<int> m_tasks{0};
  std::mutex m_exceptions_lock;
  std::vector<std::exception_ptr> m_exceptions;
};

// The owning handle of a group that a launcher keeps in its frame.
class group_ptr {
 public:
  // Takes the lowest free id; ids below 32 use the static pool.
  static group_ptr create();

  group_ptr() = default;
  ~group_ptr() { reset(); }
  group_ptr(group_ptr&& other) noexcept : m_group(other.m_group) { other.m_group = nullptr; }
  group_ptr& operator=(group_ptr&&) = delete;
  group_ptr(const group_ptr&) = delete;

  // Throws vesk::api_exception "null group pointer." when empty.
  group* operator->() const;
  group* get() const { return m_group; }
  // Drops the reference; the last one returns the record to the pool (or the heap) and frees its id.
  void reset();

 private:
  explicit group_ptr(group* g) : m_group(g) {}
  group* m_group = nullptr;
};

// Drops a reference on a group (shared by group_ptr::reset and the task count).
void release_group(group* g);

}  // namespace vesk::internal
