#include "modem/modem.h"

#include <strings.h>
#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>
#include <utility>

#include "providers/qmi/codec/codec.h"
#include "providers/qmi/services/ctl.h"

namespace simulated {
namespace {

const Handler* find_handler(const Service& service, uint16_t message) {
  const auto at = std::ranges::find(service.handlers, message, &Handler::message);
  return at == service.handlers.end() ? nullptr : &*at;
}

}  // namespace

std::span<const Service* const> services() {
  static constexpr std::array<const Service*, 7> kAll = {&ctl_service, &wds_service, &dms_service, &nas_service,
                                                         &wms_service, &uim_service, &pdc_service};
  return kAll;
}

const Service* find_service(uint8_t number) {
  const auto at = std::ranges::find(services(), number, [](const Service* service) { return service->number; });
  return at == services().end() ? nullptr : *at;
}

const Service* find_service(std::string_view name) {
  const std::string text(name);
  for (const Service* service : services()) {
    if (strcasecmp(service->name, text.c_str()) == 0) return service;
  }
  const int base = text.starts_with("0x") ? 16 : 10;
  const char* digits = text.c_str() + (base == 16 ? 2 : 0);
  unsigned number = 256;
  const auto parsed = std::from_chars(digits, text.c_str() + text.size(), number, base);
  return parsed.ec == std::errc() && *parsed.ptr == '\0' && number < 256 ? find_service(static_cast<uint8_t>(number))
                                                                         : nullptr;
}

Modem::~Modem() { stop(); }

// --- Power ---

void Modem::start() {
  if (up_) return;
  up_ = true;
  trace.note("modem", "started");
  changed(Change::started);
  for (const auto& port : ports_) port->open();
}

void Modem::stop() {
  forget_everybody();
  if (!up_) return;
  up_ = false;
  for (const auto& port : ports_) port->close();
  trace.note("modem", "stopped");
}

void Modem::restart(std::chrono::milliseconds down) {
  stop();
  after(down, [this] { start(); });
}

void Modem::soft_restart() {
  forget_everybody();
  trace.note("modem", "restarted behind its links");
  changed(Change::started);
  const vek::qmi::FrameHeader sync{vek::qmi::kCtlService, 0, vek::qmi::MessageType::indication, 0, QMI_CTL_SYNC};
  for (const Link* link : links_) send({link->id(), frame_from_modem(sync, {})});
}

void Modem::forget_everybody() {
  ++boots_;
  timers_.clear();
  clients_.clear();
  changed(Change::clients);
}

// --- Links and client ids ---

void Modem::remove_link(Link& link) {
  std::erase(links_, &link);
  // A dead process's ids stay taken, as on a real modem; there is only nobody left to send indications to.
  for (Client& one : clients_) {
    if (one.link == &link) one.link = nullptr;
  }
}

Client* Modem::client(uint8_t service, uint8_t id) {
  const auto at =
      std::ranges::find_if(clients_, [&](const Client& one) { return one.service == service && one.id == id; });
  return at == clients_.end() ? nullptr : &*at;
}

Client* Modem::allocate(const Service& service, Link& link) {
  for (unsigned id = 1; id <= client_ids; ++id) {
    if (client(service.number, static_cast<uint8_t>(id)) != nullptr) continue;
    clients_.push_back({.service = service.number, .id = static_cast<uint8_t>(id), .link = &link});
    return &clients_.back();
  }
  return nullptr;
}

bool Modem::release(uint8_t service, uint8_t id) {
  const bool found =
      std::erase_if(clients_, [&](const Client& one) { return one.service == service && one.id == id; }) != 0;
  changed(Change::clients);
  return found;
}

void Modem::release_all() {
  clients_.clear();
  changed(Change::clients);
}

// --- Requests ---

void Request::decode(void* record, size_t size) const {
  using vek::qmi::Decoded;
  const auto& table = Modem::table(service, vek::qmi::MessageType::request, message);
  switch (vek::qmi::decode(table, tlvs.bytes(), record, size)) {
    case Decoded::ok:
      return;
    case Decoded::missing:
      throw Refused(QMI_ERR_MISSING_ARG_V01);
    case Decoded::malformed:
      throw Refused(QMI_ERR_MALFORMED_MSG_V01);
    case Decoded::record_too_small:
      throw std::logic_error("a request is decoded into a record that is not its own");
  }
}

const vek::qmi::Message& Response::table() const {
  return Modem::table(*service_, vek::qmi::MessageType::response, message_);
}

const vek::qmi::Message& Modem::table(const Service& service, vek::qmi::MessageType type, uint16_t message) {
  const vek::qmi::Message* table = service.messages->find(type, message);
  if (table == nullptr) throw std::logic_error("a message without a table was to be encoded by its table");
  return *table;
}

void Modem::receive(Link& link, std::span<const uint8_t> bytes) {
  if (!up_) return;
  trace.frame(Trace::Direction::to_modem, link.name(), bytes);
  const auto request = vek::qmi::parse_frame(bytes);
  if (!request || request->header.type != vek::qmi::MessageType::request || silent) return;
  const std::optional<Fault> fault = take_fault(request->header);
  if (fault && fault->kind == Fault::Kind::nothing) return;

  std::vector<Outgoing> outgoing(1);  // the answer, then the indications that the request caused
  batch_ = &outgoing;
  const Response response = handle(*request, fault, link);
  batch_ = nullptr;

  TlvWriter result;
  if (!fault || fault->kind != Fault::Kind::no_result) {
    result.tlv(0x02).u16(response.error() == QMI_ERR_NONE_V01 ? 0 : 1).u16(response.error());
  }
  Bytes tlvs = result.bytes();
  tlvs.insert(tlvs.end(), response.bytes().begin(), response.bytes().end());
  vek::qmi::FrameHeader header = request->header;
  header.type = vek::qmi::MessageType::response;
  outgoing.front() = {link.id(), frame_from_modem(header, tlvs)};

  auto delay = std::chrono::milliseconds::zero();
  if (fault && fault->kind == Fault::Kind::late) {
    delay = fault->delay;
  } else if (const auto at = delays.find(header.service); at != delays.end()) {
    delay = at->second;
  }
  if (delay == delay.zero()) return send_batch(outgoing);
  after(delay, [this, outgoing = std::move(outgoing)] { send_batch(outgoing); });
}

Response Modem::handle(const vek::qmi::Frame& request, const std::optional<Fault>& fault, Link& link) {
  const auto& header = request.header;
  const Service* service = find_service(header.service);
  Response response(service, header.message_id);
  const Tlvs tlvs(request.tlvs);
  if (fault && fault->kind == Fault::Kind::error) return response.refuse(fault->error);
  Client* owner = client(header.service, header.client_id);
  if (service == nullptr || (owner == nullptr && service != &ctl_service))
    return response.refuse(QMI_ERR_INVALID_CLIENT_ID_V01);
  // Whoever uses an id owns it from now on, as behind the proxy.
  if (owner != nullptr) owner->link = &link;
  const Handler* handler = find_handler(*service, header.message_id);
  if (handler == nullptr) return response.refuse(QMI_ERR_INVALID_QMI_CMD_V01);
  if (!tlvs.walk([](uint8_t, auto) {})) return response.refuse(QMI_ERR_MALFORMED_MSG_V01);
  try {
    handler->handle(*this, {*service, header.message_id, tlvs, owner, link}, response);
  } catch (const Refused& refused) {
    response.clear();
    response.refuse(refused.error);
  } catch (const std::exception& failure) {
    // A fault of the modem's own: like a real one it says "internal", and the trace says what.
    trace.note("modem", failure.what());
    response.clear();
    response.refuse(QMI_ERR_INTERNAL_V01);
  }
  return response;
}

std::optional<Fault> Modem::take_fault(const vek::qmi::FrameHeader& request) {
  const auto at = faults.find({request.service, request.message_id});
  if (at == faults.end()) return std::nullopt;
  const Fault fault = at->second;
  if (at->second.times > 0 && --at->second.times == 0) faults.erase(at);
  return fault;
}

// --- What goes out ---

void Modem::send(const Outgoing& outgoing) {
  const auto link = std::ranges::find(links_, outgoing.link, &Link::id);
  if (!up_ || silent || link == links_.end()) return;
  trace.frame(Trace::Direction::from_modem, (*link)->name(), outgoing.frame);
  (*link)->send(outgoing.frame);
}

void Modem::send_batch(const std::vector<Outgoing>& batch) {
  for (const Outgoing& one : batch) send(one);
}

void Modem::indicate(Client& to, uint16_t message, const TlvWriter& tlvs) {
  if (to.link == nullptr) return;
  const vek::qmi::FrameHeader header{to.service, to.id, vek::qmi::MessageType::indication, 0, message};
  Outgoing outgoing{to.link->id(), frame_from_modem(header, tlvs.bytes())};
  if (batch_ != nullptr) {
    batch_->push_back(std::move(outgoing));
  } else {
    send(outgoing);
  }
}

unsigned Modem::indicate_registered(const Service& service, uint64_t mask, uint16_t message, const TlvWriter& tlvs) {
  unsigned told = 0;
  for (Client& one : clients_) {
    if (one.service != service.number || (one.events & mask) == 0) continue;
    indicate(one, message, tlvs);
    ++told;
  }
  return told;
}

void Modem::send_garbage(std::span<const uint8_t> bytes) {
  for (Link* link : links_) {
    trace.note(link->name(), "garbage sent on demand");
    link->send({bytes.begin(), bytes.end()});
  }
}

void Modem::changed(Change change) {
  for (const Service* service : services()) {
    if (service->changed != nullptr) service->changed(*this, change);
  }
}

void Modem::after(std::chrono::milliseconds pause, std::function<void()> what) {
  const auto timer = timers_.emplace(timers_.end(), io_, pause);
  timer->async_wait([this, timer, boot = boots_, what = std::move(what)](const std::error_code& cancelled) {
    if (cancelled || boot != boots_) return;
    timers_.erase(timer);
    what();
  });
}

}  // namespace simulated
