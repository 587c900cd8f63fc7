// modulectl sim ...
#include "modem/sim_commands.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "modem/cards.h"
#include "modem/hex.h"
#include "modem/sim_words.h"

namespace simulated {
namespace {

// A slot on the command line, from 1.
CLI::Option* add_slot(CLI::App* command, size_t& slot) {
  return command->add_option("slot", slot, "1 or 2")->required()->check(CLI::Range(1, 2));
}

Card& card_in(State& state, size_t slot) {
  auto& card = state.slots[slot - 1].card;
  if (!card) throw std::runtime_error(fmt::format("there is no card in slot {}", slot));
  return *card;
}

bool is_number(const std::string& text, size_t least, size_t most) {
  return text.size() >= least && text.size() <= most &&
         std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

void check(const Subscription& subscription) {
  if (!is_number(subscription.iccid, 1, 20)) throw std::runtime_error("an ICCID has up to 20 digits");
  if (!is_number(subscription.imsi, 6, 15)) throw std::runtime_error("an IMSI has 6 to 15 digits");
}

// --- Shown ---

Json shown(const Subscription& subscription) {
  return {{"name", subscription.name}, {"iccid", subscription.iccid}, {"imsi", subscription.imsi}};
}

Json profiles_of(const Card& card) {
  Json profiles = Json::array();
  for (size_t i = 0; i < card.subscriptions.size(); i++) {
    Json profile = shown(card.subscriptions[i]);
    profile["enabled"] = static_cast<int>(i) == card.enabled;
    profiles.push_back(profile);
  }
  return profiles;
}

Json shown(const State& state, size_t index) {
  const Slot& slot = state.slots[index];
  Json json = {{"slot", index + 1}, {"active", index == state.active_slot}, {"card", "none"}, {"detect", slot.detect}};
  if (!slot.card) return json;
  const Card& card = *slot.card;
  json["card"] = card.euicc ? "euicc" : "plain";
  if (card.euicc) json["eid"] = card.eid;
  json[card.euicc ? "profiles" : "subscription"] = card.euicc ? profiles_of(card) : shown(*card.subscription());
  json["pin"] = {{"state", kPinStates[static_cast<size_t>(card.pin1.state)]},
                 {"retries", card.pin1.retries},
                 {"unblock_retries", card.pin1.unblock_retries}};
  json["state"] = !slot.powered                    ? "powered down"
                  : slot.error                     ? "in error"
                  : index != state.active_slot     ? "not in use"
                  : card.subscription() == nullptr ? "no profile"
                                                   : kAppStates[static_cast<size_t>(slot.app)];
  return json;
}

std::string in_words(const Json& slot) {
  std::string text = fmt::format("slot {}{}: ", slot["slot"].get<int>(), slot["active"] ? ", active" : "");
  if (slot["card"] == "none") return text + (slot["detect"] ? "no card, but the line reports one" : "no card");
  text += fmt::format("{} card, {}, PIN {}", slot["card"].get<std::string>(), slot["state"].get<std::string>(),
                      slot["pin"]["state"].get<std::string>());
  if (slot.contains("eid")) text += fmt::format("\n  EID {}", slot["eid"].get<std::string>());
  const Json profiles = slot.contains("profiles") ? slot["profiles"] : Json::array({slot["subscription"]});
  for (const Json& profile : profiles)
    text += fmt::format("\n  {} ICCID {} IMSI {}{}", profile["name"].get<std::string>(),
                        profile["iccid"].get<std::string>(), profile["imsi"].get<std::string>(),
                        profile.value("enabled", false) ? ", enabled" : "");
  return text;
}

void declare_status(Modem& modem, CLI::App& sim, const ReplyPtr& reply) {
  sim.add_subcommand("status", "What is in the slots")->callback([&modem, reply] {
    const Json status = sim_status(modem.state);
    std::string text;
    for (const Json& slot : status["slots"]) text += (text.empty() ? "" : "\n") + in_words(slot);
    reply->done(text, status);
  });
}

// --- Cards ---

void declare_insert(Modem& modem, CLI::App& sim, const ReplyPtr& reply) {
  struct Given {
    size_t slot = 0;
    Subscription subscription;
    std::string eid, pin;
    std::vector<std::string> applications;
  };
  auto& given = reply->argument<Given>();
  CLI::App* command = sim.add_subcommand("insert", "Puts a card in: the one that was there, or as the options say");
  add_slot(command, given.slot);
  command->add_option("--iccid", given.subscription.iccid, "A new card, with this number");
  command->add_option("--imsi", given.subscription.imsi);
  command->add_option("--name", given.subscription.name, "Its operator");
  command->add_option("--eid", given.eid, "It is an eSIM, without profiles unless there is an --iccid");
  command->add_option("--pin", given.pin, "It wants this PIN");
  command->add_option("--apps", given.applications, "Its applications in order: isim,usim")->delimiter(',');
  command->callback([&modem, &given] {
    Slot& slot = modem.state.slots[given.slot - 1];
    if (slot.card)
      throw std::runtime_error(fmt::format("slot {} holds a card: sim remove {} first", given.slot, given.slot));
    Card card = slot.taken_out.value_or(plain_card({"Test", "8988211000000000012", "001010123456789"}));
    const bool subscribed = !given.subscription.iccid.empty() || !given.subscription.imsi.empty();
    if (!given.eid.empty() || subscribed) {
      card = given.eid.empty() ? Card{} : euicc_card(given.eid, {});
      if (subscribed) {
        check(given.subscription);
        card.subscriptions = {given.subscription};
      }
      if (card.euicc && !is_number(given.eid, 32, 32)) throw std::runtime_error("an EID has 32 digits");
    }
    if (!given.applications.empty()) {
      card.applications.clear();
      for (const std::string& name : given.applications) card.applications.push_back(app_named(name));
    }
    if (!given.pin.empty()) card.pin1 = Pin{.code = given.pin, .state = PinState::enabled_not_verified};
    insert_card(modem, given.slot - 1, std::move(card));
  });
}

void declare_cards(Modem& modem, CLI::App& sim, const ReplyPtr& reply) {
  declare_insert(modem, sim, reply);

  auto& removed = reply->argument<size_t>();
  CLI::App* remove = sim.add_subcommand("remove", "Pulls the card out");
  add_slot(remove, removed);
  remove->callback([&modem, &removed] {
    card_in(modem.state, removed);
    remove_card(modem, removed - 1);
  });

  auto& active = reply->argument<size_t>();
  CLI::App* slot = sim.add_subcommand("slot", "The modem goes to the other slot, as if another program had asked");
  add_slot(slot, active);
  slot->callback([&modem, &active] { switch_slot(modem, active - 1); });

  struct Line {
    size_t slot = 0;
    std::string position;
  };
  auto& line = reply->argument<Line>();
  CLI::App* detect =
      sim.add_subcommand("detect", "What a slot's card-detect line says, whatever the modem finds there");
  add_slot(detect, line.slot);
  detect->add_option("position", line.position)->required()->check(CLI::IsMember({"present", "absent"}));
  detect->callback([&modem, &line] { modem.state.slots[line.slot - 1].detect = line.position == "present"; });

  struct Failure {
    size_t slot = 0;
    unsigned code = 3;
  };
  auto& failure = reply->argument<Failure>();
  CLI::App* error = sim.add_subcommand("error", "The modem finds the card in error, until it is powered up again");
  add_slot(error, failure.slot);
  error
      ->add_option("code", failure.code,
                   "0 unknown, 2 poll, 3 no ATR, 4 voltage, 5 parity, 6 possibly removed, 7 technical")
      ->capture_default_str()
      ->check(CLI::Range(0, 7));
  error->callback([&modem, &failure] { fail_card(modem, failure.slot - 1, static_cast<uint8_t>(failure.code)); });

  struct Power {
    size_t slot = 0;
    std::string position;
  };
  auto& power = reply->argument<Power>();
  CLI::App* command = sim.add_subcommand("power", "A card's power");
  add_slot(command, power.slot);
  command->add_option("position", power.position)->required()->check(CLI::IsMember({"on", "off"}));
  command->callback([&modem, &power] { (power.position == "on" ? power_up : power_down)(modem, power.slot - 1); });

  struct File {
    size_t slot = 0;
    std::string path, content;
  };
  auto& file = reply->argument<File>();
  CLI::App* write = sim.add_subcommand("file", "What a file of the card holds instead of what it should");
  add_slot(write, file.slot);
  write->add_option("path", file.path, "From the root, in hex: 3F007FFF6F07 is the IMSI")->required();
  write->add_option("content", file.content, "In hex; without it the file is as it should be again");
  write->callback([&modem, &file] {
    const Bytes bytes = bytes_of(file.path);
    std::vector<uint16_t> path;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2)
      path.push_back(static_cast<uint16_t>(bytes[i] << 8 | bytes[i + 1]));
    Card& card = card_in(modem.state, file.slot);
    if (file.content.empty()) {
      card.files.erase(path);
    } else {
      card.files[path] = bytes_of(file.content);
    }
  });
}

// --- PIN and PUK ---

void declare_pin(Modem& modem, CLI::App& sim, const ReplyPtr& reply) {
  struct Given {
    size_t slot = 0;
    std::string what, code;
  };
  auto& given = reply->argument<Given>();
  CLI::App* pin = sim.add_subcommand("pin", "The card's PIN");
  add_slot(pin, given.slot);
  pin->add_option("what", given.what, "required, off, or enter")
      ->required()
      ->check(CLI::IsMember({"required", "off", "enter"}));
  pin->add_option("code", given.code, "The code that is required, or entered");
  pin->callback([&modem, reply, &given] {
    Card& card = card_in(modem.state, given.slot);
    if (given.what == "enter") {
      constexpr const char* kOutcomes[] = {"accepted", "wrong", "blocked", "not needed"};
      const PinOutcome outcome = verify_pin(modem, given.slot - 1, card.pin1, given.code);
      const char* const word = kOutcomes[static_cast<size_t>(outcome)];
      return reply->done(fmt::format("{}, {} tries left", word, card.pin1.retries),
                         {{"outcome", word}, {"retries", card.pin1.retries}});
    }
    change_card(modem, given.slot - 1, [&](Card& changed) {
      changed.pin1.retries = Pin{}.retries;
      changed.pin1.state = given.what == "off" ? PinState::disabled : PinState::enabled_not_verified;
      if (!given.code.empty()) changed.pin1.code = given.code;
    });
  });
}

void declare_puk(Modem& modem, CLI::App& sim, const ReplyPtr& reply) {
  struct Given {
    size_t slot = 0;
    std::string what, puk, pin;
  };
  auto& given = reply->argument<Given>();
  CLI::App* puk = sim.add_subcommand("puk", "The code that unblocks the card's PIN");
  add_slot(puk, given.slot);
  puk->add_option("what", given.what, "required (the PIN is blocked), or enter")
      ->required()
      ->check(CLI::IsMember({"required", "enter"}));
  puk->add_option("puk", given.puk, "12345678 on every card here");
  puk->add_option("pin", given.pin, "The new PIN");
  puk->callback([&modem, reply, &given] {
    Card& card = card_in(modem.state, given.slot);
    if (given.what == "required") {
      change_card(modem, given.slot - 1, [](Card& changed) {
        changed.pin1.retries = 0;
        changed.pin1.state = PinState::blocked;
      });
      return;
    }
    if (!is_number(given.pin, 4, 8)) throw std::runtime_error("a new PIN has 4 to 8 digits");
    const PinOutcome outcome = unblock_pin(modem, given.slot - 1, card.pin1, given.puk, given.pin);
    const char* const word = outcome == PinOutcome::done    ? "accepted"
                             : outcome == PinOutcome::wrong ? "wrong"
                                                            : "blocked";
    reply->done(fmt::format("{}, {} tries left", word, card.pin1.unblock_retries),
                {{"outcome", word}, {"retries", card.pin1.unblock_retries}});
  });
}

// --- The eSIM ---

size_t esim_slot(const State& state) {
  for (size_t i = 0; i < state.slots.size(); i++)
    if (state.slots[i].card && state.slots[i].card->euicc) return i;
  throw std::runtime_error("there is no eSIM");
}

int find_profile(const Card& card, const std::string& iccid) {
  const auto at = std::ranges::find(card.subscriptions, iccid, &Subscription::iccid);
  if (at == card.subscriptions.end()) throw std::runtime_error("the eSIM has no such profile");
  return static_cast<int>(at - card.subscriptions.begin());
}

void declare_esim(Modem& modem, CLI::App& sim, const ReplyPtr& reply) {
  CLI::App* esim = sim.add_subcommand("esim", "The eSIM");
  esim->require_subcommand(1);
  CLI::App* profiles = esim->add_subcommand("profiles", "The eSIM's profiles; without more, lists them");
  profiles->require_subcommand(0, 1);
  profiles->callback([&modem, reply, profiles] {
    if (!profiles->get_subcommands().empty()) return;
    const size_t slot = esim_slot(modem.state);
    reply->done(in_words(shown(modem.state, slot)), profiles_of(*modem.state.slots[slot].card));
  });

  auto& added = reply->argument<Subscription>();
  CLI::App* add = profiles->add_subcommand("add", "Loads another one, disabled");
  add->add_option("iccid", added.iccid)->required();
  add->add_option("imsi", added.imsi)->required();
  add->add_option("name", added.name);
  add->callback([&modem, &added] {
    check(added);
    modem.state.slots[esim_slot(modem.state)].card->subscriptions.push_back(added);
  });

  struct Change {
    const char* name;
    const char* help;
    void (*change)(Card&, int profile);
  };
  constexpr Change kChanges[] = {
      {"enable", "Enables a profile, and disables the one before",
       [](Card& card, int profile) { card.enabled = profile; }},
      {"disable", "Disables a profile",
       [](Card& card, int profile) {
         if (card.enabled == profile) card.enabled = -1;
       }},
      {"delete", "Deletes a profile",
       [](Card& card, int profile) {
         card.subscriptions.erase(card.subscriptions.begin() + profile);
         card.enabled = card.enabled == profile ? -1 : card.enabled - (card.enabled > profile ? 1 : 0);
       }},
  };
  for (const Change& row : kChanges) {
    auto& iccid = reply->argument<std::string>();
    CLI::App* command = profiles->add_subcommand(row.name, row.help);
    command->add_option("iccid", iccid)->required();
    command->callback([&modem, &iccid, change = row.change] {
      const size_t slot = esim_slot(modem.state);
      const int profile = find_profile(*modem.state.slots[slot].card, iccid);
      change_card(modem, slot, [&](Card& card) { change(card, profile); });
    });
  }

  auto& classes = reply->argument<std::string>();
  CLI::App* tag = esim->add_subcommand("tag95", "What the eSIM lists under tag 95");
  tag->add_option("meaning", classes, "state: as this module's does; class: as the standard has it")
      ->required()
      ->check(CLI::IsMember({"state", "class"}));
  tag->callback(
      [&modem, &classes] { modem.state.slots[esim_slot(modem.state)].card->standard_classes = classes == "class"; });
}

// --- Habits and faults ---

void declare_habits(Modem& modem, CLI::App& sim, const ReplyPtr& reply) {
  struct Delay {
    std::string step, ms;
  };
  auto& delay = reply->argument<Delay>();
  std::string steps;
  for (const StepName& step : kSteps) steps += fmt::format("{}{}: {}", steps.empty() ? "" : "; ", step.name, step.help);
  CLI::App* command = sim.add_subcommand("delay", "How long a step takes after a change");
  command->add_option("step", delay.step, steps)->required();
  command->add_option("ms", delay.ms, "Milliseconds, or never")->required();
  command->callback([&modem, &delay] {
    const auto step = std::ranges::find_if(kSteps, [&](const StepName& row) { return delay.step == row.name; });
    if (step == std::end(kSteps)) throw std::runtime_error("a step is slot, absent, detected or ready");
    CardHabits::Step& value = modem.state.card_habits.*step->step;
    if (delay.ms == "never") {
      value.reset();
    } else if (is_number(delay.ms, 1, 6)) {
      value = static_cast<unsigned>(std::stoul(delay.ms));
    } else {
      throw std::runtime_error("a delay is milliseconds, or never");
    }
  });

  auto& known = reply->argument<std::string>();
  CLI::App* inactive =
      sim.add_subcommand("inactive-slot", "Whether the modem still reports what it has read from an inactive card");
  inactive->add_option("what", known)->required()->check(CLI::IsMember({"known", "unknown"}));
  inactive->callback([&modem, &known] { modem.state.card_habits.inactive_known = known == "known"; });
}

void declare_apdu(Modem& modem, CLI::App& sim, const ReplyPtr& reply) {
  struct Given {
    std::string instruction, how;
    int times = -1;
  };
  auto& given = reply->argument<Given>();
  CLI::App* command = sim.add_subcommand("apdu", "How the card answers an instruction from now on");
  command
      ->add_option("instruction", given.instruction,
                   "In hex: 70 channels, A4 select, AA terminal capability, E2 profiles")
      ->required();
  command->add_option("how", given.how, "A status word (6A82), error (the exchange fails), no-answer, or normally")
      ->required();
  command->add_option("--times", given.times, "So often, then normally again (else without end)")
      ->check(CLI::PositiveNumber);
  command->callback([&modem, &given] {
    const Bytes instruction = bytes_of(given.instruction);
    if (instruction.size() != 1) throw std::runtime_error("an instruction is one byte, in hex");
    auto& faults = modem.state.apdu_faults;
    if (given.how == "normally") {
      faults.erase(instruction[0]);
      return;
    }
    ApduFault fault{.kind = ApduFault::Kind::error, .times = given.times};
    if (given.how == "no-answer") {
      fault.kind = ApduFault::Kind::no_answer;
    } else if (given.how != "error") {
      const Bytes word = bytes_of(given.how);
      if (word.size() != 2) throw std::runtime_error("a status word is two bytes, in hex");
      fault.kind = ApduFault::Kind::status_word;
      fault.status_word = static_cast<uint16_t>(word[0] << 8 | word[1]);
    }
    faults[instruction[0]] = fault;
  });
}

}  // namespace

Json sim_status(const State& state) {
  Json slots = Json::array();
  for (size_t i = 0; i < state.slots.size(); i++) slots.push_back(shown(state, i));
  return {{"active_slot", state.active_slot + 1}, {"slots", slots}};
}

void declare_sim(Modem& modem, CLI::App& top, const ReplyPtr& reply) {
  CLI::App& sim = group(top, "sim", "The cards, their slots and the eSIM");
  declare_status(modem, sim, reply);
  declare_cards(modem, sim, reply);
  declare_pin(modem, sim, reply);
  declare_puk(modem, sim, reply);
  declare_esim(modem, sim, reply);
  declare_habits(modem, sim, reply);
  declare_apdu(modem, sim, reply);
}

}  // namespace simulated
