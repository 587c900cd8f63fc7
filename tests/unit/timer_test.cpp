#include "vek_pal/timer.h"

#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "records.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// What the system refuses with, 0 to let calls through.
std::function<int(clockid_t)> g_create_error;
int g_timer_error = 0;

std::vector<clockid_t> g_asked;  // clocks of all creations
sigevent g_event;                // of the last one

// The next definition of a function that this test defines too: the C library's.
template <typename Function>
Function* original(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool refused(int error) {
  errno = error;
  return error != 0;
}

bool wait_until(const std::function<bool()>& done) {
  const auto end = Clock::now() + 5s;
  while (!done() && Clock::now() < end) usleep(500);
  return done();
}

std::string contents(const char* path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

void count(void* arg) { static_cast<std::atomic<int>*>(arg)->fetch_add(1); }

class Timer : public testing::Test {
 protected:
  Timer() {
    g_create_error = [](clockid_t) { return 0; };
    for (const char* path : {"/sys/power/wake_lock", "/sys/power/wake_unlock"}) std::ofstream(path, std::ios::trunc);
  }
  ~Timer() override {
    g_timer_error = 0;
    if (timer != nullptr) vek_pal_timer_delete(&timer);
  }
  void create(vek_pal_timer_callback callback, void* arg) {
    ASSERT_EQ(vek_pal_timer_create(callback, arg, "test", &timer), 0);
  }

  vek_pal_timer_t timer = nullptr;
  std::atomic<int> fired = 0;
};

}  // namespace

int timer_create(clockid_t clock, sigevent* event, timer_t* id) noexcept {
  g_asked.push_back(clock);
  g_event = *event;
  if (refused(g_create_error(clock))) return -1;
  // Whatever the machine allows, the timer itself runs on a clock that it has.
  return original(timer_create, "timer_create")(CLOCK_MONOTONIC, event, id);
}

int timer_settime(timer_t id, int flags, const itimerspec* value, itimerspec* old) noexcept {
  return refused(g_timer_error) ? -1 : original(timer_settime, "timer_settime")(id, flags, value, old);
}

int timer_gettime(timer_t id, itimerspec* value) noexcept {
  return refused(g_timer_error) ? -1 : original(timer_gettime, "timer_gettime")(id, value);
}

int timer_delete(timer_t id) noexcept {
  return refused(g_timer_error) ? -1 : original(timer_delete, "timer_delete")(id);
}

TEST_F(Timer, FallsBackFromClockToClock) {
  using Clocks = std::vector<clockid_t>;
  const struct {
    int alarm, boottime, monotonic;  // errors
    int code;
    Clocks asked;
  } rows[] = {{0, 0, 0, 0, {CLOCK_BOOTTIME_ALARM}},
              {EPERM, 0, 0, 0, {CLOCK_BOOTTIME_ALARM, CLOCK_BOOTTIME}},
              {EOPNOTSUPP, EINVAL, 0, 0, {CLOCK_BOOTTIME_ALARM, CLOCK_BOOTTIME, CLOCK_MONOTONIC}},
              {EPERM, EINVAL, EPERM, -1, {CLOCK_BOOTTIME_ALARM, CLOCK_BOOTTIME, CLOCK_MONOTONIC}},
              {EAGAIN, 0, 0, -1, {CLOCK_BOOTTIME_ALARM}},
              {EPERM, ENOMEM, 0, 403, {CLOCK_BOOTTIME_ALARM, CLOCK_BOOTTIME}}};
  for (const auto& row : rows) {
    g_asked.clear();
    g_create_error = [&](clockid_t clock) {
      return clock == CLOCK_BOOTTIME_ALARM ? row.alarm : clock == CLOCK_BOOTTIME ? row.boottime : row.monotonic;
    };
    vek_pal_timer_t made = nullptr;
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_timer_create(count, &fired, "test", &made), row.code); });
    EXPECT_EQ(g_asked, row.asked);
    EXPECT_EQ(made != nullptr, row.code == 0);
    EXPECT_TRUE(seen.has_part(
        "TIMER", row.code == 0 ? "timer: test create success timer id: 0x" : "timer_create failed cause: "))
        << seen;
    if (made != nullptr) {
      EXPECT_TRUE(records_of([&] { EXPECT_EQ(vek_pal_timer_delete(&made), 0); }).has_part("TIMER", "free 0x"));
    }
    EXPECT_EQ(made, nullptr);
  }
}

TEST_F(Timer, FiresOnceAfterItsTime) {
  create(count, &fired);
  EXPECT_EQ(vek_pal_timer_isRunning(&timer), 0);
  const auto start = Clock::now();
  ASSERT_EQ(vek_pal_timer_start(&timer, 1050, 0), 0);
  EXPECT_EQ(vek_pal_timer_isRunning(&timer), 1);
  EXPECT_EQ(vek_pal_timer_isPeriodic(&timer), 0);
  ASSERT_TRUE(wait_until([&] { return fired == 1; }));
  EXPECT_GE(Clock::now() - start, 1050ms);
  EXPECT_EQ(vek_pal_timer_isRunning(&timer), 0);
}

TEST_F(Timer, FiresAgainAndAgainUntilStopped) {
  create(count, &fired);
  const auto start = Clock::now();
  ASSERT_EQ(vek_pal_timer_start(&timer, 20, 1), 0);
  ASSERT_TRUE(wait_until([&] { return fired >= 4; }));
  EXPECT_GE(Clock::now() - start, 80ms);
  EXPECT_EQ(vek_pal_timer_isPeriodic(&timer), 1);
  EXPECT_EQ(vek_pal_timer_isRunning(&timer), 1);
  EXPECT_EQ(vek_pal_timer_stop(&timer), 0);
  EXPECT_EQ(vek_pal_timer_stop(&timer), 0) << "stopping a stopped timer is no failure";
  EXPECT_EQ(vek_pal_timer_isRunning(&timer), 0);
  EXPECT_EQ(vek_pal_timer_isPeriodic(&timer), 0);
}

TEST_F(Timer, StartingAgainBeginsAnewAndZeroDisarms) {
  create(count, &fired);
  ASSERT_EQ(vek_pal_timer_start(&timer, 3'600'000, 1), 0);
  ASSERT_EQ(vek_pal_timer_start(&timer, 10, 0), 0);
  EXPECT_EQ(vek_pal_timer_isPeriodic(&timer), 0);
  EXPECT_TRUE(wait_until([&] { return fired == 1; }));
  ASSERT_EQ(vek_pal_timer_start(&timer, 3'600'000, 1), 0);
  ASSERT_EQ(vek_pal_timer_start(&timer, 0, 1), 0);
  EXPECT_EQ(vek_pal_timer_isRunning(&timer), 0);
}

TEST_F(Timer, HoldsAWakeLockDuringTheCallback) {
  std::string locks, unlocks;
  const auto look = [&] {
    locks = contents("/sys/power/wake_lock");
    unlocks = contents("/sys/power/wake_unlock");
    fired = 1;
  };
  std::function<void()> body = look;
  create([](void* arg) { (*static_cast<std::function<void()>*>(arg))(); }, &body);
  ASSERT_EQ(vek_pal_timer_start(&timer, 1, 0), 0);
  ASSERT_TRUE(wait_until([] { return contents("/sys/power/wake_unlock") == "timer"; }));
  EXPECT_EQ(locks, "timer");
  EXPECT_EQ(unlocks, "");

  // A callback that ends its own thread gives the lock back as well.
  body = [] { pthread_exit(nullptr); };
  ASSERT_EQ(vek_pal_timer_start(&timer, 1, 0), 0);
  EXPECT_TRUE(wait_until([] { return contents("/sys/power/wake_unlock") == "timertimer"; }));
}

TEST_F(Timer, FiresWithoutWakeLocksInTheKernel) {
  ASSERT_EQ(rename("/sys/power", "/sys/power.away"), 0);
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_acquire_wake_lock("mine", 0), -1);
    EXPECT_EQ(vek_pal_release_wake_lock("mine"), -1);
    create(count, &fired);
    EXPECT_EQ(vek_pal_timer_start(&timer, 1, 0), 0);
    EXPECT_TRUE(wait_until([&] { return fired == 1; }));
  });
  ASSERT_EQ(rename("/sys/power.away", "/sys/power"), 0);
  EXPECT_TRUE(seen.has("TIMER", "open /sys/power/wake_lock failed"));
  EXPECT_TRUE(seen.has("TIMER", "open /sys/power/wake_unlock failed"));
}

TEST_F(Timer, AnExpiryThatComesAfterDeletionCallsNobody) {
  create(count, &fired);
  const sigevent late = g_event;
  ASSERT_EQ(vek_pal_timer_delete(&timer), 0);
  create(count, &fired);  // in the place of the old one, as a rule
  const auto seen = records_of([&] { late.sigev_notify_function(late.sigev_value); });
  EXPECT_TRUE(seen.has("TIMER", "timer_info is NULL"));
  EXPECT_EQ(fired, 0);
  g_event.sigev_notify_function(g_event.sigev_value);
  EXPECT_EQ(fired, 1);
}

TEST_F(Timer, CanBeDeletedByItsOwnCallback) {
  struct Both {
    vek_pal_timer_t& timer;
    std::atomic<int>& fired;
  } mine{timer, fired};
  create(
      [](void* arg) {
        auto* const both = static_cast<Both*>(arg);
        EXPECT_EQ(vek_pal_timer_delete(&both->timer), 0);
        both->fired = 1;
      },
      &mine);
  ASSERT_EQ(vek_pal_timer_start(&timer, 1, 0), 0);
  EXPECT_TRUE(wait_until([&] { return fired == 1; }));
  EXPECT_EQ(timer, nullptr);
}

TEST_F(Timer, TurnsDownNull) {
  vek_pal_timer_t none = nullptr;
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_timer_create(nullptr, this, "test", &none), 5);
    EXPECT_EQ(vek_pal_timer_create(count, this, nullptr, &none), 5);
    EXPECT_EQ(vek_pal_timer_create(count, this, "test", nullptr), 5);
    for (vek_pal_timer_t* const handle : {static_cast<vek_pal_timer_t*>(nullptr), &none}) {
      EXPECT_EQ(vek_pal_timer_start(handle, 1, 0), 5);
      EXPECT_EQ(vek_pal_timer_stop(handle), 5);
      EXPECT_EQ(vek_pal_timer_delete(handle), 5);
      EXPECT_EQ(vek_pal_timer_isRunning(handle), 0);
      EXPECT_EQ(vek_pal_timer_isPeriodic(handle), 0);
    }
    EXPECT_EQ(vek_pal_acquire_wake_lock(nullptr, 0), -1);
  });
  EXPECT_EQ(seen.all.size(), 14u);
  EXPECT_TRUE(seen.has("TIMER", "The input parameters is incorrect"));
}

TEST_F(Timer, TellsWhatTheSystemRefuses) {
  create(count, &fired);
  g_timer_error = EINVAL;
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_timer_start(&timer, 1, 0), -1);
    EXPECT_EQ(vek_pal_timer_stop(&timer), -1);
    EXPECT_EQ(vek_pal_timer_isRunning(&timer), 0);
    EXPECT_EQ(vek_pal_timer_isPeriodic(&timer), 0);
    EXPECT_EQ(vek_pal_timer_delete(&timer), -1);
  });
  EXPECT_NE(timer, nullptr);
  EXPECT_EQ(seen.all.size(), 5u);
  for (const char* text :
       {"timer_settime failed cause: 22 Invalid argument", "timer_gettime failed cause: 22 Invalid argument",
        "timer_delete failed cause: 22 Invalid argument"})
    EXPECT_TRUE(seen.has("TIMER", text)) << text;
}
