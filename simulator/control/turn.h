#pragma once

#include <asio/any_io_executor.hpp>
#include <asio/awaitable.hpp>
#include <asio/redirect_error.hpp>
#include <asio/steady_timer.hpp>
#include <asio/use_awaitable.hpp>
#include <deque>
#include <memory>
#include <utility>

namespace simulated {

// A mutex for coroutines of one event loop: who comes first goes first. A coroutine that waits or holds the turn may be
// destroyed, and may outlive the Turn, as both happen when the loop ends.
class Turn {
  struct Queue {
    std::deque<std::weak_ptr<asio::steady_timer>> waiting;
    bool taken = false;

    // The turn stays taken when it passes to the next.
    void pass_on() {
      for (; !waiting.empty(); waiting.pop_front()) {
        if (const auto next = waiting.front().lock()) {
          waiting.pop_front();
          next->cancel();
          return;
        }
      }
      taken = false;
    }
  };

 public:
  explicit Turn(asio::any_io_executor executor) : executor_(std::move(executor)) {}

  class Holder {
   public:
    explicit Holder(std::shared_ptr<Queue> queue) : queue_(std::move(queue)) {}
    Holder(Holder&&) = default;
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;
    ~Holder() {
      if (queue_) queue_->pass_on();
    }

   private:
    std::shared_ptr<Queue> queue_;
  };

  asio::awaitable<Holder> take() {
    const std::shared_ptr<Queue> queue = queue_;
    if (std::exchange(queue->taken, true)) {
      const auto called = std::make_shared<asio::steady_timer>(executor_, asio::steady_timer::time_point::max());
      queue->waiting.push_back(called);
      asio::error_code cancelled;  // the call
      co_await called->async_wait(asio::redirect_error(asio::use_awaitable, cancelled));
    }
    co_return Holder{queue};
  }

 private:
  asio::any_io_executor executor_;
  std::shared_ptr<Queue> queue_ = std::make_shared<Queue>();
};

}  // namespace simulated
