#pragma once

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <string>

#include "control/control.h"

namespace simulated {

// Takes requests on a Unix stream socket: a line {"argv":[...]} each, answered with a line
// {"ok":true,"text":...,"data":...} or
// {"ok":false,"error":...}. A line with "more":true is followed by others. A connection may carry requests one after
// another.
class ControlServer {
 public:
  ControlServer(asio::io_context& events, Control& control, const std::string& path);

 private:
  void accept();

  Control& control_;
  asio::local::stream_protocol::acceptor acceptor_;
};

}  // namespace simulated
