#pragma once

#include "tests/support/camsim_process.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace corvane::vornhost_test {

using nlohmann::json;
using test_support::CCamsim;
using test_support::CProgram;
using test_support::CTemporaryFolder;
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

} // namespace corvane::vornhost_test
