#include "log/log.h"

#include <errno.h>
#include <string.h>
#include <sys/time.h>
#include <time.h>

#include <algorithm>
#include <charconv>
#include <iterator>

#include "common/base/mutex_lock.h"
#include "log/log_file.h"
#include "providers/diag/diag.h"

pthread_mutex_t vek_log_mutex = PTHREAD_MUTEX_INITIALIZER;
char print_buf[1024];
char log_print[513];
uint8_t vek_pal_file_logging_enable = 0;

namespace vek::log {

unsigned g_level = VEK_PAL_LOG_TRACE;

}  // namespace vek::log

namespace {

constexpr uint32_t kSubsystem = 65;
constexpr size_t kTagWidth = 8;
constexpr size_t kFunctionFormMax = 1021;  // room in print_buf for a record of vek_pal_log, terminator included

// By level: fatal, error, warning, info, debug, trace.
constexpr uint32_t kMasks[] = {0x10, 0x08, 0x02, 0x04, 0x01, 0x04};

// Fills a buffer from the front; what does not fit is cut, and the terminator always fits.
class Text {
 public:
  Text(char* buffer, size_t size) : at_(buffer), last_(buffer + size - 1) { *at_ = '\0'; }

  size_t room() const { return static_cast<size_t>(last_ - at_); }

  void add(const char* text, size_t length) {
    length = std::min(length, room());
    memcpy(at_, text, length);
    at_ += length;
    *at_ = '\0';
  }
  void add(const char* text) { add(text, strlen(text)); }

  void add_number(int number) {
    char digits[12];
    add(digits, static_cast<size_t>(std::to_chars(digits, digits + sizeof digits, number).ptr - digits));
  }

  // "[%8s] "
  void add_tag(const char* tag) {
    const size_t length = strlen(tag);
    add("[");
    if (length < kTagWidth) add("        ", kTagWidth - length);
    add(tag, length);
    add("] ");
  }

  void add_formatted(const char* fmt, va_list args) __attribute__((format(printf, 2, 0))) {
    const int length = vsnprintf(at_, room() + 1, fmt, args);
    if (length > 0) at_ += std::min(static_cast<size_t>(length), room());
  }

 private:
  char* at_;
  char* last_;
};

// "[%Y-%m-%d %H:%M:%S] ", made anew once a second. Called with vek_log_mutex held.
const char* timestamp() {
  static time_t shown = -1;
  static char text[32];
  timeval now;
  gettimeofday(&now, nullptr);
  if (now.tv_sec != shown) {
    tm local;
    shown = now.tv_sec;
    if (localtime_r(&shown, &local) == nullptr || strftime(text, sizeof text, "[%Y-%m-%d %H:%M:%S] ", &local) == 0)
      text[0] = '\0';
  }
  return text;
}

int send_to_diag(uint32_t line, uint32_t mask, const char* file, const char* text) {
  const diag_site site = {kSubsystem << 16 | line, mask, "%s", file};
  return msg_sprintf(&site, text);
}

}  // namespace

void vek::log::write(uint32_t origin, Source source, const char* func, const char* fmt, va_list args) {
  const uint32_t level = origin >> kLineBits;
  const uint32_t line = origin & ((1u << kLineBits) - 1);
  if (level > g_level) return;
  const int saved_errno = errno;
  {
    const MutexLock lock(vek_log_mutex);
    memset(print_buf, 0, sizeof print_buf);
    Text text(print_buf, sizeof print_buf);
    if (vek_pal_file_logging_enable != 0) text.add(timestamp());
    text.add_tag(source);
    text.add("[");
    text.add(func);
    text.add(":");
    text.add_number(static_cast<int>(line));
    text.add("]-");
    errno = saved_errno;  // for "%m"
    text.add_formatted(fmt, args);
    text.add(" \n");
    if (vek_pal_file_logging_enable != 0) append_to_log_file(print_buf);
    send_to_diag(line, kMasks[level], source + strlen(source) + 1, print_buf);
  }
  errno = saved_errno;
}

void vek::log::record_as(Source source, uint32_t origin, const char* func, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  write(origin, source, func, fmt, args);
  va_end(args);
}

int vek_pal_log_set_level(unsigned level) {
  if (level > VEK_PAL_LOG_TRACE) return -1;
  vek::log::g_level = level;
  return 0;
}

unsigned vek_pal_log_get_level(void) { return vek::log::g_level; }

int vek_pal_log_should_log(unsigned level) { return level <= vek::log::g_level ? 1 : 0; }

int vek_pal_log(unsigned level, const char* tag, const char* fmt, va_list args) {
  memset(print_buf, 0, sizeof print_buf);
  memset(log_print, 0, sizeof log_print);
  Text text(print_buf, kFunctionFormMax);
  text.add_tag(tag != nullptr && tag[0] != '\0' ? tag : "UNKNOWN");
  text.add_formatted(fmt, args);

  // A record of another thread may be under way in the same buffer, so its length is measured, and bounded, once.
  const size_t length = strnlen(print_buf, kFunctionFormMax - 1);
  const uint32_t mask = level < std::size(kMasks) ? kMasks[level] : kMasks[VEK_PAL_LOG_INFO];
  int result = 0;
  constexpr size_t kChunk = sizeof log_print - 1;
  for (size_t at = 0; at < length; at += kChunk) {
    const size_t size = std::min(kChunk, length - at);
    memcpy(log_print, print_buf + at, size);
    log_print[size] = '\0';
    result = send_to_diag(__LINE__, mask, __FILE__, log_print);
  }
  return result;
}

// The gate comes first and costs a compare; these hold nothing that a stack guard could protect.
#define LOG_FUNCTION(name, level)                                                        \
  __attribute__((no_stack_protector)) void name(const char* tag, const char* fmt, ...) { \
    if (__builtin_expect((level) > static_cast<int>(vek::log::g_level), 0)) return;      \
    va_list args;                                                                        \
    va_start(args, fmt);                                                                 \
    vek_pal_log(level, tag, fmt, args);                                                  \
    va_end(args);                                                                        \
  }

LOG_FUNCTION(vek_pal_logf, VEK_PAL_LOG_FATAL)
LOG_FUNCTION(vek_pal_loge, VEK_PAL_LOG_ERROR)
LOG_FUNCTION(vek_pal_logw, VEK_PAL_LOG_WARNING)
LOG_FUNCTION(vek_pal_logi, VEK_PAL_LOG_INFO)
LOG_FUNCTION(vek_pal_logd, VEK_PAL_LOG_DEBUG)
LOG_FUNCTION(vek_pal_logt, VEK_PAL_LOG_TRACE)

#undef LOG_FUNCTION
