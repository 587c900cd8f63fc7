#include "vek_pal/mq.h"

#include <errno.h>
#include <pthread.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/msg.h>

#include <algorithm>
#include <limits>

#include "common/base/heap_block.h"
#include "log/log.h"

namespace {

constexpr size_t kNameMax = 64;

}  // namespace

struct vek_pal_mq {
  char name[kNameMax + 4];
  int32_t msqid;
};
static_assert(sizeof(vek_pal_mq) == 72);

namespace {

constexpr char kLogTag[] = "MQ";
constexpr long kType = 1;
constexpr unsigned kTypeSize = 4;  // what a message's type takes of the stated capacity, whatever a long has here

// A message as the system calls have it.
struct Frame {
  long type;
  char payload[];
};

Frame* new_frame(size_t payload) {
  constexpr size_t kPayloadMax = std::numeric_limits<unsigned>::max() - sizeof(Frame);
  if (payload > kPayloadMax) return nullptr;
  return static_cast<Frame*>(vek_pal_malloc(static_cast<unsigned>(sizeof(Frame) + payload)));
}

int flags_of(const unsigned* wait) { return wait != nullptr && *wait == 0 ? IPC_NOWAIT : 0; }

bool set_capacity(int msqid, unsigned max_msgs, unsigned max_msg_size) {
  msqid_ds settings;
  if (msgctl(msqid, IPC_STAT, &settings) != 0) return FAIL(false, "msgctl IPC_STAT failed: %s", strerror(errno));
  const uint64_t capacity = uint64_t{max_msgs} * (uint64_t{max_msg_size} + kTypeSize);
  // The kernel keeps 32 bits of it, and would make a small queue of a huge one instead of refusing it.
  settings.msg_qbytes = static_cast<msglen_t>(std::min<uint64_t>(capacity, std::numeric_limits<int32_t>::max()));
  if (msgctl(msqid, IPC_SET, &settings) != 0) return FAIL(false, "msgctl IPC_SET failed: %s", strerror(errno));
  return true;
}

}  // namespace

int vek_pal_mq_create(unsigned max_msgs, unsigned max_msg_size, const char* name, vek_pal_mq_t* mq) {
  if (name == nullptr || mq == nullptr) return FAIL(VEK_PAL_MQ_BAD_ARGUMENT, "the mq or name is NULL");
  vek::HeapBlock<vek_pal_mq> record;
  if (!record) return FAIL(VEK_PAL_MQ_OUT_OF_MEMORY, "malloc message queue info failed.");
  const size_t length = strnlen(name, kNameMax + 1);
  if (length > kNameMax) return FAIL(VEK_PAL_MQ_NAME_TOO_LONG, "the input name len is too long.");
  memcpy(record->name, name, length);

  record->msqid = msgget(IPC_PRIVATE, IPC_CREAT | 0666);
  if (record->msqid < 0) return FAIL(VEK_PAL_MQ_CREATE_FAILED, "msgget failed: %s", strerror(errno));
  if (!set_capacity(record->msqid, max_msgs, max_msg_size)) {
    LOG_I("free %p", static_cast<void*>(record.get()));
    return -1;
  }
  LOG_I("mq: %s created, id: %d", record->name, record->msqid);
  *mq = record.release();
  return 0;
}

int vek_pal_mq_delete(vek_pal_mq_t* mq) {
  if (mq == nullptr || *mq == nullptr) return FAIL(VEK_PAL_MQ_NO_HANDLE, "the mq is NULL");
  vek_pal_mq* const record = *mq;
  if (msgctl(record->msqid, IPC_RMID, nullptr) != 0) return FAIL(-1, "msgctl IPC_RMID failed: %s", strerror(errno));
  LOG_I("mq: %s, id: %d delete.", record->name, record->msqid);
  vek_pal_free(record);
  *mq = nullptr;
  return 0;
}

int vek_pal_mq_put(vek_pal_mq_t mq, const void* data, unsigned size, const unsigned* wait) {
  if (mq == nullptr || data == nullptr || size == 0)
    return FAIL(VEK_PAL_MQ_BAD_ARGUMENT, "The input parameter is incorrect.");
  const vek_pal_mq queue = *mq;  // a copy: another thread may delete the queue during the wait
  Frame* const frame = new_frame(size);
  if (frame == nullptr) return FAIL(VEK_PAL_MQ_SEND_FAILED, "msgsnd failed: %s", strerror(ENOMEM));
  frame->type = kType;
  memcpy(frame->payload, data, size);

  int result;
  pthread_cleanup_push(vek_pal_free, frame);
  result = msgsnd(queue.msqid, frame, size, flags_of(wait));
  if (result == 0)
    LOG_I("mq: %s, id: %d put success", queue.name, queue.msqid);
  else if (errno == EAGAIN)
    LOG_E("msgsnd failed: %s,mq full.", strerror(errno));
  else
    LOG_E("msgsnd failed: %s", strerror(errno));
  pthread_cleanup_pop(1);
  return result == 0 ? 0 : VEK_PAL_MQ_SEND_FAILED;
}

int vek_pal_mq_get(vek_pal_mq_t mq, void* buf, unsigned* size, const unsigned* wait) {
  if (mq == nullptr || buf == nullptr || size == nullptr) return FAIL(VEK_PAL_MQ_BAD_ARGUMENT, "Invalid parameters");
  const vek_pal_mq queue = *mq;
  msqid_ds settings;
  if (msgctl(queue.msqid, IPC_STAT, &settings) != 0) return FAIL(-1, "msgctl IPC_STAT failed: %s", strerror(errno));
  const size_t capacity = settings.msg_qbytes;
  const size_t payload_max = capacity > kTypeSize ? capacity - kTypeSize : 0;
  Frame* const frame = new_frame(payload_max);
  if (frame == nullptr) return FAIL(VEK_PAL_MQ_RECEIVE_FAILED, "msgrcv failed: %s", strerror(ENOMEM));

  ssize_t received;
  pthread_cleanup_push(vek_pal_free, frame);
  received = msgrcv(queue.msqid, frame, payload_max, kType, flags_of(wait));
  if (received >= 0) {
    memcpy(buf, frame->payload, static_cast<size_t>(received));
    *size = static_cast<unsigned>(received);
    LOG_I("mq: %s, id: %d get success", queue.name, queue.msqid);
  } else if (errno == ENOMSG) {
    LOG_E("msgrcv failed: %s, queue is empty.", strerror(errno));
  } else {
    LOG_E("msgrcv failed: %s", strerror(errno));
  }
  pthread_cleanup_pop(1);
  return received >= 0 ? 0 : VEK_PAL_MQ_RECEIVE_FAILED;
}
