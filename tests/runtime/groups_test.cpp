// Groups: ids and the pool, the task count's hold on a group, taking back unsent tasks, the null handle,
// and exceptions that escape tasks.
#include <gtest/gtest.h>
#include <vesk/exceptions.h>
#include <vesk/testing.h>

#include <atomic>
#include <stdexcept>
#include <vector>

#include "runtime_test_support.h"

namespace {

using namespace vesk_test;

// Freed ids come back lowest first, in the pool of 32 and beyond it; all groups can be in flight at once.
TEST(Groups, LowestFreeIdAndMoreGroupsThanThePoolHolds) {
  worker_scope scope(2);
  std::vector<group_ptr> groups;
  for (int i = 0; i < 100; ++i) {
    groups.push_back(group_ptr::create());
    EXPECT_TRUE(groups.back()->id() == std::uint32_t(i) && groups.back()->is_leaf());
  }
  groups[40].reset();
  groups[5].reset();
  groups[5] = group_ptr::create();
  groups[40] = group_ptr::create();
  EXPECT_TRUE(groups[5]->id() == 5u && groups[40]->id() == 40u);
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

TEST(Groups, EmptyPointerThrowsTheDocumentedException) {
  group_ptr group;
  try {
    group->wait();
    FAIL() << "an empty group pointer was followed";
  } catch (const vesk::api_exception& e) {
    EXPECT_STREQ(e.what(), "vesk/groupptr: 103 operator->(): null group pointer.");
    EXPECT_TRUE(e.message() == "null group pointer." && e.file() == "vesk/groupptr" && e.line() == 103u);
  }
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
  EXPECT_THROW(launch(2, [] { launch(3, [] { throw std::length_error("inner"); }); }), std::length_error);
  std::atomic<int> after{0};
  launch(4, [&] { after.fetch_add(1); });
  EXPECT_EQ(after.load(), 4);
}

}  // namespace
