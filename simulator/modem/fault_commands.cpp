// A modem's bad days.
#include <fmt/format.h>

#include <charconv>
#include <stdexcept>

#include "modem/catalogue.h"
#include "modem/commands.h"
#include "modem/hex.h"

namespace simulated {
namespace {

const Service& service_or_complain(const std::string& name) {
  const Service* service = find_service(name);
  if (service == nullptr) throw std::runtime_error(fmt::format("there is no service {}", name));
  return *service;
}

unsigned number(std::string_view text, unsigned most) {
  const bool is_hex = text.starts_with("0x");
  const std::string_view digits = text.substr(is_hex ? 2 : 0);
  unsigned value = 0;
  const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), value, is_hex ? 16 : 10);
  if (failure != std::errc() || end != digits.data() + digits.size() || value > most)
    throw std::runtime_error(fmt::format("{} is no number up to {}", text, most));
  return value;
}

void declare_answer(Modem& modem, CLI::App& modem_group, const ReplyPtr& reply) {
  struct Arguments {
    std::string service, message, how, number = "0";
    int times = -1;
  };
  auto& given = reply->argument<Arguments>();
  CLI::App* answer = modem_group.add_subcommand("answer", "How one message is answered from now on");
  answer->add_option("service", given.service, "Its name or number: WDS, 1")->required();
  answer->add_option("message", given.message, "Its number: 0x20")->required();
  answer
      ->add_option("how", given.how,
                   "error N, late MS, nothing, no-result (an answer that does not say how it went), or normally")
      ->required()
      ->check(CLI::IsMember({"error", "late", "nothing", "no-result", "normally"}));
  answer->add_option("number", given.number, "The error's number, or milliseconds");
  answer->add_option("--times", given.times, "So often, then normally again (else without end)")
      ->check(CLI::PositiveNumber);
  answer->callback([&modem, &given] {
    const Service& service = service_or_complain(given.service);
    const auto message = static_cast<uint16_t>(number(given.message, 0xFFFF));
    const auto at = std::pair(service.number, message);
    if (given.how == "normally") {
      modem.faults.erase(at);
      return;
    }
    Fault fault{.kind = Fault::Kind::nothing, .times = given.times};
    if (given.how == "no-result") fault.kind = Fault::Kind::no_result;
    if (given.how == "error" || given.how == "late") {
      const unsigned value = number(given.number, 0xFFFF);
      if (value == 0)
        throw std::runtime_error("modem answer SERVICE MESSAGE error N, or late MS: the number is missing");
      fault.kind = given.how == "late" ? Fault::Kind::late : Fault::Kind::error;
      fault.error = value;
      fault.delay = std::chrono::milliseconds(value);
    }
    modem.faults[at] = fault;
  });
}

void declare_delay(Modem& modem, CLI::App& modem_group, const ReplyPtr& reply) {
  struct Arguments {
    std::string service;
    int ms = 0;
  };
  auto& given = reply->argument<Arguments>();
  CLI::App* delay = modem_group.add_subcommand("delay", "Holds every answer of a service back");
  delay->add_option("service", given.service, "Its name or number")->required();
  delay->add_option("ms", given.ms, "Milliseconds; 0: no longer")->required()->check(CLI::NonNegativeNumber);
  delay->callback([&modem, &given] {
    const Service& service = service_or_complain(given.service);
    if (given.ms == 0) {
      modem.delays.erase(service.number);
    } else {
      modem.delays[service.number] = std::chrono::milliseconds(given.ms);
    }
  });
}

}  // namespace

void declare_faults(Modem& modem, CLI::App& top, const ReplyPtr& reply) {
  CLI::App& modem_group = group(top, "modem", kModemGroup);
  declare_answer(modem, modem_group, reply);
  declare_delay(modem, modem_group, reply);

  auto& position = reply->argument<std::string>();
  CLI::App* silence = modem_group.add_subcommand("silence", "The modem hangs: it reads, does nothing and says nothing");
  silence->add_option("position", position)->required()->check(CLI::IsMember({"on", "off"}));
  silence->callback([&modem, &position] { modem.silent = position == "on"; });

  auto& hex = reply->argument<std::string>("ffa55a0001000080");
  CLI::App* garbage = modem_group.add_subcommand("garbage", "Sends bytes that are no frame to every connection");
  garbage->add_option("bytes", hex, "In hex")->capture_default_str();
  garbage->callback([&modem, &hex] { modem.send_garbage(bytes_of(hex)); });

  modem_group.add_subcommand("normal", "Ends every fault: answers, also the cards', delays, silence")
      ->callback([&modem] {
        modem.faults.clear();
        modem.delays.clear();
        modem.silent = false;
        modem.state.apdu_faults.clear();
      });
}

}  // namespace simulated
