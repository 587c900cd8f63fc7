#pragma once

#include <pthread.h>

namespace vek {

// Holds a mutex for a scope and keeps thread cancellation off meanwhile: no destructor runs in a cancelled thread, and
// its lock would stay taken for good.
class MutexLock {
 public:
  explicit MutexLock(pthread_mutex_t& mutex) : mutex_(mutex) {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state_);
    pthread_mutex_lock(&mutex_);
  }
  ~MutexLock() {
    pthread_mutex_unlock(&mutex_);
    pthread_setcancelstate(cancel_state_, nullptr);
  }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  pthread_mutex_t& mutex_;
  int cancel_state_ = 0;
};

}  // namespace vek
