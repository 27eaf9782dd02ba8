#include "events/dry_contact_monitor.h"

#include "tests/plugin/curl_options.h"
#include "tests/plugin/fake_host.h"
#include "tests/plugin/monitor_server.h"
#include "tests/plugin/stub_camera.h"

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <random>
#include <thread>

namespace corvane::vorn_utility::v1_0 {
namespace {

using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;
using Monitor = CDryContactMonitor;

// What a listener has heard; any thread may ask.
class CHeard {
public:
    Monitor::Listener listener() {
        return [this](Monitor::TDryContactState state) {
            const std::lock_guard<std::mutex> lock(mutex_);
            states_.push_back(state);
        };
    }
    std::vector<int> states() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return states_;
    }
    bool waitForCount(std::size_t count) const {
        return WaitUntil([&] { return states().size() >= count; });
    }

private:
    mutable std::mutex mutex_; // guards states_
    std::vector<int> states_;
};

// The clock stands, and what is waited for between two requests never comes by itself.
SMonitorTimes PatientTimes(std::atomic<std::time_t>& clock) {
    SMonitorTimes times;
    times.afterClose = std::chrono::milliseconds(1);
    times.retry.shortest = times.retry.longest = std::chrono::hours(1);
    times.retry.shortestRefused = times.retry.longestRefused = std::chrono::hours(1);
    times.now = [&clock] { return clock.load(); };
    return times;
}

class DryContactMonitor : public testing::Test {
protected:
    boost::shared_ptr<Monitor> makeMonitor(const std::string& address) {
        return boost::make_shared<Monitor>(address, "admin", "pa:ss@1", 1, 4, PatientTimes(clock));
    }

    // Has the camera tell a change of input 1 once it has been asked.
    static void changeInput(CMonitorServer& camera, Monitor& monitor) {
        ASSERT_TRUE(camera.waitForRequests(1));
        camera.write("terminal1 I Low\r\n");
        EXPECT_EQ(monitor.GetStateOfInput(1), Monitor::DCS_LOW);
        camera.write("terminal1 I High\r\n");
    }
    // A listener that does not return before it may.
    Monitor::Listener slowListener() {
        return [this](Monitor::TDryContactState) {
            entered = true;
            WaitUntil([this] { return mayLeave.load(); });
            left = true;
        };
    }

    const CThreadCheck threads;
    std::atomic<std::time_t> clock{1'000};
    std::atomic<bool> entered{false}, mayLeave{false}, left{false};
};

TEST_F(DryContactMonitor, LevelsAreReadToTheLetter) {
    const auto level = funGetDryContactStatusfromResponse;
    EXPECT_EQ(level("terminal1 I Low\r\nterminal2 I High\r\n", 1), Monitor::DCS_LOW);
    EXPECT_EQ(level("terminal1 I Low\r\nterminal2 I High\r\n", 2), Monitor::DCS_HIGH);
    EXPECT_EQ(level("terminal1 I High", 1), Monitor::DCS_HIGH);
    EXPECT_EQ(level("terminal1 I Low\r\nterminal1 I High\r\n", 1), Monitor::DCS_LOW);
    for (const char* const chunk :
         {"terminal1 I high\r\n", "terminal1 I  Low\r\n", "terminal1 I Low \r\n", "terminal1 I \r\n",
          "terminal1 I Low\n", "terminal1 I Hi", "terminal11 I Low"})
        EXPECT_EQ(level(chunk, 1), Monitor::DCS_UNKNOWN) << chunk;
}

TEST_F(DryContactMonitor, ListenersLearnOfChangesAfterTheFirstLevel) {
    CMonitorServer camera;
    const auto monitor = makeMonitor(camera.address());
    CHeard first, third, beyond;
    monitor->StartMonitor(1, first.listener());
    monitor->StartMonitor(3, third.listener());
    monitor->StartMonitor(4, beyond.listener()); // past the last one that is read
    ASSERT_TRUE(camera.waitForRequests(1));
    EXPECT_THAT(camera.lastRequest(), testing::StartsWith("GET /cgi-bin/get_io?mode=monitor HTTP/1.1\r\n"));
    camera.write("terminal1 I Low\r\nterminal3 I Low\r\nterminal4 I Low\r\n");
    EXPECT_EQ(monitor->GetStateOfInput(1), Monitor::DCS_LOW);
    EXPECT_EQ(monitor->GetStateOfInput(4), Monitor::DCS_UNKNOWN);
    monitor->ParseAndDisperseInformation("terminal3 I Low\r\n"); // which is no change
    camera.write("terminal1 I High\r\n");
    ASSERT_TRUE(first.waitForCount(1));
    monitor->ParseAndDisperseInformation("terminal3 I Hi"); // a line in two chunks is not put together
    monitor->ParseAndDisperseInformation("gh\r\n");
    EXPECT_THAT(first.states(), ElementsAre(Monitor::DCS_HIGH));
    EXPECT_THAT(third.states(), IsEmpty());
    EXPECT_EQ(monitor->GetStateOfInput(3), Monitor::DCS_LOW);

    camera.resetAll(); // which an input beyond those that are read learns too
    for (const CHeard* const heard : {&first, &third, &beyond}) {
        ASSERT_TRUE(heard->waitForCount(1));
        EXPECT_TRUE(WaitUntil([&] { return heard->states().back() == Monitor::DCS_LINK_LOST; }));
    }
    for (const unsigned input : {1, 3, 4})
        monitor->StopMonitor(input);
}

// Levels from the first input to before the end; a lost link from 1 to the end, itself included.
TEST_F(DryContactMonitor, EachIsToldItsOwnInTheOrderOfTheInputs) {
    const std::tuple<int, int, std::vector<std::string>> cases[] = {
        {2, 4, {"2 is 2", "3 is 2", "1 is 3", "2 is 3", "3 is 3", "4 is 3"}},
        {0, 3, {"0 is 2", "1 is 2", "2 is 2", "1 is 3", "2 is 3", "3 is 3"}}};
    for (const auto& [first, end, expected] : cases) {
        std::vector<std::string> told; // by one call after another
        CMonitorServer camera;
        const auto monitor =
            boost::make_shared<Monitor>(camera.address(), "admin", "x", first, end, PatientTimes(clock));
        for (unsigned input = 0; input <= 5; ++input)
            monitor->StartMonitor(input, [&told, input](Monitor::TDryContactState state) {
                told.push_back(std::to_string(input) + " is " + std::to_string(state));
            });
        ASSERT_TRUE(camera.waitForRequests(1));
        for (const std::string level : {" I Low\r\n", " I High\r\n"}) {
            std::string lines;
            for (int input = 5; input >= 0; --input)
                lines += "terminal" + std::to_string(input) + level;
            monitor->ParseAndDisperseInformation(lines);
        }
        camera.resetAll();
        ASSERT_TRUE(camera.waitForRequests(2)); // behind all calls
        EXPECT_EQ(told, expected);
    }
}

TEST_F(DryContactMonitor, ARequestThatTheCameraEndsIsMadeAgainInSilence) {
    CMonitorServer camera;
    const auto monitor = makeMonitor(camera.address());
    CHeard heard;
    monitor->StartMonitor(1, heard.listener());
    for (std::size_t i = 1; i <= 3; ++i) {
        ASSERT_TRUE(camera.waitForRequests(i));
        camera.write("terminal1 I Low\r\n");
        EXPECT_EQ(monitor->GetStateOfInput(1), Monitor::DCS_LOW);
        camera.closeAll();
    }
    ASSERT_TRUE(camera.waitForRequests(4));
    EXPECT_THAT(heard.states(), IsEmpty());
    monitor->StopMonitor(1);
}

// To a line of the request before, whose memory it has given back, libcurl would append that rest.
TEST_F(DryContactMonitor, AHeaderThatBeginsWithTheRestOfALineIsAFailure) {
    CMonitorServer camera(CMonitorServer::Greeting::Garbled);
    const auto monitor = makeMonitor(camera.address());
    CHeard heard;
    monitor->StartMonitor(1, heard.listener());
    ASSERT_TRUE(camera.waitForRequests(1));
    camera.write("terminal1 I Low\r\n");
    EXPECT_EQ(monitor->GetStateOfInput(1), Monitor::DCS_LOW);
    camera.closeAll();
    ASSERT_TRUE(heard.waitForCount(2));
    EXPECT_THAT(heard.states(), ElementsAre(Monitor::DCS_LINK_LOST, Monitor::DCS_LINK_LOST));
    monitor->StopMonitor(1);
}

TEST_F(DryContactMonitor, FailuresAreToldAndAfterTheSecondTheyArePaced) {
    const auto monitor = makeMonitor(UnusedAddress());
    CHeard heard;
    monitor->StartMonitor(1, heard.listener());
    ASSERT_TRUE(heard.waitForCount(2));
    monitor->StopMonitor(1); // does not wait for the hour
    EXPECT_THAT(heard.states(), ElementsAre(Monitor::DCS_LINK_LOST, Monitor::DCS_LINK_LOST));
}

TEST_F(DryContactMonitor, ACameraThatWritesAndBreaksOffIsPacedToo) {
    CMonitorServer camera;
    const auto monitor = makeMonitor(camera.address());
    CHeard heard;
    monitor->StartMonitor(1, heard.listener());
    for (const std::size_t request : {1, 2}) { // the second at once, the third in an hour
        ASSERT_TRUE(camera.waitForRequests(request));
        camera.write("x");
        monitor->GetStateOfInput(1);
        camera.resetAll();
        ASSERT_TRUE(heard.waitForCount(request));
    }
    monitor->StopMonitor(1);
    EXPECT_EQ(camera.requestCount(), 2U);
}

TEST_F(DryContactMonitor, AnotherStatusThan200IsAFailureAndItsBodyNoData) {
    const std::pair<int, std::size_t> cases[] = {// the requests before the hour
                                                 {401, 1}, {403, 1}, {404, 1}, {204, 2},
                                                 {302, 2}, {500, 2}, {503, 2}};
    for (const auto& [status, requests] : cases) {
        CStubCamera camera;
        camera.reply("/cgi-bin/get_io", HttpReply(status, status == 204 ? "" : "terminal1 I Low\r\n"));
        const auto monitor = makeMonitor(camera.address());
        CHeard heard;
        monitor->StartMonitor(1, heard.listener());
        ASSERT_TRUE(heard.waitForCount(requests)) << status;
        EXPECT_EQ(monitor->GetStateOfInput(1, [] { return true; }), Monitor::DCS_UNKNOWN);
        clock += 17;
        EXPECT_FALSE(monitor->CheckHeartbeat()) << status; // no sign of life
        clock -= 17;
        monitor->StopMonitor(1);
        EXPECT_EQ(heard.states(), std::vector<int>(requests, Monitor::DCS_LINK_LOST)) << status;
        EXPECT_EQ(camera.requests().size(), requests) << status;
    }
}

TEST_F(DryContactMonitor, WhatACameraAsksAndSendsIsBounded) {
    const std::string filler = "X-Filler: " + std::string(1'000, 'x') + "\r\n";
    std::string endless = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nx\r\n0\r\n";
    for (int i = 0; i < 300; ++i)
        endless += filler;
    const struct {
        std::string reply;
        std::size_t requests; // before the hour
    } cases[] = {
        {endless, 2}, // a trailer of which every line is kept
        {"HTTP/1.1 401 x\r\nWWW-Authenticate: Digest realm=\"c\", nonce=\"n\", qop=\"auth\", stale=true\r\n"
         "Content-Length: 0\r\nConnection: close\r\n\r\n",
         3},
        {"HTTP/1.1 401 x\r\nWWW-Authenticate: NTLM\r\nWWW-Authenticate: Negotiate\r\n"
         "Content-Length: 0\r\nConnection: close\r\n\r\n",
         1},
    };
    for (const auto& c : cases) {
        CStubCamera camera;
        camera.reply("/cgi-bin/get_io", c.reply);
        const auto monitor = makeMonitor(camera.address());
        CHeard heard;
        monitor->StartMonitor(1, heard.listener());
        ASSERT_TRUE(camera.waitForRequests("/cgi-bin/get_io", c.requests));
        ASSERT_TRUE(heard.waitForCount(c.requests == 2 ? 2 : 1));
        monitor->StopMonitor(1);
        EXPECT_EQ(camera.requests().size(), c.requests);
    }
}

// Also by one that has had it from the camera before, and remembers.
TEST_F(DryContactMonitor, RefusedBasicGoesOverNoWire) {
    const std::string challenge = "HTTP/1.1 401 x\r\nWWW-Authenticate: Basic realm=\"c\"\r\nContent-Length: "
                                  "0\r\nConnection: close\r\n\r\n";
    for (const bool isLetInBefore : {false, true}) {
        CStubCamera camera;
        std::size_t letIn = isLetInBefore ? 3 : 0; // a challenge, and two requests with credentials
        camera.reply("/cgi-bin/get_io", [&](std::size_t before) {
            return before == 0 || before >= letIn ? challenge : HttpOk("terminal1 I Low\r\n");
        });
        const auto monitor = makeMonitor(camera.address());
        CHeard heard;
        std::atomic<int> told{0};
        const SBasicPolicy refused{true, [&] { ++told; }};
        if (isLetInBefore) {
            monitor->setBasicPolicy({false, refused.onBasicAlone});
            camera.hold("/cgi-bin/get_io");
            monitor->StartMonitor(1, heard.listener());
            camera.letGo("/cgi-bin/get_io", 2);
            ASSERT_TRUE(camera.waitForRequests("/cgi-bin/get_io", letIn));
            EXPECT_EQ(told, 1);
            monitor->setBasicPolicy(refused); // while that request is under way
            camera.letGoAll("/cgi-bin/get_io");
        } else {
            monitor->setBasicPolicy(refused);
            monitor->StartMonitor(1, heard.listener());
        }
        ASSERT_TRUE(heard.waitForCount(1));
        monitor->StopMonitor(1);
        EXPECT_EQ(told, 1);
        const std::vector<SStubRequest> requests = camera.requests();
        ASSERT_GT(requests.size(), letIn);
        for (std::size_t i = 0; i < requests.size(); ++i)
            EXPECT_EQ(requests[i].authorization.empty(), i == 0 || i >= letIn) << i;
    }
}

// What a monitor goes by that is told no times, as the elements make them.
TEST_F(DryContactMonitor, ItGoesByItsOwnTimesAndOptions) {
    const SMonitorTimes times;
    EXPECT_EQ(times.afterClose, std::chrono::milliseconds(250));
    EXPECT_EQ(times.silence, std::chrono::seconds(16));
    EXPECT_NEAR(static_cast<double>(times.now()), static_cast<double>(std::time(nullptr)), 2);
    CMonitorServer camera;
    const auto monitor = boost::make_shared<Monitor>(camera.address(), "us:er", "p@ss", 1, 4);
    monitor->StartMonitor(1, {});
    ASSERT_TRUE(camera.waitForRequests(1));
    const std::string path = "/cgi-bin/get_io?mode=monitor";
    EXPECT_EQ(CurlOption(path, CURLOPT_NOSIGNAL) + CurlOption(path, CURLOPT_TCP_NODELAY), "11");
    EXPECT_EQ(CurlOption(path, CURLOPT_USERPWD), "us:er:p@ss");
    EXPECT_EQ(CurlOption(path, CURLOPT_HTTPAUTH),
              std::to_string(static_cast<long>(CURLAUTH_DIGEST | CURLAUTH_BASIC)));
    EXPECT_EQ(CurlOption(path, CURLOPT_CONNECTTIMEOUT), "15");
    EXPECT_EQ(CurlOption(path, CURLOPT_TIMEOUT_MS), ""); // it stays open
    const auto closed = std::chrono::steady_clock::now();
    camera.closeAll();
    ASSERT_TRUE(camera.waitForRequests(2));
    EXPECT_GE(std::chrono::steady_clock::now() - closed, times.afterClose);
}

TEST(RetryPace, DoublesAndIsSlowerWhereTheCameraRefuses) {
    CRetryPace pace({});
    const auto waits = [&](std::chrono::milliseconds (CRetryPace::*after)(), int count) {
        std::vector<long> all;
        for (int i = 0; i < count; ++i)
            all.push_back((pace.*after)().count());
        return all;
    };
    EXPECT_THAT(waits(&CRetryPace::afterFailure, 8), ElementsAre(0, 50, 100, 200, 400, 800, 1000, 1000));
    EXPECT_THAT(waits(&CRetryPace::afterRefusal, 7),
                ElementsAre(1000, 2000, 4000, 8000, 16000, 30000, 30000));
    EXPECT_THAT(waits(&CRetryPace::afterFailure, 2), ElementsAre(1000, 1000));
    pace.forget();
    EXPECT_THAT(waits(&CRetryPace::afterFailure, 2), ElementsAre(0, 50));
    EXPECT_THAT(waits(&CRetryPace::afterRefusal, 2), ElementsAre(1000, 2000));
}

TEST_F(DryContactMonitor, AStopTakesAwayItsOwnListenerOnly) {
    CMonitorServer camera;
    const auto monitor = makeMonitor(camera.address());
    CHeard older, newer;
    const auto first = monitor->StartMonitor(1, older.listener());
    monitor->StartMonitor(1, newer.listener());
    ASSERT_TRUE(camera.waitForRequests(1));
    camera.write("terminal1 I Low\r\n");
    EXPECT_EQ(monitor->GetStateOfInput(1), Monitor::DCS_LOW);
    for (const auto registration :
         {Monitor::NotRegistered, first}) { // of one that could not be; of the older
        Monitor::s_dcs[camera.address()] = monitor;
        monitor->StopMonitor(1, registration);
        EXPECT_EQ(Monitor::s_dcs[camera.address()], nullptr); // whoever else uses it
    }
    EXPECT_EQ(monitor->GetStateOfInput(1), Monitor::DCS_LOW);
    camera.write("terminal1 I High\r\n");
    ASSERT_TRUE(newer.waitForCount(1));
    EXPECT_THAT(older.states(), IsEmpty());
    EXPECT_THAT(newer.states(), ElementsAre(Monitor::DCS_HIGH));
    monitor->StartMonitor(2, older.listener());
    monitor->StopMonitor(1); // without a number: whichever there is
    EXPECT_EQ(monitor->GetStateOfInput(1), Monitor::DCS_UNKNOWN);
    monitor->StopMonitor(2);
}

// Until it is given up the start, each chunk and each failure count as signs of life.
TEST_F(DryContactMonitor, ASilentCameraIsGivenUpOnceAndAskedAgain) {
    CMonitorServer camera;
    const auto monitor = makeMonitor(camera.address());
    CHeard heard;
    clock += 17;
    monitor->StartMonitor(1, heard.listener());
    EXPECT_TRUE(monitor->CheckHeartbeat());
    ASSERT_TRUE(camera.waitForRequests(1));
    clock += 16;
    camera.write("x");
    monitor->GetStateOfInput(1);
    clock += 16;
    EXPECT_TRUE(monitor->CheckHeartbeat());
    clock += 1;
    EXPECT_FALSE(monitor->CheckHeartbeat());
    EXPECT_TRUE(monitor->CheckHeartbeat());
    EXPECT_TRUE(camera.waitForRequests(2));
    EXPECT_THAT(heard.states(), ElementsAre(Monitor::DCS_LINK_LOST));
    monitor->StopMonitor(1);

    monitor->StartMonitor(1, heard.listener());
    ASSERT_TRUE(camera.waitForRequests(3));
    clock += 17;
    camera.resetAll();
    ASSERT_TRUE(camera.waitForRequests(4)); // behind the failure
    EXPECT_TRUE(monitor->CheckHeartbeat());
    monitor->StopMonitor(1);
}

TEST_F(DryContactMonitor, AStopDoesNotWaitForTheCamera) {
    CMonitorServer silent(CMonitorServer::Greeting::Silence);
    CMonitorServer open;
    const CDeafAddress deaf;
    for (const std::string& address : {silent.address(), open.address(), deaf.address()}) {
        const auto monitor = makeMonitor(address);
        std::atomic<bool> abandoned{false};
        for (int i = 0; i < 20; ++i) {
            monitor->StartMonitor(1, [](Monitor::TDryContactState) {});
            if (i % 2 == 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(i / 2)); // a later phase of the request
            abandoned = false;
            std::thread waiter([&] { monitor->GetStateOfInput(1, [&] { return abandoned.load(); }); });
            abandoned = true;
            monitor->wakeWaiters();
            waiter.join();
            const auto start = std::chrono::steady_clock::now();
            monitor->StopMonitor(1);
            EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << address;
        }
    }
}

TEST_F(DryContactMonitor, AListenerIsNeverCalledAfterItsStop) {
    CMonitorServer camera;
    const auto monitor = makeMonitor(camera.address());
    monitor->StartMonitor(2, [](Monitor::TDryContactState) {});
    monitor->StartMonitor(1, slowListener());
    changeInput(camera, *monitor);
    ASSERT_TRUE(WaitUntil([&] { return entered.load(); }));
    std::thread helper([&] { mayLeave = true; });
    monitor->StopMonitor(1);
    EXPECT_TRUE(left);
    helper.join();
    monitor->StopMonitor(2);
}

TEST_F(DryContactMonitor, AStopWaitsForNobodyElsesListener) {
    CMonitorServer camera;
    const auto monitor = makeMonitor(camera.address());
    const auto first = monitor->StartMonitor(1, [](Monitor::TDryContactState) {});
    const auto second = monitor->StartMonitor(1, slowListener()); // in the first one's place
    changeInput(camera, *monitor);
    ASSERT_TRUE(WaitUntil([&] { return entered.load(); }));
    monitor->StopMonitor(1, first);
    EXPECT_FALSE(left);
    mayLeave = true;
    monitor->StopMonitor(1, second);
}

// A stop is under way while it waits for a listener.
TEST_F(DryContactMonitor, AStartDuringAStopWaitsAndBeginsAnew) {
    CMonitorServer camera;
    const auto monitor = makeMonitor(camera.address());
    monitor->StartMonitor(1, slowListener());
    changeInput(camera, *monitor);
    ASSERT_TRUE(WaitUntil([&] { return entered.load(); }));
    auto stop = std::async(std::launch::async, [&] { monitor->StopMonitor(1); });
    ASSERT_TRUE(
        WaitUntil([&] { return monitor->GetStateOfInput(1) == Monitor::DCS_UNKNOWN; })); // it has begun
    auto start = std::async(std::launch::async, [&] { monitor->StartMonitor(2, {}); });
    EXPECT_EQ(start.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    mayLeave = true;
    stop.get();
    start.get();
    ASSERT_TRUE(camera.waitForRequests(2));
    bool isAsked = false; // what the request before has written does not count
    EXPECT_EQ(monitor->GetStateOfInput(2, [&isAsked] { return isAsked = true; }), Monitor::DCS_UNKNOWN);
    EXPECT_TRUE(isAsked);
    camera.write("terminal2 I Low\r\n");
    EXPECT_EQ(monitor->GetStateOfInput(2), Monitor::DCS_LOW);
    monitor->StartMonitor(2, {}); // forgets the level
    EXPECT_EQ(monitor->GetStateOfInput(2), Monitor::DCS_UNKNOWN);
    // With the monitor its request ends too.
}

// What each element does, from several threads, on one address.
TEST_F(DryContactMonitor, AttachingAndStoppingAtTheSameMomentLeavesNothing) {
    CMonitorServer camera;
    const auto attachAndStop = [&](unsigned input) {
        std::mt19937 random(input);
        for (int i = 0; i < 200; ++i) {
            boost::shared_ptr<Monitor> monitor;
            {
                const boost::lock_guard<boost::mutex> lock(Monitor::s_mutex);
                boost::shared_ptr<Monitor>& entry = Monitor::s_dcs[camera.address()];
                if (!entry)
                    entry = makeMonitor(camera.address());
                monitor = entry;
            }
            std::atomic<bool> listens{true};
            monitor->StartMonitor(input, [&](Monitor::TDryContactState) { EXPECT_TRUE(listens); });
            if (random() % 2 == 0)
                camera.write(random() % 2 == 0 ? "terminal1 I Low\r\n" : "terminal1 I High\r\n");
            if (random() % 4 == 0)
                camera.resetAll();
            monitor->StopMonitor(input);
            listens = false;
        }
    };
    std::vector<std::thread> users;
    for (const unsigned input : {1U, 2U, 3U})
        users.emplace_back(attachAndStop, input);
    for (std::thread& user : users)
        user.join();
    EXPECT_EQ(Monitor::s_dcs[camera.address()], nullptr);
}

} // namespace
} // namespace corvane::vorn_utility::v1_0
