// Loading the library into a fresh process, symbols bound, beside another library of its kind.
#include <dlfcn.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "row.h"

namespace {

double now() {
  timespec at;
  clock_gettime(CLOCK_MONOTONIC, &at);
  return static_cast<double>(at.tv_sec) + static_cast<double>(at.tv_nsec) * 1e-9;
}

// Each load is the first of its process.
double seconds_to_load(const char* library) {
  int result[2];
  if (pipe(result) != 0) return -1;
  const pid_t child = fork();
  if (child == 0) {
    const double start = now();
    const bool loaded = dlopen(library, RTLD_NOW | RTLD_LOCAL) != nullptr;
    const double seconds = loaded ? now() - start : -1;
    _exit(write(result[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
  }
  double seconds = -1;
  if (read(result[0], &seconds, sizeof seconds) != sizeof seconds) seconds = -1;
  close(result[0]);
  close(result[1]);
  waitpid(child, nullptr, 0);
  return seconds;
}

template <const char* const& library>
void load(benchmark::State& state) {
  for (auto _ : state) {
    const double seconds = seconds_to_load(library);
    if (seconds < 0) {
      state.SkipWithError("cannot be loaded");
      return;
    }
    state.SetIterationTime(seconds);
  }
}

const char* const kOurs = VEK_PAL_LIBRARY;
const char* const kLibdbus = "libdbus-1.so.3";

[[maybe_unused]] const bool registered = [] {
  benchmark::RegisterBenchmark("load/ours", load<kOurs>)->UseManualTime()->Iterations(50);
  benchmark::RegisterBenchmark("load/peer:libdbus", load<kLibdbus>)->UseManualTime()->Iterations(50);
  return true;
}();

}  // namespace
