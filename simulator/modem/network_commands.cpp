#include "modem/network_commands.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

#include "modem/sessions.h"

namespace simulated {
namespace {

constexpr char kGroup[] = "The operator's network and the air";

const std::map<std::string, Radio> kRadios = {
    {"gsm", Radio::gsm}, {"umts", Radio::umts}, {"lte", Radio::lte}, {"nr5g", Radio::nr5g}};
const std::map<std::string, uint8_t> kFamilies = {{"ipv4", 4}, {"ipv6", 6}};

Cell& serving_cell(State& state) {
  Network& network = state.network;
  if (network.serving >= network.cells.size()) throw std::runtime_error("no cell is on the air");
  return network.cells[network.serving];
}

const char* registration_name(const Network& network) {
  constexpr const char* kNames[] = {"not registered", "registered", "searching", "denied", "unknown"};
  return kNames[static_cast<size_t>(network.registration)];
}

Json details(const State& state) {
  const Network& network = state.network;
  Json cells = Json::array(), sessions = Json::array();
  for (const Cell& cell : network.cells) {
    const auto radio = std::ranges::find(kRadios, cell.radio, &std::pair<const std::string, Radio>::second);
    cells.push_back(
        {{"radio", radio->first}, {"mcc", cell.mcc}, {"mnc", cell.mnc}, {"name", cell.name}, {"rssi", cell.rssi}});
  }
  for (const Session& session : state.data.sessions)
    sessions.push_back({{"client", session.client},
                        {"family", session.family},
                        {"profile", session.profile},
                        {"apn", session.settings.apn},
                        {"address", session.lease.address}});
  return {{"registration", registration_name(network)},
          {"attached", network.packet == Attach::attached},
          {"roaming", network.roaming},
          {"serving", network.serving},
          {"cells", cells},
          {"sessions", sessions},
          {"profiles", state.data.profiles.size()},
          {"attach_list", state.data.attach_list}};
}

// Commands without arguments: each is a change of the network and what follows from it.
void declare_registration(Modem& modem, CLI::App& network_group) {
  const struct {
    const char* name;
    const char* help;
    void (*change)(Network&);
  } rows[] = {
      {"register", "The home network is there and takes the subscription",
       [](Network& network) {
         network.available = true;
         network.denied = network.visited = false;
       }},
      {"search", "Nothing is on the air: the modem searches", [](Network& network) { network.available = false; }},
      {"deny", "The network turns the subscription down", [](Network& network) { network.denied = true; }},
      {"roam", "The network is not the subscription's home", [](Network& network) { network.visited = true; }},
      {"attach", "The packet service is attached", [](Network& network) { network.attach_wanted = true; }},
      {"detach", "The network detaches the packet service", [](Network& network) { network.attach_wanted = false; }},
  };
  for (const auto& row : rows) {
    network_group.add_subcommand(row.name, row.help)->callback([&modem, change = row.change] {
      change(modem.state.network);
      modem.changed(Change::network);
    });
  }
}

void declare_operator(Modem& modem, CLI::App& network_group, const ReplyPtr& reply) {
  struct Arguments {
    std::string mcc, mnc, name;
  };
  auto& given = reply->argument<Arguments>();
  CLI::App* command = network_group.add_subcommand("operator", "Who runs the network");
  command->add_option("mcc", given.mcc, "Country code, three digits")->required();
  command->add_option("mnc", given.mnc, "Network code, two or three digits")->required();
  command->add_option("name", given.name);
  command->callback([&modem, &given] {
    if (!is_operator_code(given.mcc, 3, 3) || !is_operator_code(given.mnc, 2, 3))
      throw std::runtime_error("codes are digits: 262 02");
    for (Cell& cell : modem.state.network.cells) {
      cell.mcc = given.mcc;
      cell.mnc = given.mnc;
      if (!given.name.empty()) cell.name = given.name;
    }
    modem.changed(Change::registration);
  });
}

void declare_cell(Modem& modem, CLI::App& network_group, const ReplyPtr& reply) {
  struct Arguments {
    Radio radio = Radio::none;
    std::optional<uint32_t> id;
    std::optional<uint16_t> area;
  };
  auto& given = reply->argument<Arguments>();
  CLI::App* command = network_group.add_subcommand("cell", "The module moves into a cell");
  command->add_option("radio", given.radio, "gsm, umts, lte or nr5g")->required()->transform(one_of(kRadios));
  command->add_option("--id", given.id, "Its identity");
  command->add_option("--area", given.area, "Its tracking or location area");
  command->callback([&modem, &given] {
    Network& network = modem.state.network;
    const auto at = std::ranges::find(network.cells, given.radio, &Cell::radio);
    if (at == network.cells.end()) {
      Cell cell = serving_cell(modem.state);
      cell.radio = given.radio;
      network.cells.push_back(cell);
      network.serving = network.cells.size() - 1;
    } else {
      network.serving = static_cast<size_t>(at - network.cells.begin());
    }
    Cell& cell = serving_cell(modem.state);
    cell.cell_id = given.id.value_or(cell.cell_id);
    if (given.area) cell.lac = cell.tac = *given.area;
    modem.changed(Change::registration);
  });
}

void declare_signal(Modem& modem, CLI::App& network_group, const ReplyPtr& reply) {
  struct Arguments {
    Radio radio = Radio::none;
    std::optional<int> rssi, rsrp, rsrq, snr;
    bool off = false;
  };
  auto& given = reply->argument<Arguments>();
  CLI::App* command =
      network_group.add_subcommand("signal", "How well a technology is received; several may be at once");
  command->add_option("radio", given.radio, "gsm, umts, lte or nr5g")->required()->transform(one_of(kRadios));
  command->add_option("--rssi", given.rssi, "dBm")->check(CLI::Range(-128, 0));
  command->add_option("--rsrp", given.rsrp, "dBm")->check(CLI::Range(-200, 0));
  command->add_option("--rsrq", given.rsrq, "dB")->check(CLI::Range(-128, 127));
  command->add_option("--snr", given.snr, "Tenths of a dB")->check(CLI::Range(-1000, 1000));
  command->add_flag("--off", given.off, "Not received any more");
  command->callback([&modem, &given] {
    Network& network = modem.state.network;
    const auto at = std::ranges::find(network.cells, given.radio, &Cell::radio);
    if (given.off) {
      if (at == network.cells.end()) return;
      if (at == network.cells.begin() + static_cast<std::ptrdiff_t>(network.serving))
        throw std::runtime_error("this is the serving cell: network search takes it away");
      const Radio serving = serving_cell(modem.state).radio;
      network.cells.erase(at);
      network.serving =
          static_cast<size_t>(std::ranges::find(network.cells, serving, &Cell::radio) - network.cells.begin());
    } else {
      Cell cell = at != network.cells.end() ? *at : serving_cell(modem.state);
      cell.radio = given.radio;
      cell.rssi = given.rssi.value_or(cell.rssi);
      cell.rsrp = given.rsrp.value_or(cell.rsrp);
      cell.rsrq = given.rsrq.value_or(cell.rsrq);
      cell.snr = given.snr.value_or(cell.snr);
      if (at != network.cells.end())
        *at = cell;
      else
        network.cells.push_back(cell);
    }
    modem.changed(Change::signal);
  });
}

void declare_sessions(Modem& modem, CLI::App& network_group, const ReplyPtr& reply) {
  auto& dropped = reply->argument<uint8_t>(0);
  CLI::App* drop = network_group.add_subcommand("drop", "The network ends data sessions");
  drop->add_option("family", dropped, "ipv4 or ipv6; both without it")->transform(one_of(kFamilies));
  drop->callback([&modem, reply, &dropped] {
    const unsigned ended = end_sessions(
        modem, kNetworkEnded, [&](const Session& session) { return dropped == 0 || session.family == dropped; });
    reply->done(fmt::format("ended {} session{}", ended, ended == 1 ? "" : "s"), {{"ended", ended}});
  });

  struct Refusal {
    uint8_t family = 0;
    std::optional<RefusalCause> cause;
  };
  auto& refusal = reply->argument<Refusal>();
  CLI::App* refuse = network_group.add_subcommand("refuse", "The network gives no sessions of a family");
  refuse->add_option("family", refusal.family, "ipv4 or ipv6")->required()->transform(one_of(kFamilies));
  refuse->add_option("cause", refusal.cause,
                     "Its cause number, e.g. 33 not subscribed (3GPP TS 24.301); without one it gives them");
  refuse->callback([&modem, &refusal] {
    auto& refused = modem.state.data.refused;
    if (refusal.cause)
      refused[refusal.family] = *refusal.cause;
    else
      refused.erase(refusal.family);
  });

  auto& setup_ms = reply->argument<unsigned>(0);
  CLI::App* setup = network_group.add_subcommand("setup-time", "How long the network takes to connect a session");
  setup->add_option("ms", setup_ms, "Milliseconds")->required();
  setup->callback([&modem, &setup_ms] { modem.state.data.setup_ms = setup_ms; });

  auto& position = reply->argument<std::string>();
  CLI::App* interface =
      network_group.add_subcommand("interface", "Whether the module sets its interface up for new sessions");
  interface->add_option("position", position)->required()->check(CLI::IsMember({"on", "off"}));
  interface->callback([&modem, &position] { modem.state.data.interface_follows = position == "on"; });
}

}  // namespace

bool is_operator_code(const std::string& text, size_t least, size_t most) {
  return text.size() >= least && text.size() <= most &&
         std::ranges::all_of(text, [](char c) { return isdigit(c) != 0; });
}

Json network_status(const Modem& modem) {
  const Network& network = modem.state.network;
  return {{"registration", registration_name(network)},
          {"attached", network.packet == Attach::attached},
          {"roaming", network.roaming},
          {"sessions", modem.state.data.sessions.size()}};
}

void declare_network(Modem& modem, CLI::App& top, const ReplyPtr& reply) {
  CLI::App& network_group = group(top, "network", kGroup);
  network_group.add_subcommand("show", "What the modem sees of it")->callback([&modem, reply] {
    const Json data = details(modem.state);
    reply->done(data.dump(2), data);
  });
  declare_registration(modem, network_group);
  declare_operator(modem, network_group, reply);
  declare_cell(modem, network_group, reply);
  declare_signal(modem, network_group, reply);
  declare_sessions(modem, network_group, reply);
}

}  // namespace simulated
