// The words that people use for cards.
#pragma once

#include <iterator>
#include <stdexcept>
#include <string>

#include "modem/state.h"

namespace simulated {

struct AppName {
  const char* name;
  App app;
};
inline constexpr AppName kAppNames[] = {
    {"sim", App::sim}, {"usim", App::usim}, {"csim", App::csim}, {"isim", App::isim}};

inline App app_named(const std::string& name) {
  for (const AppName& row : kAppNames)
    if (name == row.name) return row.app;
  throw std::runtime_error("an application is sim, usim, csim or isim");
}

struct StepName {
  const char* name;
  CardHabits::Step CardHabits::*step;
  const char* help;
};
inline constexpr StepName kSteps[] = {
    {"slot", &CardHabits::slot_ms, "to the report of the slots"},
    {"absent", &CardHabits::absent_ms, "from there to the report that there is no card"},
    {"detected", &CardHabits::detected_ms, "from there to the card that answers"},
    {"ready", &CardHabits::ready_ms, "from there to the application that is ready or wants a PIN"},
};

inline constexpr const char* kAppStates[] = {
    "starting", "detected", "PIN required", "PUK required", "personalisation check", "PIN blocked", "illegal", "ready"};
inline constexpr const char* kPinStates[] = {"not initialised", "not verified", "verified",
                                             "disabled",        "blocked",      "permanently blocked"};

}  // namespace simulated
