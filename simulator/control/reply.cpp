#include "control/reply.h"

#include <utility>

namespace simulated {

void Reply::done(std::string text, Json data) {
  end({{"ok", true}, {"text", std::move(text)}, {"data", std::move(data)}});
}

void Reply::fail(std::string error) { end({{"ok", false}, {"error", std::move(error)}}); }

void Reply::misused(std::string error) { end({{"ok", false}, {"error", std::move(error)}, {"usage", true}}); }

void Reply::more(std::string text, Json data) {
  held_ = streaming_ = true;
  if (!ended_) sink_({{"ok", true}, {"text", std::move(text)}, {"data", std::move(data)}, {"more", true}}, false);
}

void Reply::abandon() {
  if (std::exchange(ended_, true)) return;
  sink_ = nullptr;
  if (abandoned_) abandoned_();
}

void Reply::end(const Json& line) {
  if (std::exchange(ended_, true)) return;
  const auto sink = std::move(sink_);  // what it keeps alive goes with the end
  sink(line, true);
}

}  // namespace simulated
