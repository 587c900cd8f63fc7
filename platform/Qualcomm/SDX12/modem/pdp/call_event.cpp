#include "modem/pdp/call_event.h"

#include "common/base/mutex_lock.h"

namespace vek::pdp {

namespace {

constexpr unsigned kWaitMs = 60000;

}  // namespace

constinit CallEvent g_connected{.name = "sem_data_call"};
constinit CallEvent g_released{.name = "sem_data_rls"};

int prepare(CallEvent& event) {
  const MutexLock lock(event.mutex);
  return event.sem != nullptr ? 0 : vek_pal_sem_init(&event.sem, event.name, 1, 0);
}

// The handle is read without the mutex: the thread that waits is the one that deletes it.
int wait_for(CallEvent& event) { return vek_pal_sem_wait(&event.sem, &kWaitMs); }

void destroy(CallEvent& event) {
  const MutexLock lock(event.mutex);
  if (event.sem != nullptr) vek_pal_sem_deinit(&event.sem);
}

void post(CallEvent& event) {
  const MutexLock lock(event.mutex);
  if (event.sem != nullptr) vek_pal_sem_post(event.sem);
}

}  // namespace vek::pdp
