#include "mbim_service/mbim_service.h"

#include <fmt/format.h>
#include <unistd.h>

#include <asio/co_spawn.hpp>
#include <asio/detached.hpp>
#include <asio/redirect_error.hpp>
#include <asio/use_awaitable.hpp>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace simulated {
namespace {

using asio::local::stream_protocol;

constexpr char kPath[] = "/dev/socket/korv_qbi_domain_socket";
constexpr char kTopic[] = "mbim";
constexpr char kSync[] = "VEK_PAL_MBIM_SYNC";
constexpr std::size_t kLongestText = 4096;
constexpr std::size_t kKept = 1000;

std::string number(std::int32_t value) {
  std::string bytes(sizeof(value), '\0');
  std::memcpy(bytes.data(), &value, sizeof(value));
  return bytes;
}

std::string zero_terminated(const std::string& text) { return text + '\0'; }

std::string from_hex(const std::string& digits) {
  if (digits.size() % 2 != 0 || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
    throw std::invalid_argument("a payload is pairs of hexadecimal digits");
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2)
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  return bytes;
}

// The four events: a number, then a second number or a text.
struct Event {
  const char* name;
  std::int32_t message_id;
  const char* description;
  const char* first;
  const char* second;  // null: none
  bool second_is_text;
};

constexpr Event kEvents[] = {
    {"connect", 0, "The laptop connects or disconnects", "status", "apn", true},
    {"pin", 1, "The laptop enters or changes the SIM PIN", "pin_status", "pin_code", true},
    {"slot-mapping", 2, "The laptop asks for or changes the slot in use", "opt", "sim_id", false},
    {"open", 3, "The laptop opens or closes the MBIM function", "mbim_status", nullptr, false},
};

}  // namespace

MbimService::MbimService(Module& module, DaemonLink& daemon)
    : events_(module.events), watch_(module.watch), daemon_(daemon), acceptor_(module.events) {
  unlink(kPath);
  acceptor_.open();
  acceptor_.bind(kPath);
  acceptor_.listen();
  asio::co_spawn(events_, accept(), asio::detached);
  declare_commands(module.control);
  module.control.add_status(kTopic, [this] { return Json{{"received", received_.size()}}; });
}

asio::awaitable<void> MbimService::accept() {
  for (;;) {
    asio::error_code failure;
    stream_protocol::socket socket =
        co_await acceptor_.async_accept(asio::redirect_error(asio::use_awaitable, failure));
    if (failure == asio::error::operation_aborted) co_return;
    if (!failure) asio::co_spawn(events_, read(std::move(socket)), asio::detached);
  }
}

// One connection carries one text, which ends with it.
asio::awaitable<void> MbimService::read(stream_protocol::socket socket) {
  std::string text;
  asio::error_code failure;
  for (char chunk[512]; !failure && text.size() < kLongestText;) {
    const std::size_t length =
        co_await socket.async_read_some(asio::buffer(chunk), asio::redirect_error(asio::use_awaitable, failure));
    text.append(chunk, length);
  }
  if (text.empty()) co_return;
  const bool is_sync = text == kSync;
  watch_.tell(kTopic, (is_sync ? "synchronised: " : "to the laptop: ") + text,
              {{"kind", is_sync ? "sync" : "line"}, {"text", text}});
  if (!is_sync && show_line_) show_line_(text.substr(0, text.find_last_not_of("\r\n") + 1));
  if (received_.size() < kKept) received_.push_back(std::move(text));
}

void MbimService::send(const ReplyPtr& reply, std::int32_t message_id, std::string payload, std::string description) {
  reply->hold();
  asio::co_spawn(
      events_,
      [this, reply, message_id, payload = std::move(payload),
       description = std::move(description)]() -> asio::awaitable<void> {
        if (!co_await daemon_.post(message_id, payload)) co_return reply->fail("no daemon takes it");
        watch_.tell(kTopic, "event: " + description);
        reply->done("sent " + description);
      },
      asio::detached);
}

void MbimService::declare_commands(Control& control) {
  control.add([this](CLI::App& top, const ReplyPtr& reply) {
    CLI::App& mbim = group(top, kTopic, "The laptop's side of the MBIM function");
    for (const Event& event : kEvents) {
      auto& first = reply->argument<std::int32_t>();
      auto& second = reply->argument<std::int32_t>();
      auto& text = reply->argument<std::string>();
      CLI::App* command = mbim.add_subcommand(event.name, event.description);
      command->add_option(event.first, first)->required();
      if (event.second_is_text) {
        command->add_option(event.second, text);
      } else if (event.second != nullptr) {
        command->add_option(event.second, second)->required();
      }
      command->callback([=, this, &first, &second, &text] {
        std::string payload = number(first);
        std::string description = fmt::format("{} {}={}", event.name, event.first, first);
        if (event.second_is_text) {
          payload += zero_terminated(text);
          description += fmt::format(" {}={}", event.second, text);
        } else if (event.second != nullptr) {
          payload += number(second);
          description += fmt::format(" {}={}", event.second, second);
        }
        send(reply, event.message_id, std::move(payload), std::move(description));
      });
    }

    auto& id = reply->argument<std::int32_t>();
    auto& hex = reply->argument<std::string>();
    CLI::App* raw = mbim.add_subcommand("raw", "Sends the daemon any message");
    raw->add_option("id", id, "Message id")->required();
    raw->add_option("payload", hex, "Payload in hexadecimal");
    raw->callback(
        [=, this, &id, &hex] { send(reply, id, from_hex(hex), fmt::format("raw id={} payload={}", id, hex)); });

    mbim.add_subcommand("received", "Shows, once, what the daemon has written to the MBIM function")
        ->callback([=, this] {
          const std::vector<std::string> texts = std::exchange(received_, {});
          reply->done(fmt::format("{}", fmt::join(texts, "\n")), texts);
        });
  });
}

}  // namespace simulated
