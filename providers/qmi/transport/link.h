// One connection to the modem: a byte stream that carries QMUX frames, to qmi-proxy or to the device itself.
#pragma once

#include <stdint.h>

#include <span>

#include "common/base/unique_fd.h"

namespace vek::qmi {

// On CLOCK_MONOTONIC, so that setting the time of day moves no limit.
using Milliseconds = int64_t;
Milliseconds now_ms();

// Not locked: one thread at a time may send, and one may receive.
class Link {
 public:
  constexpr Link() = default;

  static constexpr size_t kOutgoingMax = 2048;  // no request of the tables is longer

  // qmi-proxy, when one listens. False: none does.
  bool open_proxy();
  // The device, which then belongs to this process alone. False: it cannot be opened.
  bool open_device(const char* path);
  void close();

  bool is_open() const { return fd_ >= 0; }
  int fd() const { return fd_; }

  // Makes both sides see the end of the connection, without closing the descriptor under whoever reads it.
  void cut();

  // Room for the next frame to send, once flush() says that the one before is gone.
  std::span<uint8_t> outgoing() { return {out_, kOutgoingMax}; }
  void send(size_t size);  // the first `size` bytes of outgoing()

  enum class Progress : uint8_t { done, would_block, broken };
  Progress flush();

  // Reads what is there.
  Progress receive();
  // The next whole frame received, valid until the next receive(); empty when there is none. `broken` tells that the
  // bytes are no frames any more.
  std::span<const uint8_t> next_frame(bool& broken);
  // Bytes of a frame whose rest is still to come.
  bool has_unfinished_frame() const { return in_begin_ != in_end_; }

 private:
  bool take(int fd, bool is_socket);
  bool make_room(size_t frame_size);

  int fd_ = -1;
  bool is_socket_ = false;

  uint8_t* out_ = nullptr;
  size_t out_begin_ = 0;
  size_t out_end_ = 0;

  uint8_t* in_ = nullptr;
  size_t in_capacity_ = 0;
  size_t in_begin_ = 0;
  size_t in_end_ = 0;
};

}  // namespace vek::qmi
