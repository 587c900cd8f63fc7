// NAS: registration, signal and the serving cell.
#include "providers/qmi/services/nas.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>

#include "modem/modem.h"
#include "modem/network_commands.h"

namespace simulated {
namespace {

// Bits of Client::events.
enum : uint64_t { kServingSystem = 1, kSystemInfo = 2, kSignalInfo = 4 };

// By technology, as data service capabilities count.
uint8_t data_capability(Radio radio) {
  constexpr uint8_t kWcdma = 5, kGsm = 9, kLte = 0x0B;
  return radio == Radio::gsm ? kGsm : radio == Radio::umts ? kWcdma : kLte;
}

const Cell* serving_cell(const State& state) {
  const Network& network = state.network;
  if (network.registration != Registration::registered || network.serving >= network.cells.size()) return nullptr;
  return &network.cells[network.serving];
}

uint16_t code(const std::string& digits) { return static_cast<uint16_t>(std::stoul(digits)); }

// The members that the response and the indication have in common.
template <typename Record>
void fill_serving_system(const State& state, Record& record) {
  const Network& network = state.network;
  record.serving_system.registration_state = static_cast<uint32_t>(network.registration);
  record.serving_system.cs_attach_state = static_cast<uint32_t>(network.circuit);
  record.serving_system.ps_attach_state = static_cast<uint32_t>(network.packet);
  record.serving_system.selected_network = NAS_NETWORK_3GPP_V01;
  const Cell* const cell = serving_cell(state);
  record.serving_system.radio_if_len = 1;
  record.serving_system.radio_if[0] = cell != nullptr ? static_cast<int8_t>(cell->radio) : 0;
  if (cell == nullptr) return;
  record.roaming_indicator_valid = 1;
  record.roaming_indicator = network.roaming ? NAS_ROAMING_IND_ON_V01 : NAS_ROAMING_IND_OFF_V01;
  record.current_plmn_valid = 1;
  record.current_plmn.mobile_country_code = code(cell->mcc);
  record.current_plmn.mobile_network_code = code(cell->mnc);
  cell->name.copy(record.current_plmn.network_description, sizeof record.current_plmn.network_description - 1);
  record.mnc_includes_pcs_digit_valid = 1;
  record.mnc_includes_pcs_digit = {code(cell->mcc), code(cell->mnc), cell->mnc.size() == 3};
  record.lac_valid = 1;
  record.lac = cell->lac;
  record.cell_id_valid = 1;
  record.cell_id = cell->cell_id;
  record.tac_valid = cell->radio == Radio::lte || cell->radio == Radio::nr5g;
  record.tac = cell->tac;
}

void get_serving_system(Modem& modem, const Request&, Response& response) {
  nas_get_serving_system_resp resp{};
  fill_serving_system(modem.state, resp);
  if (const Cell* const cell = serving_cell(modem.state)) {
    resp.data_capabilities_valid = 1;
    resp.data_capabilities_len = 1;
    resp.data_capabilities[0] = data_capability(cell->radio);
    resp.roaming_indicator_list_valid = 1;
    resp.roaming_indicator_list_len = 1;
    resp.roaming_indicator_list[0] = {static_cast<int8_t>(cell->radio), resp.roaming_indicator};
    resp.detailed_service_info_valid = 1;
    resp.detailed_service_info.srv_status = NAS_SERVICE_AVAILABLE_V01;
    resp.detailed_service_info.srv_capability = NAS_DOMAIN_CS_PS_V01;
  }
  response.record(resp);
}

nas_common_sys_info common_info(const Cell& cell, bool roaming) {
  nas_common_sys_info info{};
  info.srv_domain_valid = info.srv_capability_valid = 1;
  info.srv_domain = info.srv_capability = NAS_DOMAIN_CS_PS_V01;
  info.roam_status_valid = 1;
  info.roam_status = roaming;
  info.is_sys_forbidden_valid = 1;
  info.lac_valid = 1;
  info.lac = cell.lac;
  info.cell_id_valid = 1;
  info.cell_id = cell.cell_id;
  info.network_id_valid = 1;
  std::ranges::fill(info.mnc, uint8_t{0xFF});
  std::ranges::copy(cell.mcc, info.mcc);
  std::ranges::copy(cell.mnc, info.mnc);
  return info;
}

// The serving cell's technology, and NR beside an LTE cell of the same operator.
nas_sys_info system_info(const State& state) {
  nas_sys_info info{};
  constexpr nas_service_status kServed = {NAS_SERVICE_AVAILABLE_V01, NAS_SERVICE_AVAILABLE_V01, 1};
  info.gsm_srv_status_info_valid = info.wcdma_srv_status_info_valid = info.lte_srv_status_info_valid =
      info.nr5g_srv_status_info_valid = 1;
  const Cell* const serving = serving_cell(state);
  if (serving == nullptr) return info;
  const auto add = [&](const Cell& cell) {
    const nas_common_sys_info common = common_info(cell, state.network.roaming);
    const nas_lte_sys_info with_tac = {common, 1, cell.tac};
    switch (cell.radio) {
      case Radio::gsm:
        info.gsm_srv_status_info = kServed;
        info.gsm_sys_info_valid = 1;
        info.gsm_sys_info.common = common;
        break;
      case Radio::umts:
        info.wcdma_srv_status_info = kServed;
        info.wcdma_sys_info_valid = 1;
        info.wcdma_sys_info.common = common;
        break;
      case Radio::lte:
        info.lte_srv_status_info = kServed;
        info.lte_sys_info_valid = 1;
        info.lte_sys_info = with_tac;
        break;
      case Radio::nr5g:
        info.nr5g_srv_status_info = kServed;
        info.nr5g_sys_info_valid = 1;
        info.nr5g_sys_info = with_tac;
        break;
      case Radio::none:
        break;
    }
  };
  add(*serving);
  for (const Cell& cell : state.network.cells)
    if (serving->radio == Radio::lte && cell.radio == Radio::nr5g && cell.mcc == serving->mcc) add(cell);
  return info;
}

// Every technology that is on the air, whoever serves.
nas_signal signal(const State& state) {
  nas_signal signal{};
  if (!state.radio_on() || !state.network.available) return signal;
  for (const Cell& cell : state.network.cells) {
    const auto rssi = static_cast<int8_t>(cell.rssi);
    const auto rsrp = static_cast<int16_t>(cell.rsrp);
    const auto snr = static_cast<int16_t>(cell.snr);
    switch (cell.radio) {
      case Radio::gsm:
        signal.gsm_sig_info_valid = 1;
        signal.gsm_sig_info = rssi;
        break;
      case Radio::umts:
        signal.wcdma_sig_info_valid = 1;
        signal.wcdma_sig_info = {rssi, static_cast<int16_t>(cell.ecio)};
        break;
      case Radio::lte:
        signal.lte_sig_info_valid = 1;
        signal.lte_sig_info = {rssi, static_cast<int8_t>(cell.rsrq), rsrp, snr};
        break;
      case Radio::nr5g:
        signal.nr5g_sig_info_valid = 1;
        signal.nr5g_sig_info = {rsrp, snr};
        break;
      case Radio::none:
        break;
    }
  }
  return signal;
}

void get_sys_info(Modem& modem, const Request&, Response& response) {
  response.record(nas_get_sys_info_resp{.resp = {}, .info = system_info(modem.state)});
}

void get_sig_info(Modem& modem, const Request&, Response& response) {
  response.record(nas_get_sig_info_resp{.resp = {}, .signal = signal(modem.state)});
}

void indication_register(Modem&, const Request& request, Response&) {
  const auto wanted = request.record<nas_indication_register_req>();
  const auto choose = [&](uint64_t bit, uint8_t valid, uint8_t on) {
    if (valid != 0) request.client->events = on != 0 ? request.client->events | bit : request.client->events & ~bit;
  };
  choose(kServingSystem, wanted.reg_serving_system_valid, wanted.reg_serving_system);
  choose(kSystemInfo, wanted.reg_sys_info_valid, wanted.reg_sys_info);
  choose(kSignalInfo, wanted.reg_sig_info_valid, wanted.reg_sig_info);
}

void initiate_attach(Modem& modem, const Request& request, Response&) {
  const auto wanted = request.record<nas_initiate_attach_req>();
  if (wanted.ps_attach_action_valid == 0) throw Refused(QMI_ERR_MISSING_ARG_V01);
  if (wanted.ps_attach_action != NAS_PS_ATTACH_V01 && wanted.ps_attach_action != NAS_PS_DETACH_V01)
    throw Refused(QMI_ERR_INVALID_PS_ATTACH_ACTION_V01);
  modem.state.network.attach_wanted = wanted.ps_attach_action == NAS_PS_ATTACH_V01;
  modem.changed(Change::network);
}

void tell_registration(Modem& modem) {
  nas_serving_system_ind serving{};
  fill_serving_system(modem.state, serving);
  modem.indicate_registered(nas_service, kServingSystem, QMI_NAS_SERVING_SYSTEM_IND_MSG_V01,
                            Modem::indication(nas_service, QMI_NAS_SERVING_SYSTEM_IND_MSG_V01, serving));
  modem.indicate_registered(
      nas_service, kSystemInfo, QMI_NAS_SYS_INFO_IND_MSG_V01,
      Modem::indication(nas_service, QMI_NAS_SYS_INFO_IND_MSG_V01, nas_sys_info_ind{system_info(modem.state)}));
}

void tell_signal(Modem& modem) {
  modem.indicate_registered(
      nas_service, kSignalInfo, QMI_NAS_SIG_INFO_IND_MSG_V01,
      Modem::indication(nas_service, QMI_NAS_SIG_INFO_IND_MSG_V01, nas_sig_info_ind{signal(modem.state)}));
}

Registration registration_now(const State& state) {
  const Network& network = state.network;
  const Slot& slot = state.slots[state.active_slot];
  const bool subscription = slot.card && slot.app == AppState::ready && slot.card->subscription() != nullptr;
  if (!state.radio_on() || !subscription) return Registration::not_registered;
  if (!network.available || network.cells.empty()) return Registration::searching;
  return network.denied ? Registration::denied : Registration::registered;
}

// Works out what follows from coverage, card and operating mode, and tells who wants to know.
void update_registration(Modem& modem) {
  Network& network = modem.state.network;
  const auto outcome = [&] {
    return std::tuple(network.registration, network.circuit, network.packet, network.roaming);
  };
  const auto before = outcome();
  network.registration = registration_now(modem.state);
  const bool registered = network.registration == Registration::registered;
  network.circuit = registered ? Attach::attached : Attach::detached;
  network.packet = registered && network.attach_wanted ? Attach::attached : Attach::detached;
  network.roaming = registered && network.visited;
  if (outcome() != before) modem.changed(Change::registration);
}

void changed(Modem& modem, Change change) {
  switch (change) {
    case Change::started:
      modem.state.network.attach_wanted = true;
      return update_registration(modem);
    case Change::operating_mode:
    case Change::cards:
    case Change::network:
      return update_registration(modem);
    case Change::registration:
      return tell_registration(modem);
    case Change::signal:
      return tell_signal(modem);
    case Change::clients:
      return;
  }
}

void load(State& state, const toml::table& scenario) {
  const auto table = scenario["network"];
  Network& network = state.network;
  Cell& cell = network.cells.front();
  cell.mcc = table["mcc"].value_or(cell.mcc);
  cell.mnc = table["mnc"].value_or(cell.mnc);
  cell.name = table["name"].value_or(cell.name);
  cell.cell_id = table["cell_id"].value_or(cell.cell_id);
  cell.tac = table["tac"].value_or(cell.tac);
  cell.rssi = table["rssi"].value_or(cell.rssi);
  if (!is_operator_code(cell.mcc, 3, 3) || !is_operator_code(cell.mnc, 2, 3))
    throw std::runtime_error("[network]: mcc has three digits, mnc two or three");
  network.available = table["available"].value_or(network.available);
  network.denied = table["denied"].value_or(network.denied);
  network.visited = table["roaming"].value_or(network.visited);
}

constexpr Handler kHandlers[] = {
    {QMI_NAS_INDICATION_REGISTER_REQ_MSG_V01, indication_register},
    {QMI_NAS_INITIATE_ATTACH_REQ_MSG_V01, initiate_attach},
    {QMI_NAS_GET_SERVING_SYSTEM_REQ_MSG_V01, get_serving_system},
    {QMI_NAS_GET_SYS_INFO_REQ_MSG_V01, get_sys_info},
    {QMI_NAS_GET_SIG_INFO_REQ_MSG_V01, get_sig_info},
};

}  // namespace

const Service nas_service = {
    0x03, "NAS", 1, 25, kHandlers, nas_get_service_object_internal_v01(1, 0, 0), changed, load, declare_network};

}  // namespace simulated
