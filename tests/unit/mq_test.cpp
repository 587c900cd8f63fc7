#include "vek_pal/mq.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/msg.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "records.h"

namespace {

constexpr unsigned kNoWait = 0;

int id_of(const Records& creation) {
  const std::string& text = creation.all.back().text;
  return std::stoi(text.substr(text.rfind(' ')));
}

// Until the one other thread of this process has slept for a while.
void wait_for_sleeper() {
  const std::string self = std::to_string(getpid());
  for (int asleep = 0; asleep < 5; usleep(5000)) {
    bool sleeps = false;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
      std::string stat;
      std::getline(std::ifstream(task.path() / "stat"), stat);
      if (task.path().filename() != self && stat.find(") S ") != std::string::npos) sleeps = true;
    }
    asleep = sleeps ? asleep + 1 : 0;
  }
}

class Queue : public testing::Test {
 protected:
  void SetUp() override {
    const auto seen = records_of([&] { ASSERT_EQ(vek_pal_mq_create(10, 100, "test", &mq), 0); });
    id = id_of(seen);
  }
  void TearDown() override {
    if (mq != nullptr) vek_pal_mq_delete(&mq);
  }

  // What comes out next, or the code.
  std::string get(const unsigned* wait = &kNoWait) {
    char buf[1040];
    unsigned size = 77;
    const int code = vek_pal_mq_get(mq, buf, &size, wait);
    return code == 0 ? std::string(buf, size) : std::to_string(code);
  }
  int put(const std::string& text, const unsigned* wait = &kNoWait) {
    return vek_pal_mq_put(mq, text.data(), static_cast<unsigned>(text.size()), wait);
  }

  vek_pal_mq_t mq = nullptr;
  int id = -1;
};

}  // namespace

TEST_F(Queue, HandsMessagesOnInTheirOrder) {
  const std::string with_zero("a\0b", 3);
  const auto seen = records_of([&] {
    for (const std::string& text : {with_zero, std::string(1, '\0'), std::string(100, 'x')}) EXPECT_EQ(put(text), 0);
    EXPECT_EQ(get(), with_zero);
    EXPECT_EQ(get(), std::string(1, '\0'));
    EXPECT_EQ(get(), std::string(100, 'x'));
  });
  EXPECT_TRUE(seen.has("MQ", "mq: test, id: " + std::to_string(id) + " put success"));
  EXPECT_TRUE(seen.has("MQ", "mq: test, id: " + std::to_string(id) + " get success"));
}

TEST_F(Queue, HasTheStatedCapacity) {
  msqid_ds settings;
  ASSERT_EQ(msgctl(id, IPC_STAT, &settings), 0);
  EXPECT_EQ(settings.msg_qbytes, 1040u);
  EXPECT_EQ(settings.msg_perm.mode & 0777, 0666);
}

TEST_F(Queue, IsFullOrEmptyWithoutWaiting) {
  for (int i = 0; i < 10; i++) ASSERT_EQ(put(std::string(100, 'x')), 0);
  ASSERT_EQ(put(std::string(40, 'y')), 0) << "the capacity counts bytes of payload";
  const auto full = records_of([&] { EXPECT_EQ(put("z"), 308); });
  EXPECT_TRUE(full.has("MQ", "msgsnd failed: Resource temporarily unavailable,mq full.")) << full;
  for (int i = 0; i < 11; i++) EXPECT_NE(get(), "307");
  const auto empty = records_of([&] { EXPECT_EQ(get(), "307"); });
  EXPECT_TRUE(empty.has("MQ", "msgrcv failed: No message of desired type, queue is empty.")) << empty;
}

TEST_F(Queue, WaitsForAMessageAndForRoom) {
  const unsigned yes = 1;
  std::thread writer([&] {
    usleep(20'000);
    EXPECT_EQ(put("hello"), 0);
  });
  EXPECT_EQ(get(nullptr), "hello");
  writer.join();

  ASSERT_EQ(put(std::string(1000, 'x')), 0);
  std::thread reader([&] {
    usleep(20'000);
    EXPECT_EQ(get(), std::string(1000, 'x'));
  });
  EXPECT_EQ(put(std::string(100, 'y'), &yes), 0);
  reader.join();
  EXPECT_EQ(get(&yes), std::string(100, 'y'));
}

TEST_F(Queue, DeletionWakesWhoeverWaits) {
  int code = 0;
  std::thread reader([&code, queue = mq] {
    char buf[100];
    unsigned size;
    code = vek_pal_mq_get(queue, buf, &size, nullptr);
  });
  wait_for_sleeper();
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_mq_delete(&mq), 0);
    reader.join();
  });
  EXPECT_EQ(code, 307);
  EXPECT_EQ(mq, nullptr);
  EXPECT_TRUE(seen.has("MQ", "mq: test, id: " + std::to_string(id) + " delete."));
  EXPECT_TRUE(seen.has("MQ", "msgrcv failed: Identifier removed")) << seen;
}

TEST_F(Queue, ACancelledReaderFreesItsFrame) {
  const auto read_one = [](void* queue) -> void* {
    char buf[100];
    unsigned size;
    vek_pal_mq_get(static_cast<vek_pal_mq_t>(queue), buf, &size, nullptr);
    return nullptr;
  };
  const auto seen = records_of([&] {
    pthread_t reader;
    ASSERT_EQ(pthread_create(&reader, nullptr, read_one, mq), 0);
    wait_for_sleeper();
    ASSERT_EQ(pthread_cancel(reader), 0);
    void* result;
    ASSERT_EQ(pthread_join(reader, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
  });
  ASSERT_EQ(seen.all.size(), 2u) << seen;
  const std::string& taken = seen.all[0].text;  // "malloc: ADDRESS SIZE"
  EXPECT_EQ(seen.all[1].text, "free: " + taken.substr(8, taken.rfind(' ') - 8));
}

TEST_F(Queue, LeavesATooLongMessageInside) {
  ASSERT_EQ(put(std::string(1037, 'x')), 0);
  EXPECT_TRUE(records_of([&] { EXPECT_EQ(get(), "307"); }).has("MQ", "msgrcv failed: Argument list too long"));
  EXPECT_EQ(put("yyy"), 0);
  EXPECT_EQ(put("z"), 308);
}

TEST(QueueCreation, ChecksNamesAndNeverSharesAQueue) {
  vek_pal_mq_t one = nullptr, two = nullptr;
  const std::string longest(64, 'n');
  EXPECT_TRUE(records_of([&] {
                EXPECT_EQ(vek_pal_mq_create(1, 8, (longest + "n").c_str(), &one), 22);
              }).has("MQ", "the input name len is too long."));
  EXPECT_EQ(one, nullptr);
  ASSERT_EQ(vek_pal_mq_create(1, 8, longest.c_str(), &one), 0);
  ASSERT_EQ(vek_pal_mq_create(1, 8, longest.c_str(), &two), 0);
  EXPECT_EQ(vek_pal_mq_put(one, "x", 1, nullptr), 0);
  char buf[12];
  unsigned size;
  EXPECT_EQ(vek_pal_mq_get(two, buf, &size, &kNoWait), 307);
  EXPECT_EQ(vek_pal_mq_delete(&one), 0);
  EXPECT_EQ(vek_pal_mq_delete(&two), 0);
}

TEST(QueueCreation, NeedsThePrivilegeForALargeCapacityAndLeavesTheSystemsQueue) {
  for (const unsigned max_msgs : {163u, 0x04EC4EC5u}) {  // in 32 bits, the second capacity would be 8
    vek_pal_mq_t mq = nullptr;
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_mq_create(max_msgs, 100, "big", &mq), -1); });
    EXPECT_TRUE(seen.has("MQ", "msgctl IPC_SET failed: Operation not permitted")) << seen;
    EXPECT_TRUE(seen.has_part("MQ", "free 0x"));
    EXPECT_EQ(mq, nullptr);
  }
  msginfo info;
  const int highest = msgctl(0, MSG_INFO, reinterpret_cast<msqid_ds*>(&info));
  EXPECT_EQ(info.msgpool, 2);
  for (int i = 0; i <= highest; i++) {
    msqid_ds ignored;
    msgctl(msgctl(i, MSG_STAT, &ignored), IPC_RMID, nullptr);
  }
}

TEST(QueueArguments, AreChecked) {
  vek_pal_mq_t none = nullptr, mq = nullptr;
  char buf[100];
  unsigned size;
  ASSERT_EQ(vek_pal_mq_create(1, 8, "test", &mq), 0);
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_mq_create(1, 8, nullptr, &none), 7);
    EXPECT_EQ(vek_pal_mq_create(1, 8, "x", nullptr), 7);
    EXPECT_EQ(vek_pal_mq_delete(nullptr), 5);
    EXPECT_EQ(vek_pal_mq_delete(&none), 5);
    EXPECT_EQ(vek_pal_mq_put(nullptr, "x", 1, nullptr), 7);
    EXPECT_EQ(vek_pal_mq_put(mq, nullptr, 1, nullptr), 7);
    EXPECT_EQ(vek_pal_mq_put(mq, "x", 0, nullptr), 7);
    EXPECT_EQ(vek_pal_mq_get(nullptr, buf, &size, nullptr), 7);
    EXPECT_EQ(vek_pal_mq_get(mq, nullptr, &size, nullptr), 7);
    EXPECT_EQ(vek_pal_mq_get(mq, buf, nullptr, nullptr), 7);
  });
  EXPECT_EQ(seen.all.size(), 10u);
  for (const char* text :
       {"the mq or name is NULL", "the mq is NULL", "The input parameter is incorrect.", "Invalid parameters"})
    EXPECT_TRUE(seen.has("MQ", text)) << text;
  EXPECT_EQ(vek_pal_mq_delete(&mq), 0);
}
