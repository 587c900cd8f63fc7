#include "network/operator_network.h"

#include <fmt/format.h>
#include <signal.h>

#include <algorithm>
#include <fstream>

#include "network/command.h"

namespace simulated {
namespace {

constexpr char kNamespace[] = "operator";
constexpr char kNamespaceFile[] = "/run/netns/operator";
constexpr char kInNamespace[] = "--net=/run/netns/operator";
constexpr char kNameServerPid[] = "/run/module/dnsmasq.pid";

// Both ends have the same hardware address and ask for none: so every packet is for the other end.
constexpr char kModuleSide[] = R"(
link add rmnet_data0 type veth peer name internet0 netns operator
link set rmnet_data0 address 02:00:00:00:00:01 arp off addrgenmode none
)";

// Name servers, and the internet: www.example.
constexpr char kOperatorSide[] = R"(
link set lo up
link set internet0 address 02:00:00:00:00:01 arp off addrgenmode none
link set internet0 up
addr add 10.11.12.1/32 dev lo
addr add 10.11.12.2/32 dev lo
addr add 203.0.113.80/32 dev lo
addr add 2001:db8:53::1/128 dev lo nodad
addr add 2001:db8:53::2/128 dev lo nodad
addr add 2001:db8:80::80/128 dev lo nodad
)";

void module_side(const std::string& commands) { run_command({"ip", "-batch", "-"}, commands); }
// Not with `ip -n`, which wants to mount a sysfs besides.
void operator_side(const std::string& commands) {
  run_command({"nsenter", kInNamespace, "ip", "-batch", "-"}, commands);
}

const char* nodad(const Session& session) { return session.family == 6 ? " nodad" : ""; }

}  // namespace

OperatorNetwork::OperatorNetwork(Module& module) : module_(module) {
  run_command({"ip", "netns", "add", kNamespace});
  module_side(kModuleSide);
  operator_side(kOperatorSide);
  web_ = std::make_unique<WebServer>(module.events, kNamespaceFile);
}

OperatorNetwork::~OperatorNetwork() {
  pid_t name_server = 0;
  if (names_served_ && std::ifstream(kNameServerPid) >> name_server && name_server > 1) kill(name_server, SIGTERM);
}

// Started with the first session: most of what runs in a box never asks for a name. It goes to the background by itself
// when it can answer.
void OperatorNetwork::serve_names() {
  if (std::exchange(names_served_, true)) return;
  run_command({"nsenter", kInNamespace, "dnsmasq", "--conf-file=/dev/null", "--user=", "--no-hosts", "--no-resolv",
               "--local=/#/", fmt::format("--pid-file={}", kNameServerPid), "--log-facility=/run/module/dnsmasq.log",
               "--host-record=www.example,203.0.113.80,2001:db8:80::80", "--host-record=gateway.example,10.11.12.1",
               "--txt-record=www.example,served by the operator"});
}

// Somebody in the box may have taken the interface away; that is no reason for the modem to end.
void OperatorNetwork::attempt(const std::function<void()>& work) {
  try {
    work();
  } catch (const std::exception& failure) {
    module_.watch.tell("network", fmt::format("not done: {}", failure.what()));
  }
}

void OperatorNetwork::up(const Session& session) {
  attempt([&] { set_up(session); });
}

void OperatorNetwork::down(const Session& session) {
  // A session that came up while the interface was left alone has nothing to take away.
  if (std::erase(up_, session.handle) != 0) attempt([&] { take_down(session); });
}

void OperatorNetwork::set_up(const Session& session) {
  const Lease& lease = session.lease;
  if (up_.empty()) module_side(fmt::format("link set rmnet_data0 mtu {} up\n", lease.mtu));
  operator_side(fmt::format("addr add {}/{} dev internet0{}\n", lease.gateway, lease.prefix, nodad(session)));
  module_side(fmt::format("addr add {}/{} dev rmnet_data0{}\n", lease.address, lease.prefix, nodad(session)));
  up_.push_back(session.handle);
  serve_names();
  module_.watch.tell("network", fmt::format("rmnet_data0 has {}", lease.address),
                     {{"address", lease.address}, {"family", session.family}});
}

void OperatorNetwork::take_down(const Session& session) {
  const Lease& lease = session.lease;
  module_side(fmt::format("addr del {}/{} dev rmnet_data0\n", lease.address, lease.prefix));
  operator_side(fmt::format("addr del {}/{} dev internet0\n", lease.gateway, lease.prefix));
  run_command({"ip", session.family == 6 ? "-6" : "-4", "route", "flush", "dev", "rmnet_data0"});
  if (up_.empty()) module_side("link set rmnet_data0 down\n");
  module_.watch.tell("network", fmt::format("rmnet_data0 has lost {}", lease.address),
                     {{"address", lease.address}, {"family", session.family}});
}

}  // namespace simulated
