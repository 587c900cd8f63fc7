#include <errno.h>
#include <string.h>

#include "common/base/unique_fd.h"
#include "ipc/unix_address.h"
#include "log/log.h"
#include "vek_pal/ipc.h"

namespace {

constexpr char kLogTag[] = "IPC";

}  // namespace

int vek_pal_ipc_send_msg(const char* path, const void* data, uint32_t length, uint32_t stream) {
  if (path == nullptr || data == nullptr || length == 0) return FAIL(-1, "invalid param");
  const vek::UniqueFd peer(socket(AF_UNIX, (stream != 0 ? SOCK_STREAM : SOCK_DGRAM) | SOCK_CLOEXEC, 0));
  if (!peer) return FAIL(-1, "fail to create socket: %s", strerror(errno));
  if (strlen(path) >= sizeof sockaddr_un{}.sun_path) return FAIL(-1, "ipc path too long");

  const sockaddr_un address = vek::ipc::unix_address(path);
  const auto* const to = reinterpret_cast<const sockaddr*>(&address);
  ssize_t sent;
  if (stream != 0) {
    if (connect(peer.get(), to, sizeof address) != 0) return FAIL(-1, "fail to connect server: %s", strerror(errno));
    sent = send(peer.get(), data, length, MSG_NOSIGNAL);
  } else {
    sent = sendto(peer.get(), data, length, MSG_NOSIGNAL, to, sizeof address);
  }
  if (sent < 0) return FAIL(-1, "fail to send socket data: %s", strerror(errno));
  return 0;
}
