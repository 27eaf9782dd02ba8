// Clients that take what they can: camsim ends their connections and goes on serving others.

#include "raw_connection.h"
#include "tests/support/camsim_process.h"
#include "tests/support/wait_until.h"

#include <gmock/gmock.h>

namespace {

using camsim_test::CRawConnection;
using corvane::test_support::CCamsim;
using corvane::test_support::RunProgram;
using corvane::test_support::SRun;
using corvane::test_support::WaitUntil;
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

// One of camsim's ports, and a request there that is answered at once.
struct SPort {
    const char* name;
    const std::string& (CCamsim::*address)() const;
    std::string request;
    std::string answer;
};

const std::string AskCamera = "GET /cgi-bin/getinfo HTTP/1.1\r\nHost: camera\r\n\r\n";
const std::string AskControl = "GET /faults HTTP/1.1\r\nHost: localhost\r\n\r\n";
const std::string AskRtsp = "OPTIONS * RTSP/1.0\r\nCSeq: 7\r\n\r\n";

const SPort Ports[] = {
    {"camera", &CCamsim::address, AskCamera, "HTTP/1.1 401"},
    {"control", &CCamsim::controlAddress, AskControl, "HTTP/1.1 200"},
    {"rtsp", &CCamsim::rtspAddress, AskRtsp, "RTSP/1.0 200"},
};

CRawConnection ConnectTo(const CCamsim& camsim, const SPort& port) {
    return CRawConnection((camsim.*port.address)());
}

void ExpectAllServe(const CCamsim& camsim) {
    for (const SPort& port : Ports) {
        const auto isAnswered = [&] {
            CRawConnection connection = ConnectTo(camsim, port);
            connection.send(port.request);
            return connection.receive("\r\n\r\n").rfind(port.answer, 0) == 0;
        };
        EXPECT_TRUE(WaitUntil(isAnswered)) << port.name; // some may be turned away first
    }
}

// So long, in milliseconds, that only what is tested ends a connection.
const std::string Never = "86400000";

std::vector<std::string> WithTimes(const std::string& header, const std::string& body,
                                   const std::string& idle, const std::string& unread) {
    return {"--connection-times", header, body, idle, unread};
}

int64_t CounterOf(const CCamsim& camsim, const char* name) {
    return camsim.get("/cameras/0").at(name);
}

TEST(ConnectionBounds, EndWhoSaysNothing) {
    const CCamsim camsim(WithTimes("300", Never, "400", Never));
    for (const SPort& port : Ports)
        EXPECT_EQ(ConnectTo(camsim, port).receive(), "") << port.name;
}

TEST(ConnectionBounds, EndWhoseHeaderTakesTooLong) {
    const CCamsim camsim(WithTimes("300", Never, "400", Never));
    for (const SPort& port : Ports) {
        CRawConnection slow = ConnectTo(camsim, port);
        slow.send(port.request.substr(0, 8));
        EXPECT_TRUE(slow.endsWhileSending("x")) << port.name;
    }
    ExpectAllServe(camsim);
}

TEST(ConnectionBounds, EndWhoseBodyTakesTooLong) {
    const CCamsim camsim(WithTimes(Never, "300", Never, Never));
    for (const SPort& port : {Ports[0], Ports[1]}) {
        CRawConnection slow = ConnectTo(camsim, port);
        slow.send("POST /cgi-bin/x HTTP/1.1\r\nHost: localhost\r\nContent-Length: 60000\r\n\r\n");
        EXPECT_TRUE(slow.endsWhileSending("x")) << port.name;
    }
    ExpectAllServe(camsim);
}

TEST(ConnectionBounds, EndWhoAsksNothingMore) {
    const CCamsim camsim(WithTimes(Never, Never, "300", Never));
    for (const SPort& port : Ports) {
        CRawConnection idle = ConnectTo(camsim, port);
        idle.send(port.request);
        EXPECT_THAT(idle.receive(), StartsWith(port.answer)) << port.name;
    }
}

TEST(ConnectionBounds, EndWhoReadsNothing) {
    const CCamsim camsim(WithTimes(Never, Never, Never, "300"));
    camsim.post("/faults", {{"path", "*"}, {"kind", "body"}, {"size", 60'000'000}, {"unauthorized", true}});
    CRawConnection deaf(camsim.address(), 4096);
    deaf.send(AskCamera);
    EXPECT_TRUE(WaitUntil([&] { return CounterOf(camsim, "requests") == 1; }));
    EXPECT_TRUE(WaitUntil([&] { return CounterOf(camsim, "connections") == 0; }));
}

TEST(ConnectionBounds, LeaveRepliesThatStayOpenUntilTheirClientsClose) {
    std::vector<std::string> arguments = WithTimes("200", "200", "200", "200");
    arguments.insert(arguments.end(), {"--model", "D850", "--auth", "none"});
    const CCamsim camsim(arguments);
    {
        CRawConnection monitor(camsim.address());
        monitor.send("GET /cgi-bin/get_io?mode=monitor HTTP/1.1\r\nHost: camera\r\n\r\n");
        monitor.receive("terminal1 I High");
        CRawConnection(camsim.address()).receive(); // is ended, later than the monitor would be
        camsim.patch("/cameras/0/inputs", {{"1", "Low"}});
        EXPECT_THAT(monitor.receive("terminal1 I Low"), HasSubstr("terminal1 I Low"));
        EXPECT_EQ(CounterOf(camsim, "monitors"), 1);
    }
    EXPECT_TRUE(WaitUntil([&] { return CounterOf(camsim, "monitors") == 0; }));
}

TEST(ConnectionBounds, EndWhatItsClientClosedInTheMiddleOfARequest) {
    const CCamsim camsim(WithTimes(Never, Never, Never, Never));
    for (const std::string request :
         {"GET /cgi-bin/get", "POST /cgi-bin/x HTTP/1.1\r\nHost: c\r\nContent-Length: 9\r\n\r\nx"}) {
        std::vector<CRawConnection> connections;
        for (int i = 0; i < 50; ++i)
            connections.emplace_back(camsim.address());
        for (CRawConnection& connection : connections) {
            connection.send(request);
            connection.finishSending();
        }
        EXPECT_TRUE(WaitUntil([&] { return CounterOf(camsim, "connections") == 0; })) << request;
    }
}

TEST(ConnectionBounds, LeaveRoomForOthersWhenManySayNothing) {
    std::vector<std::string> arguments = WithTimes(Never, Never, Never, Never);
    arguments.insert(arguments.end(), {"--descriptors", "100"});
    CCamsim camsim(arguments);
    std::vector<CRawConnection> silent;
    for (int i = 0; i < 200; ++i)
        for (const SPort& port : Ports)
            silent.push_back(ConnectTo(camsim, port));
    ExpectAllServe(camsim);
    EXPECT_LE(CounterOf(camsim, "connections"), 50);
    EXPECT_LE(CounterOf(camsim, "rtspClients"), 25);
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
    const CCamsim camsim(WithTimes(Never, Never, Never, Never));
    CRawConnection flood(camsim.rtspAddress());
    flood.send("OPTIONS * RTSP/1.0\r\nCSeq: 1\r\nA: ");
    bool open = true;
    for (int i = 0; open && i < 100'000; ++i)
        open = flood.send(std::string(65536, 'x'));
    EXPECT_FALSE(open);
    ExpectAllServe(camsim);
}

std::string AskStream(const CCamsim& camsim, const std::string& method) {
    return method + " rtsp://" + camsim.rtspAddress() + "/MediaInput/h264" +
           (method == "SETUP" ? "/stream=0" : "") +
           " RTSP/1.0\r\nCSeq: 1\r\n"
           "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n\r\n";
}

std::string AnswerTo(CRawConnection& connection, const std::string& request) {
    connection.send(request);
    return connection.receive("\r\n\r\n").substr(0, 12);
}

TEST(ConnectionBounds, RefuseStreamsBeyondWhatACameraMakes) {
    CCamsim camsim({"--auth", "none", "--rtsp-port", "0"});
    {
        CRawConnection many(camsim.rtspAddress());
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(AnswerTo(many, AskStream(camsim, "SETUP")), "RTSP/1.0 200") << i;
        EXPECT_EQ(AnswerTo(many, AskStream(camsim, "SETUP")), "RTSP/1.0 503");
        for (const char* method : {"SETUP", "DESCRIBE"}) {
            CRawConnection other(camsim.rtspAddress());
            EXPECT_EQ(AnswerTo(other, AskStream(camsim, method)), "RTSP/1.0 503") << method;
        }
        camsim.waitForMessage("camsim: RTSP: a camera makes as many streams as it may (4)");
    }
    EXPECT_TRUE(WaitUntil([&] {
        CRawConnection next(camsim.rtspAddress());
        return AnswerTo(next, AskStream(camsim, "SETUP")) == "RTSP/1.0 200";
    }));
}

// Asks for something that is long, and reads no answer.
std::vector<CRawConnection> ReadersThatDoNotRead(const std::string& address, const std::string& request,
                                                 int count) {
    std::vector<CRawConnection> readers;
    for (int i = 0; i < count; ++i) {
        readers.emplace_back(address, 4096);
        readers.back().send(request);
    }
    return readers;
}

TEST(ConnectionBounds, GiveNoMoreLongAnswersWhileManyAreUnread) {
    CCamsim camsim({"--auth", "none", "--no-rtsp", "--connection-times", Never, Never, Never, Never});
    const std::string askSettings = "GET /cgi-bin/setdata HTTP/1.1\r\nHost: c\r\n\r\n";
    const auto answer = [](const std::string& address, const std::string& request) {
        CRawConnection connection(address);
        return AnswerTo(connection, request);
    };
    json settings;
    for (int i = 0; i < 60; ++i)
        settings["KEY" + std::to_string(i)] = std::string(4096, 'x');
    camsim.patch("/cameras/0/settings", settings);
    {
        const auto readers = ReadersThatDoNotRead(camsim.address(), askSettings, 70); // of 16 MiB together
        EXPECT_TRUE(WaitUntil([&] { return answer(camsim.address(), askSettings) == "HTTP/1.1 503"; }));
        EXPECT_EQ(answer(camsim.address(), AskCamera), "HTTP/1.1 200");
    }
    EXPECT_TRUE(WaitUntil([&] { return answer(camsim.address(), askSettings) == "HTTP/1.1 200"; }));

    const std::string body(65536, '\1');
    for (int i = 0; i < 12; ++i) // become more than an answer's 4 MiB when they are escaped
        answer(camsim.address(), "POST /x HTTP/1.1\r\nHost: c\r\nContent-Length: 65536\r\n\r\n" + body);
    const std::string askLog = "GET /requests HTTP/1.1\r\nHost: localhost\r\n\r\n";
    {
        const auto first = ReadersThatDoNotRead(camsim.controlAddress(), askLog, 1);
        EXPECT_EQ(camsim.get("/requests").at("more"), true);
        const auto second = ReadersThatDoNotRead(camsim.controlAddress(), askLog, 1);
        EXPECT_TRUE(WaitUntil([&] { return answer(camsim.controlAddress(), askLog) == "HTTP/1.1 503"; }));
        EXPECT_EQ(answer(camsim.controlAddress(), AskControl), "HTTP/1.1 200");
    }
    EXPECT_TRUE(WaitUntil([&] { return answer(camsim.controlAddress(), askLog) == "HTTP/1.1 200"; }));
}

TEST(ConnectionBounds, EndMonitorsThatAreFarBehind) {
    const CCamsim camsim({"--auth", "none", "--no-rtsp", "--model", "D850"});
    // Of every change the second half is due in a day, and what follows it waits.
    camsim.post("/faults", {{"path", "*"}, {"kind", "split"}, {"ms", 86'400'000}});
    CRawConnection monitor(camsim.address());
    monitor.send("GET /cgi-bin/get_io?mode=monitor HTTP/1.1\r\nHost: c\r\n\r\n");
    monitor.receive("terminal1 I High");
    for (int i = 0; i < 300; ++i)
        camsim.patch("/cameras/0/inputs", {{"1", i % 2 == 0 ? "Low" : "High"}});
    monitor.receive();
    EXPECT_TRUE(WaitUntil([&] { return CounterOf(camsim, "monitors") == 0; }));
}

TEST(ConnectionBounds, AnswerRequestsThatAreTooLong) {
    const CCamsim camsim(WithTimes(Never, Never, Never, Never));
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
        CRawConnection connection(camsim.address());
        connection.send(row.request);
        EXPECT_THAT(connection.receive("\r\n\r\n"), StartsWith(row.answer)) << row.request.substr(0, 60);
    }
    CRawConnection endless(camsim.address());
    endless.send("POST / HTTP/1.1\r\nHost: c\r\nTransfer-Encoding: chunked\r\n\r\n");
    EXPECT_TRUE(endless.endsWhileSending("4000\r\n" + std::string(0x4000, 'x') + "\r\n"));
    CRawConnection longest(camsim.address());
    longest.send("POST / HTTP/1.1\r\nHost: c\r\nContent-Length: 65536\r\n\r\n" + std::string(65536, 'x'));
    EXPECT_THAT(longest.receive("\r\n\r\n"), StartsWith("HTTP/1.1 401"));
    EXPECT_EQ(camsim.get("/requests").at("requests").size(), 1U);
}

} // namespace
