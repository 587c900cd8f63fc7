#include "gnss_engine/sentences.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace simulated {
namespace {

using std::chrono::sys_time, std::chrono::milliseconds;

constexpr double kGeoidSeparation = 46.5;
constexpr double kHdop = 0.8;

struct Satellite {
  int id, elevation, azimuth, strength;
};

struct Sky {
  Constellation constellation;
  const char* talker;
  std::vector<Satellite> satellites;
};

// A sky that stands still. The last satellites of each are in view and not tracked.
const std::vector<Sky>& skies() {
  static const std::vector<Sky> all = {
      {Constellation::gps,
       "GP",
       {{5, 41, 70, 38},
        {13, 55, 240, 41},
        {15, 71, 300, 43},
        {18, 25, 102, 35},
        {20, 12, 45, 27},
        {29, 18, 310, 31},
        {30, 9, 150, 24},
        {23, 33, 200, 0}}},
      {Constellation::glonass,
       "GL",
       {{68, 45, 120, 37}, {69, 61, 210, 40}, {78, 22, 30, 30}, {79, 50, 330, 36}, {85, 14, 270, 28}, {86, 3, 180, 0}}},
      {Constellation::beidou,
       "BD",
       {{6, 38, 80, 33}, {9, 66, 190, 39}, {16, 44, 110, 36}, {21, 17, 40, 29}, {22, 29, 290, 34}, {36, 58, 230, 40}}},
      {Constellation::galileo, "GA", {{2, 47, 60, 36}, {7, 63, 160, 39}, {8, 31, 250, 33}, {30, 15, 320, 0}}},
  };
  return all;
}

std::vector<const Sky*> skies_of(const Observation& seen) {
  std::vector<const Sky*> result;
  for (const Sky& sky : skies())
    if (std::ranges::count(seen.constellations, sky.constellation) != 0) result.push_back(&sky);
  return result;
}

std::string time_of_day(sys_time<milliseconds> time) {
  const auto of_day = (time - std::chrono::floor<std::chrono::days>(time)).count();
  const auto seconds = of_day / 1000;
  return fmt::format("{:02}{:02}{:02}.{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60, of_day % 1000 / 10);
}

std::string date(sys_time<milliseconds> time) {
  const std::chrono::year_month_day day{std::chrono::floor<std::chrono::days>(time)};
  return fmt::format("{:02}{:02}{:02}", static_cast<unsigned>(day.day()), static_cast<unsigned>(day.month()),
                     static_cast<int>(day.year()) % 100);
}

// "4603.4149,N": degrees and minutes in one number. Rounded as a whole, so that 59.99999 minutes do not become 60.
std::string coordinate(double degrees, int width, const char* directions) {
  const auto units = std::llround(std::abs(degrees) * 60 * 10000);
  return fmt::format("{:0{}}{:02}.{:04},{}", units / 600000, width, units / 10000 % 60, units % 10000,
                     directions[degrees < 0]);
}

std::string position(const Place& place) {
  return coordinate(place.latitude, 2, "NS") + "," + coordinate(place.longitude, 3, "EW");
}

std::size_t tracked(const Sky& sky) {
  return static_cast<std::size_t>(
      std::ranges::count_if(sky.satellites, [](const Satellite& it) { return it.strength; }));
}

std::string used_satellites(const Sky& sky) {
  std::string ids;
  for (std::size_t i = 0; i < 12; i++) ids += i < tracked(sky) ? fmt::format(",{:02}", sky.satellites[i].id) : ",";
  return ids;
}

void add_in_view(std::vector<std::string>& lines, const Sky& sky, std::size_t in_view) {
  const std::size_t messages = std::max<std::size_t>(1, (in_view + 3) / 4);
  for (std::size_t message = 0; message < messages; message++) {
    std::string body = fmt::format("{}GSV,{},{},{:02}", sky.talker, messages, message + 1, in_view);
    for (std::size_t i = message * 4; i < std::min(in_view, message * 4 + 4); i++) {
      const Satellite& it = sky.satellites[i];
      body += fmt::format(",{:02},{:02},{:03},", it.id, it.elevation, it.azimuth);
      if (it.strength != 0) body += fmt::format("{:02}", it.strength);
    }
    lines.push_back(sentence(body));
  }
}

std::vector<std::string> before_time(const std::string& talker, const std::vector<const Sky*>& used) {
  std::vector<std::string> lines = {sentence(talker + "GGA,,,,,,0,,,,,,,,"), sentence(talker + "RMC,,V,,,,,,,,,,N"),
                                    sentence(talker + "GSA,A,1,,,,,,,,,,,,,,,")};
  for (const Sky* sky : used) add_in_view(lines, *sky, 0);
  lines.push_back(sentence(talker + "VTG,,T,,M,,N,,K,N"));
  return lines;
}

std::vector<std::string> before_fix(const std::string& talker, const std::vector<const Sky*>& used,
                                    const Observation& seen) {
  const std::string time = time_of_day(seen.time);
  std::vector<std::string> lines = {
      sentence(fmt::format("{}GGA,{},,,,,0,00,99.99,,,,,,", talker, time)),
      sentence(fmt::format("{}RMC,{},V,,,,,,,{},,,N", talker, time, date(seen.time))),
      sentence(talker + "GSA,A,1,,,,,,,,,,,,,99.99,99.99,99.99"),
  };
  for (const Sky* sky : used) add_in_view(lines, *sky, 2);
  lines.push_back(sentence(talker + "VTG,,,,,,,,,N"));
  return lines;
}

}  // namespace

std::string sentence(const std::string& body) {
  unsigned sum = 0;
  for (const char c : body) sum ^= static_cast<unsigned char>(c);
  return fmt::format("${}*{:02X}", body, sum);
}

std::vector<std::string> sentences(const Observation& seen) {
  const auto used = skies_of(seen);
  const std::string talker = used.size() == 1 ? used.front()->talker : "GN";
  if (seen.knowledge == Knowledge::nothing) return before_time(talker, used);
  if (seen.knowledge == Knowledge::time) return before_fix(talker, used, seen);

  std::size_t satellites = 0;
  for (const Sky* sky : used) satellites += tracked(*sky);
  const std::string time = time_of_day(seen.time), where = position(seen.place);
  std::vector<std::string> lines = {
      sentence(fmt::format("{}GGA,{},{},1,{:02},{:.1f},{:.1f},M,{:.1f},M,,", talker, time, where, satellites, kHdop,
                           seen.place.altitude, kGeoidSeparation)),
      sentence(fmt::format("{}RMC,{},A,{},{:.1f},{:.1f},{},3.9,E,A", talker, time, where, seen.speed_knots, seen.course,
                           date(seen.time))),
  };
  for (const Sky* sky : used)
    lines.push_back(sentence(fmt::format("{}GSA,A,3{},1.5,{:.1f},1.3", talker, used_satellites(*sky), kHdop)));
  for (const Sky* sky : used) add_in_view(lines, *sky, sky->satellites.size());
  lines.push_back(sentence(fmt::format("{}VTG,{:.1f},T,,M,{:.1f},N,{:.1f},K,A", talker, seen.course, seen.speed_knots,
                                       seen.speed_knots * 1.852)));
  return lines;
}

}  // namespace simulated
