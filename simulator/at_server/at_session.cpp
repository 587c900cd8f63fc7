#include "at_server/at_session.h"

#include <asio/redirect_error.hpp>
#include <asio/use_awaitable.hpp>
#include <utility>

namespace simulated {
namespace {

constexpr std::size_t kLongestLine = 4096;
constexpr char kBackspace = '\b';
constexpr char kDelete = 0x7f;

// In one piece: clients look for the final result in what a single read gives them.
std::string wire_text(const AtAnswer& answer) {
  std::string text;
  for (const std::string& line : answer.lines) text += "\r\n" + line + "\r\n";
  return text + "\r\n" + answer.result + "\r\n";
}

std::string one_line(const AtAnswer& answer) {
  std::string text;
  for (const std::string& line : answer.lines) text += line + " | ";
  return text + answer.result;
}

}  // namespace

std::optional<LineInput::Line> LineInput::take(char c) {
  if (c == '\r' || c == '\n') {
    Line ended = std::exchange(line_, {});
    if (ended.text.empty()) return std::nullopt;
    return ended;
  }
  if (c == kBackspace || c == kDelete) {
    if (!line_.text.empty()) line_.text.pop_back();
  } else if (line_.text.size() == kLongestLine) {
    line_.too_long = true;
  } else if (static_cast<unsigned char>(c) >= ' ') {
    line_.text += c;
  }
  return std::nullopt;
}

AtSession::AtSession(asio::posix::stream_descriptor stream, std::string name, bool echo, const AtCommands& commands,
                     Watch& watch)
    : outbox_(std::make_shared<Outbox<asio::posix::stream_descriptor>>(std::move(stream))),
      name_(std::move(name)),
      settings_{echo},
      commands_(commands),
      watch_(watch) {}

asio::awaitable<void> AtSession::serve() {
  const auto self = shared_from_this();
  LineInput input;
  char chunk[4096];
  for (;;) {
    asio::error_code failure;
    const std::size_t length = co_await outbox_->stream().async_read_some(
        asio::buffer(chunk), asio::redirect_error(asio::use_awaitable, failure));
    if (failure) break;
    std::string echoed;
    for (const char c : std::string_view{chunk, length}) {
      if (settings_.echo) echoed += c;
      auto line = input.take(c);
      if (!line) continue;
      if (!echoed.empty()) outbox_->send(std::exchange(echoed, {}));
      co_await answer(std::move(*line));
    }
    if (!echoed.empty()) outbox_->send(std::move(echoed));
  }
  outbox_->close_when_sent();
}

asio::awaitable<void> AtSession::answer(LineInput::Line line) {
  watch_.tell("at-server", name_ + " < " + line.text);
  AtAnswer answer = AtAnswer::error();
  if (!line.too_long) answer = co_await commands_.run(line.text, &settings_);
  watch_.tell("at-server", name_ + " > " + one_line(answer));
  outbox_->send(wire_text(answer));
}

void AtSession::show(const std::string& unsolicited_line) { outbox_->send("\r\n" + unsolicited_line + "\r\n"); }

}  // namespace simulated
