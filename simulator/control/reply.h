#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace simulated {

using Json = nlohmann::json;

// What a command sends back to the one who asked: lines for people with data for programs, and an end.
class Reply {
 public:
  explicit Reply(std::function<void(const Json& line, bool last)> sink) : sink_(std::move(sink)) {}
  Reply(const Reply&) = delete;
  Reply& operator=(const Reply&) = delete;

  void done(std::string text = "", Json data = nullptr);  // the answer, or the last line of a stream
  void fail(std::string error);                           // the command was understood and did not work
  void misused(std::string error);                        // the arguments make no sense
  void more(std::string text, Json data = nullptr);       // one line of a stream; others follow

  // The command goes on after its callback has returned: it holds the reply and ends it later.
  void hold() { held_ = true; }
  bool held() const { return held_; }
  bool ended() const { return ended_; }
  bool streaming() const { return streaming_; }

  // Called once when the one who asked has gone before the end.
  void when_abandoned(std::function<void()> action) { abandoned_ = std::move(action); }
  void abandon();

  // Room for one argument of the command. It lives as long as the reply, as CLI11 wants it.
  template <typename T>
  T& argument(T initial = {}) {
    auto room = std::make_shared<T>(std::move(initial));
    arguments_.push_back(room);
    return *room;
  }

 private:
  void end(const Json& line);

  std::function<void(const Json&, bool)> sink_;
  std::function<void()> abandoned_;
  std::vector<std::shared_ptr<void>> arguments_;
  bool held_ = false;
  bool streaming_ = false;
  bool ended_ = false;
};

}  // namespace simulated
