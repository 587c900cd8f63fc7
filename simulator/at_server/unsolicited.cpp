#include "at_server/unsolicited.h"

#include <unistd.h>

#include <algorithm>
#include <asio/co_spawn.hpp>
#include <asio/detached.hpp>
#include <asio/redirect_error.hpp>
#include <asio/use_awaitable.hpp>
#include <string>

namespace simulated {
namespace {

constexpr char kPath[] = "/data/vek_pal_fwa.sock";

}  // namespace

Unsolicited::Unsolicited(Module& module, AtServer& server) : server_(server), socket_(module.events) {
  unlink(kPath);
  socket_.open();
  socket_.bind(kPath);
  asio::co_spawn(module.events, collect(), asio::detached);
}

asio::awaitable<void> Unsolicited::collect() {
  std::string buffer(8192, '\0');
  for (;;) {
    asio::error_code failure;
    const std::size_t length =
        co_await socket_.async_receive(asio::buffer(buffer), asio::redirect_error(asio::use_awaitable, failure));
    if (failure == asio::error::operation_aborted) co_return;
    if (!failure && length > 0) server_.show(buffer.substr(0, length));
  }
}

}  // namespace simulated
