#ifndef ZEPH_BENCH_CASES_H
#define ZEPH_BENCH_CASES_H

#include <benchmark/benchmark.h>

#include <cstdlib>

// A case of the benchmark. With BENCH_ROUNDS in the environment it runs exactly as often,
// for whoever counts its instructions.
#define ZEPH_CASE(name) BENCHMARK(name)->Apply(SetRounds)

inline void SetRounds(benchmark::internal::Benchmark* registered)
{
    if (const char* rounds = getenv("BENCH_ROUNDS"))
        registered->Iterations(atoi(rounds));
}

#endif
