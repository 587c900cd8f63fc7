#include "host/host_filter.h"

#include <fmt/format.h>

#include <asio/co_spawn.hpp>
#include <asio/detached.hpp>
#include <cstdint>
#include <map>
#include <utility>

namespace simulated {
namespace {

// What the driver confirms and tells, and what the agent reports, by the names that people type.
const std::map<std::string, std::string> kConfirmations = {
    {"disabled", "1,1,0"}, {"enabled", "1,1,1"}, {"busy", "1,1,2"}};
const std::map<std::string, std::string> kEvents = {
    {"end-user", "2,1,1"}, {"uninstalled", "2,1,2"}, {"radio-off", "2,1,3"},        {"radio-on", "2,1,4"},
    {"acquire", "2,1,5"},  {"release", "2,1,6"},     {"end-user-notified", "2,1,7"}};
const std::map<std::string, int> kReports = {{"device-manager", 4}, {"working-mode", 5}, {"channel-lock", 6}};

std::string from_driver(const std::string& code) { return "AT+GTVYRH2M=" + code; }

// One line and what came back, as people read it and as programs do.
struct Exchanges {
  std::string text;
  Json data = Json::array();

  void add(const std::string& line, const AtAnswer& answer) {
    text += fmt::format("{}{}\n", text.empty() ? "" : "\n", line);
    for (const std::string& information : answer.lines) text += information + "\n";
    text += answer.result;
    data.push_back({{"line", line}, {"lines", answer.lines}, {"result", answer.result}});
  }
};

}  // namespace

HostFilter::HostFilter(Module& module) : events_(module.events), commands_(module.at_commands) {
  declare_commands(module.control);
}

// Says one line after the other, up to the first that is refused.
void HostFilter::say(const ReplyPtr& reply, std::vector<std::string> lines) {
  reply->hold();
  asio::co_spawn(
      events_,
      [this, reply, lines = std::move(lines)]() -> asio::awaitable<void> {
        Exchanges exchanges;
        AtSettings settings;
        for (const std::string& line : lines) {
          const AtAnswer answer = co_await commands_.run(line, &settings);
          exchanges.add(line, answer);
          if (answer.result != "OK") break;
        }
        reply->done(exchanges.text, exchanges.data);
      },
      asio::detached);
}

void HostFilter::declare_commands(Control& control) {
  control.add([this](CLI::App& top, const ReplyPtr& reply) {
    CLI::App& host = group(top, "host", "The laptop");
    CLI::App& filter = group(host, "filter", "Its filter driver on the MBIM path");

    filter.add_subcommand("handshake", "Asks what the driver asks when it starts, and says that it is ready")
        ->callback([=, this] {
          // Is the feature on, in which service and working mode, and then: ready.
          say(reply, {from_driver("0,0,0"), from_driver("0,0,1"), from_driver("0,0,2"), from_driver("0,1,0")});
        });

    auto& confirmed = reply->argument<std::string>();
    CLI::App* confirm = filter.add_subcommand("confirm", "The driver confirms a state of the filter");
    confirm->add_option("state", confirmed)->required()->check(CLI::IsMember(kConfirmations));
    confirm->callback([=, this, &confirmed] { say(reply, {from_driver(kConfirmations.at(confirmed))}); });

    auto& happened = reply->argument<std::string>();
    CLI::App* event = filter.add_subcommand("event", "The driver tells an event");
    event->add_option("event", happened)->required()->check(CLI::IsMember(kEvents));
    event->callback([=, this, &happened] { say(reply, {from_driver(kEvents.at(happened))}); });

    auto& subject = reply->argument<std::string>();
    auto& value = reply->argument<std::uint32_t>();
    CLI::App* report = filter.add_subcommand("report", "The agent reports to the driver");
    report->add_option("subject", subject)->required()->check(CLI::IsMember(kReports));
    report->add_option("value", value)->required();
    report->callback(
        [=, this, &subject, &value] { say(reply, {fmt::format("AT+GTVYRA2D={},{}", kReports.at(subject), value)}); });

    auto& code = reply->argument<std::string>();
    CLI::App* raw = filter.add_subcommand("code", "The driver sends any code");
    raw->add_option("code", code, "Three numbers, e.g. 0,1,0")->required();
    raw->callback([=, this, &code] { say(reply, {from_driver(code)}); });
  });
}

}  // namespace simulated
