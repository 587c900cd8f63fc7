#include "sys/modem_event.h"

#include "common/base/mutex_lock.h"

namespace vek {

int prepare(ModemEvent& event) {
  const MutexLock lock(event.mutex);
  event.waiters++;
  return event.sem != nullptr ? 0 : vek_pal_sem_init(&event.sem, event.name, 1, 0);
}

// The handle is read without the mutex: it stays as long as somebody waits.
int wait_for(ModemEvent& event, unsigned limit_ms) {
  int cancel_state;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
  const int result = vek_pal_sem_wait(&event.sem, &limit_ms);
  pthread_setcancelstate(cancel_state, nullptr);
  return result;
}

void destroy(ModemEvent& event) {
  const MutexLock lock(event.mutex);
  if (--event.waiters == 0 && event.sem != nullptr) vek_pal_sem_deinit(&event.sem);
}

bool is_awaited(ModemEvent& event) {
  const MutexLock lock(event.mutex);
  return event.sem != nullptr;
}

void post(ModemEvent& event) {
  const MutexLock lock(event.mutex);
  if (event.sem == nullptr) return;
  for (unsigned i = 0; i < event.waiters; i++) vek_pal_sem_post(event.sem);
}

}  // namespace vek
