#include "vek_pal/memory.h"

#include <stdlib.h>

#include "log/log.h"

namespace {

constexpr char kLogTag[] = "MEM";

}  // namespace

void* vek_pal_malloc(unsigned size) {
  if (size == 0) return FAIL(nullptr, "input param error!");
  void* const block = malloc(size);
  if (block == nullptr) return FAIL(nullptr, "malloc failed!");
  LOG_D("malloc: %p %d", block, static_cast<int>(size));
  return block;
}

void* vek_pal_calloc(unsigned count, unsigned size) {
  if (count == 0 || size == 0) return FAIL(nullptr, "input param error!");
  void* const block = calloc(count, size);
  if (block == nullptr) return FAIL(nullptr, "calloc failed!");
  LOG_D("calloc: %p %d %d", block, static_cast<int>(count), static_cast<int>(size));
  return block;
}

void* vek_pal_realloc(void* ptr, unsigned size) {
  if (ptr == nullptr && size == 0) return FAIL(nullptr, "input param error! realloc space of size zero");
  void* const block = realloc(ptr, size);
  if (block == nullptr && size != 0) return FAIL(nullptr, "realloc failed!");
  LOG_D("realloc: %p %d", block, static_cast<int>(size));
  return block;
}

void vek_pal_free(void* ptr) {
  if (ptr == nullptr) {
    LOG_W("ptr no need to free!");
    return;
  }
  LOG_D("free: %p", ptr);
  free(ptr);
}

int vek_pal_getHeapInfo(void) { return 10; }
