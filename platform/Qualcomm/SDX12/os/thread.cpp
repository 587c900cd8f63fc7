#include "vek_pal/thread.h"

#include <limits.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <atomic>

#include "common/base/heap_block.h"
#include "common/base/mutex_lock.h"
#include "log/log.h"

struct vek_pal_thread_info {
  pthread_t* thread_id;
  int32_t priority;
  uint32_t stacksize;
  void* stackaddr;  // a local of the entry function, for diagnosis only
  void* (*callback)(void*);
  void* arg;
};
static_assert(sizeof(void*) != 4 || sizeof(vek_pal_thread_info) == 24);

namespace {

constexpr char kLogTag[] = "THREAD";
constexpr size_t kNameMax = 128;
constexpr uint32_t kStackMin = 16384;

// The record belongs to the handle and to the running thread: whoever lets go last frees it. `finished` says that the
// body is over, after which the thread's id may belong to another thread and must not be cancelled.
struct Thread {
  vek_pal_thread_info info;
  std::atomic<int> owners;
  bool finished;
};

// Held while a thread is cancelled, and by a thread that marks itself finished: so no id is cancelled that is gone.
constinit pthread_mutex_t g_end_mutex = PTHREAD_MUTEX_INITIALIZER;

Thread* thread_of(vek_pal_thread_info* info) { return reinterpret_cast<Thread*>(info); }

void let_go(Thread* thread) {
  if (thread->owners.fetch_sub(1) != 1) return;
  vek_pal_free(thread->info.thread_id);
  vek_pal_free(thread);
}

// Runs when the body has returned, has called pthread_exit, or was cancelled.
void on_end(void* arg) {
  auto* const thread = static_cast<Thread*>(arg);
  int ignored;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &ignored);
  {
    const vek::MutexLock lock(g_end_mutex);
    thread->finished = true;
  }
  let_go(thread);
}

void* thread_entry(void* arg) {
  auto* const thread = static_cast<Thread*>(arg);
  if (thread == nullptr) return FAIL(nullptr, "thread_info is NULL");
  pthread_cleanup_push(on_end, thread);
  int local = 0;
  thread->info.stackaddr = &local;
  LOG_I("thread_callback_in thread_info->stackaddr is %p", thread->info.stackaddr);
  if (thread->info.callback != nullptr)
    thread->info.callback(thread->info.arg);
  else
    LOG_E("thread_info->callback is NULL");
  pthread_cleanup_pop(1);
  return nullptr;
}

int apply(const vek_pal_thread_attr& wanted, pthread_attr_t& attr) {
  if (wanted.stacksize < kStackMin)
    return FAIL(VEK_PAL_THREAD_STACK_TOO_SMALL, "The stack size is less than PTHREAD_STACK_MIN bytes.");
  if (pthread_attr_setstacksize(&attr, wanted.stacksize) != 0) return FAIL(-1, "The setstacksize failed");

  int policy = SCHED_OTHER;
  pthread_attr_getschedpolicy(&attr, &policy);
  if (wanted.priority != 0 && policy == SCHED_OTHER) {
    LOG_D("The current scheduling policy does not support priority");
  } else if (wanted.priority != 0) {
    sched_param param = {};  // some C libraries have more members
    param.sched_priority = wanted.priority;
    if (pthread_attr_setschedparam(&attr, &param) != 0)
      return FAIL(VEK_PAL_THREAD_SCHEDPARAM_FAILED, "The setschedparam failed");
  }
  if (pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED) != 0) return FAIL(-1, "The setdetachstate failed");
  return 0;
}

int start_with(const vek_pal_thread_attr& wanted, Thread* thread, pthread_t* id) {
  pthread_attr_t attr;
  if (pthread_attr_init(&attr) != 0) return FAIL(VEK_PAL_THREAD_ATTR_INIT_FAILED, "The attr_init failed");
  int result = apply(wanted, attr);
  if (result == 0) result = pthread_create(id, &attr, thread_entry, thread);
  pthread_attr_destroy(&attr);
  return result;
}

int start_with_defaults(Thread* thread, pthread_t* id) {
  const int result = pthread_create(id, nullptr, thread_entry, thread);
  if (result == 0 && pthread_detach(*id) != 0) LOG_W("The pthread_detach failed.");
  return result;
}

unsigned shown(pthread_t id) { return static_cast<unsigned>(id); }

}  // namespace

int vek_pal_thread_create(vek_pal_thread_t* th, const char* name, const vek_pal_thread_attr* attr,
                          void* (*callback)(void*), void* arg) {
  if (th == nullptr || name == nullptr) return FAIL(VEK_PAL_THREAD_BAD_ARGUMENT, "the th or name or attr is NULL!");
  if (strnlen(name, kNameMax + 1) > kNameMax) return FAIL(VEK_PAL_THREAD_NAME_TOO_LONG, "the name is too long!");

  vek::HeapBlock<Thread> thread;
  if (!thread) return FAIL(VEK_PAL_THREAD_NO_RECORD, "malloc thread_info failed.");
  vek::HeapBlock<pthread_t> id;
  if (!id) return FAIL(-1, "malloc thread_id failed.");
  thread->owners = 2;
  thread->info.thread_id = id.get();
  thread->info.callback = callback;
  thread->info.arg = arg;
  if (attr != nullptr) {
    thread->info.priority = attr->priority;
    thread->info.stacksize = attr->stacksize;
  }

  // The handle is stored before the body can look at it. A body that is over, or deletes its own handle, at once waits
  // for the mutex: the record lives until the id has been read.
  vek_pal_thread_info* const before = *th;
  pthread_t started;
  int result;
  {
    const vek::MutexLock lock(g_end_mutex);
    *th = &thread->info;
    result = attr != nullptr ? start_with(*attr, thread.get(), id.get()) : start_with_defaults(thread.get(), id.get());
    started = *id;
    if (result == 0) {
      id.release();
      thread.release();
    } else {
      *th = before;
    }
  }
  if (result != 0) {
    LOG_E("%s thread create failed ret: %d", name, result);
    LOG_I("free %p", static_cast<void*>(id.get()));
    LOG_I("free %p", static_cast<void*>(thread.get()));
    return -1;
  }
  LOG_I("%s thread create success, thread_id: 0x%x", name, shown(started));
  return 0;
}

int vek_pal_thread_delete(vek_pal_thread_t* th) {
  if (th == nullptr || *th == nullptr || (*th)->thread_id == nullptr)
    return FAIL(VEK_PAL_THREAD_BAD_ARGUMENT, "th is incorrect");
  Thread* const thread = thread_of(*th);
  const pthread_t id = *thread->info.thread_id;
  LOG_I("delete thread_id: 0x%x", shown(id));

  int result = 0;
  {
    const vek::MutexLock lock(g_end_mutex);
    if (!thread->finished) result = pthread_cancel(id);
  }
  if (result != 0) return FAIL(VEK_PAL_THREAD_CANCEL_FAILED, "delete thread_id: 0x%x failed.", shown(id));

  LOG_I("free %p", static_cast<void*>(thread->info.thread_id));
  LOG_I("free %p", static_cast<void*>(thread));
  *th = nullptr;
  let_go(thread);
  LOG_I("delete thread_id: 0x%x success.", shown(id));
  return 0;
}

int vek_pal_thread_msleep(unsigned milliseconds) { return usleep(milliseconds * 1000); }

int vek_pal_thread_suspend(vek_pal_thread_t) { return VEK_PAL_THREAD_NOT_SUPPORTED; }

int vek_pal_thread_resume(vek_pal_thread_t) { return VEK_PAL_THREAD_NOT_SUPPORTED; }

pthread_t vek_pal_thread_id(vek_pal_thread_t* th) {
  if (th == nullptr || *th == nullptr) return FAIL(pthread_t{}, "the th is NULL");
  const pthread_t id = *(*th)->thread_id;
  LOG_I("get thread_id: 0x%x", shown(id));
  return id;
}
