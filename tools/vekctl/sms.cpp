// vekctl sms: stored messages, their events, and what the decoders make of a message.
#include <fmt/format.h>

#include <charconv>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "command.h"
#include "vek_pal/sms.h"

namespace vekctl {
namespace {

using Bytes = std::vector<uint8_t>;

std::string hex_of(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) text += fmt::format("{:02X}", static_cast<uint8_t>(byte));
  return text;
}

Bytes bytes_of(std::string_view hex) {
  Bytes bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    uint8_t byte = 0;
    if (std::from_chars(hex.data() + i, hex.data() + i + 2, byte, 16).ptr != hex.data() + i + 2) break;
    bytes.push_back(byte);
  }
  if (bytes.size() * 2 != hex.size()) throw Failure("a message is given as pairs of hex digits", kMisused);
  return bytes;
}

void append_utf8(std::string& text, char32_t character) {
  if (character < 0x80) {
    text += static_cast<char>(character);
    return;
  }
  const int continuations = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
  constexpr uint8_t kLead[] = {0, 0xC0, 0xE0, 0xF0};
  text += static_cast<char>(kLead[continuations] | character >> (6 * continuations));
  for (int i = continuations - 1; i >= 0; i--) text += static_cast<char>(0x80 | (character >> (6 * i) & 0x3F));
}

std::string from_latin1(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) append_utf8(text, static_cast<uint8_t>(byte));
  return text;
}

// High byte first. Half of a pair, which a part of a long message may end with, is the replacement character.
std::string from_utf16(std::string_view bytes) {
  const auto unit = [&](size_t at) -> char32_t {
    return at + 1 < bytes.size() ? static_cast<uint8_t>(bytes[at]) * 256u + static_cast<uint8_t>(bytes[at + 1]) : 0;
  };
  std::string text;
  for (size_t at = 0; at + 1 < bytes.size(); at += 2) {
    const char32_t high = unit(at), low = unit(at + 2);
    const bool first_half = high >> 10 == 0x36, second_half = high >> 10 == 0x37;
    if (first_half && low >> 10 == 0x37) {
      append_utf8(text, 0x10000 + ((high & 0x3FF) << 10) + (low & 0x3FF));
      at += 2;
    } else {
      append_utf8(text, first_half || second_half ? 0xFFFD : high);
    }
  }
  return text;
}

// --- Without a modem ---

struct DecodeArguments {
  std::string hex;
  bool cdma = false, wap = false;
};

Json decode(const DecodeArguments& given) {
  const Bytes raw = bytes_of(given.hex);
  const auto decoder = given.cdma ? DecodeCdmaPdu : given.wap ? DecodeGsmPdu_WAP : DecodeGsmPdu;
  vek_pal_sms_decoded_t message;
  if (decoder(raw.data(), static_cast<uint32_t>(raw.size()), &message) != 0)
    throw Failure("the decoder refuses this message; with -v it says why");

  const std::string_view bytes(reinterpret_cast<const char*>(message.text), static_cast<size_t>(message.text_length));
  const bool incoming = message.message_type == (given.cdma ? 1 : 0);
  constexpr const char* kEncodings[] = {"7-bit", "8-bit", "UCS2"};
  Json answer = {
      {"type", incoming ? "incoming" : "outgoing"},
      {"address", from_latin1(message.address)},
      {"time", nullptr},
      {"encoding", kEncodings[message.encoding]},
      {"length", message.text_length},
      {"text", nullptr},
      {"hex", hex_of(bytes)},
  };
  if (message.timestamp[0] != '\0') answer["time"] = message.timestamp;
  if (message.encoding == VEK_PAL_SMS_ENCODING_7BIT) answer["text"] = from_latin1(bytes);
  if (message.encoding == VEK_PAL_SMS_ENCODING_UCS2) answer["text"] = from_utf16(bytes);
  return answer;
}

// --- With one ---

constexpr const char* kStorages[] = {"", "sim", "memory"};

int storage_number(const std::string& name) {
  return name == kStorages[VEK_PAL_SMS_STORAGE_UIM] ? VEK_PAL_SMS_STORAGE_UIM : VEK_PAL_SMS_STORAGE_NV;
}

void open_service(void (*callback)(vek_pal_sms_event_t, void*) = nullptr, void* user_data = nullptr) {
  if (vek_pal_sms_store_state_indication_register(callback, user_data) != 0) need_modem(nullptr, "WMS");
}

struct Place {
  std::string storage, mode = "gw";
  unsigned index = 0;
  bool ucs2 = false;

  int storage_type() const { return storage_number(storage); }
  int message_mode() const { return mode == "gw" ? VEK_PAL_SMS_MODE_GW : VEK_PAL_SMS_MODE_CDMA; }
};

Json read(const Place& place) {
  char text[VEK_PAL_SMS_TEXT_MAX];
  int length = 0;
  if (vek_pal_sms_get_message_request(place.storage_type(), place.index, place.message_mode(), text, &length) != 0)
    throw Failure(
        fmt::format("no message can be read at {} {}; with -v the library says why", place.storage, place.index));
  const std::string_view bytes(text, static_cast<size_t>(length));
  return {
      {"storage", place.storage}, {"index", place.index},
      {"length", length},         {"text", place.ucs2 ? from_utf16(bytes) : from_latin1(bytes)},
      {"hex", hex_of(bytes)},
  };
}

Json delete_one(const Place& place) {
  open_service();
  if (vek_pal_sms_delete_by_index(place.storage_type(), place.index, place.message_mode()) != 0)
    throw Failure(fmt::format("the modem did not delete {} {}", place.storage, place.index));
  return {{"deleted", true}};
}

Json delete_all(const Place& place) {
  open_service();
  if (vek_pal_sms_delete_all(place.storage_type()) != 0)
    throw Failure(fmt::format("the modem did not delete what is in {}", place.storage));
  return {{"deleted", true}};
}

// Events come on the library's thread and are shown by the program's own, which may take its time.
class Events {
 public:
  static void on_event(vek_pal_sms_event_t event, void* events) { static_cast<Events*>(events)->push(event); }

  std::optional<vek_pal_sms_event_t> next(std::optional<std::chrono::steady_clock::time_point> limit) {
    std::unique_lock lock(mutex_);
    const auto any = [this] { return !events_.empty(); };
    if (!limit) {
      come_.wait(lock, any);
    } else if (!come_.wait_until(lock, *limit, any)) {
      return {};
    }
    const vek_pal_sms_event_t event = events_.front();
    events_.pop_front();
    return event;
  }

 private:
  void push(const vek_pal_sms_event_t& event) {
    const std::scoped_lock lock(mutex_);
    events_.push_back(event);
    come_.notify_one();
  }

  std::mutex mutex_;
  std::condition_variable come_;
  std::deque<vek_pal_sms_event_t> events_;
};

struct WatchArguments {
  int count = 0, seconds = 0;
  bool read = false;
};

Json shown(const vek_pal_sms_event_t& event, bool with_text) {
  const bool known = event.storage_type >= VEK_PAL_SMS_STORAGE_UIM && event.storage_type <= VEK_PAL_SMS_STORAGE_NV;
  const char* const storage = known ? kStorages[event.storage_type] : "unknown";
  const char* const mode = event.message_mode == 1 ? "gw" : "cdma";
  if (event.event == VEK_PAL_SMS_EVENT_MEMORY_FULL) return {{"event", "full"}, {"storage", storage}, {"mode", mode}};
  Json line = {{"event", "new"}, {"storage", storage}, {"index", event.storage_index}, {"mode", mode}};
  if (!with_text) return line;
  try {
    const Json message = read({.storage = storage, .mode = mode, .index = event.storage_index});
    line["text"] = message["text"];
    line["hex"] = message["hex"];
  } catch (const Failure& failure) {
    line["error"] = failure.what();
  }
  return line;
}

Json watch(const WatchArguments& given, Run& run) {
  static Events& events = *new Events;  // the library keeps it for good, and may call it while the program ends
  open_service(Events::on_event, &events);
  std::optional<std::chrono::steady_clock::time_point> limit;
  if (given.seconds != 0) limit = std::chrono::steady_clock::now() + std::chrono::seconds(given.seconds);
  run.show({{"event", "watching"}});
  for (int seen = 0; given.count == 0 || seen < given.count; seen++) {
    const auto event = events.next(limit);
    if (!event) throw Failure(fmt::format("{} of {} events within {} s", seen, given.count, given.seconds));
    run.show(shown(*event, given.read));
  }
  return nullptr;
}

// --- The command line ---

CLI::App* with_storage(CLI::App* command, Place& place) {
  command->add_option("storage", place.storage, "sim or memory")
      ->required()
      ->check(CLI::IsMember({kStorages[VEK_PAL_SMS_STORAGE_UIM], kStorages[VEK_PAL_SMS_STORAGE_NV]}));
  return command;
}

CLI::App* with_place(CLI::App* command, Place& place) {
  with_storage(command, place);
  command->add_option("index", place.index, "As the event said")->required();
  command->add_option("--mode", place.mode, "gw or cdma")->capture_default_str()->check(CLI::IsMember({"gw", "cdma"}));
  return command;
}

void declare(CLI::App& top, Run& run) {
  static Place place;
  static DecodeArguments decoding;
  static WatchArguments watching;
  CLI::App* sms = top.add_subcommand("sms", "Short messages");
  sms->require_subcommand(1);

  CLI::App* reading = with_place(sms->add_subcommand("read", "Reads a stored message"), place);
  reading->add_flag("--ucs2", place.ucs2, "Its text is UCS2: the library hands out bytes and does not say");
  run.command(reading, [] {
    open_service();
    return read(place);
  });
  run.command(with_place(sms->add_subcommand("delete", "Deletes a stored message"), place),
              [] { return delete_one(place); });
  run.command(with_storage(sms->add_subcommand("delete-all", "Deletes every message of a storage"), place),
              [] { return delete_all(place); });

  CLI::App* watch_command = sms->add_subcommand("watch", "Shows new messages and full storages as they are reported");
  watch_command->add_option("--count", watching.count, "Ends after so many (else with Ctrl-C)")
      ->check(CLI::PositiveNumber);
  watch_command->add_option("--timeout", watching.seconds, "Gives up after so many seconds")
      ->check(CLI::PositiveNumber);
  watch_command->add_flag("--read", watching.read, "Shows each new message's text");
  run.command(watch_command, [&run] { return watch(watching, run); });

  CLI::App* decoder = sms->add_subcommand("decode", "Decodes a message; needs no modem");
  decoder->add_option("hex", decoding.hex, "As a modem stores it: for GSM the service-centre address, then the TPDU")
      ->required();
  decoder->add_flag("--cdma", decoding.cdma, "It is a CDMA message");
  decoder->add_flag("--wap", decoding.wap, "With the decoder for data messages");
  run.command(decoder, [] { return decode(decoding); });
}

const Group kGroup{"sms", declare};

}  // namespace
}  // namespace vekctl
