#pragma once

#include <nlohmann/json_fwd.hpp>

#include <stdexcept>
#include <string>

namespace corvane::site {

// Why a file of a site cannot be used; the text begins with its name.
class CFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The file, or what stands beside it, cannot be written.
class CUnwritableFile : public CFileError {
public:
    CUnwritableFile(const std::string& file, const std::string& reason)
        : CFileError(file + ": cannot be written: " + reason) {}
};

// The whole of it. Throws CFileError, also for one that is larger than 64 MiB.
std::string ReadTextFile(const std::string& file);

// The file has the text when this returns, or what it had before, whatever ends the program meanwhile; a new
// one is its owner's alone. Where root writes it, it still belongs to whom it belonged, and a new one to whom
// its folder belongs, so that a service can go on reading it. Throws CFileError, also where something else
// than a file has the name.
void ReplaceFile(const std::string& file, const std::string& text);

// Likewise with a JSON value as its text; bytes that are no UTF-8 are replaced.
void ReplaceJsonFile(const std::string& file, const nlohmann::ordered_json& value);

// Throws what ReplaceFile would, as far as that can be known before there is a text.
void RequireReplaceable(const std::string& file);

// While it lives no other program that asks for it has it. Throws CFileError for a file that cannot be read.
class CFileLock {
public:
    explicit CFileLock(const std::string& file);
    ~CFileLock();
    CFileLock(const CFileLock&) = delete;
    CFileLock& operator=(const CFileLock&) = delete;

private:
    int descriptor_;
};

} // namespace corvane::site
