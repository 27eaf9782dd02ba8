// What a camera does wrong is told to programs by its cause: certain or not, in which phase, with what was
// asked and what came back.

#include "tests/vornhost/vornhost_support.h"

namespace corvane::vornhost_test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

const std::vector<std::string> Name = {"--json", "--model", "F320", "call", "ADDRESS", "getCameraName", "0"};
const std::vector<std::string> Reboot = {"--json", "--model", "F320", "call", "ADDRESS", "rebootDevice"};
const std::vector<std::string> Identify = {"--json", "identify", "ADDRESS"};

struct SCase {
    const char* fault;
    std::vector<std::string> arguments;
    const char* cause;
    const char* phase;
    const char* answered;
    int status;
};

const SCase Cases[] = {
    {"/cgi-bin/get_capability drop", Name, "dropped", "capability", "connection closed", 3},
    {"/cgi-bin/get_capability reset", Name, "dropped", "capability", "connection closed", 3},
    {"/cgi-bin/get_capability cut bytes=10", Name, "cut", "capability", "connection closed", 3},
    {"/cgi-bin/get_capability stall", Name, "cut", "capability", "timed out after 4 s", 3},
    {"/cgi-bin/get_capability delay ms=5000", Name, "no-answer", "capability", "timed out after 4 s", 3},
    {"/cgi-bin/get_capability garbage", Name, "not-http", "capability", "not HTTP", 3},
    {"/cgi-bin/get_capability empty", Name, "empty", "capability", "nothing behind", 3},
    {"/cgi-bin/get_capability status status=401", Name, "wrong-password", "capability",
     "to user \"admin\" (the family's default)", 3},
    {"/cgi-bin/get_capability status status=403", Name, "forbidden", "capability", "403 Forbidden", 3},
    {"/cgi-bin/get_capability status status=404", Name, "not-known", "capability", "404", 3},
    {"/cgi-bin/get_capability status status=501", Name, "not-known", "capability", "501", 3},
    {"/cgi-bin/get_capability status status=503", Name, "busy", "capability", "503", 3},
    {"/cgi-bin/get_capability status status=507", Name, "camera-fault", "capability", "507", 3},
    {"/cgi-bin/get_capability status status=302 location=../x", Name, "redirect", "capability",
     "302 Found, to ../x", 3},
    {"/cgi-bin/get_capability status status=418", Name, "odd-status", "capability", "418", 3},
    // Beside an answer that rests on it.
    {"/cgi-bin/setdata status status=503", Name, "busy", "settings", "503", 1},
    {"/cgi-bin/setdata drop", Name, "dropped", "settings", "connection closed", 1},
    {"/cgi-bin/initial status status=500 body=Oops", Reboot, "camera-fault", "write", "Oops", 1},
    {"/cgi-bin/getinfo* body body=<html>Printer</html>", Identify, "not-a-camera", "identify",
     "<html>Printer", 1},
    {"/cgi-bin/getinfo* body body=MODEL=x", Identify, "not-a-camera", "identify", "MODEL=x", 1},
    {"/cgi-bin/getinfo* body body=NAME=PX-X999&SERIAL=1", Identify, "unknown-model", "identify", "PX-X999",
     1},
    {"/cgi-bin/getinfo* empty", Identify, "empty", "identify", "nothing behind", 1},
    {"/cgi-bin/getinfo* delay ms=2600", Identify, "slow", "identify", "after 26", 1},
};

TEST(Causes, AreToldToPrograms) {
    for (const SCase& c : Cases) {
        const CCamsim camsim({"--fault", c.fault});
        std::vector<std::string> arguments = c.arguments;
        std::replace(arguments.begin(), arguments.end(), std::string("ADDRESS"), camsim.address());
        const SRun run = Vornhost(arguments);
        EXPECT_EQ(run.status, c.status) << c.fault;
        const json problem = json::parse(run.out, nullptr, false).value("problem", json::object());
        EXPECT_EQ(problem.value("cause", ""), c.cause) << c.fault << "\n" << run.out << run.err;
        EXPECT_EQ(problem.value("phase", ""), c.phase) << c.fault;
        EXPECT_THAT(problem.value("answered", ""), HasSubstr(c.answered)) << c.fault;
        EXPECT_THAT(problem.value("asked", ""), HasSubstr("http://" + camsim.address() + "/cgi-bin/"))
            << c.fault;
        EXPECT_NE(problem.value("try", ""), "") << c.fault;
        EXPECT_TRUE(problem.contains("certain")) << c.fault;
    }
}

TEST(Causes, OfAddressesWhereNoCameraIs) {
    const auto causeAt = [](const std::string& address) {
        const SRun run = Vornhost({"--json", "--model", "F320", "call", address, "getCameraName", "0"});
        EXPECT_EQ(run.status, 3) << address;
        return json::parse(run.out, nullptr, false).value("problem", json::object()).value("cause", "");
    };
    EXPECT_EQ(causeAt("no-such-host.invalid"), "name-not-found");
    EXPECT_EQ(causeAt("127.0.0.1:1"), "refused");
}

} // namespace
} // namespace corvane::vornhost_test
