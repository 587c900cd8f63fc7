#include "vek_pal/mutex.h"

#include <errno.h>
#include <pthread.h>
#include <string.h>

#include "common/base/heap_block.h"
#include "log/log.h"

struct vek_pal_mutex {
  pthread_mutex_t* mutex;
  pthread_mutexattr_t attr;  // kind recursive
};

namespace {

constexpr char kLogTag[] = "MUTEX";

// The records below show errno: the pthread calls return the error number instead of setting it.
bool done(int result) {
  if (result != 0) errno = result;
  return result == 0;
}

// Out of the way of the calls that succeed.
[[gnu::noinline, gnu::cold]] int failed(const char* operation, vek_pal_mutex_t m, int error) {
  errno = error;
  return FAIL(-1, "%s %p failed cause: %d %s", operation, static_cast<void*>(m), errno, strerror(errno));
}

void release(void* block) {
  LOG_I("free %p", block);
  vek_pal_free(block);
}

bool init_recursive(vek_pal_mutex& record) {
  return done(pthread_mutexattr_init(&record.attr)) &&
         done(pthread_mutexattr_settype(&record.attr, PTHREAD_MUTEX_RECURSIVE)) &&
         done(pthread_mutex_init(record.mutex, &record.attr));
}

}  // namespace

int vek_pal_mutex_create(vek_pal_mutex_t* m) {
  if (m == nullptr) return FAIL(VEK_PAL_MUTEX_BAD_ARGUMENT, "The input parameters is incorrect");
  *m = nullptr;
  vek::HeapBlock<vek_pal_mutex> record;
  if (!record) return FAIL(VEK_PAL_MUTEX_NO_MEMORY, "malloc mutex_info failed!");
  LOG_I("malloc %p %d", static_cast<void*>(record.get()), static_cast<int>(sizeof(vek_pal_mutex)));
  vek::HeapBlock<pthread_mutex_t> mutex;
  if (!mutex) {
    LOG_E("malloc mutex failed!");
    release(record.release());
    return VEK_PAL_MUTEX_NO_MEMORY;
  }
  LOG_I("malloc %p %d", static_cast<void*>(mutex.get()), static_cast<int>(sizeof(pthread_mutex_t)));

  record->mutex = mutex.release();
  if (!init_recursive(*record)) {
    LOG_E("mutex create failed cause: %d %s", errno, strerror(errno));
    release(record->mutex);
    release(record.release());
    return VEK_PAL_MUTEX_INIT_FAILED;
  }
  *m = record.release();
  return 0;
}

int vek_pal_mutex_lock(vek_pal_mutex_t m) {
  if (m == nullptr) return FAIL(VEK_PAL_MUTEX_BAD_ARGUMENT, "The input parameter is incorrect");
  LOG_D("Lock %p", static_cast<void*>(m));
  const int error = pthread_mutex_lock(m->mutex);
  return error == 0 ? 0 : failed("Lock", m, error);
}

int vek_pal_mutex_trylock(vek_pal_mutex_t m) {
  if (m == nullptr) return FAIL(VEK_PAL_MUTEX_BAD_ARGUMENT, "The input parameter is incorrect");
  LOG_D("TryLock %p", static_cast<void*>(m));
  if (!done(pthread_mutex_trylock(m->mutex)))
    return FAIL(errno == EBUSY ? VEK_PAL_MUTEX_BUSY : -1, "TryLock %p failed cause %d %s", static_cast<void*>(m), errno,
                strerror(errno));
  return 0;
}

int vek_pal_mutex_unlock(vek_pal_mutex_t m) {
  if (m == nullptr) return FAIL(VEK_PAL_MUTEX_BAD_ARGUMENT, "The input parameter is incorrect");
  LOG_D("UnLock %p", static_cast<void*>(m));
  const int error = pthread_mutex_unlock(m->mutex);
  return error == 0 ? 0 : failed("UnLock", m, error);
}

int vek_pal_mutex_delete(vek_pal_mutex_t* m) {
  if (m == nullptr || *m == nullptr || (*m)->mutex == nullptr)
    return FAIL(VEK_PAL_MUTEX_BAD_ARGUMENT, "The input parameter is incorrect");
  vek_pal_mutex* const record = *m;
  LOG_D("Delete %p", static_cast<void*>(record));
  if (!done(pthread_mutex_destroy(record->mutex))) return FAIL(-1, "Delete %p failed!", static_cast<void*>(record));
  release(record->mutex);
  release(record);
  *m = nullptr;
  return 0;
}
