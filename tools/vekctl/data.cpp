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

struct Pipe {
  vek::UniqueFd reading, writing;
};

void open_pipe(Pipe& made) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw Failure("no pipe");
  made.reading.reset(ends[0]);
  made.writing.reset(ends[1]);
}

std::string read_all(int fd) {
  std::string text;
  char part[1024];
  for (ssize_t length; (length = read(fd, part, sizeof part)) > 0;) text.append(part, static_cast<size_t>(length));
  return text;
}

// This program again, as the process that holds the call, in a session of its own: what is wanted on its standard
// input, where nobody else reads the password, and its report on its standard output.
void start_holder(int wanted, int report) {
  const bool verbose = vek_pal_log_get_level() > VEK_PAL_LOG_FATAL;
  char program[] = "vekctl", group[] = "data", command[] = "hold", records[] = "--verbose";
  char* const argv[] = {program, group, command, verbose ? records : nullptr, nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, wanted, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, report, STDOUT_FILENO);
  // Where no records are wanted, nobody's terminal or pipe stays open for as long as the call.
  if (!verbose) posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  pid_t holder = 0;
  const int failure = posix_spawn(&holder, "/proc/self/exe", &actions, &attributes, argv, environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) throw Failure("cannot start the process that holds the call");
}

std::string as_text(const PdpOptions& wanted) {
  return Json{{"apn", wanted.apn},
              {"user", wanted.user},
              {"password", wanted.password},
              {"type", wanted.type},
              {"auth", wanted.auth}}
      .dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json hold() {
  const Json text = Json::parse(read_all(STDIN_FILENO), nullptr, false);
  if (!text.is_object()) throw Failure("\"data up\" starts this", kMisused);
  PdpOptions wanted;
  wanted.apn = text.value("apn", "");
  wanted.user = text.value("user", "");
  wanted.password = text.value("password", "");
  wanted.type = text.value("type", wanted.type);
  wanted.auth = text.value("auth", wanted.auth);
  std::exit(hold_data_call(wanted, STDOUT_FILENO));
}

Json up(const PdpOptions& wanted) {
  if (const auto held = tell_holder("status")) {
    if ((*held)["state"] != "ended by the network")
      throw Failure("a data call is up already (vekctl data status; vekctl data down)");
    tell_holder("down");
  }
  need_modem(vek_pal_qmi_get_wds_client(0), "WDS");
  Pipe order, answer;
  open_pipe(order);
  open_pipe(answer);
  const std::string text = as_text(wanted);
  if (write(order.writing.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
    throw Failure("no pipe");
  order.writing.reset();
  start_holder(order.reading.get(), answer.writing.get());
  answer.writing.reset();
  std::string report;
  {
    const Progress progress("bringing the call up", kUpLimitSeconds);
    report = read_all(answer.reading.get());
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

      run.command(data->add_subcommand("hold", "What \"up\" leaves running")->group(""), hold);
      run.command(data->add_subcommand("status", "Addresses, name servers and counters of the call"), status);
      run.command(data->add_subcommand("down", "Takes the call down"), down);

      static unsigned interval = 1;
      CLI::App* watch_command = data->add_subcommand("watch", "Shows the counters as they change, until the call ends");
      watch_command->add_option("--interval", interval, "Seconds")->capture_default_str()->check(CLI::Range(1u, 3600u));
      run.command(watch_command, [&run] { return watch(run, interval); });
    }};

}  // namespace
}  // namespace vekctl
