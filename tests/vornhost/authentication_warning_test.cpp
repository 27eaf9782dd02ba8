// What a program is told of a camera that offers Basic authentication alone for its streams.

#include "site/diagnosis/diagnosis.h"
#include "tools/vornhost/names.h"

#include <gtest/gtest.h>

namespace corvane::vornhost {
namespace {

TEST(AuthenticationWarning, ItTellsTheRequestOfAStream) {
    refhost::SSeenAuthentication seen;
    EXPECT_FALSE(DiagnoseAuthentication(seen));
    seen.strongest = refhost::AuthScheme::Digest;
    seen.basicAlone.emplace();
    seen.basicAlone->address = "10.0.0.1";
    seen.basicAlone->method = "SETUP";
    seen.basicAlone->url = "rtsp://10.0.0.1:8554/video";
    const auto warning = DiagnoseAuthentication(seen);
    ASSERT_TRUE(warning);
    const auto problem = ProblemObject(*warning);
    EXPECT_EQ(problem.at("cause"), "authentication-weaker");
    EXPECT_EQ(problem.at("phase"), "stream");
    EXPECT_EQ(problem.at("asked"), "SETUP rtsp://10.0.0.1:8554/video");
}

} // namespace
} // namespace corvane::vornhost
