// Starting and stopping the runtime: worker counts, the refusal of tasks while stopped, misuse of the
// start/stop API, an idle runtime's processor use, and per-worker storage clean-up.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <latch>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <vesk/exceptions.h>
#include <vesk/storage.h>

#include "runtime_test_support.h"

namespace {

using vesk::internal::group_ptr;
using vesk_test::function_task;
using vesk_test::launch;
using vesk_test::worker_scope;

class WorkerCounts : public ::testing::TestWithParam<int> {};

TEST_P(WorkerCounts, EveryWorkerRunsTasksAndNoOtherThreadDoes) {
  const int workers = GetParam();
  worker_scope scope(workers);
  EXPECT_EQ(vesk_worker_count(), workers);
  EXPECT_EQ(vesk::worker_count(), workers);
  EXPECT_EQ(vesk::internal::num_exec_ctx(), workers);
  EXPECT_FALSE(vesk::internal::on_worker_thread());

  // As many tasks as workers, each blocking until all have started: only possible on distinct workers.
  std::mutex lock;
  std::set<std::thread::id> threads;
  std::latch all_started(workers);
  launch(workers, [&] {
    all_started.arrive_and_wait();
    std::lock_guard<std::mutex> guard(lock);
    threads.insert(std::this_thread::get_id());
  });
  EXPECT_EQ(static_cast<int>(threads.size()), workers);

  std::atomic<int> runs{0}, off_worker{0};
  std::set<std::thread::id> more_threads;
  launch(1000, [&] {
    runs.fetch_add(1);
    if (!vesk::internal::on_worker_thread()) off_worker.fetch_add(1);
    std::lock_guard<std::mutex> guard(lock);
    more_threads.insert(std::this_thread::get_id());
  });
  EXPECT_EQ(runs.load(), 1000);
  EXPECT_EQ(off_worker.load(), 0);
  for (const auto& id : more_threads) EXPECT_EQ(threads.count(id), 1u) << "a task ran outside the workers";
}

INSTANTIATE_TEST_SUITE_P(Runtime, WorkerCounts, ::testing::Values(1, 2, 4, 8));

TEST(StartStop, StoppedRuntimeRefusesTasksAndStartsAgain) {
  worker_scope scope(2);
  auto group = group_ptr::create();
  // Made while running, sent after the stop: it still runs, on the sending thread.
  auto* early = new (vesk::internal::task_allocator::allocate(sizeof(function_task)))
      function_task(group.get(), [] { EXPECT_FALSE(vesk::internal::on_worker_thread()); });
  group->add_task();

  EXPECT_EQ(vesk_stop(), 0);
  EXPECT_EQ(vesk_stop(), 0);
  EXPECT_EQ(vesk_worker_count(), 0);
  EXPECT_EQ(vesk::internal::num_exec_ctx(), 2) << "the last count stays published";
  try {
    function_task refused(group.get(), [] {});
    FAIL() << "a task was made on a stopped runtime";
  } catch (const vesk::api_exception& e) {
    EXPECT_STREQ(e.what(),
                 "vesk/internal/task/task: 730 task(): Cannot create task unless VESK runtime is initialized");
    EXPECT_EQ(e.type_name(), "vesk::api_exception");
  }
  vesk::internal::send_to_runtime(early, nullptr);
  EXPECT_EQ(group->pending_tasks(), 0);
  group->wait();

  EXPECT_EQ(vesk_start(3), 0);
  EXPECT_EQ(vesk_worker_count(), 3);
  std::atomic<int> runs{0};
  launch(5, [&] { runs.fetch_add(1); });
  EXPECT_EQ(runs.load(), 5);
}

TEST(StartStop, MisuseIsRefused) {
  worker_scope scope(2);
  EXPECT_EQ(vesk_start(4), -1);
  EXPECT_EQ(vesk_worker_count(), 2);
  try {
    vesk::start(4);
    FAIL() << "start on a running runtime";
  } catch (const vesk::api_exception& e) {
    EXPECT_EQ(e.message(), "Cannot start the runtime: it is already running.");
    EXPECT_EQ(e.function(), "start");
  }

  // From inside a task neither call may act: the worker would have to join itself.
  std::atomic<int> refused{0};
  launch(1, [&] {
    if (vesk_start(1) == -1) refused.fetch_add(1);
    if (vesk_stop() == -1) refused.fetch_add(1);
    try {
      vesk::stop();
    } catch (const vesk::api_exception& e) {
      if (e.message() == "Cannot stop the runtime from inside a task.") refused.fetch_add(1);
    }
  });
  EXPECT_EQ(refused.load(), 3);
  EXPECT_EQ(vesk_worker_count(), 2);
}

TEST(StartStop, DefaultCountComesFromTheEnvironmentOrTheProcessors) {
  worker_scope scope(1);
  const long online = sysconf(_SC_NPROCESSORS_ONLN);
  const char* saved = std::getenv("VESK_WORKERS");
  const std::string restore = saved != nullptr ? saved : "";
  struct setting {
    const char* text;
    long expected;
  };
  for (const setting s : {setting{"3", 3}, setting{"0", online}, setting{"-2", online}, setting{"5x", online},
                          setting{"", online}}) {
    setenv("VESK_WORKERS", s.text, 1);
    vesk_stop();
    EXPECT_EQ(vesk_start(0), 0);
    EXPECT_EQ(vesk_worker_count(), s.expected) << "VESK_WORKERS=\"" << s.text << "\"";
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

TEST(WorkerStorage, CleanupRunsAtStopForEachWorkerThatSetAValue) {
  constexpr int workers = 4;
  worker_scope scope(workers);
  {
    std::lock_guard<std::mutex> guard(cleaned_lock);
    cleaned.clear();
  }
  vesk::internal::storage_key key{};
  ASSERT_EQ(vesk::internal::sls_key_create(&key, record_cleanup), 0);
  EXPECT_EQ(vesk::internal::sls_get_specific(key), nullptr);

  std::atomic<int> next_value{0}, empty_at_first{0}, kept{0};
  std::latch all_started(workers);
  launch(workers, [&] {
    all_started.arrive_and_wait();
    if (vesk::internal::sls_get_specific(key) == nullptr) empty_at_first.fetch_add(1);
    vesk::internal::sls_set_specific(key, new int(next_value.fetch_add(1)));
  });
  launch(3 * workers, [&] {
    if (vesk::internal::sls_get_specific(key) != nullptr) kept.fetch_add(1);
  });
  EXPECT_EQ(empty_at_first.load(), workers);
  EXPECT_EQ(kept.load(), 3 * workers);
  {
    std::lock_guard<std::mutex> guard(cleaned_lock);
    EXPECT_TRUE(cleaned.empty()) << "clean-up ran before the workers ended";
  }

  vesk_stop();
  std::lock_guard<std::mutex> guard(cleaned_lock);
  std::sort(cleaned.begin(), cleaned.end());
  EXPECT_EQ(cleaned, (std::vector<int>{0, 1, 2, 3}));
}

}  // namespace
