// PDC: the modem's configuration, and who hears of its refresh.
#include "providers/qmi/services/pdc.h"

#include <fmt/format.h>

#include "modem/modem.h"

namespace simulated {
namespace {

constexpr uint64_t kRefreshEvents = 1;

enum class RefreshEvent : uint32_t { start = 0, complete = 1, client_refresh = 2 };

void indication_register(Modem&, const Request& request, Response&) {
  const auto wanted = request.record<pdc_indication_register_req>();
  if (wanted.enable_refresh_valid) request.client->events = wanted.enable_refresh ? kRefreshEvents : 0;
}

unsigned tell_refresh(Modem& modem, RefreshEvent event) {
  modem.state.refreshing = event == RefreshEvent::start;
  pdc_refresh_ind members{};
  members.refresh_event = static_cast<uint32_t>(event);
  members.slot_id_valid = 1;
  members.slot_id = static_cast<uint32_t>(modem.state.active_slot);
  return modem.indicate_registered(pdc_service, kRefreshEvents, QMI_PDC_REFRESH_IND_V01,
                                   Modem::indication(pdc_service, QMI_PDC_REFRESH_IND_V01, members));
}

void declare(Modem& modem, CLI::App& top, const ReplyPtr& reply) {
  const struct {
    const char* name;
    const char* help;
    RefreshEvent event;
  } rows[] = {
      {"start", "A refresh of the modem's configuration begins", RefreshEvent::start},
      {"complete", "It has ended", RefreshEvent::complete},
      {"client", "Clients are to refresh what they know", RefreshEvent::client_refresh},
  };
  CLI::App& refresh = group(top, "refresh", "The modem's configuration refresh");
  for (const auto& row : rows) {
    refresh.add_subcommand(row.name, row.help)->callback([&modem, reply, event = row.event] {
      const unsigned told = tell_refresh(modem, event);
      reply->done(fmt::format("told {} client{}", told, told == 1 ? "" : "s"), {{"told", told}});
    });
  }
}

constexpr Handler kHandlers[] = {{QMI_PDC_INDICATION_REGISTER_REQ_V01, indication_register}};

}  // namespace

const Service pdc_service = {0x24,    "PDC",   1,      0, kHandlers, pdc_get_service_object_internal_v01(1, 0, 0),
                             nullptr, nullptr, declare};

}  // namespace simulated
