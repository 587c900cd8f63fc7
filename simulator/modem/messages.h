// Short messages on their way into the modem and out of it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "modem/modem.h"

namespace simulated {

inline constexpr uint32_t kCardStore = 0, kModemStore = 1;  // as WMS counts
inline constexpr const char* kStoreNames[] = {"sim", "memory"};

enum class Arrival {
  stored,
  handed_over,  // by a route that transfers and does not store
  discarded,    // by a route that says so
  full,         // no room: the network keeps it until there is
  unreachable,  // not registered: likewise
};

struct Delivery {
  Arrival arrival;
  uint32_t store = kModemStore;
  uint32_t place = 0;  // of a stored one
};

// A message comes from the network. It goes where the route of its class leads, or to `store`.
Delivery deliver(Modem& modem, const StoredMessage& message, std::optional<uint32_t> store);

// What is deleted there, by place, by tag, or all; how many there were. Room lets waiting messages in.
size_t delete_messages(Modem& modem, uint32_t store, std::optional<uint32_t> place, std::optional<MessageTag> tag);

// To everybody who asked for event reports; how many they are.
unsigned tell_message_event(Modem& modem, uint16_t indication, const TlvWriter& tlvs);

// modulectl sms ...
void declare_messages(Modem& modem, CLI::App& top, const ReplyPtr& reply);

}  // namespace simulated
