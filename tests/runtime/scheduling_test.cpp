// Scheduling: nested waits on few workers, a waiting worker that sleeps and is woken, many application
// threads launching at once, and the runtime in a child of fork().
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "runtime_test_support.h"

namespace {

// Threads in a child of a threaded process are beyond ThreadSanitizer (it reuses the parent's thread ids)
// and qemu's user mode (an internal assertion fails); qemu passes the host's /proc/cpuinfo through, which
// has no "CPU implementer" line.
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

using namespace vesk_test;

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
    EXPECT_TRUE(leaves.load() == fanout * fanout * fanout && off_worker.load() == 0);
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

// Eight application threads launch at once, each keeping groups open so that more than the pool's 32
// are alive: every task runs once and never more run at a time than there are workers.
TEST(ManyLaunchers, ApplicationThreadsLaunchAtOnceWithoutOversubscribing) {
  constexpr int workers = 3, threads = 8;
  const int rounds = scaled(2000);
  worker_scope scope(workers);
  std::atomic<int> running{0}, most_running{0};
  std::vector<long> sums(threads, 0);
  std::vector<std::thread> launchers;
  for (int t = 0; t < threads; ++t)
    launchers.emplace_back([&, t] {
      std::vector<group_ptr> held;
      for (int g = 0; g < 5; ++g) held.push_back(group_ptr::create());
      std::atomic<long> sum{0};
      for (int r = 0; r < rounds; ++r)
        launch(1 + r % 4, [&] {
          const int now = running.fetch_add(1) + 1;
          for (int seen = most_running.load(); now > seen && !most_running.compare_exchange_weak(seen, now);) {
          }
          sum.fetch_add(t + 1);
          running.fetch_sub(1);
        });
      sums[t] = sum.load();
    });
  for (auto& l : launchers) l.join();
  long tasks_per_thread = 0;
  for (int r = 0; r < rounds; ++r) tasks_per_thread += 1 + r % 4;
  for (int t = 0; t < threads; ++t) EXPECT_EQ(sums[t], tasks_per_thread * (t + 1)) << "thread " << t;
  EXPECT_LE(most_running.load(), workers);
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
// thread makes its own workers, as many as the parent had. Tasks the parent had queued belong to waiters
// the child does not have: the child drops them.
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
                std::atomic<int> leaves{0}, off_worker{0};
                nest(1, 3, leaves, off_worker);
                return leaves.load() == 27 && off_worker.load() == 0 && vesk_worker_count() == 2 &&
                               vesk::internal::num_exec_ctx() == 2 && vesk_stop() == 0
                           ? 0
                           : 1;
              }),
              0);
  stop_background.store(true);
  background.join();
  std::atomic<int> parent_runs{0};
  auto group = group_ptr::create();
  send(group, [&] { release.wait(false); });  // keeps a worker busy while the rest queue up
  send(group, [&] { release.wait(false); });
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

}  // namespace
