#include "progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <utility>

namespace vekctl {
namespace {

constexpr unsigned kWidth = 30;

}  // namespace

Progress::Progress(std::string what, unsigned limit_seconds) {
  if (isatty(STDERR_FILENO) == 0) return;
  ticker_ = std::jthread([this, what = std::move(what), limit_seconds](const std::stop_token& stop) {
    std::mutex mutex;
    std::unique_lock lock(mutex);
    for (unsigned seconds = 0; !stop.stop_requested(); seconds++) {
      const unsigned done = std::min(seconds * kWidth / limit_seconds, kWidth);
      fmt::print(stderr, "\r{} [{:#<{}}{:.<{}}] {} s of {} s ", what, "", done, "", kWidth - done, seconds,
                 limit_seconds);
      tick_.wait_for(lock, stop, std::chrono::seconds(1), [] { return false; });
    }
    fmt::print(stderr, "\r\033[K");
  });
}

}  // namespace vekctl
