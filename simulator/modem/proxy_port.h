// The abstract socket "qmi-proxy", served by the modem itself: several clients at once, as the proxy of libqmi has
// them. A box that is to run the real proxy switches this one off.
#pragma once

#include <list>
#include <memory>

#include <asio/local/stream_protocol.hpp>

#include "modem/modem.h"

namespace simulated {

class ProxyPort : public Port {
 public:
  ProxyPort(asio::io_context& events, Modem& modem) : modem_(modem), acceptor_(events) {}
  ~ProxyPort() override { close(); }

  // The socket listens whether the modem is up or not, as a proxy does; without a modem there is no device to open.
  void listen();
  void stop_listening();
  bool listening() const { return acceptor_.is_open(); }

  void open() override {}
  void close() override;

 private:
  class Connection;
  void accept();

  Modem& modem_;
  asio::local::stream_protocol::acceptor acceptor_;
  std::list<std::weak_ptr<Connection>> connections_;
  unsigned last_number_ = 0;
};

}  // namespace simulated
