// modulectl sms ...
#include <fmt/format.h>
#include <stdio.h>

#include <chrono>
#include <stdexcept>

#include "modem/hex.h"
#include "modem/messages.h"
#include "modem/sms_encoder.h"

namespace simulated {
namespace {

constexpr const char* kTagNames[] = {"read", "not read", "sent", "not sent"};
constexpr const char* kArrivalNames[] = {"stored", "handed over", "discarded", "full", "unreachable"};
constexpr size_t kLongestMessage = 255;

uint32_t store_number(const std::string& name) { return name == kStoreNames[kCardStore] ? kCardStore : kModemStore; }

auto is_store() { return CLI::IsMember({kStoreNames[kCardStore], kStoreNames[kModemStore]}); }

// "2024-05-17T08:30:15+02:00", the time of day in that zone.
void read_time(const std::string& text, SmsText& message) {
  std::tm local{};
  int zone_hours = 0, zone_minutes = 0;
  char sign = '+';
  const int found =
      sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%c%2d:%2d", &local.tm_year, &local.tm_mon, &local.tm_mday,
             &local.tm_hour, &local.tm_min, &local.tm_sec, &sign, &zone_hours, &zone_minutes);
  const bool zone = found == 9 && (sign == '+' || sign == '-') && zone_hours < 20 && zone_minutes % 15 == 0;
  if (found != 6 && !zone) throw std::runtime_error("a time is written 2024-05-17T08:30:15+02:00");
  local.tm_year -= 1900;
  local.tm_mon -= 1;
  message.zone_quarters = (zone_hours * 4 + zone_minutes / 15) * (sign == '-' ? -1 : 1);
  message.time = timegm(&local) - message.zone_quarters * 15 * 60;
}

Json shown(const Delivery& delivery) {
  Json data = {{"arrival", kArrivalNames[static_cast<int>(delivery.arrival)]}};
  if (delivery.arrival == Arrival::stored || delivery.arrival == Arrival::full)
    data["storage"] = kStoreNames[delivery.store];
  if (delivery.arrival == Arrival::stored) data["index"] = delivery.place;
  return data;
}

std::string in_words(const Delivery& delivery) {
  const char* const store = kStoreNames[delivery.store];
  switch (delivery.arrival) {
    case Arrival::stored:
      return fmt::format("stored in {} {}", store, delivery.place);
    case Arrival::handed_over:
      return "handed over without being stored";
    case Arrival::discarded:
      return "discarded";
    case Arrival::full:
      return fmt::format("{} is full: the network keeps it", store);
    case Arrival::unreachable:
      return "the modem is not in reach: the network keeps it";
  }
  return {};
}

struct Given {
  SmsText message;
  std::string alphabet = "auto", time, storage, hex, data;
  int times = 1;
  bool cdma = false;
};

std::vector<StoredMessage> messages_of(Modem& modem, Given& given) {
  if (!given.hex.empty()) {
    const uint8_t format = given.cdma ? 0 : 6;
    const Bytes raw = bytes_of(given.hex);
    if (raw.size() > kLongestMessage) throw std::runtime_error("a message has at most 255 bytes");
    return {{.format = format, .raw = raw}};
  }
  SmsText& message = given.message;
  if (given.alphabet == "7bit") message.alphabet = SmsAlphabet::septets;
  if (given.alphabet == "8bit") message.alphabet = SmsAlphabet::octets;
  if (given.alphabet == "ucs2") message.alphabet = SmsAlphabet::ucs2;
  if (!given.data.empty()) {
    const Bytes bytes = bytes_of(given.data);
    message.text.assign(bytes.begin(), bytes.end());
    message.alphabet = SmsAlphabet::octets;
  }
  message.time = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  message.zone_quarters = modem.state.network.time_zone;
  if (!given.time.empty()) read_time(given.time, message);
  message.reference = ++modem.state.messages.references;
  std::vector<StoredMessage> messages;
  for (const Bytes& raw : encode_deliver(message)) messages.push_back({.raw = raw});
  return messages;
}

void declare_deliver(Modem& modem, CLI::App& sms, const ReplyPtr& reply) {
  auto& given = reply->argument<Given>();
  CLI::App* command = sms.add_subcommand("deliver", "A message comes in from the network");
  command->add_option("text", given.message.text, "Its text; a long one comes in several parts");
  command->add_option("--from", given.message.from, "Sender: a number with or without +, or a name")
      ->capture_default_str();
  command->add_option("--encoding", given.alphabet, "auto: 7bit where every character fits, else ucs2")
      ->capture_default_str()
      ->check(CLI::IsMember({"auto", "7bit", "8bit", "ucs2"}));
  command->add_option("--data", given.data, "Octets instead of text, in hex");
  command->add_option("--class", given.message.message_class, "0 shown at once, 1 phone, 2 card, 3 computer")
      ->check(CLI::Range(0, 3));
  command->add_option("--time", given.time, "When it was sent: 2024-05-17T08:30:15+02:00 (else now)");
  command->add_option("--service-centre", given.message.service_centre, "Its number; empty for none")
      ->capture_default_str();
  command->add_flag("--wide-reference", given.message.wide_reference, "Parts carry a 16-bit reference");
  command->add_option("--hex", given.hex, "The whole message as the modem stores it, instead of all of these");
  command->add_flag("--cdma", given.cdma, "With --hex: it is a CDMA message");
  command->add_option("--storage", given.storage, "sim or memory, whatever the modem's routes say")->check(is_store());
  command->add_option("--times", given.times, "So often")->check(CLI::Range(1, 1000));
  command->callback([&modem, reply, &given] {
    std::optional<uint32_t> store;
    if (!given.storage.empty()) store = store_number(given.storage);
    std::string text;
    Json data = Json::array();
    for (int i = 0; i < given.times; i++) {
      for (const StoredMessage& message : messages_of(modem, given)) {
        const Delivery delivery = deliver(modem, message, store);
        text += (text.empty() ? "" : "\n") + in_words(delivery);
        data.push_back(shown(delivery));
      }
    }
    reply->done(text, data);
  });
}

void declare_list(Modem& modem, CLI::App& sms, const ReplyPtr& reply) {
  sms.add_subcommand("list", "What is stored, and what waits in the network")->callback([&modem, reply] {
    const Messages& messages = modem.state.messages;
    std::string text;
    Json stored = Json::array();
    for (const uint32_t store : {kCardStore, kModemStore}) {
      for (const auto& [place, message] : messages.stores[store]) {
        const char* const tag = kTagNames[static_cast<int>(message.tag)];
        text += fmt::format("{} {} {}: {}\n", kStoreNames[store], place, tag, hex_of(message.raw));
        stored.push_back({{"storage", kStoreNames[store]},
                          {"index", place},
                          {"tag", tag},
                          {"format", message.format},
                          {"hex", hex_of(message.raw)}});
      }
      text += fmt::format("{}: {} of {} places taken\n", kStoreNames[store], messages.stores[store].size(),
                          messages.capacity[store]);
    }
    text += fmt::format("{} waiting in the network", messages.waiting.size());
    Json data = {{"stored", stored}, {"waiting", messages.waiting.size()}, {"last_delete_mode", nullptr}};
    if (messages.last_delete_mode) data["last_delete_mode"] = *messages.last_delete_mode;
    reply->done(text, data);
  });
}

void declare_delete(Modem& modem, CLI::App& sms, const ReplyPtr& reply) {
  struct Which {
    std::string storage;
    int index = -1;
  };
  auto& which = reply->argument<Which>();
  CLI::App* command = sms.add_subcommand("delete", "Deletes behind the daemon's back");
  command->add_option("storage", which.storage)->required()->check(is_store());
  command->add_option("index", which.index, "One message; all without it")->check(CLI::NonNegativeNumber);
  command->callback([&modem, reply, &which] {
    std::optional<uint32_t> place;
    if (which.index >= 0) place = static_cast<uint32_t>(which.index);
    const size_t deleted = delete_messages(modem, store_number(which.storage), place, {});
    if (deleted == 0 && place) throw std::runtime_error("there is no such message");
    reply->done(fmt::format("{} deleted", deleted), {{"deleted", deleted}});
  });
}

void declare_capacity(Modem& modem, CLI::App& sms, const ReplyPtr& reply) {
  struct Size {
    std::string storage;
    uint32_t messages = 0;
  };
  auto& size = reply->argument<Size>();
  CLI::App* command = sms.add_subcommand("capacity", "Changes how many messages a store takes; what is in it stays");
  command->add_option("storage", size.storage)->required()->check(is_store());
  command->add_option("messages", size.messages)->required()->check(CLI::Range(0, 255));
  command->callback([&modem, &size] { modem.state.messages.capacity[store_number(size.storage)] = size.messages; });
}

void declare_indicate(Modem& modem, CLI::App& sms, const ReplyPtr& reply) {
  struct Indication {
    std::string number, tlvs;
  };
  auto& indication = reply->argument<Indication>();
  CLI::App* command =
      sms.add_subcommand("indicate", "Sends an indication of any number to those who asked for event reports");
  command->add_option("number", indication.number, "0x47")->required();
  command->add_option("tlvs", indication.tlvs, "In hex");
  command->callback([&modem, reply, &indication] {
    TlvWriter tlvs;
    const Bytes given = bytes_of(indication.tlvs);
    const bool whole = Tlvs(given).walk([&tlvs](uint8_t type, auto value) { tlvs.tlv(type).raw(value); });
    if (!whole) throw std::runtime_error("a TLV is its type, its length in two bytes, low one first, and its value");
    const auto number = static_cast<uint16_t>(std::stoul(indication.number, nullptr, 0));
    const unsigned told = tell_message_event(modem, number, tlvs);
    reply->done(fmt::format("told {}", told), {{"told", told}});
  });
}

}  // namespace

void declare_messages(Modem& modem, CLI::App& top, const ReplyPtr& reply) {
  CLI::App& sms = group(top, "sms", "Short messages");
  declare_deliver(modem, sms, reply);
  declare_list(modem, sms, reply);
  declare_delete(modem, sms, reply);
  declare_capacity(modem, sms, reply);
  declare_indicate(modem, sms, reply);
}

}  // namespace simulated
