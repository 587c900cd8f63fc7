#include "modem/sms_encoder.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace simulated {
namespace {

constexpr std::uint8_t kEscape = 0x1B;
constexpr std::size_t kUserDataOctets = 140;
constexpr int kMostParts = 255;

constexpr std::u32string_view kDefaultAlphabet =
    U"@£$¥èéùìòÇ\nØø\rÅåΔ_ΦΓΛΩΠΨΣΘΞ\x1BÆæßÉ !\"#¤%&'()*+,-./0123456789:;<=>?"
    U"¡ABCDEFGHIJKLMNOPQRSTUVWXYZÄÖÑÜ§¿abcdefghijklmnopqrstuvwxyzäöñüà";
static_assert(kDefaultAlphabet.size() == 128);

struct Extension {
  char32_t character;
  std::uint8_t septet;
};
constexpr Extension kExtensions[] = {
    {U'\f', 0x0A}, {U'^', 0x14}, {U'{', 0x28}, {U'}', 0x29}, {U'\\', 0x2F},
    {U'[', 0x3C},  {U'~', 0x3D}, {U']', 0x3E}, {U'|', 0x40}, {U'€', 0x65},
};

std::u32string characters_of(std::string_view utf8) {
  std::u32string out;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    const std::size_t length = lead < 0x80 ? 1 : lead >> 5 == 6 ? 2 : lead >> 4 == 14 ? 3 : lead >> 3 == 30 ? 4 : 0;
    if (length == 0 || i + length > utf8.size()) throw std::invalid_argument("the text is not UTF-8");
    char32_t character = length == 1 ? lead : lead & (0x7Fu >> length);
    for (std::size_t k = 1; k < length; k++) {
      const auto next = static_cast<unsigned char>(utf8[i + k]);
      if (next >> 6 != 2) throw std::invalid_argument("the text is not UTF-8");
      character = character << 6 | (next & 0x3Fu);
    }
    out += character;
    i += length;
  }
  return out;
}

// One character as the units of an alphabet, which no part may split; empty when the alphabet lacks it.
using Units = std::vector<std::uint16_t>;

Units septets_of(char32_t character) {
  const std::size_t at = kDefaultAlphabet.find(character);
  if (at != kDefaultAlphabet.npos && at != kEscape) return {static_cast<std::uint16_t>(at)};
  const auto* const pair = std::ranges::find(kExtensions, character, &Extension::character);
  if (pair != std::end(kExtensions)) return {kEscape, pair->septet};
  return {};
}

Units utf16_of(char32_t character) {
  if (character < 0x10000) return {static_cast<std::uint16_t>(character)};
  const char32_t above = character - 0x10000;
  return {static_cast<std::uint16_t>(0xD800 + (above >> 10)), static_cast<std::uint16_t>(0xDC00 + (above & 0x3FF))};
}

// Septets from bit `first_bit` on, least significant bit first.
void pack(const Units& septets, std::size_t first_bit, Bytes& out) {
  out.resize((first_bit + septets.size() * 7 + 7) / 8);
  for (std::size_t i = 0; i < septets.size() * 7; i++) {
    const std::size_t bit = first_bit + i;
    if ((septets[i / 7] >> (i % 7) & 1) != 0) out[bit / 8] = static_cast<std::uint8_t>(out[bit / 8] | 1u << (bit % 8));
  }
}

Bytes semi_octets(std::string_view digits) {
  constexpr std::string_view kDigits = "0123456789*#abc";
  Bytes out;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const std::size_t low = kDigits.find(digits[i]);
    const std::size_t high = i + 1 < digits.size() ? kDigits.find(digits[i + 1]) : 0xF;
    out.push_back(static_cast<std::uint8_t>(high << 4 | low));
  }
  return out;
}

bool is_number(std::string_view address) {
  if (address.starts_with('+')) address.remove_prefix(1);
  return !address.empty() && address.find_first_not_of("0123456789*#abc") == address.npos;
}

struct Address {
  std::size_t semi_octets;
  Bytes octets;  // the type first
};

Address address_of(std::string_view text) {
  if (is_number(text)) {
    const bool international = text.starts_with('+');
    if (international) text.remove_prefix(1);
    if (text.size() > 20) throw std::invalid_argument("a number has at most 20 digits");
    Bytes octets = semi_octets(text);
    octets.insert(octets.begin(), international ? 0x91 : 0x81);
    return {text.size(), octets};
  }
  Units septets;
  for (const char32_t character : characters_of(text)) {
    const Units units = septets_of(character);
    if (units.empty()) throw std::invalid_argument(fmt::format("no name can hold this: {}", text));
    septets.insert(septets.end(), units.begin(), units.end());
  }
  if (septets.empty() || septets.size() > 11) throw std::invalid_argument("a name has 1 to 11 characters");
  Bytes octets;
  pack(septets, 0, octets);
  octets.insert(octets.begin(), 0xD0);
  return {(septets.size() * 7 + 3) / 4, octets};
}

std::uint8_t swapped_bcd(int number) { return static_cast<std::uint8_t>(number % 10 << 4 | number / 10 % 10); }

Bytes time_stamp(std::time_t time, int zone_quarters) {
  const std::time_t local = time + zone_quarters * 15 * 60;
  std::tm fields{};
  gmtime_r(&local, &fields);
  const std::uint8_t zone = swapped_bcd(std::abs(zone_quarters));
  return {swapped_bcd(fields.tm_year % 100),
          swapped_bcd(fields.tm_mon + 1),
          swapped_bcd(fields.tm_mday),
          swapped_bcd(fields.tm_hour),
          swapped_bcd(fields.tm_min),
          swapped_bcd(fields.tm_sec),
          static_cast<std::uint8_t>(zone | (zone_quarters < 0 ? 0x08 : 0))};
}

struct Coding {
  std::uint8_t alphabet;  // bits 3 and 2 of TP-DCS
  std::size_t unit_bits;
};

Coding coding_of(SmsAlphabet alphabet) {
  if (alphabet == SmsAlphabet::septets) return {0, 7};
  if (alphabet == SmsAlphabet::octets) return {1, 8};
  return {2, 16};
}

// The text as indivisible groups of units.
std::vector<Units> groups_of(const SmsText& message, SmsAlphabet& alphabet) {
  std::vector<Units> groups;
  if (alphabet == SmsAlphabet::octets) {
    for (const char octet : message.text) groups.push_back({static_cast<std::uint8_t>(octet)});
    return groups;
  }
  const std::u32string characters = characters_of(message.text);
  const bool fits = std::ranges::none_of(characters, [](char32_t c) { return septets_of(c).empty(); });
  if (alphabet == SmsAlphabet::septets && !fits) throw std::invalid_argument("the default alphabet lacks a character");
  if (alphabet == SmsAlphabet::automatic) alphabet = fits ? SmsAlphabet::septets : SmsAlphabet::ucs2;
  for (const char32_t character : characters)
    groups.push_back(alphabet == SmsAlphabet::septets ? septets_of(character) : utf16_of(character));
  return groups;
}

std::vector<Units> parts_of(const std::vector<Units>& groups, std::size_t room, std::size_t room_with_header) {
  std::size_t total = 0;
  for (const Units& group : groups) total += group.size();
  const std::size_t most = total <= room ? room : room_with_header;
  std::vector<Units> parts(1);
  for (const Units& group : groups) {
    if (parts.back().size() + group.size() > most) parts.emplace_back();
    parts.back().insert(parts.back().end(), group.begin(), group.end());
  }
  if (parts.size() > kMostParts) throw std::invalid_argument("the text is too long for 255 parts");
  return parts;
}

Bytes concatenation_header(const SmsText& message, std::size_t parts, std::size_t part) {
  const auto low = static_cast<std::uint8_t>(message.reference);
  const auto high = static_cast<std::uint8_t>(message.reference >> 8);
  Bytes header = message.wide_reference ? Bytes{6, 0x08, 4, high, low} : Bytes{5, 0x00, 3, low};
  header.push_back(static_cast<std::uint8_t>(parts));
  header.push_back(static_cast<std::uint8_t>(part));
  return header;
}

// TP-UDL and TP-UD.
Bytes user_data(const Bytes& header, const Units& units, std::size_t unit_bits) {
  Bytes data = header;
  if (unit_bits == 7) {
    const std::size_t skipped = (header.size() * 8 + 6) / 7;
    pack(units, skipped * 7, data);
    data.insert(data.begin(), static_cast<std::uint8_t>(skipped + units.size()));
    return data;
  }
  for (const std::uint16_t unit : units) {
    if (unit_bits == 16) data.push_back(static_cast<std::uint8_t>(unit >> 8));
    data.push_back(static_cast<std::uint8_t>(unit));
  }
  data.insert(data.begin(), static_cast<std::uint8_t>(data.size()));
  return data;
}

void append(Bytes& to, const Bytes& more) { to.insert(to.end(), more.begin(), more.end()); }

}  // namespace

std::vector<Bytes> encode_deliver(const SmsText& message) {
  if (!message.service_centre.empty() && !is_number(message.service_centre))
    throw std::invalid_argument("a service centre has a number");
  SmsAlphabet alphabet = message.alphabet;
  const auto groups = groups_of(message, alphabet);
  const Coding coding = coding_of(alphabet);
  const std::size_t header_octets = message.wide_reference ? 7 : 6;
  const auto parts = parts_of(groups, kUserDataOctets * 8 / coding.unit_bits,
                              (kUserDataOctets - header_octets) * 8 / coding.unit_bits);
  const Address from = address_of(message.from);
  const auto dcs =
      static_cast<std::uint8_t>(coding.alphabet << 2 | (message.message_class < 0 ? 0 : 0x10 | message.message_class));

  std::vector<Bytes> out;
  for (std::size_t i = 0; i < parts.size(); i++) {
    const bool several = parts.size() > 1;
    Bytes raw;
    if (message.service_centre.empty()) {
      raw = {0};
    } else {
      const Bytes centre = address_of(message.service_centre).octets;
      raw = {static_cast<std::uint8_t>(centre.size())};
      append(raw, centre);
    }
    raw.push_back(several ? 0x44 : 0x04);  // DELIVER, no more messages wait; with a header
    raw.push_back(static_cast<std::uint8_t>(from.semi_octets));
    append(raw, from.octets);
    append(raw, {0x00, dcs});
    append(raw, time_stamp(message.time, message.zone_quarters));
    append(raw, user_data(several ? concatenation_header(message, parts.size(), i + 1) : Bytes{}, parts[i],
                          coding.unit_bits));
    out.push_back(raw);
  }
  return out;
}

int message_class_of(const Bytes& raw) {
  if (raw.empty()) return -1;
  const std::size_t address = std::size_t{1} + raw[0] + 1;  // of a DELIVER
  if (address >= raw.size() || (raw[address - 1] & 0x03) != 0) return -1;
  const std::size_t coding = address + 2 + (raw[address] + 1u) / 2 + 1;
  if (coding >= raw.size()) return -1;
  const unsigned dcs = raw[coding];
  const bool has_class = dcs < 0x40 ? (dcs & 0x10) != 0 : dcs >= 0xF0;
  return has_class ? static_cast<int>(dcs & 0x03) : -1;
}

}  // namespace simulated
