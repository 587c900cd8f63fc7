#pragma once

#include <asio/awaitable.hpp>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace simulated {

enum class AtForm { execute, set, read, test };  // AT+X  AT+X=...  AT+X?  AT+X=?

// What one client has chosen for its own connection.
struct AtSettings {
  bool echo = true;
};

struct AtRequest {
  std::string line;  // as it came, without its end
  AtForm form;
  std::string arguments;  // what follows "="; the number of a basic command (the 0 of ATE0)
  AtSettings* settings;
};

// Information lines, then the final result.
struct AtAnswer {
  std::vector<std::string> lines = {};
  std::string result = "OK";

  static AtAnswer ok(std::vector<std::string> lines = {}) { return {std::move(lines), "OK"}; }
  static AtAnswer error() { return {{}, "ERROR"}; }
  static AtAnswer cme_error(int code) { return {{}, "+CME ERROR: " + std::to_string(code)}; }  // 3GPP TS 27.007, 9.2
};

// The commands that the server knows, by name: "+CSQ" for an extended command, "E" or "&F" for a basic one. Subsystems
// add theirs.
class AtCommands {
 public:
  using Handler = std::function<AtAnswer(const AtRequest&)>;
  using SlowHandler = std::function<asio::awaitable<AtAnswer>(AtRequest)>;

  void add(std::string name, Handler handler);
  void add_slow(std::string name, SlowHandler handler);  // may wait; only the asking client waits with it

  // Answers one command line. Names count without case; what is no command at all is an error.
  asio::awaitable<AtAnswer> run(std::string line, AtSettings* settings) const;

 private:
  asio::awaitable<AtAnswer> run_basic(std::string line, std::string body, AtSettings* settings) const;
  const SlowHandler* find(std::string_view name) const;

  std::map<std::string, SlowHandler, std::less<>> handlers_;
};

}  // namespace simulated
