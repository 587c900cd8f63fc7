// Registers benchmarks by row and who, and can fix their iterations: report.py counts the instructions of a row as the
// difference of two runs of fixed length, which leaves start-up out.
#pragma once

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <string>

namespace bench {

inline benchmark::internal::Benchmark* row(const std::string& name, void (*run)(benchmark::State&)) {
  auto* const registered = benchmark::RegisterBenchmark(name.c_str(), run);
  if (const char* const iterations = getenv("VEK_BENCH_ITERATIONS")) registered->Iterations(atoll(iterations));
  return registered;
}

}  // namespace bench
