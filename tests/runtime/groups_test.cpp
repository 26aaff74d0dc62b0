// Groups: ids and the pool, the task count's hold on a group, taking back unsent tasks, the null
// handle, and exceptions that escape tasks.
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include <vesk/exceptions.h>
#include <vesk/testing.h>

#include "runtime_test_support.h"

namespace {

using vesk::internal::group_ptr;
using vesk_test::launch;
using vesk_test::worker_scope;
using vesk_test::send;

TEST(GroupIds, LowestFreeIdAndMoreGroupsThanThePoolHolds) {
  worker_scope scope(2);
  std::vector<group_ptr> groups;
  for (int i = 0; i < 100; ++i) {
    groups.push_back(group_ptr::create());
    EXPECT_EQ(groups.back()->id(), static_cast<std::uint32_t>(i));
    EXPECT_TRUE(groups.back()->is_leaf());
  }
  // Freed ids come back lowest first, in the pool and beyond it.
  groups[40].reset();
  groups[5].reset();
  groups[5] = group_ptr::create();
  groups[40] = group_ptr::create();
  EXPECT_EQ(groups[5]->id(), 5u);
  EXPECT_EQ(groups[40]->id(), 40u);

  // All of them in flight at once.
  std::vector<std::atomic<int>> runs(groups.size());
  for (std::size_t g = 0; g < groups.size(); ++g)
    for (int t = 0; t < 3; ++t) send(groups[g], [&runs, g] { runs[g].fetch_add(1); });
  for (std::size_t g = 0; g < groups.size(); ++g) {
    groups[g]->wait();
    EXPECT_EQ(runs[g].load(), 3) << "group " << g;
  }
}

TEST(GroupLifetime, TasksInFlightKeepTheirGroupAfterTheLauncherLetsGo) {
  worker_scope scope(2);
  std::atomic<bool> release{false};
  auto group = group_ptr::create();
  const std::uint32_t id = group->id();
  for (int t = 0; t < 3; ++t) send(group, [&] { release.wait(false); });
  group.reset();  // what a launcher does when an exception skips its wait
  EXPECT_EQ(group.get(), nullptr);
  EXPECT_NE(group_ptr::create()->id(), id) << "the group was freed under its running tasks";

  release.store(true);
  release.notify_all();
  vesk_stop();  // waits for every task
  vesk_start(2);
  EXPECT_EQ(group_ptr::create()->id(), id) << "the last task did not free the group";
}

TEST(GroupLifetime, UnsentTaskIsTakenBack) {
  worker_scope scope(2);
  auto group = group_ptr::create();
  const std::uint32_t id = group->id();
  group->add_task();
  EXPECT_EQ(group->pending_tasks(), 1);
  group->remove_unsent_task();
  EXPECT_EQ(group->pending_tasks(), 0);
  group->wait();
  // Taking back the last task dropped the count's reference too, so the id is free again.
  group.reset();
  EXPECT_EQ(group_ptr::create()->id(), id);

  // The allocation seam drops the second of three tasks the way a launcher does.
  std::atomic<int> runs{0};
  group = group_ptr::create();
  vesk::testing::fail_task_allocations(0b010);
  EXPECT_TRUE(send(group, [&] { runs.fetch_add(1); }));
  EXPECT_FALSE(send(group, [&] { runs.fetch_add(1); }));
  EXPECT_TRUE(send(group, [&] { runs.fetch_add(1); }));
  vesk::testing::fail_task_allocations(0);
  group->wait();
  EXPECT_EQ(runs.load(), 2);
}

TEST(GroupPointer, EmptyPointerThrowsTheDocumentedException) {
  auto group = group_ptr::create();
  group.reset();
  EXPECT_EQ(group.get(), nullptr);
  try {
    group->wait();
    FAIL() << "an empty group pointer was followed";
  } catch (const vesk::api_exception& e) {
    EXPECT_STREQ(e.what(), "vesk/groupptr: 103 operator->(): null group pointer.");
    EXPECT_EQ(e.message(), "null group pointer.");
    EXPECT_EQ(e.file(), "vesk/groupptr");
    EXPECT_EQ(e.line(), 103u);
    EXPECT_EQ(e.function(), "operator->");
    EXPECT_EQ(e.type_name(), "vesk::api_exception");
  }
}

TEST(TaskExceptions, WaitRaisesTheTaskExceptionAfterEveryTaskRan) {
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
  EXPECT_EQ(runs.load(), 10);
  EXPECT_EQ(group->pending_tasks(), 0);
  EXPECT_THROW(group->wait(), std::runtime_error);

  // Raised by a nested wait inside a task, it travels on to the outer launcher.
  EXPECT_THROW(launch(2, [] { launch(3, [] { throw std::length_error("inner"); }); }), std::length_error);
  // Workers are unharmed.
  std::atomic<int> after{0};
  launch(4, [&] { after.fetch_add(1); });
  EXPECT_EQ(after.load(), 4);
}

}  // namespace
