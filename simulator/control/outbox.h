#pragma once

#include <asio/write.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace simulated {

// Writes whole messages to a stream, one after another, in the order in which they came. A reader that lets `kLimit`
// bytes pile up is cut off, so that nobody who stopped reading fills the memory.
template <typename Stream>
class Outbox : public std::enable_shared_from_this<Outbox<Stream>> {
 public:
  explicit Outbox(Stream stream) : stream_(std::move(stream)) {}

  Stream& stream() { return stream_; }

  void send(std::string message) {
    if (!stream_.is_open()) return;
    waiting_bytes_ += message.size();
    if (waiting_bytes_ > kLimit) return close();
    waiting_.push_back(std::move(message));
    if (waiting_.size() == 1) write_next();
  }

  // What is waiting still goes out first.
  void close_when_sent() {
    closing_ = true;
    if (waiting_.empty()) close();
  }

  void close() {
    asio::error_code ignored;
    stream_.close(ignored);
  }

 private:
  static constexpr std::size_t kLimit = 4 << 20;

  void write_next() {
    auto self = this->shared_from_this();
    asio::async_write(stream_, asio::buffer(waiting_.front()), [this, self](asio::error_code failure, std::size_t) {
      waiting_bytes_ -= waiting_.front().size();
      waiting_.pop_front();
      if (failure) waiting_.clear(), waiting_bytes_ = 0;
      if (!waiting_.empty()) return write_next();
      if (closing_) close();
    });
  }

  Stream stream_;
  std::deque<std::string> waiting_;
  std::size_t waiting_bytes_ = 0;
  bool closing_ = false;
};

}  // namespace simulated
