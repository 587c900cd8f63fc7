#include "vek_pal/at_client.h"

#include <errno.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <string_view>

#include "common/base/heap_block.h"
#include "common/base/mutex_lock.h"
#include "common/base/unique_fd.h"
#include "log/log.h"
#include "vek_pal/mutex.h"
#include "vek_pal/thread.h"

namespace {

constexpr char kLogTag[] = "IPC_AT";
constexpr in_port_t kPort = 40096;
constexpr int kConnectAttempts = 30;
constexpr unsigned kConnectPauseMs = 100;
constexpr unsigned kBufferSize = 6144;
constexpr int kReceives = 10;
constexpr int kReconnects = 10;  // a server that hangs up on everybody must not hold the caller for good

constinit std::atomic<int> g_connection = -1;
constinit vek_pal_mutex_t g_at_mutex = nullptr;

// Closing deletes the AT mutex, while other threads may wait for it: it goes when nobody uses it any more.
constinit pthread_mutex_t g_users_mutex = PTHREAD_MUTEX_INITIALIZER;
constinit int g_users = 0;

// Holds the AT mutex for a scope, with cancellation off.
class AtLock {
 public:
  enum Make { kMake, kOnlyIfThere };

  explicit AtLock(Make make) {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state_);
    {
      const vek::MutexLock lock(g_users_mutex);
      if (g_at_mutex == nullptr && make == kMake) vek_pal_mutex_create(&g_at_mutex);
      mutex_ = g_at_mutex;
      if (mutex_ != nullptr) g_users++;
    }
    if (mutex_ != nullptr) vek_pal_mutex_lock(mutex_);
  }
  ~AtLock() {
    if (mutex_ != nullptr) {
      vek_pal_mutex_unlock(mutex_);
      const vek::MutexLock lock(g_users_mutex);
      if (--g_users == 0 && delete_at_end_) vek_pal_mutex_delete(&g_at_mutex);
    }
    pthread_setcancelstate(cancel_state_, nullptr);
  }
  AtLock(const AtLock&) = delete;
  AtLock& operator=(const AtLock&) = delete;

  explicit operator bool() const { return mutex_ != nullptr; }
  void delete_at_end() { delete_at_end_ = true; }

 private:
  vek_pal_mutex_t mutex_ = nullptr;
  bool delete_at_end_ = false;
  int cancel_state_ = 0;
};

int connect_once() {
  vek::UniqueFd connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in server = {};
  server.sin_family = AF_INET;
  server.sin_port = htons(kPort);
  server.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&server), sizeof server) != 0) return -1;
  return connection.release();
}

// Called with the AT mutex held.
void disconnect() { close(g_connection.exchange(-1)); }

// Up to and with the first CR LF, or all of it.
std::string_view first_line(const char* command) {
  const char* const end = strstr(command, "\r\n");
  return end != nullptr ? std::string_view(command, static_cast<size_t>(end + 2 - command)) : std::string_view(command);
}

bool send_line(std::string_view line) {
  const ssize_t sent = send(g_connection, line.data(), line.size(), MSG_NOSIGNAL);
  if (sent < 0) return FAIL(false, "Send to at server error, sent_size fail :%d\n", static_cast<int>(sent));
  return true;
}

// A signal that the daemon handles is no answer: whoever gave up here would read it as the next command's.
ssize_t receive(char* chunk) {
  ssize_t received;
  do {
    received = recv(g_connection, chunk, kBufferSize, 0);
  } while (received < 0 && errno == EINTR);
  return received;
}

bool is_final(std::string_view chunk) {
  return chunk.find("ERROR") != std::string_view::npos || chunk.find("OK") != std::string_view::npos;
}

// Sends the line and collects what comes back, at most kBufferSize bytes. A server that hangs up gets the line again
// over a new connection.
bool exchange(std::string_view line, char* chunk, char* collected, size_t& total) {
  if (!send_line(line)) return false;
  int reconnects_left = kReconnects;
  for (int receives_left = kReceives; receives_left > 0; receives_left--) {
    const ssize_t received = receive(chunk);
    if (received < 0) return FAIL(false, "recv_size fail:%d", static_cast<int>(received));
    if (received == 0) {
      disconnect();
      LOG_E("server disconnected, will reconnect!");
      if (reconnects_left-- > 0) vek_pal_ipc_at_clinet_init();
      if (g_connection != -1) {
        if (!send_line(line)) return false;
        total = 0;
        receives_left = kReceives + 1;
        continue;
      }
    }
    const auto size = static_cast<size_t>(received);
    LOG_I("+++++++++++recv_buf len :%d", static_cast<int>(size));
    const size_t kept = std::min(size, kBufferSize - total);
    memcpy(collected + total, chunk, kept);
    total += kept;
    if (is_final({chunk, size})) {
      LOG_I("recv_size ok, will resp:%d", static_cast<int>(total));
      break;
    }
    LOG_I("recv_size ok, but bot find error or ok will rerecv:%d, total_size:%d", static_cast<int>(size),
          static_cast<int>(total));
  }
  collected[total] = '\0';
  return true;
}

}  // namespace

int vek_pal_ipc_at_clinet_init(void) {
  const AtLock lock(AtLock::kMake);
  if (!lock) return FAIL(-1, "creat nutex error!");
  if (g_connection != -1) {
    LOG_I("sock handle is already exit!");
    return 0;
  }
  for (int failed = 0; failed < kConnectAttempts;) {
    g_connection = connect_once();
    if (g_connection != -1) {
      LOG_I("tcp connect ok:%dth!", failed);
      return 0;
    }
    failed++;
    LOG_E("tcp connect faild:%d!", failed);
    vek_pal_thread_msleep(kConnectPauseMs);
  }
  return 0;
}

int vek_pal_at_client_close(void) {
  AtLock lock(AtLock::kOnlyIfThere);
  lock.delete_at_end();
  if (g_connection == -1)
    LOG_I("socket is  already closed");
  else
    disconnect();
  return 0;
}

int vek_pal_at_send(const char* command, uint32_t command_size, char* response, uint32_t response_size,
                    uint32_t* response_len) {
  if (response_len != nullptr) *response_len = 0;
  if (command == nullptr || command_size == 0 || response == nullptr || response_size == 0 || response_len == nullptr)
    return FAIL(-1, "Invalid parameter!");
  if (g_connection == -1 && vek_pal_ipc_at_clinet_init() != 0) return FAIL(-1, "socket is not init or init error!");

  const AtLock lock(AtLock::kMake);
  if (!lock) return FAIL(-1, "socket is not init or init error!");
  const vek::HeapBlock<char> chunk(kBufferSize);
  if (!chunk) return FAIL(VEK_PAL_AT_NO_MEMORY, "malloc recvbuf error");
  const vek::HeapBlock<char> collected(kBufferSize + 1);
  if (!collected) return FAIL(-1, "malloc collect_buf error, free recvbuf");
  size_t total = 0;
  if (!exchange(first_line(command), chunk.get(), collected.get(), total)) return -1;

  const size_t copied = std::min<size_t>(total, response_size);
  memset(response, 0, response_size);
  memcpy(response, collected.get(), copied);
  *response_len = static_cast<uint32_t>(copied);
  LOG_I("at resp ok:+len:%d", static_cast<int>(copied));
  LOG_I("at resp %s", collected.get());
  return 0;
}
