#include "tests/vornhost/vornhost_support.h"

namespace corvane::vornhost_test {
namespace {

using testing::HasSubstr;

struct SMistake {
    std::vector<std::string> words; // behind `serve SITE`
    int status;
    const char* cause;
    const char* text;
};

TEST(Serve, WhatKeepsItFromServingIsToldWithItsCause) {
    const CTemporaryFolder folder;
    const std::string site = folder.file("yard.json", R"({"cameras":[]})");
    const std::string tokens = folder.file("tokens.json", R"({"tokens":[]})");
    const SMistake mistakes[] = {
        {{"--listen", "8090"}, 2, "wrong-usage", "expected ADDRESS:PORT"},
        {{"--listen", "0.0.0.0:0"}, 2, "wrong-usage", "needs TLS"},
        {{"--listen", "0.0.0.0:0", "--tls-cert", "/dev/null", "--tls-key", "/dev/null"},
         2,
         "wrong-file",
         "/dev/null holds no certificate"},
        {{"--mqtt-calls"}, 2, "wrong-usage", "--mqtt-calls requires --mqtt"},
        {{"--token-file", folder.file("none.json")}, 2, "wrong-file", "none.json"},
        {{"--mqtt", "http://broker"}, 2, "wrong-usage", "mqtt"},
    };
    for (const SMistake& one : mistakes) {
        std::vector<std::string> words{"--json", "serve", site, "--state", folder.file("state")};
        words.insert(words.end(), one.words.begin(), one.words.end());
        if (one.words.front() != "--token-file")
            words.insert(words.end(), {"--token-file", tokens});
        const SRun run = Vornhost(words);
        SCOPED_TRACE(run.err);
        EXPECT_EQ(run.status, one.status);
        EXPECT_THAT(run.err, HasSubstr(one.text));
        const json line = JsonLines(run.out).at(0);
        EXPECT_EQ(line.at("problem").at("cause"), one.cause);
    }
    const SRun refused = Vornhost({"serve", folder.file("bad.json", R"({"camera":[]})")});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.err, HasSubstr("did you mean cameras?"));
}

} // namespace
} // namespace corvane::vornhost_test
