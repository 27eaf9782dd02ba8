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
    EXPECT_EQ(lines[1].at("code"), 16);
    EXPECT_EQ(lines[1].at("problem").at("cause"), "refused");
    EXPECT_FALSE(lines[1].contains("family"));
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

TEST(Identify, ManyAreAskedSideBySideAndToldInTheirOrder) {
    const CCamsim camsim({"--count", "6", "--model", "F320", "--model", "GXE500", "--no-rtsp", "--fault",
                          "/cgi-bin/getinfo* empty camera=3"});
    std::vector<std::string> arguments{"--json", "identify", "127.0.77.1-127.0.77.20:9"};
    arguments.insert(arguments.end(), camsim.addresses().begin(), camsim.addresses().end());
    const SRun run = Vornhost(arguments);
    EXPECT_EQ(run.status, 1);
    const std::vector<json> lines = JsonLines(run.out);
    ASSERT_EQ(lines.size(), 26U);
    for (std::size_t i = 0; i < 20; ++i) {
        EXPECT_EQ(lines[i].at("address"), "127.0.77." + std::to_string(i + 1) + ":9");
        EXPECT_EQ(lines[i].at("problem").at("cause"), "refused") << lines[i];
    }
    for (std::size_t i = 0; i < 6; ++i) {
        const json& line = lines[20 + i];
        EXPECT_EQ(line.at("address"), camsim.addresses()[i]);
        if (i == 3)
            EXPECT_EQ(line.at("problem").at("cause"), "empty") << line;
        else
            EXPECT_EQ(line.value("family", ""), i % 2 == 0 ? "NetworkCamera" : "Encoder") << line;
    }
    const SRun piped = Vornhost({"--json", "identify", "-"}, camsim.addresses()[1] + "\n127.0.0.1:9\n");
    EXPECT_EQ(JsonLines(piped.out).at(0).at("family"), "Encoder");
    EXPECT_EQ(JsonLines(piped.out).at(1).at("problem").at("cause"), "refused");
    EXPECT_EQ(piped.status, 1);
}

// The plug-in would go on for 5 s; a camera that is silent is given up when the user says so.
TEST(Identify, GoesByTheTimeout) {
    const CCamsim camsim({"--fault", "/cgi-bin/getinfo* delay ms=4000"});
    const SRun run = Vornhost({"--json", "--timeout", "0.2", "identify", camsim.address()});
    const json line = JsonLines(run.out).at(0);
    EXPECT_EQ(line.at("problem").at("cause"), "no-answer") << line;
    EXPECT_LT(line.at("ms"), 3000);
}

TEST(Identify, ATableForEyes) {
    const CCamsim camsim;
    const SRun run = Vornhost({"identify", camsim.address()});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out,
                testing::ContainsRegex("ADDRESS +FAMILY +SERIAL NUMBER +TIME +CAUSE\n" + camsim.address() +
                                       " +NetworkCamera +[A-Z0-9]+ +[0-9.]+ ms\n"));
}

} // namespace
} // namespace corvane::vornhost_test
