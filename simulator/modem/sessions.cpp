#include "modem/sessions.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <algorithm>

#include "providers/qmi/services/wds.h"

namespace simulated {
namespace {

constexpr uint16_t kEndReasonUnspecified = 1;
constexpr uint16_t kVerboseType3gpp = 6;
constexpr RefusalCause kIpv4Only = 50, kIpv6Only = 51;

auto session_of(Data& data, uint8_t client) { return std::ranges::find(data.sessions, client, &Session::client); }

// Other addresses for every session, so that nobody can get along with those of the last one.
Lease new_lease(Data& data, uint8_t family) {
  const unsigned n = data.leases++ % 250;
  if (family == WDS_IP_FAMILY_IPV4_V01)
    return {.address = fmt::format("10.64.{}.5", n),
            .prefix = 30,
            .gateway = fmt::format("10.64.{}.6", n),
            .primary_dns = "10.11.12.1",
            .secondary_dns = "10.11.12.2"};
  return {.address = fmt::format("2001:db8:64:{:x}::5", n),
          .prefix = 64,
          .gateway = fmt::format("2001:db8:64:{:x}::1", n),
          .primary_dns = "2001:db8:53::1",
          .secondary_dns = "2001:db8:53::2"};
}

void indicate_status(Modem& modem, uint8_t client, uint8_t family, uint32_t status, const EndReason* reason = nullptr) {
  Client* const owner = modem.client(wds_service.number, client);
  if (owner == nullptr) return;
  wds_pkt_srvc_status_ind members{};
  members.status.connection_status = status;
  members.ip_family_valid = 1;
  members.ip_family = family;
  if (reason != nullptr) {
    members.call_end_reason_valid = members.verbose_call_end_reason_valid = 1;
    members.call_end_reason = reason->reason;
    members.verbose_call_end_reason = {reason->verbose_type, reason->verbose_reason};
  }
  modem.indicate(*owner, QMI_WDS_PKT_SRVC_STATUS_IND_V01,
                 Modem::indication(wds_service, QMI_WDS_PKT_SRVC_STATUS_IND_V01, members));
}

// The profile that a request names, with what it says instead.
Session requested_session(const Data& data, const wds_start_network_interface_req& wanted) {
  Session session;
  if (wanted.profile_index_valid != 0) {
    const auto profile = data.profiles.find(wanted.profile_index);
    if (profile == data.profiles.end()) throw Refused(QMI_ERR_INVALID_PROFILE_V01);
    session.profile = wanted.profile_index;
    session.settings = profile->second;
  } else if (!data.profiles.empty()) {
    session.profile = data.profiles.begin()->first;
    session.settings = data.profiles.begin()->second;
  }
  if (wanted.apn_name_valid != 0) session.settings.apn = wanted.apn_name;
  if (wanted.username_valid != 0) session.settings.user = wanted.username;
  if (wanted.password_valid != 0) session.settings.password = wanted.password;
  if (wanted.authentication_preference_valid != 0) session.settings.authentication = wanted.authentication_preference;
  return session;
}

// Why the network does not give this session, if it does not.
std::optional<EndReason> refusal_of(const State& state, const Session& session) {
  const auto cause = [](RefusalCause number) { return EndReason{kEndReasonUnspecified, kVerboseType3gpp, number}; };
  if (state.network.packet != Attach::attached) return kServiceLost;
  const auto refused = state.data.refused.find(session.family);
  if (refused != state.data.refused.end()) return cause(refused->second);
  const bool ipv4 = session.family == WDS_IP_FAMILY_IPV4_V01;
  if (!ipv4 && session.settings.pdp_type == WDS_PDP_TYPE_IPV4_V01) return cause(kIpv4Only);
  if (ipv4 && session.settings.pdp_type == WDS_PDP_TYPE_IPV6_V01) return cause(kIpv6Only);
  return std::nullopt;
}

// "connected" follows the answer, at once or when the network has taken its time.
void report_connected(Modem& modem, const Session& session) {
  const auto report = [&modem, client = session.client, family = session.family, handle = session.handle] {
    const auto now = session_of(modem.state.data, client);
    if (now == modem.state.data.sessions.end() || now->handle != handle) return;
    indicate_status(modem, client, family, WDS_CONNECTION_STATUS_CONNECTED_V01);
  };
  if (modem.state.data.setup_ms == 0)
    report();
  else
    modem.after(std::chrono::milliseconds(modem.state.data.setup_ms), report);
}

uint32_t ipv4_number(const std::string& text) {
  in_addr address{};
  inet_pton(AF_INET, text.c_str(), &address);
  return ntohl(address.s_addr);
}

template <size_t size>
void ipv6_bytes(const std::string& text, uint8_t (&bytes)[size]) {
  static_assert(size == sizeof(in6_addr));
  inet_pton(AF_INET6, text.c_str(), bytes);
}

void fill_ipv4(const Lease& lease, uint32_t wanted, wds_get_runtime_settings_resp& resp) {
  resp.primary_dns_valid = resp.secondary_dns_valid = (wanted & WDS_SETTING_DNS_V01) != 0;
  resp.primary_dns = ipv4_number(lease.primary_dns);
  resp.secondary_dns = ipv4_number(lease.secondary_dns);
  resp.ipv4_address_valid = (wanted & WDS_SETTING_IP_ADDRESS_V01) != 0;
  resp.ipv4_address = ipv4_number(lease.address);
  resp.ipv4_gateway_valid = resp.ipv4_subnet_mask_valid = (wanted & WDS_SETTING_GATEWAY_V01) != 0;
  resp.ipv4_gateway = ipv4_number(lease.gateway);
  resp.ipv4_subnet_mask = ~uint32_t{0} << (32 - lease.prefix);
}

void fill_ipv6(const Lease& lease, uint32_t wanted, wds_get_runtime_settings_resp& resp) {
  const auto prefix = static_cast<uint8_t>(lease.prefix);
  resp.ipv6_primary_dns_valid = resp.ipv6_secondary_dns_valid = (wanted & WDS_SETTING_DNS_V01) != 0;
  ipv6_bytes(lease.primary_dns, resp.ipv6_primary_dns);
  ipv6_bytes(lease.secondary_dns, resp.ipv6_secondary_dns);
  resp.ipv6_address_valid = (wanted & WDS_SETTING_IP_ADDRESS_V01) != 0;
  ipv6_bytes(lease.address, resp.ipv6_address.address);
  resp.ipv6_gateway_valid = (wanted & WDS_SETTING_GATEWAY_V01) != 0;
  ipv6_bytes(lease.gateway, resp.ipv6_gateway.address);
  resp.ipv6_address.prefix_length = resp.ipv6_gateway.prefix_length = prefix;
}

}  // namespace

unsigned end_sessions(Modem& modem, const EndReason& reason, const std::function<bool(const Session&)>& which) {
  std::vector<Session>& sessions = modem.state.data.sessions;
  const auto first_ended = std::stable_partition(sessions.begin(), sessions.end(), std::not_fn(which));
  const std::vector<Session> ended(first_ended, sessions.end());
  sessions.erase(first_ended, sessions.end());
  for (const Session& session : ended) {
    if (modem.carrier != nullptr) modem.carrier->down(session);
    indicate_status(modem, session.client, session.family, WDS_CONNECTION_STATUS_DISCONNECTED_V01, &reason);
  }
  return static_cast<unsigned>(ended.size());
}

void start_network_interface(Modem& modem, const Request& request, Response& response) {
  Data& data = modem.state.data;
  const auto wanted = request.record<wds_start_network_interface_req>();
  if (session_of(data, request.client->id) != data.sessions.end()) throw Refused(QMI_ERR_NO_EFFECT_V01);
  Session session = requested_session(data, wanted);
  session.client = request.client->id;
  session.family = wanted.ip_family_valid != 0 ? wanted.ip_family : request.client->family;

  if (const auto refusal = refusal_of(modem.state, session)) {
    wds_start_network_interface_resp resp{};
    resp.resp = {QMI_RESULT_FAILURE_V01, QMI_ERR_CALL_FAILED_V01};
    resp.call_end_reason_valid = resp.verbose_call_end_reason_valid = 1;
    resp.call_end_reason = refusal->reason;
    resp.verbose_call_end_reason = {refusal->verbose_type, refusal->verbose_reason};
    response.record(resp);
    response.refuse(QMI_ERR_CALL_FAILED_V01);
    return;
  }

  session.handle = data.next_handle++;
  session.lease = new_lease(data, session.family);
  data.sessions.push_back(session);
  if (modem.carrier != nullptr && data.interface_follows) modem.carrier->up(session);
  wds_start_network_interface_resp resp{};
  resp.pkt_data_handle = session.handle;
  response.record(resp);
  report_connected(modem, session);
}

void stop_network_interface(Modem& modem, const Request& request, Response&) {
  Data& data = modem.state.data;
  const auto wanted = request.record<wds_stop_network_interface_req>();
  const auto session = session_of(data, request.client->id);
  if (session == data.sessions.end()) throw Refused(QMI_ERR_NO_EFFECT_V01);
  if (session->handle != wanted.pkt_data_handle) throw Refused(QMI_ERR_INVALID_HANDLE_V01);
  end_sessions(modem, kAskedFor, [&](const Session& one) { return one.client == request.client->id; });
}

void get_packet_service_status(Modem& modem, const Request& request, Response& response) {
  Data& data = modem.state.data;
  const bool up = session_of(data, request.client->id) != data.sessions.end();
  wds_get_pkt_srvc_status_resp resp{};
  resp.connection_status = up ? WDS_CONNECTION_STATUS_CONNECTED_V01 : WDS_CONNECTION_STATUS_DISCONNECTED_V01;
  response.record(resp);
}

void get_runtime_settings(Modem& modem, const Request& request, Response& response) {
  Data& data = modem.state.data;
  const auto session = session_of(data, request.client->id);
  if (session == data.sessions.end()) throw Refused(QMI_ERR_OUT_OF_CALL_V01);
  const auto asked = request.record<wds_get_runtime_settings_req>();
  const uint32_t wanted = asked.requested_settings_valid != 0 ? asked.requested_settings : ~uint32_t{0};

  wds_get_runtime_settings_resp resp{};
  if (session->family == WDS_IP_FAMILY_IPV4_V01)
    fill_ipv4(session->lease, wanted, resp);
  else
    fill_ipv6(session->lease, wanted, resp);
  resp.pdp_type_valid = (wanted & WDS_SETTING_PDP_TYPE_V01) != 0;
  resp.pdp_type = session->settings.pdp_type;
  resp.apn_name_valid = (wanted & WDS_SETTING_APN_V01) != 0;
  session->settings.apn.copy(resp.apn_name, sizeof resp.apn_name - 1);
  resp.profile_id_valid = (wanted & WDS_SETTING_PROFILE_ID_V01) != 0;
  resp.profile_id = {WDS_PROFILE_TYPE_3GPP_V01, session->profile};
  resp.mtu_valid = (wanted & WDS_SETTING_MTU_V01) != 0;
  resp.mtu = session->lease.mtu;
  resp.ip_family_valid = (wanted & WDS_SETTING_IP_FAMILY_V01) != 0;
  resp.ip_family = session->family;
  response.record(resp);
}

}  // namespace simulated
