// modulectl: remote control of the simulated module. The commands are the module's: this passes them on and prints the
// answers.
#include <errno.h>
#include <fmt/format.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "common/base/unique_fd.h"

namespace {

using Json = nlohmann::json;

enum ExitStatus { kDone = 0, kFailed = 1, kMisused = 2, kNoModule = 3 };

constexpr char kUsage[] =
    "modulectl [--run DIR] [--json] COMMAND...\n"
    "\n"
    "Changes and shows the simulated module while it runs. \"modulectl --help\" lists its commands, \"modulectl "
    "COMMAND --help\"\n"
    "explains one.\n"
    "\n"
    "  --run DIR  The directory given to module-box --run (else $VEK_MODULE_RUN, else /run/module: the box you are "
    "in)\n"
    "  --json     Prints what programs want: one JSON line for each line of the answer\n"
    "\n"
    "Exit status: 0 done, 1 the command failed, 2 wrong usage, 3 no module runs.\n";

struct Request {
  std::string run_directory = "/run/module";
  bool json = false;
  std::vector<std::string> arguments;
};

Request read_arguments(int argc, char** argv) {
  Request request;
  if (const char* directory = std::getenv("VEK_MODULE_RUN")) request.run_directory = directory;
  int i = 1;
  for (; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--json")
      request.json = true;
    else if (argument == "--run" && i + 1 < argc)
      request.run_directory = argv[++i];
    else
      break;
  }
  request.arguments.assign(argv + i, argv + argc);
  return request;
}

vek::UniqueFd connect_to(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    errno = ENAMETOOLONG;
    return vek::UniqueFd{};
  }
  memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    const int cause = errno;
    close(fd);
    errno = cause;
    return vek::UniqueFd{};
  }
  return vek::UniqueFd{fd};
}

bool send_all(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t sent = send(fd, text.data(), text.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

// Prints one line of the answer; true when others follow.
bool show(const std::string& line, bool as_json, ExitStatus& status) {
  const Json answer = Json::parse(line, nullptr, false);
  const bool good = answer.is_object() && answer.value("ok", false);
  status = good ? kDone : answer.is_object() && answer.value("usage", false) ? kMisused : kFailed;
  if (as_json) {
    fmt::print("{}\n", line);
  } else if (good) {
    const std::string text = answer.value("text", "");
    if (!text.empty()) fmt::print("{}{}", text, text.back() == '\n' ? "" : "\n");
  } else {
    fmt::print(stderr, "modulectl: {}\n", answer.is_object() ? answer.value("error", line) : line);
  }
  std::fflush(stdout);
  return good && answer.value("more", false);
}

ExitStatus converse(int fd, const Request& request) {
  if (!send_all(fd, Json{{"argv", request.arguments}}.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n"))
    return kNoModule;
  ExitStatus status = kNoModule;
  std::string input;
  char chunk[65536];
  for (;;) {
    const ssize_t length = read(fd, chunk, sizeof(chunk));
    if (length <= 0) break;
    input.append(chunk, static_cast<std::size_t>(length));
    for (std::size_t end; (end = input.find('\n')) != std::string::npos; input.erase(0, end + 1))
      if (!show(input.substr(0, end), request.json, status)) return status;
  }
  fmt::print(stderr, "modulectl: the module has gone\n");
  return kNoModule;
}

}  // namespace

int main(int argc, char** argv) {
  Request request = read_arguments(argc, argv);
  const std::string first = request.arguments.empty() ? "" : request.arguments.front();
  const bool asks_for_help = first.empty() || first == "--help" || first == "-h";
  if (asks_for_help) {
    fmt::print("{}", kUsage);
    request.arguments = {"--help"};
  }

  const std::string path = request.run_directory + "/control.sock";
  const vek::UniqueFd fd = connect_to(path);
  if (!fd) {
    fmt::print(stderr,
               "modulectl: no module runs here ({}: {}). Start one with \"module-box --with-module -- sh\", or say "
               "--run DIR.\n",
               path, strerror(errno));
    return asks_for_help && !first.empty() ? kDone : kNoModule;
  }
  if (asks_for_help) fmt::print("\n");
  return converse(fd.get(), request);
}
