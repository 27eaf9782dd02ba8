// A site of 1,000 cameras (50 in a quick run) in one command, each beside a plain libcurl client that makes
// the same requests with the same concurrency: a check of cameras that are as they are wanted, a
// synchronisation of cameras that all differ in one stream, a check with a tenth of them dead; and the alarm
// inputs of all, beside as many of the plug-in's own event streams.

#include "benchmarks/event_stream.h"
#include "benchmarks/manual_benchmark.h"
#include "benchmarks/plain_client.h"
#include "benchmarks/process_use.h"
#include "benchmarks/program_run.h"
#include "benchmarks/stopwatch.h"
#include "benchmarks/workloads.h"

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include <sys/resource.h>

namespace corvane::bench {

namespace {

using benchmark::State;
using nlohmann::json;
using Addresses = std::vector<std::string>;

constexpr std::size_t Jobs = 64; // the program's own
constexpr int MostInputs = 3;    // of a camera

// The cameras of this workload, and the site file that is asked about them.
class CSite {
public:
    CSite(CEnvironment& environment, int count)
        : environment_(environment),
          file_((std::filesystem::temp_directory_path() /
                 ("vorn-bench-site-" + std::to_string(::getpid()) + ".json"))
                    .string()) {
        for (int i = 0; i < count; ++i)
            addresses_.push_back(environment.cameras().takeFresh());
    }
    ~CSite() {
        std::error_code none;
        std::filesystem::remove(file_, none);
    }
    CSite(const CSite&) = delete;
    CSite& operator=(const CSite&) = delete;

    const Addresses& addresses() const { return addresses_; }

    // The frame rate that the cameras have; and another.
    const std::string& rate() const { return rates_[isChanged_ ? 1 : 0]; }
    const std::string& otherRate() const { return rates_[isChanged_ ? 0 : 1]; }
    void noteChange() { isChanged_ = !isChanged_; }

    // Of the first of the cameras, all wanted at this frame rate, and with so many watched inputs.
    CProgramRun run(const std::string& verb, std::size_t cameras, const std::string& frameRate,
                    int inputs = 0) const {
        json site{{"cameras", json::array()}};
        const json wish{{"stream", "0,h264,0"}, {"record", {{"frameRate", frameRate}}}};
        site["defaults"] = {{"streams", json::array({wish})}, {"inputs", json::array()}};
        for (int input = 0; input < inputs; ++input)
            site["defaults"]["inputs"].push_back(input);
        for (std::size_t i = 0; i < cameras; ++i)
            site["cameras"].push_back({{"name", std::to_string(i)},
                                       {"address", addresses_[i]},
                                       {"model", CEnvironment::UsualModel}});
        std::ofstream(file_) << site;
        return CProgramRun({environment_.program(), "site", verb, file_, "--json"});
    }

private:
    CEnvironment& environment_;
    const std::string file_;
    const std::string rates_[2] = {"30", "15"};
    bool isChanged_ = false;
    Addresses addresses_;
};

struct SOutcome {
    double seconds = 0;
    double healthySeconds = 0; // until the last camera without a fault was done
    double peakBytes = 0;
};

SOutcome Run(const CSite& site, const std::string& verb, std::size_t cameras, const std::string& frameRate,
             const std::string& expected, std::size_t faults = 0) {
    const CStopwatch watch;
    CProgramRun program = site.run(verb, cameras, frameRate);
    SOutcome outcome;
    std::size_t done = 0;
    std::string other; // the line of one that is not as expected
    for (std::string line; program.readLine(line);) {
        const json told = json::parse(line);
        if (told.value("state", "") != expected) {
            other = told.contains("summary") ? other : line;
            continue;
        }
        ++done;
        outcome.healthySeconds = watch.seconds();
    }
    outcome.peakBytes = program.wait().peakBytes;
    outcome.seconds = watch.seconds();
    if (done + faults != cameras)
        throw CFailure("site " + verb + ": " + std::to_string(done) + " cameras are " + expected + ", of " +
                       std::to_string(cameras) + "; " + other);
    return outcome;
}

// The same requests by plain clients.
double RunPlain(const CEnvironment& environment, const Addresses& addresses, const json& requests) {
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < addresses.size(); i = next++) {
            CPlainClient client(addresses[i], environment.credentials());
            for (const json& request : requests)
                if (request.at("method") == "GET")
                    (void)client.get(request.at("path"));
                else
                    (void)client.send("POST", request.at("path"), request.at("body"));
        }
    };
    const CStopwatch watch;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < Jobs; ++i)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
    return watch.seconds();
}

void Measure(State& state, CEnvironment& environment, const CSite& site, const std::string& verb,
             const std::string& frameRate, const std::string& expected) {
    const Addresses& addresses = site.addresses();
    const CSimulatedCameras& cameras = environment.cameras();
    cameras.control("DELETE", "/requests", "");
    const std::size_t before = cameras.countRequests(addresses.back());
    const SOutcome outcome = Run(site, verb, addresses.size(), frameRate, expected);
    const json requests = cameras.answeredRequests(addresses.back());
    state.SetIterationTime(outcome.seconds);
    state.counters["requests"] = static_cast<double>(cameras.countRequests(addresses.back()) - before);
    state.counters["plain_requests"] = static_cast<double>(requests.size()) + 1; // and a challenge
    state.counters["plain"] = RunPlain(environment, addresses, requests);
}

void MeasureCheck(State& state, CEnvironment& environment, const CSite& site) {
    const std::size_t few = site.addresses().size() / 5; // more than are asked at once, where there are 1,000
    const double base = Run(site, "check", few, site.rate(), "same").peakBytes;
    Measure(state, environment, site, "check", site.rate(), "same");
    const double all = Run(site, "check", site.addresses().size(), site.rate(), "same").peakBytes;
    state.counters["cameras"] = static_cast<double>(site.addresses().size());
    state.counters["resident"] = (all - base) / static_cast<double>(site.addresses().size() - few);
}

// A tenth of the cameras, the first of the file, take connections and never say a word.
void MeasureWithDead(State& state, CEnvironment& environment, const CSite& site) {
    const std::size_t dead = site.addresses().size() / 10;
    const CSimulatedCameras& cameras = environment.cameras();
    state.counters["alive"] = Run(site, "check", site.addresses().size(), site.rate(), "same").healthySeconds;
    for (std::size_t i = 0; i < dead; ++i)
        cameras.setFault(site.addresses()[i], "web-silent");
    state.SetIterationTime(
        Run(site, "check", site.addresses().size(), site.rate(), "same", dead).healthySeconds);
    cameras.control("DELETE", "/faults", "");
}

double CpuSecondsOfStreams(const CEnvironment& environment, const Addresses& addresses, int inputs,
                           std::chrono::duration<double> span) {
    std::vector<boost::shared_ptr<vorn_camera_base::v1_0::CVornCamera>> cameras;
    std::vector<std::unique_ptr<CEventStream>> streams;
    for (const std::string& address : addresses) {
        cameras.push_back(environment.bringUp(environment.makeContext(address), address));
        for (int input = 0; input < inputs; ++input)
            streams.push_back(std::make_unique<CEventStream>(*cameras.back(), input));
    }
    for (const auto& stream : streams)
        stream->waitForAny();
    const double before = ProcessUse().cpuSeconds;
    std::this_thread::sleep_for(span); // what is measured is time in which nothing changes
    return ProcessUse().cpuSeconds - before;
}

// A stream with its camera takes as many descriptors, of which a program here may be given few.
constexpr std::size_t DescriptorsPerStream = 8;

std::size_t CamerasThatFit(std::size_t wanted, int inputs) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    return std::min<std::size_t>(wanted,
                                 limit.rlim_max / DescriptorsPerStream / static_cast<std::size_t>(inputs));
}

void MeasureEvents(State& state, CEnvironment& environment, const CSite& site, int inputs) {
    const std::size_t cameras = CamerasThatFit(site.addresses().size(), inputs);
    const Addresses addresses(site.addresses().begin(),
                              site.addresses().begin() + static_cast<std::ptrdiff_t>(cameras));
    const std::chrono::duration<double> span(environment.choose(20, 2));
    const int samples = environment.choose(300, 20);
    const std::size_t count = cameras * static_cast<std::size_t>(inputs);
    CProgramRun program = site.run("events", cameras, site.rate(), inputs);
    std::string line;
    for (std::size_t heard = 0; heard < count; ++heard)
        if (!program.readLine(line) || json::parse(line).at("event") != "dryContactState")
            throw CFailure("site events: " + line);
    const double before = program.cpuSeconds();
    std::this_thread::sleep_for(span); // likewise
    const double seconds = program.cpuSeconds() - before;

    std::vector<double> delays;
    std::mt19937 random(1);
    for (int i = 0; i < samples; ++i) {
        const std::string& address = addresses[static_cast<std::size_t>(i) % cameras];
        for (const char* level : {"Low", "High"}) {
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 100'000)); // any moment
            const CStopwatch watch;
            environment.cameras().setInput(address, 1, level);
            if (!program.readLine(line))
                throw CFailure("site events has ended");
            delays.push_back(watch.seconds());
        }
    }
    program.interrupt();
    (void)program.wait();
    std::sort(delays.begin(), delays.end());
    state.SetIterationTime(seconds * 60 / span.count());
    state.counters["inputs"] = static_cast<double>(count);
    state.counters["delay"] = delays[delays.size() / 2];
    state.counters["p99"] = delays[delays.size() * 99 / 100];
    state.counters["streams"] = CpuSecondsOfStreams(environment, addresses, inputs, span) * 60 / span.count();
}

} // namespace

void RegisterSite(CEnvironment& environment) {
    const auto site = std::make_shared<CSite>(environment, environment.choose(1000, 50));
    RegisterManual("site_check",
                   [=, &environment](State& state) { MeasureCheck(state, environment, *site); });
    RegisterManual("site_sync", [=, &environment](State& state) {
        Measure(state, environment, *site, "sync", site->otherRate(), "changed");
        site->noteChange();
    });
    RegisterManual("site_dead",
                   [=, &environment](State& state) { MeasureWithDead(state, environment, *site); });
    RegisterManual("site_events_1",
                   [=, &environment](State& state) { MeasureEvents(state, environment, *site, 1); });
    RegisterManual("site_events_3",
                   [=, &environment](State& state) { MeasureEvents(state, environment, *site, MostInputs); });
}

} // namespace corvane::bench
