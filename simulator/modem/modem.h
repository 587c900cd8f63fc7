// The modem as it is seen from the wire: client ids, requests and their answers, indications, and the faults that a
// test asks for. What a message means is the services' business: a service is a table of handlers over the State in
// here.
#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <toml++/toml.h>
#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include "control/control.h"
#include "modem/state.h"
#include "modem/trace.h"
#include "modem/wire.h"

namespace simulated {

class Modem;

inline constexpr char kModemGroup[] = "The modem: power, faults, client ids";
constexpr std::chrono::milliseconds kRestartPause{500};  // between going away and being there again

// One connection that frames come and go on: the device, or one client of the proxy socket.
class Link {
 public:
  explicit Link(std::string name) : name_(std::move(name)), id_(++last_id_) {}
  virtual ~Link() = default;
  virtual void send(const Bytes& frame) = 0;
  const std::string& name() const { return name_; }
  uint64_t id() const { return id_; }

 private:
  static inline uint64_t last_id_ = 0;
  std::string name_;
  uint64_t id_;
};

// What makes links while the modem is up: the device node, the proxy socket.
class Port {
 public:
  virtual ~Port() = default;
  virtual void open() = 0;
  virtual void close() = 0;
};

// What carries the packets of sessions: the operator's network. It sets the module's interface up and takes it down.
class Carrier {
 public:
  virtual ~Carrier() = default;
  virtual void up(const Session& session) = 0;
  virtual void down(const Session& session) = 0;
};

// A client id that was handed out, and what its owner asked to hear of.
struct Client {
  uint8_t service = 0;
  uint8_t id = 0;
  Link* link = nullptr;  // where its indications go; nullptr when that link has gone
  uint64_t events = 0;   // registered events, in the service's own numbering
  uint8_t family = 4;    // WDS: the IP family for its next session
};

struct Service;

struct Request {
  const Service& service;
  uint16_t message;
  Tlvs tlvs;
  Client* client;  // nullptr for CTL
  Link& link;

  // The request's members, by its table; a request without a mandatory TLV, or with a short one, is refused.
  template <typename Record>
  Record record() const {
    Record decoded;
    decode(&decoded, sizeof(decoded));
    return decoded;
  }

 private:
  void decode(void* record, size_t size) const;
};

// An answer under construction: TLVs, and the result that goes before them.
class Response : public TlvWriter {
 public:
  explicit Response(const Service* service, uint16_t message) : service_(service), message_(message) {}

  using TlvWriter::record;
  // The members of the answer, by its table.
  template <typename Record>
  TlvWriter& record(const Record& members) {
    return TlvWriter::record(table(), &members, sizeof(members));
  }

  Response& refuse(uint32_t error) {
    error_ = error;
    return *this;
  }
  uint32_t error() const { return error_; }

 private:
  const vek::qmi::Message& table() const;

  const Service* service_;
  uint16_t message_;
  uint32_t error_ = QMI_ERR_NONE_V01;
};

struct Handler {
  uint16_t message;
  void (*handle)(Modem&, const Request&, Response&);
};

// What has become different in the State. A service that depends on it reacts in its `changed`.
enum class Change {
  started,  // the modem has booted: volatile things are as after power-on
  operating_mode,
  clients,       // client ids were given back, or are void
  cards,         // a card came, went, or is starting up; or the active slot changed
  network,       // cells, coverage, or what the network thinks of us
  registration,  // registered, attached, roaming or serving cell differ
  signal,
};

struct Service {
  uint8_t number;
  const char* name;
  uint16_t major, minor;
  std::span<const Handler> handlers;
  qmi_idl_service_object_type messages;  // the tables, and the names for the trace
  void (*changed)(Modem&, Change) = nullptr;
  // The service's part of the starting state, from the whole scenario file.
  void (*load)(State&, const toml::table& scenario) = nullptr;
  // The service's commands of modulectl.
  void (*declare)(Modem&, CLI::App& top, const ReplyPtr&) = nullptr;
};

// One file a service. CTL comes first; the others are in order of their numbers.
extern const Service ctl_service, wds_service, dms_service, nas_service, wms_service, uim_service, pdc_service;
std::span<const Service* const> services();
const Service* find_service(uint8_t number);                   // nullptr when there is none
const Service* find_service(std::string_view name_or_number);  // "NAS", "3" or "0x03"

// What a fault does to one message of a service.
struct Fault {
  enum class Kind { error, nothing, no_result, late } kind;
  uint32_t error = QMI_ERR_NONE_V01;
  std::chrono::milliseconds delay{0};
  int times = -1;  // how often still; -1 without end
};

class Modem {
 public:
  explicit Modem(asio::io_context& io) : io_(io) {}
  ~Modem();

  State state;
  Trace trace;
  Carrier* carrier = nullptr;  // without one, sessions have addresses and no packets

  // --- Power ---
  void add_port(std::unique_ptr<Port> port) { ports_.push_back(std::move(port)); }
  bool up() const { return up_; }
  void start();
  void stop();
  void restart(std::chrono::milliseconds down);
  // A crash that the bus survives: links stay, every client id is void, the sync indication tells.
  void soft_restart();

  // --- For links ---
  void receive(Link& link, std::span<const uint8_t> frame_bytes);
  void note_garbage(Link& link) { trace.note(link.name(), "bytes that are no frame"); }
  void add_link(Link& link) { links_.push_back(&link); }
  void remove_link(Link& link);

  // --- For services ---
  void indicate(Client& client, uint16_t message, const TlvWriter& tlvs);
  // To every client of the service whose `events` have a bit of `mask` set.
  // Returns how many they are.
  unsigned indicate_registered(const Service& service, uint64_t mask, uint16_t message, const TlvWriter& tlvs);
  // An indication that has a table.
  template <typename Record>
  static TlvWriter indication(const Service& service, uint16_t message, const Record& members) {
    TlvWriter tlvs;
    tlvs.record(table(service, vek::qmi::MessageType::indication, message), &members, sizeof(members));
    return tlvs;
  }
  static const vek::qmi::Message& table(const Service& service, vek::qmi::MessageType type, uint16_t message);
  void changed(Change change);
  // Runs `what` later, unless the modem stops or restarts before.
  void after(std::chrono::milliseconds pause, std::function<void()> what);
  Client* allocate(const Service& service, Link& link);  // nullptr when all ids are taken
  bool release(uint8_t service, uint8_t id);
  void release_all();
  Client* client(uint8_t service, uint8_t id);
  std::list<Client>& clients() { return clients_; }
  const std::list<Client>& clients() const { return clients_; }

  // --- Faults ---
  bool silent = false;
  unsigned client_ids = 10;  // of each service, as modems have them
  std::map<uint8_t, std::chrono::milliseconds> delays;
  std::map<std::pair<uint8_t, uint16_t>, Fault> faults;
  void send_garbage(std::span<const uint8_t> bytes);

 private:
  struct Outgoing {
    uint64_t link;  // by number: the link may have gone when a held-back answer is due
    Bytes frame;
  };

  void forget_everybody();
  void send(const Outgoing& outgoing);
  std::optional<Fault> take_fault(const vek::qmi::FrameHeader& request);
  Response handle(const vek::qmi::Frame& request, const std::optional<Fault>& fault, Link& link);

  void send_batch(const std::vector<Outgoing>& batch);

  asio::io_context& io_;
  std::vector<std::unique_ptr<Port>> ports_;
  std::vector<Link*> links_;
  std::list<Client> clients_;
  std::list<asio::steady_timer> timers_;
  unsigned boots_ = 0;                      // a timer that was set before the last stop or restart must not run
  std::vector<Outgoing>* batch_ = nullptr;  // while a request is handled: what goes out after its answer
  bool up_ = false;
};

}  // namespace simulated
