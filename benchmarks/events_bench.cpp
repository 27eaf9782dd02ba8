// Alarm inputs: from a change at the camera to its event at the consumer, at any moment of the event period;
// a thousand event streams (50 in a quick run), each of a camera of its own; and attaching to a camera and
// stopping, again and again.

#include "benchmarks/event_stream.h"
#include "benchmarks/process_use.h"
#include "benchmarks/stopwatch.h"
#include "benchmarks/workloads.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <malloc.h>
#include <random>
#include <thread>

namespace corvane::bench {

namespace {

using benchmark::State;
using vorn_camera_base::v1_0::CVornCamera;

void RegisterDelay(CEnvironment& environment) {
    const int samples = environment.choose(300, 20);
    const std::string address = environment.cameras().takeFresh();
    benchmark::RegisterBenchmark(
        "events_delay",
        [=, &environment](State& state) {
            const auto camera = environment.bringUp(environment.makeContext(address), address);
            for (auto _ : state) {
                CEventStream stream(*camera);
                std::mt19937 random(1);
                std::vector<double> delays;
                stream.waitFor(device_handler::v1_0::DryContactActive); // levels begin high
                for (int i = 0; i < samples; ++i) {
                    const bool rises = i % 2 == 1;
                    std::this_thread::sleep_for(std::chrono::microseconds(random() % 100'000)); // any moment
                    const CStopwatch watch;
                    environment.cameras().setInput(address, 1, rises ? "High" : "Low");
                    stream.waitFor(rises ? device_handler::v1_0::DryContactActive
                                         : device_handler::v1_0::DryContactInactive);
                    delays.push_back(watch.seconds());
                }
                environment.cameras().setInput(address, 1, "High");
                std::sort(delays.begin(), delays.end());
                state.SetIterationTime(delays[delays.size() / 2]);
                state.counters["p99"] = delays[delays.size() * 99 / 100];
            }
        })
        ->UseManualTime()
        ->Iterations(1);
}

void RegisterStreams(CEnvironment& environment) {
    const int count = environment.choose(1000, 50);
    const std::chrono::duration<double> span(environment.choose(20, 2));
    std::vector<std::string> addresses;
    for (int i = 0; i < count; ++i)
        addresses.push_back(environment.cameras().takeFresh());
    benchmark::RegisterBenchmark(
        "events_fleet",
        [=, &environment](State& state) {
            for (auto _ : state) {
                std::vector<boost::shared_ptr<CVornCamera>> cameras;
                for (const std::string& address : addresses)
                    cameras.push_back(environment.bringUp(environment.makeContext(address), address));
                malloc_trim(0);
                const SProcessUse before = ProcessUse();
                std::vector<std::unique_ptr<CEventStream>> streams;
                for (const auto& camera : cameras)
                    streams.push_back(std::make_unique<CEventStream>(*camera));
                for (const auto& stream : streams)
                    stream->waitForAny();
                const SProcessUse running = ProcessUse();
                std::uint64_t late = 0;
                for (const auto& stream : streams)
                    late -= stream->late();
                std::this_thread::sleep_for(span); // what is measured is time in which nothing changes
                const SProcessUse after = ProcessUse();
                for (const auto& stream : streams)
                    late += stream->late();
                state.SetIterationTime((after.cpuSeconds - running.cpuSeconds) * 60 / span.count());
                state.counters["streams"] = count;
                state.counters["threads"] = (after.threads - before.threads) / count;
                state.counters["descriptors"] = (after.descriptors - before.descriptors) / count;
                state.counters["resident"] = (after.residentBytes - before.residentBytes) / count;
                state.counters["late"] = static_cast<double>(late);
            }
        })
        ->UseManualTime()
        ->Iterations(1);
}

void RegisterChurn(CEnvironment& environment) {
    const int times = environment.choose(10000, 200);
    const std::string address = environment.cameras().takeFresh();
    benchmark::RegisterBenchmark(
        "events_churn",
        [=, &environment](State& state) {
            const auto camera = environment.bringUp(environment.makeContext(address), address);
            const auto attachAndStop = [&] { CEventStream(*camera).waitForAny(); };
            const auto use = [] {
                gst_task_cleanup_all(); // the threads that GStreamer keeps for a while
                malloc_trim(0);
                return ProcessUse();
            };
            for (auto _ : state) {
                for (int i = 0; i < 50; ++i) // what is made once
                    attachAndStop();
                const SProcessUse before = use();
                const CStopwatch watch;
                for (int i = 0; i < times; ++i)
                    CEventStream stream(*camera);
                state.SetIterationTime(watch.seconds() / times);
                attachAndStop();
                const SProcessUse after = use();
                state.counters["times"] = times;
                state.counters["threads"] = after.threads - before.threads;
                state.counters["descriptors"] = after.descriptors - before.descriptors;
                state.counters["resident"] = after.residentBytes - before.residentBytes;
            }
        })
        ->UseManualTime()
        ->Iterations(1);
}

} // namespace

void RegisterEvents(CEnvironment& environment) {
    RegisterChurn(environment);
    RegisterDelay(environment);
    RegisterStreams(environment);
}

} // namespace corvane::bench
