// The task runtime on its own: worker counts, starting and stopping and their misuse, per-worker storage,
// groups and the exceptions of their tasks, waits, many launching threads, fork(), and task memory.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vesk/exceptions.h>
#include <vesk/log.h>
#include <vesk/runtime.h>
#include <vesk/storage.h>
#include <vesk/task.h>
#include <vesk/testing.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <latch>
#include <mutex>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/fork_child_threads.h"
#include "support/worker_scope.h"

// Tasks and launches built the way the library's launchers build them.
namespace vesk_test {

using kovra_test::worker_scope;
using vesk::internal::group_ptr;

class function_task final : public vesk::internal::task {
 public:
  function_task(vesk::internal::group* owner, std::function<void()> body) : task(owner), m_body(std::move(body)) {}
  void run() override { m_body(); }

 private:
  std::function<void()> m_body;
};

// Counts, allocates, constructs and sends one task; false if its memory could not be had (the count is
// then taken back).
inline bool send(group_ptr& group, std::function<void()> body) {
  group->add_task();
  void* memory = vesk::internal::task_allocator::allocate(sizeof(function_task));
  if (memory == nullptr) {
    group->remove_unsent_task();
    return false;
  }
  vesk::internal::send_to_runtime(new (memory) function_task(group.get(), std::move(body)), nullptr);
  return true;
}

// `count` tasks running `body` in a new group, and the wait for them.
inline void launch(int count, const std::function<void()>& body) {
  auto group = group_ptr::create();
  for (int i = 0; i < count; ++i) send(group, body);
  group->wait();
}

// Loop counts of the heavier tests, divided by KOVRA_TEST_SCALE_DOWN where the tests run under emulation.
inline int scaled(int count) {
  const char* text = std::getenv("KOVRA_TEST_SCALE_DOWN");
  const int divisor = text != nullptr ? std::atoi(text) : 1;
  return divisor > 1 && count / divisor > 0 ? count / divisor : count;
}

}  // namespace vesk_test

namespace {

using namespace vesk_test;
using kovra_test::threads_in_fork_child_supported;

class WorkerCounts : public ::testing::TestWithParam<int> {};

// One task more than workers, each held until all have started: the waiting caller runs the newest while
// every worker runs one of the others. Then many more tasks run on those threads and on no other.
TEST_P(WorkerCounts, TheCallerRunsItsNewestTaskWhileEveryWorkerRunsAnother) {
  const int workers = GetParam();
  worker_scope scope(workers);
  EXPECT_TRUE(vesk_worker_count() == workers && vesk::worker_count() == workers);
  EXPECT_EQ(vesk::internal::num_exec_ctx(), workers);
  EXPECT_FALSE(vesk::internal::on_worker_thread());
  std::vector<std::thread::id> ran_on(workers + 1);
  std::latch all_started(workers + 1);
  auto group = group_ptr::create();
  for (int i = 0; i <= workers; ++i)
    send(group, [&, i] {
      all_started.arrive_and_wait();
      ran_on[i] = std::this_thread::get_id();
    });
  group->wait();
  const std::set<std::thread::id> first(ran_on.begin(), ran_on.end());
  EXPECT_EQ(int(first.size()), workers + 1);
  EXPECT_EQ(ran_on[workers], std::this_thread::get_id()) << "the caller did not run its newest task";
  std::mutex lock;
  std::set<std::thread::id> later;
  launch(1000, [&] {
    std::lock_guard<std::mutex> guard(lock);
    later.insert(std::this_thread::get_id());
  });
  EXPECT_TRUE(std::includes(first.begin(), first.end(), later.begin(), later.end()));
}

INSTANTIATE_TEST_SUITE_P(Runtime, WorkerCounts, ::testing::Values(1, 2, 4, 8));

TEST(StartStop, StoppedRuntimeRefusesTasksAndStartsAgain) {
  worker_scope scope(2);
  auto group = group_ptr::create();
  // Made while running, sent after the stop: it still runs, on the sending thread.
  auto* early = new (vesk::internal::task_allocator::allocate(sizeof(function_task)))
      function_task(group.get(), [] { EXPECT_FALSE(vesk::internal::on_worker_thread()); });
  group->add_task();
  EXPECT_TRUE(vesk_stop() == 0 && vesk_stop() == 0 && vesk_worker_count() == 0);
  EXPECT_EQ(vesk::internal::num_exec_ctx(), 2) << "the last count stays published";
  try {
    function_task refused(group.get(), [] {});
    FAIL() << "a task was made on a stopped runtime";
  } catch (const vesk::api_exception& e) {
    EXPECT_STREQ(e.what(),
                 "vesk/internal/task/task: 730 task(): Cannot create task unless VESK runtime is initialized");
  }
  vesk::internal::send_to_runtime(early, nullptr);
  EXPECT_EQ(group->pending_tasks(), 0);
  EXPECT_TRUE(vesk_start(3) == 0 && vesk_worker_count() == 3);
  std::atomic<int> runs{0};
  launch(5, [&] { runs.fetch_add(1); });
  EXPECT_EQ(runs.load(), 5);
}

// Starting a running runtime is refused; from inside a task neither call may act (a worker would have to
// join itself), whether the task runs on a worker or on the caller that waits for it.
TEST(StartStop, MisuseIsRefused) {
  worker_scope scope(2);
  EXPECT_EQ(vesk_start(4), -1);
  try {
    vesk::start(4);
    FAIL() << "start on a running runtime";
  } catch (const vesk::api_exception& e) {
    EXPECT_TRUE(e.message() == "Cannot start the runtime: it is already running." && e.function() == "start");
  }
  std::atomic<int> refused{0}, on_worker{0};
  std::latch all_started(3);
  launch(3, [&] {
    all_started.arrive_and_wait();
    on_worker += vesk::internal::on_worker_thread();
    refused += (vesk_start(1) == -1) + (vesk_stop() == -1);
    try {
      vesk::stop();
    } catch (const vesk::api_exception& e) {
      refused += e.message() == "Cannot stop the runtime from inside a task.";
    }
  });
  EXPECT_TRUE(refused.load() == 9 && on_worker.load() == 2);
  EXPECT_EQ(vesk_worker_count(), 2);
}

TEST(StartStop, DefaultCountComesFromTheEnvironmentOrTheProcessors) {
  worker_scope scope(1);
  const long online = sysconf(_SC_NPROCESSORS_ONLN);
  const char* saved = std::getenv("VESK_WORKERS");
  const std::string restore = saved != nullptr ? saved : "";
  for (auto [text, expected] : {std::pair{"3", 3L}, {"0", online}, {"-2", online}, {"5x", online}, {"", online}}) {
    setenv("VESK_WORKERS", text, 1);
    vesk_stop();
    EXPECT_TRUE(vesk_start(0) == 0 && vesk_worker_count() == expected) << "VESK_WORKERS=\"" << text << "\"";
  }
  if (saved != nullptr)
    setenv("VESK_WORKERS", restore.c_str(), 1);
  else
    unsetenv("VESK_WORKERS");
}

std::mutex cleaned_lock;
std::vector<int> cleaned;

void record_cleanup(void* value) {
  std::lock_guard<std::mutex> guard(cleaned_lock);
  cleaned.push_back(*static_cast<int*>(value));
  delete static_cast<int*>(value);
}

// Each thread's value is kept across tasks. A worker's is cleaned up when the worker ends; the caller's (set
// by a task of its own call) at its first task after a restart, as new workers find none.
TEST(WorkerStorage, CleanupRunsWhenTheWorkerEndsOrAtTheCallersFirstTaskAfterARestart) {
  constexpr int workers = 4;
  worker_scope scope(workers);
  vesk::internal::storage_key key{};
  ASSERT_EQ(vesk::internal::sls_key_create(&key, record_cleanup), 0);
  std::atomic<int> next_value{0}, empty_at_first{0}, kept{0};
  int callers = -1;
  cleaned.clear();  // written by threads that have ended and by this one only, so read here without the lock
  // Every worker and the caller run one task, which sets the thread's value.
  const auto set_values = [&] {
    std::latch all_started(workers + 1);
    launch(workers + 1, [&] {
      all_started.arrive_and_wait();
      empty_at_first += vesk::internal::sls_get_specific(key) == nullptr;
      const int value = next_value.fetch_add(1);
      if (!vesk::internal::on_worker_thread()) callers = value;
      vesk::internal::sls_set_specific(key, new int(value));
    });
  };
  set_values();
  const int callers_first = callers;
  launch(3 * workers, [&] { kept += vesk::internal::sls_get_specific(key) != nullptr; });
  EXPECT_TRUE(empty_at_first.load() == workers + 1 && kept.load() == 3 * workers);
  EXPECT_TRUE(cleaned.empty()) << "clean-up ran before the workers ended";
  vesk_stop();
  std::vector<int> workers_values{0, 1, 2, 3, 4};
  workers_values.erase(workers_values.begin() + callers_first);
  std::sort(cleaned.begin(), cleaned.end());
  EXPECT_EQ(cleaned, workers_values);
  vesk_start(workers);
  set_values();
  EXPECT_EQ(std::count(cleaned.begin(), cleaned.end(), callers_first), 1) << "the caller's value was kept";
  EXPECT_EQ(empty_at_first.load(), 2 * (workers + 1));
}

// Ids are handed out lowest first, in the pool of 32 and beyond it; all groups can be in flight at once.
TEST(Groups, LowestFreeIdAndMoreGroupsThanThePoolHolds) {
  worker_scope scope(2);
  std::vector<group_ptr> groups;
  for (int i = 0; i < 100; ++i) {
    groups.push_back(group_ptr::create());
    EXPECT_TRUE(groups.back()->id() == std::uint32_t(i) && groups.back()->is_leaf());
  }
  std::vector<std::atomic<int>> runs(groups.size());
  for (std::size_t g = 0; g < groups.size(); ++g)
    for (int t = 0; t < 3; ++t) send(groups[g], [&runs, g] { runs[g].fetch_add(1); });
  for (std::size_t g = 0; g < groups.size(); ++g) {
    groups[g]->wait();
    EXPECT_EQ(runs[g].load(), 3) << "group " << g;
  }
}

// A launcher that lets go of its group (as when an exception skips its wait) leaves it to its tasks: the
// id is reused only after the last of them ends.
TEST(Groups, TasksInFlightKeepTheirGroup) {
  worker_scope scope(2);
  std::atomic<bool> release{false};
  auto group = group_ptr::create();
  const std::uint32_t id = group->id();
  for (int t = 0; t < 3; ++t) send(group, [&] { release.wait(false); });
  group.reset();
  EXPECT_NE(group_ptr::create()->id(), id) << "the group was freed under its running tasks";
  release.store(true);
  release.notify_all();
  vesk_stop();  // waits for every task
  vesk_start(2);
  EXPECT_EQ(group_ptr::create()->id(), id) << "the last task did not free the group";
}

// Taking back the last unsent task drops the count's reference too; the allocation seam drops the
// second of three tasks the way a launcher does.
TEST(Groups, UnsentTaskIsTakenBack) {
  worker_scope scope(2);
  auto group = group_ptr::create();
  const std::uint32_t id = group->id();
  group->add_task();
  group->remove_unsent_task();
  EXPECT_EQ(group->pending_tasks(), 0);
  group->wait();
  group.reset();
  EXPECT_EQ(group_ptr::create()->id(), id);
  std::atomic<int> runs{0};
  group = group_ptr::create();
  vesk::testing::fail_task_allocations(0b010);
  EXPECT_TRUE(send(group, [&] { ++runs; }) && !send(group, [&] { ++runs; }) && send(group, [&] { ++runs; }));
  vesk::testing::fail_task_allocations(0);
  group->wait();
  EXPECT_EQ(runs.load(), 2);
}

// The wait raises a task's exception after every task ran, and again on the next wait; raised by a
// nested wait inside a task, it travels on to the outer launcher; the workers are unharmed.
TEST(Groups, WaitRaisesTheTaskExceptionAfterEveryTaskRan) {
  worker_scope scope(2);
  std::atomic<int> runs{0};
  auto group = group_ptr::create();
  for (int t = 0; t < 10; ++t)
    send(group, [&runs, t] {
      runs.fetch_add(1);
      if (t == 3) throw std::runtime_error("tile 3 failed");
    });
  try {
    group->wait();
    FAIL() << "the task's exception was lost";
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "tile 3 failed");
  }
  EXPECT_TRUE(runs.load() == 10 && group->pending_tasks() == 0);
  EXPECT_THROW(group->wait(), std::runtime_error);
  // Thrown by the task that the caller runs while the workers' still run: raised once those have ended.
  std::atomic<int> workers_ended{0};
  std::latch all_started(3);
  try {
    launch(3, [&] {
      all_started.arrive_and_wait();
      if (!vesk::internal::on_worker_thread()) throw std::domain_error("on the caller");
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      workers_ended.fetch_add(1);
    });
    ADD_FAILURE() << "the exception of the caller's task was lost";
  } catch (const std::domain_error& e) {
    EXPECT_TRUE(std::string(e.what()) == "on the caller" && workers_ended.load() == 2);
  }
  EXPECT_THROW(launch(2, [] { launch(3, [] { throw std::length_error("inner"); }); }), std::length_error);
  std::atomic<int> after{0};
  launch(4, [&] { after.fetch_add(1); });
  EXPECT_EQ(after.load(), 4);
}

// Each level launches `fanout` tasks and waits for them from inside its own task.
void nest(int level, int fanout, std::atomic<int>& leaves) {
  launch(fanout, [&, level, fanout] {
    if (level == 3)
      leaves.fetch_add(1);
    else
      nest(level + 1, fanout, leaves);
  });
}

// Worker A waits inside a task for an inner task that worker B runs and that cannot end by itself. A
// has nothing of its group to run, so it goes to sleep, and the end of its group must wake it.
TEST(WaitingWorker, SleepsAndWakesAtTheEndOfItsGroup) {
  worker_scope scope(2);
  std::atomic<bool> inner_started{false}, release_inner{false}, outer_done{false};
  auto outer = group_ptr::create();
  send(outer, [&] {
    auto inner = group_ptr::create();
    send(inner, [&] {
      inner_started.store(true);
      release_inner.wait(false);
    });
    while (!inner_started.load()) std::this_thread::yield();  // the other worker took it
    inner->wait();
    outer_done.store(true);
  });
  while (!inner_started.load()) std::this_thread::yield();

  // Long past the waiter's spin: it sleeps by now.
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(outer_done.load());

  release_inner.store(true);
  release_inner.notify_all();
  outer->wait();
  EXPECT_TRUE(outer_done.load());
}

// Eight application threads launch at once, each keeping groups open so that more than the pool's 32
// are alive: every task runs once, off the workers only on the thread that launched it, and never more
// run on workers at a time than there are workers.
TEST(ManyLaunchers, ApplicationThreadsLaunchAtOnceAndRunOnlyTheirOwnTasks) {
  constexpr int workers = 3, threads = 8;
  const int rounds = scaled(2000);
  worker_scope scope(workers);
  std::atomic<int> running{0}, most_running{0}, foreign{0};
  std::vector<long> sums(threads, 0);
  std::vector<std::thread> launchers;
  for (int t = 0; t < threads; ++t)
    launchers.emplace_back([&, t] {
      std::vector<group_ptr> held;
      for (int g = 0; g < 5; ++g) held.push_back(group_ptr::create());
      std::atomic<long> sum{0};
      const auto launcher = std::this_thread::get_id();
      for (int r = 0; r < rounds; ++r)
        launch(1 + r % 4, [&] {
          sum.fetch_add(t + 1);
          if (!vesk::internal::on_worker_thread()) {
            foreign += std::this_thread::get_id() != launcher;
            return;
          }
          const int now = running.fetch_add(1) + 1;
          for (int seen = most_running.load(); now > seen && !most_running.compare_exchange_weak(seen, now);) {
          }
          running.fetch_sub(1);
        });
      sums[t] = sum.load();
    });
  for (auto& l : launchers) l.join();
  long tasks_per_thread = 0;
  for (int r = 0; r < rounds; ++r) tasks_per_thread += 1 + r % 4;
  for (int t = 0; t < threads; ++t) EXPECT_EQ(sums[t], tasks_per_thread * (t + 1)) << "thread " << t;
  EXPECT_LE(most_running.load(), workers);
  EXPECT_EQ(foreign.load(), 0) << "a waiting thread ran tasks of another thread's call";
}

// The exit status of `body` run in a child of fork(); the child dies rather than hang.
int in_child(const std::function<int()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);
    _exit(body());
  }
  int status = 0;
  if (child == -1 || waitpid(child, &status, 0) != child) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// A child that never launches has no workers to join. A child of a parent that keeps launching on another
// thread makes its own workers, as many as the parent had (three tasks held until all have started need
// them). Tasks the parent had queued belong to waiters the child does not have: the child drops them.
TEST(Fork, TheChildHasItsOwnRuntime) {
  worker_scope scope(2);
  launch(8, [] {});
  EXPECT_EQ(in_child([] { return vesk_stop() == 0 && vesk_worker_count() == 0 ? 0 : 1; }), 0);
  if (!threads_in_fork_child_supported()) GTEST_SKIP() << "this host cannot run threads in a child of fork()";
  std::atomic<bool> stop_background{false}, release{false};
  std::thread background([&] {
    while (!stop_background.load()) launch(2, [] {});
  });
  for (int round = 0; round < 3; ++round)
    EXPECT_EQ(in_child([] {
                std::atomic<int> leaves{0};
                nest(1, 3, leaves);
                std::latch all_started(3);
                launch(3, [&] { all_started.arrive_and_wait(); });
                return leaves.load() == 27 && vesk_worker_count() == 2 &&
                               vesk::internal::num_exec_ctx() == 2 && vesk_stop() == 0
                           ? 0
                           : 1;
              }),
              0);
  stop_background.store(true);
  background.join();
  std::atomic<int> parent_runs{0};
  auto group = group_ptr::create();
  std::atomic<int> busy{0};
  for (int w = 0; w < 2; ++w)
    send(group, [&] {  // keeps both workers busy while the rest queue up
      busy.fetch_add(1);
      release.wait(false);
    });
  while (busy.load() < 2) std::this_thread::yield();
  for (int t = 0; t < 4; ++t) send(group, [&] { parent_runs.fetch_add(1); });
  EXPECT_EQ(in_child([&] {
              launch(4, [] {});
              usleep(20000);
              return parent_runs.load();
            }),
            0)
      << "the child ran tasks of the parent";
  release.store(true);
  release.notify_all();
  group->wait();
  EXPECT_EQ(parent_runs.load(), 4);
}

using vesk::internal::task_allocator;

// what() is "file: line function(): message" whatever the message's length; the log writes one line per call.
TEST(Support, ExceptionTextsAndTheLog) {
  const vesk::error_exception plain(std::string(3000, 'x'), "f", 4000000000u, "g");
  EXPECT_EQ(std::string(plain.what()), "f: 4000000000 g(): " + std::string(3000, 'x'));
  EXPECT_EQ(plain.type_name(), "vesk::error_exception");
  ::testing::internal::CaptureStderr();
  vesk_android_logprintf(6, "tag", "%s %d", "first", 1);
  vesk_android_logprintf(6, "tag", "second");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "first 1\nsecond\n");
}

// Blocks are 16-byte aligned and a freed one is reused at once by its thread.
TEST(TaskMemory, BlocksAreAlignedAndReused) {
  for (unsigned size : {48u, 5000u}) {
    void* p = task_allocator::allocate(size);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 16, 0u);
    std::memset(p, 0xab, size);
    task_allocator::deallocate(p);
    if (size > 100) continue;
    EXPECT_EQ(task_allocator::allocate(size), p) << "a freed block should be reused at once";
    task_allocator::deallocate(p);
  }
}

// The seam the failure tests rest on: calls fail by their bit.
TEST(FailureSeams, CallsFailByTheirBit) {
  vesk::testing::fail_task_allocations(0b101);
  std::vector<void*> got;
  for (int i = 0; i < 4; ++i) got.push_back(task_allocator::allocate(32));
  EXPECT_TRUE(got[0] == nullptr && got[1] != nullptr && got[2] == nullptr && got[3] != nullptr);
  for (void* p : got) task_allocator::deallocate(p);

  vesk::testing::fail_task_allocations(0);
}

}  // namespace
