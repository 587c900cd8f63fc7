#include "modem/apdu.h"

#include <algorithm>
#include <span>

#include "modem/card_files.h"

namespace simulated {
namespace {

// ETSI TS 102 221, 10.2.1
enum StatusWord : uint16_t {
  kDone = 0x9000,
  kWrongLength = 0x6700,
  kChannelNotOpen = 0x6881,
  kNotAllowed = 0x6985,
  kSecurity = 0x6982,
  kNoFreeChannel = 0x6A81,
  kNotFound = 0x6A82,
  kWrongParameters = 0x6A86,
  kDataNotFound = 0x6A88,
  kWrongOffset = 0x6B00,
  kNoInstruction = 0x6D00,
  kNoClass = 0x6E00,
};

enum Instruction : uint8_t {
  kManageChannel = 0x70,
  kSelect = 0xA4,
  kTerminalCapability = 0xAA,
  kReadBinary = 0xB0,
  kStoreData = 0xE2,
  kStatus = 0xF2,
};

const Bytes kIsdR = {0xA0, 0x00, 0x00, 0x05, 0x59, 0x10, 0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0x89, 0x00, 0x00, 0x01, 0x00};
constexpr uint8_t kUsualChannels = 4;  // 0 to 3; others have another coding of the class
constexpr uint16_t kCurrentApplication = 0x7FFF;

Bytes answer(StatusWord status, Bytes data = {}) {
  data.push_back(static_cast<uint8_t>(status >> 8));
  data.push_back(static_cast<uint8_t>(status));
  return data;
}

// Tag, length, value; lengths up to 255.
Bytes object(std::initializer_list<uint8_t> tag, const Bytes& value) {
  Bytes bytes = tag;
  if (value.size() >= 0x80) bytes.push_back(0x81);
  bytes.push_back(static_cast<uint8_t>(value.size()));
  bytes.insert(bytes.end(), value.begin(), value.end());
  return bytes;
}

void append(Bytes& bytes, const Bytes& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

Bytes manage_channel(Card& card, uint8_t p1, uint8_t p2) {
  if (p1 == 0x80) {
    if (p2 == 0 || p2 >= kUsualChannels || !card.channels[p2].open) return answer(kChannelNotOpen);
    card.channels[p2] = {};
    return answer(kDone);
  }
  if (p1 != 0 || p2 != 0) return answer(kWrongParameters);
  const auto free = std::ranges::find(card.channels, false, &Channel::open);
  if (free == card.channels.end()) return answer(kNoFreeChannel);
  *free = {.open = true};
  return answer(kDone, {static_cast<uint8_t>(free - card.channels.begin())});
}

Bytes select_application(Card& card, Channel& channel, const Bytes& id) {
  if (card.euicc && id == kIsdR) {
    channel.application = kIsdR;
    Bytes content = object({0x84}, kIsdR);
    append(content, object({0xA5}, object({0x9F, 0x65}, {0xFF})));        // commands of up to 255 bytes
    append(content, object({0xE0}, object({0x82}, {0x02, 0x02, 0x02})));  // SGP.22 2.2.2
    return answer(kDone, object({0x6F}, content));
  }
  if (card.subscription() == nullptr || id.empty()) return answer(kNotFound);
  for (size_t i = 0; i < card.applications.size(); i++) {
    const Bytes whole = application_id(card, i);
    if (id.size() > whole.size() || !std::equal(id.begin(), id.end(), whole.begin())) continue;
    channel.application = whole;
    channel.path = {0x3F00, kCurrentApplication};
    return answer(kDone, object({0x62}, object({0x84}, whole)));
  }
  return answer(kNotFound);
}

Bytes select_file(const Card& card, Channel& channel, uint16_t id) {
  const bool directory = id == 0x3F00 || id >> 8 == 0x7F;
  std::vector<uint16_t> path = id == 0x3F00 ? std::vector<uint16_t>{} : channel.path;
  if (path.size() > 1) path.resize(directory ? 1 : 2);
  path.push_back(id);
  if (!directory && read_file(card, path).outcome == FileOutcome::missing) {
    path = {0x3F00, id};
    if (read_file(card, path).outcome == FileOutcome::missing) return answer(kNotFound);
  }
  channel.path = path;
  return answer(kDone);
}

Bytes read_binary(const Card& card, const Channel& channel, size_t offset, size_t length) {
  const CardFile file = read_file(card, channel.path);
  if (file.outcome == FileOutcome::locked) return answer(kSecurity);
  if (file.outcome == FileOutcome::missing) return answer(kNotAllowed);
  if (offset > file.content.size()) return answer(kWrongOffset);
  const auto from = file.content.begin() + static_cast<ptrdiff_t>(offset);
  const size_t rest = file.content.size() - offset;
  return answer(kDone, {from, from + static_cast<ptrdiff_t>(length == 0 ? rest : std::min(length, rest))});
}

// GSMA SGP.22, 5.7.15. This module's eUICC has the profile's state under the tag of its class too.
Bytes profiles_info(const Card& card, std::span<const uint8_t> tags) {
  const auto wanted = [&](uint8_t tag) { return tags.empty() || std::ranges::find(tags, tag) != tags.end(); };
  constexpr uint8_t kOperational = 2;
  Bytes list;
  for (size_t i = 0; i < card.subscriptions.size(); i++) {
    const uint8_t enabled = static_cast<int>(i) == card.enabled ? 1 : 0;
    Bytes profile;
    if (wanted(0x5A)) append(profile, object({0x5A}, stored_iccid(card.subscriptions[i].iccid)));
    if (wanted(0x9F)) append(profile, object({0x9F, 0x70}, {enabled}));
    if (wanted(0x95)) append(profile, object({0x95}, {card.standard_classes ? kOperational : enabled}));
    append(list, object({0xE3}, profile));
  }
  return object({0xBF, 0x2D}, object({0xA0}, list));
}

Bytes store_data(const Card& card, const Channel& channel, const Bytes& data) {
  if (channel.application != kIsdR) return answer(kNotAllowed);
  if (data.size() < 3 || data[0] != 0xBF || data[1] != 0x2D) return answer(kDataNotFound);
  // What follows the object is taken for nothing.
  const size_t length = data[2];
  const std::span<const uint8_t> content(data.begin() + 3, data.end());
  const Bytes incorrect = object({0xBF, 0x2D}, {0x81, 0x01, 0x01});
  if (length > content.size()) return answer(kDone, incorrect);
  if (length == 0) return answer(kDone, profiles_info(card, {}));
  if (length < 2 || content[0] != 0x5C || content[1] != length - 2) return answer(kDone, incorrect);
  return answer(kDone, profiles_info(card, content.subspan(2, length - 2)));
}

}  // namespace

Bytes process_apdu(Card& card, const Bytes& command) {
  if (command.size() < 4) return answer(kWrongLength);
  const uint8_t cla = command[0], instruction = command[1], p1 = command[2], p2 = command[3];
  if ((cla & 0x7C) != 0) return answer(kNoClass);
  Channel& channel = card.channels[cla & 3];
  if (!channel.open) return answer(kChannelNotOpen);
  const uint8_t p3 = command.size() > 4 ? command[4] : uint8_t{0};
  const bool has_data = instruction == kSelect || instruction == kStoreData || instruction == kTerminalCapability;
  if (has_data && command.size() > 4 && command.size() < 5u + p3) return answer(kWrongLength);
  const Bytes data = has_data && command.size() > 5 ? Bytes(command.begin() + 5, command.begin() + 5 + p3) : Bytes{};

  switch (instruction) {
    case kManageChannel:
      return manage_channel(card, p1, p2);
    case kTerminalCapability:
      return answer(card.euicc ? kDone : kNoInstruction);
    case kSelect:
      if (p1 == 0x04) return select_application(card, channel, data);
      if (p1 != 0x00 || data.size() != 2) return answer(kWrongParameters);
      return select_file(card, channel, static_cast<uint16_t>(data[0] << 8 | data[1]));
    case kReadBinary:
      return read_binary(card, channel, static_cast<size_t>(p1 << 8 | p2), p3);
    case kStoreData:
      return store_data(card, channel, data);
    case kStatus:
      return answer(kDone);
    default:
      return answer(kNoInstruction);
  }
}

}  // namespace simulated
