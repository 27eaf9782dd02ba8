// A site of 10,000 cameras (200 in a quick run), a controller each, beside one of a tenth: the time and the
// memory of each, and what they cost at rest while each camera's settings are refreshed once, beside those
// refreshes by plain clients.

#include "benchmarks/process_use.h"
#include "benchmarks/start_up_requests.h"
#include "benchmarks/stopwatch.h"
#include "benchmarks/workloads.h"

#include "camera/cgi_paths.h"

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <thread>
#include <vector>

namespace corvane::bench {

namespace {

using benchmark::State;
using device_handler::v1_0::CString;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_ptz_controller::v1_0::CPtzController;

// A little longer than the settings' refresh period, which begins with each camera's first dump.
constexpr std::chrono::seconds SpanOfARefresh{315};

struct SSite {
    std::vector<boost::shared_ptr<CVornCamera>> cameras;
    std::vector<std::unique_ptr<CPtzController>> controllers;
};

void Grow(SSite& site, CEnvironment& environment, std::size_t count) {
    while (site.cameras.size() < count) {
        const std::string& address = environment.cameras().takeFresh();
        site.cameras.push_back(environment.bringUp(environment.makeContext(address), address));
    }
    for (const auto& camera : site.cameras) {
        std::vector<CString> name;
        camera->getCameraName(0, name); // waits for the settings
    }
}

void AddControllers(SSite& site, CEnvironment& environment) {
    const std::string& address = environment.cameras().addresses().front();
    const auto context = environment.makeContext(address);
    while (site.controllers.size() < site.cameras.size())
        site.controllers.push_back(environment.createPtzController(context, site.cameras.front(), address));
}

struct SCost {
    double seconds;
    double bytes;
};

// Of each camera, or controller, that `grow` adds.
template <class Growth>
SCost CostOfEach(int count, const Growth& grow) {
    malloc_trim(0);
    const SProcessUse before = ProcessUse();
    const CStopwatch watch;
    grow();
    const double seconds = watch.seconds();
    return {seconds / count, (ProcessUse().residentBytes - before.residentBytes) / count};
}

double CpuSecondsDuring(std::chrono::seconds span) {
    const double before = ProcessUse().cpuSeconds;
    std::this_thread::sleep_for(span); // nothing is asked but what the settings' threads ask for themselves
    return ProcessUse().cpuSeconds - before;
}

double CpuSecondsOfPlainRefreshes(const CEnvironment& environment,
                                  const std::vector<std::string>& addresses) {
    const double before = ProcessUse().cpuSeconds;
    for (const std::string& address : addresses)
        CPlainClient(address, environment.credentials()).get(panasonic_camera::cgi::Setdata);
    return ProcessUse().cpuSeconds - before;
}

void MeasureSites(State& state, CEnvironment& environment) {
    const int large = environment.choose(10'000, 200);
    const int small = large / 10;
    const std::chrono::seconds span = environment.isQuick() ? std::chrono::seconds(1) : SpanOfARefresh;
    SSite site;
    const CStopwatch watch;
    const auto tell = [&](const std::string& name, const SCost& cost) {
        state.counters[name + "_seconds"] = cost.seconds;
        state.counters[name + "_bytes"] = cost.bytes;
    };
    tell("small", CostOfEach(small, [&] { Grow(site, environment, static_cast<std::size_t>(small)); }));
    tell("small_controller", CostOfEach(small, [&] { AddControllers(site, environment); }));
    tell("large",
         CostOfEach(large - small, [&] { Grow(site, environment, static_cast<std::size_t>(large)); }));
    tell("large_controller", CostOfEach(large - small, [&] { AddControllers(site, environment); }));
    state.counters["cameras"] = static_cast<double>(site.cameras.size());
    const double cpu = CpuSecondsDuring(span);
    state.counters["rest"] = cpu;
    state.counters["share"] = cpu / static_cast<double>(span.count());
    const auto& all = environment.cameras().addresses();
    state.counters["plain"] = CpuSecondsOfPlainRefreshes(environment, {all.begin(), all.begin() + large});
    state.SetIterationTime(watch.seconds());
}

} // namespace

void RegisterLarge(CEnvironment& environment) {
    benchmark::RegisterBenchmark("large",
                                 [&environment](State& state) {
                                     for (auto _ : state)
                                         MeasureSites(state, environment);
                                 })
        ->UseManualTime()
        ->Iterations(1);
}

} // namespace corvane::bench
