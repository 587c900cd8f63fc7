#include "providers/qmi/transport/link.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include "providers/qmi/codec/frame.h"
#include "vek_pal/memory.h"

namespace vek::qmi {
namespace {

constexpr size_t kFirstRoom = 4096;  // nearly every frame is smaller; a bigger one makes the room grow

}  // namespace

Milliseconds now_ms() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return Milliseconds{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

bool Link::open_proxy() {
  // An abstract name counts with its length: zeros after it would make another address.
  constexpr char kName[] = "\0qmi-proxy";
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  memcpy(address.sun_path, kName, sizeof kName - 1);
  UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!fd) return false;
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sizeof kName - 1);
  if (connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), size) != 0) return false;
  return take(fd.release(), true);
}

bool Link::open_device(const char* path) {
  const int fd = open(path, O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  return fd >= 0 && take(fd, false);
}

bool Link::take(int fd, bool is_socket) {
  fd_ = fd;
  is_socket_ = is_socket;
  out_ = static_cast<uint8_t*>(vek_pal_malloc(kOutgoingMax));
  if (out_ == nullptr) close();
  return out_ != nullptr;
}

void Link::close() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  if (in_ != nullptr) vek_pal_free(in_);
  if (out_ != nullptr) vek_pal_free(out_);
  in_ = out_ = nullptr;
  in_capacity_ = in_begin_ = in_end_ = 0;
  out_begin_ = out_end_ = 0;
}

void Link::cut() {
  if (is_socket_) shutdown(fd_, SHUT_RDWR);
}

void Link::send(size_t size) {
  out_begin_ = 0;
  out_end_ = size;
}

Link::Progress Link::flush() {
  while (out_begin_ != out_end_) {
    const size_t left = out_end_ - out_begin_;
    const ssize_t sent =
        is_socket_ ? ::send(fd_, out_ + out_begin_, left, MSG_NOSIGNAL) : write(fd_, out_ + out_begin_, left);
    if (sent > 0) {
      out_begin_ += static_cast<size_t>(sent);
    } else if (sent < 0 && errno == EAGAIN) {
      return Progress::would_block;
    } else if (sent == 0 || errno != EINTR) {
      return Progress::broken;
    }
  }
  return Progress::done;
}

bool Link::make_room(size_t frame_size) {
  if (in_begin_ != 0) {
    memmove(in_, in_ + in_begin_, in_end_ - in_begin_);
    in_end_ -= in_begin_;
    in_begin_ = 0;
  }
  if (in_capacity_ >= frame_size && in_end_ < in_capacity_) return true;
  const size_t capacity = frame_size > kFirstRoom ? kFrameMax : kFirstRoom;
  void* const grown = vek_pal_realloc(in_, static_cast<unsigned>(capacity));
  if (grown == nullptr) return false;
  in_ = static_cast<uint8_t*>(grown);
  in_capacity_ = capacity;
  return true;
}

Link::Progress Link::receive() {
  size_t wanted = 0;
  if (has_unfinished_frame()) cut_frame({in_ + in_begin_, in_end_ - in_begin_}, &wanted);
  if (!make_room(wanted)) return Progress::broken;
  const ssize_t got = read(fd_, in_ + in_end_, in_capacity_ - in_end_);
  if (got > 0) {
    in_end_ += static_cast<size_t>(got);
    return Progress::done;
  }
  return got < 0 && (errno == EAGAIN || errno == EINTR) ? Progress::would_block : Progress::broken;
}

std::span<const uint8_t> Link::next_frame(bool& broken) {
  const std::span<const uint8_t> received(in_ + in_begin_, in_end_ - in_begin_);
  const ptrdiff_t size = cut_frame(received);
  broken = size < 0;
  if (size <= 0) return {};
  in_begin_ += static_cast<size_t>(size);
  if (in_begin_ == in_end_) in_begin_ = in_end_ = 0;
  return received.first(static_cast<size_t>(size));
}

}  // namespace vek::qmi
