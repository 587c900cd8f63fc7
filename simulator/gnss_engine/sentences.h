#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace simulated {

struct Place {
  double latitude = 0;  // degrees, south negative
  double longitude = 0;
  double altitude = 0;  // metres above mean sea level
};

enum class Constellation { gps, glonass, beidou, galileo };

// What a receiver knows, step by step from a cold start.
enum class Knowledge { nothing, time, fix };

// What one epoch reports.
struct Observation {
  std::chrono::sys_time<std::chrono::milliseconds> time;
  Knowledge knowledge = Knowledge::fix;
  std::vector<Constellation> constellations;
  Place place;
  double speed_knots = 0;
  double course = 0;
};

// "$", the body, "*" and its checksum.
std::string sentence(const std::string& body);

// The sentences of one epoch, GGA and RMC first (NMEA 0183).
std::vector<std::string> sentences(const Observation& observation);

}  // namespace simulated
