#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "control/module.h"
#include "modem/modem.h"
#include "network/web_server.h"

namespace simulated {

// The network behind the modem, with the kernel's own means: a network namespace "operator" with a name server and a
// small internet, and a pair of interfaces that ends in the module as rmnet_data0. Like the module's own interface it
// knows no neighbours: what is sent into it arrives at the other end, whatever its destination.
class OperatorNetwork : public Carrier {
 public:
  explicit OperatorNetwork(Module& module);
  ~OperatorNetwork() override;
  void up(const Session& session) override;
  void down(const Session& session) override;

 private:
  void attempt(const std::function<void()>& work);
  void set_up(const Session& session);
  void take_down(const Session& session);
  void serve_names();

  Module& module_;
  std::unique_ptr<WebServer> web_;
  std::vector<uint32_t> up_;  // handles of the sessions that use the interface
  bool names_served_ = false;
};

}  // namespace simulated
