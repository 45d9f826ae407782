// The benchmark program. scripts/bench builds it, runs it and makes the table of its figures.
#include <benchmark/benchmark.h>

#include <cstdio>

int main(int argc, char** argv) {
#ifndef NDEBUG
  std::fprintf(stderr,
               "bench: built for debugging, its figures would mislead; see scripts/bench\n");
  return 2;
#endif
  benchmark::AddCustomContext("compiler", BENCH_COMPILER);
  benchmark::AddCustomContext("build", BENCH_BUILD);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
