// docs/at-commands.md shows the operations that the code walks.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <span>
#include <string>

#include "modem/at/atr/host_filter.h"
#include "modem/at/atr/service_requests.h"

using namespace vek::at;

namespace {

const std::string& reference() {
  static const std::string text = [] {
    std::ifstream file(VEK_TEST_DATA "/../../docs/at-commands.md");
    return std::string(std::istreambuf_iterator<char>(file), {});
  }();
  return text;
}

std::string quoted(const NamedParameter& parameter) {
  return parameter.parameter.kind == Kind::number ? parameter.name : "\"" + std::string(parameter.name) + "\"";
}

std::string range(const NamedParameter& named) {
  const char* const units[] = {"", "", " characters", " digits", " hexadecimal digits, in pairs"};
  const Parameter& parameter = named.parameter;
  return "`" + std::string(named.name) + "` " + std::to_string(parameter.min) + " to " + std::to_string(parameter.max) +
         units[static_cast<size_t>(parameter.kind)];
}

std::string row(const std::string& word, size_t number, const NamedOperation& named) {
  const Operation operation = named.operation();
  std::string parameters, ranges;
  for (uint32_t i = 0; i < operation.parameter_count(); i++) {
    parameters += "," + quoted(named.parameters[i]);
    ranges += (i > 0 ? ", " : "") + range(named.parameters[i]);
  }
  const bool optional = operation.bare != Bare::refused && !parameters.empty();
  const char* const bare = operation.bare == Bare::refused     ? "error"
                           : operation.bare == Bare::handed_on ? "asks the daemon"
                                                               : "shows the setting";
  return "| `AT+" + word + "=" + std::to_string(number) + (optional ? "[" + parameters + "]" : parameters) + "` | " +
         (ranges.empty() ? "none" : ranges) + " | " + bare + " | " +
         (operation.request == kNoRequest ? "none" : "`" + std::string(named.request_name) + "`") + " |\n";
}

std::string table(const std::string& word, std::span<const NamedOperation> operations) {
  std::string rows = "| Line | Parameters | Without them | Request |\n|---|---|---|---|\n";
  for (size_t i = 0; i < operations.size(); i++) rows += row(word, i, operations[i]);
  return rows;
}

}  // namespace

TEST(AtReference, ShowsEveryOperation) {
  const struct {
    const char* word;
    std::span<const NamedOperation> operations;
  } commands[] = {
      {"GTVYRDEV", kDeviceManager},    {"GTVYRBS", kBootstrap},     {"GTVYRCNT", kConnectManager},
      {"GTVYRSPC", kPcClient},         {"GTVYRESIM", kEsimManager}, {"GTVYRLOG", kLoggingManager},
      {"GTVYRRECO", kRecoveryManager}, {"GTVYREC", kEcManager},
  };
  for (const auto& command : commands) {
    const std::string expected = table(command.word, command.operations);
    EXPECT_NE(reference().find("\n\n" + expected + "\n"), std::string::npos) << "the reference lacks\n" << expected;
  }
}

TEST(AtReference, ShowsEveryCodeOfTheHandshake) {
  std::string expected = "| Code | What the agent is told |\n|---|---|\n";
  for (size_t i = 0; i < ath_tables_size; i++) {
    const FilterAction& action = ath_tables[i];
    const std::string told = action.agent_command != nullptr ? action.agent_command : "";
    expected += "| `" + std::to_string(action.a) + "," + std::to_string(action.b) + "," + std::to_string(action.c) +
                "` | " + (told.empty() ? "nothing" : "`" + told.substr(0, told.size() - 2) + "`") + " |\n";
  }
  EXPECT_NE(reference().find("\n\n" + expected + "\n"), std::string::npos) << "the reference lacks\n" << expected;
}
