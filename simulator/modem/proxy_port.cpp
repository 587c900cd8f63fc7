#include "modem/proxy_port.h"

#include <limits.h>
#include <stdlib.h>

#include <array>

#include <asio/buffer.hpp>

#include "control/outbox.h"
#include "providers/qmi/services/ctl.h"

namespace simulated {
namespace {

using Socket = asio::local::stream_protocol::socket;

bool exists(const std::string& path) {
  char resolved[PATH_MAX];
  return realpath(path.c_str(), resolved) != nullptr;
}

}  // namespace

class ProxyPort::Connection : public Link, public std::enable_shared_from_this<Connection> {
 public:
  Connection(Socket socket, Modem& modem, std::string name)
      : Link(std::move(name)), modem_(modem), outbox_(std::make_shared<Outbox<Socket>>(std::move(socket))) {}

  void read() {
    outbox_->stream().async_read_some(
        asio::buffer(chunk_), [this, self = shared_from_this()](const std::error_code& failure, size_t size) {
          if (failure) return close();
          cutter_.feed({chunk_.data(), size});
          bool garbage = false;
          for (std::optional<Bytes> frame; outbox_->stream().is_open() && !lost_ && (frame = cutter_.next(garbage));)
            take(*frame);
          if (garbage) {
            // Nothing tells where the next frame begins: this connection is never answered again, and its client
            // reconnects.
            lost_ = true;
            modem_.note_garbage(*this);
          }
          read();
        });
  }

  void close() {
    modem_.remove_link(*this);
    outbox_->close();
  }

  void send(const Bytes& frame) override { outbox_->send({frame.begin(), frame.end()}); }

 private:
  void take(const Bytes& bytes) {
    const auto frame = vek::qmi::parse_frame(bytes);
    if (!frame) return;
    if (frame->header.service != vek::qmi::kCtlService || frame->header.message_id != QMI_CTL_INTERNAL_PROXY_OPEN) {
      // Ignored until the connection has said which device it means.
      if (opened_) modem_.receive(*this, bytes);
      return;
    }
    modem_.trace.frame(Trace::Direction::to_modem, name(), bytes);
    const auto path = Tlvs(frame->tlvs).text(0x01);
    if (!path || !modem_.up() || !exists(*path)) return close();
    if (!opened_) modem_.add_link(*this);
    opened_ = true;
    vek::qmi::FrameHeader header = frame->header;
    header.type = vek::qmi::MessageType::response;
    TlvWriter success;
    success.tlv(0x02).u16(0).u16(0);
    const Bytes answer = frame_from_modem(header, success.bytes());
    modem_.trace.frame(Trace::Direction::from_modem, name(), answer);
    send(answer);
  }

  Modem& modem_;
  std::shared_ptr<Outbox<Socket>> outbox_;
  std::array<uint8_t, 4096> chunk_;
  FrameCutter cutter_;
  bool opened_ = false;
  bool lost_ = false;
};

void ProxyPort::listen() {
  if (acceptor_.is_open()) return;
  try {
    acceptor_.open();
    acceptor_.bind(std::string("\0qmi-proxy", 10));
    acceptor_.listen();
  } catch (const std::system_error&) {
    acceptor_.close();
    throw;
  }
  accept();
}

void ProxyPort::stop_listening() {
  acceptor_.close();
  close();
}

void ProxyPort::close() {
  for (const auto& weak : connections_) {
    if (const auto connection = weak.lock()) connection->close();
  }
  connections_.clear();
}

void ProxyPort::accept() {
  acceptor_.async_accept([this](const std::error_code& failure, Socket socket) {
    if (failure == asio::error::operation_aborted) return;
    if (!failure) {
      std::erase_if(connections_, [](const auto& weak) { return weak.expired(); });
      const auto connection =
          std::make_shared<Connection>(std::move(socket), modem_, "proxy " + std::to_string(++last_number_));
      connections_.push_back(connection);
      connection->read();
    }
    accept();
  });
}

}  // namespace simulated
