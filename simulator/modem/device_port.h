// The modem's device node: a pseudo terminal in raw mode, linked as /dev/cdc-wdm0.
#pragma once

#include <deque>
#include <string>

#include <asio/posix/stream_descriptor.hpp>

#include "modem/modem.h"

namespace simulated {

class DevicePort : public Port, private Link {
 public:
  DevicePort(asio::io_context& events, Modem& modem, std::string path);
  ~DevicePort() override { close(); }

  void open() override;
  void close() override;

 private:
  void send(const Bytes& frame) override;
  void wait_readable();
  void wait_writable();
  void wait_watch();
  void read_all();
  void write_all();
  bool nobody_there() const;
  void forget_what_waits();

  Modem& modem_;
  std::string path_;
  asio::posix::stream_descriptor master_;
  asio::posix::stream_descriptor watch_;  // inotify: somebody opened or closed the node
  std::string node_;
  FrameCutter cutter_;
  std::deque<Bytes> waiting_;
  size_t written_ = 0;  // of the first one
  bool reading_ = false;
  bool writing_ = false;
  bool unflushed_ = false;  // something was sent that a client may have left unread
};

}  // namespace simulated
