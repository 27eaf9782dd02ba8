#include "tests/support/printed_lines.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <unistd.h>

namespace corvane::test_support {
namespace {

std::string NameOfTest() {
    const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
    return test ? std::string(test->test_suite_name()) + "." + test->name() : "";
}

} // namespace

void KeepPrinted(const std::vector<std::string>& arguments, const std::string& out, const std::string& err,
                 bool isCut) {
    static std::atomic<int> count{0};
    const char* const folder = std::getenv("VORN_PRINTED");
    if (!folder)
        return;
    const nlohmann::json kept = {
        {"test", NameOfTest()}, {"arguments", arguments}, {"out", out}, {"err", err}, {"isCut", isCut}};
    const std::string name = std::to_string(getpid()) + "-" + std::to_string(++count) + ".json";
    std::ofstream file(std::string(folder) + "/" + name);
    // A recording goes to standard output too, which is no text.
    file << kept.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    file.close();
    EXPECT_TRUE(file) << "what vornhost printed cannot be kept in " << folder;
}

} // namespace corvane::test_support
