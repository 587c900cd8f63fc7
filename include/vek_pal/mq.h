/**
 * Message queues between the threads of a process, on private System V queues: two queues never meet, whatever their
 * names, which stand in records only. Messages come out in the order in which they went in.
 *
 * A System V queue outlives its process. Delete every queue: one that is left behind stays until the next boot and
 * counts against the system's limit.
 *
 * Threads: any number may put and get at once. Deleting a queue ends the waits on it with a failure; from then on the
 * handle may not be used.
 */
#ifndef VEK_PAL_MQ_H
#define VEK_PAL_MQ_H

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  VEK_PAL_MQ_OUT_OF_MEMORY = 3,
  VEK_PAL_MQ_NO_HANDLE = 5,
  VEK_PAL_MQ_BAD_ARGUMENT = 7,
  VEK_PAL_MQ_NAME_TOO_LONG = 22,
  VEK_PAL_MQ_CREATE_FAILED = 306,
  VEK_PAL_MQ_RECEIVE_FAILED = 307,
  VEK_PAL_MQ_SEND_FAILED = 308
};

typedef struct vek_pal_mq *vek_pal_mq_t;

/**
 * Makes a queue.
 * @param[in]  max_msgs, max_msg_size  Its capacity is max_msgs * (max_msg_size + 4) bytes, filled by payload alone:
 * more messages fit when they are shorter.
 * @param[in]  name                    At most 64 characters; copied.
 * @param[out] mq                      The handle; it is the caller's until vek_pal_mq_delete().
 *
 * @retval 0    Made.
 * @retval 3    No memory for the handle.
 * @retval 7    `mq` or `name` is NULL.
 * @retval 22   `name` is longer than 64 characters.
 * @retval 306  The system has no queue left.
 * @retval -1   The capacity cannot be set: above the system's limit (/proc/sys/kernel/msgmnb, 16384 as a rule) it needs
 *              CAP_SYS_RESOURCE. The system's queue that was made for it stays behind.
 */
VEK_PAL_API int vek_pal_mq_create(unsigned max_msgs, unsigned max_msg_size, const char *name, vek_pal_mq_t *mq);

/**
 * Ends a queue with what is in it and clears the handle. Waiting threads wake up with 307 or 308.
 * @retval 0   Deleted.
 * @retval 5   `mq` or the handle is NULL.
 * @retval -1  The system refused; the handle stays as it was.
 */
VEK_PAL_API int vek_pal_mq_delete(vek_pal_mq_t *mq);

/**
 * Puts a message in.
 * @param[in] data  `size` bytes, copied.
 * @param[in] wait  NULL or pointing to anything but 0 waits for room; pointing to 0 does not.
 *
 * @retval 0    Put in.
 * @retval 7    `mq` or `data` is NULL, or `size` is 0.
 * @retval 308  There is no room (without waiting), no memory, a signal ended the wait, the queue was deleted, or the
 *              message is larger than the queue or the system's limit for one (/proc/sys/kernel/msgmax).
 *
 * A thread may be cancelled while it waits; nothing is lost but the message.
 */
VEK_PAL_API int vek_pal_mq_put(vek_pal_mq_t mq, const void *data, unsigned size, const unsigned *wait);

/**
 * Takes the oldest message out.
 * @param[out] buf   Receives the message, **however long it is**: give it room for the longest that any writer puts in.
 * @param[out] size  Its length.
 * @param[in]  wait  NULL or pointing to anything but 0 waits for a message; pointing to 0 does not.
 *
 * @retval 0    Taken out.
 * @retval 7    A pointer other than `wait` is NULL.
 * @retval 307  There is no message (without waiting), no memory, a signal ended the wait, the queue was deleted, or the
 *              next message leaves less than 4 bytes of the whole capacity free (it stays where it is).
 * @retval -1   The queue's capacity cannot be read; it has been deleted, as a rule.
 *
 * Each call takes memory of the size of the queue's capacity for its duration. A thread may be cancelled while it
 * waits; no memory is lost.
 */
VEK_PAL_API int vek_pal_mq_get(vek_pal_mq_t mq, void *buf, unsigned *size, const unsigned *wait);

#ifdef __cplusplus
}
#endif

#endif
