#pragma once

#include <asio/any_io_executor.hpp>
#include <asio/awaitable.hpp>
#include <asio/redirect_error.hpp>
#include <asio/steady_timer.hpp>
#include <asio/use_awaitable.hpp>
#include <deque>
#include <utility>

namespace simulated {

// A mutex for coroutines of one event loop: who comes first goes first.
class Turn {
 public:
  explicit Turn(asio::any_io_executor executor) : executor_(std::move(executor)) {}

  class Holder {
   public:
    explicit Holder(Turn* turn) : turn_(turn) {}
    Holder(Holder&& other) noexcept : turn_(std::exchange(other.turn_, nullptr)) {}
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;
    ~Holder() {
      if (turn_ != nullptr) turn_->pass_on();
    }

   private:
    Turn* turn_;
  };

  asio::awaitable<Holder> take() {
    if (std::exchange(taken_, true)) {
      asio::steady_timer called{executor_, asio::steady_timer::time_point::max()};
      waiting_.push_back(&called);
      asio::error_code cancelled;  // the call
      co_await called.async_wait(asio::redirect_error(asio::use_awaitable, cancelled));
    }
    co_return Holder{this};
  }

 private:
  // The turn stays taken when it passes to the next in the queue.
  void pass_on() {
    if (waiting_.empty()) {
      taken_ = false;
      return;
    }
    waiting_.front()->cancel();
    waiting_.pop_front();
  }

  asio::any_io_executor executor_;
  std::deque<asio::steady_timer*> waiting_;
  bool taken_ = false;
};

}  // namespace simulated
