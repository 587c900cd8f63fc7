// The SIM's side of a modem, for tests that play it: what it answers and reports, as bytes on the wire.
#pragma once

#include <string>
#include <vector>

#include "fake_modem.h"

constexpr uint8_t kUim = 0x0B;
inline const std::string kIccid = "98101032547698103254";

// A modem for the process: the library's clients are never closed.
inline FakeModem& modem() {
  static FakeModem modem;
  return modem;
}

inline Bytes tlv(uint8_t id, const Bytes& value) {
  return Bytes{id, static_cast<uint8_t>(value.size()), static_cast<uint8_t>(value.size() >> 8)} + value;
}

inline Bytes counted(const Bytes& bytes) { return Bytes{static_cast<uint8_t>(bytes.size())} + bytes; }

struct SlotView {
  uint8_t card = 2;  // 0 unknown, 1 absent, 2 present
  bool active = false;
  std::string iccid = {};
  uint8_t apps = 0;
  bool euicc = false;
  std::string atr = "3B";
};

inline Bytes slots(const std::vector<SlotView>& views) {
  const auto count = static_cast<uint8_t>(views.size());
  Bytes status = {count}, information = {count}, eids = {count};
  for (const SlotView& view : views) {
    const uint8_t active = view.active ? 1 : 0;
    status = status + Bytes{view.card, 0, 0, 0, active, 0, 0, 0, active} + counted(hex(view.iccid));
    information = information + Bytes{2, 0, 0, 0, view.apps} + counted(hex(view.atr)) + Bytes{view.euicc};
    eids = eids + counted(view.euicc ? Bytes(16, 0x89) : Bytes{});
  }
  return tlv(0x10, status) + tlv(0x11, information) + tlv(0x12, eids);
}

inline const SlotView kSim = {.active = true, .iccid = kIccid, .apps = 1};
inline const SlotView kIdleSim = {.iccid = kIccid, .apps = 1};
inline const SlotView kEmpty = {.card = 1, .active = true, .atr = ""};
inline const SlotView kIdleEmpty = {.card = 1, .atr = ""};
inline const SlotView kEsim = {.active = true, .iccid = kIccid, .apps = 1, .euicc = true};
inline const SlotView kIdleEsim = {.iccid = kIccid, .apps = 1, .euicc = true};
inline const SlotView kBareEsim = {.active = true, .euicc = true};
inline const SlotView kIdleBareEsim = {.euicc = true};

struct AppView {
  uint8_t type = 2, state = 7;
};

inline Bytes card(uint8_t state, const std::vector<AppView>& apps) {
  Bytes bytes =
      hex("0000 ffff ffff ffff 01") + Bytes{state} + hex("00 00 00 00") + Bytes{static_cast<uint8_t>(apps.size())};
  for (const AppView& app : apps)
    bytes = bytes + Bytes{app.type, app.state} + hex("02 0b 00 00 07 a0000000871002 00 01 03 0a 01 03 0a");
  return tlv(0x10, bytes);
}

inline void answer(uint16_t message, const Bytes& tlvs) {
  modem().on(kUim, message, [=](const auto&) { return tlvs; });
}
inline void answer_slots(const std::vector<SlotView>& views) { answer(0x47, kSuccess + slots(views)); }
inline void answer_card(uint8_t state, const std::vector<AppView>& apps) { answer(0x2F, kSuccess + card(state, apps)); }

inline void report(uint16_t message, const Bytes& tlvs) {
  modem().send(FakeModem::indication(kUim, *modem().ids(kUim).begin(), message, tlvs));
}
inline void report_slots(const std::vector<SlotView>& views) { report(0x48, slots(views)); }
inline void report_card(uint8_t state, const std::vector<AppView>& apps) { report(0x32, card(state, apps)); }
