// What the receive thread tells a call that waits for the modem: a named semaphore that exists only as long as somebody
// waits.
#pragma once

#include <pthread.h>

#include "vek_pal/sem.h"

namespace vek {

struct ModemEvent {
  const char* name;
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;  // so that nobody posts to a handle that is being deleted
  vek_pal_sem_t sem = nullptr;
  unsigned waiters = 0;
};

// Makes the semaphore, unless it is there. Comes before the request whose outcome is waited for: the outcome may be
// faster than its answer. Returns the code of vek_pal_sem_init(); destroy() is due in any case.
int prepare(ModemEvent& event);

// Returns the code of vek_pal_sem_wait(). The thread is not cancelled meanwhile: nobody would count it out.
int wait_for(ModemEvent& event, unsigned limit_ms);

// The last of those who wait takes the semaphore away.
void destroy(ModemEvent& event);

bool is_awaited(ModemEvent& event);

// Wakes all who wait; without a waiter nothing happens.
void post(ModemEvent& event);

}  // namespace vek
