#include "vek_pal/thread.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <iterator>
#include <string>

#include "records.h"
#include "vek_pal/log.h"

namespace {

void* set_flag(void* flag) {
  static_cast<std::atomic<bool>*>(flag)->store(true);
  return nullptr;
}

void* log_forever(void* count) {
  for (;;) {
    vek_pal_thread_t none = nullptr;
    vek_pal_thread_id(&none);  // writes a record, under the log's mutex
    vek_pal_thread_msleep(0);
    static_cast<std::atomic<int>*>(count)->fetch_add(1);
  }
  return nullptr;
}

void wait_for(const std::atomic<bool>& flag) {
  while (!flag) usleep(100);
}

}  // namespace

TEST(Thread, TurnsDownBadArgumentsAndLeavesTheHandleAlone) {
  const std::string longest(128, 'n'), too_long(129, 'n');
  const vek_pal_thread_attr small_stack = {0, 8192}, no_stack = {3, 0};
  const struct {
    const char* name;
    const vek_pal_thread_attr* attr;
    int code;
    const char* text;
  } rows[] = {
      {nullptr, nullptr, 7, "the th or name or attr is NULL!"},
      {too_long.c_str(), nullptr, 22, "the name is too long!"},
      {"small", &small_stack, -1, "The stack size is less than PTHREAD_STACK_MIN bytes."},
      {"small", &small_stack, -1, "small thread create failed ret: 505"},
      {"none", &no_stack, -1, "none thread create failed ret: 505"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    vek_pal_thread_t thread = nullptr;
    const auto seen =
        records_of([&] { EXPECT_EQ(vek_pal_thread_create(&thread, row.name, row.attr, set_flag, nullptr), row.code); });
    EXPECT_TRUE(seen.has("THREAD", row.text)) << seen;
    EXPECT_EQ(thread, nullptr);
  }
  EXPECT_EQ(vek_pal_thread_create(nullptr, "a", nullptr, set_flag, nullptr), 7);
  vek_pal_thread_t none = nullptr;
  EXPECT_EQ(vek_pal_thread_delete(nullptr), 7);
  EXPECT_EQ(vek_pal_thread_delete(&none), 7);
  EXPECT_EQ(vek_pal_thread_suspend(none), 10);
  EXPECT_EQ(vek_pal_thread_resume(none), 10);

  std::atomic<bool> ran = false;
  EXPECT_EQ(vek_pal_thread_create(&none, longest.c_str(), nullptr, set_flag, &ran), 0);
  wait_for(ran);
  EXPECT_EQ(vek_pal_thread_delete(&none), 0);
}

TEST(Thread, RunsWithAnAttributeAndNamesWhatThePolicyIgnores) {
  const vek_pal_thread_attr attr = {5, 64 * 1024};
  std::atomic<bool> ran = false;
  vek_pal_thread_t thread = nullptr;
  const auto seen = records_of([&] {
    ASSERT_EQ(vek_pal_thread_create(&thread, "worker", &attr, set_flag, &ran), 0);
    wait_for(ran);
    EXPECT_NE(vek_pal_thread_id(&thread), pthread_t{});
    EXPECT_EQ(vek_pal_thread_delete(&thread), 0);
  });
  EXPECT_EQ(thread, nullptr);
  EXPECT_TRUE(seen.has("THREAD", "The current scheduling policy does not support priority"));
  EXPECT_TRUE(seen.has_part("THREAD", "worker thread create success, thread_id: 0x"));
  EXPECT_TRUE(seen.has_part("THREAD", "thread_callback_in thread_info->stackaddr is 0x"));
  EXPECT_TRUE(seen.has_part("THREAD", "success."));
}

// The id of a thread that has ended soon belongs to another one: deleting the old handle must not cancel that.
TEST(Thread, DeletingAFinishedThreadCancelsNobody) {
  std::atomic<bool> ran = false;
  vek_pal_thread_t finished = nullptr, bystander = nullptr;
  ASSERT_EQ(vek_pal_thread_create(&finished, "finished", nullptr, set_flag, &ran), 0);
  wait_for(ran);
  usleep(50'000);  // its stack, and so its id, is free for the next
  std::atomic<int> count = 0;
  ASSERT_EQ(vek_pal_thread_create(&bystander, "bystander", nullptr, log_forever, &count), 0);
  ASSERT_EQ(vek_pal_thread_delete(&finished), 0);
  const int before = count;
  for (int i = 0; i < 1000 && count < before + 100; i++) usleep(1000);
  EXPECT_GE(count, before + 100) << "the bystander was cancelled";
  EXPECT_EQ(vek_pal_thread_delete(&bystander), 0);
}

// A thread that is cancelled inside a record would leave the log locked for good.
TEST(Thread, AThousandDeletedThreadsThatLogLeaveTheLogWorking) {
  static std::atomic<int> counts[1000];  // a thread ends some time after it was deleted
  for (size_t i = 0; i < std::size(counts); i++) {
    vek_pal_thread_t thread = nullptr;
    ASSERT_EQ(vek_pal_thread_create(&thread, "logger", nullptr, log_forever, &counts[i]), 0);
    if (i % 2 == 0)
      while (counts[i] == 0) usleep(10);
    ASSERT_EQ(vek_pal_thread_delete(&thread), 0);
  }
  const auto seen = records_of([] { vek_pal_thread_id(nullptr); });
  EXPECT_TRUE(seen.has("THREAD", "the th is NULL"));
}

TEST(Thread, MayDeleteItsOwnHandle) {
  static vek_pal_thread_t self;
  static std::atomic<bool> deleted, survived;
  self = nullptr;
  ASSERT_EQ(vek_pal_thread_create(
                &self, "self", nullptr,
                [](void*) -> void* {
                  deleted = vek_pal_thread_delete(&self) == 0;
                  usleep(1);  // a cancellation point: the end
                  survived = true;
                  return nullptr;
                },
                nullptr),
            0);
  wait_for(deleted);
  usleep(20'000);
  EXPECT_FALSE(survived);
}
