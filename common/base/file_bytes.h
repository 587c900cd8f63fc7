// Bytes into files, whole or not at all.
#pragma once

#include <stddef.h>
#include <unistd.h>

namespace vek {

// Goes on after partial writes.
inline bool write_all(int file, const char* data, size_t length) {
  while (length > 0) {
    const ssize_t written = write(file, data, length);
    if (written <= 0) return false;
    data += written;
    length -= static_cast<size_t>(written);
  }
  return true;
}

// Appends what is left to read in `from`, through `buffer`. The size of a file that grows meanwhile does not matter.
inline bool copy_rest(int from, int to, char* buffer, size_t size) {
  for (;;) {
    const ssize_t got = read(from, buffer, size);
    if (got <= 0) return got == 0;
    if (!write_all(to, buffer, static_cast<size_t>(got))) return false;
  }
}

}  // namespace vek
