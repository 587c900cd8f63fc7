#include "at_server/standard_commands.h"

#include <string>
#include <utility>
#include <vector>

namespace simulated {
namespace {

AtAnswer set_echo(const AtRequest& request) {
  if (request.arguments != "" && request.arguments != "0" && request.arguments != "1") return AtAnswer::error();
  request.settings->echo = request.arguments == "1";
  return AtAnswer::ok();
}

AtAnswer reset(const AtRequest& request) {
  *request.settings = {};
  return AtAnswer::ok();
}

// Verbose results and results at all are what this server always gives.
AtAnswer accept_one_only(const AtRequest& request) {
  return request.arguments == "1" ? AtAnswer::ok() : AtAnswer::error();
}
AtAnswer accept_zero_only(const AtRequest& request) {
  return request.arguments == "" || request.arguments == "0" ? AtAnswer::ok() : AtAnswer::error();
}

AtAnswer error_codes(const AtRequest& request) {
  switch (request.form) {
    case AtForm::test:
      return AtAnswer::ok({"+CMEE: (1)"});
    case AtForm::read:
      return AtAnswer::ok({"+CMEE: 1"});
    default:
      return request.arguments == "0" ? AtAnswer::error() : AtAnswer::ok();
  }
}

}  // namespace

void add_standard_commands(AtCommands& commands, std::function<AtIdentity()> identity) {
  const struct {
    const char* name;
    AtCommands::Handler handler;
  } rows[] = {
      {"E", set_echo}, {"V", accept_one_only}, {"Q", accept_zero_only},
      {"Z", reset},    {"&F", reset},          {"+CMEE", error_codes},
  };
  for (const auto& row : rows) commands.add(row.name, row.handler);

  using Lines = std::vector<std::string>;
  const struct {
    const char* name;
    Lines (*lines)(const AtIdentity&);
  } facts[] = {
      {"I",
       [](const AtIdentity& it) {
         return Lines{it.manufacturer, it.model, it.revision, "IMEI: " + it.imei};
       }},
      {"+CGMI", [](const AtIdentity& it) { return Lines{it.manufacturer}; }},
      {"+GMI", [](const AtIdentity& it) { return Lines{it.manufacturer}; }},
      {"+CGMM", [](const AtIdentity& it) { return Lines{it.model}; }},
      {"+GMM", [](const AtIdentity& it) { return Lines{it.model}; }},
      {"+CGMR", [](const AtIdentity& it) { return Lines{it.revision}; }},
      {"+GMR", [](const AtIdentity& it) { return Lines{it.revision}; }},
      {"+CGSN", [](const AtIdentity& it) { return Lines{it.imei}; }},
      {"+GSN", [](const AtIdentity& it) { return Lines{it.imei}; }},
  };
  for (const auto& fact : facts) {
    commands.add(fact.name, [identity, lines = fact.lines](const AtRequest& request) {
      if (request.form == AtForm::test) return AtAnswer::ok();
      return request.form == AtForm::execute ? AtAnswer::ok(lines(identity())) : AtAnswer::error();
    });
  }
}

}  // namespace simulated
