#include "gnss_engine/log_replay.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <stdexcept>
#include <string_view>

namespace simulated {
namespace {

// "GGA" of "$GPGGA,..."; empty for sentences of another form.
std::string_view type_of(std::string_view sentence) {
  return sentence.size() >= 7 && sentence[6] == ',' ? sentence.substr(3, 3) : std::string_view{};
}

// The time that a sentence is of; empty when its type has none.
std::string_view time_of(std::string_view sentence) {
  const std::string_view type = type_of(sentence);
  int field = type == "GLL"                                                                       ? 5
              : type == "GGA" || type == "RMC" || type == "ZDA" || type == "GBS" || type == "GST" ? 1
                                                                                                  : 0;
  if (field == 0) return {};
  for (; field > 0; field--) {
    const std::size_t comma = sentence.find(',');
    if (comma == std::string_view::npos) return {};
    sentence.remove_prefix(comma + 1);
  }
  return sentence.substr(0, sentence.find_first_of(",*"));
}

}  // namespace

LogReplay::LogReplay(const std::string& file) {
  std::ifstream log{file};
  if (!log) throw std::runtime_error("cannot read " + file);
  std::string time;
  std::set<std::string> seen;  // GGA and RMC come once an epoch, also while a receiver has no time
  for (std::string line; std::getline(log, line);) {
    if (line.ends_with('\r')) line.pop_back();
    if (!line.starts_with('$')) continue;
    const std::string now{time_of(line)}, type{type_of(line)};
    const bool again = (type == "GGA" || type == "RMC") && seen.contains(type);
    if (epochs_.empty() || again || (!now.empty() && !time.empty() && now != time)) {
      epochs_.emplace_back();
      seen.clear();
      time.clear();
    }
    if (!now.empty()) time = now;
    seen.insert(type);
    epochs_.back().push_back(line);
  }
  if (epochs_.empty()) throw std::runtime_error("no sentences in " + file);
}

const std::vector<std::string>& LogReplay::next() {
  const auto& epoch = epochs_[next_];
  next_ = (next_ + 1) % epochs_.size();
  return epoch;
}

}  // namespace simulated
