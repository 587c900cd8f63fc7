/**
 * Threads: detached POSIX threads behind an opaque handle.
 *
 * Nobody joins a thread made here; it ends when its body returns or when vek_pal_thread_delete() cancels it. The
 * handle's record outlives the thread: deleting the handle is also how the record of a finished thread is released.
 *
 * Threads: any thread may create; a handle must not be deleted from two threads at once. A body is cancelled at its
 * next cancellation point, never inside this library while it holds a lock.
 */
#ifndef VEK_PAL_THREAD_H
#define VEK_PAL_THREAD_H

#include <pthread.h>
#include <stdint.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Optional properties of a new thread. */
typedef struct {
  int32_t priority;   /**< Scheduling priority; 0 leaves the default. Counts only under a real-time policy. */
  uint32_t stacksize; /**< Stack size in bytes, at least 16384. */
} vek_pal_thread_attr;

typedef struct vek_pal_thread_info *vek_pal_thread_t;

enum {
  VEK_PAL_THREAD_NO_RECORD = 5,
  VEK_PAL_THREAD_BAD_ARGUMENT = 7,
  VEK_PAL_THREAD_NOT_SUPPORTED = 10,
  VEK_PAL_THREAD_NAME_TOO_LONG = 22,
  VEK_PAL_THREAD_CANCEL_FAILED = 502,
  VEK_PAL_THREAD_ATTR_INIT_FAILED = 503,
  VEK_PAL_THREAD_SCHEDPARAM_FAILED = 504,
  VEK_PAL_THREAD_STACK_TOO_SMALL = 505
};

/**
 * Starts a detached thread that runs `callback(arg)`.
 * @param[out] th        Receives the handle; left alone on failure. The caller's, until vek_pal_thread_delete().
 * @param[in]  name      At most 128 characters, for log records only.
 * @param[in]  attr      NULL for the system's defaults.
 * @param[in]  callback  The body; NULL makes a thread that ends at once.
 * @retval 0   Started.
 * @retval 5   No memory for the record.
 * @retval 7   `th` or `name` is NULL.
 * @retval 22  `name` is longer than 128 characters.
 * @retval -1  Anything later; the last record shows the step: 503, 504, 505 (stack size below 16384), -1, or an errno
 * value.
 */
VEK_PAL_API int vek_pal_thread_create(vek_pal_thread_t *th, const char *name, const vek_pal_thread_attr *attr,
                                      void *(*callback)(void *), void *arg);

/**
 * Cancels the thread, if its body is still running, and releases the handle. A thread may delete its own handle; it
 * then ends at its next cancellation point.
 * @retval 0    Done; `*th` is NULL.
 * @retval 7    `th` or `*th` is NULL.
 * @retval 502  The thread could not be cancelled; nothing was released.
 */
VEK_PAL_API int vek_pal_thread_delete(vek_pal_thread_t *th);

/** Sleeps. @returns what usleep(milliseconds * 1000) returns: 0, or -1 with errno set when a signal came. */
VEK_PAL_API int vek_pal_thread_msleep(unsigned milliseconds);

/** Not supported. @returns 10, whatever the handle. */
VEK_PAL_API int vek_pal_thread_suspend(vek_pal_thread_t th);

/** Not supported. @returns 10, whatever the handle. */
VEK_PAL_API int vek_pal_thread_resume(vek_pal_thread_t th);

/** The POSIX id of the thread, 0 when `th` or `*th` is NULL. It may be reused once the body has returned. */
VEK_PAL_API pthread_t vek_pal_thread_id(vek_pal_thread_t *th);

#ifdef __cplusplus
}
#endif

#endif
