#include "at_server/feature_commands.h"

#include <optional>
#include <string>
#include <utility>

namespace simulated {
namespace {

constexpr const char* kForwarded[] = {
    "+GTVYRSPC", "+GTVYREN",   "+GTVYREC",  "+GTVYRSER",  "+GTVYRA2D",  "+GTVYRH2M",  "+GTVYRBS",     "+GTVYRPOC",
    "+GTVYRDEV", "+GTVYRESIM", "+GTVYRLOG", "+GTVYRRECO", "+GTVYRDIAG", "+GTAUTHCMD", "+GTESIMICCID", "+GTVYRCNT",
};

}  // namespace

void add_feature_commands(AtCommands& commands, DaemonLink& daemon) {
  for (const char* name : kForwarded) {
    commands.add_slow(name, [&daemon](AtRequest request) -> asio::awaitable<AtAnswer> {
      const std::optional<DaemonLink::Answer> answer = co_await daemon.ask(std::move(request.line));
      if (!answer) co_return AtAnswer::error();
      AtAnswer shown = answer->result == 0 ? AtAnswer::ok() : AtAnswer::error();
      if (!answer->text.empty()) shown.lines.push_back(answer->text);
      co_return shown;
    });
  }
}

}  // namespace simulated
