// The runtime's helpers: exception texts, formatting and the log line, the fatal report of a
// cancellation, task and aligned memory, and the allocation-failure seams.
#include <gtest/gtest.h>
#include <vesk/exceptions.h>
#include <vesk/log.h>
#include <vesk/storage.h>
#include <vesk/testing.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "runtime_test_support.h"

namespace {

using vesk::internal::task_allocator;

TEST(Exceptions, TextsAccessorsAndTypeNames) {
  const vesk::tls_exception tls("Unable to allocate storage key.", "vesk/scopedstorage", 141, "init_key");
  EXPECT_STREQ(tls.what(), "vesk/scopedstorage: 141 init_key(): Unable to allocate storage key.");
  EXPECT_TRUE(tls.message() == "Unable to allocate storage key." && tls.file() == "vesk/scopedstorage");
  EXPECT_TRUE(tls.line() == 141u && tls.function() == "init_key" && tls.type_name() == "vesk::tls_exception");

  const vesk::error_exception plain(std::string(3000, 'x'), "f", 4000000000u, "g");
  EXPECT_EQ(std::string(plain.what()), "f: 4000000000 g(): " + std::string(3000, 'x'));
  EXPECT_EQ(plain.type_name(), "vesk::error_exception");

  const vesk::api_exception api("m", "f", 1, "g");
  const vesk::vesk_exception& base = api;
  EXPECT_STREQ(base.what(), "f: 1 g(): m");
  EXPECT_EQ(vesk::internal::demangler::do_work(typeid(std::vector<int>)), "std::vector<int, std::allocator<int> >");
}

TEST(Log, OneLinePerCallOnStandardError) {
  ::testing::internal::CaptureStderr();
  vesk_android_logprintf(6, "tag", "%s %d", "first", 1);
  vesk_android_logprintf(6, "tag", "second");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "first 1\nsecond\n");
}

TEST(CancelNotifyDeathTest, ReportsTheFatalErrorAndExitsWithOne) {
  auto group = vesk::internal::group_ptr::create();
  const unsigned number = vesk::internal::vesk_log_counter.load() + 1;
  const std::string where = " vesk/internal/task/cputaskinternal:501";
  const std::string report = "\033\\[31mFATAL " + vesk::internal::strprintf("%8x", number) + " t[0-9a-f]+" + where +
                             " do_cancel_notify\\(\\) Body has no cancel_notify\\(\\) method\\.\n" + "t[0-9a-f]+" +
                             where + " \\*{10}\n" + "t[0-9a-f]+" + where + " - Terminating with exit\\(1\\)\n" +
                             "t[0-9a-f]+" + where + " \\*{10}\033\\[0m\n";
  EXPECT_EXIT(
      {
        vesk_test::function_task task(group.get(), [] {});
        task.do_cancel_notify();
      },
      ::testing::ExitedWithCode(1), "^" + report + "$");
}

// Blocks are 16-byte aligned and a freed one is reused at once; blocks freed on a thread that then ends
// go to the shared depot, from which a thread whose own cache has run dry takes them back.
TEST(TaskMemory, BlocksAreReusedThroughTheDepot) {
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
  std::vector<void*> freed, again;
  for (int i = 0; i < 200; ++i) freed.push_back(task_allocator::allocate(64));
  std::thread([&] {
    for (void* b : freed) task_allocator::deallocate(b);
  }).join();
  for (int i = 0; i < 200; ++i) again.push_back(task_allocator::allocate(64));
  EXPECT_TRUE(std::any_of(again.begin(), again.end(),
                          [&](void* p) { return std::find(freed.begin(), freed.end(), p) != freed.end(); }));
  for (void* b : again) task_allocator::deallocate(b);
}

TEST(AlignedMemory, AlignmentsAreHonoured) {
  for (unsigned alignment : {1u, 3u, 16u, 64u, 4096u}) {
    void* p = vesk::internal::vesk_aligned_malloc(alignment, 1048576);
    ASSERT_NE(p, nullptr);
    unsigned power = 1;
    while (power < alignment) power *= 2;
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % power, 0u) << "alignment " << alignment;
    std::memset(p, 0, 1048576);
    vesk::internal::vesk_aligned_free(p);
  }
}

TEST(FailureSeams, CallsFailByTheirBitAndThePlanEndsAfterSixtyFour) {
  vesk::testing::fail_task_allocations(0b101);
  std::vector<void*> got;
  for (int i = 0; i < 4; ++i) got.push_back(task_allocator::allocate(32));
  EXPECT_TRUE(got[0] == nullptr && got[1] != nullptr && got[2] == nullptr && got[3] != nullptr);
  for (void* p : got) task_allocator::deallocate(p);

  vesk::testing::fail_aligned_allocations(std::uint64_t{1} << 63);
  for (int i = 0; i < 63; ++i) vesk::internal::vesk_aligned_free(vesk::internal::vesk_aligned_malloc(64, 64));
  EXPECT_EQ(vesk::internal::vesk_aligned_malloc(64, 64), nullptr) << "call 63";
  void* after = vesk::internal::vesk_aligned_malloc(64, 64);
  EXPECT_NE(after, nullptr) << "call 64 is past the plan";
  vesk::internal::vesk_aligned_free(after);

  vesk::testing::fail_aligned_allocations(~std::uint64_t{0});
  vesk::testing::fail_aligned_allocations(0);
  after = vesk::internal::vesk_aligned_malloc(64, 64);
  EXPECT_NE(after, nullptr) << "a zero mask ends the plan";
  vesk::internal::vesk_aligned_free(after);

  // Concurrent callers share one plan: exactly 64 failures in all.
  vesk::testing::fail_task_allocations(~std::uint64_t{0});
  std::atomic<int> failures{0};
  std::vector<std::thread> callers;
  for (int t = 0; t < 4; ++t)
    callers.emplace_back([&] {
      for (int i = 0; i < 40; ++i) {
        void* p = task_allocator::allocate(32);
        if (p == nullptr) failures.fetch_add(1);
        task_allocator::deallocate(p);
      }
    });
  for (auto& c : callers) c.join();
  EXPECT_EQ(failures.load(), 64);
  vesk::testing::fail_task_allocations(0);
}

}  // namespace
