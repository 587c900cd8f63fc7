// What the library logs, for tests: this definition of the diagnostic channel wins over the linked provider's.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "vek_pal/log.h"

struct Record {
  std::string tag;
  std::string text;  // without "[function:line]-" and the trailing blank and newline
  unsigned mask;
  std::string whole;
};

class Records {
 public:
  std::vector<Record> all;

  bool has(const std::string& tag, const std::string& text) const {
    for (const Record& record : all)
      if (record.tag == tag && record.text == text) return true;
    return false;
  }
  // As has(), for texts with an address or a number in them: `part` stands somewhere in the text.
  bool has_part(const std::string& tag, const std::string& part) const {
    for (const Record& record : all)
      if (record.tag == tag && record.text.find(part) != std::string::npos) return true;
    return false;
  }
};

inline std::ostream& operator<<(std::ostream& out, const Records& records) {
  for (const Record& record : records.all) out << record.whole;
  return out;
}

// Every record that is written, by any thread, while `body` runs.
Records records_of(const std::function<void()>& body);
