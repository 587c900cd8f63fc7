// The SIM's numbers, from the form in which they are stored or sent. What is no whole number is refused, and then the
// output keeps what it had.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>

namespace vek::sim {

constexpr size_t kImsiMax = 15;
constexpr size_t kIccidMax = 20;
constexpr size_t kEidDigits = 32;

// From the content of EF IMSI, into room for kImsiMax digits and a zero byte.
bool decode_imsi(std::span<const uint8_t> file, char* imsi);

// From the content of EF ICCID, into room for kIccidMax digits and a zero byte.
bool decode_iccid(std::span<const uint8_t> file, char* iccid);

// The kEidDigits digits in the line of an AT answer that begins with "+GTESIMID:"; nullptr when it has no such number.
const char* find_eid(const char* answer);

}  // namespace vek::sim
