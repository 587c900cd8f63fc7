#include "at_server/at_server.h"

#include <fmt/format.h>

#include <asio/co_spawn.hpp>
#include <asio/detached.hpp>
#include <asio/redirect_error.hpp>
#include <asio/steady_timer.hpp>
#include <asio/use_awaitable.hpp>
#include <chrono>
#include <utility>

namespace simulated {
namespace {

constexpr asio::ip::port_type kPort = 40096;
constexpr char kTerminal[] = "/dev/ttyAT0";
constexpr char kTopic[] = "at-server";
constexpr std::chrono::milliseconds kTerminalPoll{20};  // nothing tells when a client opens a terminal

}  // namespace

AtServer::AtServer(Module& module)
    : events_(module.events),
      watch_(module.watch),
      commands_(module.at_commands),
      port_(module.scenario["at_server"]["port"].value_or(kPort)) {
  declare_commands(module.control);
  module.control.add_status(kTopic, [this] {
    return Json{
        {"running", acceptor_ != nullptr}, {"port", port_}, {"terminal", kTerminal}, {"clients", sessions_.size()}};
  });
  start();
}

void AtServer::start() {
  if (acceptor_) return;
  using asio::ip::tcp;
  acceptor_ = std::make_shared<tcp::acceptor>(events_, tcp::endpoint{asio::ip::address_v4::loopback(), port_});
  terminal_ = std::make_shared<AtTerminal>(kTerminal);
  asio::co_spawn(events_, accept(acceptor_), asio::detached);
  asio::co_spawn(events_, serve_terminal(terminal_), asio::detached);
}

void AtServer::stop() {
  if (!acceptor_) return;
  asio::error_code ignored;
  acceptor_->close(ignored);
  acceptor_.reset();
  terminal_->remove();
  terminal_.reset();
  drop();
}

std::size_t AtServer::drop() {
  for (const auto& session : sessions_) session->close();
  return sessions_.size();
}

void AtServer::show(const std::string& line) {
  watch_.tell(kTopic, "unsolicited: " + line);
  for (const auto& session : sessions_) session->show(line);
}

asio::awaitable<void> AtServer::accept(std::shared_ptr<asio::ip::tcp::acceptor> acceptor) {
  while (acceptor->is_open()) {
    asio::error_code failure;
    asio::ip::tcp::socket socket = co_await acceptor->async_accept(asio::redirect_error(asio::use_awaitable, failure));
    if (failure) continue;
    socket.set_option(asio::ip::tcp::no_delay{true}, failure);
    // A program on TCP does not expect to read what it wrote; a person at a terminal does.
    asio::posix::stream_descriptor stream{events_, socket.release()};
    asio::co_spawn(events_,
                   serve(std::make_shared<AtSession>(std::move(stream), fmt::format("tcp#{}", ++clients_so_far_), false,
                                                     commands_, watch_)),
                   asio::detached);
  }
}

asio::awaitable<void> AtServer::serve_terminal(std::shared_ptr<AtTerminal> terminal) {
  asio::steady_timer pause{events_};
  while (terminal == terminal_) {
    if (terminal->has_client()) {
      co_await serve(
          std::make_shared<AtSession>(terminal->stream(events_.get_executor()), "ttyAT0", true, commands_, watch_));
      if (terminal == terminal_ && !terminal->has_client()) terminal->renew();
    }
    pause.expires_after(kTerminalPoll);
    co_await pause.async_wait(asio::use_awaitable);
  }
}

asio::awaitable<void> AtServer::serve(std::shared_ptr<AtSession> session) {
  sessions_.push_back(session);
  watch_.tell(kTopic, session->name() + " connected");
  co_await session->serve();
  watch_.tell(kTopic, session->name() + " gone");
  std::erase(sessions_, session);
}

void AtServer::declare_commands(Control& control) {
  control.add([this](CLI::App& top, const ReplyPtr& reply) {
    CLI::App& server = group(top, kTopic, "The AT server on port 40096 and /dev/ttyAT0");
    server.add_subcommand("stop", "Closes the port, the terminal and every connection")->callback([this, reply] {
      stop();
      reply->done("stopped");
    });
    server.add_subcommand("start", "Opens them again")->callback([this, reply] {
      start();
      reply->done("running");
    });
    server.add_subcommand("drop", "Closes every connection; clients may come back at once")->callback([this, reply] {
      const std::size_t count = drop();
      reply->done(fmt::format("{} connections closed", count), {{"closed", count}});
    });
    auto& text = reply->argument<std::string>();
    CLI::App* unsolicited = server.add_subcommand("unsolicited", "Shows a line on every connection");
    unsolicited->add_option("line", text)->required();
    unsolicited->callback([this, reply, &text] {
      show(text);
      reply->done();
    });
  });

  control.add([this](CLI::App& top, const ReplyPtr& reply) {
    auto& line = reply->argument<std::string>();
    CLI::App* at = top.add_subcommand("at", "Gives the AT server one command line and shows the answer");
    at->add_option("line", line, "e.g. AT+GTVYREN?")->required();
    at->callback([this, reply, &line] {
      reply->hold();
      auto& settings = reply->argument<AtSettings>();
      asio::co_spawn(events_, commands_.run(line, &settings),
                     [reply](std::exception_ptr failure, const AtAnswer& answer) {
                       if (failure) return reply->fail("the command failed");
                       std::string shown;
                       for (const std::string& text : answer.lines) shown += text + "\n";
                       reply->done(shown + answer.result, {{"lines", answer.lines}, {"result", answer.result}});
                     });
    });
  });
}

}  // namespace simulated
