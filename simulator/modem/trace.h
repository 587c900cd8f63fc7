// A record of everything that passed between the modem and its clients, with names and values where the catalogue has
// them.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <span>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace simulated {

// Members in the order in which they were written.
using OrderedJson = nlohmann::ordered_json;

class Trace {
 public:
  enum class Direction { to_modem, from_modem, note };

  struct Entry {
    uint64_t number;  // from 1, never reused
    std::chrono::system_clock::time_point at;
    Direction direction;
    std::string link;
    std::vector<uint8_t> frame;
    std::string text;  // a note's
  };

  void frame(Direction direction, const std::string& link, std::span<const uint8_t> bytes);
  void note(const std::string& link, std::string text);
  void clear() { entries_.clear(); }

  const std::deque<Entry>& entries() const { return entries_; }
  // Called with each new entry, until the returned number is given to unfollow().
  uint64_t follow(std::function<void(const Entry&)> listener);
  void unfollow(uint64_t listener);

 private:
  void add(Entry entry);

  struct Listener {
    uint64_t number;
    std::function<void(const Entry&)> call;
  };
  std::deque<Entry> entries_;
  std::list<Listener> listeners_;
  uint64_t last_entry_ = 0;
  uint64_t last_listener_ = 0;
};

// An entry as data: {"number", "time", "direction", "link", "service", "client", "kind", "transaction", "message",
// "id", "tlvs": {name: value}, "hex"}; a note has "note" instead of what a frame has.
OrderedJson to_json(const Trace::Entry& entry);
// The same for people: a headline, then one line a TLV.
std::string to_text(const Trace::Entry& entry);

}  // namespace simulated
