#pragma once

namespace vek::sms {

// In the order in which both kinds of message carry them.
struct TimeStamp {
  int year, month, day, hour, minute, second;
};

// "%d/%d/%d,%d:%d:%d", zero-terminated. Any two-digit fields fit, those that are no time included.
void render(const TimeStamp& time, char (&text)[32]);

}  // namespace vek::sms
