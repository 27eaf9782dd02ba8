// Linked into a test program: where VORN_FOREIGN_LOCALE is the folder of a locale, its tests run under that,
// and under a C++ locale of the same kind: a decimal comma, and digits in groups.

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <locale>
#include <string>

namespace corvane::test_support {
namespace {

class CForeignPunctuation : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

class CForeignLocale : public testing::Environment {
    void SetUp() override {
        const char* const given = std::getenv("VORN_FOREIGN_LOCALE");
        if (!given)
            return;
        const std::filesystem::path folder = given;
        setenv("LOCPATH", folder.parent_path().c_str(), 1);
        setenv("LC_ALL", folder.filename().c_str(),
               1); // what libraries and programs go by that are started later
        ASSERT_NE(std::setlocale(LC_ALL, ""), nullptr) << folder;
        ASSERT_STREQ(std::localeconv()->decimal_point, ",");
        std::locale::global(std::locale(std::locale::classic(), new CForeignPunctuation));
    }
};

const testing::Environment* const Registered = testing::AddGlobalTestEnvironment(new CForeignLocale);

} // namespace
} // namespace corvane::test_support
