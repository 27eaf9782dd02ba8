#pragma once

#include <stdexcept>
#include <string>

namespace corvane::site {

// Why a file of a site cannot be used; the text begins with its name.
class CFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The whole of it. Throws CFileError, also for one that is larger than 64 MiB.
std::string ReadTextFile(const std::string& file);

// The file has the text when this returns, or what it had before, whatever ends the program meanwhile; a new
// one is its owner's alone. Throws CFileError.
void ReplaceFile(const std::string& file, const std::string& text);

} // namespace corvane::site
