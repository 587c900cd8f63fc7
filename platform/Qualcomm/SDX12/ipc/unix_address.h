#pragma once

#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace vek::ipc {

// The address of a path; a longer path is cut.
inline sockaddr_un unix_address(const char* path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  memcpy(address.sun_path, path, strnlen(path, sizeof address.sun_path - 1));
  return address;
}

}  // namespace vek::ipc
