// The PTZ controller: from a command to its request's first byte at the camera, beside the plain client
// sending the same request; 10,000 queued commands; taking one of 10,000 back; and a thousand idle
// controllers (50 in a quick run), which must be the first to measure memory in their process but for the
// fleet's.

#include "benchmarks/arrival_relay.h"
#include "benchmarks/plain_client.h"
#include "benchmarks/process_use.h"
#include "benchmarks/stopwatch.h"
#include "benchmarks/workloads.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <condition_variable>
#include <future>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace corvane::bench {

namespace {

using benchmark::State;
using device_handler::v1_0::CAsyncOp;
using device_handler::v1_0::CCallback;
using device_handler::v1_0::CError;
using device_handler::v1_0::CString;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_ptz_controller::v1_0::CPtzController;

constexpr const char* StopRequest = "/cgi-bin/directctrl?pan=0&tilt=0&zoom=0&ch=1";

// A camera behind an address, and a controller of it.
struct SPilot {
    SPilot(const CEnvironment& environment, const std::string& address) {
        const auto context = environment.makeContext(address);
        camera = environment.bringUp(context, address);
        std::vector<CString> name;
        camera->getCameraName(0, name); // waits until the settings thread is silent
        controller = environment.createPtzController(context, camera, address);
    }

    // Gives a stop, which is not repeated, and waits for its end.
    void stopAndWait() const {
        std::promise<void> ended;
        controller->moveAt(0, 0, 0, CCallback([&ended](const CError& error, const std::vector<CString>&) {
                               if (error)
                                   ended.set_exception(std::make_exception_ptr(CFailure(error.getText())));
                               else
                                   ended.set_value();
                           }));
        ended.get_future().get();
    }

    boost::shared_ptr<CVornCamera> camera;
    std::unique_ptr<CPtzController> controller;
};

std::vector<double> WakeUps(int samples) {
    std::mutex mutex; // guards what follows
    std::condition_variable wakeup;
    std::optional<CStopwatch> notified;
    std::vector<double> delays;
    std::thread sleeper([&] {
        std::unique_lock<std::mutex> lock(mutex);
        while (static_cast<int>(delays.size()) < samples) {
            wakeup.wait(lock, [&] { return notified.has_value(); });
            delays.push_back(notified->seconds());
            notified.reset();
        }
    });
    for (bool isEnough = false; !isEnough;) {
        std::this_thread::sleep_for(std::chrono::microseconds(200)); // until it sleeps
        const std::lock_guard<std::mutex> lock(mutex);
        isEnough = static_cast<int>(delays.size()) == samples;
        notified.emplace();
        wakeup.notify_one();
    }
    sleeper.join();
    return delays;
}

// A sample each time; the median and the 99th of a hundred are told.
void RegisterDelay(const std::string& name, int samples, const std::shared_ptr<CArrivalRelay>& relay,
                   const std::function<void()>& send) {
    benchmark::RegisterBenchmark(
        name.c_str(),
        [=](State& state) {
            for (auto _ : state) {
                std::vector<double> delays;
                for (int i = 0; i < samples; ++i) {
                    const auto start = CArrivalRelay::Clock::now();
                    send();
                    delays.push_back(std::chrono::duration<double>(relay->latestArrival() - start).count());
                }
                std::sort(delays.begin(), delays.end());
                state.SetIterationTime(delays[delays.size() / 2]);
                state.counters["p99"] = delays[delays.size() * 99 / 100];
            }
        })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(5);
}

void RegisterDelays(CEnvironment& environment) {
    const int samples = environment.choose(1000, 100);
    const auto plugRelay = std::make_shared<CArrivalRelay>(environment.cameras().takeFresh());
    const auto pilot = std::make_shared<SPilot>(environment, plugRelay->address());
    pilot->stopAndWait();
    RegisterDelay("ptz_delay/plug-in", samples, plugRelay, [pilot] { pilot->stopAndWait(); });

    const auto plainRelay = std::make_shared<CArrivalRelay>(environment.cameras().takeFresh());
    const auto client = std::make_shared<CPlainClient>(plainRelay->address(), environment.credentials());
    client->get(StopRequest);
    RegisterDelay("ptz_delay/plain", samples, plainRelay, [client] { client->get(StopRequest); });
}

void RegisterQueue(CEnvironment& environment) {
    const int commands = environment.choose(10000, 1000);
    const std::string address = environment.cameras().takeFresh();
    const auto pilot = std::make_shared<SPilot>(environment, address);
    pilot->stopAndWait();
    benchmark::RegisterBenchmark("ptz_queue/plug-in",
                                 [=](State& state) {
                                     for (auto _ : state) {
                                         const CStopwatch watch;
                                         for (int i = 1; i < commands; ++i)
                                             pilot->controller->moveAt(0, 0, 0, CCallback());
                                         pilot->stopAndWait();
                                         state.SetIterationTime(watch.seconds() / commands);
                                     }
                                 })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(3);
    const auto client = std::make_shared<CPlainClient>(address, environment.credentials());
    client->get(StopRequest);
    benchmark::RegisterBenchmark("ptz_queue/plain",
                                 [=](State& state) {
                                     for (auto _ : state) {
                                         const CStopwatch watch;
                                         for (int i = 0; i < commands; ++i)
                                             client->get(StopRequest);
                                         state.SetIterationTime(watch.seconds() / commands);
                                     }
                                 })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(3);
}

// On a queue without a worker, so that all of them wait.
void RegisterCancel(CEnvironment& environment) {
    using namespace vorn_utility::v1_0;
    const int commands = environment.choose(10000, 1000);
    benchmark::RegisterBenchmark("ptz_cancel",
                                 [commands](State& state) {
                                     const auto queue = boost::make_shared<CThreadAsyncQueue>();
                                     const auto push = [&queue] {
                                         return queue->push_back(
                                             boost::make_shared<CAsyncCmdDetails>([] {}, CCallback()));
                                     };
                                     std::vector<CAsyncOp> handles;
                                     for (int i = 0; i < commands; ++i)
                                         handles.push_back(push());
                                     std::size_t next = 0;
                                     for (auto _ : state) {
                                         CAsyncOp& handle = handles[next++ * 7919 % handles.size()];
                                         const CStopwatch watch;
                                         handle.cancel();
                                         state.SetIterationTime(watch.seconds());
                                         handle = push();
                                     }
                                 })
        ->UseManualTime()
        ->Repetitions(3);
}

// What the machine takes to run a thread that sleeps on a condition variable, from the notification on.
void RegisterWakeUp(CEnvironment& environment) {
    const int samples = environment.choose(2000, 100);
    benchmark::RegisterBenchmark("ptz_wake_up",
                                 [=](State& state) {
                                     for (auto _ : state) {
                                         std::vector<double> delays = WakeUps(samples);
                                         std::sort(delays.begin(), delays.end());
                                         state.SetIterationTime(delays[delays.size() / 2]);
                                     }
                                 })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(5);
}

void RegisterIdle(CEnvironment& environment) {
    const int count = environment.choose(1000, 50);
    const std::chrono::duration<double> span(environment.choose(10, 1));
    const std::string address = environment.cameras().takeFresh();
    benchmark::RegisterBenchmark(
        "ptz_idle",
        [=, &environment](State& state) {
            for (auto _ : state) {
                const auto context = environment.makeContext(address);
                const auto camera = environment.createCamera(context, address);
                const SProcessUse before = ProcessUse();
                std::vector<std::unique_ptr<CPtzController>> controllers;
                for (int i = 0; i < count; ++i)
                    controllers.push_back(environment.createPtzController(context, camera, address));
                const SProcessUse idle = ProcessUse();
                std::this_thread::sleep_for(span); // what is measured is time in which nothing is asked
                const SProcessUse after = ProcessUse();
                state.SetIterationTime((after.cpuSeconds - idle.cpuSeconds) * 60 / span.count());
                state.counters["resident"] = (after.residentBytes - before.residentBytes) / count;
                state.counters["controllers"] = count;
            }
        })
        ->UseManualTime()
        ->Iterations(1);
}

} // namespace

void RegisterPtz(CEnvironment& environment) {
    RegisterIdle(environment);
    RegisterWakeUp(environment);
    RegisterDelays(environment);
    RegisterQueue(environment);
    RegisterCancel(environment);
}

} // namespace corvane::bench
