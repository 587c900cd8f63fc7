// Words in memory, at any alignment and in either byte order.
#pragma once

#include <stdint.h>
#include <string.h>

#include <bit>

namespace vek {

constexpr uint16_t swapped(uint16_t word) { return __builtin_bswap16(word); }
constexpr uint32_t swapped(uint32_t word) { return __builtin_bswap32(word); }
constexpr uint64_t swapped(uint64_t word) { return __builtin_bswap64(word); }

template <std::endian kOrder, typename Word>
Word load(const void* from) {
  Word word;
  memcpy(&word, from, sizeof word);
  return kOrder == std::endian::native ? word : swapped(word);
}

template <std::endian kOrder, typename Word>
void store(void* to, Word word) {
  if (kOrder != std::endian::native) word = swapped(word);
  memcpy(to, &word, sizeof word);
}

}  // namespace vek
