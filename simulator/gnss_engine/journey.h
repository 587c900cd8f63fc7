#pragma once

#include <vector>

#include "gnss_engine/sentences.h"

namespace simulated {

struct Movement {
  Place place;
  double course = 0;     // degrees
  bool arrived = false;  // at the last point
};

// A way along great circles through two or more points, at one speed. Altitude changes evenly between points.
class Journey {
 public:
  Journey(std::vector<Place> points, double metres_per_second);

  Movement after(double seconds) const;
  double metres() const { return metres_; }
  double metres_per_second() const { return speed_; }

 private:
  std::vector<Place> points_;
  std::vector<double> legs_;  // metres
  double metres_ = 0;
  double speed_;
};

}  // namespace simulated
