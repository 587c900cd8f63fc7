#pragma once

#include <string>
#include <vector>

#include "control/control.h"

namespace simulated {

// What happens in the module, as it happens: a line on standard output, and a line for everybody who runs `modulectl
// watch`.
class Watch {
 public:
  explicit Watch(Control& control);

  // `topic` is the subsystem's name, `text` says what happened; `data` is the same for programs.
  void tell(const std::string& topic, const std::string& text, Json data = nullptr);

 private:
  struct Watcher {
    ReplyPtr reply;
    std::vector<std::string> topics;  // none: all
  };
  std::vector<Watcher> watchers_;
};

}  // namespace simulated
