/**
 * Recursive mutexes behind an opaque handle.
 *
 * Threads: any. A handle must not be deleted while a thread is inside another call with it. A thread that is cancelled
 * while it holds one leaves it locked.
 */
#ifndef VEK_PAL_MUTEX_H
#define VEK_PAL_MUTEX_H

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct vek_pal_mutex *vek_pal_mutex_t;

enum {
  VEK_PAL_MUTEX_INIT_FAILED = 2,
  VEK_PAL_MUTEX_BAD_ARGUMENT = 7,
  VEK_PAL_MUTEX_BUSY = 203,
  VEK_PAL_MUTEX_NO_MEMORY = 206
};

/**
 * Makes a recursive mutex. The handle is the caller's until vek_pal_mutex_delete().
 * @retval 0    `*m` is the handle.
 * @retval 2    The system cannot initialise it; `*m` is NULL.
 * @retval 7    `m` is NULL.
 * @retval 206  No memory; `*m` is NULL.
 */
VEK_PAL_API int vek_pal_mutex_create(vek_pal_mutex_t *m);

/**
 * Locks, waiting for another owner. The owning thread may lock again and unlocks as many times.
 * @retval 0   Locked.
 * @retval 7   `m` is NULL.
 * @retval -1  The system refused.
 */
VEK_PAL_API int vek_pal_mutex_lock(vek_pal_mutex_t m);

/**
 * Locks unless another thread is the owner.
 * @retval 0    Locked.
 * @retval 7    `m` is NULL.
 * @retval 203  Another thread holds it.
 * @retval -1   The system refused for another reason.
 */
VEK_PAL_API int vek_pal_mutex_trylock(vek_pal_mutex_t m);

/**
 * Unlocks once.
 * @retval 0   Unlocked.
 * @retval 7   `m` is NULL.
 * @retval -1  The calling thread does not hold it.
 */
VEK_PAL_API int vek_pal_mutex_unlock(vek_pal_mutex_t m);

/**
 * Releases the mutex.
 * @retval 0   Released; `*m` is NULL.
 * @retval 7   `m` or `*m` is NULL.
 * @retval -1  It is locked; the handle stays valid.
 */
VEK_PAL_API int vek_pal_mutex_delete(vek_pal_mutex_t *m);

#ifdef __cplusplus
}
#endif

#endif
