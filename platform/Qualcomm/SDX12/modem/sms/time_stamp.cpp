#include "modem/sms/time_stamp.h"

#include <charconv>
#include <iterator>

void vek::sms::render(const TimeStamp& time, char (&text)[32]) {
  const struct {
    int value;
    char after;
  } fields[] = {
      {time.year, '/'}, {time.month, '/'}, {time.day, ','}, {time.hour, ':'}, {time.minute, ':'}, {time.second, '\0'},
  };
  char* at = text;
  for (const auto& field : fields) {
    at = std::to_chars(at, std::end(text) - 1, field.value).ptr;
    *at++ = field.after;
  }
}
