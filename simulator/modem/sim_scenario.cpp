// [sim] of the scenario file.
#include <algorithm>
#include <stdexcept>

#include "modem/sim_commands.h"
#include "modem/sim_words.h"

namespace simulated {
namespace {

using Table = toml::node_view<const toml::node>;

Subscription subscription_in(const Table& table, Subscription subscription = {}) {
  subscription.name = table["name"].value_or(subscription.name);
  subscription.iccid = table["iccid"].value_or(subscription.iccid);
  subscription.imsi = table["imsi"].value_or(subscription.imsi);
  return subscription;
}

void load_applications(const Table& table, Card& card) {
  const toml::array* const names = table.as_array();
  if (names == nullptr) return;
  card.applications.clear();
  for (const toml::node& name : *names) card.applications.push_back(app_named(name.value_or(std::string())));
}

void load_plain(const Table& table, Card& card) {
  card.subscriptions = {
      subscription_in(table, card.subscriptions.empty() ? Subscription{} : card.subscriptions.front())};
}

void load_euicc(const Table& table, Card& card) {
  card.eid = table["eid"].value_or(card.eid);
  if (const toml::array* const profiles = table["profiles"].as_array()) {
    card.subscriptions.clear();
    for (const toml::node& profile : *profiles) card.subscriptions.push_back(subscription_in(Table(profile)));
  }
  card.enabled = table["enabled"].value_or(card.enabled + 1) - 1;
}

void load_slot(const Table& table, Slot& slot) {
  if (!table) return;
  const std::string kind = table["card"].value_or(std::string(!slot.card         ? "none"
                                                              : slot.card->euicc ? "euicc"
                                                                                 : "plain"));
  if (kind == "none") {
    slot.taken_out = std::exchange(slot.card, std::nullopt);
    slot.detect = table["detect"].value_or(false);
    return;
  }
  if (kind != "plain" && kind != "euicc") throw std::runtime_error("card is none, plain or euicc");
  const bool euicc = kind == "euicc";
  if (!slot.card || slot.card->euicc != euicc) slot.card = euicc ? euicc_card("", {}) : Card{};
  Card& card = *slot.card;
  (euicc ? load_euicc : load_plain)(table, card);
  load_applications(table["applications"], card);
  if (const auto code = table["pin"].value<std::string>()) {
    card.pin1.code = *code;
    card.pin1.state = PinState::enabled_not_verified;
  }
}

}  // namespace

void load_sim(State& state, const toml::table& scenario) {
  const auto sim = scenario["sim"];
  load_slot(sim["slot1"], state.slots[0]);
  load_slot(sim["slot2"], state.slots[1]);
  const int active = sim["active_slot"].value_or(1);
  if (active < 1 || active > 2) throw std::runtime_error("active_slot is 1 or 2");
  state.active_slot = static_cast<size_t>(active - 1);
  state.card_habits.inactive_known = sim["inactive_known"].value_or(true);
  for (const auto& step : kSteps)
    if (const auto ms = sim["delays"][step.name].value<unsigned>()) state.card_habits.*step.step = *ms;
}

}  // namespace simulated
