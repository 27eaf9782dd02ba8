#pragma once

#include <benchmark/benchmark.h>

#include <functional>

namespace corvane::bench {

// Registers a workload that is run once and says itself how long what it measures took.
inline void RegisterManual(const char* name, const std::function<void(benchmark::State&)>& measure) {
    benchmark::RegisterBenchmark(name,
                                 [measure](benchmark::State& state) {
                                     for (auto _ : state)
                                         measure(state);
                                 })
        ->UseManualTime()
        ->Iterations(1);
}

} // namespace corvane::bench
