// vekctl modem: whether it answers, and its configuration refresh.
#include <chrono>

#include "command.h"
#include "vek_pal/net.h"
#include "vek_pal/qmi.h"

namespace vekctl {
namespace {

// As long as the library waits for a refresh.
constexpr std::chrono::milliseconds kRefreshLimit{10000};

Json status() {
  const struct {
    const char* name;
    bool open;
  } services[] = {
      {"dms", vek_pal_qmi_get_dms_client() != nullptr},
      {"nas", vek_pal_qmi_get_nas_client() != nullptr},
      {"uim", vek_pal_qmi_get_uim_client() != nullptr},
      {"wds", vek_pal_qmi_get_wds_client(0) != nullptr},
  };
  Json answer = Json::object();
  bool any = false;
  for (const auto& service : services) {
    answer[service.name] = service.open ? "answers" : "absent";
    any = any || service.open;
  }
  need_modem(any ? &services : nullptr, "DMS");
  int radio = 0;
  answer["radio"] = vek_pal_get_radio_state(&radio) != 0 ? Json(nullptr) : Json(radio == 1 ? "on" : "off");
  return answer;
}

Json wait_refresh() {
  need_modem(vek_pal_qmi_get_dms_client(), "DMS");
  vek_pal_clear_mbn_refresh_status();  // first: one that completes from now on counts
  if (vek_pal_qmi_pdc_event_register() != 0) throw Failure("the modem does not report refreshes of its configuration");
  const auto start = std::chrono::steady_clock::now();
  vek_pal_wait_mbn_refresh_sem();
  const auto waited = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
  if (waited >= kRefreshLimit) throw Failure("no refresh was completed within 10 s");
  return {{"refresh", "complete"}, {"waited_ms", waited.count()}};
}

const Group kGroup{"modem", [](CLI::App& top, Run& run) {
                     CLI::App* modem = top.add_subcommand("modem", "The modem behind the module");
                     modem->require_subcommand(1);
                     run.command(modem->add_subcommand("status", "Shows which of its services answer, and its radio"),
                                 status);
                     run.command(modem->add_subcommand("wait-refresh",
                                                       "Waits, at most 10 s, until a refresh of its "
                                                       "configuration is complete"),
                                 wait_refresh);
                   }};

}  // namespace
}  // namespace vekctl
