// Clients that take what they can: camsim ends their connections and goes on serving others.

#include "raw_connection.h"
#include "tests/support/camsim_process.h"
#include "tests/support/wait_until.h"

#include <gmock/gmock.h>

namespace {

using camsim_test::RawConnection;
using corvane::test_support::CCamsim;
using corvane::test_support::RunProgram;
using corvane::test_support::SRun;
using corvane::test_support::WaitUntil;
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

// One of camsim's ports, and a request there that is answered at once.
struct Port {
    const char* name;
    const std::string& (CCamsim::*address)() const;
    std::string request;
    std::string answer;
};

const std::string askCamera = "GET /cgi-bin/getinfo HTTP/1.1\r\nHost: camera\r\n\r\n";
const std::string askControl = "GET /faults HTTP/1.1\r\nHost: localhost\r\n\r\n";
const std::string askRtsp = "OPTIONS * RTSP/1.0\r\nCSeq: 7\r\n\r\n";

const Port ports[] = {
    {"camera", &CCamsim::address, askCamera, "HTTP/1.1 401"},
    {"control", &CCamsim::controlAddress, askControl, "HTTP/1.1 200"},
    {"rtsp", &CCamsim::rtspAddress, askRtsp, "RTSP/1.0 200"},
};

RawConnection connectTo(const CCamsim& camsim, const Port& port) {
    return RawConnection((camsim.*port.address)());
}

void expectAllServe(const CCamsim& camsim) {
    for (const Port& port : ports) {
        const auto isAnswered = [&] {
            RawConnection connection = connectTo(camsim, port);
            connection.send(port.request);
            return connection.receive("\r\n\r\n").rfind(port.answer, 0) == 0;
        };
        EXPECT_TRUE(WaitUntil(isAnswered)) << port.name; // some may be turned away first
    }
}

// So long, in milliseconds, that only what is tested ends a connection.
const std::string never = "86400000";

std::vector<std::string> withTimes(const std::string& header, const std::string& body,
                                   const std::string& idle, const std::string& unread) {
    return {"--connection-times", header, body, idle, unread};
}

int64_t counterOf(const CCamsim& camsim, const char* name) {
    return camsim.get("/cameras/0").at(name);
}

TEST(ConnectionBounds, EndWhoSaysNothing) {
    const CCamsim camsim(withTimes("300", never, "400", never));
    for (const Port& port : ports)
        EXPECT_EQ(connectTo(camsim, port).receive(), "") << port.name;
}

TEST(ConnectionBounds, EndWhoseHeaderTakesTooLong) {
    const CCamsim camsim(withTimes("300", never, "400", never));
    for (const Port& port : ports) {
        RawConnection slow = connectTo(camsim, port);
        slow.send(port.request.substr(0, 8));
        EXPECT_TRUE(slow.endsWhileSending("x")) << port.name;
    }
    expectAllServe(camsim);
}

TEST(ConnectionBounds, EndWhoseBodyTakesTooLong) {
    const CCamsim camsim(withTimes(never, "300", never, never));
    for (const Port& port : {ports[0], ports[1]}) {
        RawConnection slow = connectTo(camsim, port);
        slow.send("POST /cgi-bin/x HTTP/1.1\r\nHost: localhost\r\nContent-Length: 60000\r\n\r\n");
        EXPECT_TRUE(slow.endsWhileSending("x")) << port.name;
    }
    expectAllServe(camsim);
}

TEST(ConnectionBounds, EndWhoAsksNothingMore) {
    const CCamsim camsim(withTimes(never, never, "300", never));
    for (const Port& port : ports) {
        RawConnection idle = connectTo(camsim, port);
        idle.send(port.request);
        EXPECT_THAT(idle.receive(), StartsWith(port.answer)) << port.name;
    }
}

TEST(ConnectionBounds, EndWhoReadsNothing) {
    const CCamsim camsim(withTimes(never, never, never, "300"));
    camsim.post("/faults", {{"path", "*"}, {"kind", "body"}, {"size", 60'000'000}, {"unauthorized", true}});
    RawConnection deaf(camsim.address(), 4096);
    deaf.send(askCamera);
    EXPECT_TRUE(WaitUntil([&] { return counterOf(camsim, "requests") == 1; }));
    EXPECT_TRUE(WaitUntil([&] { return counterOf(camsim, "connections") == 0; }));
}

TEST(ConnectionBounds, LeaveRepliesThatStayOpenUntilTheirClientsClose) {
    std::vector<std::string> arguments = withTimes("200", "200", "200", "200");
    arguments.insert(arguments.end(), {"--model", "D850", "--auth", "none"});
    const CCamsim camsim(arguments);
    {
        RawConnection monitor(camsim.address());
        monitor.send("GET /cgi-bin/get_io?mode=monitor HTTP/1.1\r\nHost: camera\r\n\r\n");
        monitor.receive("terminal1 I High");
        RawConnection(camsim.address()).receive(); // is ended, later than the monitor would be
        camsim.patch("/cameras/0/inputs", {{"1", "Low"}});
        EXPECT_THAT(monitor.receive("terminal1 I Low"), HasSubstr("terminal1 I Low"));
        EXPECT_EQ(counterOf(camsim, "monitors"), 1);
    }
    EXPECT_TRUE(WaitUntil([&] { return counterOf(camsim, "monitors") == 0; }));
}

TEST(ConnectionBounds, EndWhatItsClientClosedInTheMiddleOfARequest) {
    const CCamsim camsim(withTimes(never, never, never, never));
    for (const std::string request :
         {"GET /cgi-bin/get", "POST /cgi-bin/x HTTP/1.1\r\nHost: c\r\nContent-Length: 9\r\n\r\nx"}) {
        std::vector<RawConnection> connections;
        for (int i = 0; i < 50; ++i)
            connections.emplace_back(camsim.address());
        for (RawConnection& connection : connections) {
            connection.send(request);
            connection.finishSending();
        }
        EXPECT_TRUE(WaitUntil([&] { return counterOf(camsim, "connections") == 0; })) << request;
    }
}

TEST(ConnectionBounds, LeaveRoomForOthersWhenManySayNothing) {
    std::vector<std::string> arguments = withTimes(never, never, never, never);
    arguments.insert(arguments.end(), {"--descriptors", "100"});
    CCamsim camsim(arguments);
    std::vector<RawConnection> silent;
    for (int i = 0; i < 200; ++i)
        for (const Port& port : ports)
            silent.push_back(connectTo(camsim, port));
    expectAllServe(camsim);
    EXPECT_LE(counterOf(camsim, "connections"), 50);
    EXPECT_LE(counterOf(camsim, "rtspClients"), 25);
    for (const char* server : {"HTTP", "RTSP", "the control interface"})
        camsim.waitForMessage(std::string("camsim: ") + server + ": as many connections are open as may be");
}

TEST(ConnectionBounds, TellWhenThereAreTooFewDescriptors) {
    const SRun few = RunProgram("camsim", {"--descriptors", "50"});
    EXPECT_EQ(few.status, 1);
    EXPECT_THAT(
        few.err,
        HasSubstr(
            "file descriptors are needed and there are 50: raise the limit (ulimit -n) or use --no-rtsp"));
}

TEST(ConnectionBounds, EndClientsOfRtspThatKeepItsThreadToThemselves) {
    const CCamsim camsim(withTimes(never, never, never, never));
    RawConnection flood(camsim.rtspAddress());
    flood.send("OPTIONS * RTSP/1.0\r\nCSeq: 1\r\nA: ");
    bool open = true;
    for (int i = 0; open && i < 100'000; ++i)
        open = flood.send(std::string(65536, 'x'));
    EXPECT_FALSE(open);
    expectAllServe(camsim);
}

std::string askStream(const CCamsim& camsim, const std::string& method) {
    return method + " rtsp://" + camsim.rtspAddress() + "/MediaInput/h264" +
           (method == "SETUP" ? "/stream=0" : "") +
           " RTSP/1.0\r\nCSeq: 1\r\n"
           "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n\r\n";
}

std::string answerTo(RawConnection& connection, const std::string& request) {
    connection.send(request);
    return connection.receive("\r\n\r\n").substr(0, 12);
}

TEST(ConnectionBounds, RefuseStreamsBeyondWhatACameraMakes) {
    CCamsim camsim({"--auth", "none", "--rtsp-port", "0"});
    {
        RawConnection many(camsim.rtspAddress());
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(answerTo(many, askStream(camsim, "SETUP")), "RTSP/1.0 200") << i;
        EXPECT_EQ(answerTo(many, askStream(camsim, "SETUP")), "RTSP/1.0 503");
        for (const char* method : {"SETUP", "DESCRIBE"}) {
            RawConnection other(camsim.rtspAddress());
            EXPECT_EQ(answerTo(other, askStream(camsim, method)), "RTSP/1.0 503") << method;
        }
        camsim.waitForMessage("camsim: RTSP: a camera makes as many streams as it may (4)");
    }
    EXPECT_TRUE(WaitUntil([&] {
        RawConnection next(camsim.rtspAddress());
        return answerTo(next, askStream(camsim, "SETUP")) == "RTSP/1.0 200";
    }));
}

// Asks for something that is long, and reads no answer.
std::vector<RawConnection> readersThatDoNotRead(const std::string& address, const std::string& request,
                                                int count) {
    std::vector<RawConnection> readers;
    for (int i = 0; i < count; ++i) {
        readers.emplace_back(address, 4096);
        readers.back().send(request);
    }
    return readers;
}

TEST(ConnectionBounds, GiveNoMoreLongAnswersWhileManyAreUnread) {
    CCamsim camsim({"--auth", "none", "--no-rtsp", "--connection-times", never, never, never, never});
    const std::string askSettings = "GET /cgi-bin/setdata HTTP/1.1\r\nHost: c\r\n\r\n";
    const auto answer = [](const std::string& address, const std::string& request) {
        RawConnection connection(address);
        return answerTo(connection, request);
    };
    json settings;
    for (int i = 0; i < 60; ++i)
        settings["KEY" + std::to_string(i)] = std::string(4096, 'x');
    camsim.patch("/cameras/0/settings", settings);
    {
        const auto readers = readersThatDoNotRead(camsim.address(), askSettings, 70); // of 16 MiB together
        EXPECT_TRUE(WaitUntil([&] { return answer(camsim.address(), askSettings) == "HTTP/1.1 503"; }));
        EXPECT_EQ(answer(camsim.address(), askCamera), "HTTP/1.1 200");
    }
    EXPECT_TRUE(WaitUntil([&] { return answer(camsim.address(), askSettings) == "HTTP/1.1 200"; }));

    const std::string body(65536, '\1');
    for (int i = 0; i < 12; ++i) // become more than an answer's 4 MiB when they are escaped
        answer(camsim.address(), "POST /x HTTP/1.1\r\nHost: c\r\nContent-Length: 65536\r\n\r\n" + body);
    const std::string askLog = "GET /requests HTTP/1.1\r\nHost: localhost\r\n\r\n";
    {
        const auto first = readersThatDoNotRead(camsim.controlAddress(), askLog, 1);
        EXPECT_EQ(camsim.get("/requests").at("more"), true);
        const auto second = readersThatDoNotRead(camsim.controlAddress(), askLog, 1);
        EXPECT_TRUE(WaitUntil([&] { return answer(camsim.controlAddress(), askLog) == "HTTP/1.1 503"; }));
        EXPECT_EQ(answer(camsim.controlAddress(), askControl), "HTTP/1.1 200");
    }
    EXPECT_TRUE(WaitUntil([&] { return answer(camsim.controlAddress(), askLog) == "HTTP/1.1 200"; }));
}

TEST(ConnectionBounds, EndMonitorsThatAreFarBehind) {
    const CCamsim camsim({"--auth", "none", "--no-rtsp", "--model", "D850"});
    // Of every change the second half is due in a day, and what follows it waits.
    camsim.post("/faults", {{"path", "*"}, {"kind", "split"}, {"ms", 86'400'000}});
    RawConnection monitor(camsim.address());
    monitor.send("GET /cgi-bin/get_io?mode=monitor HTTP/1.1\r\nHost: c\r\n\r\n");
    monitor.receive("terminal1 I High");
    for (int i = 0; i < 300; ++i)
        camsim.patch("/cameras/0/inputs", {{"1", i % 2 == 0 ? "Low" : "High"}});
    monitor.receive();
    EXPECT_TRUE(WaitUntil([&] { return counterOf(camsim, "monitors") == 0; }));
}

TEST(ConnectionBounds, AnswerRequestsThatAreTooLong) {
    const CCamsim camsim(withTimes(never, never, never, never));
    const struct {
        std::string request;
        std::string answer;
    } rows[] = {
        {"GET /" + std::string(100'000, 'x'), "HTTP/1.1 414"},
        {"GET / HTTP/1.1\r\nHost: c\r\nA: " + std::string(100'000, 'x'), "HTTP/1.1 431"},
        {"POST / HTTP/1.1\r\nHost: c\r\nContent-Length: 65537\r\n\r\n", "HTTP/1.1 413"},
        {"POST / HTTP/1.1\r\nHost: c\r\nContent-Length: 18446744073709551615\r\n\r\n", "HTTP/1.1 413"},
    };
    for (const auto& row : rows) {
        RawConnection connection(camsim.address());
        connection.send(row.request);
        EXPECT_THAT(connection.receive("\r\n\r\n"), StartsWith(row.answer)) << row.request.substr(0, 60);
    }
    RawConnection endless(camsim.address());
    endless.send("POST / HTTP/1.1\r\nHost: c\r\nTransfer-Encoding: chunked\r\n\r\n");
    EXPECT_TRUE(endless.endsWhileSending("4000\r\n" + std::string(0x4000, 'x') + "\r\n"));
    RawConnection longest(camsim.address());
    longest.send("POST / HTTP/1.1\r\nHost: c\r\nContent-Length: 65536\r\n\r\n" + std::string(65536, 'x'));
    EXPECT_THAT(longest.receive("\r\n\r\n"), StartsWith("HTTP/1.1 401"));
    EXPECT_EQ(camsim.get("/requests").at("requests").size(), 1U);
}

} // namespace
