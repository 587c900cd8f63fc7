#pragma once

#include <string>
#include <vector>

namespace simulated {

// A receiver's log, epoch by epoch. Lines that are no sentences are left out.
class LogReplay {
 public:
  // Throws when the file cannot be read or has no epoch in it.
  explicit LogReplay(const std::string& file);

  // The sentences of the next epoch; after the last one the first again.
  const std::vector<std::string>& next();

  std::size_t position() const { return next_; }
  std::size_t epochs() const { return epochs_.size(); }

 private:
  std::vector<std::vector<std::string>> epochs_;
  std::size_t next_ = 0;
};

}  // namespace simulated
