/**
 * One-shot and periodic timers that go on while the module sleeps and wake it up, and wake locks that keep it awake.
 *
 * Timers run on CLOCK_BOOTTIME_ALARM. Where the kernel refuses that clock (it needs CAP_WAKE_ALARM and an RTC) they run
 * on CLOCK_BOOTTIME, which counts during sleep and wakes nobody, and failing that on CLOCK_MONOTONIC.
 *
 * Each expiry runs on a short-lived thread of its own, with the wake lock "timer" held; that thread may use the whole
 * interface, end itself, and stop, start or delete its own timer. Callbacks of one periodic timer overlap when one
 * takes longer than the period. All timers share the wake lock: it is gone when the first callback of several has
 * ended.
 *
 * Threads: any; but a timer must not be deleted by one thread while another one uses it.
 */
#ifndef VEK_PAL_TIMER_H
#define VEK_PAL_TIMER_H

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { VEK_PAL_TIMER_BAD_ARGUMENT = 5, VEK_PAL_TIMER_NO_MEMORY = 403 };

typedef struct vek_pal_timer *vek_pal_timer_t;
typedef void (*vek_pal_timer_callback)(void *arg);

/**
 * Makes a timer, not armed.
 * @param[in]  callback  Called with `arg` at each expiry.
 * @param[in]  arg       Stays the caller's, who keeps it valid until the timer is deleted and the last callback has
 * ended.
 * @param[in]  name      For the record of the creation only; not kept.
 * @param[out] timer     The handle; it is the caller's until vek_pal_timer_delete().
 *
 * @retval 0    Made.
 * @retval 5    `callback`, `name` or `timer` is NULL.
 * @retval 403  The system has no memory for another timer.
 * @retval -1   No memory for the handle, or the system refuses the timer for another reason.
 */
VEK_PAL_API int vek_pal_timer_create(vek_pal_timer_callback callback, void *arg, const char *name,
                                     vek_pal_timer_t *timer);

/**
 * Arms a timer, anew if it is armed.
 * @param[in] ms        Time to the first expiry; **0 disarms**.
 * @param[in] periodic  0 expires once; anything else goes on every `ms`.
 *
 * @retval 0   Armed, or disarmed.
 * @retval 5   `timer` or the handle is NULL.
 * @retval -1  The system refused.
 */
VEK_PAL_API int vek_pal_timer_start(vek_pal_timer_t *timer, unsigned ms, unsigned char periodic);

/**
 * Disarms a timer; one that is not armed too. A callback whose expiry came first may still run or begin to.
 * @retval 0   Disarmed.
 * @retval 5   `timer` or the handle is NULL.
 * @retval -1  The system refused.
 */
VEK_PAL_API int vek_pal_timer_stop(vek_pal_timer_t *timer);

/**
 * Ends a timer and clears the handle. It does not wait: a callback that has begun goes on, and one that was about to
 * begin may do so; an expiry that comes to look for the timer afterwards finds it gone and calls nothing.
 * @retval 0   Deleted.
 * @retval 5   `timer` or the handle is NULL.
 * @retval -1  The system refused; the handle stays as it was.
 */
VEK_PAL_API int vek_pal_timer_delete(vek_pal_timer_t *timer);

/** 1 while armed; 0 otherwise, among it for NULL and when the system fails. */
VEK_PAL_API int vek_pal_timer_isRunning(vek_pal_timer_t *timer);

/** 1 when armed with a period; 0 otherwise, as above. */
VEK_PAL_API int vek_pal_timer_isPeriodic(vek_pal_timer_t *timer);

/**
 * Takes a wake lock of the kernel: writes its name to "/sys/power/wake_lock". Locks are known by name, not counted.
 * @param[in] name  The lock.
 * @param[in] type  Ignored.
 * @retval 0   Taken.
 * @retval -1  `name` is NULL, or the file does not open, does not take the name or does not close. When it does not
 * take the name its descriptor stays open.
 */
VEK_PAL_API int vek_pal_acquire_wake_lock(const char *name, int type);

/** Gives a wake lock back: writes its name to "/sys/power/wake_unlock". Results as above. */
VEK_PAL_API int vek_pal_release_wake_lock(const char *name);

#ifdef __cplusplus
}
#endif

#endif
