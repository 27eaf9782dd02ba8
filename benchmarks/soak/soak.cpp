// vorn_soak: cameras of all models that are read, written, moved and watched, while faults come and go. It
// checks that
//
// - no reader waits for more than two dumps of a camera's settings,
// - no command is carried out twice,
// - every callback comes once, and in order,
// - while a camera has no faults, everything succeeds, and each level change comes as one event and no other,
// - what the process uses does not grow from the first tenth of the time on.
//
// scripts/soak starts the simulated cameras.

#include "benchmarks/soak/crowd.h"
#include "benchmarks/soak/growth.h"
#include "benchmarks/soak/soaked_camera.h"
#include "benchmarks/stopwatch.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <gst/gst.h>

#include <cstdio>
#include <iostream>

namespace {

using namespace corvane::bench;
using nlohmann::json;

constexpr int Tenths = 10;
constexpr int Readers = 4;
constexpr std::chrono::milliseconds BetweenReads{2};
// A kept connection of each camera, and what is read from it; the allocator's pools.
CGrowth::SSlack SlackOf(std::size_t cameras) {
    const auto count = static_cast<double>(cameras);
    return {3 * count, 200'000 + 20'000 * count, 4'000'000 + 40'000 * count};
}

std::vector<SSimulatedCamera> ListCameras(const CSimulatedCameras& cameras) {
    std::vector<SSimulatedCamera> list;
    const json listed = json::parse(cameras.control("GET", "/cameras", ""));
    for (const json& camera : listed.at("cameras"))
        list.push_back({list.size(), cameras.addresses()[list.size()], camera.at("model"),
                        camera.contains("position") && camera.at("position").contains("pan"),
                        camera.contains("inputs")});
    return list;
}

class CSoak {
public:
    CSoak(CEnvironment& environment, unsigned seed) : simulator_(environment.cameras()) {
        g_thread_pool_set_max_unused_threads(0); // GLib keeps some for later streams, now more, now less
        for (const SSimulatedCamera& camera : ListCameras(simulator_))
            cameras_.push_back(std::make_unique<CSoakedCamera>(
                environment, camera, seed + static_cast<unsigned>(camera.number), findings_));
    }

    // Whether all is as it should be.
    bool run(double seconds) {
        std::printf("%8s %8s %12s %12s %9s %8s %8s %9s %8s\n", "seconds", "threads", "descriptors",
                    "resident KiB", "heap KiB", "rounds", "commands", "levels", "findings");
        const CStopwatch watch;
        CGrowth growth(SlackOf(cameras_.size()));
        {
            CCrowd crowd;
            for (const auto& camera : cameras_)
                crowd.add([this, &camera] { live(*camera); });
            for (unsigned reader = 0; reader < Readers; ++reader)
                crowd.add([this, random = std::mt19937(reader)]() mutable {
                    cameras_[random() % cameras_.size()]->read();
                    std::this_thread::sleep_for(BetweenReads); // a reader among others
                });
            for (int tenth = 1; tenth <= Tenths; ++tenth) {
                std::this_thread::sleep_for(std::chrono::duration<double>(seconds / Tenths));
                crowd.halt();
                changePassword(tenth);
                tell(watch.seconds(), growth.measure());
                crowd.goOn();
            }
        }
        growth.check("this process", findings_);
        return findings_.count() == 0;
    }

private:
    void live(CSoakedCamera& camera) {
        contain([&] { camera.rounds() % 2 == 0 ? camera.liveInPeace() : camera.liveWithFaults(); });
    }

    void changePassword(int number) {
        const std::string password = "password " + std::to_string(number);
        simulator_.control("PATCH", "/authentication", json{{"password", password}}.dump());
        for (const auto& camera : cameras_)
            contain([&] { camera->changePassword(password); });
    }

    void contain(const std::function<void()>& act) {
        try {
            act();
        } catch (const std::exception& failure) {
            findings_.add("a round", failure.what());
        }
    }

    void tell(double seconds, const SProcessUse& use) const {
        int rounds = 0;
        std::uint64_t commands = 0, levels = 0;
        for (const auto& camera : cameras_) {
            rounds += camera->rounds();
            commands += camera->commands();
            levels += camera->levelChanges();
        }
        std::printf("%8.0f %8.0f %12.0f %12.0f %9.0f %8d %8llu %9llu %8d\n", seconds, use.threads,
                    use.descriptors, use.residentBytes / 1024, use.heapBytes / 1024, rounds,
                    static_cast<unsigned long long>(commands), static_cast<unsigned long long>(levels),
                    findings_.count());
        (void)std::fflush(stdout);
    }

    CSimulatedCameras& simulator_;
    CFindings findings_;
    std::vector<std::unique_ptr<CSoakedCamera>> cameras_;
};

} // namespace

int main(int argc, char** argv) {
    double seconds = 3600;
    unsigned seed = 1;
    std::string plugin, models, simulator;
    CLI::App app("Cameras that are used while faults come and go, and whether all stays as it should");
    app.add_option("--seconds", seconds, "How long")->capture_default_str();
    app.add_option("--seed", seed, "Of what is done, and of the faults")->capture_default_str();
    app.add_option("--plugin", plugin, "The plug-in's shared library")->required();
    app.add_option("--models", models, "The model list")->required();
    app.add_option("--simulator", simulator, "File with the ready line of the camera simulator")->required();
    CLI11_PARSE(app, argc, argv);
    try {
        constexpr bool IsQuick = false;
        CEnvironment environment(IsQuick, plugin, models, simulator);
        return CSoak(environment, seed).run(seconds) ? 0 : 1;
    } catch (const std::exception& failure) {
        std::cerr << "vorn_soak: " << failure.what() << "\n";
    }
    return 1;
}
