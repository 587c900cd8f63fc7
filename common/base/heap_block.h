#pragma once

#include <stddef.h>

#include "vek_pal/memory.h"

namespace vek {

// NULL when there is no room, or the product is none that the heap could give.
void* zeroed_block(unsigned count, unsigned size);

// Owns zeroed room for `count` plain records on the library's heap; false when there was none. Empty it frees nothing,
// for vek_pal_free(NULL) writes a warning.
template <typename T>
class HeapBlock {
 public:
  explicit HeapBlock(unsigned count = 1) : block_(static_cast<T*>(zeroed_block(count, sizeof(T)))) {}
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
  T* block_;
};

}  // namespace vek
