// Scheduling: nested waits on few workers, a waiting worker that sleeps and is woken, many application
// threads launching at once, and the runtime in a child of fork().
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "runtime_test_support.h"

namespace {

// Threads made in a child of a threaded process are beyond two of our test hosts: ThreadSanitizer
// (the new threads reuse the ids of the parent's) and qemu's user-mode emulation (it fails an internal
// assertion). The emulator shows itself to an ARM program by passing the host's /proc/cpuinfo through,
// which has no "CPU implementer" line.
bool threads_in_fork_child_supported() {
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

using vesk::internal::group_ptr;
using vesk_test::launch;
using vesk_test::scaled;
using vesk_test::worker_scope;
using vesk_test::send;

// Each level launches `fanout` tasks and waits for them from inside its own task.
void nest(int level, int fanout, std::atomic<int>& leaves, std::atomic<int>& off_worker) {
  launch(fanout, [&, level, fanout] {
    if (!vesk::internal::on_worker_thread()) off_worker.fetch_add(1);
    if (level == 3)
      leaves.fetch_add(1);
    else
      nest(level + 1, fanout, leaves, off_worker);
  });
}

class Nesting : public ::testing::TestWithParam<int> {};

TEST_P(Nesting, ThreeLevelsOfWaitsInsideTasksComplete) {
  worker_scope scope(GetParam());
  for (int fanout : {1, 2, 5}) {
    std::atomic<int> leaves{0}, off_worker{0};
    nest(1, fanout, leaves, off_worker);
    EXPECT_EQ(leaves.load(), fanout * fanout * fanout);
    EXPECT_EQ(off_worker.load(), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Runtime, Nesting, ::testing::Values(1, 2, 4));

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

TEST(ManyLaunchers, ApplicationThreadsLaunchAtOnceWithoutOversubscribing) {
  constexpr int workers = 3, threads = 8;
  // Each thread keeps a few groups open, so that more than the pool's 32 groups are alive at once.
  constexpr int held_groups = 5;
  const int rounds = scaled(2000);
  worker_scope scope(workers);
  std::atomic<int> running{0}, most_running{0};
  std::mutex lock;
  std::set<std::thread::id> worker_threads;
  std::vector<long> sums(threads, 0);
  std::vector<std::thread> launchers;
  for (int t = 0; t < threads; ++t)
    launchers.emplace_back([&, t] {
      std::vector<group_ptr> held;
      for (int g = 0; g < held_groups; ++g) held.push_back(group_ptr::create());
      std::atomic<long> sum{0};
      for (int r = 0; r < rounds; ++r) {
        const int tasks = 1 + r % 4;
        launch(tasks, [&] {
          const int now = running.fetch_add(1) + 1;
          for (int seen = most_running.load(); now > seen && !most_running.compare_exchange_weak(seen, now);) {
          }
          sum.fetch_add(t + 1);
          if (r % 64 == 0) {
            std::lock_guard<std::mutex> guard(lock);
            worker_threads.insert(std::this_thread::get_id());
          }
          running.fetch_sub(1);
        });
      }
      sums[t] = sum.load();
    });
  for (auto& l : launchers) l.join();

  long tasks_per_thread = 0;
  for (int r = 0; r < rounds; ++r) tasks_per_thread += 1 + r % 4;
  for (int t = 0; t < threads; ++t) EXPECT_EQ(sums[t], tasks_per_thread * (t + 1)) << "thread " << t;
  EXPECT_LE(most_running.load(), workers);
  EXPECT_LE(static_cast<int>(worker_threads.size()), workers);
}

// What a child of fork() checks about the runtime, as its exit status (0 if all is well).
int child_status() {
  alarm(60);  // a child that cannot get its work done dies instead of hanging the test
  std::atomic<int> runs{0}, off_worker{0};
  launch(16, [&] {
    runs.fetch_add(1);
    if (!vesk::internal::on_worker_thread()) off_worker.fetch_add(1);
  });
  std::atomic<int> leaves{0};
  nest(1, 3, leaves, off_worker);
  if (runs.load() != 16 || leaves.load() != 27) return 1;
  if (off_worker.load() != 0) return 2;
  if (vesk_worker_count() != 2 || vesk::internal::num_exec_ctx() != 2) return 3;
  return vesk_stop() == 0 ? 0 : 4;
}

int exit_status_of(pid_t child) {
  int status = 0;
  if (waitpid(child, &status, 0) != child) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

TEST(Fork, ChildLaunchesWorkWhileTheParentKeepsLaunching) {
  if (!threads_in_fork_child_supported()) GTEST_SKIP() << "this host cannot run threads in a child of fork()";
  worker_scope scope(2);
  launch(8, [] {});
  std::atomic<bool> stop_background{false};
  std::thread background([&] {
    while (!stop_background.load()) launch(2, [] {});
  });
  for (int round = 0; round < 3; ++round) {
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) _exit(child_status());
    EXPECT_EQ(exit_status_of(child), 0) << "round " << round;
  }
  stop_background.store(true);
  background.join();

  std::atomic<int> runs{0};
  launch(4, [&] { runs.fetch_add(1); });
  EXPECT_EQ(runs.load(), 4);
}

TEST(Fork, ChildThatNeverLaunchesHasNoWorkersToJoin) {
  worker_scope scope(2);
  launch(8, [] {});
  const pid_t child = fork();
  ASSERT_NE(child, -1);
  if (child == 0) _exit(vesk_stop() == 0 && vesk_worker_count() == 0 ? 0 : 1);
  EXPECT_EQ(exit_status_of(child), 0);
}

}  // namespace
