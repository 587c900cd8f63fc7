#include "at_server/daemon_link.h"

#include <fmt/format.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <asio/co_spawn.hpp>
#include <asio/detached.hpp>
#include <asio/redirect_error.hpp>
#include <asio/use_awaitable.hpp>
#include <cstring>
#include <utility>

namespace simulated {
namespace {

using asio::local::datagram_protocol;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr char kDaemonSocket[] = "/data/vek_pal_ipc_server.sock";
constexpr char kAnswerSocket[] = "/data/vek_pal_at_client.sock";
constexpr std::int32_t kAtCommand = 4;
constexpr std::int32_t kNobodysMessage = -1;
constexpr std::size_t kLongestLine = 1019;  // what the daemon's server takes, its message id and a terminator
constexpr std::size_t kLongestAnswer = 8192;
constexpr milliseconds kRetry{5};
constexpr milliseconds kLifeCheck{250};
constexpr milliseconds kTimeLimit{15'000};  // some commands wait for the modem themselves

bool daemon_listens(asio::io_context& events) {
  datagram_protocol::socket probe{events, datagram_protocol{}};
  asio::error_code failure;
  probe.connect(kDaemonSocket, failure);
  return !failure;
}

std::string message(std::int32_t id, const std::string& payload) {
  std::string whole(sizeof(id), '\0');
  std::memcpy(whole.data(), &id, sizeof(id));
  return whole + payload;
}

}  // namespace

DaemonLink::DaemonLink(Module& module)
    : events_(module.events),
      watch_(module.watch),
      time_limit_(module.scenario["at_server"]["daemon_timeout_ms"].value_or(kTimeLimit.count())),
      answers_(module.events),
      turn_(module.events.get_executor()) {
  unlink(kAnswerSocket);
  answers_.open();
  answers_.bind(kAnswerSocket);
  answers_.non_blocking(true);
  asio::co_spawn(events_, collect_answers(), asio::detached);

  module.control.add([this](CLI::App& top, const ReplyPtr& reply) {
    auto& limit = reply->argument<int>();
    CLI::App* set =
        group(top, "at-server", "").add_subcommand("daemon-timeout", "How long the daemon may take to answer");
    set->add_option("milliseconds", limit)->required()->check(CLI::PositiveNumber);
    set->callback([this, reply, &limit] {
      time_limit_ = milliseconds{limit};
      reply->done(fmt::format("{} ms", limit));
    });
  });
}

asio::awaitable<bool> DaemonLink::post(std::int32_t message_id, std::string payload) {
  const std::string datagram = message(message_id, payload);
  datagram_protocol::socket socket{events_, datagram_protocol{}};
  socket.non_blocking(true);
  asio::error_code failure;
  socket.connect(kDaemonSocket, failure);
  if (failure) co_return false;
  for (const auto deadline = Clock::now() + time_limit_; Clock::now() < deadline; co_await pause(kRetry)) {
    socket.send(asio::buffer(datagram), 0, failure);
    if (failure != asio::error::would_block) break;
  }
  co_return !failure;
}

asio::awaitable<std::optional<DaemonLink::Answer>> DaemonLink::ask(std::string at_line) {
  const Turn::Holder turn = co_await turn_.take();
  if (at_line.size() > kLongestLine) co_return std::nullopt;
  if (owes_an_answer_ && !co_await daemon_is_done()) co_return std::nullopt;
  drop_late_answers();
  answer_.reset();
  asio::steady_timer answered{events_};
  asking_ = &answered;
  owes_an_answer_ = co_await post(kAtCommand, std::move(at_line));
  const auto deadline = Clock::now() + time_limit_;
  while (owes_an_answer_ && !answer_ && Clock::now() < deadline && daemon_listens(events_)) {
    answered.expires_at(std::min(deadline, Clock::now() + kLifeCheck));
    asio::error_code cancelled;  // by the answer
    co_await answered.async_wait(asio::redirect_error(asio::use_awaitable, cancelled));
  }
  asking_ = nullptr;
  if (answer_) {
    owes_an_answer_ = false;
  } else {
    watch_.tell("at-server", owes_an_answer_ ? "the daemon does not answer" : "no daemon listens");
  }
  co_return std::exchange(answer_, std::nullopt);
}

asio::awaitable<void> DaemonLink::collect_answers() {
  std::string buffer(kLongestAnswer, '\0');
  for (;;) {
    asio::error_code failure;
    const std::size_t length =
        co_await answers_.async_receive(asio::buffer(buffer), asio::redirect_error(asio::use_awaitable, failure));
    if (failure == asio::error::operation_aborted) co_return;
    if (!failure) take_answer(buffer.substr(0, length));
  }
}

void DaemonLink::take_answer(std::string datagram) {
  Answer answer{};
  if (datagram.size() < sizeof(answer.result))
    return watch_.tell("at-server", "an answer without a result was dropped");
  if (asking_ == nullptr || answer_) return watch_.tell("at-server", "a late answer was dropped");
  std::memcpy(&answer.result, datagram.data(), sizeof(answer.result));
  answer.text = datagram.substr(sizeof(answer.result));
  answer_ = std::move(answer);
  asking_->cancel();
}

void DaemonLink::drop_late_answers() {
  char ignored[kLongestAnswer];
  asio::error_code failure;
  for (;;) {
    answers_.receive(asio::buffer(ignored), 0, failure);
    if (failure) return;
    watch_.tell("at-server", "a late answer was dropped");
  }
}

// Answers carry no number, so one that is late would pass for the answer to the next command. The daemon takes its
// messages in order: once it has taken one that means nothing to it, it has answered everything before.
asio::awaitable<bool> DaemonLink::daemon_is_done() {
  const std::string datagram = message(kNobodysMessage, "");
  datagram_protocol::socket socket{events_, datagram_protocol{}};
  socket.non_blocking(true);
  asio::error_code failure;
  socket.connect(kDaemonSocket, failure);
  if (failure) co_return true;  // another daemon, or none: nobody owes anything any more
  socket.send(asio::buffer(datagram), 0, failure);
  for (const auto deadline = Clock::now() + time_limit_; Clock::now() < deadline; co_await pause(kRetry)) {
    int unread = 0;
    if (failure == asio::error::would_block) {
      socket.send(asio::buffer(datagram), 0, failure);
    } else if (failure || ioctl(socket.native_handle(), SIOCOUTQ, &unread) != 0 || unread == 0) {
      co_return true;
    }
  }
  co_return false;
}

asio::awaitable<void> DaemonLink::pause(milliseconds time) {
  asio::steady_timer timer{events_, time};
  co_await timer.async_wait(asio::use_awaitable);
}

}  // namespace simulated
