// One line a record: LOG_E("Lock %p failed cause: %d %s", ...) writes it, FAIL(code, ...) writes it and is the code.
// The tag is the constant `kLogTag` of the file that logs.
#pragma once

#include <stdarg.h>
#include <stdint.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "vek_pal/log.h"

namespace vek::log {

// Hidden by name: the compiler would take the bare declaration for someone else's, and reach for it through a table.
extern unsigned g_level __attribute__((visibility("hidden")));

// What all records of a source have in common, in one piece: its tag, a zero byte, its path, a zero byte.
using Source = const char*;
template <const auto& tag>
constexpr auto kSourceOf = [] {
  constexpr std::string_view path = __BASE_FILE__;
  std::array<char, sizeof tag + path.size() + 1> source{};
  std::copy_n(path.data(), path.size(), std::copy_n(tag, sizeof tag, source.data()));
  return source;
}();

// Where in it a record comes from, in 16 bits: the level above, the line below.
constexpr unsigned kLineBits = 13;
constexpr uint32_t origin(unsigned level, int line) {
  return level << kLineBits | (static_cast<uint32_t>(line) & ((1u << kLineBits) - 1));
}

// Formats the record, when its level is let through, and sends it on, under `vek_log_mutex`. Keeps errno.
void write(uint32_t origin, Source source, const char* func, const char* fmt, va_list args)
    __attribute__((format(printf, 4, 0)));

// Each source has its own: what every call site does not pass is flash saved hundreds of times.
template <const auto& tag>
[[gnu::noinline, gnu::cold, gnu::format(printf, 3, 4)]] void record(uint32_t origin, const char* func, const char* fmt,
                                                                    ...) {
  va_list args;
  va_start(args, fmt);
  write(origin, kSourceOf<tag>.data(), func, fmt, args);
  va_end(args);
}

// For the few records that carry another source's tag.
void record_as(Source source, uint32_t origin, const char* func, const char* fmt, ...)
    __attribute__((format(printf, 4, 5), cold));

}  // namespace vek::log

// Errors are rare, so their gate stands in write(); what is logged on the way costs a compare where it stands.
#define LOG_E(...) ::vek::log::record<kLogTag>(::vek::log::origin(1, __LINE__), __func__, __VA_ARGS__)
#define LOG_AT(level, ...)                                                                       \
  (__builtin_expect((level) <= ::vek::log::g_level, 0)                                           \
       ? ::vek::log::record<kLogTag>(::vek::log::origin(level, __LINE__), __func__, __VA_ARGS__) \
       : static_cast<void>(0))
#define LOG_W(...) LOG_AT(2u, __VA_ARGS__)
#define LOG_I(...) LOG_AT(3u, __VA_ARGS__)
#define LOG_D(...) LOG_AT(4u, __VA_ARGS__)

#define LOG_E_AS(source, ...) ::vek::log::record_as(source, ::vek::log::origin(1, __LINE__), __func__, __VA_ARGS__)
#define LOG_I_AS(source, ...) ::vek::log::record_as(source, ::vek::log::origin(3, __LINE__), __func__, __VA_ARGS__)

#define FAIL(code, ...) (LOG_E(__VA_ARGS__), (code))
