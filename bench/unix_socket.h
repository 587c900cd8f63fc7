#pragma once

#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace bench {

inline sockaddr_un unix_address(const char* path) {
  sockaddr_un address = {AF_UNIX, ""};
  memcpy(address.sun_path, path, strlen(path));
  return address;
}

// A datagram socket that listens at a path.
inline int bound(const char* path) {
  unlink(path);
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const sockaddr_un address = unix_address(path);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) abort();
  return fd;
}

}  // namespace bench
