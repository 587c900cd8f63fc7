#include "gnss_engine/journey.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <utility>

namespace simulated {
namespace {

constexpr double kEarthRadius = 6371008.8;  // mean, metres
constexpr double kRadians = std::numbers::pi / 180;

// Haversine formula.
double metres_between(const Place& from, const Place& to) {
  const double north = std::sin((to.latitude - from.latitude) * kRadians / 2);
  const double east = std::sin((to.longitude - from.longitude) * kRadians / 2);
  const double chord =
      north * north + std::cos(from.latitude * kRadians) * std::cos(to.latitude * kRadians) * east * east;
  return 2 * kEarthRadius * std::asin(std::min(1.0, std::sqrt(chord)));
}

double course_between(const Place& from, const Place& to) {
  const double a = from.latitude * kRadians, b = to.latitude * kRadians;
  const double turn = (to.longitude - from.longitude) * kRadians;
  const double course =
      std::atan2(std::sin(turn) * std::cos(b), std::cos(a) * std::sin(b) - std::sin(a) * std::cos(b) * std::cos(turn));
  return std::fmod(course / kRadians + 360, 360);
}

Place ahead(const Place& from, double course, double metres) {
  const double a = from.latitude * kRadians, angle = metres / kEarthRadius, heading = course * kRadians;
  const double latitude = std::asin(std::sin(a) * std::cos(angle) + std::cos(a) * std::sin(angle) * std::cos(heading));
  const double turn =
      std::atan2(std::sin(heading) * std::sin(angle) * std::cos(a), std::cos(angle) - std::sin(a) * std::sin(latitude));
  const double longitude = std::remainder(from.longitude + turn / kRadians, 360);
  return {latitude / kRadians, longitude, from.altitude};
}

}  // namespace

Journey::Journey(std::vector<Place> points, double metres_per_second)
    : points_(std::move(points)), speed_(metres_per_second) {
  if (points_.size() < 2) throw std::invalid_argument("a journey needs two points or more");
  for (std::size_t i = 1; i < points_.size(); i++) {
    legs_.push_back(metres_between(points_[i - 1], points_[i]));
    metres_ += legs_.back();
  }
}

Movement Journey::after(double seconds) const {
  double left = std::max(0.0, seconds) * speed_;
  for (std::size_t i = 0; i < legs_.size(); i++) {
    if (left > legs_[i] || legs_[i] == 0) {
      left -= legs_[i];
      continue;
    }
    const double course = course_between(points_[i], points_[i + 1]);
    Place place = ahead(points_[i], course, left);
    place.altitude += (points_[i + 1].altitude - points_[i].altitude) * left / legs_[i];
    return {place, course, false};
  }
  return {points_.back(), course_between(points_[points_.size() - 2], points_.back()), true};
}

}  // namespace simulated
