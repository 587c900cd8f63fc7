#include "control/watch.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace simulated {
namespace {

// Text from outside: control characters are shown, not sent to somebody's terminal.
std::string printable(const std::string& text) {
  std::string shown;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7f)
      shown += fmt::format("\\x{:02x}", byte);
    else
      shown += c;
  }
  return shown;
}

}  // namespace

Watch::Watch(Control& control) {
  control.add([this](CLI::App& top, const ReplyPtr& reply) {
    auto& topics = reply->argument<std::vector<std::string>>();
    CLI::App* watch = top.add_subcommand("watch", "Shows what happens, as it happens (Ctrl-C ends it)");
    watch->add_option("topic", topics, "Only these subsystems: at-server, mbim, ...");
    watch->callback([this, reply, &topics] {
      reply->more("watching", {{"topic", "watch"}});
      watchers_.push_back({reply, topics});
    });
  });
}

void Watch::tell(const std::string& topic, const std::string& text, Json data) {
  const auto now = std::chrono::system_clock::now();
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  const std::string line = fmt::format("{:%H:%M:%S}.{:03} {}: {}", std::chrono::floor<std::chrono::seconds>(now), ms,
                                       topic, printable(text));
  fmt::print("{}\n", line);
  std::fflush(stdout);

  std::erase_if(watchers_, [](const Watcher& watcher) { return watcher.reply->ended(); });
  for (const Watcher& watcher : watchers_) {
    const auto& topics = watcher.topics;
    if (!topics.empty() && std::find(topics.begin(), topics.end(), topic) == topics.end()) continue;
    watcher.reply->more(line, {{"topic", topic}, {"text", text}, {"data", data}});
  }
}

}  // namespace simulated
