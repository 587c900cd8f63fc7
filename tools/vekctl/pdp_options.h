// An APN and how to use it, as commands take it and the library's records hold it.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <map>
#include <string>

#include "vek_pal/data.h"

namespace vekctl {

inline const std::map<std::string, int32_t> kPdpTypes = {
    {"ipv4", VEK_PAL_PDP_IPV4}, {"ipv6", VEK_PAL_PDP_IPV6}, {"ipv4v6", VEK_PAL_PDP_IPV4V6}};
inline const std::map<std::string, int32_t> kAuthTypes = {{"none", VEK_PAL_AUTH_NONE},
                                                          {"pap", VEK_PAL_AUTH_PAP},
                                                          {"chap", VEK_PAL_AUTH_CHAP},
                                                          {"pap-or-chap", VEK_PAL_AUTH_PAP_OR_CHAP}};

inline std::string name_of(const std::map<std::string, int32_t>& names, int32_t value, const char* otherwise) {
  for (const auto& [name, number] : names)
    if (number == value) return name;
  return otherwise;
}
inline std::string pdp_type_name(int32_t type) { return name_of(kPdpTypes, type, "none"); }
inline std::string auth_name(int32_t type) { return name_of(kAuthTypes, type, "unknown"); }

struct PdpOptions {
  std::string apn, user, password;
  int32_t type = VEK_PAL_PDP_IPV4V6;
  int32_t auth = VEK_PAL_AUTH_NONE;

  CLI::Option* add_to(CLI::App& command) {
    const CLI::Validator fits([](const std::string& text) { return text.size() < 128 ? "" : "at most 127 characters"; },
                              "TEXT");
    command.add_option("--type", type, "ipv4, ipv6 or ipv4v6 (default)")
        ->transform(CLI::CheckedTransformer(kPdpTypes, CLI::ignore_case));
    command.add_option("--user", user)->check(fits);
    command.add_option("--password", password)->check(fits);
    command.add_option("--auth", auth, "none (default), pap, chap or pap-or-chap")
        ->transform(CLI::CheckedTransformer(kAuthTypes, CLI::ignore_case));
    return command.add_option("--apn", apn, "The access point's name")->check(fits);
  }

  // Both of the library's records have these members.
  template <typename Record>
  void copy_to(Record& record) const {
    apn.copy(record.apn_name, sizeof record.apn_name - 1);
    user.copy(record.user_name, sizeof record.user_name - 1);
    password.copy(record.password, sizeof record.password - 1);
    record.pdp_type = type;
    record.auth_type = auth;
  }
};

}  // namespace vekctl
