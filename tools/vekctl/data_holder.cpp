#include <arpa/inet.h>
#include <fmt/format.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>

#include "common/base/unique_fd.h"
#include "data_call.h"
#include "vek_pal/data.h"

namespace vekctl {
namespace {

constexpr char kSocketPath[] = "/run/vekctl-data.sock";
constexpr size_t kMessageMax = 8192;

sockaddr_un holder_address() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, kSocketPath, sizeof kSocketPath);
  return address;
}

// One message is one packet: a reader has all of an answer or nothing.
bool send_message(int to, const std::string& text) {
  return send(to, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
}

std::string receive_message(int from) {
  std::string text(kMessageMax, '\0');
  const ssize_t length = recv(from, text.data(), text.size(), 0);
  text.resize(length > 0 ? static_cast<size_t>(length) : 0);
  return text;
}

Json ipv4_text(uint32_t address) {
  char text[32] = "";
  if (address == 0 || vek_pal_covert_ip_to_str(address, text, sizeof text) != 0) return nullptr;
  return text;
}

Json ipv6_text(const uint8_t (&address)[16]) {
  constexpr uint8_t kNone[16] = {};
  char text[64] = "";
  if (std::memcmp(address, kNone, sizeof kNone) == 0 || vek_pal_covert_ipv6_to_str(address, text, sizeof text) != 0)
    return nullptr;
  return text;
}

Json servers(const Json& primary, const Json& secondary) {
  Json list = Json::array();
  for (const Json& server : {primary, secondary})
    if (!server.is_null()) list.push_back(server);
  return list;
}

Json family(const Json& address, unsigned prefix, const Json& gateway, const Json& primary, const Json& secondary) {
  if (address.is_null()) return nullptr;
  std::string all;
  for (const Json& server : servers(primary, secondary)) all += (all.empty() ? "" : " ") + server.get<std::string>();
  return {{"address", fmt::format("{}/{}", address.get<std::string>(), prefix)},
          {"gateway", gateway},
          {"dns", all.empty() ? Json(nullptr) : Json(all)}};
}

Json summary(const PdpOptions& wanted, const vek_pal_data_conn_info& info) {
  const auto mask = static_cast<unsigned>(__builtin_popcount(info.ipv4_subnet_mask));
  return {{"state", "up"},
          {"apn", wanted.apn},
          {"type", pdp_type_name(wanted.type)},
          {"profile", info.profile_index},
          {"interface", info.interface_name},
          {"ipv4", family(ipv4_text(info.ipv4_address), mask, ipv4_text(info.ipv4_gateway),
                          ipv4_text(info.ipv4_primary_dns), ipv4_text(info.ipv4_secondary_dns))},
          {"ipv6", family(ipv6_text(info.ipv6_address), info.ipv6_prefix_length, ipv6_text(info.ipv6_gateway),
                          ipv6_text(info.ipv6_primary_dns), ipv6_text(info.ipv6_secondary_dns))},
          {"mtu", 1340},
          {"network_mtu", info.mtu != 0 ? Json(info.mtu) : Json(nullptr)}};
}

// The call, once it is up.
class Holder {
 public:
  Holder(Json summary, const vek_pal_data_conn_info& info)
      : summary_(std::move(summary)),
        info_(info),
        families_(!summary_["ipv4"].is_null() + !summary_["ipv6"].is_null()) {}

  // Answers until it has taken the call down.
  int serve(int listener) {
    for (;;) {
      const vek::UniqueFd client(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
      if (!client) continue;
      const std::string word = receive_message(client.get());
      if (word == "down") {
        send_message(client.get(), take_down().dump());
        return kDone;
      }
      send_message(client.get(), status().dump());
    }
  }

 private:
  Json status() const {
    Json now = summary_;
    now["state"] = ended == 0 ? "up" : ended < families_ ? "partly ended by the network" : "ended by the network";
    now["seconds"] =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - since_).count();
    uint64_t sent = 0, received = 0;
    if (vek_pal_get_traffic_by_interface_name(info_.interface_name, &sent, &received) == 0) {
      now["sent"] = sent;
      now["received"] = received;
    }
    return now;
  }

  Json take_down() const {
    // What the network has ended altogether cannot be released, and need not be.
    const bool released = vek_pal_data_conn_release(&info_) == 0 || ended >= families_;
    return {{"state", released ? "down" : "not released"}, {"apn", summary_["apn"]}};
  }

 public:
  static inline std::atomic<int> ended = 0;  // families that the network has ended

 private:
  Json summary_;
  vek_pal_data_conn_info info_;
  int families_;
  std::chrono::steady_clock::time_point since_ = std::chrono::steady_clock::now();
};

bool report_line(int report, const Json& line) {
  const std::string text = line.dump() + "\n";
  return write(report, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

}  // namespace

int hold_data_call(const PdpOptions& wanted, int report) {
  signal(SIGPIPE, SIG_IGN);  // whoever wanted the call may have lost patience
  vek_pal_data_conn_request request{};
  wanted.copy_to(request);
  vek_pal_data_conn_info info{};
  vek_pal_data_connection_deactivated_regisetr([](void*) { Holder::ended++; }, nullptr);
  if (vek_pal_data_conn_sync(&request, &info) != 0) {
    vek_pal_data_conn_release(&info);  // what came up of it
    report_line(report, {{"failed", "the data call does not come up"}});
    return kFailed;
  }

  const vek::UniqueFd listener(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  const sockaddr_un address = holder_address();
  unlink(kSocketPath);
  const bool listening = bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                         listen(listener.get(), 8) == 0;
  const Json up = summary(wanted, info);
  if (!listening || !report_line(report, {{"up", up}})) {
    vek_pal_data_conn_release(&info);
    return kFailed;
  }
  close(report);
  const int status = Holder(up, info).serve(listener.get());
  unlink(kSocketPath);
  return status;
}

std::optional<Json> tell_holder(const std::string& word) {
  const vek::UniqueFd holder(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  const sockaddr_un address = holder_address();
  if (connect(holder.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return std::nullopt;
  if (!send_message(holder.get(), word)) return std::nullopt;
  const std::string answer = receive_message(holder.get());
  return answer.empty() ? std::nullopt : std::optional(Json::parse(answer));
}

}  // namespace vekctl
