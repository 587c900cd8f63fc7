#include "at_server/at_commands.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace simulated {
namespace {

std::string upper(std::string_view text) {
  std::string result{text};
  std::transform(result.begin(), result.end(), result.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return result;
}

bool is_letter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
bool is_digit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

AtForm form_of(std::string_view after_name) {
  if (after_name == "=?") return AtForm::test;
  if (after_name == "?") return AtForm::read;
  return after_name.empty() ? AtForm::execute : AtForm::set;
}

}  // namespace

void AtCommands::add(std::string name, Handler handler) {
  add_slow(std::move(name), [handler = std::move(handler)](AtRequest request) -> asio::awaitable<AtAnswer> {
    co_return handler(request);
  });
}

void AtCommands::add_slow(std::string name, SlowHandler handler) { handlers_[std::move(name)] = std::move(handler); }

asio::awaitable<AtAnswer> AtCommands::run(std::string line, AtSettings* settings) const {
  if (line.size() < 2 || upper(line.substr(0, 2)) != "AT") co_return AtAnswer::error();
  const std::string body = line.substr(2);
  if (body.empty()) co_return AtAnswer::ok();
  if (is_letter(body.front()) || body.front() == '&') co_return co_await run_basic(line, body, settings);

  const std::size_t name_length = std::min(body.find_first_of("=?"), body.size());
  const SlowHandler* handler = find(upper(body.substr(0, name_length)));
  if (handler == nullptr) co_return AtAnswer::error();
  const std::string rest = body.substr(name_length);
  // Named, here and below: g++ 12 destroys an aggregate that is a temporary of a co_await expression twice.
  AtRequest request{line, form_of(rest), rest.empty() ? rest : rest.substr(1), settings};
  co_return co_await (*handler)(std::move(request));
}

// Basic commands, of a letter and a number, may follow one another in one line: ATE0V1.
asio::awaitable<AtAnswer> AtCommands::run_basic(std::string line, std::string body, AtSettings* settings) const {
  AtAnswer all;
  for (std::size_t at = 0; at < body.size();) {
    const std::size_t name_length = body[at] == '&' ? 2 : 1;
    const SlowHandler* handler = find(upper(std::string_view{body}.substr(at, name_length)));
    if (handler == nullptr) co_return AtAnswer::error();
    std::string number;
    for (at += name_length; at < body.size() && is_digit(body[at]); ++at) number += body[at];
    AtRequest request{line, AtForm::execute, number, settings};
    AtAnswer answer = co_await (*handler)(std::move(request));
    std::move(answer.lines.begin(), answer.lines.end(), std::back_inserter(all.lines));
    all.result = answer.result;
    if (all.result != "OK") break;
  }
  co_return all;
}

const AtCommands::SlowHandler* AtCommands::find(std::string_view name) const {
  const auto found = handlers_.find(name);
  return found == handlers_.end() ? nullptr : &found->second;
}

}  // namespace simulated
