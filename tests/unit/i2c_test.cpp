#include "vek_pal/i2c.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <linux/netlink.h>
#include <pthread.h>
#include <stdarg.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <vector>

#include "failing_heap.h"
#include "records.h"

namespace {

using failing_heap::open_descriptors;

// The kernel here has no I2C: /dev/i2c-3 and /dev/korv_gpio_ctl are plain files, and what is asked of them ends here.
struct Bus {
  unsigned long refused = 0;  // an ioctl to fail
  bool no_thread = false;
  unsigned long slave = 0, ten_bit = 9;
  std::vector<uint32_t> gpio;
  struct Transfer {
    uint16_t address, flags, length;
  };
  std::vector<Transfer> transfers;
} g_bus;

int answer(unsigned long request, void* arg) {
  if (request == g_bus.refused) {
    errno = EREMOTEIO;
    return -1;
  }
  switch (request) {
    case 0x40016702: {
      const auto* const words = static_cast<uint32_t*>(arg);
      g_bus.gpio.assign(words, words + 3);
      return 0;
    }
    case I2C_SLAVE:
      g_bus.slave = reinterpret_cast<uintptr_t>(arg);
      return 0;
    case I2C_TENBIT:
      g_bus.ten_bit = reinterpret_cast<uintptr_t>(arg);
      return 0;
    case I2C_RDWR: {
      const auto* const request_data = static_cast<i2c_rdwr_ioctl_data*>(arg);
      EXPECT_EQ(request_data->nmsgs, 1u);
      const i2c_msg& message = request_data->msgs[0];
      if ((message.flags & I2C_M_RD) != 0)
        for (unsigned i = 0; i < message.len; i++) message.buf[i] = static_cast<uint8_t>(g_bus.transfers.size() + 1);
      g_bus.transfers.push_back({message.addr, message.flags, message.len});
      return 1;
    }
    default:
      errno = ENOTTY;
      return -1;
  }
}

// As the kernel's side of the device does.
void send_mail(const std::string& text) {
  const int fd = socket(AF_NETLINK, SOCK_RAW, NETLINK_USERSOCK);
  sockaddr_nl to = {};
  to.nl_family = AF_NETLINK;
  to.nl_pid = 0xFFFF0010;
  std::string message(NLMSG_HDRLEN, '\0');
  const auto length = static_cast<uint32_t>(NLMSG_HDRLEN + text.size());
  message.replace(0, sizeof length, reinterpret_cast<const char*>(&length), sizeof length);
  message += text;
  EXPECT_EQ(sendto(fd, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to),
            static_cast<ssize_t>(message.size()))
      << strerror(errno);
  close(fd);
}

std::atomic<int> g_events;
void count_event(int event) { g_events += event == 0 ? 1 : 1000; }

bool events_reach(int count) {
  for (int i = 0; i < 2000 && g_events < count; i++) usleep(1000);
  return g_events == count;
}

class I2c : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* device : {"/dev/i2c-3", "/dev/korv_gpio_ctl"}) close(open(device, O_CREAT | O_RDWR, 0600));
    g_bus = {};
    g_events = 0;
  }
};

constexpr vek_pal_i2c_cfg_t kPlain = {0, 2, 0x2C, 0};
constexpr vek_pal_i2c_cfg_t kWithInterrupts = {1, 0, 0x2C, 1};

}  // namespace

extern "C" int ioctl(int, unsigned long request, ...) noexcept {
  va_list args;
  va_start(args, request);
  void* const arg = va_arg(args, void*);
  va_end(args);
  return answer(request, arg);
}

extern "C" int pthread_create(pthread_t* id, const pthread_attr_t* attr, void* (*body)(void*), void* arg) noexcept {
  if (g_bus.no_thread) return EAGAIN;
  return reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"))(id, attr, body, arg);
}

TEST_F(I2c, RefusesWhatItDoesNotSupportAndLeaksNothing) {
  const vek_pal_i2c_cfg_t bad_mode = {2, 0, 1, 0}, bad_rate = {0, 3, 1, 0}, bad_width = {0, 0, 1, 2};
  const struct {
    const vek_pal_i2c_cfg_t* cfg;
    unsigned long refused;
    const char* text;
  } rows[] = {
      {nullptr, 0, "p_cfg is NULL"},
      {&bad_mode, 0, "i2c_controller_mode is unsupport"},
      {&bad_rate, 0, "i2c_bit_rate is unsupport"},
      {&bad_width, 0, "i2c_address_width is unsupport"},
      {&kWithInterrupts, 0, "i2c device mode is master,cb can not NULL"},
      {&kPlain, 0x40016702, "set GPIO to input error!"},
      {&kPlain, I2C_SLAVE, "i2c ioctl set slave addr fail -1"},
      {&kPlain, I2C_TENBIT, "i2c ioctl set address_width fail -1"},
  };
  const size_t before = open_descriptors();
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    g_bus.refused = row.refused;
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_i2c_open(row.cfg, nullptr), nullptr); });
    EXPECT_TRUE(seen.has("I2C", row.text)) << seen;
  }
  g_bus.refused = 0;
  const auto open_fails = [](const char* text) {
    const auto seen = records_of([] { EXPECT_EQ(vek_pal_i2c_open(&kPlain, nullptr), nullptr); });
    EXPECT_TRUE(seen.has("I2C", text)) << seen;
  };
  g_bus.no_thread = true;
  open_fails("i2c irq thread create failed -1");
  g_bus.no_thread = false;
  rlimit descriptors;
  getrlimit(RLIMIT_NOFILE, &descriptors);
  const rlimit few = {64, descriptors.rlim_max};
  setrlimit(RLIMIT_NOFILE, &few);
  std::vector<int> taken;
  for (int fd; (fd = dup(STDIN_FILENO)) >= 0;) taken.push_back(fd);
  close(taken.back());  // the bus has it
  taken.pop_back();
  open_fails("i2c socket create failed");
  for (const int fd : taken) close(fd);
  setrlimit(RLIMIT_NOFILE, &descriptors);
  unlink("/dev/i2c-3");
  const auto no_bus = records_of([] { EXPECT_EQ(vek_pal_i2c_open(&kPlain, nullptr), nullptr); });
  EXPECT_TRUE(no_bus.has("I2C", "i2c open fail, i2c_fd = -1"));
  unlink("/dev/korv_gpio_ctl");
  EXPECT_EQ(vek_pal_i2c_open(&kPlain, nullptr), nullptr);
  EXPECT_EQ(vek_pal_i2c_mail_create(nullptr), -1);
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(I2c, TransfersInTheStatedPieces) {
  const size_t before = open_descriptors();
  vek_pal_i2c_handle_t* const handle = vek_pal_i2c_open(&kPlain, nullptr);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(g_bus.gpio, (std::vector<uint32_t>{161, 0, 1}));
  EXPECT_EQ(g_bus.slave, 0x2Cu);
  EXPECT_EQ(g_bus.ten_bit, 0u);

  std::vector<uint8_t> data(5122);
  EXPECT_EQ(vek_pal_i2c_readBuff(handle, data.data(), 5000), 0);
  ASSERT_EQ(g_bus.transfers.size(), 3u);
  EXPECT_EQ(g_bus.transfers[2].length, 904);
  EXPECT_EQ(g_bus.transfers[2].flags, I2C_M_RD);
  EXPECT_EQ(g_bus.transfers[2].address, 0x2C);
  EXPECT_EQ(data[2047], 1);
  EXPECT_EQ(data[4999], 3);
  EXPECT_EQ(data[5000], 0);
  EXPECT_EQ(vek_pal_i2c_writeBuff(handle, data.data(), 5000), 0);
  ASSERT_EQ(g_bus.transfers.size(), 4u);
  EXPECT_EQ(g_bus.transfers[3].length, 5000);
  EXPECT_EQ(g_bus.transfers[3].flags, 0);
  EXPECT_EQ(vek_pal_i2c_readBuff(handle, data.data(), 0), 0);
  EXPECT_EQ(g_bus.transfers.size(), 4u);

  EXPECT_EQ(vek_pal_i2c_readBuff(nullptr, data.data(), 1), 1402);
  EXPECT_EQ(vek_pal_i2c_readBuff(handle, nullptr, 1), 1402);
  EXPECT_EQ(vek_pal_i2c_readBuff(handle, data.data(), 5122), 1402);
  EXPECT_EQ(vek_pal_i2c_writeBuff(nullptr, data.data(), 1), 1402);
  EXPECT_EQ(vek_pal_i2c_writeBuff(handle, nullptr, 1), 1402);
  EXPECT_EQ(vek_pal_i2c_writeBuff(handle, data.data(), 5122), 1402);
  EXPECT_EQ(vek_pal_i2c_close(nullptr), 1402);
  g_bus.refused = I2C_RDWR;
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_i2c_readBuff(handle, data.data(), 1), 1405);
    EXPECT_EQ(vek_pal_i2c_writeBuff(handle, data.data(), 1), 1406);
  });
  EXPECT_TRUE(seen.has("I2C", "ioctl returned -1,Remote I/O error"));

  EXPECT_EQ(vek_pal_i2c_close(handle), 0);
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(I2c, CallsBackForEachMessageAndCutsItsText) {
  vek_pal_i2c_handle_t* const handle = vek_pal_i2c_open(&kWithInterrupts, count_event);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(g_bus.ten_bit, 1u);
  const auto second = records_of([] { EXPECT_EQ(vek_pal_i2c_open(&kWithInterrupts, count_event), nullptr); });
  EXPECT_TRUE(second.has("I2C", "i2c socket bind failed"));

  const auto seen = records_of([&] {
    send_mail("ec %n%s event");
    send_mail(std::string(600, 'x'));
    EXPECT_TRUE(events_reach(2));
    EXPECT_EQ(vek_pal_i2c_close(handle), 0);
  });
  EXPECT_TRUE(seen.has("I2C", "ec %n%s event"));
  EXPECT_TRUE(seen.has("I2C", std::string(254, 'x')));
}

TEST_F(I2c, TakesAnInterruptWithoutACallback) {
  vek_pal_i2c_handle_t* const handle = vek_pal_i2c_open(&kPlain, nullptr);
  ASSERT_NE(handle, nullptr);
  const auto seen = records_of([&] {
    send_mail("nobody listens");
    usleep(50'000);
    EXPECT_EQ(vek_pal_i2c_close(handle), 0);
  });
  EXPECT_TRUE(seen.has("I2C", "nobody listens"));
}

TEST_F(I2c, ClosesWhileInterruptsArriveAndFromTheCallback) {
  const size_t before = open_descriptors();
  for (int i = 0; i < 100; i++) {
    vek_pal_i2c_handle_t* const handle = vek_pal_i2c_open(&kWithInterrupts, count_event);
    ASSERT_NE(handle, nullptr);
    for (int sent = 0; sent < i % 5; sent++) send_mail("event");
    ASSERT_EQ(vek_pal_i2c_close(handle), 0);
    const int seen = g_events;
    if (i % 10 == 0) usleep(1000);
    EXPECT_EQ(g_events, seen) << "a callback of a closed handle";
  }

  static std::atomic<vek_pal_i2c_handle_t*> own;
  static std::atomic<int> result;
  result = -1;
  own = vek_pal_i2c_open(&kWithInterrupts, [](int) { result = vek_pal_i2c_close(own); });
  ASSERT_NE(own.load(), nullptr);
  send_mail("close yourself");
  for (int i = 0; i < 2000 && (result == -1 || open_descriptors() != before); i++) usleep(1000);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(I2c, OpensWhenEachAllocationSucceeds) {
  static vek_pal_i2c_handle_t* handle;
  failing_heap::fail_each_allocation({{"vek_pal_i2c_open",
                                       0,
                                       {-1},
                                       [] {
                                         handle = vek_pal_i2c_open(&kPlain, nullptr);
                                         return handle != nullptr ? 0 : -1;
                                       },
                                       [] { vek_pal_i2c_close(handle); }}});
}
