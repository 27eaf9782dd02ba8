#pragma once

#include "tests/support/camsim_process.h"
#include "tests/support/wait_until.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace corvane::vornhost_test {

using nlohmann::json;
using test_support::CCamsim;
using test_support::CProgram;
using test_support::RunProgram;
using test_support::SRun;
using test_support::WaitUntil;

inline SRun Vornhost(const std::vector<std::string>& arguments, const std::string& input = "",
                     const CProgram::Environment& environment = {}) {
    return RunProgram("vornhost", arguments, input, environment);
}

// The JSON objects of an output, one a line.
inline std::vector<json> JsonLines(const std::string& text) {
    std::vector<json> objects;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        objects.push_back(json::parse(line));
    return objects;
}

// A folder of the test's own, gone with it.
class CTemporaryFolder {
public:
    CTemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "vornhost_test.XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    ~CTemporaryFolder() { std::filesystem::remove_all(path_); }
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;

    std::string file(const std::string& name) const { return (path_ / name).string(); }
    std::string file(const std::string& name, const std::string& content) const {
        std::ofstream(path_ / name, std::ios::binary) << content;
        return file(name);
    }
    std::string contents() const {
        std::ostringstream all;
        for (const auto& entry : std::filesystem::directory_iterator(path_))
            all << std::ifstream(entry.path(), std::ios::binary).rdbuf();
        return all.str();
    }

private:
    std::filesystem::path path_;
};

} // namespace corvane::vornhost_test
