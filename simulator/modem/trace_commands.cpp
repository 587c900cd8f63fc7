#include "modem/commands.h"

namespace simulated {
namespace {

struct Arguments {
  bool follow = false;
  bool clear = false;
  unsigned last = 2000;
  std::string service;
};

bool wanted(const Trace::Entry& entry, const std::string& service) {
  if (service.empty()) return true;
  const auto frame = vek::qmi::parse_frame(entry.frame);
  const Service* one = find_service(service);
  return frame && one != nullptr && frame->header.service == one->number;
}

}  // namespace

void declare_trace(Modem& modem, CLI::App& top, const ReplyPtr& reply) {
  auto& given = reply->argument<Arguments>();
  CLI::App* command = top.add_subcommand("trace", "Shows every message between the modem and its clients");
  command->add_flag("--follow", given.follow, "Goes on with what passes from now on (Ctrl-C ends it)");
  command->add_option("--last", given.last, "Only the last so many")->check(CLI::PositiveNumber)->capture_default_str();
  command->add_option("--service", given.service, "Only one service's: NAS, 3");
  command->add_flag("--clear", given.clear, "Forgets what has passed, after showing it");
  command->callback([&modem, reply, &given] {
    std::vector<const Trace::Entry*> shown;
    for (const auto& entry : modem.trace.entries()) {
      if (wanted(entry, given.service)) shown.push_back(&entry);
    }
    if (shown.size() > given.last) shown.erase(shown.begin(), shown.end() - static_cast<std::ptrdiff_t>(given.last));
    for (const Trace::Entry* entry : shown) reply->more(to_text(*entry), to_json(*entry));
    if (given.clear) modem.trace.clear();
    if (!given.follow) return reply->done();
    reply->more("");
    const auto listener = modem.trace.follow([reply, service = given.service](const Trace::Entry& entry) {
      if (wanted(entry, service)) reply->more(to_text(entry), to_json(entry));
    });
    reply->when_abandoned([&modem, listener] { modem.trace.unfollow(listener); });
  });
}

}  // namespace simulated
