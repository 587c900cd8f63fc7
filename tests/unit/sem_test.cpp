#include "vek_pal/sem.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <atomic>

#include "records.h"

namespace {

long ms_since(const timespec& start) {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (now.tv_sec - start.tv_sec) * 1000 + (now.tv_nsec - start.tv_nsec) / 1'000'000;
}

// A wait of `ms` within this second's remainder ends with 17, one that goes past it with -1 at once.
void sleep_until_early_in_a_second() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  if (now.tv_nsec > 500'000'000) usleep(static_cast<useconds_t>((1'000'000'000 - now.tv_nsec) / 1000 + 5000));
}

class NamedSem : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(vek_pal_sem_init(&sem_, "sem_test", 1, 0), 0); }
  void TearDown() override { EXPECT_EQ(vek_pal_sem_deinit(&sem_), 0); }
  int wait(unsigned ms) { return vek_pal_sem_wait(&sem_, &ms); }

  vek_pal_sem_t sem_ = nullptr;
};

}  // namespace

TEST(SemInit, TurnsDownBadArgumentsAndLeavesTheHandleAlone) {
  const struct {
    const char* name;
    unsigned max, init;
    int code;
    const char* text;
  } rows[] = {
      {nullptr, 1, 1, 5, "The input parameters is incorrect"},
      {"123456789-123456789-123456789-123456789-123456789-123456789-12345", 1, 1, 22, "the input name len is too long"},
      {"a", 1, 2, 7, "the input max_value len is less than init_value"},
      {"no/slash", 1, 1, -1, "The sem_open failed"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    vek_pal_sem_t sem = nullptr;
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_sem_init(&sem, row.name, row.max, row.init), row.code); });
    EXPECT_TRUE(seen.has("SEM", row.text));
    EXPECT_EQ(sem, nullptr);
  }
  vek_pal_sem_t sem = nullptr;
  EXPECT_EQ(vek_pal_sem_init(&sem, "123456789-123456789-123456789-123456789-123456789-123456789-1234", 1, 1), 0);
  EXPECT_EQ(vek_pal_sem_deinit(&sem), 0);
  EXPECT_EQ(vek_pal_sem_deinit(&sem), 106);
  EXPECT_EQ(vek_pal_sem_deinit(nullptr), 7);
  EXPECT_EQ(vek_pal_sem_post(nullptr), 5);
  EXPECT_EQ(vek_pal_sem_wait(nullptr, nullptr), 5);
  EXPECT_EQ(vek_pal_sem_wait(&sem, nullptr), 5);
}

TEST_F(NamedSem, OneNameIsOneSemaphore) {
  vek_pal_sem_t other = nullptr;
  ASSERT_EQ(vek_pal_sem_init(&other, "sem_test", 9, 9), 0);
  EXPECT_EQ(wait(0), -1) << "the second opener's count must not apply";
  EXPECT_EQ(vek_pal_sem_post(other), 0);
  EXPECT_EQ(wait(0), 0);
  EXPECT_EQ(vek_pal_sem_deinit(&other), 0);

  // The name is gone: the next opener makes a fresh one.
  ASSERT_EQ(vek_pal_sem_init(&other, "sem_test", 9, 9), 0);
  const unsigned none = 0;
  EXPECT_EQ(vek_pal_sem_wait(&other, &none), 0);
  EXPECT_EQ(vek_pal_sem_deinit(&other), 0);
}

TEST_F(NamedSem, WakesAWaiterInAnotherProcess) {
  const pid_t child = fork();
  if (child == 0) {
    usleep(20'000);
    vek_pal_sem_t mine = nullptr;
    _exit(vek_pal_sem_init(&mine, "sem_test", 1, 0) != 0 || vek_pal_sem_post(mine) != 0);
  }
  EXPECT_EQ(vek_pal_sem_wait(&sem_, nullptr), 0);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST_F(NamedSem, EndsAWaitWhenItsLimitHasPassed) {
  sleep_until_early_in_a_second();
  timespec start;
  clock_gettime(CLOCK_MONOTONIC, &start);
  const auto seen = records_of([&] { EXPECT_EQ(wait(200), 17); });
  EXPECT_GE(ms_since(start), 199);
  EXPECT_TRUE(seen.has_part("SEM", "timeout cause: 110 "));
}

TEST_F(NamedSem, EndsAtOnceWhenTheNanosecondsPassASecond) {
  timespec now, start;
  clock_gettime(CLOCK_REALTIME, &now);
  if (now.tv_nsec < 500'000'000) usleep(static_cast<useconds_t>((500'000'000 - now.tv_nsec) / 1000 + 5000));
  clock_gettime(CLOCK_REALTIME, &now);
  if (now.tv_nsec > 950'000'000 || now.tv_nsec < 2'000'000) FAIL() << "the machine stood still for half a second";
  clock_gettime(CLOCK_MONOTONIC, &start);
  EXPECT_EQ(wait(999), -1);
  EXPECT_LT(ms_since(start), 400);
}

TEST_F(NamedSem, GoesOnWaitingAfterASignal) {
  struct sigaction action = {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  sleep_until_early_in_a_second();
  ualarm(50'000, 0);
  EXPECT_EQ(wait(200), 17);
}
