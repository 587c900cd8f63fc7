// Records: suppressed, to the diagnostic channel, to the log file, and hex dumps. Standard error is /dev/null.
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include "row.h"
#include "vek_pal.h"

unsigned g_floor_level = 1;  // with external linkage, so that the compiler cannot know it

namespace {

constexpr char kFloorFile[] = "/floor_log.txt";

// What any thread-safe record costs: lock, clear, prefix, message, write.
pthread_mutex_t g_mutex = PTHREAD_MUTEX_INITIALIZER;
char g_buffer[1024];
FILE* g_file;

__attribute__((noinline, format(printf, 3, 4))) void floor_record(bool to_file, const char* func, const char* fmt,
                                                                  ...) {
  pthread_mutex_lock(&g_mutex);
  memset(g_buffer, 0, sizeof g_buffer);
  size_t length = 0;
  if (to_file) {
    timeval now;
    tm local;
    gettimeofday(&now, nullptr);
    localtime_r(&now.tv_sec, &local);
    length = strftime(g_buffer, 32, "[%Y-%m-%d %H:%M:%S] ", &local);
  }
  length += static_cast<size_t>(
      snprintf(g_buffer + length, sizeof g_buffer - length, "[%8s] [%s:%d]-", "BENCH", func, __LINE__));
  va_list args;
  va_start(args, fmt);
  length += static_cast<size_t>(vsnprintf(g_buffer + length, sizeof g_buffer - length, fmt, args));
  va_end(args);
  if (to_file) {
    struct stat status;
    stat(kFloorFile, &status);
    fprintf(g_file, "%s\n", g_buffer);
    fflush(g_file);
    fsync(fileno(g_file));
  }
  benchmark::DoNotOptimize(write(STDERR_FILENO, g_buffer, length));
  pthread_mutex_unlock(&g_mutex);
}

__attribute__((noinline, format(printf, 2, 3))) void floor_suppressed(const char*, const char* fmt, ...) {
  if (__builtin_expect(g_floor_level < 4, 1)) return;
  va_list args;
  va_start(args, fmt);
  vprintf(fmt, args);
  va_end(args);
}

void suppressed_ours(benchmark::State& state) {
  vek_pal_log_set_level(1);
  for (auto _ : state) vek_pal_logd("BENCH", "value %d of %s", 42, "text");
}
void suppressed_floor(benchmark::State& state) {
  for (auto _ : state) {
    floor_suppressed("BENCH", "value %d of %s", 42, "text");
    benchmark::ClobberMemory();
  }
}
void suppressed_syslog(benchmark::State& state) {
  setlogmask(LOG_UPTO(LOG_ERR));
  for (auto _ : state) syslog(LOG_DEBUG, "value %d of %s", 42, "text");
}

// vek_pal_mutex_lock(NULL) writes exactly one record of level error.
void diag_ours(benchmark::State& state) {
  vek_pal_log_set_level(5);
  for (auto _ : state) benchmark::DoNotOptimize(vek_pal_mutex_lock(nullptr));
  vek_pal_log_set_level(1);
}
void diag_floor(benchmark::State& state) {
  for (auto _ : state) floor_record(false, "diag_floor", "The input parameter is %s \n", "incorrect");
}
void diag_stdio(benchmark::State& state) {
  for (auto _ : state)
    fprintf(stderr, "[%8s] [%s:%d]-The input parameter is incorrect \n", "BENCH", "diag_stdio", __LINE__);
}
void diag_spdlog(benchmark::State& state) {
  static const auto logger = spdlog::stderr_logger_mt("BENCH");
  for (auto _ : state) logger->error("[{}:{}]-The input parameter is incorrect ", "diag_spdlog", __LINE__);
}

void file_ours(benchmark::State& state) {
  vek_pal_log_set_level(5);
  vek_pal_file_logging_enable = 1;
  vek_pal_init_log_file();
  for (auto _ : state) benchmark::DoNotOptimize(vek_pal_mutex_lock(nullptr));
  vek_pal_file_logging_enable = 0;
  vek_pal_log_set_level(1);
}
void file_floor(benchmark::State& state) {
  g_file = fopen(kFloorFile, "w");
  for (auto _ : state) floor_record(true, "file_floor", "The input parameter is %s \n", "incorrect");
  fclose(g_file);
}
void file_spdlog(benchmark::State& state) {
  static const auto logger = spdlog::basic_logger_mt("FILE", "/spdlog.txt");
  logger->flush_on(spdlog::level::trace);
  for (auto _ : state) logger->error("[{}:{}]-The input parameter is incorrect ", "file_spdlog", __LINE__);
}

unsigned char g_data[256];

void hexdump_ours(benchmark::State& state) {
  vek_pal_log_set_level(5);
  for (auto _ : state) vek_pal_hexdump("BENCH", "hexdump_ours", __LINE__, "data", g_data, sizeof g_data);
  vek_pal_log_set_level(1);
}
// Formats byte by byte.
void hexdump_floor(benchmark::State& state) {
  for (auto _ : state) {
    floor_record(false, "hexdump_floor", "dumping '%s' (%u bytes) \n", "data", 256u);
    for (int offset = 0; offset < 256; offset += 16) {
      char line[128];
      int at = snprintf(line, sizeof line, "%04x: ", offset);
      for (int i = 0; i < 16; i++)
        at += snprintf(line + at, sizeof line - static_cast<size_t>(at), " %02x", g_data[offset + i]);
      at += snprintf(line + at, sizeof line - static_cast<size_t>(at), "  ");
      for (int i = 0; i < 16; i++) {
        const unsigned char c = g_data[offset + i];
        line[at++] = c >= 0x20 && c <= 0x7E ? static_cast<char>(c) : '.';
      }
      line[at++] = '\n';
      line[at] = '\0';
      floor_record(false, "hexdump_floor", "[%8s] [%s:%d] %s\n \n", "BENCH", "hexdump_floor", __LINE__, line);
    }
  }
}

[[maybe_unused]] const bool registered =
    bench::row("suppressed_record/ours", suppressed_ours) && bench::row("suppressed_record/floor", suppressed_floor) &&
    bench::row("suppressed_record/peer:syslog", suppressed_syslog) && bench::row("record_to_diag/ours", diag_ours) &&
    bench::row("record_to_diag/floor", diag_floor) && bench::row("record_to_diag/peer:stdio", diag_stdio) &&
    bench::row("record_to_diag/peer:spdlog", diag_spdlog) && bench::row("record_to_file/ours", file_ours) &&
    bench::row("record_to_file/floor", file_floor) && bench::row("record_to_file/peer:spdlog", file_spdlog) &&
    bench::row("hexdump_256/ours", hexdump_ours) && bench::row("hexdump_256/floor", hexdump_floor);

}  // namespace
