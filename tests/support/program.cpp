#include "tests/support/program.h"

#include "tests/support/printed_lines.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <pty.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace corvane::test_support {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds Patience{60};

struct SPipe {
    int reading = -1;
    int writing = -1;

    SPipe() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error(std::string("no pipe: ") + std::strerror(errno));
        reading = ends[0];
        writing = ends[1];
    }
};

void CloseFile(int& file) {
    if (file >= 0)
        close(file);
    file = -1;
}

// Its master's end is read, its slave's written.
SPipe Terminal() {
    SPipe terminal;
    close(terminal.reading);
    close(terminal.writing);
    if (openpty(&terminal.reading, &terminal.writing, nullptr, nullptr, nullptr) != 0)
        throw std::runtime_error(std::string("no terminal: ") + std::strerror(errno));
    fcntl(terminal.reading, F_SETFD, FD_CLOEXEC);
    fcntl(terminal.writing, F_SETFD, FD_CLOEXEC);
    return terminal;
}

std::string ProgramFile(const std::string& name) {
    const char* const folder = std::getenv("VORN_BIN");
    if (!folder)
        throw std::runtime_error("VORN_BIN is not set: run the tests with ctest");
    return std::string(folder) + "/" + name;
}

std::vector<std::string> EnvironmentTexts(const CProgram::Environment& added) {
    std::vector<std::string> texts;
    for (char** entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        if (added.count(text.substr(0, text.find('='))) == 0)
            texts.push_back(text);
    }
    for (const auto& [name, value] : added)
        texts.push_back(name + "=" + value);
    return texts;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

pid_t Spawn(const std::string& file, std::vector<std::string> arguments, std::vector<std::string> environment,
            const int (&streams)[3]) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int i = 0; i < 3; ++i)
        posix_spawn_file_actions_adddup2(&actions, streams[i], i);
    arguments.insert(arguments.begin(), file);
    pid_t process = -1;
    const int failure = posix_spawn(&process, file.c_str(), &actions, nullptr, Pointers(arguments).data(),
                                    Pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0)
        throw std::runtime_error("cannot start " + file + ": " + std::strerror(failure));
    return process;
}

} // namespace

CProgram::CProgram(const std::string& name, const std::vector<std::string>& arguments,
                   const Environment& environment, Errors errors)
    : name_(name), arguments_(arguments) {
    std::signal(SIGPIPE, SIG_IGN); // a program may end before it has read its input
    SPipe in, out;
    SPipe err = errors == Errors::Terminal ? Terminal() : SPipe();
    process_ = Spawn(ProgramFile(name), arguments, EnvironmentTexts(environment),
                     {in.reading, out.writing, err.writing});
    for (int* end : {&in.reading, &out.writing, &err.writing})
        CloseFile(*end);
    input_ = in.writing;
    output_[Out] = out.reading;
    output_[Err] = err.reading;
}

CProgram::~CProgram() {
    for (int* file : {&input_, &output_[Out], &output_[Err]})
        CloseFile(*file);
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
        keepPrinted(true);
    }
}

void CProgram::write(const std::string& text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = ::write(input_, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR)
            return; // ended before it has read everything
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

void CProgram::closeInput() {
    CloseFile(input_);
}

void CProgram::closeOutput() {
    CloseFile(output_[Out]);
    isOutputClosed_ = true;
}

void CProgram::narrowOutput() const {
    fcntl(output_[Out], F_SETPIPE_SZ, 1);
}

void CProgram::awaitFullOutput() const {
    const Clock::time_point deadline = Clock::now() + Patience;
    for (int bytes = 0; bytes < fcntl(output_[Out], F_GETPIPE_SZ); ioctl(output_[Out], FIONREAD, &bytes)) {
        if (Clock::now() > deadline)
            fail("does not fill its output");
        std::this_thread::yield();
    }
}

std::string CProgram::readLine() {
    if (!readUntil([this] { return text_[Out].find('\n') != std::string::npos; }))
        fail("ended before it wrote a line");
    const std::size_t end = text_[Out].find('\n');
    const std::string line = text_[Out].substr(0, end);
    text_[Out].erase(0, end + 1);
    return line;
}

void CProgram::waitForMessage(const std::string& text) {
    if (!readUntil([&] { return text_[Err].find(text) != std::string::npos; }))
        fail("ended before it said \"" + text + "\"");
}

void CProgram::signal(int number) const {
    kill(process_, number);
}

void CProgram::awaitSignalTaken() const {
    const Clock::time_point deadline = Clock::now() + Patience;
    for (bool pending = true; pending;) {
        std::ifstream status("/proc/" + std::to_string(process_) + "/status");
        pending = false;
        for (std::string line; std::getline(status, line);)
            pending = pending || (line.rfind("ShdPnd:", 0) == 0 &&
                                  line.find_first_of("123456789abcdef", 7) != line.npos);
        if (Clock::now() > deadline)
            fail("does not take its signals");
    }
}

SRun CProgram::wait() {
    closeInput();
    readUntil([] { return false; });
    int status = 0;
    rusage usage{};
    wait4(process_, &status, 0, &usage);
    process_ = -1;
    noteWord();
    keepPrinted(WIFSIGNALED(status) || isOutputClosed_);
    return {WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status), text_[Out], text_[Err],
            usage.ru_maxrss * 1024LL, firstWord_};
}

template <class Condition>
bool CProgram::readUntil(Condition condition) {
    const Clock::time_point deadline = Clock::now() + Patience;
    while (!condition()) {
        if (output_[Out] < 0 && output_[Err] < 0)
            return false;
        readSome(deadline);
    }
    return true;
}

void CProgram::readSome(Clock::time_point deadline) {
    const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd files[2] = {{output_[Out], POLLIN, 0}, {output_[Err], POLLIN, 0}};
    if (rest <= 0 || poll(files, 2, static_cast<int>(rest)) == 0)
        fail("takes too long");
    for (const Stream stream : {Out, Err}) {
        if (files[stream].revents == 0)
            continue;
        char buffer[65536];
        const ssize_t count = read(output_[stream], buffer, sizeof buffer);
        if (count > 0) {
            noteWord();
            text_[stream].append(buffer, static_cast<std::size_t>(count));
            whole_[stream].append(buffer, static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR)
            CloseFile(output_[stream]);
    }
}

void CProgram::keepPrinted(bool isCut) const {
    if (name_ == "vornhost")
        KeepPrinted(arguments_, whole_[Out], whole_[Err], isCut);
}

void CProgram::noteWord() {
    if (firstWord_ == 0)
        firstWord_ = std::chrono::duration<double>(Clock::now() - start_).count();
}

void CProgram::fail(const std::string& what) const {
    throw std::runtime_error(name_ + " " + what + "\nstandard output: " + text_[Out] +
                             "\nstandard error: " + text_[Err]);
}

SRun RunProgram(const std::string& name, const std::vector<std::string>& arguments, const std::string& input,
                const CProgram::Environment& environment, CProgram::Errors errors) {
    CProgram program(name, arguments, environment, errors);
    program.write(input);
    return program.wait();
}

} // namespace corvane::test_support
