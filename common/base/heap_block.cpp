#include "common/base/heap_block.h"

#include <limits.h>
#include <string.h>

void* vek::zeroed_block(unsigned count, unsigned size) {
  if (count > UINT_MAX / size) return nullptr;
  void* const block = vek_pal_malloc(count * size);
  if (block != nullptr) memset(block, 0, count * size);
  return block;
}
