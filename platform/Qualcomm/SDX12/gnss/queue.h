// The acquisition's queue and the lock of its hand-over, as the acquisition sees them.
#pragma once

#include <pthread.h>

namespace vek::gnss {

constexpr int kTextMax = 2048;
constexpr int kHeaderSize = 8;

extern int g_msg_id;  // -1: no queue
// Live from vek_pal_queue_init() to vek_pal_queue_deinit().
extern pthread_mutex_t g_mutex;
extern pthread_cond_t g_changed;

// As vek_pal_queue_push() and vek_pal_queue_pop(), with the flags of msgsnd() and msgrcv().
int push(const char* text, int text_len, int flags);
int pop(char** buffer, int max_len, int* text_len, int flags);

// Messages in the queue.
unsigned waiting();

}  // namespace vek::gnss
