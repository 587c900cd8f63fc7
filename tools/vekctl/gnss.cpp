// vekctl gnss: a fix, and what the library reads in a receiver's log.
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <sys/msg.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>

#include "command.h"
#include "progress.h"
#include "sentence_json.h"
#include "vek_pal/at_client.h"
#include "vek_pal/gnss.h"

namespace vekctl {
namespace {

using std::chrono::steady_clock;

// No acquisition that reached the receiver ends before.
constexpr std::chrono::seconds kShortestAcquisition{4};

// Ctrl-C in the middle leaves the receiver as it was found: off, and no queue behind.
std::atomic<bool> g_acquiring = false;

void switch_off() {
  if (!g_acquiring) return;
  constexpr char kPowerOff[] = "AT+GTGPSPOWER=0\r\n";
  char response[256];
  uint32_t length = 0;
  vek_pal_at_send(kPowerOff, sizeof kPowerOff, response, sizeof response, &length);
  if (const int queue = msgget(0x1111, 0); queue >= 0) msgctl(queue, IPC_RMID, nullptr);
}

// The digits that a float holds of such a number, and none that it does not.
double rounded(float value, double per_unit) { return std::round(static_cast<double>(value) * per_unit) / per_unit; }

Json number(float value, double per_unit) { return std::isnan(value) ? Json(nullptr) : Json(rounded(value, per_unit)); }

const char* constellation(int type) {
  switch (type) {
    case VEK_PAL_GNSS_SAT_GPS:
      return "GPS";
    case VEK_PAL_GNSS_SAT_GLONASS:
      return "GLONASS";
    case VEK_PAL_GNSS_SAT_BEIDOU:
      return "BeiDou";
    case VEK_PAL_GNSS_SAT_SEVERAL:
      return "several";
    default:
      return "none";
  }
}

Json fix(Run& run, unsigned timeout) {
  vek_pal_gnss_location_t found{};
  std::atexit(switch_off);
  const auto start = steady_clock::now();
  g_acquiring = true;
  int result;
  {
    const Progress progress("waiting for a fix", timeout);
    result = vek_pal_gnss_info_acquire(timeout, &found);
  }
  g_acquiring = false;

  if (found.IsValid == 0) {
    if (steady_clock::now() - start < kShortestAcquisition)
      throw Failure("the module's AT server does not answer (127.0.0.1, port 40096)");
    throw Failure(fmt::format("no fix within {} s; satellites in view: {}", timeout, found.Satellite_num));
  }
  if (result != 0) run.complain("the fix came with the last poll, or the receiver could not be switched off");

  const double latitude = rounded(found.Latitude, 1e6), longitude = rounded(found.Longitude, 1e6);
  return {
      {"latitude", latitude},
      {"longitude", longitude},
      {"altitude", number(found.Altitude, 10)},
      {"hdop", number(found.Hdop, 100)},
      {"satellites", found.Satellite_num},
      {"constellation", constellation(found.SatType)},
      {"time", fmt::format("{:%FT%TZ}", fmt::gmtime(static_cast<time_t>(found.Timestamp)))},
      {"map", fmt::format("https://www.openstreetmap.org/?mlat={0:.6f}&mlon={1:.6f}#map=16/{0:.6f}/{1:.6f}", latitude,
                          longitude)},
  };
}

Json parse(const std::string& file) {
  std::ifstream log(file);
  std::istream& input = file == "-" ? std::cin : log;
  if (!input) throw Failure("cannot read " + file);
  Json sentences = Json::array();
  int read = 0;
  for (std::string line; std::getline(input, line);) {
    if (line.ends_with('\r')) line.pop_back();
    if (!line.starts_with('$')) continue;
    Json sentence = {{"sentence", line}};
    sentence.update(sentence_json(line));
    if (!sentence.contains("error")) read++;
    sentences.push_back(std::move(sentence));
  }
  const std::size_t found = sentences.size();
  return {{"sentences", std::move(sentences)}, {"found", found}, {"read", read}};
}

const Group kGroup{
    "gnss", [](CLI::App& top, Run& run) {
      CLI::App* gnss = top.add_subcommand("gnss", "Positions")->require_subcommand(1);

      static unsigned timeout = 60;
      CLI::App* fix_command = gnss->add_subcommand("fix", "Switches the receiver on until it knows where it is");
      fix_command
          ->add_option("--timeout", timeout, "Seconds; 2 or more, for the answer to the only poll is not looked at")
          ->capture_default_str()
          ->check(CLI::Range(2u, 86400u));
      run.command(fix_command, [&run] { return fix(run, timeout); });

      static std::string file;
      CLI::App* parse_command =
          gnss->add_subcommand("parse", "What the library reads in a receiver's log, sentence by sentence");
      parse_command->add_option("FILE", file, "Lines that start with $ count; - is standard input")->required();
      run.command(parse_command, [] { return parse(file); });
    }};

}  // namespace
}  // namespace vekctl
