// A camera that comes up, from the factory call until it is initialised, beside the same requests by the
// plain client. Each time on either side it is a camera that nobody has asked yet: neither side has a
// connection to it or knows its challenge. What was made is destroyed outside the time.

#include "benchmarks/start_up_requests.h"
#include "benchmarks/stopwatch.h"
#include "benchmarks/workloads.h"

#include <benchmark/benchmark.h>

namespace corvane::bench {

namespace {

using benchmark::State;

void ComeUp(State& state, CEnvironment& environment) {
    for (auto _ : state) {
        const std::string address = environment.cameras().takeFresh();
        const auto context = environment.makeContext(address);
        const CStopwatch watch;
        const auto camera = environment.bringUp(context, address);
        state.SetIterationTime(watch.seconds());
    }
}

void ComeUpPlainly(State& state, CEnvironment& environment, const CPlainStartUp& requests) {
    for (auto _ : state) {
        const std::string address = environment.cameras().takeFresh();
        const CStopwatch watch;
        const auto client = requests.run(address);
        state.SetIterationTime(watch.seconds());
    }
}

} // namespace

void RegisterStartUp(CEnvironment& environment) {
    const CPlainStartUp requests(environment);
    const int repetitions = environment.choose(200, 20);
    benchmark::RegisterBenchmark("start_up/plug-in",
                                 [&environment](State& state) { ComeUp(state, environment); })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(repetitions);
    benchmark::RegisterBenchmark(
        "start_up/plain",
        [&environment, requests](State& state) { ComeUpPlainly(state, environment, requests); })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(repetitions);
}

} // namespace corvane::bench
