#include "tests/vornhost/vornhost_support.h"

namespace corvane::vornhost_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST(Secrets, ThePasswordGetsOutNowhere) {
    const std::string canary = "canary&b1rd@ /word";
    const std::string wrongCanary = "other-canary-word";
    const CTemporaryFolder words;
    const CTemporaryFolder databases;
    const std::string right = words.file("right", canary + "\n");
    const std::string wrong = words.file("wrong", wrongCanary + "\n");
    const CCamsim camsim({"--auth", "basic", "--password-file", right, "--rtsp-port", "0", "--fault",
                          "/cgi-bin/echo* empty", "--fault", "/MediaInput/* refuse"});
    const std::vector<std::string> common = {
        "--trace", "--log-level", "0", "--user", "admin", "--db", databases.file("devices.db")};
    const auto run = [&](std::vector<std::string> rest, const std::string& file,
                         const std::string& input = "") {
        rest.insert(rest.begin(), common.begin(), common.end());
        rest.insert(rest.begin(), {"--password-file", file});
        const SRun result = Vornhost(rest, input);
        for (const std::string& secret : {canary, wrongCanary, std::string("canary%26b1rd%40%20%2Fword"),
                                          std::string("YWRtaW46")}) { // "admin:" in base 64
            EXPECT_THAT(result.out, Not(HasSubstr(secret)));
            EXPECT_THAT(result.err, AllOf(Not(HasSubstr(secret)), Not(HasSubstr("/word"))));
            EXPECT_THAT(databases.contents(), Not(HasSubstr(secret)));
        }
        return result.status;
    };
    EXPECT_EQ(run({"identify", camsim.address()}, right), 0);
    EXPECT_EQ(run({"show", camsim.address()}, right), 0);
    EXPECT_EQ(run({"show", "--json", camsim.address()}, right), 0);
    EXPECT_EQ(run({"identify", camsim.address()}, wrong), 1);
    EXPECT_EQ(run({"script", camsim.address()}, right,
                  "credentials admin " + wrong + "\ntestAuthentication\ncamera new\n"),
              1);
    EXPECT_EQ(run({"--model", "F320", "call", camsim.address(), "testAuthentication"}, wrong), 3);
    // The location of the sound, which is logged, holds the password as it is.
    EXPECT_EQ(run({"record", camsim.address(), "--stream", "0,h264,0", "--audio", "--output",
                   databases.file("sound.mkv"), "--rtsp-port", camsim.rtspPort()},
                  right),
              1);
    EXPECT_EQ(run({"call", camsim.address(), "setting.CameraHttpGet", "/cgi-bin/echo?p=canary", "4"}, right),
              0);
}

} // namespace
} // namespace corvane::vornhost_test
