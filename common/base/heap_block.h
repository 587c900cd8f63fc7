#pragma once

#include <string.h>

#include <limits>

#include "vek_pal/memory.h"

namespace vek {

// Owns zeroed room for `count` plain records on the library's heap; false when there was none. Empty it frees nothing,
// for vek_pal_free(NULL) writes a warning.
template <typename T>
class HeapBlock {
 public:
  explicit HeapBlock(unsigned count = 1) {
    if (count > std::numeric_limits<unsigned>::max() / sizeof(T)) return;
    const auto size = static_cast<unsigned>(count * sizeof(T));
    block_ = static_cast<T*>(vek_pal_malloc(size));
    if (block_ != nullptr) memset(static_cast<void*>(block_), 0, size);
  }
  ~HeapBlock() {
    if (block_ != nullptr) vek_pal_free(block_);
  }
  HeapBlock(const HeapBlock&) = delete;
  HeapBlock& operator=(const HeapBlock&) = delete;

  T* get() const { return block_; }
  T* operator->() const { return block_; }
  T& operator*() const { return *block_; }
  T& operator[](size_t i) const { return block_[i]; }
  explicit operator bool() const { return block_ != nullptr; }

  T* release() {
    T* const block = block_;
    block_ = nullptr;
    return block;
  }

 private:
  T* block_ = nullptr;
};

}  // namespace vek
