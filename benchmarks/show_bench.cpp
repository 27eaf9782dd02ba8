// A full `vornhost show` of a camera of every shipped model, beside the curl program that makes the same
// requests: each from its start to its end, as a user waits for it. On loopback
// that is the start of the programs; a paced camera takes 10 ms a reply, so that the show itself is seen.

#include "benchmarks/stopwatch.h"
#include "benchmarks/workloads.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace corvane::bench {

namespace {

using benchmark::State;
using Words = std::vector<std::string>;

// The seconds that a program takes whose output nobody reads.
double Run(const Words& words) {
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    const CStopwatch watch;
    pid_t child = 0;
    const int error = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    int status = -1;
    if (error == 0)
        waitpid(child, &status, 0);
    const double seconds = watch.seconds();
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0 || status != 0)
        throw CFailure(words[0] + " " + words[1] + " failed");
    return seconds;
}

Words CurlWords(const CEnvironment& environment, const std::string& address) {
    const auto& credentials = environment.credentials();
    Words words = {"curl", "--silent", "--digest", "--user",
                   credentials.getUsername() + std::string(":") + credentials.getPassword()};
    for (const std::string& path : environment.everyModel().answeredPaths(address))
        words.push_back("http://" + address + path);
    return words;
}

void Register(const char* name, const Words& words, int repetitions) {
    const auto run = [=](State& state) {
        for (auto _ : state)
            state.SetIterationTime(Run(words));
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
        Register((name + "/curl").c_str(), CurlWords(environment, address), repetitions);
    }
}

} // namespace

void RegisterShow(CEnvironment& environment) {
    RegisterOfEveryModel(environment, "show");
}

void RegisterPacedShow(CEnvironment& environment) {
    const CSimulatedCameras& cameras = environment.everyModel();
    cameras.control("DELETE", "/requests", "");
    cameras.control("POST", "/faults", R"({"path": "/cgi-bin/*", "kind": "delay", "ms": 10})");
    RegisterOfEveryModel(environment, "show_paced");
}

} // namespace corvane::bench
