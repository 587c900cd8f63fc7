// What the receive thread tells a call that waits for the network: a named semaphore that exists only as long as
// somebody waits.
#pragma once

#include <pthread.h>

#include "vek_pal/sem.h"

namespace vek::pdp {

struct CallEvent {
  const char* name;
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;  // so that nobody posts to a handle that is being deleted
  vek_pal_sem_t sem = nullptr;
};

extern CallEvent g_connected;
extern CallEvent g_released;

// Makes the semaphore, unless it is there. Comes before the request whose outcome is waited for: the outcome may be
// faster than its answer. Returns the code of vek_pal_sem_init().
int prepare(CallEvent& event);

// Waits at most a minute. Returns the code of vek_pal_sem_wait().
int wait_for(CallEvent& event);

void destroy(CallEvent& event);

// Wakes who waits; without a waiter nothing happens.
void post(CallEvent& event);

}  // namespace vek::pdp
