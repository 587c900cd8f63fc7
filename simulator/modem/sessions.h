// The modem's data sessions.
#pragma once

#include "modem/modem.h"

namespace simulated {

// Why a session ended, as indications say it: the general reason and the detailed one with its kind.
struct EndReason {
  uint16_t reason;
  uint16_t verbose_type;
  int16_t verbose_reason;
};

inline constexpr EndReason kAskedFor = {2, 3, 2000};    // the client wanted it
inline constexpr EndReason kServiceLost = {3, 6, 36};   // no network any more
inline constexpr EndReason kNetworkEnded = {5, 6, 36};  // the network ended it in good order

// Ends every session that `which` picks: its interface goes, and its client is told. Returns how many they were.
unsigned end_sessions(Modem& modem, const EndReason& reason, const std::function<bool(const Session&)>& which);

// Handlers of the WDS messages that are about sessions.
void start_network_interface(Modem& modem, const Request& request, Response& response);
void stop_network_interface(Modem& modem, const Request& request, Response& response);
void get_packet_service_status(Modem& modem, const Request& request, Response& response);
void get_runtime_settings(Modem& modem, const Request& request, Response& response);

}  // namespace simulated
