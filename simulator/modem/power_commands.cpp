#include <fmt/format.h>

#include "modem/commands.h"

namespace simulated {

void declare_power(Modem& modem, ProxyPort& proxy, CLI::App& top, const ReplyPtr& reply) {
  CLI::App& modem_group = group(top, "modem", kModemGroup);

  modem_group.add_subcommand("start", "Switches the modem on")->callback([&modem] { modem.start(); });
  modem_group.add_subcommand("stop", "Switches it off: device and connections go away, nothing comes back by itself")
      ->callback([&modem] { modem.stop(); });

  CLI::App* restart = modem_group.add_subcommand("restart", "Switches it off and on again: all client ids are void");
  auto& down = reply->argument<int>(static_cast<int>(kRestartPause.count()));
  auto& soft = reply->argument<bool>(false);
  restart->add_option("--down", down, "Milliseconds until it is back")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  restart->add_flag("--soft", soft, "Only the modem's memory goes: the links stay, and the sync indication tells");
  restart->callback([&modem, &down, &soft] {
    if (soft) {
      modem.soft_restart();
    } else {
      modem.restart(std::chrono::milliseconds(down));
    }
  });

  CLI::App* listening = modem_group.add_subcommand("proxy", "Whether the modem itself serves the socket \"qmi-proxy\"");
  auto& position = reply->argument<std::string>();
  listening->add_option("position", position, "off leaves the name to the real proxy")
      ->required()
      ->check(CLI::IsMember({"on", "off"}));
  listening->callback([&proxy, &position] {
    if (position == "on") {
      proxy.listen();
    } else {
      proxy.stop_listening();
    }
  });

  modem_group.add_subcommand("clients", "Shows the client ids that are taken")->callback([&modem, reply] {
    std::string text;
    Json data = Json::array();
    for (const Client& client : modem.clients()) {
      const char* const name = find_service(client.service)->name;
      const std::string link = client.link == nullptr ? "" : client.link->name();
      text += fmt::format("{} {} {}\n", name, client.id, link.empty() ? "(its connection has gone)" : link);
      data.push_back({{"service", name}, {"client", client.id}, {"link", link}, {"events", client.events}});
    }
    reply->done(text, data);
  });
}

}  // namespace simulated
