#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <string>

namespace simulated {

// Something to fetch on the simulated internet: port 80 in the network namespace that `namespace_file` stands for.
// "/" says who asks, "/bytes/N" are N bytes.
class WebServer {
 public:
  WebServer(asio::io_context& events, const std::string& namespace_file);

 private:
  void accept();

  asio::ip::tcp::acceptor acceptor_;
};

}  // namespace simulated
