#pragma once

#include <asio/awaitable.hpp>
#include <asio/local/stream_protocol.hpp>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "at_server/daemon_link.h"
#include "control/module.h"

namespace simulated {

// The module's MBIM function, which talks to the laptop's modem driver. What the daemon writes to its socket is shown
// and kept; `modulectl mbim ...` plays the laptop and sends the daemon the four events.
class MbimService {
 public:
  MbimService(Module& module, DaemonLink& daemon);

  // Who shows the unsolicited lines that the daemon sends this way, without their ends.
  void when_line(std::function<void(const std::string&)> show) { show_line_ = std::move(show); }

 private:
  void declare_commands(Control& control);
  void send(const ReplyPtr& reply, std::int32_t message_id, std::string payload, std::string description);

  asio::awaitable<void> accept();
  asio::awaitable<void> read(asio::local::stream_protocol::socket socket);

  asio::io_context& events_;
  Watch& watch_;
  DaemonLink& daemon_;
  asio::local::stream_protocol::acceptor acceptor_;
  std::vector<std::string> received_;
  std::function<void(const std::string&)> show_line_;
};

}  // namespace simulated
