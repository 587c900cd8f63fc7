// A modem behind the proxy's socket, for tests that play its part line by line: it hands out client ids and answers as
// it is told, on a thread of its own.
#pragma once

#include <poll.h>
#include <stddef.h>
#include <string.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "providers/qmi/codec/frame.h"

using Bytes = std::vector<uint8_t>;

// "01 0a00 ff" and the like; blanks do not count.
inline Bytes hex(std::string_view text) {
  Bytes bytes;
  std::string digits;
  for (const char c : text)
    if (!isspace(static_cast<unsigned char>(c))) digits += c;
  for (size_t i = 0; i + 1 < digits.size(); i += 2)
    bytes.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  return bytes;
}

inline Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

inline const Bytes kSuccess = hex("02 0400 0000 0000");
inline Bytes failure(uint8_t error) { return hex("02 0400 0100") + Bytes{error, 0}; }

class FakeModem {
 public:
  struct Request {
    vek::qmi::FrameHeader header;
    Bytes tlvs;
  };
  // The answer's TLVs, or nothing: then it stays silent, or answers later with send().
  using Handler = std::function<std::optional<Bytes>(const Request&)>;

  FakeModem() : wake_(eventfd(0, EFD_CLOEXEC)) {
    start();
    thread_ = std::thread([this] { run(); });
  }
  ~FakeModem() {
    stopping_ = true;
    wake();
    thread_.join();
    stop();
    close(wake_);
  }

  void on(uint8_t service, uint16_t message, Handler handler) {
    const std::scoped_lock lock(mutex_);
    handlers_[{service, message}] = std::move(handler);
  }

  // The modem goes away: connections end, client ids are void, nobody listens.
  void stop() {
    const std::scoped_lock lock(mutex_);
    if (listener_ >= 0) close(listener_);
    listener_ = -1;
    drop_connections();
  }
  void start() {
    const std::scoped_lock lock(mutex_);
    listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path + 1, "qmi-proxy", 9);
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), offsetof(sockaddr_un, sun_path) + 10) != 0 ||
        listen(listener_, 8) != 0)
      throw std::runtime_error("qmi-proxy is taken");
    wake();
  }
  void restart() {
    const std::scoped_lock lock(mutex_);
    drop_connections();
    wake();
  }

  static Bytes frame(const vek::qmi::FrameHeader& header, const Bytes& tlvs) {
    Bytes bytes(vek::qmi::frame_header_size(header.service));
    vek::qmi::write_frame_header(bytes.data(), header, vek::qmi::Sender::modem, tlvs.size());
    return bytes + tlvs;
  }
  static Bytes response(const Request& request, const Bytes& tlvs) {
    vek::qmi::FrameHeader header = request.header;
    header.type = vek::qmi::MessageType::response;
    return frame(header, tlvs);
  }
  static Bytes indication(uint8_t service, uint8_t client_id, uint16_t message, const Bytes& tlvs) {
    return frame({service, client_id, vek::qmi::MessageType::indication, 0, message}, tlvs);
  }

  // To everybody who is connected.
  void send(const Bytes& bytes) {
    const std::scoped_lock lock(mutex_);
    for (const auto& [fd, input] : connections_) write_all(fd, bytes);
  }

  std::set<uint8_t> ids(uint8_t service) {
    const std::scoped_lock lock(mutex_);
    return ids_[service];
  }
  size_t opened() const { return opened_; }

 private:
  void wake() {
    const uint64_t one = 1;
    if (write(wake_, &one, sizeof one) < 0) return;
  }

  static void write_all(int fd, const Bytes& bytes) {
    size_t at = 0;
    while (at < bytes.size()) {
      const ssize_t sent = ::send(fd, bytes.data() + at, bytes.size() - at, MSG_NOSIGNAL);
      if (sent <= 0) return;
      at += static_cast<size_t>(sent);
    }
  }

  void drop_connections() {
    for (const auto& [fd, input] : connections_) close(fd);
    connections_.clear();
    ids_.clear();
  }

  void run() {
    while (!stopping_) {
      std::vector<pollfd> fds = {{wake_, POLLIN, 0}};
      {
        const std::scoped_lock lock(mutex_);
        if (listener_ >= 0) fds.push_back({listener_, POLLIN, 0});
        for (const auto& [fd, input] : connections_) fds.push_back({fd, POLLIN, 0});
      }
      poll(fds.data(), fds.size(), -1);
      uint64_t ignored;
      if (fds[0].revents != 0 && read(wake_, &ignored, sizeof ignored) < 0) continue;
      for (size_t i = 1; i < fds.size(); i++)
        if (fds[i].revents != 0) serve(fds[i].fd);
    }
  }

  void serve(int fd) {
    std::vector<Request> requests;
    {
      const std::scoped_lock lock(mutex_);
      if (fd == listener_) {
        connections_[accept4(fd, nullptr, nullptr, SOCK_CLOEXEC)];
        opened_++;
        return;
      }
      const auto connection = connections_.find(fd);
      if (connection == connections_.end()) return;
      uint8_t buffer[65536];
      const ssize_t got = recv(fd, buffer, sizeof buffer, MSG_DONTWAIT);
      if (got == 0) {
        close(fd);
        connections_.erase(connection);
        return;
      }
      Bytes& input = connection->second;
      if (got > 0) input.insert(input.end(), buffer, buffer + got);
      for (ptrdiff_t size; (size = vek::qmi::cut_frame(input)) > 0; input.erase(input.begin(), input.begin() + size)) {
        const auto parsed = vek::qmi::parse_frame({input.data(), static_cast<size_t>(size)});
        if (parsed) requests.push_back({parsed->header, Bytes(parsed->tlvs.begin(), parsed->tlvs.end())});
      }
    }
    for (const Request& request : requests)
      if (const std::optional<Bytes> tlvs = answer(request)) {
        const std::scoped_lock lock(mutex_);
        if (connections_.contains(fd)) write_all(fd, response(request, *tlvs));
      }
  }

  std::optional<Bytes> answer(const Request& request) {
    Handler handler;
    {
      const std::scoped_lock lock(mutex_);
      const auto found = handlers_.find({request.header.service, request.header.message_id});
      if (found != handlers_.end()) handler = found->second;
    }
    if (handler) return handler(request);
    const std::scoped_lock lock(mutex_);
    if (request.header.service != vek::qmi::kCtlService) return failure(71);
    switch (request.header.message_id) {
      case 0x22: {
        const uint8_t service = request.tlvs.at(3);
        uint8_t id = 1;
        while (ids_[service].contains(id)) id++;
        if (id > 10) return failure(5);
        ids_[service].insert(id);
        return kSuccess + Bytes{1, 2, 0, service, id};
      }
      case 0x23:
        ids_[request.tlvs.at(3)].erase(request.tlvs.at(4));
        return kSuccess + request.tlvs;
      default:
        return kSuccess;
    }
  }

  std::mutex mutex_;
  std::map<std::pair<uint8_t, uint16_t>, Handler> handlers_;
  std::map<int, Bytes> connections_;  // and what each has sent of its next frame
  std::map<uint8_t, std::set<uint8_t>> ids_;
  int listener_ = -1;
  int wake_;
  std::atomic<bool> stopping_ = false;
  std::atomic<size_t> opened_ = 0;
  std::thread thread_;
};

// Whether `condition` comes true within a few seconds.
inline bool eventually(const std::function<bool()>& condition,
                       std::chrono::milliseconds limit = std::chrono::seconds(8)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}
