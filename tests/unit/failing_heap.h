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
#include <functional>
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
constinit inline thread_local Heap g_heap;

// Blocks that the thread under test took and that nobody has given back, whichever thread does. A flat table, for the
// code that keeps it must not allocate.
constinit inline void* g_live[256] = {};

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

UNINSTRUMENTED inline bool replace(void** place, void* from, void* to) {
  return __atomic_compare_exchange_n(place, &from, to, false, __ATOMIC_RELAXED, __ATOMIC_RELAXED);
}

UNINSTRUMENTED inline void* note(void* block) {
  if (!g_heap.under_test || block == nullptr) return block;
  for (void*& place : g_live)
    if (replace(&place, nullptr, block)) return block;
  __builtin_trap();
}

UNINSTRUMENTED inline bool forget(void* block) {
  if (block == nullptr) return false;
  for (void*& place : g_live)
    if (__atomic_load_n(&place, __ATOMIC_RELAXED) == block && replace(&place, block, nullptr)) return true;
  return false;
}

// The heap behind this one: the C library's, or the sanitizer's.
struct Next {
  void* (*malloc)(size_t);
  void* (*calloc)(size_t, size_t);
  void* (*realloc)(void*, size_t);
  void (*free)(void*);
};
constinit inline Next g_next = {};

// False while it is still being looked for: dlsym() itself may give back the text of an earlier error.
UNINSTRUMENTED inline bool ready() {
  static bool looking = false;
  if (g_next.free != nullptr) return true;
  if (looking) return false;
  looking = true;
  g_next.malloc = reinterpret_cast<void* (*)(size_t)>(dlsym(RTLD_NEXT, "malloc"));
  g_next.calloc = reinterpret_cast<void* (*)(size_t, size_t)>(dlsym(RTLD_NEXT, "calloc"));
  g_next.realloc = reinterpret_cast<void* (*)(void*, size_t)>(dlsym(RTLD_NEXT, "realloc"));
  g_next.free = reinterpret_cast<void (*)(void*)>(dlsym(RTLD_NEXT, "free"));
  return true;
}

}  // namespace failing_heap

extern "C" UNINSTRUMENTED inline __attribute__((used)) void* malloc(size_t size) noexcept {
  using namespace failing_heap;
  return !ready() || refuse() ? nullptr : note(g_next.malloc(size));
}

extern "C" UNINSTRUMENTED inline __attribute__((used)) void* calloc(size_t count, size_t size) noexcept {
  using namespace failing_heap;
  return !ready() || refuse() ? nullptr : note(g_next.calloc(count, size));
}

extern "C" UNINSTRUMENTED inline __attribute__((used)) void* realloc(void* block, size_t size) noexcept {
  using namespace failing_heap;
  if (!ready() || refuse()) return nullptr;
  const bool was_noted = forget(block);
  void* const moved = g_next.realloc(block, size);
  return was_noted || block == nullptr ? note(moved) : moved;
}

extern "C" UNINSTRUMENTED inline __attribute__((used)) void free(void* block) noexcept {
  using namespace failing_heap;
  if (!ready()) return;
  forget(block);
  g_next.free(block);
}

// LeakSanitizer knows the dynamic linker's own blocks by who calls malloc, which here is the malloc above.
extern "C" inline __attribute__((used)) const char* __lsan_default_suppressions() {
  return "leak:_dl_map_object_deps\n";
}

namespace failing_heap {

inline size_t live_blocks() {
  size_t count = 0;
  for (void*& place : g_live) count += __atomic_load_n(&place, __ATOMIC_RELAXED) != nullptr;
  return count;
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

// What threads give back that a call started, or woke, comes a little later.
inline size_t settled(size_t (*count)(), size_t expected) {
  for (int i = 0; i < 2000 && count() != expected; i++) nanosleep(&kMillisecond, nullptr);
  return count();
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
      for (void*& place : g_live) __atomic_store_n(&place, nullptr, __ATOMIC_RELAXED);
      return;
    }
    if (outcome.code == call.success) call.undo();
    EXPECT_EQ(settled(live_blocks, blocks), blocks) << "blocks are left behind";
    EXPECT_EQ(settled(open_descriptors, descriptors), descriptors) << "descriptors are left open";
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
