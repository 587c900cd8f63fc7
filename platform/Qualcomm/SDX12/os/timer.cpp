#include "vek_pal/timer.h"

#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <stdint.h>
#include <string.h>
#include <time.h>

#include "common/base/heap_block.h"
#include "common/base/mutex_lock.h"
#include "log/log.h"

struct vek_pal_timer {
  timer_t timer_id;
  // What an expiry is told: a number that no other timer had, for the record may be gone when the expiry's thread comes
  // to run, and its place may be another timer's.
  uintptr_t serial;
  vek_pal_timer* next;
  uintptr_t reserved[2];
  vek_pal_timer_callback callback;
  void* arg;
};
static_assert(sizeof(void*) != 4 || sizeof(vek_pal_timer) == 28);

namespace {

constexpr char kLogTag[] = "TIMER";
constexpr char kWakeLock[] = "timer";

// The first wakes the module up, and needs an RTC and the right to; the second counts through sleep; the third is
// everywhere.
constexpr clockid_t kClocks[] = {CLOCK_BOOTTIME_ALARM, CLOCK_BOOTTIME, CLOCK_MONOTONIC};

// The timers that exist.
constinit pthread_mutex_t g_timers_mutex = PTHREAD_MUTEX_INITIALIZER;
constinit vek_pal_timer* g_timers = nullptr;
constinit uintptr_t g_last_serial = 0;

void enter(vek_pal_timer* timer) {
  const vek::MutexLock lock(g_timers_mutex);
  timer->next = g_timers;
  g_timers = timer;
}

void leave(vek_pal_timer* timer) {
  const vek::MutexLock lock(g_timers_mutex);
  vek_pal_timer** link = &g_timers;
  while (*link != timer) link = &(*link)->next;
  *link = timer->next;
}

uintptr_t new_serial() {
  const vek::MutexLock lock(g_timers_mutex);
  return ++g_last_serial;
}

struct Call {
  vek_pal_timer_callback callback;
  void* arg;
};

Call call_of(uintptr_t serial) {
  const vek::MutexLock lock(g_timers_mutex);
  for (const vek_pal_timer* timer = g_timers; timer != nullptr; timer = timer->next)
    if (timer->serial == serial) return {timer->callback, timer->arg};
  return {};
}

void release_wake_lock(void*) { vek_pal_release_wake_lock(kWakeLock); }

// On a thread of its own for each expiry.
void on_expiry(sigval value) {
  // A copy: the callback may delete its own timer.
  const Call call = call_of(reinterpret_cast<uintptr_t>(value.sival_ptr));
  if (call.callback == nullptr) {
    LOG_E("timer_info is NULL");
    return;
  }
  vek_pal_acquire_wake_lock(kWakeLock, 0);
  // A callback that ends its thread must not keep the module awake for good.
  pthread_cleanup_push(release_wake_lock, nullptr);
  call.callback(call.arg);
  pthread_cleanup_pop(1);
}

bool is_refusal(int error) { return error == EPERM || error == EINVAL || error == EOPNOTSUPP; }

bool make_system_timer(vek_pal_timer* timer) {
  sigevent event{};
  event.sigev_notify = SIGEV_THREAD;
  event.sigev_notify_function = on_expiry;
  event.sigev_value.sival_ptr = reinterpret_cast<void*>(timer->serial);
  for (const clockid_t clock : kClocks) {
    if (timer_create(clock, &event, &timer->timer_id) == 0) return true;
    if (!is_refusal(errno)) return false;
  }
  return false;
}

int set(vek_pal_timer* timer, unsigned first_ms, bool periodic) {
  itimerspec setting{};
  setting.it_value.tv_sec = static_cast<time_t>(first_ms / 1000);
  setting.it_value.tv_nsec = static_cast<long>(first_ms % 1000) * 1'000'000L;
  if (periodic) setting.it_interval = setting.it_value;
  if (timer_settime(timer->timer_id, 0, &setting, nullptr) != 0)
    return FAIL(-1, "timer_settime failed cause: %d %s", errno, strerror(errno));
  return 0;
}

bool is_set(const timespec& time) { return time.tv_sec != 0 || time.tv_nsec != 0; }

// All zero, as of a timer that is not armed, when there is no telling.
itimerspec setting_of(vek_pal_timer_t* timer) {
  itimerspec setting{};
  if (timer == nullptr || *timer == nullptr) {
    LOG_E("The input parameters is incorrect");
  } else if (timer_gettime((*timer)->timer_id, &setting) != 0) {
    LOG_E("timer_gettime failed cause: %d %s", errno, strerror(errno));
    setting = {};
  }
  return setting;
}

unsigned shown(timer_t id) { return static_cast<unsigned>(reinterpret_cast<uintptr_t>(id)); }

}  // namespace

int vek_pal_timer_create(vek_pal_timer_callback callback, void* arg, const char* name, vek_pal_timer_t* timer) {
  if (callback == nullptr || name == nullptr || timer == nullptr)
    return FAIL(VEK_PAL_TIMER_BAD_ARGUMENT, "The input parameters is incorrect");

  vek::HeapBlock<vek_pal_timer> record;
  if (!record) return FAIL(-1, "malloc timer_info failed");
  record->callback = callback;
  record->arg = arg;
  record->serial = new_serial();
  if (!make_system_timer(record.get())) {
    const int error = errno;
    return FAIL(error == ENOMEM ? VEK_PAL_TIMER_NO_MEMORY : -1, "timer_create failed cause: %d %s", error,
                strerror(error));
  }

  enter(record.get());
  LOG_I("timer: %s create success timer id: 0x%x", name, shown(record->timer_id));
  *timer = record.release();
  return 0;
}

int vek_pal_timer_start(vek_pal_timer_t* timer, unsigned ms, unsigned char periodic) {
  if (timer == nullptr || *timer == nullptr)
    return FAIL(VEK_PAL_TIMER_BAD_ARGUMENT, "The input parameters is incorrect");
  return set(*timer, ms, periodic != 0);
}

int vek_pal_timer_stop(vek_pal_timer_t* timer) {
  if (timer == nullptr || *timer == nullptr)
    return FAIL(VEK_PAL_TIMER_BAD_ARGUMENT, "The input parameters is incorrect");
  return set(*timer, 0, false);
}

int vek_pal_timer_delete(vek_pal_timer_t* timer) {
  if (timer == nullptr || *timer == nullptr)
    return FAIL(VEK_PAL_TIMER_BAD_ARGUMENT, "The input parameters is incorrect");
  vek_pal_timer* const record = *timer;
  if (timer_delete(record->timer_id) != 0) return FAIL(-1, "timer_delete failed cause: %d %s", errno, strerror(errno));
  leave(record);
  LOG_I("free %p", static_cast<void*>(record));
  vek_pal_free(record);
  *timer = nullptr;
  return 0;
}

int vek_pal_timer_isRunning(vek_pal_timer_t* timer) {
  const itimerspec setting = setting_of(timer);
  return is_set(setting.it_value) || is_set(setting.it_interval);
}

int vek_pal_timer_isPeriodic(vek_pal_timer_t* timer) { return is_set(setting_of(timer).it_interval); }
