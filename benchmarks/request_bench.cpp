// An ordinary request of a small reply under digest, the first having been made, beside the plain client's;
// and how many round trips it takes.

#include "benchmarks/plain_client.h"
#include "benchmarks/start_up_requests.h"
#include "benchmarks/stopwatch.h"
#include "benchmarks/workloads.h"

#include "camera/cgi_paths.h"
#include "camera/setting.h"

#include <benchmark/benchmark.h>
#include <boost/make_shared.hpp>

#include <functional>
#include <memory>

namespace corvane::bench {

namespace {

using benchmark::State;
using panasonic_camera::CPanasonicSetting;

void Request(CPanasonicSetting& setting, const std::string& path) {
    std::string reply;
    if (const auto error = setting.CameraHttpGet(path, reply, panasonic_camera::cgi::RequestTimeout))
        throw CFailure(path + ": " + error.getText());
}

// Each request is a sample of its own, so that the median leaves out those during which the machine did other
// things.
void RegisterRequests(const std::string& name, int repetitions, const std::function<void()>& request) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [request](State& state) {
                                     for (auto _ : state) {
                                         const CStopwatch watch;
                                         request();
                                         state.SetIterationTime(watch.seconds());
                                     }
                                 })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(repetitions);
}

} // namespace

void RegisterRequest(CEnvironment& environment) {
    const std::string address = environment.cameras().takeFresh();
    const std::string path = CPlainStartUp(environment).authenticationTest();
    const auto setting = boost::make_shared<CPanasonicSetting>(address, environment.makeContext(address));
    setting->GetCameraSetting("CAMTITLE"); // waits until the settings thread has its dump and is silent
    const auto client = std::make_shared<CPlainClient>(address, environment.credentials());
    Request(*setting, path);
    client->get(path);

    const int repetitions = environment.choose(3000, 200);
    RegisterRequests("request/plug-in", repetitions, [=] { Request(*setting, path); });
    RegisterRequests("request/plain", repetitions, [=] { client->get(path); });
    benchmark::RegisterBenchmark("request/round_trips", [=, &environment](State& state) {
        constexpr int Requests = 100;
        const std::size_t before = environment.cameras().countRequests(address);
        for (auto _ : state)
            for (int i = 0; i < Requests; ++i)
                Request(*setting, path);
        const std::size_t after = environment.cameras().countRequests(address);
        state.counters["each"] = static_cast<double>(after - before) / Requests;
    })->Iterations(1);
}

} // namespace corvane::bench
