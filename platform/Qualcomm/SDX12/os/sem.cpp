#include "vek_pal/sem.h"

#include <errno.h>
#include <fcntl.h>
#include <semaphore.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "common/base/heap_block.h"
#include "log/log.h"

struct vek_pal_sem {
  sem_t* sem_id;
  char* name;  // the full POSIX name, for sem_unlink
};
static_assert(sizeof(void*) != 4 || sizeof(vek_pal_sem) == 8);

namespace {

constexpr char kLogTag[] = "SEM";
constexpr size_t kShortNameMax = 64;
constexpr unsigned kFullNameSize = 128;

timespec deadline_after(unsigned ms) {
  timespec at;
  clock_gettime(CLOCK_REALTIME, &at);
  at.tv_sec += ms / 1000;
  // Not carried into the seconds: callers have always got -1, not 17, for a sum of a second or more.
  at.tv_nsec += static_cast<long>(ms % 1000) * 1'000'000L;
  return at;
}

int wait_until(sem_t* sem_id, unsigned timeout_ms) {
  if (timeout_ms == 0) return sem_trywait(sem_id);
  const timespec deadline = deadline_after(timeout_ms);
  int result;
  do {
    result = sem_timedwait(sem_id, &deadline);
  } while (result != 0 && errno == EINTR);
  return result;
}

}  // namespace

int vek_pal_sem_init(vek_pal_sem_t* sem, const char* name, unsigned max_value, unsigned init_value) {
  if (sem == nullptr || name == nullptr) return FAIL(VEK_PAL_SEM_NO_HANDLE, "The input parameters is incorrect");
  if (strlen(name) > kShortNameMax) return FAIL(VEK_PAL_SEM_NAME_TOO_LONG, "the input name len is too long");
  if (max_value < init_value) return FAIL(VEK_PAL_SEM_BAD_VALUE, "the input max_value len is less than init_value");

  vek::HeapBlock<vek_pal_sem> record;
  if (!record) return FAIL(-1, "malloc sem_info failed!");
  vek::HeapBlock<char> full_name(kFullNameSize);
  if (!full_name) return FAIL(-1, "malloc openwrt_sem_domain failed!");
  snprintf(full_name.get(), kFullNameSize, "/KORV_Openwrt_%s.sem", name);

  // A semaphore that another process made is opened as it stands: its count wins over init_value.
  record->sem_id = sem_open(full_name.get(), O_RDWR | O_CREAT, 0770, init_value);
  if (record->sem_id == SEM_FAILED) return FAIL(-1, "The sem_open failed");

  record->name = full_name.release();
  *sem = record.release();
  LOG_I("sem: %s create success", name);
  return 0;
}

int vek_pal_sem_wait(vek_pal_sem_t* sem, const unsigned* timeout_ms) {
  if (sem == nullptr || *sem == nullptr) return FAIL(VEK_PAL_SEM_NO_HANDLE, "The input parameter is incorrect");
  sem_t* const sem_id = (*sem)->sem_id;
  const int result = timeout_ms == nullptr ? sem_wait(sem_id) : wait_until(sem_id, *timeout_ms);
  if (result == 0) {
    LOG_I("wait sem_id: %p success", static_cast<void*>(sem_id));
    return 0;
  }
  if (errno == ETIMEDOUT)
    return FAIL(VEK_PAL_SEM_TIMED_OUT, "wait sem_id: %p timeout cause: %d %s", static_cast<void*>(sem_id), errno,
                strerror(errno));
  return FAIL(-1, "wait sem_id: %p failed cause: %d %s", static_cast<void*>(sem_id), errno, strerror(errno));
}

int vek_pal_sem_post(vek_pal_sem_t sem) {
  if (sem == nullptr) return FAIL(VEK_PAL_SEM_NO_HANDLE, "The input parameter is incorrect");
  if (sem_post(sem->sem_id) != 0)
    return FAIL(-1, "post sem_id: %p failed cause: %d %s", static_cast<void*>(sem->sem_id), errno, strerror(errno));
  LOG_I("post sem_id: %p success", static_cast<void*>(sem->sem_id));
  return 0;
}

int vek_pal_sem_deinit(vek_pal_sem_t* sem) {
  if (sem == nullptr) return FAIL(VEK_PAL_SEM_BAD_VALUE, "The input parameter is incorrect");
  if (*sem == nullptr || (*sem)->sem_id == nullptr || (*sem)->name == nullptr)
    return FAIL(VEK_PAL_SEM_NOT_OPEN, "The sem_info->sem_id or start_addr is NULL");
  vek_pal_sem* const record = *sem;
  sem_close(record->sem_id);
  sem_unlink(record->name);
  LOG_I("free %p", static_cast<void*>(record->name));
  vek_pal_free(record->name);
  LOG_I("free %p", static_cast<void*>(record));
  vek_pal_free(record);
  *sem = nullptr;
  return 0;
}
