#include "gnss/queue.h"

#include <string.h>
#include <sys/ipc.h>
#include <sys/msg.h>

#include <algorithm>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "vek_pal/gnss.h"

namespace vek::gnss {

constinit int g_msg_id = -1;
constinit pthread_mutex_t g_mutex{};
constinit pthread_cond_t g_changed{};

}  // namespace vek::gnss

namespace {

using namespace vek::gnss;

constexpr char kLogTag[] = "GNSS";
constexpr key_t kKey = 0x1111;
constexpr long kTextMessage = 1;

// A message is a text behind a header of 8 bytes, whose first word is the message's type. The kernel takes that word
// away and counts the rest, but the size that travels counts text and header: room for the word is kept behind the
// text.
constexpr unsigned block_size(int text_len) {
  return static_cast<unsigned>(kHeaderSize + text_len) + static_cast<unsigned>(sizeof(long));
}

}  // namespace

int vek::gnss::push(const char* text, int text_len, int flags) {
  if (g_msg_id == -1 || text == nullptr || text_len < 1 || text_len > kTextMax)
    return FAIL(-1, "Queue push failed: invalid param:g_msg_id:%d, text_len:%d", g_msg_id, text_len);
  const vek::HeapBlock<char> block(block_size(text_len));
  if (!block) return FAIL(-1, "Queue push failed: malloc error.");

  const uint64_t header = kTextMessage;
  memcpy(block.get(), &header, sizeof header);
  memcpy(block.get() + kHeaderSize, text, static_cast<size_t>(text_len));
  if (msgsnd(g_msg_id, block.get(), static_cast<size_t>(text_len + kHeaderSize), flags) != 0)
    return FAIL(-1, "Queue push failed: msgsnd error.");
  LOG_I("Queue push success:%d", text_len);
  return 0;
}

int vek::gnss::pop(char** buffer, int max_len, int* text_len, int flags) {
  if (g_msg_id == -1 || buffer == nullptr || max_len < 1 || max_len > kTextMax)
    return FAIL(-1, "Queue pop failed: invalid param.");
  // One byte more: what another process put there need not be terminated.
  vek::HeapBlock<char> block(block_size(max_len) + 1);
  if (!block) return FAIL(-1, "Queue pop failed: malloc error.");

  const ssize_t received =
      msgrcv(g_msg_id, block.get(), static_cast<size_t>(max_len + kHeaderSize), kTextMessage, flags);
  if (received < 0) return FAIL(-1, "Queue pop failed: msgrcv error.");
  const int length = std::max(static_cast<int>(received) - kHeaderSize, 0);
  block[static_cast<size_t>(kHeaderSize + length)] = '\0';
  *buffer = block.release();
  if (text_len != nullptr) *text_len = length;
  LOG_I("Queue pop success:%d", length);
  return 0;
}

unsigned vek::gnss::waiting() {
  msqid_ds state;
  return msgctl(g_msg_id, IPC_STAT, &state) == 0 ? static_cast<unsigned>(state.msg_qnum) : 0;
}

int vek_pal_queue_init() {
  LOG_I("g_msg_id enter init");
  if (g_msg_id != -1) return FAIL(-1, "g_msg_id is already exit, loc is running");
  g_msg_id = msgget(kKey, IPC_CREAT | 0666);
  if (g_msg_id == -1) return FAIL(-1, "Queue init failed.");
  LOG_I("g_msg_id is :%d", g_msg_id);

  if (pthread_mutex_init(&g_mutex, nullptr) != 0) return FAIL(-1, "init mutex error!");
  LOG_I("mutex init ok!");
  if (pthread_cond_init(&g_changed, nullptr) != 0) return FAIL(-1, "init cond error!");
  LOG_I("Queue init success. MsgID = %d", g_msg_id);
  return 0;
}

int vek_pal_queue_push(const char* text, int text_len) { return push(text, text_len, 0); }

int vek_pal_queue_pop(char** buffer, int max_len, int* text_len) { return pop(buffer, max_len, text_len, 0); }

int vek_pal_queue_deinit() {
  if (g_msg_id == -1) {
    LOG_I("Queue already deinitialized.");
    return 0;
  }
  if (msgctl(g_msg_id, IPC_RMID, nullptr) != 0) {
    LOG_E("Queue deinit failed.");
    g_msg_id = -1;
    return 0;
  }
  if (pthread_mutex_destroy(&g_mutex) != 0) LOG_E("Queue deinit mutex error.");
  if (pthread_cond_destroy(&g_changed) != 0) LOG_E("Queue deinit cond error.");
  g_msg_id = -1;
  LOG_I("Queue deinit success.");
  return 0;
}
