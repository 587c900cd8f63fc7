#include "modem/card_files.h"

#include <algorithm>

namespace simulated {
namespace {

constexpr uint16_t kMasterFile = 0x3F00, kUsim = 0x7FFF, kGsm = 0x7F20;
constexpr uint16_t kIccid = 0x2FE2, kImsi = 0x6F07, kAdministrativeData = 0x6FAD, kServiceProviderName = 0x6F46;
constexpr size_t kIccidSize = 10, kImsiSize = 9, kNameSize = 17;

uint8_t digit(const std::string& digits, size_t at) {
  return at < digits.size() ? static_cast<uint8_t>((digits[at] - '0') & 0xF) : uint8_t{0xF};
}

// The parity and the first digit, then two and two swapped: 3GPP TS 31.102, 4.2.2.
Bytes stored_imsi(const std::string& digits) {
  const bool odd = digits.size() % 2 != 0;
  Bytes bytes = {static_cast<uint8_t>(digits.size() / 2 + 1),
                 static_cast<uint8_t>(digit(digits, 0) << 4 | (odd ? 9 : 1))};
  for (size_t i = 1; i < digits.size(); i += 2)
    bytes.push_back(static_cast<uint8_t>(digit(digits, i + 1) << 4 | digit(digits, i)));
  bytes.resize(std::max(bytes.size(), kImsiSize), 0xFF);
  return bytes;
}

Bytes stored_name(const std::string& name) {
  Bytes bytes(kNameSize, 0xFF);
  bytes[0] = 0x01;  // to be shown beside the network's
  std::copy_n(name.begin(), std::min(name.size(), kNameSize - 1), bytes.begin() + 1);
  return bytes;
}

bool has(const Card& card, App app) { return std::ranges::find(card.applications, app) != card.applications.end(); }

}  // namespace

Bytes stored_iccid(const std::string& digits) {
  Bytes bytes;
  for (size_t i = 0; i < 2 * kIccidSize; i += 2)
    bytes.push_back(static_cast<uint8_t>(digit(digits, i + 1) << 4 | digit(digits, i)));
  return bytes;
}

Bytes stored_eid(const std::string& digits) {
  Bytes bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2)
    bytes.push_back(static_cast<uint8_t>(digit(digits, i) << 4 | digit(digits, i + 1)));
  return bytes;
}

Bytes application_id(const Card& card, size_t index) {
  // Registered application provider 3GPP, and the application's code: ETSI TS 101 220.
  const App app = card.applications[index];
  const auto code = static_cast<uint8_t>(app == App::isim ? 0x04 : 0x02);
  if (app == App::sim) return {};
  return {0xA0, 0x00, 0x00, 0x00, 0x87, 0x10, code, 0xFF, 0x44, 0xFF, 0x12, 0x89, 0x00, 0x00, 0x01, 0x00};
}

CardFile read_file(const Card& card, const std::vector<uint16_t>& path) {
  if (const auto at = card.files.find(path); at != card.files.end()) return {FileOutcome::found, at->second};
  const Subscription* const subscription = card.subscription();
  if (subscription == nullptr || path.empty() || path.front() != kMasterFile) return {};
  if (path == std::vector{kMasterFile, kIccid}) return {FileOutcome::found, stored_iccid(subscription->iccid)};
  if (path.size() != 3 || (path[1] != kUsim && path[1] != kGsm)) return {};
  if (!has(card, path[1] == kUsim ? App::usim : App::sim) && !(path[1] == kGsm && has(card, App::usim))) return {};
  const bool locked = card.pin1.state != PinState::disabled && card.pin1.state != PinState::enabled_verified;
  const auto guarded = [&](Bytes content) {
    return locked ? CardFile{FileOutcome::locked} : CardFile{FileOutcome::found, std::move(content)};
  };
  switch (path[2]) {
    case kImsi:
      return guarded(stored_imsi(subscription->imsi));
    case kAdministrativeData:
      return {FileOutcome::found, {0x00, 0x00, 0x00, 0x02}};
    case kServiceProviderName:
      return {FileOutcome::found, stored_name(subscription->name)};
    default:
      return {};
  }
}

}  // namespace simulated
