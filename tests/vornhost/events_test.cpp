#include "tests/vornhost/vornhost_support.h"

#include <csignal>
#include <ctime>

namespace corvane::vornhost_test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

constexpr const char* Monitor = "/cgi-bin/get_io?mode=monitor";

// A camera whose inputs are Low.
class CStillCamera : public CCamsim {
public:
    CStillCamera() : CCamsim({"--model", "D850"}) { setInputs("Low"); }
    void setInputs(const char* level) const {
        patch("/cameras/0/inputs", {{"1", level}, {"2", level}, {"3", level}});
    }
};

// The first line that comes with all these members.
json NextEvent(CProgram& program, const json& members) {
    for (;;) {
        json event = json::parse(program.readLine());
        json merged = event;
        merged.update(members);
        if (merged == event)
            return event;
    }
}

TEST(Events, AChangeBecomesALineAndASignalEndsIt) {
    const CStillCamera camsim;
    for (const int signal : {SIGINT, SIGTERM}) {
        camsim.patch("/cameras/0/inputs", {{"1", "High"}, {"2", "Low"}});
        CProgram program("vornhost", {"events", camsim.address(), "--input", "1"});
        const json before = NextEvent(program, {{"event", "dryContactState"}, {"state", 1}});
        EXPECT_EQ(before.size(), 4U) << before;
        EXPECT_NEAR(before.at("time").get<double>() / 1e9, static_cast<double>(std::time(nullptr)), 60);
        EXPECT_EQ(NextEvent(program, {{"event", "ping"}}).size(), 3U);
        camsim.patch("/cameras/0/inputs", {{"2", "High"}});
        const json after = NextEvent(program, {{"event", "dryContactState"}, {"state", 0}});
        EXPECT_GT(after.at("time"), before.at("time"));
        program.signal(signal);
        program.awaitSignalTaken(); // the end would hide a signal not taken
        const SRun run = program.wait();
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(run.out.empty() ? '\n' : run.out.back(), '\n');
    }
    EXPECT_THAT(camsim.requestedPaths(), Not(Contains(HasSubstr("jpeg_alarm")))); // watching changes nothing
}

TEST(Events, ALostCameraEndsItUnlessItIsWaitedFor) {
    const CStillCamera camsim;
    const json loss = {{"path", Monitor}, {"kind", "reset"}, {"ms", 300}, {"count", 1}};
    camsim.post("/faults", loss);
    const SRun ended = Vornhost({"events", camsim.address(), "--input", "0"});
    EXPECT_EQ(ended.status, 1);
    const std::vector<json> lines = JsonLines(ended.out);
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[lines.size() - 2].at("event"), "eos");
    EXPECT_EQ(lines.back().at("event"), "problem");
    EXPECT_EQ(lines.back().at("problem").at("cause"), "stream-lost");
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const json& l) { return l.at("event") == "eos"; }),
              1);
    EXPECT_THAT(ended.err, AllOf(HasSubstr("input 0: the camera was lost"), HasSubstr("--reconnect")));

    camsim.post("/faults", loss);
    CProgram program("vornhost", {"events", camsim.address(), "--input", "0", "--readable", "--reconnect"});
    for (const char* const text :
         {"  input 0  inactive", "the camera is lost", "events come again after ", "  input 0  inactive"})
        EXPECT_THAT(program.readLine(), HasSubstr(text));
    program.waitForMessage("trying again");
    program.waitForMessage("events come again after ");
    camsim.patch("/cameras/0/inputs", {{"1", "High"}});
    EXPECT_THAT(program.readLine(), HasSubstr("  input 0  active"));
    program.closeOutput(); // told at once, though a still input writes nothing
    const SRun run = program.wait();
    EXPECT_EQ(run.status, -SIGPIPE);
}

TEST(Events, WhoeverSeesNothingIsToldWhy) {
    const CStillCamera camsim;
    const auto run = [&camsim](const json& fault, const char* seconds) {
        camsim.erase("/faults");
        camsim.post("/faults", fault);
        return Vornhost({"events", camsim.address(), "--input", "0", "--seconds", seconds});
    };
    const SRun silent = run({{"path", Monitor}, {"kind", "stall"}}, "0.5");
    EXPECT_EQ(silent.status, 1);
    EXPECT_EQ(JsonLines(silent.out).at(0).at("problem").at("cause"), "monitor-silent");
    EXPECT_THAT(silent.err, AllOf(HasSubstr("no event has come"), HasSubstr("mode=monitor")));
    const SRun forbidden = run({{"path", "/cgi-bin/get_io*"}, {"kind", "status"}, {"status", 403}}, "60");
    EXPECT_EQ(forbidden.status, 1);
    EXPECT_THAT(forbidden.err, AllOf(HasSubstr("the camera was lost"), HasSubstr("403")));

    // What answers there tells no levels, and no state of its is told.
    const SRun alien = run({{"path", Monitor}, {"kind", "body"}, {"body", "<html>Router</html>"}}, "60");
    EXPECT_EQ(alien.status, 1);
    EXPECT_THAT(alien.out, Not(HasSubstr("dryContactState")));
    EXPECT_EQ(JsonLines(alien.out).back().at("problem").at("cause"), "monitor-refused");

    const CCamsim without({"--model", "S202"});
    const SRun none = Vornhost({"events", without.address(), "--input", "0"});
    EXPECT_EQ(none.status, 1);
    EXPECT_THAT(none.err, AllOf(HasSubstr("no alarm inputs"), HasSubstr("property not found")));
    EXPECT_EQ(Vornhost({"events", camsim.address(), "--input", "3"}).status, 2);
}

TEST(Events, AScriptPlaysThemBesideItsLines) {
    const CStillCamera camsim;
    CProgram program("vornhost", {"script", camsim.address()});
    program.write("events start 2\nevents start 0\n");
    NextEvent(program, {{"event", "dryContactState"}, {"input", 0}, {"state", 1}});
    NextEvent(program, {{"event", "dryContactState"}, {"input", 2}, {"state", 1}});
    program.write("getCameraName 0\n");
    EXPECT_EQ(NextEvent(program, {{"operation", "getCameraName"}}).at("code"), 1);
    camsim.patch("/cameras/0/inputs", {{"3", "High"}});
    NextEvent(program, {{"event", "dryContactState"}, {"input", 2}, {"state", 0}});
    const struct {
        const char* line;
        const char* error;
    } failures[] = {{"events start 2\n", "plays already"},
                    {"events stop 1\n", "does not play"},
                    {"events start 3\n", "no alarm input 3"},
                    {"events start\n", "events start N"},
                    {"events stop 2\nevents stop 2\n", "does not play"},
                    {"camera new\nevents stop 0\n", "does not play"}};
    for (const auto& failure : failures) {
        program.write(failure.line);
        EXPECT_THAT(NextEvent(program, {{"operation", "events"}}).at("error"), HasSubstr(failure.error));
    }
    EXPECT_TRUE(WaitUntil([&camsim] { return camsim.get("/cameras/0").at("monitors") == 0; }));
    program.write("events start 1\n");
    NextEvent(program, {{"event", "dryContactState"}, {"input", 1}, {"state", 1}});
    const SRun run = program.wait();
    EXPECT_EQ(run.status, 1); // of the failed lines
    for (const json& line : JsonLines(run.out))
        EXPECT_EQ(line.at("input"), 1);
}

} // namespace
} // namespace corvane::vornhost_test
