// WMS: the message stores and their events.
#include "providers/qmi/services/wms.h"

#include <algorithm>
#include <iterator>

#include "modem/messages.h"
#include "modem/modem.h"
#include "modem/sms_encoder.h"

namespace simulated {
namespace {

constexpr uint64_t kEventReports = 1;
constexpr uint8_t kNoClass = 4, kCdmaClass = 5;  // in routes, besides 0 to 3

uint32_t existing_store(uint32_t number) {
  if (number > kModemStore) throw Refused(QMI_ERR_INVALID_ARG_V01);
  return number;
}

bool reachable(const State& state) {
  return state.radio_on() && state.network.registration == Registration::registered;
}

bool is_cdma(const StoredMessage& message) { return message.format == WMS_FORMAT_CDMA_V01; }

uint32_t mode_of(const StoredMessage& message) {
  return is_cdma(message) ? WMS_MESSAGE_MODE_CDMA_V01 : WMS_MESSAGE_MODE_GW_V01;
}

MessageRoute route_of(const Messages& messages, const StoredMessage& message) {
  const int its_class = message_class_of(message.raw);
  const uint8_t wanted = is_cdma(message) ? kCdmaClass : its_class < 0 ? kNoClass : static_cast<uint8_t>(its_class);
  const auto at = std::ranges::find(messages.routes, wanted, &MessageRoute::message_class);
  constexpr MessageRoute kKept = {0, kNoClass, kModemStore, WMS_RECEIPT_ACTION_STORE_AND_NOTIFY_V01};
  return at != messages.routes.end() ? *at : kKept;
}

// In the lowest free place; nothing when there is none.
std::optional<uint32_t> store_message(Messages& messages, uint32_t store, const StoredMessage& message) {
  auto& places = messages.stores[store];
  if (places.size() >= messages.capacity[store]) return {};
  uint32_t place = 0;
  while (places.contains(place)) ++place;
  places.emplace(place, message);
  return place;
}

template <typename Record>
void tell(Modem& modem, uint16_t indication, const Record& members) {
  tell_message_event(modem, indication, Modem::indication(wms_service, indication, members));
}

void tell_stored(Modem& modem, const StoredMessage& message, uint32_t store, uint32_t place) {
  wms_event_report_ind report{};
  report.mt_message_valid = 1;
  report.mt_message = {store, place};
  report.message_mode_valid = 1;
  report.message_mode = mode_of(message);
  tell(modem, QMI_WMS_EVENT_REPORT_IND_V01, report);
}

void tell_full(Modem& modem, const StoredMessage& message, uint32_t store) {
  tell(modem, QMI_WMS_MEMORY_FULL_IND_V01, wms_memory_full_ind{{store, mode_of(message)}});
}

// By a route that does not store.
void hand_over(Modem& modem, const StoredMessage& message, bool acknowledged_by_modem) {
  wms_event_report_ind report{};
  report.transfer_route_mt_message_valid = 1;
  auto& transfer = report.transfer_route_mt_message;
  transfer.ack_indicator = acknowledged_by_modem;
  transfer.transaction_id = ++modem.state.messages.transfers;
  transfer.format = message.format;
  transfer.data_len = static_cast<uint32_t>(std::min(message.raw.size(), std::size(transfer.data)));
  std::copy_n(message.raw.begin(), transfer.data_len, transfer.data);
  report.message_mode_valid = 1;
  report.message_mode = mode_of(message);
  tell(modem, QMI_WMS_EVENT_REPORT_IND_V01, report);
}

Delivery attempt(Modem& modem, const WaitingMessage& waiting) {
  Messages& messages = modem.state.messages;
  if (!reachable(modem.state)) return {Arrival::unreachable};
  MessageRoute route = route_of(messages, waiting.message);
  if (waiting.store) {
    route.storage = static_cast<uint8_t>(*waiting.store);
    route.action = WMS_RECEIPT_ACTION_STORE_AND_NOTIFY_V01;
  }
  switch (route.action) {
    case WMS_RECEIPT_ACTION_DISCARD_V01:
      return {Arrival::discarded};
    case WMS_RECEIPT_ACTION_TRANSFER_ONLY_V01:
    case WMS_RECEIPT_ACTION_TRANSFER_AND_ACK_V01:
      hand_over(modem, waiting.message, route.action == WMS_RECEIPT_ACTION_TRANSFER_AND_ACK_V01);
      return {Arrival::handed_over};
    default:
      break;
  }
  const uint32_t store = route.storage == kCardStore ? kCardStore : kModemStore;
  const auto place = store_message(messages, store, waiting.message);
  if (!place) {
    tell_full(modem, waiting.message, store);
    return {Arrival::full, store};
  }
  tell_stored(modem, waiting.message, store, *place);
  return {Arrival::stored, store, *place};
}

bool keeps_waiting(const Delivery& delivery) {
  return delivery.arrival == Arrival::full || delivery.arrival == Arrival::unreachable;
}

// In the order in which they came, until one finds no room.
void deliver_waiting(Modem& modem) {
  auto& waiting = modem.state.messages.waiting;
  while (!waiting.empty() && !keeps_waiting(attempt(modem, waiting.front()))) waiting.pop_front();
}

// --- Requests ---

void set_event_report(Modem&, const Request& request, Response&) {
  const auto wanted = request.record<wms_set_event_report_req>();
  if (wanted.report_mt_message_valid) request.client->events = wanted.report_mt_message ? kEventReports : 0;
}

// The client is as if it had just been opened.
void reset(Modem&, const Request& request, Response&) { request.client->events = 0; }

void raw_read(Modem& modem, const Request& request, Response& response) {
  const auto wanted = request.record<wms_raw_read_req>().message;
  auto& places = modem.state.messages.stores[existing_store(wanted.storage_type)];
  const auto at = places.find(wanted.storage_index);
  if (at == places.end()) throw Refused(QMI_ERR_NO_ENTRY_V01);
  StoredMessage& message = at->second;

  wms_raw_read_resp resp{};
  auto& raw = resp.raw_message_data;
  raw.tag_type = static_cast<uint32_t>(message.tag);
  raw.format = message.format;
  raw.data_len = static_cast<uint32_t>(std::min(message.raw.size(), std::size(raw.data)));
  std::copy_n(message.raw.begin(), raw.data_len, raw.data);
  response.record(resp);
  if (message.tag == MessageTag::not_read) message.tag = MessageTag::read;
}

void delete_some(Modem& modem, const Request& request, Response&) {
  const auto wanted = request.record<wms_delete_req>();
  const uint32_t store = existing_store(wanted.storage_type);
  std::optional<uint32_t> place;
  std::optional<MessageTag> tag;
  std::optional<uint32_t> mode;
  if (wanted.index_valid) place = wanted.index;
  if (wanted.tag_type_valid) tag = static_cast<MessageTag>(wanted.tag_type);
  if (wanted.message_mode_valid) mode = wanted.message_mode;
  modem.state.messages.last_delete_mode = mode;  // it decides nothing here, but a test may look at it
  if (delete_messages(modem, store, place, tag) == 0 && place) throw Refused(QMI_ERR_NO_ENTRY_V01);
}

void list_messages(Modem& modem, const Request& request, Response& response) {
  const auto wanted = request.record<wms_list_messages_req>();
  wms_list_messages_resp resp{};
  for (const auto& [place, message] : modem.state.messages.stores[existing_store(wanted.storage_type)]) {
    const auto tag = static_cast<uint32_t>(message.tag);
    if (wanted.tag_type_valid && wanted.tag_type != tag) continue;
    if (wanted.message_mode_valid && wanted.message_mode != mode_of(message)) continue;
    if (resp.message_tuple_len == std::size(resp.message_tuple)) break;
    resp.message_tuple[resp.message_tuple_len++] = {place, tag};
  }
  response.record(resp);
}

void set_routes(Modem& modem, const Request& request, Response&) {
  const auto wanted = request.record<wms_set_routes_req>();
  auto& routes = modem.state.messages.routes;
  for (const wms_route& given : std::span(wanted.route_list, wanted.route_list_len)) {
    if (given.message_class > kCdmaClass || given.receipt_action > WMS_RECEIPT_ACTION_TRANSFER_AND_ACK_V01)
      throw Refused(QMI_ERR_INVALID_ARG_V01);
    const MessageRoute route = {static_cast<uint8_t>(given.message_type), static_cast<uint8_t>(given.message_class),
                                static_cast<uint8_t>(given.route_storage), static_cast<uint8_t>(given.receipt_action)};
    const auto at = std::ranges::find(routes, route.message_class, &MessageRoute::message_class);
    if (at != routes.end()) {
      *at = route;
    } else {
      routes.push_back(route);
    }
  }
}

void get_routes(Modem& modem, const Request&, Response& response) {
  wms_get_routes_resp resp{};
  for (const MessageRoute& route : modem.state.messages.routes) {
    if (resp.route_list_len == std::size(resp.route_list)) break;
    resp.route_list[resp.route_list_len++] = {route.type, route.message_class, route.storage, route.action};
  }
  response.record(resp);
}

void changed(Modem& modem, Change change) {
  if (change == Change::started || change == Change::operating_mode || change == Change::registration)
    deliver_waiting(modem);
}

void load(State& state, const toml::table& scenario) {
  for (const uint32_t store : {kCardStore, kModemStore}) {
    auto& capacity = state.messages.capacity[store];
    capacity = scenario["sms"][std::string(kStoreNames[store]) + "_capacity"].value_or(capacity);
  }
}

constexpr uint16_t kReset = 0x0000;

constexpr Handler kHandlers[] = {
    {kReset, reset},
    {QMI_WMS_SET_EVENT_REPORT_REQ_V01, set_event_report},
    {QMI_WMS_RAW_READ_REQ_V01, raw_read},
    {QMI_WMS_DELETE_REQ_V01, delete_some},
    {QMI_WMS_LIST_MESSAGES_REQ_V01, list_messages},
    {QMI_WMS_SET_ROUTES_REQ_V01, set_routes},
    {QMI_WMS_GET_ROUTES_REQ_V01, get_routes},
};

}  // namespace

unsigned tell_message_event(Modem& modem, uint16_t indication, const TlvWriter& tlvs) {
  return modem.indicate_registered(wms_service, kEventReports, indication, tlvs);
}

Delivery deliver(Modem& modem, const StoredMessage& message, std::optional<uint32_t> store) {
  auto& waiting = modem.state.messages.waiting;
  const WaitingMessage arriving{message, store};
  const Delivery delivery = attempt(modem, arriving);
  if (keeps_waiting(delivery)) waiting.push_back(arriving);
  return delivery;
}

size_t delete_messages(Modem& modem, uint32_t store, std::optional<uint32_t> place, std::optional<MessageTag> tag) {
  const size_t deleted = std::erase_if(modem.state.messages.stores[store], [&](const auto& entry) {
    return (!place || entry.first == *place) && (!tag || entry.second.tag == *tag);
  });
  if (deleted != 0) deliver_waiting(modem);
  return deleted;
}

const Service wms_service = {
    0x05, "WMS", 1, 35, kHandlers, wms_get_service_object_internal_v01(1, 0, 0), changed, load, declare_messages};

}  // namespace simulated
