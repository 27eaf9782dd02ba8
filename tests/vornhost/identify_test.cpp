#include "tests/vornhost/vornhost_support.h"

namespace corvane::vornhost_test {
namespace {

using testing::HasSubstr;

TEST(Identify, OneLineAnAddressInTheirOrder) {
    const CCamsim camsim({"--count", "2", "--model", "F320", "--model", "GXE500"});
    const SRun run =
        Vornhost({"identify", "--json", camsim.addresses()[1], "127.0.0.1:9", camsim.addresses()[0]});
    EXPECT_EQ(run.status, 1);
    const std::vector<json> lines = JsonLines(run.out);
    ASSERT_EQ(lines.size(), 3U);
    const json cameras = camsim.get("/cameras").at("cameras");
    EXPECT_EQ(lines[0].at("address"), camsim.addresses()[1]);
    EXPECT_EQ(lines[0].at("code"), 1);
    EXPECT_EQ(lines[0].at("family"), "Encoder");
    EXPECT_EQ(lines[0].at("serialNumber"), cameras[1].at("serial"));
    EXPECT_GT(lines[0].at("ms"), 0.0);
    EXPECT_EQ(lines[1], json({{"address", "127.0.0.1:9"}, {"code", 16}}));
    EXPECT_EQ(lines[2].at("family"), "NetworkCamera");
    EXPECT_THAT(run.err, HasSubstr("127.0.0.1:9: nobody listens"));
}

TEST(Identify, WithAPasswordAloneForTheFamilysUser) {
    const CTemporaryFolder folder;
    const CCamsim camsim({"--password-file", folder.file("camera", "other")});
    EXPECT_EQ(Vornhost({"identify", camsim.address()}).status, 1);
    const SRun run = Vornhost({"identify", camsim.address()}, "", {{"VORNHOST_PASSWORD", "other"}});
    EXPECT_EQ(run.status, 0) << run.err;
}

TEST(Identify, ATableForEyes) {
    const CCamsim camsim;
    const SRun run = Vornhost({"identify", camsim.address()});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, testing::ContainsRegex("ADDRESS +FAMILY +SERIAL NUMBER +TIME\n" + camsim.address() +
                                                " +NetworkCamera +[A-Z0-9]+ +[0-9.]+ ms\n"));
}

} // namespace
} // namespace corvane::vornhost_test
