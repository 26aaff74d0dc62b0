// Starting and stopping the runtime: worker counts, the refusal of tasks while stopped, misuse of the
// start/stop API, the default count, and per-worker storage clean-up.
#include <gtest/gtest.h>
#include <unistd.h>
#include <vesk/exceptions.h>
#include <vesk/storage.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "runtime_test_support.h"

namespace {

using namespace vesk_test;

class WorkerCounts : public ::testing::TestWithParam<int> {};

// As many tasks as workers, each blocking until all have started, can only run on distinct workers; then
// many more tasks run on those workers and on no other thread.
TEST_P(WorkerCounts, EveryWorkerRunsTasksAndNoOtherThreadDoes) {
  const int workers = GetParam();
  worker_scope scope(workers);
  EXPECT_TRUE(vesk_worker_count() == workers && vesk::worker_count() == workers);
  EXPECT_EQ(vesk::internal::num_exec_ctx(), workers);
  EXPECT_FALSE(vesk::internal::on_worker_thread());
  std::mutex lock;
  std::set<std::thread::id> first, later;
  std::latch all_started(workers);
  launch(workers, [&] {
    all_started.arrive_and_wait();
    std::lock_guard<std::mutex> guard(lock);
    first.insert(std::this_thread::get_id());
  });
  EXPECT_EQ(int(first.size()), workers);
  std::atomic<int> runs{0};
  launch(1000, [&] {
    if (vesk::internal::on_worker_thread()) runs.fetch_add(1);
    std::lock_guard<std::mutex> guard(lock);
    later.insert(std::this_thread::get_id());
  });
  EXPECT_EQ(runs.load(), 1000);
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

// Starting a running runtime is refused; from inside a task neither call may act (the worker would have
// to join itself).
TEST(StartStop, MisuseIsRefused) {
  worker_scope scope(2);
  EXPECT_EQ(vesk_start(4), -1);
  try {
    vesk::start(4);
    FAIL() << "start on a running runtime";
  } catch (const vesk::api_exception& e) {
    EXPECT_TRUE(e.message() == "Cannot start the runtime: it is already running." && e.function() == "start");
  }
  std::atomic<int> refused{0};
  launch(1, [&] {
    refused += (vesk_start(1) == -1) + (vesk_stop() == -1);
    try {
      vesk::stop();
    } catch (const vesk::api_exception& e) {
      refused += e.message() == "Cannot stop the runtime from inside a task.";
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

// Each worker's value is kept across tasks and cleaned up when the worker ends, not before.
TEST(WorkerStorage, CleanupRunsAtStopForEachWorkerThatSetAValue) {
  constexpr int workers = 4;
  worker_scope scope(workers);
  vesk::internal::storage_key key{};
  ASSERT_EQ(vesk::internal::sls_key_create(&key, record_cleanup), 0);
  std::atomic<int> next_value{0}, empty_at_first{0}, kept{0};
  std::latch all_started(workers);
  launch(workers, [&] {
    all_started.arrive_and_wait();
    empty_at_first += vesk::internal::sls_get_specific(key) == nullptr;
    vesk::internal::sls_set_specific(key, new int(next_value.fetch_add(1)));
  });
  launch(3 * workers, [&] { kept += vesk::internal::sls_get_specific(key) != nullptr; });
  EXPECT_TRUE(empty_at_first.load() == workers && kept.load() == 3 * workers);
  EXPECT_TRUE(cleaned.empty()) << "clean-up ran before the workers ended";
  vesk_stop();
  std::lock_guard<std::mutex> guard(cleaned_lock);
  std::sort(cleaned.begin(), cleaned.end());
  EXPECT_EQ(cleaned, (std::vector<int>{0, 1, 2, 3}));
}

}  // namespace
