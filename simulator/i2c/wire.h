// What the device shim in a program and the bus in the simulated module say to each other: one request and one reply
// for each ioctl, each one packet of a sequenced-packet socket.
#pragma once

#include <stdint.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>

namespace simulated::i2c {

constexpr unsigned long kGpioSet = 0x40016702;  // the GPIO controller's, with three words
constexpr unsigned kMostMessages = 42;          // of one transfer, and bytes of one message: as the kernel has it
constexpr unsigned kLongestMessage = 8192;

// Followed by the three words of kGpioSet, or by the messages of I2C_RDWR: all their heads, then the bytes of those
// that write.
struct Request {
  uint32_t command;
  uint32_t argument;  // a value, or the number of messages
};
struct MessageHead {
  uint16_t address, flags, length;
};
struct GpioWords {
  uint32_t gpio, direction, level;
};

// Followed by the bytes of all messages that read.
struct Reply {
  int32_t result;
  int32_t error;  // errno when the result is -1
};

// An abstract name: it belongs to the box's network, and nobody has to clean it up.
struct BusAddress {
  sockaddr_un address = {AF_UNIX, "\0module-i2c"};
  socklen_t length = offsetof(sockaddr_un, sun_path) + sizeof "\0module-i2c" - 1;

  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address); }
};

}  // namespace simulated::i2c
