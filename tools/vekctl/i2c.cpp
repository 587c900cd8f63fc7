// vekctl i2c: a device on the module's I2C bus, and its interrupts.
#include <fmt/format.h>

#include <cstdint>
#include <memory>
#include <semaphore>
#include <string>
#include <vector>

#include "command.h"
#include "vek_pal/i2c.h"

namespace vekctl {
namespace {

constexpr uint32_t kLargestSevenBit = 0x7F, kLargestTenBit = 0x3FF, kLargestByte = 0xFF;

struct Arguments {
  uint32_t address = 0, count = 0;
  bool ten_bit = false;
  int from_register = -1;
  std::vector<uint32_t> bytes;
};

struct Close {
  void operator()(vek_pal_i2c_handle_t* handle) const { vek_pal_i2c_close(handle); }
};
using Handle = std::unique_ptr<vek_pal_i2c_handle_t, Close>;

Handle open(const Arguments& given, void (*callback)(int) = nullptr) {
  if (!given.ten_bit && given.address > kLargestSevenBit)
    throw Failure(fmt::format("address {:#x} has more than 7 bits: --ten-bit", given.address), kMisused);
  const vek_pal_i2c_cfg_t config = {.i2c_controller_mode = callback != nullptr,
                                    .i2c_bit_rate = 0,
                                    .slave_address = static_cast<uint16_t>(given.address),
                                    .i2c_address_width = given.ten_bit};
  Handle handle(vek_pal_i2c_open(&config, callback));
  if (!handle)
    throw Failure(
        "the I2C bus cannot be opened: the module has none (/dev/i2c-3), or another program has it open, as only one "
        "at "
        "a time can. With -v the library says what it tried.");
  return handle;
}

void write(const Handle& handle, const std::vector<uint8_t>& bytes) {
  if (vek_pal_i2c_writeBuff(handle.get(), bytes.data(), static_cast<unsigned>(bytes.size())) != 0)
    throw Failure("the device did not take the bytes; with -v the library says why");
}

Json read_device(const Arguments& given) {
  const Handle handle = open(given);
  if (given.from_register >= 0) write(handle, {static_cast<uint8_t>(given.from_register)});
  std::vector<uint8_t> bytes(given.count);
  if (vek_pal_i2c_readBuff(handle.get(), bytes.data(), given.count) != 0)
    throw Failure("the device gave no bytes; with -v the library says why");
  return {{"bytes", fmt::format("{:02X}", fmt::join(bytes, " "))}};
}

Json write_device(const Arguments& given) {
  const std::vector<uint8_t> bytes(given.bytes.begin(), given.bytes.end());
  write(open(given), bytes);
  return {{"written", bytes.size()}};
}

// The callback has no user word, and a program has one bus.
std::counting_semaphore<> g_interrupts{0};

void on_interrupt(int) { g_interrupts.release(); }

Json watch(const Arguments& given, const Run& run) {
  const Handle handle = open(given, on_interrupt);
  run.show({{"event", "watching"}});
  for (uint32_t seen = 0; given.count == 0 || seen < given.count; seen++) {
    g_interrupts.acquire();
    Json event = {{"event", "interrupt"}, {"number", seen + 1}};
    if (given.from_register >= 0) {
      const auto cause = static_cast<uint8_t>(given.from_register);
      uint8_t value = 0;
      write(handle, {cause});
      if (vek_pal_i2c_readBuff(handle.get(), &value, 1) != 0) throw Failure("the register cannot be read");
      event["register"] = value;
    }
    run.show(event);
  }
  return nullptr;
}

CLI::App* with_address(CLI::App* command, Arguments& given) {
  command->add_option("address", given.address, "Of the device, e.g. 0x2c")
      ->required()
      ->check(CLI::Range(0u, kLargestTenBit));
  command->add_flag("--ten-bit", given.ten_bit, "The address has 10 bits");
  return command;
}

CLI::Option* with_register(CLI::App* command, Arguments& given, const char* what) {
  return command->add_option("--register", given.from_register, what)->check(CLI::Range(0, int{kLargestByte}));
}

void declare(CLI::App& top, Run& run) {
  static Arguments given;
  CLI::App* i2c = top.add_subcommand("i2c", "A device on the module's I2C bus")->require_subcommand(1);

  CLI::App* reading = with_address(i2c->add_subcommand("read", "Reads bytes"), given);
  reading->add_option("count", given.count)->required()->check(CLI::Range(1u, VEK_PAL_I2C_LENGTH_MAX));
  with_register(reading, given, "Written first: where to read from");
  run.command(reading, [] { return read_device(given); });

  CLI::App* writing = with_address(i2c->add_subcommand("write", "Writes bytes, in one transfer"), given);
  writing->add_option("bytes", given.bytes, "e.g. 0x20 1 255")
      ->required()
      ->expected(1, static_cast<int>(VEK_PAL_I2C_LENGTH_MAX))
      ->check(CLI::Range(0u, kLargestByte));
  run.command(writing, [] { return write_device(given); });

  CLI::App* watching = with_address(i2c->add_subcommand("watch", "Shows the device's interrupts"), given);
  watching->add_option("--count", given.count, "Ends after so many (else with Ctrl-C)")->check(CLI::PositiveNumber);
  with_register(watching, given, "Read at each interrupt: where the device says why");
  run.command(watching, [&run] { return watch(given, run); });
}

const Group kGroup{"i2c", declare};

}  // namespace
}  // namespace vekctl
