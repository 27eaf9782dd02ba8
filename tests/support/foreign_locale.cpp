// Linked into a test program: where the environment names a locale (LC_ALL), its tests run under that, and under a
// C++ locale of the same kind: a decimal comma, and digits in groups.

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <locale>
#include <string>

namespace corvane::test_support {
namespace {

class CForeignPunctuation : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; } // each digit
};

class CForeignLocale : public testing::Environment {
    void SetUp() override {
        if (!std::getenv("VORN_FOREIGN_LOCALE"))
            return;
        ASSERT_NE(std::setlocale(LC_ALL, ""), nullptr) << "the locale of LC_ALL is not there";
        ASSERT_STREQ(std::localeconv()->decimal_point, ",");
        std::locale::global(std::locale(std::locale::classic(), new CForeignPunctuation));
    }
};

const testing::Environment* const environment = testing::AddGlobalTestEnvironment(new CForeignLocale);

} // namespace
} // namespace corvane::test_support
