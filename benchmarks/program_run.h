#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

namespace corvane::bench {

// A program that runs beside this one, its standard output a pipe.
class CProgramRun {
public:
    struct SEnd {
        int status = 0;       // as waitpid() has it
        double peakBytes = 0; // of its memory
    };

    // Throws CFailure.
    explicit CProgramRun(const std::vector<std::string>& words);
    ~CProgramRun();
    CProgramRun(const CProgramRun&) = delete;
    CProgramRun& operator=(const CProgramRun&) = delete;

    // The next line, without its end; false when there is none.
    bool readLine(std::string& line);
    // What it has used until now.
    double cpuSeconds() const;
    void interrupt() const;
    SEnd wait();

private:
    struct SClose {
        void operator()(std::FILE* file) const { (void)std::fclose(file); }
    };

    pid_t process_ = 0; // 0: has ended
    std::unique_ptr<std::FILE, SClose> output_;
};

} // namespace corvane::bench
