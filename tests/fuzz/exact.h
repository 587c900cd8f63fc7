// What every target needs: an assertion that holds in every build, and buffers that end where they say.
#pragma once

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <memory>

inline void require(bool holds) {
  if (!holds) abort();
}

// `size` bytes on the heap, of which AddressSanitizer guards both ends; a copy of `from` where it is given.
class Exact {
 public:
  explicit Exact(size_t size, const void* from = nullptr) : bytes_(new uint8_t[size]) {
    if (from != nullptr && size != 0) memcpy(bytes_.get(), from, size);
  }
  static Exact terminated(const void* from, size_t size) {
    Exact text(size + 1);
    if (size != 0) memcpy(text.bytes(), from, size);
    text.bytes()[size] = 0;
    return text;
  }
  uint8_t* bytes() const { return bytes_.get(); }
  char* text() const { return reinterpret_cast<char*>(bytes_.get()); }

 private:
  std::unique_ptr<uint8_t[]> bytes_;
};
