// vekctl data: a data call, from an APN to an interface that packets go through.
#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

#include "common/base/unique_fd.h"
#include "data_call.h"
#include "progress.h"
#include "vek_pal/log.h"
#include "vek_pal/qmi.h"

namespace vekctl {
namespace {

// Two families of a minute each and the interface: what vek_pal_data_conn_sync() takes at the worst.
constexpr unsigned kUpLimitSeconds = 190;

// This program again, as the process that holds the call: in a session of its own, its report on its standard output.
pid_t start_holder(const PdpOptions& wanted, int report) {
  std::vector<std::string> arguments = {"vekctl",
                                        "data",
                                        "hold",
                                        "--apn",
                                        wanted.apn,
                                        "--type",
                                        pdp_type_name(wanted.type),
                                        "--auth",
                                        auth_name(wanted.auth)};
  if (!wanted.user.empty()) arguments.insert(arguments.end(), {"--user", wanted.user});
  if (!wanted.password.empty()) arguments.insert(arguments.end(), {"--password", wanted.password});
  if (vek_pal_log_get_level() > VEK_PAL_LOG_FATAL) arguments.emplace_back("--verbose");
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, report, STDOUT_FILENO);
  // Without a word wanted from it, nobody's terminal or pipe stays open for the call's sake.
  if (vek_pal_log_get_level() <= VEK_PAL_LOG_FATAL)
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  pid_t holder = 0;
  const int failure = posix_spawn(&holder, "/proc/self/exe", &actions, &attributes, argv.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) throw Failure("cannot start the process that holds the call");
  return holder;
}

std::string read_all(int fd) {
  std::string text;
  char part[1024];
  for (ssize_t length; (length = read(fd, part, sizeof part)) > 0;) text.append(part, static_cast<size_t>(length));
  return text;
}

Json up(const PdpOptions& wanted) {
  if (const auto held = tell_holder("status")) {
    if ((*held)["state"] != "ended by the network")
      throw Failure("a data call is up already (vekctl data status; vekctl data down)");
    tell_holder("down");
  }
  need_modem(vek_pal_qmi_get_wds_client(0), "WDS");
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw Failure("no pipe");
  const vek::UniqueFd reading(ends[0]);
  vek::UniqueFd writing(ends[1]);
  start_holder(wanted, writing.get());
  writing.reset();
  std::string report;
  {
    const Progress progress("bringing the call up", kUpLimitSeconds);
    report = read_all(reading.get());
  }
  const Json line = Json::parse(report, nullptr, false);
  if (line.is_object() && line.contains("up")) return line["up"];
  throw Failure(line.is_object() && line.contains("failed")
                    ? line["failed"].get<std::string>() + " (-v shows why; is the module registered? vekctl net status)"
                    : "the process that holds the call has ended");
}

Json status() {
  const auto held = tell_holder("status");
  return held ? *held : Json{{"state", "down"}};
}

Json down() {
  const Progress progress("taking the call down", 120);
  const auto answer = tell_holder("down");
  if (!answer) throw Failure("no data call is up");
  if ((*answer)["state"] != "down") throw Failure("the modem does not release the call (-v on \"data up\" shows why)");
  return *answer;
}

// A line whenever there is something new to say, until the call is over.
Json watch(const Run& run, unsigned interval_seconds) {
  uint64_t sent = 0, received = 0;
  for (bool first = true;; first = false) {
    const auto held = tell_holder("status");
    if (!held) {
      run.show({{"state", "down"}});
      return nullptr;
    }
    if ((*held)["state"] == "ended by the network") throw Failure("the network has ended the call");
    const uint64_t now_sent = held->value("sent", sent), now_received = held->value("received", received);
    if (first || now_sent != sent || now_received != received)
      run.show({{"state", (*held)["state"]},
                {"seconds", (*held)["seconds"]},
                {"sent", now_sent},
                {"received", now_received},
                {"sent_since", first ? 0 : now_sent - sent},
                {"received_since", first ? 0 : now_received - received}});
    sent = now_sent;
    received = now_received;
    std::this_thread::sleep_for(std::chrono::seconds(interval_seconds));
  }
}

const Group kGroup{
    "data", [](CLI::App& top, Run& run) {
      CLI::App* data = top.add_subcommand("data", "The data call on rmnet_data0")->require_subcommand(1);

      static PdpOptions wanted;
      CLI::App* up_command = data->add_subcommand("up", "Brings a data call up and leaves it up");
      wanted.add_to(*up_command)->required();
      run.command(up_command, [] { return up(wanted); });

      CLI::App* hold = data->add_subcommand("hold", "What \"up\" leaves running")->group("");
      wanted.add_to(*hold)->required();
      run.command(hold, []() -> Json { std::exit(hold_data_call(wanted, STDOUT_FILENO)); });

      run.command(data->add_subcommand("status", "Addresses, name servers and counters of the call"), status);
      run.command(data->add_subcommand("down", "Takes the call down"), down);

      static unsigned interval = 1;
      CLI::App* watch_command = data->add_subcommand("watch", "Shows the counters as they change, until the call ends");
      watch_command->add_option("--interval", interval, "Seconds")->capture_default_str()->check(CLI::Range(1u, 3600u));
      run.command(watch_command, [&run] { return watch(run, interval); });
    }};

}  // namespace
}  // namespace vekctl
