// A recorder's worth of cameras, brought up one after another and kept: the time until every one has its
// settings, and what the process then has more than before. Beside it the plain client's requests to as many
// cameras, its connections kept too. It must be the first workload of its process: memory that others gave
// back would be used again and not be counted.

#include "benchmarks/process_use.h"
#include "benchmarks/start_up_requests.h"
#include "benchmarks/stopwatch.h"
#include "benchmarks/workloads.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

namespace corvane::bench {

namespace {

using benchmark::State;
using device_handler::v1_0::CString;
using vorn_camera_base::v1_0::CVornCamera;

std::string TitleOf(CVornCamera& camera) {
    std::vector<CString> name;
    camera.getCameraName(0, name);
    return name.front().str();
}

using Fleet = std::vector<boost::shared_ptr<CVornCamera>>;

Fleet BringUp(const CEnvironment& environment, const std::vector<std::string>& addresses) {
    Fleet fleet;
    for (const std::string& address : addresses)
        fleet.push_back(environment.bringUp(environment.makeContext(address), address));
    for (std::size_t i = 0; i < fleet.size(); ++i)
        if (TitleOf(*fleet[i]).empty()) // waits for the settings
            throw CFailure("the camera " + addresses[i] + " has no title");
    return fleet;
}

void RequireUsable(const Fleet& fleet) {
    const std::string title = TitleOf(*fleet.front());
    for (const auto& camera : fleet) {
        if (TitleOf(*camera) != title)
            throw CFailure("a camera has another title than its model");
        if (const auto error = camera->testAuthentication())
            throw CFailure("a camera cannot be asked: " + error.getText());
    }
}

void KeepFleet(State& state, const CEnvironment& environment, const std::vector<std::string>& addresses) {
    const SProcessUse before = ProcessUse();
    const CStopwatch watch;
    const Fleet fleet = BringUp(environment, addresses);
    state.SetIterationTime(watch.seconds());

    RequireUsable(fleet);
    const SProcessUse use = ProcessUse();
    const auto count = static_cast<double>(fleet.size());
    state.counters["cameras"] = count;
    state.counters["threads"] = (use.threads - before.threads) / count;
    state.counters["descriptors"] = (use.descriptors - before.descriptors) / count;
    state.counters["resident"] = (use.residentBytes - before.residentBytes) / count;
}

double KeepPlainFleet(const CEnvironment& environment, const std::vector<std::string>& addresses) {
    const CPlainStartUp requests(environment);
    std::vector<std::unique_ptr<CPlainClient>> clients;
    clients.reserve(addresses.size());
    const CStopwatch watch;
    for (const std::string& address : addresses)
        clients.push_back(requests.run(address));
    return watch.seconds();
}

} // namespace

void RegisterFleet(CEnvironment& environment) {
    std::vector<std::string> addresses;
    for (int i = environment.choose(1000, 50); i > 0; --i)
        addresses.push_back(environment.cameras().takeFresh());
    benchmark::RegisterBenchmark("fleet",
                                 [=, &environment](State& state) {
                                     for (auto _ : state) {
                                         KeepFleet(state, environment, addresses);
                                         state.counters["plain"] = KeepPlainFleet(environment, addresses);
                                     }
                                 })
        ->UseManualTime()
        ->Iterations(1);
}

} // namespace corvane::bench
