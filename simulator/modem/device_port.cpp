#include "modem/device_port.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/inotify.h>
#include <termios.h>
#include <unistd.h>

#include <system_error>
#include <utility>

#include "common/base/unique_fd.h"

namespace simulated {
namespace {

constexpr size_t kMostWaitingFrames = 256;

[[noreturn]] void fail(const std::string& what) { throw std::system_error(errno, std::generic_category(), what); }

}  // namespace

DevicePort::DevicePort(asio::io_context& events, Modem& modem, std::string path)
    : Link("device"), modem_(modem), path_(std::move(path)), master_(events), watch_(events) {}

void DevicePort::open() {
  const int master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (master < 0) fail("no pseudo terminal for the modem's device");
  master_.assign(master);
  char node[64];
  if (grantpt(master) != 0 || unlockpt(master) != 0 || ptsname_r(master, node, sizeof(node)) != 0) fail("ptsname");
  node_ = node;
  // Clients take the node for a device and set no modes: as a terminal it would echo the modem's bytes back to it. It
  // is not kept open: only so the kernel tells when the last client has closed it.
  const vek::UniqueFd slave(::open(node, O_RDWR | O_NOCTTY | O_CLOEXEC));
  termios raw{};
  if (!slave || tcgetattr(slave.get(), &raw) != 0) fail(node);
  cfmakeraw(&raw);
  tcsetattr(slave.get(), TCSANOW, &raw);

  const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (watch < 0) fail("inotify");
  watch_.assign(watch);
  if (inotify_add_watch(watch, node, IN_OPEN | IN_CLOSE) < 0) fail(node);

  unlink(path_.c_str());
  if (symlink(node, path_.c_str()) != 0) fail(path_);
  modem_.add_link(*this);
  wait_watch();
}

void DevicePort::close() {
  if (!master_.is_open()) return;
  modem_.remove_link(*this);
  unlink(path_.c_str());
  master_.close();  // hangs up on whoever has the node open
  watch_.close();
  cutter_.clear();
  waiting_.clear();
  written_ = 0;
  reading_ = writing_ = false;
}

bool DevicePort::nobody_there() const {
  pollfd master{const_cast<DevicePort*>(this)->master_.native_handle(), 0, 0};
  poll(&master, 1, 0);
  return (master.revents & POLLHUP) != 0;
}

// As a device driver does when the last one closes it: what a dead client left unread, or half written, is not for the
// next one.
void DevicePort::forget_what_waits() {
  read_all();
  if (!nobody_there()) return;  // the next one is there already, and may have been answered just now
  cutter_.clear();
  waiting_.clear();
  written_ = 0;
  if (!std::exchange(unflushed_, false)) return;
  const vek::UniqueFd slave(::open(node_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (slave) tcflush(slave.get(), TCIFLUSH);
}

void DevicePort::wait_watch() {
  watch_.async_wait(watch_.wait_read, [this](const std::error_code& failure) {
    if (failure) return;
    char events[4096];
    while (::read(watch_.native_handle(), events, sizeof(events)) > 0) {
    }
    if (nobody_there()) forget_what_waits();
    if (!reading_ && !nobody_there()) wait_readable();
    wait_watch();
  });
}

// Only while somebody is there: without, the terminal is for ever ready with an end of file.
void DevicePort::wait_readable() {
  reading_ = true;
  master_.async_wait(master_.wait_read, [this](const std::error_code& failure) {
    if (failure) return;
    reading_ = false;
    read_all();
    if (master_.is_open() && !nobody_there()) wait_readable();
  });
}

void DevicePort::read_all() {
  uint8_t chunk[4096];
  for (ssize_t size; (size = ::read(master_.native_handle(), chunk, sizeof(chunk))) > 0;) {
    cutter_.feed({chunk, static_cast<size_t>(size)});
  }
  bool garbage = false;
  while (const auto frame = cutter_.next(garbage)) modem_.receive(*this, *frame);
  if (garbage) modem_.note_garbage(*this);
}

void DevicePort::send(const Bytes& frame) {
  if (nobody_there()) return;
  // A client that stopped reading loses what comes now, as with any device; never half a frame.
  if (waiting_.size() >= kMostWaitingFrames) return;
  unflushed_ = true;
  waiting_.push_back(frame);
  if (!writing_) write_all();
}

void DevicePort::write_all() {
  while (!waiting_.empty()) {
    const Bytes& front = waiting_.front();
    const ssize_t size = ::write(master_.native_handle(), front.data() + written_, front.size() - written_);
    if (size < 0) return wait_writable();
    written_ += static_cast<size_t>(size);
    if (written_ < front.size()) continue;
    waiting_.pop_front();
    written_ = 0;
  }
}

void DevicePort::wait_writable() {
  writing_ = true;
  master_.async_wait(master_.wait_write, [this](const std::error_code& failure) {
    if (failure) return;
    writing_ = false;
    write_all();
  });
}

}  // namespace simulated
