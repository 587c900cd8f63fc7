// WDS: profiles, and the sessions' messages (sessions.cpp).
#include "providers/qmi/services/wds.h"

#include <algorithm>

#include "modem/modem.h"
#include "modem/sessions.h"

namespace simulated {
namespace {

constexpr uint16_t kExtendedBadNumber = 5;
constexpr unsigned kProfilesMax = 16;
constexpr uint8_t kAllProfileTypes = 255;

// Text into a record's member; what does not fit is cut.
template <size_t size>
uint8_t copy_text(char (&member)[size], const std::string& text) {
  member[text.copy(member, size - 1)] = '\0';
  return 1;
}

// What a request says of a profile.
void take(DataProfile& profile, const wds_profile_settings& said) {
  if (said.profile_name_valid != 0) profile.name = said.profile_name;
  if (said.pdp_type_valid != 0) profile.pdp_type = static_cast<uint8_t>(said.pdp_type);
  if (said.apn_name_valid != 0) profile.apn = said.apn_name;
  if (said.username_valid != 0) profile.user = said.username;
  if (said.password_valid != 0) profile.password = said.password;
  if (said.authentication_preference_valid != 0)
    profile.authentication = static_cast<uint8_t>(said.authentication_preference);
  if (said.apn_disabled_flag_valid != 0) profile.disabled = said.apn_disabled_flag != 0;
  if (said.apn_type_mask_valid != 0) profile.apn_types = said.apn_type_mask;
  if (said.roaming_disallowed_flag_valid != 0) profile.roaming_disallowed = said.roaming_disallowed_flag != 0;
}

void tell(const DataProfile& profile, uint8_t index, wds_profile_settings& settings) {
  settings.profile_name_valid = copy_text(settings.profile_name, profile.name);
  settings.pdp_type_valid = 1;
  settings.pdp_type = profile.pdp_type;
  settings.apn_name_valid = copy_text(settings.apn_name, profile.apn);
  settings.username_valid = copy_text(settings.username, profile.user);
  settings.password_valid = copy_text(settings.password, profile.password);
  settings.authentication_preference_valid = 1;
  settings.authentication_preference = profile.authentication;
  settings.context_number_valid = 1;
  settings.context_number = index;
  settings.apn_disabled_flag_valid = 1;
  settings.apn_disabled_flag = profile.disabled;
  settings.roaming_disallowed_flag_valid = 1;
  settings.roaming_disallowed_flag = profile.roaming_disallowed;
  settings.apn_type_mask_valid = 1;
  settings.apn_type_mask = profile.apn_types;
}

void check_type(uint32_t type) {
  if (type != WDS_PROFILE_TYPE_3GPP_V01) throw Refused(QMI_ERR_INVALID_PROFILE_TYPE_V01);
}

DataProfile& find_profile(Data& data, const wds_profile_id& id) {
  check_type(id.profile_type);
  const auto at = data.profiles.find(id.profile_index);
  if (at == data.profiles.end()) throw Refused(QMI_ERR_INVALID_PROFILE_V01);
  return at->second;
}

void create_profile(Modem& modem, const Request& request, Response& response) {
  auto& profiles = modem.state.data.profiles;
  const auto wanted = request.record<wds_create_profile_req>();
  check_type(wanted.profile_type);
  if (profiles.size() >= kProfilesMax) throw Refused(QMI_ERR_NO_FREE_PROFILE_V01);
  uint8_t index = 1;
  while (profiles.contains(index)) ++index;
  take(profiles[index], wanted.profile);
  wds_create_profile_resp resp{};
  resp.profile = {WDS_PROFILE_TYPE_3GPP_V01, index};
  response.record(resp);
}

void modify_profile(Modem& modem, const Request& request, Response& response) {
  const auto wanted = request.record<wds_modify_profile_settings_req>();
  if (!modem.state.data.profiles.contains(wanted.id.profile_index)) {
    wds_modify_profile_settings_resp resp{};
    resp.resp = {QMI_RESULT_FAILURE_V01, QMI_ERR_INVALID_PROFILE_V01};
    resp.extended_error_code_valid = 1;
    resp.extended_error_code = kExtendedBadNumber;
    response.record(resp);
    response.refuse(QMI_ERR_INVALID_PROFILE_V01);
    return;
  }
  take(find_profile(modem.state.data, wanted.id), wanted.profile);
}

void delete_profile(Modem& modem, const Request& request, Response&) {
  const auto wanted = request.record<wds_delete_profile_req>();
  find_profile(modem.state.data, wanted.id);
  modem.state.data.profiles.erase(wanted.id.profile_index);
}

void get_profile_list(Modem& modem, const Request& request, Response& response) {
  const auto wanted = request.record<wds_get_profile_list_req>();
  if (wanted.profile_type_valid != 0 && wanted.profile_type != kAllProfileTypes) check_type(wanted.profile_type);
  wds_get_profile_list_resp resp{};
  for (const auto& [index, profile] : modem.state.data.profiles) {
    wds_profile_entry& entry = resp.profile_list[resp.profile_list_len++];
    entry.id = {WDS_PROFILE_TYPE_3GPP_V01, index};
    copy_text(entry.profile_name, profile.name);
  }
  response.record(resp);
}

void get_profile_settings(Modem& modem, const Request& request, Response& response) {
  const auto wanted = request.record<wds_get_profile_settings_req>();
  wds_get_profile_settings_resp resp{};
  tell(find_profile(modem.state.data, wanted.id), wanted.id.profile_index, resp.profile);
  response.record(resp);
}

void set_client_ip_family(Modem&, const Request& request, Response&) {
  const uint32_t family = request.record<wds_set_client_ip_family_pref_req>().ip_preference;
  if (family != WDS_IP_FAMILY_IPV4_V01 && family != WDS_IP_FAMILY_IPV6_V01 && family != WDS_IP_FAMILY_UNSPECIFIED_V01)
    throw Refused(QMI_ERR_INVALID_IP_FAMILY_PREF_V01);
  request.client->family =
      static_cast<uint8_t>(family == WDS_IP_FAMILY_UNSPECIFIED_V01 ? WDS_IP_FAMILY_IPV4_V01 : family);
}

void bind_mux_data_port(Modem&, const Request& request, Response&) { request.record<wds_bind_mux_data_port_req>(); }

void set_attach_list(Modem& modem, const Request& request, Response&) {
  Data& data = modem.state.data;
  const auto wanted = request.record<wds_set_lte_attach_pdn_list_req>();
  const std::vector<uint16_t> list(wanted.attach_pdn_list, wanted.attach_pdn_list + wanted.attach_pdn_list_len);
  const bool known = std::ranges::all_of(
      list, [&](uint16_t index) { return index <= UINT8_MAX && data.profiles.contains(static_cast<uint8_t>(index)); });
  if (!known || list.empty()) throw Refused(QMI_ERR_INVALID_PROFILE_V01);
  data.attach_list = list;
  const wds_set_lte_attach_pdn_list_ind done = {.resp = {}, .success = 1};
  modem.indicate(*request.client, QMI_WDS_SET_LTE_ATTACH_PDN_LIST_REQ_V01,
                 Modem::indication(wds_service, QMI_WDS_SET_LTE_ATTACH_PDN_LIST_REQ_V01, done));
}

void get_attach_list(Modem& modem, const Request&, Response& response) {
  wds_get_lte_attach_pdn_list_resp resp{};
  resp.attach_pdn_list_valid = 1;
  for (const uint16_t index : modem.state.data.attach_list) {
    if (resp.attach_pdn_list_len == std::size(resp.attach_pdn_list)) break;
    resp.attach_pdn_list[resp.attach_pdn_list_len++] = index;
  }
  response.record(resp);
}

void changed(Modem& modem, Change change) {
  if (change == Change::registration && modem.state.network.packet != Attach::attached)
    end_sessions(modem, kServiceLost, [](const Session&) { return true; });
  if (change == Change::clients)
    end_sessions(modem, kAskedFor,
                 [&](const Session& session) { return modem.client(wds_service.number, session.client) == nullptr; });
}

void load(State& state, const toml::table& scenario) {
  Data& data = state.data;
  const auto table = scenario["data"];
  data.setup_ms = table["setup_ms"].value_or(data.setup_ms);
  data.interface_follows = table["interface"].value_or(data.interface_follows);
  const toml::array* const profiles = table["profiles"].as_array();
  if (profiles == nullptr) return;
  data.profiles.clear();
  for (const toml::node& node : *profiles) {
    const toml::table* const row = node.as_table();
    if (row == nullptr) continue;
    DataProfile profile{.name = (*row)["name"].value_or(std::string{}), .apn = (*row)["apn"].value_or(std::string{})};
    profile.pdp_type = static_cast<uint8_t>((*row)["pdp_type"].value_or(unsigned{WDS_PDP_TYPE_IPV4V6_V01}));
    profile.roaming_disallowed = (*row)["roaming_disallowed"].value_or(false);
    data.profiles.emplace(static_cast<uint8_t>(data.profiles.size() + 1), std::move(profile));
  }
}

constexpr Handler kHandlers[] = {
    {QMI_WDS_START_NETWORK_INTERFACE_REQ_V01, start_network_interface},
    {QMI_WDS_STOP_NETWORK_INTERFACE_REQ_V01, stop_network_interface},
    {QMI_WDS_GET_PKT_SRVC_STATUS_REQ_V01, get_packet_service_status},
    {QMI_WDS_CREATE_PROFILE_REQ_V01, create_profile},
    {QMI_WDS_MODIFY_PROFILE_SETTINGS_REQ_V01, modify_profile},
    {QMI_WDS_DELETE_PROFILE_REQ_V01, delete_profile},
    {QMI_WDS_GET_PROFILE_LIST_REQ_V01, get_profile_list},
    {QMI_WDS_GET_PROFILE_SETTINGS_REQ_V01, get_profile_settings},
    {QMI_WDS_GET_RUNTIME_SETTINGS_REQ_V01, get_runtime_settings},
    {QMI_WDS_SET_CLIENT_IP_FAMILY_PREF_REQ_V01, set_client_ip_family},
    {QMI_WDS_SET_LTE_ATTACH_PDN_LIST_REQ_V01, set_attach_list},
    {QMI_WDS_GET_LTE_ATTACH_PDN_LIST_REQ_V01, get_attach_list},
    {QMI_WDS_BIND_MUX_DATA_PORT_REQ_V01, bind_mux_data_port},
};

}  // namespace

const Service wds_service = {0x01,    "WDS", 1, 67, kHandlers, wds_get_service_object_internal_v01(1, 0, 0),
                             changed, load};

}  // namespace simulated
