#include "gnss_engine/gnss_engine.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace simulated {
namespace {

// More would not pass the clients' 2,048 bytes.
constexpr std::size_t kAnswerMax = 2000;
constexpr double kMetresPerSecondPerKnot = 1852.0 / 3600;

const std::map<std::string, Constellation> kConstellations = {{"gps", Constellation::gps},
                                                              {"glonass", Constellation::glonass},
                                                              {"beidou", Constellation::beidou},
                                                              {"galileo", Constellation::galileo}};

const std::map<std::string, GnssEngine::Fault> kFaults = {{"none", GnssEngine::Fault::none},
                                                          {"error", GnssEngine::Fault::error},
                                                          {"silent", GnssEngine::Fault::silent},
                                                          {"garbled", GnssEngine::Fault::garbled},
                                                          {"no-fix", GnssEngine::Fault::no_fix}};

// "46.0569,14.5058" or "46.0569,14.5058,298", as maps write it.
Place place_of(const std::string& text) {
  std::vector<double> numbers;
  std::istringstream parts{text};
  bool understood = true;
  for (std::string part; std::getline(parts, part, ',');) {
    char* end = nullptr;
    numbers.push_back(std::strtod(part.c_str(), &end));
    understood = understood && !part.empty() && *end == '\0' && std::isfinite(numbers.back());
  }
  if (!understood || numbers.size() < 2 || numbers.size() > 3 ||
      !(std::abs(numbers[0]) <= 90 && std::abs(numbers[1]) <= 180))
    throw std::invalid_argument("no such place (LAT,LON or LAT,LON,ALTITUDE in degrees and metres): " + text);
  numbers.resize(3);
  return {numbers[0], numbers[1], numbers[2]};
}

std::vector<Constellation> constellations_of(const std::vector<std::string>& names) {
  std::vector<Constellation> result;
  for (const std::string& name : names) {
    const auto found = kConstellations.find(name);
    if (found == kConstellations.end()) throw std::invalid_argument("no such constellation: " + name);
    result.push_back(found->second);
  }
  return result;
}

// A client takes an OK anywhere in the text for the end of the answer.
bool looks_like_a_result(const std::string& sentence) {
  return sentence.find("OK") != std::string::npos || sentence.find("ERROR") != std::string::npos;
}

std::string garbled(std::string sentence) {
  sentence[sentence.size() / 2] ^= 1;
  return sentence;
}

}  // namespace

GnssEngine::GnssEngine(Module& module) : module_(module) {
  if (const toml::table* scenario = module.scenario["gnss"].as_table()) read_scenario(*scenario);
  add_at_commands();
  add_control();
}

void GnssEngine::read_scenario(const toml::table& scenario) {
  cold_start_ = scenario["cold_start"].value_or(cold_start_);
  if (const auto place = scenario["place"].value<std::string>()) place_ = place_of(*place);
  if (const auto file = scenario["play"].value<std::string>()) log_.emplace(log_file_ = *file);
  if (const toml::array* names = scenario["constellations"].as_array()) {
    std::vector<std::string> texts;
    for (const auto& name : *names) texts.push_back(name.value_or(std::string{}));
    constellations_ = constellations_of(texts);
  }
}

void GnssEngine::add_at_commands() {
  module_.at_commands.add("+GTGPSPOWER", [this](const AtRequest& request) {
    if (request.form == AtForm::test) return AtAnswer::ok({"+GTGPSPOWER: (0,1)"});
    if (request.form == AtForm::read) return AtAnswer::ok({fmt::format("+GTGPSPOWER: {}", on_ ? 1 : 0)});
    if (request.arguments != "0" && request.arguments != "1") return AtAnswer::error();
    switch_power(request.arguments == "1");
    return AtAnswer::ok();
  });
  module_.at_commands.add("+GTGPS", [this](const AtRequest& request) {
    if (request.form == AtForm::test) return AtAnswer::ok();
    return request.form == AtForm::read ? poll() : AtAnswer::error();
  });
}

void GnssEngine::switch_power(bool on) {
  if (on == on_) return;
  on_ = on;
  polls_ = 0;
  module_.watch.tell("gnss", on ? "receiver on" : "receiver off");
}

AtAnswer GnssEngine::poll() {
  if (!on_) return AtAnswer::error();
  const Fault fault = take_fault();
  polls_++;
  if (fault == Fault::error) return AtAnswer::error();
  if (fault == Fault::silent) return AtAnswer::ok();

  std::string text = "+GTGPS:";
  for (const std::string& line : log_ ? log_->next() : sentences(observe(fault))) {
    if (looks_like_a_result(line) || text.size() + line.size() > kAnswerMax) continue;
    text += "\r\n" + (fault == Fault::garbled ? garbled(line) : line);
  }
  return AtAnswer::ok({text});
}

Observation GnssEngine::observe(Fault fault) const {
  Observation seen;
  seen.time = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  seen.constellations = constellations_;
  // A cold receiver first knows nothing, then the time.
  if (polls_ <= cold_start_)
    seen.knowledge = polls_ == 1 ? Knowledge::nothing : Knowledge::time;
  else if (fault == Fault::no_fix)
    seen.knowledge = Knowledge::time;
  seen.place = place_;
  if (journey_) {
    const std::chrono::duration<double> under_way = std::chrono::steady_clock::now() - departure_;
    const Movement movement = journey_->after(under_way.count());
    seen.place = movement.place;
    seen.course = movement.course;
    if (!movement.arrived) seen.speed_knots = journey_->metres_per_second() / kMetresPerSecondPerKnot;
  }
  return seen;
}

GnssEngine::Fault GnssEngine::take_fault() {
  const Fault fault = fault_;
  if (fault_polls_ > 0 && --fault_polls_ == 0) fault_ = Fault::none;
  return fault;
}

void GnssEngine::stand_at(const Place& place) {
  place_ = place;
  journey_.reset();
  log_.reset();
}

void GnssEngine::set_out(std::vector<Place> points, double km_per_hour) {
  journey_.emplace(std::move(points), km_per_hour / 3.6);
  departure_ = std::chrono::steady_clock::now();
  log_.reset();
}

Json GnssEngine::status() const {
  const auto fault = std::ranges::find(kFaults, fault_, [](const auto& row) { return row.second; });
  Json facts = {{"on", on_}, {"polls", polls_}, {"cold-start", cold_start_}, {"fault", fault->first}};
  if (log_) {
    facts["play"] = log_file_;
    facts["epoch"] = fmt::format("{}/{}", log_->position(), log_->epochs());
    return facts;
  }
  const Observation seen = observe(Fault::none);
  facts["place"] = fmt::format("{:.6f},{:.6f},{:.1f}", seen.place.latitude, seen.place.longitude, seen.place.altitude);
  facts["route"] = journey_.has_value();
  for (const auto& [name, constellation] : kConstellations)
    for (const Constellation used : constellations_)
      if (used == constellation) facts["constellations"].push_back(name);
  return facts;
}

void GnssEngine::add_control() {
  module_.control.add_status("gnss", [this] { return status(); });
  module_.control.add([this](CLI::App& top, const ReplyPtr& reply) {
    CLI::App& gnss = group(top, "gnss", "The GNSS receiver");

    auto& place = reply->argument<std::string>();
    CLI::App* stand = gnss.add_subcommand("place", "The receiver stands there");
    stand->add_option("PLACE", place, "LAT,LON in degrees, as 46.0569,14.5058; the altitude may follow")->required();
    stand->callback([this, reply, &place] { stand_at(place_of(place)); });

    auto& points = reply->argument<std::vector<std::string>>();
    auto& speed = reply->argument<double>(50);
    CLI::App* route = gnss.add_subcommand("route", "The receiver travels through these points and stays at the last");
    route->add_option("PLACE", points, "LAT,LON or LAT,LON,ALTITUDE; two or more")->required();
    route->add_option("--speed", speed, "Kilometres an hour")->capture_default_str()->check(CLI::PositiveNumber);
    route->callback([this, reply, &points, &speed] {
      std::vector<Place> places;
      for (const std::string& point : points) places.push_back(place_of(point));
      set_out(std::move(places), speed);
      reply->done(fmt::format("{:.1f} km, {:.0f} s", journey_->metres() / 1000, journey_->metres() / speed * 3.6));
    });

    auto& file = reply->argument<std::string>();
    CLI::App* play = gnss.add_subcommand("play", "Answers with a receiver's log, one epoch a poll, over and over");
    play->add_option("FILE", file, "As the module sees it")->required();
    play->callback([this, reply, &file] {
      LogReplay log{file};
      reply->done(fmt::format("{} epochs", log.epochs()), {{"epochs", log.epochs()}});
      log_.emplace(std::move(log));
      log_file_ = file;
    });

    auto& names = reply->argument<std::vector<std::string>>();
    CLI::App* constellations = gnss.add_subcommand("constellations", "Which ones the receiver sees");
    constellations->add_option("NAME", names, "gps, glonass, beidou, galileo")->required();
    constellations->callback([this, &names] { constellations_ = constellations_of(names); });

    auto& polls = reply->argument<int>();
    CLI::App* cold_start = gnss.add_subcommand("cold-start", "How many polls after power on have no fix");
    cold_start->add_option("POLLS", polls)->required()->check(CLI::NonNegativeNumber);
    cold_start->callback([this, &polls] { cold_start_ = polls; });

    auto& fault = reply->argument<std::string>();
    auto& fault_polls = reply->argument<int>();
    CLI::App* fail = gnss.add_subcommand("fault", "What goes wrong when the receiver is asked");
    fail->add_option("FAULT", fault, "error; silent (no sentences); garbled (wrong checksums); no-fix (a tunnel); none")
        ->required()
        ->check(CLI::IsMember(&kFaults));
    fail->add_option("--polls", fault_polls, "For so many polls; else until further notice")
        ->check(CLI::PositiveNumber);
    fail->callback([this, &fault, &fault_polls] {
      fault_ = kFaults.at(fault);
      fault_polls_ = fault_polls;
    });

    gnss.add_subcommand("show", "What the receiver does")->callback([this, reply] {
      const Json facts = status();
      reply->done(facts.dump(2), facts);
    });
  });
}

}  // namespace simulated
