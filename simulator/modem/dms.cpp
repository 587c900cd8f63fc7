// DMS: who the module is, and its operating mode.
#include "providers/qmi/services/dms.h"

#include <algorithm>
#include <span>

#include "modem/modem.h"

namespace simulated {
namespace {

// Text into a record's member; what does not fit is cut, and the member ends with a zero byte.
template <size_t size>
uint8_t copy_text(char (&member)[size], const std::string& text) {
  member[text.copy(member, size - 1)] = '\0';
  return 1;
}

void get_device_serial_numbers(Modem& modem, const Request&, Response& response) {
  const Identity& identity = modem.state.identity;
  dms_get_device_serial_numbers_resp resp{};
  resp.esn_valid = copy_text(resp.esn, identity.esn);
  // A modem that was never given one leaves it out.
  if (!identity.imei.empty()) resp.imei_valid = copy_text(resp.imei, identity.imei);
  if (!identity.meid.empty()) resp.meid_valid = copy_text(resp.meid, identity.meid);
  resp.imeisv_svn_valid = copy_text(resp.imeisv_svn, identity.imei_version);
  response.record(resp);
}

void get_operating_mode(Modem& modem, const Request&, Response& response) {
  dms_get_operating_mode_resp resp{};
  resp.operating_mode_valid = 1;
  resp.operating_mode = static_cast<uint32_t>(modem.state.mode);
  resp.hardware_controlled_mode_valid = 1;
  resp.hardware_controlled_mode = modem.state.hardware_restricted;
  response.record(resp);
}

void set_operating_mode(Modem& modem, const Request& request, Response&) {
  const uint32_t number = request.record<dms_set_operating_mode_req>().operating_mode;
  if (number > static_cast<uint32_t>(OperatingMode::mode_only_low_power)) throw Refused(QMI_ERR_INVALID_ARG_V01);
  const auto mode = static_cast<OperatingMode>(number);
  State& state = modem.state;
  // The switch on the board wins over software; and out of "offline" leads only a reset.
  if (mode == OperatingMode::online && state.hardware_restricted) throw Refused(QMI_ERR_INVALID_TRANSITION_V01);
  if (state.mode == OperatingMode::offline && mode != OperatingMode::reset && mode != OperatingMode::offline)
    throw Refused(QMI_ERR_INVALID_TRANSITION_V01);
  if (mode == OperatingMode::reset || mode == OperatingMode::shutting_down) {
    // The answer still goes out.
    modem.after(std::chrono::milliseconds(50), [&modem, mode] {
      if (mode == OperatingMode::reset) {
        modem.restart(kRestartPause);
      } else {
        modem.stop();
      }
    });
    return;
  }
  if (mode == state.mode) return;
  state.mode = mode;
  modem.changed(Change::operating_mode);
}

void get_model(Modem& modem, const Request&, Response& response) {
  dms_get_model_resp resp{};
  resp.model_len = static_cast<uint32_t>(modem.state.identity.model.copy(resp.model, sizeof(resp.model)));
  response.record(resp);
}

void get_firmware_version(Modem& modem, const Request&, Response& response) {
  dms_get_firmware_version_resp resp{};
  copy_text(resp.version, modem.state.identity.firmware);
  response.record(resp);
}

// What every modem tells about itself, each as a text of its own. The library has no use for them.
template <std::string Identity::*text>
void get_text(Modem& modem, const Request&, Response& response) {
  response.tlv(0x01).text(modem.state.identity.*text);
}

void changed(Modem& modem, Change change) {
  if (change == Change::started)
    modem.state.mode = modem.state.hardware_restricted ? OperatingMode::low_power : OperatingMode::online;
}

void load(State& state, const toml::table& scenario) {
  const auto table = scenario["modem"];
  Identity& identity = state.identity;
  const struct {
    const char* key;
    std::string& value;
  } texts[] = {
      {"imei", identity.imei},
      {"imei_version", identity.imei_version},
      {"meid", identity.meid},
      {"esn", identity.esn},
      {"manufacturer", identity.manufacturer},
      {"model", identity.model},
      {"hardware_revision", identity.hardware_revision},
      {"firmware", identity.firmware},
      {"serial_number", identity.serial_number},
      {"usb_ids", identity.usb_ids},
  };
  for (const auto& [key, value] : texts) value = table[key].value_or(value);
  state.hardware_restricted = table["hardware_restricted"].value_or(state.hardware_restricted);
}

// The switch on the board that keeps the radio off.
void declare(Modem& modem, CLI::App& top, const ReplyPtr& reply) {
  CLI::App* command = group(top, "modem", kModemGroup).add_subcommand("w-disable", "Moves the board's radio switch");
  auto& position = reply->argument<std::string>();
  command->add_option("position", position, "on: the radio is kept off; off: software decides")
      ->required()
      ->check(CLI::IsMember({"on", "off"}));
  command->callback([&modem, &position] {
    State& state = modem.state;
    state.hardware_restricted = position == "on";
    if (!state.hardware_restricted || state.mode != OperatingMode::online) return;
    state.mode = OperatingMode::low_power;
    modem.changed(Change::operating_mode);
  });
}

constexpr Handler kHandlers[] = {
    {0x21, get_text<&Identity::manufacturer>},
    {0x22, get_text<&Identity::model>},
    {0x23, get_text<&Identity::firmware>},
    {0x2C, get_text<&Identity::hardware_revision>},
    {0x51, get_text<&Identity::firmware>},  // of the software
    {QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01, get_device_serial_numbers},
    {QMI_DMS_GET_OPERATING_MODE_REQ_V01, get_operating_mode},
    {QMI_DMS_SET_OPERATING_MODE_REQ_V01, set_operating_mode},
    {QMI_DMS_GET_MODEL_REQ_V01, get_model},
    {QMI_DMS_GET_FIRMWARE_VERSION_REQ_V01, get_firmware_version},
};

}  // namespace

const Service dms_service = {0x02,    "DMS", 1,      14, kHandlers, dms_get_service_object_internal_v01(1, 0, 0),
                             changed, load,  declare};

}  // namespace simulated
