#include "site/base/exit_status.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/session/address_ranges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvane::vornhost {
namespace {

using testing::ElementsAre;

TEST(AddressRanges, StandForTheirAddresses) {
    EXPECT_THAT(AddressesOf("127.0.1.10:8080"), ElementsAre("127.0.1.10:8080"));
    EXPECT_THAT(AddressesOf("gate-3.example"), ElementsAre("gate-3.example"));
    EXPECT_THAT(AddressesOf("127.0.1.254-127.0.2.1"),
                ElementsAre("127.0.1.254", "127.0.1.255", "127.0.2.0", "127.0.2.1"));
    EXPECT_THAT(AddressesOf("127.0.1.8-9:81"), ElementsAre("127.0.1.8:81", "127.0.1.9:81"));
    EXPECT_THAT(AddressesOf("127.0.1.5/30"), ElementsAre("127.0.1.5", "127.0.1.6"));
    EXPECT_THAT(AddressesOf("127.0.1.5/31"), ElementsAre("127.0.1.4", "127.0.1.5"));
    EXPECT_THAT(AddressesOf("127.0.1.5/32"), ElementsAre("127.0.1.5"));
    EXPECT_EQ(AddressesOf("255.255.255.254-255").size(), 2U);
    EXPECT_EQ(AddressesOf("10.0.0.0/16").size(), 65'534U);
}

TEST(AddressRanges, WhatIsNoneIsRefused) {
    for (const char* word :
         {"127.0.1.40-127.0.1.10", "127.0.1.40-10", "10.0.0.0/8", "127.0.1.0/33", "127.0.1.0/0",
          "127.0.1.0/24:0", "127.0.1.0/24:x", "127.0.1.1-300:80", "host/24", ""})
        EXPECT_THROW(AddressesOf(word), CFailure) << word;
}

} // namespace
} // namespace corvane::vornhost
