#include <stdint.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>

#include "common/base/mutex_lock.h"
#include "common/base/unique_fd.h"
#include "ipc/unix_address.h"
#include "log/log.h"
#include "vek_pal/ipc.h"
#include "vek_pal/thread.h"

namespace {

constexpr char kLogTag[] = "IPC";
constexpr char kServerPath[] = "/data/vek_pal_ipc_server.sock";
constexpr size_t kReceiveMax = 1024;
constexpr size_t kEntries = 16;
constexpr uint32_t kStackSize = 20480;

// Registrations and a wipe of the table may come while a message is delivered; `callback` is stored last and cleared
// first.
struct Entry {
  std::atomic<int32_t> msg_id;
  std::atomic<vek_pal_ipc_callback> callback;
  std::atomic<void*> user;
};

constinit Entry g_callbacks[kEntries] = {};
constinit pthread_mutex_t g_register_mutex = PTHREAD_MUTEX_INITIALIZER;
constinit vek_pal_thread_t g_server_thread = nullptr;

void deliver(int32_t msg_id, void* payload, int32_t length) {
  for (Entry& entry : g_callbacks) {
    const vek_pal_ipc_callback callback = entry.callback.load(std::memory_order_acquire);
    if (callback != nullptr && entry.msg_id == msg_id) callback(msg_id, payload, length, entry.user);
  }
}

void serve(int server) {
  for (;;) {
    char buffer[kReceiveMax + 1] = {};  // what callbacks read as text always has its terminator
    const ssize_t received = recv(server, buffer, kReceiveMax, 0);
    if (received < 0) {
      LOG_E("recvfrom fail");
      continue;
    }
    int32_t msg_id;
    memcpy(&msg_id, buffer, sizeof msg_id);
    LOG_I("receive ipc msg id %d", msg_id);
    deliver(msg_id, buffer + sizeof msg_id, static_cast<int32_t>(received) - static_cast<int32_t>(sizeof msg_id));
  }
}

void* vek_pal_ipc_server_thread_entry(void*) {
  const vek::UniqueFd server(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!server) return FAIL(nullptr, "socket create fail");
  unlink(kServerPath);
  const sockaddr_un address = vek::ipc::unix_address(kServerPath);
  if (bind(server.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    return FAIL(nullptr, "bind fail");
  LOG_I("ipc server listening on %s...", kServerPath);
  serve(server.get());
  return nullptr;
}

}  // namespace

int vek_pal_ipc_server_init(void) {
  {
    const vek::MutexLock lock(g_register_mutex);
    for (Entry& entry : g_callbacks) {
      entry.callback = nullptr;
      entry.msg_id = 0;
      entry.user = nullptr;
    }
  }
  LOG_I("create ipc server thread");
  const vek_pal_thread_attr attr = {0, kStackSize};
  if (vek_pal_thread_create(&g_server_thread, "ipc thread", &attr, vek_pal_ipc_server_thread_entry, nullptr) != 0)
    return FAIL(-1, "create ipc server thread fail");
  return 0;
}

int vek_pal_ipc_msg_register_cmd(int32_t msg_id, vek_pal_ipc_callback callback, void* user_data) {
  const vek::MutexLock lock(g_register_mutex);
  for (Entry& entry : g_callbacks) {
    if (entry.callback != nullptr) continue;
    entry.msg_id = msg_id;
    entry.user = user_data;
    entry.callback.store(callback, std::memory_order_release);
    LOG_I("registered ipc callback, msg id: %d", msg_id);
    return 0;
  }
  return FAIL(-1, "fail to registered ipc callback, msg id: %d", msg_id);
}
