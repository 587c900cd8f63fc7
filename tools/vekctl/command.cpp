#include "command.h"

#include <fmt/format.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace vekctl {
namespace {

Group* g_groups = nullptr;

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
