#include "handler/panasonic_handler.h"

#include "tests/plugin/fake_host.h"
#include "tests/plugin/stub_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <optional>

namespace corvane::panasonic_handler {
namespace {

using namespace test_support;
using std::chrono::milliseconds;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr int NotIdentified = 16;
// A query that must succeed ends when it does; one that must fail waits no longer than needed.
const SQueryTimes Patient{milliseconds(1), milliseconds(30'000)};
const SQueryTimes Brief{milliseconds(1), milliseconds(50)};

// One stub camera, queried by the handler of the families A, B and perhaps "--Generic".
class HandlerQuery : public testing::Test {
protected:
    void make(const std::vector<SFamily>& families, SQueryTimes times) {
        context.emplace(ModelList(families, {{"A10", "A"}, {"A20", "A"}, {"B10", "B"}}));
        context->refusedAddress = "refused";
        handler.emplace(&*context, times);
    }
    void makeWithAAndB(SQueryTimes times) { make({{"A", "", ""}, {"B", "", ""}}, times); }

    void answer(const std::string& family, const std::string& model, const std::string& serial) {
        camera.reply("/" + family + "/model", HttpOk("NAME=" + model + "m's\r\n"));
        camera.reply("/" + family + "/serial", HttpOk("SERIAL=" + serial + "s'm\r\n"));
    }
    // "CODE FAMILY SERIAL", the last two "-" when the device is not identified.
    std::string query(const std::string& address, const CAuthentication& credentials = {}) {
        COptional<CDeviceId> id;
        const int code = handler->queryVornDevice(address, id, credentials);
        return std::to_string(code) +
               (id ? " " + id->getFamilyName() + " " + id->getSerialNumber().str() : " - -");
    }
    std::string query() { return query(camera.address()); }

    std::string errorLine(const std::string& text) const {
        return "2 PanasonicThreadQueryDevice:: device IP: " + camera.address() + ", Query Error: " + text;
    }

    CThreadCheck threadCheck;
    CStubCamera camera;
    const std::size_t idleThreads = ThreadCount();
    std::optional<CFakeHandlerContext> context;
    std::optional<CPanasonicHandler> handler;
};

TEST_F(HandlerQuery, FindsTheFamilyOfTheModelBehindThePrefix) {
    makeWithAAndB(Patient);
    struct {
        const char* model;
        const char* serial;
        const char* expected;
    } const cases[] = {
        {"PX-B10", "S1", "1 B S1"},
        {"A10", "S2", "1 A S2"},
        {"PX-A20", "0123456789012345678901234567890123456789", "1 A 01234567890123456789012345678901"},
    };
    for (const auto& c : cases) {
        const std::size_t logged = context->logLines().size();
        answer("A", c.model, c.serial);
        answer("B", c.model, c.serial);
        EXPECT_EQ(query(), c.expected);
        // The other family's thread would take the next answer for its own.
        ASSERT_TRUE(WaitUntil([&] { return context->logLines().size() > logged; }));
    }
}

TEST_F(HandlerQuery, EachFamilyThatDoesNotMatchLogsWhy) {
    make({{"A", "", ""}, {"B", "", ""}, {"--Generic", "", ""}}, Brief);
    struct {
        const char* model;
        const char* serial;
        std::string a, b, generic;
    } const cases[] = {
        {"", "S1", "Model number is empty.", "Model number is empty.", "Model number is empty."},
        {"PX-A10", "", "Serial number is empty.", "Family not matched.", "Family not matched."},
        // Behind the first dash, up to the end.
        {"PX-Y-A10", "", "Family not matched.", "Family not matched.", "Serial number is empty."},
    };
    std::size_t logged = 0;
    for (const auto& c : cases) {
        for (const char* family : {"A", "B", "--Generic"})
            answer(family, c.model, c.serial);
        EXPECT_EQ(query(), "16 - -");
        ASSERT_TRUE(WaitUntil([&] { return context->logLines().size() == logged + 3; }));
        const std::vector<std::string> lines = context->logLines();
        EXPECT_THAT(std::vector<std::string>(lines.end() - 3, lines.end()),
                    UnorderedElementsAre(errorLine(c.a), errorLine(c.b), errorLine(c.generic)));
        logged += 3;
    }
    camera.reply("/A/model", HttpReply(500));
    EXPECT_EQ(query(), "16 - -");
    ASSERT_TRUE(WaitUntil([&] { return context->logLines().size() == logged + 3; }));
    EXPECT_THAT(context->logLines(), testing::Contains(errorLine("HTTP status 500 Internal Server Error")));

    handler.emplace(&*context, Patient);
    answer("--Generic", "UNKNOWN1", "S9");
    EXPECT_EQ(query(), "1 --Generic S9");
}

TEST_F(HandlerQuery, TheFirstFamilyToFinishWins) {
    makeWithAAndB(Patient);
    answer("A", "PX-A10", "SA");
    answer("B", "PX-B10", "SB");
    camera.hold("/A/serial");
    camera.hold("/B/serial");
    auto identified = std::async(std::launch::async, [this] { return query(); });
    ASSERT_TRUE(camera.waitForRequests("/A/serial", 1)); // both families match, and A asked in time
    ASSERT_TRUE(camera.waitForRequests("/B/serial", 1));
    camera.letGoAll("/B/serial");
    EXPECT_EQ(identified.get(), "1 B SB");

    // The thread that is left comes back after its handler is gone, and ends.
    handler.reset();
    camera.letGoAll("/A/serial");
    EXPECT_TRUE(WaitUntil([&] { return ThreadCount() == idleThreads; }));
    EXPECT_THAT(context->logLines(), IsEmpty());
}

TEST_F(HandlerQuery, OfTwoThatHaveFinishedTheLowerIndexWins) {
    make({{"A", "", ""}, {"B", "", ""}, {"C", "", ""}}, Patient);
    answer("A", "PX-A10", "SA");
    answer("B", "PX-B10", "SB");
    camera.hold("/A/serial");
    camera.hold("/B/serial");
    const auto threadsBecome = [](std::size_t count) {
        return WaitUntil([count] { return ThreadCount() == count; });
    };
    // While the third family's thread waits to be started both others finish, B first.
    context->beforeFamily = [&](std::size_t family) {
        if (family != 2)
            return;
        ASSERT_TRUE(camera.waitForRequests("/A/serial", 1) && camera.waitForRequests("/B/serial", 1));
        ASSERT_TRUE(threadsBecome(idleThreads + 4)); // two of the queries, two of the camera
        camera.letGoAll("/B/serial");
        ASSERT_TRUE(threadsBecome(idleThreads + 2));
        camera.letGoAll("/A/serial");
        ASSERT_TRUE(threadsBecome(idleThreads));
    };
    EXPECT_EQ(query(), "1 A SA");
}

TEST_F(HandlerQuery, TheOthersStopAtTheirNextCheck) {
    makeWithAAndB(Patient);
    answer("A", "PX-A10", "SA");
    answer("B", "PX-B10", "SB");
    camera.hold("/A/model");
    EXPECT_EQ(query(), "1 B SB");
    answer("A", "", "SA"); // which is not looked at any more
    camera.letGoAll("/A/model");
    EXPECT_TRUE(WaitUntil([&] { return !context->logLines().empty(); }));
    EXPECT_THAT(context->logLines(), testing::ElementsAre(errorLine("Querying is stopped by other thread.")));
    EXPECT_THAT(camera.requests("/A/serial"), IsEmpty());

    // The next query is not stopped by it.
    EXPECT_EQ(query().substr(0, 2), "1 ");
}

TEST_F(HandlerQuery, AThreadThatComesLateStopsNoOtherQuery) {
    makeWithAAndB(Brief);
    answer("A", "PX-A10", "SA");
    answer("B", "PX-A10", "SA");
    camera.hold("/A/serial");
    EXPECT_EQ(query(), "16 - -");
    ASSERT_TRUE(camera.waitForRequests("/A/serial", 1));
    camera.letGoAll("/A/serial");
    ASSERT_TRUE(WaitUntil([&] { return ThreadCount() == idleThreads; })); // identified, and too late
    EXPECT_FALSE(queryStopped);
}

TEST_F(HandlerQuery, CredentialsThatAreNotSetAreTheFirstFamilysDefaults) {
    make({{"B", "root", "secret"}, {"A", "other", "default"}}, Patient);
    answer("A", "PX-A10", "S1");
    EXPECT_EQ(query(), "1 A S1");
    EXPECT_EQ(query(camera.address(), CAuthentication("operator", "other")), "1 A S1");
    for (const char* const path : {"/A/model", "/A/serial"}) { // unasked, as the family's scheme has it
        std::vector<std::string> credentials;
        for (const SStubRequest& request : camera.requests(path))
            credentials.push_back(request.authorization);
        EXPECT_THAT(credentials, testing::ElementsAre("Basic cm9vdDpzZWNyZXQ=",       // root:secret
                                                      "Basic b3BlcmF0b3I6b3RoZXI=")); // operator:other
    }
}

TEST_F(HandlerQuery, ARefusedQueryMakesNoTraffic) {
    makeWithAAndB(Patient);
    bool threadsStarted = false;
    context->beforeFamily = [&](std::size_t) { threadsStarted = true; };
    EXPECT_EQ(query("refused"), "16 - -");
    EXPECT_FALSE(threadsStarted);
}

TEST_F(HandlerQuery, ATimeOutLeavesTheIdentityUnchanged) {
    EXPECT_EQ(SQueryTimes().poll, milliseconds(20));
    EXPECT_EQ(SQueryTimes().limit, milliseconds(4'999));
    makeWithAAndB(Brief);
    camera.hold("/A/model");
    camera.hold("/B/model");
    for (const std::string& address :
         {camera.address(), UnusedAddress()}) { // where every family fails at once
        COptional<CDeviceId> id = CDeviceId({"known", "", ""}, "S0");
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(handler->queryVornDevice(address, id, {"user", ""}), NotIdentified);
        EXPECT_GE(std::chrono::steady_clock::now() - start, Brief.limit);
        ASSERT_TRUE(id);
        EXPECT_EQ(id->getSerialNumber(), CString("S0"));
        EXPECT_EQ(context->checked, address + " S0 user");
    }
}

TEST(Handler, ModelInfoIsThatOfTheFirstNumberThatHoldsTheText) {
    CFakeHandlerContext context(ModelList({{"A", "", ""}}, {{"B12", "A"}, {"A123", "A"}, {"XA12", "A"}}));
    const CPanasonicHandler handler(&context);
    const auto found = [&](const char* model) {
        const SModelInfo* info = handler.getModelInfo(model);
        return info ? info->number : "none";
    };
    EXPECT_EQ(found("A12"), "A123");
    EXPECT_EQ(found("12"), "A123");
    EXPECT_EQ(found("PX-B12"), "B12");
    EXPECT_EQ(found("A12-XA"), "XA12");
    EXPECT_EQ(found("PX-A-12"), "none");
    EXPECT_EQ(found("a123"), "none");
    EXPECT_EQ(found("A1234"), "none");
    EXPECT_EQ(found("PX-"), "A123");
}

} // namespace
} // namespace corvane::panasonic_handler
