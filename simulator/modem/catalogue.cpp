#include "modem/catalogue.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "modem/modem.h"

namespace simulated::catalogue {
namespace {

using vek::qmi::MessageType;

constexpr Entry kEntries[] = {
    {0x05, 0x31, MessageType::request, 0x01, "storage_type", "u8"},
};

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
    {"service_status", "none,limited,available,limited regional,power save"},
    {"connection_status", "unknown,disconnected,connected,suspended,authenticating"},
    {"pdp_type", "IPv4,PPP,IPv6,IPv4v6,non-IP"},
    {"card_state", "absent,present,error"},
    {"app_type", "unknown,SIM,USIM,RUIM,CSIM,ISIM"},
    {"app_state", "unknown,detected,PIN1 required,PUK1 required,check personalisation,PIN1 blocked,illegal,ready"},
    {"pin1_state", "not initialised,not verified,verified,disabled,blocked,permanently blocked"},
    {"pin2_state", "not initialised,not verified,verified,disabled,blocked,permanently blocked"},
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
  const auto at = std::ranges::find_if(kEntries, [&](const Entry& entry) {
    return entry.service == header.service && entry.message == header.message_id && entry.type == header.type &&
           entry.tlv == tlv;
  });
  return at == std::end(kEntries) ? nullptr : &*at;
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
