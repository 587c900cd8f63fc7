// Incoming short messages, made as a service centre makes them (3GPP TS 23.040).
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "modem/state.h"

namespace simulated {

enum class SmsAlphabet { automatic, septets, octets, ucs2 };

struct SmsText {
  std::string from = "+491512345678";  // digits with or without "+", or a name of at most 11 characters
  std::string service_centre = "+491710760000";
  std::string text;                               // UTF-8; bytes as they stand for SmsAlphabet::octets
  SmsAlphabet alphabet = SmsAlphabet::automatic;  // septets when every character is in the default alphabet, else UCS2
  int message_class = -1;                         // 0 to 3; -1 none
  std::time_t time = 0;                           // when the service centre took it
  int zone_quarters = 0;                          // quarters of an hour east of GMT
  std::uint16_t reference = 0;                    // of the parts, when there are several
  bool wide_reference = false;                    // 16 bits instead of 8
};

// Each message as a modem stores it: service-centre address and SMS-DELIVER. A text that is too long for one becomes
// parts, no character split between two. Throws std::invalid_argument for what no message can carry.
std::vector<Bytes> encode_deliver(const SmsText& message);

// The class of a GSM message as a modem stores it; -1 when it has none.
int message_class_of(const Bytes& raw);

}  // namespace simulated
