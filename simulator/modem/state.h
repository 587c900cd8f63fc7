// Everything that the modem knows and that outlives a request: the one model that every service reads and changes, that
// a scenario file sets and that `modulectl` plays with. It holds no behaviour: what a change entails is said with
// Modem::changed() and worked out by the services that care.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace simulated {

using Bytes = std::vector<uint8_t>;

struct Identity {
  std::string imei = "359072061234569";
  std::string imei_version = "02";
  std::string meid = "35907206123456";
  std::string esn = "0";
  std::string manufacturer = "VEK";
  std::string model = "VK12-EA";
  std::string hardware_revision = "1.0";
  std::string firmware = "VK12.1.04.07_R2";
  std::string serial_number = "VKMDSM0042";  // made 2026-06: the fifth letter is the year's, the sixth the month's
  std::string usb_ids = "1209,5A12";         // vendor, product
};

enum class OperatingMode : uint8_t {
  online = 0,
  low_power = 1,
  factory_test = 2,
  offline = 3,
  reset = 4,
  shutting_down = 5,
  persistent_low_power = 6,
  mode_only_low_power = 7,
};

// --- Cards ---

enum class PinState : uint8_t {
  not_initialised,
  enabled_not_verified,
  enabled_verified,
  disabled,
  blocked,
  permanently_blocked
};

struct Pin {
  std::string code = "1234";
  std::string unblock_code = "12345678";
  PinState state = PinState::disabled;
  uint8_t retries = 3;
  uint8_t unblock_retries = 10;
};

// What a network knows a card by. A plain card has one, an eUICC as many as were loaded onto it.
struct Subscription {
  std::string name = {};
  std::string iccid = {};
  std::string imsi = {};
};

// A card's applications, as they are reported and in which order.
enum class App : uint8_t { sim = 1, usim = 2, csim = 4, isim = 5 };

// A logical channel to a card that is open, and what was selected on it.
struct Channel {
  bool open = false;
  Bytes application = {};                 // its AID; empty: none
  std::vector<uint16_t> path = {0x3F00};  // the file that is selected
};

struct Card {
  bool euicc = false;
  std::string eid = {};  // 32 digits, an eUICC's only
  Bytes atr = {0x3B, 0x9F, 0x96, 0x80, 0x1F, 0xC7, 0x80, 0x31, 0xE0, 0x73, 0xFE, 0x21, 0x17, 0x57, 0x4A};
  std::vector<App> applications = {App::usim};
  std::vector<Subscription> subscriptions = {};
  int enabled = 0;                // index of the subscription in use, -1 for an eUICC without an enabled profile
  bool standard_classes = false;  // profiles carry their class where this module's eUICC has their state
  Pin pin1;
  Pin pin2{.code = "5678", .unblock_code = "87654321", .state = PinState::enabled_not_verified};
  std::map<std::vector<uint16_t>, Bytes> files =
      {};  // by path, e.g. {0x3F00, 0x7FFF, 0x6F07}: instead of what follows from the subscription
  std::array<Channel, 4> channels = {Channel{.open = true}};

  const Subscription* subscription() const {
    return enabled >= 0 && static_cast<size_t>(enabled) < subscriptions.size()
               ? &subscriptions[static_cast<size_t>(enabled)]
               : nullptr;
  }
};

inline Card plain_card(Subscription subscription) {
  Card card;
  card.subscriptions.push_back(std::move(subscription));
  return card;
}

inline Card euicc_card(std::string eid, std::vector<Subscription> profiles) {
  Card card;
  card.euicc = true;
  card.eid = std::move(eid);
  card.subscriptions = std::move(profiles);
  return card;
}

enum class AppState : uint8_t {
  unknown,  // the modem has not found the card yet
  detected,
  pin1_required,
  puk1_required,
  check_personalisation,
  pin1_blocked,
  illegal,
  ready
};

struct Slot {
  std::optional<Card> card = {};
  std::optional<Card> taken_out = {};  // what was in it before
  bool detect = true;                  // the card-detect line: it may say "present" while the modem finds no card
  bool powered = true;
  std::optional<uint8_t> error = {};  // why the modem cannot use the card
  AppState app = AppState::ready;     // how far the card's start-up has come; meaningful on the active slot
  unsigned start_ups = 0;             // begun so far: a later one ends those before
};

// What the modem does with cards, and how long each step of a card's start-up takes; nothing: it never happens.
struct CardHabits {
  using Step = std::optional<unsigned>;
  Step slot_ms = 20;           // from a change to the report of the slots
  Step absent_ms = 20;         // ... to the report that a switch has left no card
  Step detected_ms = 50;       // ... to the card that has answered
  Step ready_ms = 100;         // ... to the application that is ready, or wants a PIN
  bool inactive_known = true;  // what was read from the card of a slot is still reported when the slot is not active
};

// How the card answers an instruction instead of its usual way.
struct ApduFault {
  enum class Kind { status_word, no_answer, error } kind;
  uint16_t status_word = 0;
  int times = -1;  // how often still; -1 without end
};

// --- Network ---

enum class Radio : int8_t { none = 0, gsm = 4, umts = 5, lte = 8, nr5g = 0x0C };

struct Cell {
  Radio radio = Radio::lte;
  std::string mcc = "001";
  std::string mnc = "01";  // as many digits as the operator's code has: two or three
  std::string name = "Test network";
  uint16_t lac = 0xFFFE;
  uint16_t tac = 0x1234;
  uint32_t cell_id = 0x01A2D003;
  int rssi = -61;  // dBm
  int rsrq = -11;  // dB
  int rsrp = -92;  // dBm
  int snr = 134;   // tenths of a dB
  int ecio = 10;   // -0.5 dB each
};

enum class Registration : uint8_t { not_registered, registered, searching, denied, unknown };
enum class Attach : uint8_t { unknown, attached, detached };

struct Network {
  std::vector<Cell> cells = {Cell{}};
  size_t serving = 0;
  bool available = true;  // false: nothing on the air
  bool denied = false;    // the network turns this subscription down
  bool attach_wanted = true;
  bool visited = false;  // this is not the subscription's home
  int8_t time_zone = 8;  // quarter hours
  uint8_t daylight_saving = 1;
  // What follows from the rest; the NAS service keeps it right.
  Registration registration = Registration::registered;
  Attach circuit = Attach::attached;
  Attach packet = Attach::attached;
  bool roaming = false;
};

// --- Data ---

struct DataProfile {
  std::string name = {};
  std::string apn = {};
  uint8_t pdp_type = 3;  // 0 IPv4, 2 IPv6, 3 IPv4v6
  std::string user = {};
  std::string password = {};
  uint8_t authentication = 0;  // bits: 1 PAP, 2 CHAP
  bool roaming_disallowed = false;
  bool disabled = false;
  uint64_t apn_types = 1;
};

// What the network gives a session, as text.
struct Lease {
  std::string address = {};
  unsigned prefix = 0;
  std::string gateway = {};
  std::string primary_dns = {};
  std::string secondary_dns = {};
  unsigned mtu = 1500;
};

struct Session {
  uint8_t client = 0;  // the WDS client that owns it
  uint32_t handle = 0;
  uint8_t family = 4;
  uint8_t profile = 1;
  DataProfile settings;  // the profile's, with what the request said instead
  Lease lease = {};
};

// Why the network turns a session down: a reason of 3GPP TS 24.301, 33 for a service that is not subscribed to.
using RefusalCause = uint8_t;

struct Data {
  std::map<uint8_t, DataProfile> profiles = {
      {1, {.name = "internet", .apn = "internet.example"}},
      {2, {.name = "ims", .apn = "ims", .apn_types = 2}},
  };
  std::vector<uint16_t> attach_list = {1};
  std::vector<Session> sessions = {};
  uint32_t next_handle = 0x86A0F1C8;
  unsigned leases = 0;                           // given so far: each session gets other addresses
  std::map<uint8_t, RefusalCause> refused = {};  // by family: sessions that the network does not give
  unsigned setup_ms = 0;                         // from the answer of a start to its "connected"
  bool interface_follows = true;                 // false: sessions come up, but nobody sets the interface up
};

// --- Short messages ---

enum class MessageTag : uint8_t { read, not_read, sent, not_sent };

struct StoredMessage {
  MessageTag tag = MessageTag::not_read;
  uint8_t format = 6;  // 0 CDMA, 6 GSM/WCDMA point to point
  Bytes raw = {};      // service-centre address, then the TPDU
};

struct MessageRoute {
  uint8_t type = 0, message_class = 0, storage = 0, action = 0;
};

// The network keeps what it cannot deliver.
struct WaitingMessage {
  StoredMessage message;
  std::optional<uint32_t> store = {};  // where it is to go, whatever the routes say
};

struct Messages {
  std::array<std::map<uint32_t, StoredMessage>, 2> stores = {};  // 0 on the card, 1 in the modem
  std::array<uint32_t, 2> capacity = {20, 255};
  std::vector<MessageRoute> routes = {{0, 0, 1, 1}, {0, 1, 1, 1}, {0, 2, 0, 1}, {0, 3, 1, 1}, {0, 4, 1, 1}};
  std::deque<WaitingMessage> waiting = {};
  uint32_t transfers = 0;                         // messages handed over without being stored, so far
  uint16_t references = 0;                        // messages in parts, so far
  std::optional<uint32_t> last_delete_mode = {};  // the message mode that the last delete request named
};

struct State {
  Identity identity;
  OperatingMode mode = OperatingMode::online;
  bool hardware_restricted = false;
  std::array<Slot, 2> slots = {
      Slot{.card = plain_card({"Test", "8988211000000000012", "001010123456789"})},
      Slot{.card =
               euicc_card("89001012000000000000000000123437", {{"Travel", "89880010000001234563", "001010987654321"},
                                                               {"Work", "89880010000009876548", "001010555000111"}})},
  };
  size_t active_slot = 0;
  CardHabits card_habits;
  std::map<uint8_t, ApduFault> apdu_faults = {};  // by instruction
  Network network;
  Data data;
  Messages messages;
  bool refreshing = false;  // a configuration refresh has started and not completed

  Slot& slot() { return slots[active_slot]; }
  bool radio_on() const { return mode == OperatingMode::online; }
};

}  // namespace simulated
