#include "tests/vornhost/vornhost_support.h"

#include <csignal>

namespace corvane::vornhost_test {
namespace {

TEST(PtzDrive, ASignalStopsTheCameraFirst) {
    const CCamsim camsim({"--model", "D850"});
    CProgram program("vornhost", {"--json", "ptz", camsim.address()});
    program.write("\x1b[C");
    EXPECT_THAT(program.readLine(), testing::HasSubstr("\"right\""));
    program.signal(SIGTERM);
    // The end of the input, which wait() brings, ends the program too, and would hide a signal not taken.
    EXPECT_THAT(program.readLine(), testing::HasSubstr("\"leave\""));
    EXPECT_EQ(program.wait().status, 0);
    EXPECT_THAT(camsim.requestedPaths(), testing::Contains("/cgi-bin/directctrl?pan=0&tilt=0&zoom=0&ch=1"));
}

} // namespace
} // namespace corvane::vornhost_test
