#include "modem/catalogue.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "modem/modem.h"

namespace simulated::catalogue {
namespace {

using vek::qmi::MessageType;

constexpr Entry kIndicationRegister[] = {
    {0x10, "system_selection", "u8"}, {0x12, "ddtm", "u8"},
    {0x14, "dual_standby", "u8"},     {0x15, "subscription_info", "u8"},
    {0x17, "network_time", "u8"},     {0x1A, "error_rate", "u8"},
    {0x1D, "managed_roaming", "u8"},  {0x1E, "current_plmn_name", "u8"},
    {0x20, "rf_band", "u8"},          {0x21, "network_reject", "u8 on, u8 suppress_system_info"},
};

constexpr Entry kServingSystemIndication[] = {
    {0x11, "data_capabilities", "a8<u8>"},
    {0x15, "roaming_indicator_list", "a8<u8 radio_if, u8 roaming_indicator>"},
    {0x1A, "time_zone", "i8"},
    {0x1B, "daylight_saving", "u8"},
    {0x21, "dtm", "u8"},
    {0x22, "service_status_detail", "u8 service_status, u8 domain, u8 hdr_status, u8 hdr_hybrid, u8 forbidden"},
    {0x26, "call_barring", "i32 cs, i32 ps"},
    {0x2B, "name_source", "u32"},
};

constexpr Entry kServingSystem[] = {
    {0x1A, "time_zone", "i8"},    {0x1B, "daylight_saving", "u8"},
    {0x20, "dtm", "u8"},          {0x25, "call_barring", "i32 cs, i32 ps"},
    {0x29, "name_source", "u32"},
};

constexpr Entry kSignalInfo[] = {
    {0x11, "hdr", "i8 rssi, i16 ecio, u8 sinr, i32 io"},
    {0x15, "tdscdma", "i8 rscp"},
    {0x18, "nr5g_rsrq", "i16"},
    {0x19, "wcdma_rscp", "i16"},
};

constexpr Entry kSystemInfo[] = {
    {0x21, "lte_voice", "u8"},         {0x27, "sim_reject", "u32"}, {0x4E, "endc_available", "u8"},
    {0x4F, "dcnr_restricted", "u8"},   {0x50, "nr5g_tac", "hex"},   {0x29, "ims_voice", "u8"},
    {0x2A, "lte_voice_domain", "u32"},
};

constexpr Entry kSystemInfoIndication[] = {
    {0x21, "lte_voice", "u8"},       {0x28, "sim_reject", "u32"}, {0x50, "endc_available", "u8"},
    {0x51, "dcnr_restricted", "u8"}, {0x52, "nr5g_tac", "hex"},   {0x24, "plmn_unchanged", "u8"},
};

constexpr Entry kStartNetwork[] = {
    {0x10, "primary_dns", "ip4"},         {0x11, "secondary_dns", "ip4"},      {0x15, "ipv4_address", "ip4"},
    {0x30, "technology", "u8"},           {0x32, "profile_index_3gpp2", "u8"}, {0x33, "autoconnect", "u8"},
    {0x34, "extended_technology", "u16"}, {0x35, "call_type", "u8"},
};

constexpr Entry kStopNetwork[] = {
    {0x10, "disable_autoconnect", "u8"},
};

constexpr Entry kPacketServiceStatus[] = {
    {0x34, "extended_technology", "u16"},
};

constexpr Entry kBindMuxPort[] = {
    {0x13, "client_type", "u32"},
};

constexpr Entry kProfileList[] = {
    {0xE0, "extended_error", "u16"},
};

constexpr Entry kProfile[] = {
    {0x12, "header_compression", "u8"}, {0x13, "data_compression", "u8"}, {0x15, "primary_dns", "ip4"},
    {0x16, "secondary_dns", "ip4"},     {0x1E, "ipv4_address", "ip4"},    {0x1F, "pcscf_by_pco", "u8"},
    {0x21, "pcscf_by_dhcp", "u8"},      {0x22, "imcn_flag", "u8"},
};

constexpr Entry kRuntimeSettings[] = {
    {0x10, "profile_name", "text"}, {0x1B, "username", "text"}, {0x1D, "authentication", "u8"},
    {0x22, "pcscf_by_pco", "u8"},   {0x23, "pcscf", "a8<ip4>"}, {0x24, "pcscf_domains", "a8<s16>"},
    {0x2A, "domains", "a8<s16>"},   {0x2C, "imcn_flag", "i8"},  {0x2D, "extended_technology", "u16"},
};

struct Group {
  uint8_t service;
  uint16_t message;
  MessageType type;
  std::span<const Entry> entries;
};

constexpr Entry kText[] = {{0x01, "text", "text"}};

constexpr Group kGroups[] = {
    {0x02, 0x21, MessageType::response, kText},
    {0x02, 0x22, MessageType::response, kText},
    {0x02, 0x23, MessageType::response, kText},
    {0x02, 0x2C, MessageType::response, kText},
    {0x02, 0x51, MessageType::response, kText},
    {0x03, 0x03, MessageType::request, kIndicationRegister},
    {0x03, 0x24, MessageType::indication, kServingSystemIndication},
    {0x03, 0x24, MessageType::response, kServingSystem},
    {0x03, 0x4F, MessageType::response, kSignalInfo},
    {0x03, 0x51, MessageType::indication, kSignalInfo},
    {0x03, 0x4D, MessageType::response, kSystemInfo},
    {0x03, 0x4E, MessageType::indication, kSystemInfoIndication},
    {0x01, 0x20, MessageType::request, kStartNetwork},
    {0x01, 0x21, MessageType::request, kStopNetwork},
    {0x01, 0x22, MessageType::indication, kPacketServiceStatus},
    {0x01, 0xA2, MessageType::request, kBindMuxPort},
    {0x01, 0x2A, MessageType::response, kProfileList},
    {0x01, 0x27, MessageType::request, kProfile},
    {0x01, 0x28, MessageType::request, kProfile},
    {0x01, 0x2B, MessageType::response, kProfile},
    {0x01, 0x2D, MessageType::response, kRuntimeSettings},
};

// Whether the layouts are in the language that catalogue.h describes.
constexpr bool is_form(std::string_view form) {
  constexpr std::string_view kForms[] = {"u8",  "u16", "u32",  "u64", "i8",  "i16", "i32", "f32", "ip4",
                                         "ip6", "hex", "text", "s8",  "s16", "b8",  "b16", "c3"};
  return std::ranges::find(kForms, form) != std::end(kForms);
}

constexpr bool is_layout(std::string_view layout) {
  for (bool last = false; !last;) {
    const size_t list = layout.find('<');
    size_t end = layout.find(',');
    if (list < end) {  // "a8<...> name": what is between the brackets is a layout too; none here lies in another
      const size_t close = layout.find('>');
      const std::string_view count = layout.substr(0, list);
      if (close == layout.npos || !is_layout(layout.substr(list + 1, close - list - 1))) return false;
      if (count != "a8" && count != "a16" && count != "a32") return false;
      end = layout.find(',', close);
    } else if (!is_form(layout.substr(0, std::min(layout.find(' '), end)))) {
      return false;
    }
    last = end == layout.npos;
    layout.remove_prefix(last ? layout.size() : end + 2);
  }
  return true;
}

static_assert(std::ranges::all_of(kGroups, [](const Group& group) {
  return std::ranges::all_of(group.entries, [](const Entry& entry) { return is_layout(entry.layout); });
}));
static_assert(is_layout("u8 a, a8<u8 b, s8 c> d, text e") && !is_layout("u8 a, u9 b") && !is_layout("a8<u8 b"));

struct Words {
  std::string_view member;
  std::string_view words;  // for 0, 1, 2 ..., separated by commas; empty where a number has none
};

constexpr Words kWords[] = {
    {"operating_mode",
     "online,low power,factory test,offline,reset,shutting down,persistent low power,mode-only low power"},
    {"registration_state", "not registered,registered,searching,denied,unknown"},
    {"cs_attach_state", "unknown,attached,detached"},
    {"ps_attach_state", "unknown,attached,detached"},
    {"ps_attach_action", ",attach,detach"},
    {"selected_network", "unknown,3GPP2,3GPP"},
    {"srv_status", "none,limited,available,limited regional,power save"},
    {"true_srv_status", "none,limited,available,limited regional,power save"},
    {"connection_status", "unknown,disconnected,connected,suspended,authenticating"},
    {"pdp_type", "IPv4,PPP,IPv6,IPv4v6,non-IP"},
    {"card_state", "absent,present,error"},
    {"app_type", "unknown,SIM,USIM,RUIM,CSIM,ISIM"},
    {"app_state", "unknown,detected,PIN1 required,PUK1 required,check personalisation,PIN1 blocked,illegal,ready"},
    {"pin_state", "not initialised,not verified,verified,disabled,blocked,permanently blocked"},
    {"pin_id", ",PIN1,PIN2,UPIN"},
    {"physical_card_status", "unknown,absent,present"},
    {"physical_slot_state", "inactive,active"},
    {"storage_type", "UIM,NV"},
    {"message_mode", "CDMA,GW"},
    {"refresh_event", "start,complete,client refresh"},
};

struct ErrorName {
  unsigned error;
  const char* name;
};

constexpr ErrorName kErrorNames[] = {
    {1, "malformed message"},
    {2, "no memory"},
    {3, "internal"},
    {4, "aborted"},
    {5, "client ids exhausted"},
    {6, "unabortable transaction"},
    {7, "invalid client id"},
    {9, "invalid handle"},
    {10, "invalid profile"},
    {11, "invalid PIN id"},
    {12, "incorrect PIN"},
    {13, "no network found"},
    {14, "call failed"},
    {15, "out of call"},
    {16, "not provisioned"},
    {17, "missing argument"},
    {19, "argument too long"},
    {22, "invalid transaction id"},
    {23, "device in use"},
    {24, "network unsupported"},
    {25, "device unsupported"},
    {26, "no effect"},
    {27, "no free profile"},
    {28, "invalid PDP type"},
    {30, "invalid profile type"},
    {31, "invalid service type"},
    {33, "invalid attach action"},
    {34, "authentication failed"},
    {35, "PIN blocked"},
    {36, "PIN always blocked"},
    {37, "UIM uninitialised"},
    {43, "interface not found"},
    {46, "general error"},
    {47, "unknown error"},
    {48, "invalid argument"},
    {49, "invalid index"},
    {50, "no entry"},
    {51, "device storage full"},
    {52, "device not ready"},
    {53, "network not ready"},
    {60, "invalid transition"},
    {64, "invalid IP family preference"},
    {70, "invalid operation"},
    {71, "unknown message"},
    {74, "information unavailable"},
    {80, "SIM file not found"},
    {81, "extended internal"},
    {82, "access denied"},
    {90, "incompatible state"},
    {93, "no radio"},
    {94, "not supported"},
    {95, "no subscription"},
    {102, "no SIM"},
    {118, "operation in progress"},
};

}  // namespace

const Entry* find(const vek::qmi::FrameHeader& header, uint8_t tlv) {
  for (const Group& group : kGroups) {
    if (group.service != header.service || group.message != header.message_id || group.type != header.type) continue;
    const auto at = std::ranges::find(group.entries, tlv, &Entry::tlv);
    if (at != group.entries.end()) return &*at;
  }
  return nullptr;
}

std::string message_name(const vek::qmi::FrameHeader& header) {
  const Service* service = find_service(header.service);
  if (service == nullptr) return fmt::format("service 0x{:02x} message 0x{:04x}", header.service, header.message_id);
  for (const auto type : {header.type, MessageType::request, MessageType::response, MessageType::indication}) {
    if (const auto* table = service->messages->find(type, header.message_id)) return table->name;
  }
  return fmt::format("{} message 0x{:04x}", service->name, header.message_id);
}

std::string error_name(unsigned error) {
  const auto at = std::ranges::find(kErrorNames, error, &ErrorName::error);
  return at == std::end(kErrorNames) ? "?" : at->name;
}

std::string word(std::string_view member, long long value) {
  if (member == "service") {
    const Service* service = value < 0 || value > 255 ? nullptr : find_service(static_cast<uint8_t>(value));
    return service == nullptr ? "" : service->name;
  }
  const auto at = std::ranges::find(kWords, member, &Words::member);
  if (at == std::end(kWords)) return "";
  std::string_view words = at->words;
  for (; value > 0 && !words.empty(); --value) {
    const size_t comma = words.find(',');
    words = comma == words.npos ? "" : words.substr(comma + 1);
  }
  return std::string(value == 0 ? words.substr(0, words.find(',')) : "");
}

}  // namespace simulated::catalogue
