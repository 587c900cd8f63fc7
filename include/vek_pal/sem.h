/**
 * Named counting semaphores: whoever opens the same name, in whatever process, shares the semaphore.
 *
 * Threads: any number of threads and processes may wait on and post to one name. A handle must not be deleted during a
 * wait on it.
 */
#ifndef VEK_PAL_SEM_H
#define VEK_PAL_SEM_H

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct vek_pal_sem *vek_pal_sem_t;

enum {
  VEK_PAL_SEM_NO_HANDLE = 5,
  VEK_PAL_SEM_BAD_VALUE = 7,
  VEK_PAL_SEM_TIMED_OUT = 17,
  VEK_PAL_SEM_NAME_TOO_LONG = 22,
  VEK_PAL_SEM_NOT_OPEN = 106
};

/**
 * Opens the semaphore of a name, making it when it does not exist. The system knows it as "/KORV_Openwrt_<name>.sem".
 * @param[out] sem         Receives the handle; the caller's until vek_pal_sem_deinit().
 * @param[in]  name        At most 64 characters, without "/".
 * @param[in]  max_value   At least `init_value`; the count itself has no upper bound.
 * @param[in]  init_value  The first count. A semaphore that exists already keeps its own.
 * @retval 0   Open.
 * @retval 5   `sem` or `name` is NULL.
 * @retval 7   `max_value` is below `init_value`.
 * @retval 22  `name` is longer than 64 characters.
 * @retval -1  No memory, or the system refused.
 */
VEK_PAL_API int vek_pal_sem_init(vek_pal_sem_t *sem, const char *name, unsigned max_value, unsigned init_value);

/**
 * Waits until a named semaphore can be taken, or until a limit has passed.
 * @param[in] sem         Points to a handle from vek_pal_sem_init(); both stay the caller's.
 * @param[in] timeout_ms  Limit in milliseconds. NULL waits without limit; 0 only tries.
 *
 * @retval 0   Taken: the count went down by one.
 * @retval 5   `sem` or the handle is NULL.
 * @retval 17  The limit passed first.
 * @retval -1  Anything else: among it a try that finds the count at 0, and a limit whose milliseconds below a whole
 * second and the clock's nanoseconds add up to a second or more (that wait ends at once).
 *
 * The limit runs on CLOCK_REALTIME: setting the clock during a wait stretches or cuts it.
 */
VEK_PAL_API int vek_pal_sem_wait(vek_pal_sem_t *sem, const unsigned *timeout_ms);

/**
 * Adds one to the count and wakes one waiter.
 * @retval 0   Posted.
 * @retval 5   `sem` is NULL.
 * @retval -1  The system refused (the count is at its highest).
 */
VEK_PAL_API int vek_pal_sem_post(vek_pal_sem_t sem);

/**
 * Closes the semaphore and removes its name for every process: the next vek_pal_sem_init() of it makes a fresh one.
 * @retval 0    Done; `*sem` is NULL.
 * @retval 7    `sem` is NULL.
 * @retval 106  `*sem` is NULL or not open.
 */
VEK_PAL_API int vek_pal_sem_deinit(vek_pal_sem_t *sem);

#ifdef __cplusplus
}
#endif

#endif
