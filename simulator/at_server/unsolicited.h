#pragma once

#include <asio/awaitable.hpp>
#include <asio/local/datagram_protocol.hpp>

#include "at_server/at_server.h"
#include "control/module.h"

namespace simulated {

// Lines that the feature daemon sends on its own: one datagram each, shown on every AT connection.
class Unsolicited {
 public:
  Unsolicited(Module& module, AtServer& server);

 private:
  asio::awaitable<void> collect();

  AtServer& server_;
  asio::local::datagram_protocol::socket socket_;
};

}  // namespace simulated
