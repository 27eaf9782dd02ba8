// A full `vornhost show` of a camera of every shipped model, beside the same requests by the plain client.
// What the program takes to start, load the plug-in and end counts on neither side: it is measured each time
// with a verb that does this and asks no camera.

#include "benchmarks/plain_client.h"
#include "benchmarks/stopwatch.h"
#include "benchmarks/workloads.h"

#include <benchmark/benchmark.h>

#include <algorithm>
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
    const int error = posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    int status = -1;
    if (error == 0)
        waitpid(child, &status, 0);
    const double seconds = watch.seconds();
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0 || status != 0)
        throw CFailure(words[0] + " " + words[1] + " failed");
    return seconds;
}

void Show(State& state, const std::string& program, const std::string& address) {
    for (auto _ : state) {
        const double shown = Run({program, "show", address});
        const double started = Run({program, "operations"});
        state.SetIterationTime(std::max(shown - started, 0.0));
    }
}

void ShowPlainly(State& state, const CEnvironment& environment, const std::string& address,
                 const Words& paths) {
    for (auto _ : state) {
        const CStopwatch watch;
        CPlainClient client(address, environment.credentials());
        for (const std::string& path : paths)
            (void)client.get(path);
        state.SetIterationTime(watch.seconds());
    }
}

} // namespace

void RegisterShow(CEnvironment& environment) {
    const std::string program = environment.program();
    const int repetitions = environment.choose(20, 3);
    for (const std::string& address : environment.everyModel().addresses()) {
        Run({program, "show", address});
        const Words paths = environment.everyModel().answeredPaths(address);
        benchmark::RegisterBenchmark("show/program", [=](State& state) { Show(state, program, address); })
            ->UseManualTime()
            ->Iterations(1)
            ->Repetitions(repetitions);
        benchmark::RegisterBenchmark(
            "show/plain",
            [=, &environment](State& state) { ShowPlainly(state, environment, address, paths); })
            ->UseManualTime()
            ->Iterations(1)
            ->Repetitions(repetitions);
    }
}

} // namespace corvane::bench
