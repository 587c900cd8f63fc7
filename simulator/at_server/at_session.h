#pragma once

#include <asio/awaitable.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "at_server/at_commands.h"
#include "control/outbox.h"
#include "control/watch.h"

namespace simulated {

// Cuts what a client types into command lines.
class LineInput {
 public:
  struct Line {
    std::string text;
    bool too_long = false;
  };
  // A line when `c` ends one. Empty lines do not count, control characters are no part of a line, backspace takes back
  // one.
  std::optional<Line> take(char c);

 private:
  Line line_;
};

// One client of the AT server, on TCP or on the terminal.
class AtSession : public std::enable_shared_from_this<AtSession> {
 public:
  AtSession(asio::posix::stream_descriptor stream, std::string name, bool echo, const AtCommands& commands,
            Watch& watch);

  // Serves the client until it has gone or is closed.
  asio::awaitable<void> serve();

  void show(const std::string& unsolicited_line);
  void close() { outbox_->close(); }
  const std::string& name() const { return name_; }

 private:
  asio::awaitable<void> answer(LineInput::Line line);

  std::shared_ptr<Outbox<asio::posix::stream_descriptor>> outbox_;
  std::string name_;
  AtSettings settings_;
  const AtCommands& commands_;
  Watch& watch_;
};

}  // namespace simulated
