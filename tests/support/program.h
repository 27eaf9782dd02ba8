#pragma once

#include <chrono>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace corvane::test_support {

// How a program ended and what it said.
struct SRun {
    int status = 0; // the exit status, or minus the number of the signal that ended it
    std::string out;
    std::string err;
    long long peakBytes = 0; // of its memory
    double firstWord = 0;    // seconds until it wrote anything, or ended
};

// A program of the build (from the folder VORN_BIN) running beside the test, with pipes for its standard
// streams. Everything that waits throws std::runtime_error, with what the program has said so far, when it
// takes longer than a minute. Belongs to one thread.
class CProgram {
public:
    using Environment = std::map<std::string, std::string>; // on top of the test's own

    enum class Errors { Pipe, Terminal }; // what standard error is to the program

    CProgram(const std::string& name, const std::vector<std::string>& arguments,
             const Environment& environment = {}, Errors errors = Errors::Pipe);
    // Kills the program when it still runs.
    ~CProgram();
    CProgram(const CProgram&) = delete;
    CProgram& operator=(const CProgram&) = delete;

    void write(const std::string& text);
    void closeInput();
    void closeOutput(); // as a reader that goes away

    // Makes standard output's pipe as small as the system allows, so that a longer line is written in parts;
    // and waits until it is full and the program held up in a write.
    void narrowOutput() const;
    void awaitFullOutput() const;

    // The next line of standard output, without its line end.
    std::string readLine();
    // Waits until standard error holds the text.
    void waitForMessage(const std::string& text);

    void signal(int number) const;
    // Waits until the program has taken the signals sent to it, or has ended.
    void awaitSignalTaken() const;
    // Closes the input and waits for the end; `out` is what readLine has not taken.
    SRun wait();

private:
    enum Stream { Out, Err };

    // Reads what comes until the condition holds; false when both streams have ended before.
    template <class Condition>
    bool readUntil(Condition condition);
    void noteWord();
    void readSome(std::chrono::steady_clock::time_point deadline);
    [[noreturn]] void fail(const std::string& what) const;

    void keepPrinted(bool isCut) const;

    const std::string name_;
    const std::vector<std::string> arguments_;
    pid_t process_ = -1;
    int input_ = -1;
    int output_[2] = {-1, -1};
    std::string text_[2];  // that has not been taken yet
    std::string whole_[2]; // ever
    bool isOutputClosed_ = false;
    const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    double firstWord_ = 0;
};

// Runs a program of the build to its end.
SRun RunProgram(const std::string& name, const std::vector<std::string>& arguments,
                const std::string& input = "", const CProgram::Environment& environment = {},
                CProgram::Errors errors = CProgram::Errors::Pipe);

} // namespace corvane::test_support
