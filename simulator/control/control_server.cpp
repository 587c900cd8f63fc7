#include "control/control_server.h"

#include <unistd.h>

#include <asio/read_until.hpp>
#include <deque>
#include <utility>

#include "control/outbox.h"

namespace simulated {
namespace {

using Socket = asio::local::stream_protocol::socket;

constexpr std::size_t kLongestRequest = 16 << 20;

class Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(Socket socket, Control& control)
      : outbox_(std::make_shared<Outbox<Socket>>(std::move(socket))), control_(control) {}

  // Reads on while a command runs: only so the end of a watcher is seen.
  void read() {
    auto self = shared_from_this();
    asio::async_read_until(outbox_->stream(), asio::dynamic_buffer(input_, kLongestRequest), '\n',
                           [this, self](asio::error_code failure, std::size_t length) {
                             if (failure) return finish();
                             requests_.push_back(input_.substr(0, length));
                             input_.erase(0, length);
                             start_next();
                             read();
                           });
  }

 private:
  void start_next() {
    if (const ReplyPtr running = reply_.lock(); running && !running->ended()) return;
    if (requests_.empty()) {
      if (input_ended_) outbox_->close_when_sent();
      return;
    }
    const std::string request = std::move(requests_.front());
    requests_.pop_front();
    const auto reply = std::make_shared<Reply>([this, self = shared_from_this()](const Json& line, bool last) {
      outbox_->send(line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n");
      if (last) asio::post(outbox_->stream().get_executor(), [self] { self->start_next(); });
    });
    reply_ = reply;
    const Json parsed = Json::parse(request, nullptr, false);
    if (!parsed.is_object() || !parsed.contains("argv") || !parsed["argv"].is_array())
      return reply->misused("a request is a line {\"argv\":[...]}");
    std::vector<std::string> arguments;
    for (const Json& argument : parsed["argv"]) {
      if (!argument.is_string()) return reply->misused("argv holds texts only");
      arguments.push_back(argument);
    }
    control_.run(std::move(arguments), reply);
  }

  // The other side has gone, or only has nothing more to ask: what runs may still answer, a stream ends.
  void finish() {
    input_ended_ = true;
    if (const ReplyPtr running = reply_.lock(); running && running->streaming()) running->abandon();
    start_next();
  }

  std::shared_ptr<Outbox<Socket>> outbox_;
  Control& control_;
  std::string input_;
  std::deque<std::string> requests_;
  std::weak_ptr<Reply> reply_;  // the command's own; it keeps this connection in turn
  bool input_ended_ = false;
};

}  // namespace

ControlServer::ControlServer(asio::io_context& events, Control& control, const std::string& path)
    : control_(control), acceptor_(events) {
  unlink(path.c_str());
  acceptor_.open();
  acceptor_.bind(path);
  acceptor_.listen();
  accept();
}

void ControlServer::accept() {
  acceptor_.async_accept([this](asio::error_code failure, Socket socket) {
    if (failure == asio::error::operation_aborted) return;
    if (!failure) std::make_shared<Connection>(std::move(socket), control_)->read();
    accept();
  });
}

}  // namespace simulated
