#include "vek_pal/i2c.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <linux/netlink.h>
#include <pthread.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "common/base/heap_block.h"
#include "common/base/mutex_lock.h"
#include "common/base/unique_fd.h"
#include "log/log.h"
#include "vek_pal/thread.h"

struct vek_pal_i2c_handle {
  int bus;
  vek_pal_thread_t irq_thread;
  int mail;
  vek_pal_i2c_cfg_t cfg;
  void (*callback)(int event);

  // The interrupt thread and the closing one meet here.
  pthread_mutex_t mutex;
  pthread_cond_t changed;
  pthread_t irq_id;
  bool closing;
  bool in_callback;
  bool gone;          // the thread has let go of the handle
  bool thread_frees;  // closed from within the callback: the thread is the last to let go
};

namespace {

constexpr char kLogTag[] = "I2C";
constexpr char kBus[] = "/dev/i2c-3";
constexpr uint32_t kModeMax = 1, kBitRateMax = 2, kAddressWidthMax = 1;
constexpr uint32_t kModeWithInterrupts = 1;
constexpr unsigned kReadChunk = 2048;
constexpr size_t kTextSize = 255;
constexpr size_t kMailSize = NLMSG_HDRLEN + kTextSize + 1;

bool is_supported(const vek_pal_i2c_cfg_t* cfg, bool has_callback) {
  if (cfg == nullptr) return FAIL(false, "p_cfg is NULL");
  if (cfg->i2c_controller_mode > kModeMax) return FAIL(false, "i2c_controller_mode is unsupport");
  if (cfg->i2c_bit_rate > kBitRateMax) return FAIL(false, "i2c_bit_rate is unsupport");
  if (cfg->i2c_address_width > kAddressWidthMax) return FAIL(false, "i2c_address_width is unsupport");
  if (cfg->i2c_controller_mode == kModeWithInterrupts && !has_callback)
    return FAIL(false, "i2c device mode is master,cb can not NULL");
  return true;
}

void release(vek_pal_i2c_handle* handle) {
  close(handle->mail);
  pthread_cond_destroy(&handle->changed);
  pthread_mutex_destroy(&handle->mutex);
  vek_pal_free(handle);
}

// One message of the kernel; false when there will be none any more. The only place where the thread can be cancelled.
bool receive(int mail, char (&buffer)[kMailSize]) {
  int ignored;
  ssize_t received;
  memset(buffer, 0, sizeof buffer);
  pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &ignored);
  do {
    received = recvfrom(mail, buffer, sizeof buffer, 0, nullptr, nullptr);
  } while (received < 0 && (errno == EINTR || errno == ENOBUFS));
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &ignored);
  return received >= 0;
}

// Calls back, unless the handle is being closed; false then. (Closed during the callback, it is as if it had been
// closed after it: the next receive is where the thread ends.)
bool call_back(vek_pal_i2c_handle* handle) {
  {
    const vek::MutexLock lock(handle->mutex);
    if (handle->closing) return false;
    handle->in_callback = true;
  }
  if (handle->callback != nullptr) handle->callback(0);
  const vek::MutexLock lock(handle->mutex);
  handle->in_callback = false;
  return true;
}

void let_go(void* arg) {
  auto* const handle = static_cast<vek_pal_i2c_handle*>(arg);
  bool last;
  {
    const vek::MutexLock lock(handle->mutex);
    handle->gone = true;
    last = handle->thread_frees;
    pthread_cond_broadcast(&handle->changed);
  }
  if (last) release(handle);
}

void* irq_loop(void* arg) {
  auto* const handle = static_cast<vek_pal_i2c_handle*>(arg);
  int ignored;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &ignored);
  pthread_cleanup_push(let_go, handle);
  {
    const vek::MutexLock lock(handle->mutex);
    handle->irq_id = pthread_self();
  }
  char buffer[kMailSize];
  while (receive(handle->mail, buffer) && call_back(handle)) {
    char text[kTextSize];
    memcpy(text, buffer + NLMSG_HDRLEN, sizeof text);
    text[sizeof text - 1] = '\0';
    LOG_I("%s", text);
  }
  pthread_cleanup_pop(1);
  return nullptr;
}

bool transfer(vek_pal_i2c_handle* handle, uint16_t flags, uint8_t* buf, unsigned len) {
  i2c_msg message = {handle->cfg.slave_address, flags, static_cast<uint16_t>(len), buf};
  i2c_rdwr_ioctl_data request = {&message, 1};
  const int result = ioctl(handle->bus, I2C_RDWR, &request);
  if (result < 0) return FAIL(false, "ioctl returned %d,%s", result, strerror(errno));
  return true;
}

}  // namespace

vek_pal_i2c_handle_t* vek_pal_i2c_open(const vek_pal_i2c_cfg_t* p_cfg, void (*callback)(int event)) {
  if (!is_supported(p_cfg, callback != nullptr)) return nullptr;
  if (set_i2c_irq_gpio_to_input() != 0) return FAIL(nullptr, "set GPIO to input error!");
  vek::HeapBlock<vek_pal_i2c_handle> handle;
  if (!handle) return FAIL(nullptr, "i2c device malloc failed");
  vek::UniqueFd bus(open(kBus, O_RDWR | O_CLOEXEC));
  if (!bus) return FAIL(nullptr, "i2c open fail, i2c_fd = %d", bus.get());
  handle->cfg = *p_cfg;
  if (const int result = ioctl(bus.get(), I2C_SLAVE, p_cfg->slave_address); result < 0)
    return FAIL(nullptr, "i2c ioctl set slave addr fail %d", result);
  if (const int result = ioctl(bus.get(), I2C_TENBIT, p_cfg->i2c_address_width); result < 0)
    return FAIL(nullptr, "i2c ioctl set address_width fail %d", result);
  int mail_fd = -1;
  if (const int result = vek_pal_i2c_mail_create(&mail_fd); result != 0)
    return FAIL(nullptr, "i2c mail create failed %d", result);
  vek::UniqueFd mail(mail_fd);

  handle->bus = bus.get();
  handle->mail = mail.get();
  handle->callback = callback;
  pthread_mutex_init(&handle->mutex, nullptr);
  pthread_cond_init(&handle->changed, nullptr);
  if (const int result = vek_pal_thread_create(&handle->irq_thread, "i2c_irq_th", nullptr, irq_loop, handle.get());
      result != 0)
    return FAIL(nullptr, "i2c irq thread create failed %d", result);
  bus.release();
  mail.release();
  LOG_I("i2c open success");
  return handle.release();
}

int vek_pal_i2c_readBuff(vek_pal_i2c_handle_t* handle, uint8_t* buf, unsigned int len) {
  if (handle == nullptr) return FAIL(VEK_PAL_I2C_BAD_ARGUMENT, "i2c handle is NULL");
  if (buf == nullptr) return FAIL(VEK_PAL_I2C_BAD_ARGUMENT, "i2c buf is NULL");
  if (len > VEK_PAL_I2C_LENGTH_MAX) return FAIL(VEK_PAL_I2C_BAD_ARGUMENT, "i2c buf len is too long!");
  for (unsigned at = 0; at < len; at += kReadChunk)
    if (!transfer(handle, I2C_M_RD, buf + at, std::min(kReadChunk, len - at))) return VEK_PAL_I2C_READ_FAILED;
  LOG_I("read success!");
  return 0;
}

int vek_pal_i2c_writeBuff(vek_pal_i2c_handle_t* handle, const uint8_t* buf, unsigned int len) {
  if (handle == nullptr) return FAIL(VEK_PAL_I2C_BAD_ARGUMENT, "i2c handle is NULL");
  if (buf == nullptr) return FAIL(VEK_PAL_I2C_BAD_ARGUMENT, "i2c buf is NULL");
  if (len > VEK_PAL_I2C_LENGTH_MAX) return FAIL(VEK_PAL_I2C_BAD_ARGUMENT, "i2c buf len is too long!");
  // The kernel's message has one buffer for both directions, and only reads from it here.
  if (!transfer(handle, 0, const_cast<uint8_t*>(buf), len)) return VEK_PAL_I2C_WRITE_FAILED;
  LOG_I("write success!");
  return 0;
}

int vek_pal_i2c_close(vek_pal_i2c_handle_t* handle) {
  if (handle == nullptr) return FAIL(VEK_PAL_I2C_BAD_ARGUMENT, "i2c handle is NULL");
  if (close(handle->bus) != 0) return FAIL(VEK_PAL_I2C_CLOSE_FAILED, "i2c close failed");
  {
    const vek::MutexLock lock(handle->mutex);
    handle->closing = true;
  }
  if (vek_pal_thread_delete(&handle->irq_thread) != 0)
    return FAIL(VEK_PAL_I2C_CLOSE_FAILED, "i2c thread delete failed");

  bool last = true;
  {
    const vek::MutexLock lock(handle->mutex);
    if (handle->in_callback && pthread_equal(handle->irq_id, pthread_self())) {
      handle->thread_frees = true;
      last = false;
    }
    while (last && !handle->gone) pthread_cond_wait(&handle->changed, &handle->mutex);
  }
  if (last) release(handle);
  LOG_I("i2c_close success");
  return 0;
}
