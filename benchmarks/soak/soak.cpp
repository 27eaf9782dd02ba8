// vorn_soak: event streams of many cameras that fail at random, each built anew when it has ended or
// fallen silent, as a recorder does. What the process uses must not grow: it is measured whenever all cameras
// have been left in peace and every stream plays, at the start, at each tenth of the time, and at the end.
//
// scripts/soak starts the simulated cameras.

#include "benchmarks/environment.h"
#include "benchmarks/event_stream.h"
#include "benchmarks/process_use.h"
#include "benchmarks/stopwatch.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <gst/gst.h>
#include <malloc.h>

#include <cstdio>
#include <iostream>
#include <random>
#include <thread>
#include <vector>

namespace {

using namespace corvane::bench;
using nlohmann::json;

constexpr const char* MonitorRequest = "/cgi-bin/get_io?mode=monitor";
constexpr std::chrono::milliseconds BetweenFaults{100};
constexpr std::chrono::seconds LongestSilence{5}; // a camera's first reply is waited for without a limit
constexpr int Tenths = 10;
constexpr int WarmUpTenths = 5;        // in which the allocator's and the HTTP client's pools fill
constexpr double LargestGrowth = 0.05; // of memory and descriptors, from then on; of threads none

class CSoak {
public:
    CSoak(CEnvironment& environment, int count) : cameras_(environment.cameras()) {
        for (int i = 0; i < count; ++i) {
            const std::string address = cameras_.takeFresh();
            objects_.push_back(environment.bringUp(environment.makeContext(address), address));
        }
        streams_.resize(objects_.size());
    }

    // Whether nothing has grown.
    bool run(double seconds) {
        const CStopwatch watch;
        g_thread_pool_set_max_unused_threads(0); // GLib keeps some for later streams, now more, now less
        std::printf("%8s %8s %12s %12s %8s %8s %10s\n", "seconds", "threads", "descriptors", "resident KiB",
                    "faults", "rebuilt", "events");
        (void)std::fflush(stdout);
        measure(watch.seconds());
        SProcessUse warm{};
        SProcessUse use{};
        for (int tenth = 1; tenth <= Tenths; ++tenth) {
            const double end = watch.seconds() + seconds / Tenths;
            while (watch.seconds() < end) {
                harm();
                rebuildEnded();
                std::this_thread::sleep_for(BetweenFaults); // the pace of the faults
            }
            use = measure(watch.seconds());
            if (tenth == WarmUpTenths)
                warm = use;
        }
        return use.threads <= warm.threads && use.descriptors <= warm.descriptors * (1 + LargestGrowth) &&
               use.residentBytes <= warm.residentBytes * (1 + LargestGrowth);
    }

private:
    int pick(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }

    void harm() {
        static const json kinds[] = {
            {{"kind", "silence"}},
            {{"kind", "close"}, {"ms", 50}},
            {{"kind", "cut"}, {"ms", 20}},
            {{"kind", "reset"}, {"ms", 20}},
            {{"kind", "split"}},
            {{"kind", "wrongcase"}},
            {{"kind", "status"},
             {"status", 401},
             {"body", "<html>who are you?</html>"},
             {"unauthorized", true}},
            {{"kind", "status"}, {"status", 500}},
            {{"kind", "drop"}},
            {{"kind", "stall"}, {"ms", 3000}},
            {{"kind", "garbage"}},
            {{"kind", "body"}, {"size", 1000000}},
        };
        const int camera = pick(static_cast<int>(objects_.size()));
        json fault = kinds[pick(static_cast<int>(std::size(kinds)))];
        fault.update({{"path", MonitorRequest}, {"camera", camera}, {"count", 1 + pick(3)}});
        cameras_.control("POST", "/faults", fault.dump());
        ++faults_;
        const int other = pick(static_cast<int>(objects_.size()));
        if (pick(20) == 0)
            cameras_.control("POST", "/cameras/" + std::to_string(other) + "/reboot", "{}");
        else
            cameras_.control("PATCH", "/cameras/" + std::to_string(other) + "/inputs",
                             json{{"1", pick(2) == 0 ? "Low" : "High"}}.dump());
    }

    void rebuildEnded() {
        for (std::size_t i = 0; i < streams_.size(); ++i) {
            if (streams_[i] && !streams_[i]->hasEnded() && streams_[i]->silence() < LongestSilence)
                continue;
            rebuilt_ += streams_[i] ? 1 : 0;
            events_ += streams_[i] ? streams_[i]->states() : 0;
            streams_[i].reset();
            streams_[i] = std::make_unique<CEventStream>(*objects_[i]);
        }
    }

    // Until every stream has lived through a silence that was set before the faults ended.
    void settle() {
        cameras_.control("DELETE", "/faults", "");
        const CStopwatch watch;
        while (watch.seconds() < 20) {
            rebuildEnded();
            std::this_thread::sleep_for(BetweenFaults); // the silences that were set last 16 s
        }
        for (const auto& stream : streams_)
            stream->waitForAny();
    }

    SProcessUse measure(double seconds) {
        settle();
        malloc_trim(0);
        const SProcessUse use = ProcessUse();
        std::uint64_t events = events_;
        for (const auto& stream : streams_)
            events += stream->states();
        std::printf("%8.0f %8.0f %12.0f %12.0f %8d %8d %10llu\n", seconds, use.threads, use.descriptors,
                    use.residentBytes / 1024, faults_, rebuilt_, static_cast<unsigned long long>(events));
        (void)std::fflush(stdout);
        return use;
    }

    CSimulatedCameras& cameras_;
    std::vector<boost::shared_ptr<corvane::vorn_camera_base::v1_0::CVornCamera>> objects_;
    std::vector<std::unique_ptr<CEventStream>> streams_;
    std::mt19937 random_{1};
    int faults_ = 0;
    int rebuilt_ = 0;
    std::uint64_t events_ = 0;
};

} // namespace

int main(int argc, char** argv) {
    double seconds = 3600;
    int count = 100;
    std::string plugin, models, simulator;
    CLI::App app("Event streams of many cameras that fail at random, and what the process uses meanwhile");
    app.add_option("--seconds", seconds, "How long")->capture_default_str();
    app.add_option("--cameras", count, "How many cameras")->capture_default_str();
    app.add_option("--plugin", plugin, "The plug-in's shared library")->required();
    app.add_option("--models", models, "The model list")->required();
    app.add_option("--simulator", simulator, "File with the ready line of the camera simulator")->required();
    CLI11_PARSE(app, argc, argv);
    try {
        constexpr bool IsQuick = false;
        CEnvironment environment(IsQuick, plugin, models, simulator);
        if (CSoak(environment, count).run(seconds))
            return 0;
        std::cerr << "vorn_soak: the process has grown\n";
    } catch (const std::exception& failure) {
        std::cerr << "vorn_soak: " << failure.what() << "\n";
    }
    return 1;
}
