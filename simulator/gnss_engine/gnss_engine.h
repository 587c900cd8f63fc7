#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "control/module.h"
#include "gnss_engine/journey.h"
#include "gnss_engine/log_replay.h"
#include "gnss_engine/sentences.h"

namespace simulated {

// The GNSS receiver: AT+GTGPSPOWER switches it, AT+GTGPS? asks it for one epoch. It stands somewhere, travels a route,
// or replays a log; and it can be made to fail.
class GnssEngine {
 public:
  enum class Fault { none, error, silent, garbled, no_fix };

  explicit GnssEngine(Module& module);

 private:
  void read_scenario(const toml::table& scenario);
  void add_at_commands();
  void add_control();

  void switch_power(bool on);
  AtAnswer poll();
  Observation observe(Fault fault) const;
  Fault take_fault();
  void stand_at(const Place& place);
  void set_out(std::vector<Place> points, double km_per_hour);
  Json status() const;

  Module& module_;
  bool on_ = false;
  int polls_ = 0;       // since power on
  int cold_start_ = 2;  // polls without a fix
  std::vector<Constellation> constellations_ = {Constellation::gps, Constellation::glonass};
  Place place_{46.056915, 14.505785, 298.0};
  std::optional<Journey> journey_;
  std::chrono::steady_clock::time_point departure_;
  std::optional<LogReplay> log_;
  std::string log_file_;
  Fault fault_ = Fault::none;
  int fault_polls_ = 0;  // how many are left; 0 is until further notice
};

}  // namespace simulated
