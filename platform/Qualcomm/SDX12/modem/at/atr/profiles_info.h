// The eUICC's list of profiles, as text in an AT answer.
#pragma once

#include <stddef.h>

namespace vek::at {

constexpr size_t kIccidDigits = 20;

// The digits of the first profile that is enabled, as they are stored: two and two the wrong way round. False when
// there is none; `iccid` then keeps what it had.
bool find_enabled(const char* answer, char (&iccid)[kIccidDigits + 1]);

}  // namespace vek::at
