// Signals and readers that go away.

#include "tests/vornhost/vornhost_support.h"

#include <chrono>
#include <csignal>

namespace corvane::vornhost_test {
namespace {

using Clock = std::chrono::steady_clock;

// Asks again and again until a fault has hit a request.
void AwaitHit(const CCamsim& camsim) {
    while (camsim.get("/faults").at("faults")[0].at("hits") == 0) {
    }
}

TEST(Ending, ASignalEndsAProgramThatWaitsForACamera) {
    const CCamsim camsim({"--fault", "/cgi-bin/setdata* stall"});
    for (const char* verb : {"call", "script", "show"}) {
        for (const int signal : {SIGINT, SIGTERM}) {
            camsim.erase("/faults");
            camsim.post("/faults", {{"path", "/cgi-bin/setdata*"}, {"kind", "stall"}});
            std::vector<std::string> arguments = {verb, camsim.address()};
            if (arguments[0] == "call")
                arguments.insert(arguments.end(), {"setting.GetCameraSetting", "CAMTITLE"});
            CProgram program("vornhost", arguments);
            program.write("setting.GetCameraSetting CAMTITLE\n");
            AwaitHit(camsim);
            const Clock::time_point sent = Clock::now();
            program.signal(signal);
            EXPECT_EQ(program.wait().status, -signal) << verb;
            EXPECT_LT(Clock::now() - sent, std::chrono::seconds(1)) << verb;
        }
    }
}

TEST(Ending, ASignalBeforeTheStreamEndsARecordingAndAWatchWith0) {
    const CCamsim camsim;
    const CTemporaryFolder folder;
    for (const std::vector<std::string>& more :
         {std::vector<std::string>{"events", "--input", "0"},
          {"record", "--stream", "0,h264,0", "--output", folder.file("video.mkv")}}) {
        camsim.erase("/faults");
        camsim.post("/faults", {{"path", "/cgi-bin/get_capability"}, {"kind", "stall"}});
        std::vector<std::string> arguments = more;
        arguments.push_back(camsim.address());
        CProgram program("vornhost", arguments);
        AwaitHit(camsim);
        program.signal(SIGTERM);
        EXPECT_EQ(program.wait().status, 0) << more[0];
    }
}

TEST(Ending, ASignalEndsAWaitingScript) {
    const CCamsim camsim;
    CProgram program("vornhost", {"script", camsim.address()});
    program.write("getCameraName 0\n");
    program.readLine();
    program.signal(SIGTERM);
    program.awaitSignalTaken();
    program.awaitSignalTaken(); // the end of the input would end the script too
    EXPECT_EQ(program.wait().status, -SIGTERM);
}

TEST(Ending, NoLineIsHalfWritten) {
    const CCamsim camsim;
    for (int round = 0; round < 10; ++round) { // the signal and the reader race
        CProgram program("vornhost", {"script", camsim.address()});
        program.narrowOutput();
        program.write("setting.CameraHttpGet /cgi-bin/setdata 4\n"); // some 10 kB of an answer
        program.awaitFullOutput();
        program.signal(SIGINT);
        program.awaitSignalTaken();
        const SRun run = program.wait();
        EXPECT_EQ(run.status, -SIGINT);
        ASSERT_FALSE(run.out.empty());
        EXPECT_EQ(run.out.back(), '\n');
    }
}

TEST(Ending, QueriesThatAreStillEndingDoNotDisturbIt) {
    const CCamsim camsim;
    for (int milliseconds = 0; milliseconds < 40; ++milliseconds) {
        camsim.erase("/faults");
        // The family that is not asked first comes back about when the program ends.
        camsim.post("/faults", {{"path", "/cgi-bin/getinfo*"},
                                {"kind", "delay"},
                                {"unauthorized", true},
                                {"ms", milliseconds},
                                {"skip", 1},
                                {"count", 1}});
        const SRun run = Vornhost({"identify", "--json", camsim.address()});
        EXPECT_EQ(run.status, 0) << milliseconds << " ms: " << run.err;
    }
}

TEST(Ending, AReaderThatGoesAwayEndsTheProgramQuietly) {
    const CCamsim camsim;
    CProgram program("vornhost", {"script", camsim.address()});
    program.write("getCameraName 0\n");
    program.readLine();
    program.closeOutput();
    program.write("getCameraName 0\n");
    const SRun run = program.wait();
    EXPECT_EQ(run.status, -SIGPIPE);
    EXPECT_EQ(run.err, "");
}

} // namespace
} // namespace corvane::vornhost_test
