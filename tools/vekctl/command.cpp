#include "command.h"

#include <fmt/format.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace vekctl {
namespace {

Group* g_groups = nullptr;

// What came from the network must not steer the terminal, nor look like lines of ours: control characters (of UTF-8's
// second block too) are shown as "\x1b".
std::string printable(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); i++) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
    if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {
      out += fmt::format("\\x{:02x}", next);
      i++;
    } else if (byte < 0x20 || byte == 0x7F) {
      out += fmt::format("\\x{:02x}", byte);
    } else {
      out += text[i];
    }
  }
  return out;
}

// "name: value" lines; what is below a name is indented under it.
void print_lines(const Json& json, int indent) {
  for (const auto& [name, value] : json.items()) {
    if (value.is_structured() && !value.empty()) {
      fmt::print("{:{}}{}:\n", "", indent, name);
      print_lines(value, indent + 2);
    } else {
      fmt::print("{:{}}{}: {}\n", "", indent, name,
                 value.is_string() ? printable(value.get<std::string>())
                 : value.is_null() ? "-"
                                   : value.dump());
    }
  }
}

}  // namespace

Group::Group(const char* name, Declare declare) : name_(name), declare_(declare), next_(g_groups) { g_groups = this; }

void Group::declare_all(CLI::App& top, Run& run) {
  std::vector<const Group*> groups;
  for (const Group* group = g_groups; group != nullptr; group = group->next_) groups.push_back(group);
  std::ranges::sort(groups, [](const Group* a, const Group* b) { return strcmp(a->name_, b->name_) < 0; });
  for (const Group* group : groups) group->declare_(top, run);
}

void Run::complain(const std::string& text) {
  fmt::print(stderr, "vekctl: {}\n", text);
  complained_ = true;
}

void Run::show(const Json& answer) const {
  if (as_json) {
    fmt::print("{}\n", answer.dump(-1, ' ', false, Json::error_handler_t::replace));
  } else {
    print_lines(answer, 0);
  }
  std::fflush(stdout);
}

void need_modem(const void* client, const char* service) {
  if (client != nullptr) return;
  const bool there = access(VEK_QMI_DEVICE, F_OK) == 0;
  throw Failure(
      there ? fmt::format(
                  "the modem at {} gives no client of its {} service. It hangs, or its client ids are used up by "
                  "programs "
                  "that were killed: \"qmicli -p -d {} --device-open-version-info\" tells whether it answers at all, a "
                  "restart of the modem frees the ids. With -v the library says what it tried.",
                  VEK_QMI_DEVICE, service, VEK_QMI_DEVICE)
            : fmt::format("no modem: there is no {}. It may still be starting; on a laptop run this inside a module: "
                          "\"module-box --with-module -- vekctl ...\".",
                          VEK_QMI_DEVICE),
      kNoModem);
}

}  // namespace vekctl
