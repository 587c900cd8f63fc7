#pragma once

#include <asio/awaitable.hpp>
#include <asio/io_context.hpp>
#include <asio/local/datagram_protocol.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "control/module.h"
#include "control/turn.h"

namespace simulated {

// The way to the feature daemon: datagrams to its IPC server, and the answers that come back to the AT client's socket.
class DaemonLink {
 public:
  struct Answer {
    std::int32_t result;  // 0 success
    std::string text;
  };

  explicit DaemonLink(Module& module);

  // One message; false when no daemon takes it within the time limit.
  asio::awaitable<bool> post(std::int32_t message_id, std::string payload);

  // Hands the daemon one AT command line and waits for its answer: one line at a time, the others queue. Nothing when
  // no daemon listens, when it has died, or when it does not answer within the time limit; an answer after that belongs
  // to nobody.
  asio::awaitable<std::optional<Answer>> ask(std::string at_line);

 private:
  asio::awaitable<void> collect_answers();
  void take_answer(std::string datagram);
  void drop_late_answers();
  asio::awaitable<bool> daemon_is_done();
  asio::awaitable<void> pause(std::chrono::milliseconds time);

  asio::io_context& events_;
  Watch& watch_;
  std::chrono::milliseconds time_limit_;
  asio::local::datagram_protocol::socket answers_;
  Turn turn_;
  asio::steady_timer* asking_ = nullptr;  // of the question under way
  std::optional<Answer> answer_;
  bool owes_an_answer_ = false;
};

}  // namespace simulated
