#include "benchmarks/program_run.h"

#include "benchmarks/environment.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

namespace corvane::bench {

namespace {

constexpr double Kibibyte = 1024;

} // namespace

CProgramRun::CProgramRun(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw CFailure("there is no pipe to be had");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const int error = posix_spawnp(&process_, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    output_.reset(fdopen(ends[0], "r"));
    if (error != 0)
        throw CFailure(words[0] + " could not be started");
}

CProgramRun::~CProgramRun() {
    if (process_ != 0) {
        kill(process_, SIGKILL);
        (void)wait();
    }
}

bool CProgramRun::readLine(std::string& line) {
    char* text = nullptr;
    std::size_t capacity = 0;
    const ssize_t length = getline(&text, &capacity, output_.get());
    line.assign(text, length > 0 ? static_cast<std::size_t>(length - 1) : 0);
    std::free(text);
    return length > 0;
}

double CProgramRun::cpuSeconds() const {
    std::ifstream in("/proc/" + std::to_string(process_) + "/stat");
    std::string skipped;
    std::getline(in, skipped, ')'); // the program's name
    constexpr int FieldsBeforeTimes = 11;
    for (int i = 0; i < FieldsBeforeTimes; ++i)
        in >> skipped;
    double user = 0;
    double system = 0;
    in >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

void CProgramRun::interrupt() const {
    kill(process_, SIGINT);
}

CProgramRun::SEnd CProgramRun::wait() {
    SEnd end;
    rusage usage{};
    if (process_ != 0 && wait4(process_, &end.status, 0, &usage) == process_)
        end.peakBytes = static_cast<double>(usage.ru_maxrss) * Kibibyte;
    process_ = 0;
    return end;
}

} // namespace corvane::bench
