#pragma once

#include <string>

namespace corvane::vornhost {

// A file that a verb fills. It is opened at once, so that one that cannot be written is told before anything
// else happens, and what it held before is kept until begin(). Belongs to one thread at a time.
class COutputFile {
public:
    // The name of standard output, which must be no terminal.
    static constexpr const char* StandardOutput = "-";

    // Throws CFailure with WrongUsage for anything that is not a file or cannot be written.
    explicit COutputFile(std::string path);
    // Removes a file that it has made and that nothing was written to.
    ~COutputFile();
    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;

    // Drops what the file held before; from here on it is kept. The error number, or 0.
    int begin();

    // Begins, and writes all of it. The error number, or 0.
    int write(const std::string& content);

    const std::string& path() const { return path_; }
    // For writing; belongs to this object.
    int descriptor() const { return descriptor_; }
    // Whether one can go back in it.
    bool isSeekable() const { return isSeekable_; }
    // In bytes; 0 where one cannot go back.
    long long size() const;

private:
    void takeStandardOutput();

    const std::string path_;
    int descriptor_ = -1;
    bool made_ = false;
    bool begun_ = false;
    bool isSeekable_ = true;
};

} // namespace corvane::vornhost
