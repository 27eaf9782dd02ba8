#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace corvane::test_support {

// Whether every thread of this process but the asking one sleeps, so that none goes round and round.
inline bool DoOtherThreadsSleep() {
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string text; // "ID (NAME) STATE ..."
        std::getline(std::ifstream(thread.path() / "stat"), text);
        const std::size_t name = text.rfind(") ");
        if (name != std::string::npos && text[name + 2] != 'S' &&
            thread.path().filename() != std::to_string(gettid()))
            return false;
    }
    return true;
}

} // namespace corvane::test_support
