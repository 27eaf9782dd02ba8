#include "refhost/base/address.h"

#include <gtest/gtest.h>

#include <string>

namespace corvane::tests {
namespace {

using refhost::ParseAddress;

TEST(Address, IsAHostWithAnOptionalPort) {
    const struct {
        const char* text;
        const char* host;
        const char* port;
    } cases[] = {
        {"10.0.0.1", "10.0.0.1", ""},
        {"camera-1.example:8080", "camera-1.example", "8080"},
        {"Gate_2", "Gate_2", ""},
        {"[::1]", "[::1]", ""},
        {"[fe80::a]:1", "[fe80::a]", "1"},
        {"a:65535", "a", "65535"},
        {"1a", "1a", ""},
        {"10.0.0.1-gate", "10.0.0.1-gate", ""},
    };
    for (const auto& one : cases) {
        const auto parsed = ParseAddress(one.text);
        ASSERT_TRUE(parsed) << one.text;
        EXPECT_EQ(parsed->host, one.host);
        EXPECT_EQ(parsed->port, one.port);
    }
}

TEST(Address, IsNothingElse) {
    for (const char* text :
         {"",        " ",         "a b",       "a:",  ":80",      "a:0",          "a:65536",  "a:8 0",
          "a:-1",    "a:80:80",   "user@a",    "a/b", "a?b",      "a#b",          "http://a", "1.2.3",
          "1",       "300.1.1.1", "10.0.0.1.", "-a",  "::1",      "[]",           "[::1",     "[x]",
          "[::1]80", "[::1]:",    "[1.2.3.4]", "a\n", "\xC3\xA9", "10.0.0.1-9:80"})
        EXPECT_FALSE(ParseAddress(text)) << text;
    EXPECT_FALSE(ParseAddress(std::string("a\0b", 3)));
    EXPECT_FALSE(ParseAddress(std::string(254, 'a')));
}

} // namespace
} // namespace corvane::tests
