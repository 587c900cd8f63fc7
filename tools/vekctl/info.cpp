// vekctl info: who the module is.
#include <array>

#include "command.h"
#include "vek_pal/device_info.h"
#include "vek_pal/qmi.h"

namespace vekctl {
namespace {

// Room for the longest answer of any of the library's identity calls, cleared as they want it.
using Text = std::array<char, 256>;

struct Fact {
  const char* name;
  int (*read)(char*);
};

constexpr Fact kFacts[] = {
    {"imei", vek_pal_get_imei},
    {"model", vek_pal_get_model},
    {"chip", vek_pal_get_chip_type},
    {"firmware", vek_pal_get_firmware_version},
    {"manufactured", vek_pal_get_manufacture_date},
    {"usb_ids", vek_pal_get_pidvid},
};

Json show(Run& run) {
  need_modem(vek_pal_qmi_get_dms_client(), "DMS");
  Json facts = Json::object();
  for (const Fact& fact : kFacts) {
    Text text{};
    if (fact.read(text.data()) == 0) {
      facts[fact.name] = text.data();
    } else {
      facts[fact.name] = nullptr;
      run.complain(std::string("no ") + fact.name + ": the module did not tell (-v shows why)");
    }
  }
  return facts;
}

const Group kGroup{"info", [](CLI::App& top, Run& run) {
                     run.command(top.add_subcommand("info", "Shows who the module is: IMEI, model, firmware, ids"),
                                 [&run] { return show(run); });
                   }};

}  // namespace
}  // namespace vekctl
