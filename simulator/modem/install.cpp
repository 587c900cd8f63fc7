#include "modem/install.h"

#include <fmt/format.h>

#include "modem/commands.h"
#include "modem/device_port.h"
#include "modem/network_commands.h"
#include "modem/proxy_port.h"
#include "modem/sim_commands.h"

namespace simulated {
namespace {

Json status_of(const Modem& modem, const ProxyPort& proxy) {
  return {
      {"up", modem.up()},
      {"operating_mode", static_cast<int>(modem.state.mode)},
      {"proxy", proxy.listening()},
      {"clients", modem.clients().size()},
  };
}

}  // namespace

void install_modem(Module& module, Modem& modem) {
  const auto table = module.scenario["modem"];
  modem.client_ids = table["client_ids"].value_or(modem.client_ids);
  for (const Service* service : services()) {
    if (service->load != nullptr) service->load(modem.state, module.scenario);
  }

  auto device = std::make_unique<DevicePort>(module.events, modem, table["device"].value_or("/dev/cdc-wdm0"));
  auto proxy_owner = std::make_unique<ProxyPort>(module.events, modem);
  ProxyPort& proxy = *proxy_owner;
  modem.add_port(std::move(device));
  modem.add_port(std::move(proxy_owner));

  module.control.add([&modem, &proxy](CLI::App& top, const ReplyPtr& reply) {
    declare_power(modem, proxy, top, reply);
    declare_faults(modem, top, reply);
    declare_trace(modem, top, reply);
    for (const Service* service : services()) {
      if (service->declare != nullptr) service->declare(modem, top, reply);
    }
  });
  module.control.add_status("network", [&modem] { return network_status(modem); });
  module.control.add_status("modem", [&modem, &proxy] { return status_of(modem, proxy); });
  module.control.add_status("sim", [&modem] { return sim_status(modem.state); });

  modem.start();
  if (table["proxy"].value_or(true)) proxy.listen();
}

}  // namespace simulated
