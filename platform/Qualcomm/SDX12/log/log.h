// One line a record: LOG_E("Lock %p failed cause: %d %s", ...) writes it, FAIL(code, ...) writes it and is the code. The
// tag is the constant `kLogTag` of the file that logs.
#pragma once

#include <stdint.h>

#include "vek_pal/log.h"

namespace vek::log {

extern unsigned g_level;

// Where a record comes from, in one word: the level above, the line below.
constexpr uint32_t origin(unsigned level, int line) { return level << 16 | (static_cast<uint32_t>(line) & 0xFFFF); }

// Formats the record and sends it on, under `vek_log_mutex`. Keeps errno.
void write(uint32_t origin, const char* tag, const char* file, const char* func, const char* fmt, ...)
    __attribute__((format(printf, 5, 6), cold));

}  // namespace vek::log

#define LOG_AT(level, ...)                                                                                          \
  (__builtin_expect((level) <= ::vek::log::g_level, 0)                                                              \
       ? ::vek::log::write(::vek::log::origin(level, __LINE__), kLogTag, __FILE__, __func__, __VA_ARGS__)           \
       : static_cast<void>(0))

#define LOG_E(...) LOG_AT(1u, __VA_ARGS__)
#define LOG_W(...) LOG_AT(2u, __VA_ARGS__)
#define LOG_I(...) LOG_AT(3u, __VA_ARGS__)
#define LOG_D(...) LOG_AT(4u, __VA_ARGS__)

#define FAIL(code, ...) (LOG_E(__VA_ARGS__), (code))
