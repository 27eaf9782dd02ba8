#pragma once

#include "site/text_file.h"

#include <sys/resource.h>

#include <csignal>
#include <string>

namespace corvane::site {

// What the file is refused with; empty where it is taken.
template <class Use>
std::string FileErrorOf(const Use& use) {
    try {
        use();
    } catch (const CFileError& error) {
        return error.what();
    }
    return {};
}

// The same on a disk that is full: no file can be written beyond its first bytes.
template <class Use>
std::string FileErrorOnFullDiskOf(const Use& use) {
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full{5, before.rlim_max};
    (void)std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &full);
    std::string error = FileErrorOf(use);
    ::setrlimit(RLIMIT_FSIZE, &before);
    return error;
}

} // namespace corvane::site
