// Loaded into the programs of a box (LD_PRELOAD), because the kernel of a laptop has no such bus: opening /dev/i2c-3 or
// /dev/korv_gpio_ctl connects to the simulated module, and the device's ioctls become requests on that connection. The
// descriptor is the connection and nothing is kept here, so it may be duplicated, inherited and closed like any other.
// Without a module there, and for every other file, the calls are the C library's.
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include "simulator/i2c/wire.h"

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

using namespace simulated::i2c;

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int connect_to_bus(int flags) {
  const int type = SOCK_SEQPACKET | ((flags & O_CLOEXEC) != 0 ? SOCK_CLOEXEC : 0);
  const int fd = socket(AF_UNIX, type, 0);
  const BusAddress bus;
  if (fd >= 0 && connect(fd, bus.get(), bus.length) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

// -1: the C library has to open it.
int open_device(const char* path, int flags) {
  if (path == nullptr || (strcmp(path, "/dev/i2c-3") != 0 && strcmp(path, "/dev/korv_gpio_ctl") != 0)) return -1;
  const int before = errno;
  const int fd = connect_to_bus(flags);
  errno = before;
  return fd;
}

bool is_ours(int fd) {
  BusAddress bus, peer;
  peer.length = sizeof peer.address;
  return getpeername(fd, reinterpret_cast<sockaddr*>(&peer.address), &peer.length) == 0 && peer.length == bus.length &&
         memcmp(&peer.address, &bus.address, bus.length) == 0;
}

int fail(int error) {
  errno = error;
  return -1;
}

// Sends `out`, and fills `in` behind the reply's head.
int exchange(int fd, iovec* out, size_t out_count, iovec* in, size_t in_count) {
  msghdr sending = {};
  sending.msg_iov = out;
  sending.msg_iovlen = out_count;
  if (sendmsg(fd, &sending, MSG_NOSIGNAL) < 0) return fail(EIO);
  Reply reply = {-1, EIO};
  in[0] = {&reply, sizeof reply};
  msghdr receiving = {};
  receiving.msg_iov = in;
  receiving.msg_iovlen = in_count;
  ssize_t received;
  do {
    received = recvmsg(fd, &receiving, 0);
  } while (received < 0 && errno == EINTR);
  if (received < static_cast<ssize_t>(sizeof reply)) return fail(EIO);  // the module has gone
  return reply.result < 0 ? fail(reply.error) : reply.result;
}

int transfer(int fd, const i2c_rdwr_ioctl_data* data) {
  if (data == nullptr || data->msgs == nullptr || data->nmsgs == 0 || data->nmsgs > kMostMessages) return fail(EINVAL);
  Request request = {I2C_RDWR, data->nmsgs};
  MessageHead heads[kMostMessages];
  iovec out[2 + kMostMessages] = {{&request, sizeof request}, {heads, data->nmsgs * sizeof *heads}};
  iovec in[1 + kMostMessages];
  size_t out_count = 2, in_count = 1;
  for (unsigned i = 0; i < data->nmsgs; i++) {
    const i2c_msg& message = data->msgs[i];
    if (message.len > kLongestMessage) return fail(EINVAL);
    heads[i] = {message.addr, message.flags, message.len};
    ((message.flags & I2C_M_RD) != 0 ? in[in_count++] : out[out_count++]) = {message.buf, message.len};
  }
  return exchange(fd, out, out_count, in, in_count);
}

int with_value(int fd, unsigned long command, void* argument) {
  Request request = {static_cast<uint32_t>(command), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(argument))};
  iovec out = {&request, sizeof request}, in;
  return exchange(fd, &out, 1, &in, 1);
}

int with_words(int fd, void* words) {
  if (words == nullptr) return fail(EFAULT);
  Request request = {static_cast<uint32_t>(kGpioSet), 0};
  iovec out[] = {{&request, sizeof request}, {words, sizeof(GpioWords)}}, in;
  return exchange(fd, out, 2, &in, 1);
}

mode_t mode_argument(int flags, va_list args) {
  return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE ? va_arg(args, mode_t) : 0;
}

}  // namespace

// The ways in which programs open a file; all of them end in the same two questions.
#define OPEN(name)                                                        \
  EXPORTED int name(const char* path, int flags, ...) {                   \
    va_list args;                                                         \
    va_start(args, flags);                                                \
    const mode_t mode = mode_argument(flags, args);                       \
    va_end(args);                                                         \
    const int fd = open_device(path, flags);                              \
    return fd >= 0 ? fd : next<decltype(name)>(#name)(path, flags, mode); \
  }
OPEN(open)
OPEN(open64)

#define OPENAT(name)                                                                 \
  EXPORTED int name(int directory, const char* path, int flags, ...) {               \
    va_list args;                                                                    \
    va_start(args, flags);                                                           \
    const mode_t mode = mode_argument(flags, args);                                  \
    va_end(args);                                                                    \
    const int fd = open_device(path, flags);                                         \
    return fd >= 0 ? fd : next<decltype(name)>(#name)(directory, path, flags, mode); \
  }
OPENAT(openat)
OPENAT(openat64)

// What open() becomes in a program that is built with _FORTIFY_SOURCE.
#define OPEN_CHECKED(name)                                                 \
  EXPORTED int name(const char* path, int flags) {                         \
    const int fd = open_device(path, flags);                               \
    return fd >= 0 ? fd : next<int(const char*, int)>(#name)(path, flags); \
  }
OPEN_CHECKED(__open_2)
OPEN_CHECKED(__open64_2)

EXPORTED int ioctl(int fd, unsigned long command, ...) noexcept {
  va_list args;
  va_start(args, command);
  void* const argument = va_arg(args, void*);
  va_end(args);
  switch (command) {
    case I2C_RDWR:
      if (is_ours(fd)) return transfer(fd, static_cast<const i2c_rdwr_ioctl_data*>(argument));
      break;
    case I2C_SLAVE:
    case I2C_SLAVE_FORCE:
    case I2C_TENBIT:
      if (is_ours(fd)) return with_value(fd, command, argument);
      break;
    case I2C_FUNCS:
      if (!is_ours(fd)) break;
      *static_cast<unsigned long*>(argument) = I2C_FUNC_I2C | I2C_FUNC_10BIT_ADDR;
      return 0;
    case kGpioSet:
      if (is_ours(fd)) return with_words(fd, argument);
      break;
    default:
      break;
  }
  return next<int(int, unsigned long, ...)>("ioctl")(fd, command, argument);
}
