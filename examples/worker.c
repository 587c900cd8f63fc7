/* A worker thread counts under a mutex and says with a named semaphore that it is done. */
#include <stdio.h>

#include "vek_pal.h"

#define TAG "worker"

typedef struct {
  vek_pal_mutex_t lock;
  vek_pal_sem_t done;
  unsigned count;
} job;

static void* work(void* arg) {
  job* const mine = arg;
  for (int i = 0; i < 3; i++) {
    vek_pal_mutex_lock(mine->lock);
    mine->count++;
    vek_pal_mutex_unlock(mine->lock);
  }
  vek_pal_sem_post(mine->done);
  return NULL;
}

int main(void) {
  vek_pal_log_set_level(VEK_PAL_LOG_ERROR);
  job* const shared = vek_pal_calloc(1, sizeof(*shared));
  if (shared == NULL) return 1;
  if (vek_pal_mutex_create(&shared->lock) != 0) return 1;
  if (vek_pal_sem_init(&shared->done, "worker_done", 1, 0) != 0) return 1;

  const vek_pal_thread_attr small = {.priority = 0, .stacksize = 20480};
  vek_pal_thread_t worker = NULL;
  if (vek_pal_thread_create(&worker, "worker", &small, work, shared) != 0) return 1;

  const unsigned limit_ms = 5000;
  const int code = vek_pal_sem_wait(&shared->done, &limit_ms); /* 0 posted, 17 too late, -1 failed */
  if (code == 0)
    printf("counted to %u\n", shared->count);
  else
    vek_pal_loge(TAG, "no end after %u ms: %d", limit_ms, code);

  vek_pal_thread_delete(&worker); /* whatever it is doing; only the record, when it has ended */
  vek_pal_sem_deinit(&shared->done);
  vek_pal_mutex_delete(&shared->lock);
  vek_pal_free(shared);
  return code;
}
