#include "vek_pal/device.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "records.h"

namespace {

constexpr char kUsbState[] = "/sys/devices/platform/8a00000.ssusb/8a00000.dwc3/udc/8a00000.dwc3/state";
constexpr char kUsbMode[] = "/sys/devices/platform/8a00000.ssusb/mode";

void put(const char* path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path) << text;
}
std::string get(const char* path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string g_command;

}  // namespace

extern "C" int system(const char* command) {
  g_command = command;
  return 7;
}

TEST(Device, TellsFromTheUsbStateWhetherTheHostIsUp) {
  const struct {
    const char* state;
    int code;
  } rows[] = {
      {"configured\n", 0},   {"CONNECTED", 0}, {"Addressed\n", 0},        {"DISCONNECTED\n", 1}, {"default\n", 1},
      {"not attached\n", 1}, {"", 1},          {"configured and more", 1}};
  for (const auto& row : rows) {
    put(kUsbState, row.state);
    EXPECT_EQ(vek_pal_below_os_status_check(), row.code) << row.state;
  }
  unlink(kUsbState);
  const auto seen = records_of([] { EXPECT_EQ(vek_pal_below_os_status_check(), 1); });
  EXPECT_TRUE(seen.has("UTILS", "usb state file open failed, file not exist\n"));
  const auto sar = records_of([] { EXPECT_EQ(vek_pal_sar_index_switch(3), -1); });
  EXPECT_TRUE(sar.has("SYS", "vek_pal_below_os_status_check fail.status: 1"));
  EXPECT_FALSE(sar.has_part("IPC_AT", "tcp")) << "nothing may be sent";
}

TEST(Device, WritesTheControlFiles) {
  const struct {
    int (*call)();
    const char* path;
    const char* written;
    const char* done;
    const char* missing;
  } rows[] = {
      {vek_pal_disable_w_disable, "/dev/korv_wdis_ctl", "1", "disable w_disable eint success",
       "fail to open korv_vyrel_wdis_ctl, fd is -1\n"},
      {vek_pal_disable_gpio_group, "/dev/korv_vyrel_ctl", "1", "success to write data", "Failed to open device node"},
      {vek_pal_disable_usb, kUsbMode, "none", "disable usb success",
       "failed to open /sys/devices/platform/8a00000.ssusb/mode"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    unlink(row.path);
    const auto missing = records_of([&] { EXPECT_EQ(row.call(), -1); });
    EXPECT_TRUE(missing.has("UTILS", row.missing)) << missing;
    put(row.path, "");
    const auto done = records_of([&] { EXPECT_EQ(row.call(), 0); });
    EXPECT_TRUE(done.has("UTILS", row.done)) << done;
    EXPECT_EQ(get(row.path), row.written);
  }
}

TEST(Device, RebootsThroughTheShell) {
  EXPECT_EQ(vek_pal_rebootModule(), 7);
  EXPECT_EQ(g_command, "reboot -f");
  EXPECT_EQ(vek_pal_get_dual_ipc_mode(), 4);
}
