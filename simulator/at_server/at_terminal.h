#pragma once

#include <asio/any_io_executor.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <string>

#include "common/base/unique_fd.h"

namespace simulated {

// A pseudo terminal that clients open under a fixed path, one after another, like a modem's serial port.
class AtTerminal {
 public:
  explicit AtTerminal(std::string path);  // throws std::system_error
  ~AtTerminal() { remove(); }

  // Takes the path away; who has the terminal open keeps it.
  void remove();

  bool has_client() const;

  // A new terminal behind the path. Each client gets one: what the last one did not fetch goes with the old one, and so
  // does its claim to be the only user, which outlives it on a pseudo terminal.
  void renew();

  asio::posix::stream_descriptor stream(const asio::any_io_executor& executor) const;

 private:
  std::string path_;
  vek::UniqueFd master_;
  bool linked_ = false;
};

}  // namespace simulated
