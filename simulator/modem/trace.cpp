#include "modem/trace.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include "modem/catalogue.h"
#include "modem/modem.h"
#include "modem/wire.h"

namespace simulated {
namespace {

using vek::qmi::MessageType;

constexpr size_t kMostEntries = 50'000;

const char* type_word(MessageType type) {
  return type == MessageType::request ? "request" : type == MessageType::response ? "response" : "indication";
}

std::string hex(std::span<const uint8_t> bytes) { return fmt::format("{:02x}", fmt::join(bytes, "")); }

std::string clock_time(std::chrono::system_clock::time_point at) {
  const auto ms = std::chrono::floor<std::chrono::milliseconds>(at);
  return fmt::format("{:%H:%M:%S}.{:03}", std::chrono::floor<std::chrono::seconds>(ms),
                     ms.time_since_epoch().count() % 1000);
}

// The name and the value of one TLV: by the table that the modem itself works with, else by the catalogue, else in hex.
std::pair<std::string, OrderedJson> read_tlv(const Service* service, const vek::qmi::FrameHeader& header, uint8_t type,
                                             std::span<const uint8_t> value) {
  const auto* table = service == nullptr ? nullptr : service->messages->find(header.type, header.message_id);
  try {
    if (table != nullptr) {
      for (const vek::qmi::Tlv& row : table->tlvs()) {
        if (row.id == type) return {row.value.name, catalogue::decode(row.value, value)};
      }
    }
    if (type == 0x02 && header.type == MessageType::response)
      return {"resp", catalogue::decode("u16 result, u16 error", value)};
    if (const auto* entry = catalogue::find(header, type))
      return {std::string(entry->name), catalogue::decode(entry->layout, value)};
  } catch (const Refused&) {
    return {fmt::format("0x{:02x} (does not fit its layout)", type), hex(value)};
  }
  return {fmt::format("0x{:02x}", type), hex(value)};
}

// "name: value", records and lists indented below their name.
void print(std::string& text, const std::string& name, const OrderedJson& value, int indent) {
  const std::string margin(static_cast<size_t>(indent), ' ');
  if (name == "resp" && value.contains("error")) {
    const auto error = value["error"].get<unsigned>();
    text += error == 0 ? margin + "success\n"
                       : fmt::format("{}failure {} ({})\n", margin, error, catalogue::error_name(error));
  } else if (value.is_object()) {
    text += margin + name + ":\n";
    for (const auto& [key, member] : value.items()) print(text, key, member, indent + 2);
  } else if (value.is_array() && !value.empty() && value.front().is_structured()) {
    for (size_t i = 0; i < value.size(); ++i) print(text, fmt::format("{}[{}]", name, i), value[i], indent);
  } else {
    text += margin + name + ": " + value.dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
    if (value.is_number()) {
      const std::string word = catalogue::word(name, value.get<long long>());
      if (!word.empty()) text += " (" + word + ")";
    }
    text += "\n";
  }
}

}  // namespace

void Trace::frame(Direction direction, const std::string& link, std::span<const uint8_t> bytes) {
  add({.number = 0, .at = {}, .direction = direction, .link = link, .frame = {bytes.begin(), bytes.end()}, .text = {}});
}

void Trace::note(const std::string& link, std::string text) {
  add({.number = 0, .at = {}, .direction = Direction::note, .link = link, .frame = {}, .text = std::move(text)});
}

void Trace::add(Entry entry) {
  entry.number = ++last_entry_;
  entry.at = std::chrono::system_clock::now();
  entries_.push_back(std::move(entry));
  if (entries_.size() > kMostEntries) entries_.pop_front();
  for (auto listener = listeners_.begin(); listener != listeners_.end();) {
    const auto next = std::next(listener);  // the listener may take itself away
    listener->call(entries_.back());
    listener = next;
  }
}

uint64_t Trace::follow(std::function<void(const Entry&)> listener) {
  listeners_.push_back({++last_listener_, std::move(listener)});
  return last_listener_;
}

void Trace::unfollow(uint64_t number) {
  std::erase_if(listeners_, [&](const Listener& listener) { return listener.number == number; });
}

OrderedJson to_json(const Trace::Entry& entry) {
  OrderedJson json = {{"number", entry.number}, {"time", clock_time(entry.at)}, {"link", entry.link}};
  if (entry.direction == Trace::Direction::note) {
    json["note"] = entry.text;
    return json;
  }
  json["direction"] = entry.direction == Trace::Direction::to_modem ? "to modem" : "from modem";
  if (const auto frame = vek::qmi::parse_frame(entry.frame)) {
    const auto& header = frame->header;
    const Service* service = find_service(header.service);
    json["service"] = service == nullptr ? fmt::format("0x{:02x}", header.service) : service->name;
    json["client"] = header.client_id;
    json["type"] = type_word(header.type);
    json["transaction"] = header.transaction;
    json["id"] = header.message_id;
    json["message"] = catalogue::message_name(header);
    OrderedJson tlvs = OrderedJson::object();
    const bool whole = Tlvs(frame->tlvs).walk([&](uint8_t type, std::span<const uint8_t> value) {
      auto [name, decoded] = read_tlv(service, header, type, value);
      if (!tlvs.contains(name)) tlvs[name] = std::move(decoded);
    });
    json["tlvs"] = std::move(tlvs);
    if (!whole) json["malformed"] = true;
  } else {
    json["malformed"] = true;
  }
  json["hex"] = hex(entry.frame);
  return json;
}

std::string to_text(const Trace::Entry& entry) {
  if (entry.direction == Trace::Direction::note)
    return fmt::format("{} {} -- {}", clock_time(entry.at), entry.link, entry.text);
  const OrderedJson json = to_json(entry);
  const char* const arrow = entry.direction == Trace::Direction::to_modem ? "-->" : "<--";
  std::string text = fmt::format("{} {} {} ", clock_time(entry.at), entry.link, arrow);
  if (!json.contains("message")) return text + "not a frame: " + json["hex"].get<std::string>();
  text +=
      fmt::format("{} {}, client {}, transaction {}\n", json["message"].get<std::string>(),
                  json["type"].get<std::string>(), json["client"].get<unsigned>(), json["transaction"].get<unsigned>());
  for (const auto& [name, value] : json["tlvs"].items()) print(text, name, value, 4);
  if (json.contains("malformed")) text += "    (what follows does not fill its space)\n";
  text.pop_back();
  return text;
}

}  // namespace simulated
