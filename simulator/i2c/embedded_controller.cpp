#include "i2c/embedded_controller.h"

#include <fmt/format.h>
#include <linux/netlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

#include "common/base/unique_fd.h"

namespace simulated {
namespace {

constexpr std::uint16_t kUsualAddress = 0x2C;
constexpr std::size_t kKeptTransfers = 1000;
constexpr std::uint32_t kMailPort = 0xFFFF0010;  // where the module's kernel announces interrupts
constexpr std::uint8_t kNobodyDrives = 0xFF;     // what a bus reads that its pull-ups hold
constexpr char kIdentity[] = {'K', 'E', 'C', 1};
constexpr std::size_t kCause = 0x10;  // why the controller interrupted; a read clears it

}  // namespace

EmbeddedController::EmbeddedController(Module& module)
    : watch_(module.watch), address_(module.scenario["ec"]["address"].value_or(kUsualAddress)) {
  std::ranges::copy(kIdentity, registers_.begin());
  module.control.add([this](CLI::App& top, const ReplyPtr& reply) { declare(top, reply); });
}

EmbeddedController::Fault EmbeddedController::meet(std::uint16_t address, bool reading) {
  if (address != address_) return Fault::nack;                                         // no such device
  if (fault_ == (reading ? Fault::nack_data : Fault::short_read)) return Fault::none;  // of the other direction
  const Fault met = fault_;
  if (fault_times_ != 0 && --fault_times_ == 0) fault_ = Fault::none;
  return met;
}

int EmbeddedController::done(const char* direction, std::size_t length, int error) {
  transfers_.push_back({direction, length, error});
  if (transfers_.size() > kKeptTransfers) transfers_.pop_front();
  watch_.tell("ec",
              fmt::format("{} {}{}{}", direction, length, error == 0 ? "" : ": ", error == 0 ? "" : strerror(error)),
              {{"direction", direction}, {"length", length}, {"error", error}});
  return error;
}

int EmbeddedController::write(std::uint16_t address, std::span<const std::uint8_t> bytes) {
  const Fault met = meet(address, false);
  if (met == Fault::nack) return done("write", bytes.size(), ENXIO);
  if (met == Fault::timeout) return done("write", bytes.size(), ETIMEDOUT);
  const bool cut = met == Fault::nack_data && fault_bytes_ < bytes.size();
  const auto taken = cut ? bytes.first(fault_bytes_) : bytes;
  if (!taken.empty()) {
    pointer_ = taken.front();
    for (const std::uint8_t byte : taken.subspan(1)) registers_[pointer_++] = byte;
  }
  return done("write", bytes.size(), cut ? EREMOTEIO : 0);
}

// A device cannot refuse a read that has begun: one that stops early leaves the rest to the pull-ups.
int EmbeddedController::read(std::uint16_t address, std::span<std::uint8_t> bytes) {
  const Fault met = meet(address, true);
  if (met == Fault::nack) return done("read", bytes.size(), ENXIO);
  if (met == Fault::timeout) return done("read", bytes.size(), ETIMEDOUT);
  std::ranges::fill(bytes, kNobodyDrives);
  const auto given = met == Fault::short_read ? bytes.first(std::min<std::size_t>(fault_bytes_, bytes.size())) : bytes;
  for (std::uint8_t& byte : given) {
    byte = registers_[pointer_];
    if (pointer_ == kCause) registers_[kCause] = 0;
    pointer_++;
  }
  return done("read", bytes.size(), 0);
}

// As the kernel's side of the device does. False: nobody has the mail open.
bool EmbeddedController::interrupt(const std::string& text, std::uint8_t cause) {
  registers_[kCause] = cause;
  const vek::UniqueFd mail(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_USERSOCK));
  if (!mail) throw std::runtime_error(fmt::format("no netlink here: {}", strerror(errno)));
  nlmsghdr head{};
  head.nlmsg_len = static_cast<std::uint32_t>(sizeof head + text.size() + 1);
  std::vector<char> message(head.nlmsg_len);
  memcpy(message.data(), &head, sizeof head);
  memcpy(message.data() + sizeof head, text.c_str(), text.size() + 1);
  sockaddr_nl to{};
  to.nl_family = AF_NETLINK;
  to.nl_pid = kMailPort;
  const bool delivered =
      sendto(mail.get(), message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to) >= 0;
  watch_.tell("ec", delivered ? "interrupt" : "interrupt, and nobody listens", {{"delivered", delivered}});
  return delivered;
}

void EmbeddedController::declare(CLI::App& top, const ReplyPtr& reply) {
  CLI::App& ec = group(top, "ec", "The laptop's embedded controller, on the module's I2C bus");
  constexpr std::uint32_t kLast = 255;

  auto& from = reply->argument<std::uint32_t>();
  auto& count = reply->argument<std::uint32_t>(16);
  CLI::App* show = ec.add_subcommand("show", "Shows registers");
  show->add_option("register", from, "The first; 0 when left out")->check(CLI::Range(0u, kLast));
  show->add_option("count", count)->capture_default_str()->check(CLI::Range(1u, kLast + 1));
  show->callback([this, reply, &from, &count] {
    std::vector<std::uint8_t> values;
    for (std::uint32_t i = 0; i < count; i++) values.push_back(registers_[(from + i) & kLast]);
    reply->done(fmt::format("{:02X}", fmt::join(values, " ")), {{"address", address_}, {"registers", values}});
  });

  auto& first = reply->argument<std::uint32_t>();
  auto& values = reply->argument<std::vector<std::uint32_t>>();
  CLI::App* set = ec.add_subcommand("set", "Changes registers");
  set->add_option("register", first, "The first")->required()->check(CLI::Range(0u, kLast));
  set->add_option("values", values)->required()->check(CLI::Range(0u, kLast));
  set->callback([this, &first, &values] {
    for (std::size_t i = 0; i < values.size(); i++)
      registers_[(first + i) & kLast] = static_cast<std::uint8_t>(values[i]);
  });

  auto& text = reply->argument<std::string>("ec event");
  auto& cause = reply->argument<std::uint32_t>(1);
  CLI::App* interrupting = ec.add_subcommand("interrupt", "Interrupts the module");
  interrupting->add_option("text", text, "What the kernel says about it")->capture_default_str();
  interrupting->add_option("--cause", cause, "What register 0x10 then holds, until it is read")
      ->capture_default_str()
      ->check(CLI::Range(0u, kLast));
  interrupting->callback([this, reply, &text, &cause] {
    const bool delivered = interrupt(text, static_cast<std::uint8_t>(cause));
    reply->done(delivered ? "delivered" : "nobody listens", {{"delivered", delivered}});
  });

  ec.add_subcommand("transfers", "Shows what passed on the bus since this was last asked")->callback([this, reply] {
    std::string lines;
    Json data = Json::array();
    for (const Transfer& transfer : std::exchange(transfers_, {})) {
      lines += fmt::format("{}{} {}", lines.empty() ? "" : "\n", transfer.direction, transfer.length);
      if (transfer.error != 0) lines += fmt::format(": {}", strerror(transfer.error));
      data.push_back({{"direction", transfer.direction}, {"length", transfer.length}, {"error", transfer.error}});
    }
    reply->done(lines, data);
  });
  declare_faults(ec, reply);
}

void EmbeddedController::declare_faults(CLI::App& ec, const ReplyPtr& reply) {
  static const std::map<std::string, Fault> kFaults = {{"nack", Fault::nack},
                                                       {"nack-data", Fault::nack_data},
                                                       {"timeout", Fault::timeout},
                                                       {"short", Fault::short_read}};
  auto& fault = reply->argument<std::string>();
  auto& bytes = reply->argument<unsigned>();
  auto& times = reply->argument<unsigned>();
  CLI::App* failing = ec.add_subcommand("fault", "Lets transfers fail");
  failing
      ->add_option("kind", fault,
                   "nack: it does not answer to its address; nack-data: it takes only some bytes of a write; short: it "
                   "gives only some bytes of a read, and the rest reads FF; timeout: it holds the bus")
      ->required()
      ->check(CLI::IsMember(kFaults));
  failing->add_option("--bytes", bytes, "That still pass with nack-data and short (0)");
  failing->add_option("--times", times, "Ends after so many transfers")->check(CLI::PositiveNumber);
  failing->callback([this, &fault, &bytes, &times] {
    fault_ = kFaults.at(fault);
    fault_bytes_ = bytes;
    fault_times_ = times;
  });
  ec.add_subcommand("normal", "Ends that")->callback([this] { fault_ = Fault::none; });
}

}  // namespace simulated
