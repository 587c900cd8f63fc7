#include "control/control.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace simulated {
namespace {

// One line for each thing that a status holds: "at-server: port=40096 running=true".
std::string for_people(const Json& status) {
  std::string text;
  for (const auto& [name, facts] : status.items()) {
    text += name + ":";
    for (const auto& [key, value] : facts.items())
      text += fmt::format(" {}={}", key, value.is_string() ? value.get<std::string>() : value.dump());
    text += "\n";
  }
  if (!text.empty()) text.pop_back();
  return text;
}

}  // namespace

Control::Control() {
  add([this](CLI::App& top, const ReplyPtr& reply) {
    top.add_subcommand("status", "Shows the state of the module")->callback([this, reply] {
      Json all = Json::object();
      for (const auto& [name, status] : statuses_) all[name] = status();
      reply->done(for_people(all), all);
    });
  });
}

void Control::run(std::vector<std::string> arguments, const ReplyPtr& reply) {
  CLI::App top{"Changes and shows the simulated module while it runs.", "modulectl"};
  top.require_subcommand(1);
  try {
    for (const auto& declare : declarations_) declare(top, reply);
    std::reverse(arguments.begin(), arguments.end());  // as CLI11 takes them
    top.parse(std::move(arguments));
  } catch (const CLI::CallForHelp&) {
    std::string path;
    const CLI::App* asked = &top;
    for (; !asked->get_subcommands().empty(); asked = asked->get_subcommands().front())
      path += (path.empty() ? "" : " ") + asked->get_name();
    return reply->done(asked->help(path));
  } catch (const CLI::CallForAllHelp&) {
    return reply->done(top.help("", CLI::AppFormatMode::All));
  } catch (const CLI::ParseError& mistake) {
    return reply->misused(mistake.what());
  } catch (const std::exception& failure) {
    return reply->fail(failure.what());
  }
  if (!reply->held()) reply->done();
}

CLI::App& group(CLI::App& top, const std::string& name, const std::string& description) {
  for (CLI::App* there : top.get_subcommands([&](CLI::App* sub) { return sub->get_name() == name; }))
    return *(there->get_description().empty() ? there->description(description) : there);
  return *top.add_subcommand(name, description)->require_subcommand(1);
}

}  // namespace simulated
