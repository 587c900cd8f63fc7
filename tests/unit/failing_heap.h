// The C library's heap with a switch in front: the n-th allocation of a call fails, and what the call leaves behind is
// known. A program that includes this (in one source) supplies malloc, calloc, realloc and free, for itself and for the
// libraries below it: what the C library allocates on the way fails as well.
#pragma once

#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <stddef.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

namespace failing_heap {

// These run before a sanitizer's run time has started, and within it.
#define UNINSTRUMENTED __attribute__((no_sanitize("address", "thread", "undefined"), visibility("default")))

// Of the calling thread: what fails from here on.
struct Heap {
  bool under_test = false;
  bool stays_exhausted = false;  // not the n-th allocation alone, but all from there on
  int left = 0;                  // allocations that it still gets before that
  int allocations = 0;
  bool refused = false;
};
inline thread_local Heap g_heap;

// Blocks that the thread under test took and that nobody has given back, whichever thread does. A flat table, for the
// code that keeps it must not allocate.
inline std::atomic<void*> g_live[4096];

UNINSTRUMENTED inline bool refuse() {
  if (!g_heap.under_test) return false;
  g_heap.allocations++;
  if (g_heap.left > 0) {
    g_heap.left--;
    return false;
  }
  if (g_heap.refused && !g_heap.stays_exhausted) return false;
  g_heap.refused = true;
  errno = ENOMEM;
  return true;
}

UNINSTRUMENTED inline void* note(void* block) {
  if (!g_heap.under_test || block == nullptr) return block;
  for (auto& place : g_live) {
    void* empty = nullptr;
    if (place.compare_exchange_strong(empty, block)) return block;
  }
  __builtin_trap();
}

UNINSTRUMENTED inline bool forget(void* block) {
  if (block == nullptr) return false;
  for (auto& place : g_live) {
    void* expected = block;
    if (place.load(std::memory_order_relaxed) == block && place.compare_exchange_strong(expected, nullptr)) return true;
  }
  return false;
}

template <typename Function>
UNINSTRUMENTED Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace failing_heap

extern "C" UNINSTRUMENTED inline __attribute__((used)) void* malloc(size_t size) noexcept {
  static void* (*next_malloc)(size_t) = nullptr;
  if (next_malloc == nullptr) next_malloc = failing_heap::next<void*(size_t)>("malloc");
  return failing_heap::refuse() ? nullptr : failing_heap::note(next_malloc(size));
}

extern "C" UNINSTRUMENTED inline __attribute__((used)) void* calloc(size_t count, size_t size) noexcept {
  static void* (*next_calloc)(size_t, size_t) = nullptr;
  if (next_calloc == nullptr) next_calloc = failing_heap::next<void*(size_t, size_t)>("calloc");
  return failing_heap::refuse() ? nullptr : failing_heap::note(next_calloc(count, size));
}

extern "C" UNINSTRUMENTED inline __attribute__((used)) void* realloc(void* block, size_t size) noexcept {
  static void* (*next_realloc)(void*, size_t) = nullptr;
  if (next_realloc == nullptr) next_realloc = failing_heap::next<void*(void*, size_t)>("realloc");
  if (failing_heap::refuse()) return nullptr;
  const bool was_noted = failing_heap::forget(block);
  void* const moved = next_realloc(block, size);
  return was_noted || block == nullptr ? failing_heap::note(moved) : moved;
}

extern "C" UNINSTRUMENTED inline __attribute__((used)) void free(void* block) noexcept {
  static void (*next_free)(void*) = nullptr;
  if (next_free == nullptr) next_free = failing_heap::next<void(void*)>("free");
  failing_heap::forget(block);
  next_free(block);
}

namespace failing_heap {

inline size_t live_blocks() {
  return static_cast<size_t>(std::ranges::count_if(g_live, [](const auto& place) { return place != nullptr; }));
}

inline size_t open_descriptors() {
  size_t count = 0;
  DIR* const dir = opendir("/proc/self/fd");
  while (readdir(dir) != nullptr) count++;
  closedir(dir);
  return count;
}

// One exported function, as a daemon calls it.
struct Call {
  std::string name;
  int success;
  std::vector<int> failures;  // of the first allocation, the second, ...; the last one holds for all that follow
  std::function<int()> call;
  std::function<void()> undo = [] {};  // what a daemon does after success
  bool may_succeed = false;            // what an allocation was for can be done without, or done again
  bool keeps = false;                  // success is for the life of the process, and so are its blocks
};

constexpr timespec kMillisecond = {0, 1'000'000};

struct Outcome {
  int code;
  int allocations;
  bool refused;
};

inline Outcome run(const Call& call, int allowed, bool stays_exhausted) {
  g_heap = {.under_test = true, .stays_exhausted = stays_exhausted, .left = allowed};
  const int code = call.call();
  g_heap.under_test = false;
  return {code, g_heap.allocations, g_heap.refused};
}

inline void expect_stated_code(const Call& call, const Outcome& outcome, int allowed) {
  const auto last = static_cast<int>(call.failures.size()) - 1;
  if (!outcome.refused || (call.may_succeed && outcome.code == call.success))
    EXPECT_EQ(outcome.code, call.success);
  else
    EXPECT_EQ(outcome.code, call.failures[static_cast<size_t>(std::min(allowed, last))]);
}

// Threads that a call started, or woke, give back their blocks a little later.
inline size_t settled_live_blocks(size_t expected) {
  for (int i = 0; i < 2000 && live_blocks() > expected; i++) nanosleep(&kMillisecond, nullptr);
  return live_blocks();
}

// The call with its first allocation failing, then with its second, until it gets all that it wants.
inline void fail_each_allocation(const Call& call, bool stays_exhausted) {
  SCOPED_TRACE(call.name);
  if (!call.keeps) {
    // Once beforehand: what is made at a first use and kept (a client, a time zone, a stack) is no leak.
    ASSERT_EQ(call.call(), call.success);
    call.undo();
  }
  for (int allowed = 0;; allowed++) {
    SCOPED_TRACE("allocation " + std::to_string(allowed + 1) + (stays_exhausted ? " and all after it fail" : " fails"));
    ASSERT_LT(allowed, 1000) << "the call never gets enough";
    const size_t blocks = live_blocks();
    const size_t descriptors = open_descriptors();
    const Outcome outcome = run(call, allowed, stays_exhausted);
    expect_stated_code(call, outcome, allowed);
    ASSERT_TRUE(outcome.refused || outcome.allocations > 0) << "the call allocates nothing, so this proves nothing";
    if (!outcome.refused && call.keeps) {
      for (auto& place : g_live) place = nullptr;
      return;
    }
    if (outcome.code == call.success) call.undo();
    EXPECT_EQ(settled_live_blocks(blocks), blocks) << "blocks are left behind";
    EXPECT_EQ(open_descriptors(), descriptors) << "descriptors are left open";
    if (!outcome.refused) return;
  }
}

inline void fail_each_allocation(const std::vector<Call>& calls) {
  for (const Call& call : calls) {
    fail_each_allocation(call, true);
    if (!call.keeps) fail_each_allocation(call, false);
  }
}

}  // namespace failing_heap
