// A full `vornhost show` of a camera of every shipped model, beside the curl program that makes the same
// requests and waits as long as the handler's query does: each from its start to its end, as a user waits
// for it. On loopback that is the start of the programs, which is told by itself too; a paced camera takes
// 10 ms a reply, so that the show itself is seen.

#include "benchmarks/program_run.h"
#include "benchmarks/stopwatch.h"
#include "benchmarks/workloads.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <thread>

namespace corvane::bench {

namespace {

using benchmark::State;
using Words = std::vector<std::string>;

void Run(const Words& words) {
    CProgramRun program(words);
    for (std::string line; program.readLine(line);) {
    }
    if (program.wait().status != 0)
        throw CFailure(words[0] + " " + words[1] + " failed");
}

Words CurlWords(const CEnvironment& environment, const std::string& address) {
    const auto& credentials = environment.credentials();
    Words words = {"curl", "--silent", "--digest", "--user",
                   credentials.getUsername() + std::string(":") + credentials.getPassword()};
    for (const std::string& path : environment.everyModel().answeredPaths(address))
        words.push_back("http://" + address + path);
    return words;
}

// What a device query waits before it looks whether its threads have ended.
constexpr std::chrono::milliseconds QueryWait{20};

void Register(const char* name, const Words& words, int repetitions, std::chrono::milliseconds wait = {}) {
    const auto run = [=](State& state) {
        for (auto _ : state) {
            const CStopwatch watch;
            Run(words);
            std::this_thread::sleep_for(wait);
            state.SetIterationTime(watch.seconds());
        }
    };
    benchmark::RegisterBenchmark(name, run)->UseManualTime()->Iterations(1)->Repetitions(repetitions);
}

void RegisterOfEveryModel(const CEnvironment& environment, const std::string& name) {
    const std::string program = environment.program();
    const int repetitions = environment.choose(20, 3);
    for (const std::string& address : environment.everyModel().addresses()) {
        const Words show = {program, "show", address};
        Run(show); // so that the camera can tell what it was asked
        Register((name + "/program").c_str(), show, repetitions);
        Register((name + "/curl").c_str(), CurlWords(environment, address), repetitions, QueryWait);
    }
}

} // namespace

void RegisterShow(CEnvironment& environment) {
    Register("show_start/program", {environment.program(), "--help"}, environment.choose(50, 5));
    Register("show_start/curl", {"curl", "--help"}, environment.choose(50, 5));
    RegisterOfEveryModel(environment, "show");
}

void RegisterPacedShow(CEnvironment& environment) {
    const CSimulatedCameras& cameras = environment.everyModel();
    cameras.control("DELETE", "/requests", "");
    cameras.control("POST", "/faults", R"({"path": "/cgi-bin/*", "kind": "delay", "ms": 10})");
    RegisterOfEveryModel(environment, "show_paced");
}

} // namespace corvane::bench
