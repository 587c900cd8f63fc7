#include "network/web_server.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>

#include <asio/ip/v6_only.hpp>
#include <asio/read_until.hpp>
#include <asio/streambuf.hpp>
#include <asio/write.hpp>
#include <cerrno>
#include <charconv>
#include <memory>
#include <system_error>
#include <thread>

#include "common/base/unique_fd.h"

namespace simulated {
namespace {

constexpr size_t kRequestMax = 8192;
constexpr size_t kBytesMax = 64 << 20;

// A socket belongs for good to the namespace of the thread that made it; so a short-lived thread goes there.
int listen_in(const std::string& namespace_file) {
  int socket_there = -1;
  int failure = 0;
  std::thread([&] {
    const vek::UniqueFd there(open(namespace_file.c_str(), O_RDONLY | O_CLOEXEC));
    if (there && setns(there.get(), CLONE_NEWNET) == 0) socket_there = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    failure = errno;
  }).join();
  if (socket_there < 0) throw std::system_error(failure, std::generic_category(), namespace_file);
  return socket_there;
}

std::string response(std::string_view status, std::string_view body) {
  return fmt::format("HTTP/1.1 {}\r\nContent-Type: text/plain\r\nContent-Length: {}\r\nConnection: close\r\n\r\n{}",
                     status, body.size(), body);
}

std::string answer(const std::string& request, const asio::ip::tcp::endpoint& who) {
  const std::string_view line(request.data(), request.find("\r\n"));
  if (!line.starts_with("GET /")) return response("405 Method Not Allowed", "only GET\n");
  const std::string_view path = line.substr(4, line.find(' ', 4) - 4);
  if (path == "/") {
    const auto address = who.address().to_v6();
    const std::string from = address.is_v4_mapped()
                                 ? asio::ip::make_address_v4(asio::ip::v4_mapped, address).to_string()
                                 : address.to_string();
    return response("200 OK", fmt::format("This is the internet, and you are {}.\n", from));
  }
  constexpr std::string_view kBytes = "/bytes/";
  size_t count = 0;
  if (path.starts_with(kBytes)) {
    const char* const end = path.data() + path.size();
    const auto parsed = std::from_chars(path.data() + kBytes.size(), end, count);
    if (parsed.ec == std::errc() && parsed.ptr == end && count <= kBytesMax)
      return response("200 OK", std::string(count, 'x'));
  }
  return response("404 Not Found", "there is / and /bytes/N\n");
}

struct Visit {
  explicit Visit(asio::ip::tcp::socket connected) : socket(std::move(connected)) {}
  asio::ip::tcp::socket socket;
  std::string request, reply;
};

void serve(const std::shared_ptr<Visit>& visit) {
  asio::async_read_until(visit->socket, asio::dynamic_buffer(visit->request, kRequestMax), "\r\n\r\n",
                         [visit](asio::error_code failure, size_t) {
                           if (failure) return;
                           asio::error_code gone;
                           const auto who = visit->socket.remote_endpoint(gone);
                           if (gone) return;
                           visit->reply = answer(visit->request, who);
                           asio::async_write(visit->socket, asio::buffer(visit->reply),
                                             [visit](asio::error_code, size_t) {});
                         });
}

}  // namespace

WebServer::WebServer(asio::io_context& events, const std::string& namespace_file) : acceptor_(events) {
  acceptor_.assign(asio::ip::tcp::v6(), listen_in(namespace_file));
  acceptor_.set_option(asio::ip::v6_only(false));
  acceptor_.bind({asio::ip::tcp::v6(), 80});
  acceptor_.listen();
  accept();
}

void WebServer::accept() {
  acceptor_.async_accept([this](asio::error_code failure, asio::ip::tcp::socket socket) {
    if (!failure) serve(std::make_shared<Visit>(std::move(socket)));
    if (acceptor_.is_open()) accept();
  });
}

}  // namespace simulated
