#pragma once

#include <asio/ip/tcp.hpp>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "at_server/at_commands.h"
#include "at_server/at_session.h"
#include "at_server/at_terminal.h"
#include "control/module.h"

namespace simulated {

// The module's AT command server: 127.0.0.1, port 40096, and the terminal /dev/ttyAT0. Any number of clients at once.
class AtServer {
 public:
  explicit AtServer(Module& module);

  // A line that nobody asked for, on every connection.
  void show(const std::string& line);

 private:
  void start();
  void stop();
  std::size_t drop();
  void declare_commands(Control& control);

  asio::awaitable<void> accept(std::shared_ptr<asio::ip::tcp::acceptor> acceptor);
  asio::awaitable<void> serve_terminal(std::shared_ptr<AtTerminal> terminal);
  asio::awaitable<void> serve(std::shared_ptr<AtSession> session);

  asio::io_context& events_;
  Watch& watch_;
  const AtCommands& commands_;
  asio::ip::port_type port_;
  std::shared_ptr<asio::ip::tcp::acceptor> acceptor_;  // none while stopped
  std::shared_ptr<AtTerminal> terminal_;
  std::vector<std::shared_ptr<AtSession>> sessions_;
  int clients_so_far_ = 0;
};

}  // namespace simulated
