#include "tests/hostile/hostile_camera.h"

#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <mutex>

namespace corvane::hostile_test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;
using tests::CScriptedServer;
using Clock = std::chrono::steady_clock;

#if defined(VORN_UNDER_ASAN) || defined(VORN_UNDER_TSAN)
constexpr bool IsMemoryTheProgramsOwn = false;
#else
constexpr bool IsMemoryTheProgramsOwn = true;
#endif

constexpr const char* Password = "canary-of-the-camera";

// What an ordinary camera answers to the request.
std::string Forward(const SSentRequest& request, const std::string& address) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    const std::size_t colon = address.find(':');
    inet_pton(AF_INET, address.substr(0, colon).c_str(), &to.sin_addr);
    to.sin_port = htons(static_cast<uint16_t>(std::stoi(address.substr(colon + 1))));
    std::string reply;
    if (::connect(socket, reinterpret_cast<sockaddr*>(&to), sizeof to) == 0) {
        const std::string text = request.head + "Connection: close\r\n\r\n" + request.body;
        ::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
        char buffer[16384];
        for (ssize_t count = 0; (count = ::recv(socket, buffer, sizeof buffer, 0)) > 0;)
            reply.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(socket);
    return reply;
}

std::string Replaced(std::string text, const std::string& word, const std::string& by) {
    for (std::size_t at = 0; (at = text.find(word, at)) != std::string::npos; at += by.size())
        text.replace(at, word.size(), by);
    return text;
}

// A camera that plays the attack on one of its two ports.
class CHostileCamera {
public:
    explicit CHostileCamera(SAttack attack)
        : attack_(std::move(attack)),
          third_([](const SSentRequest&) {
              return SScriptedReply{
                  "RTSP/1.0 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"x\"\r\n\r\n",
                  SScriptedReply::Close};
          }),
          ordinary_({"--auth", "none", "--rtsp-port", "0"}),
          http_([this](const SSentRequest& request) { return answerHttp(request); }),
          rtsp_([this](const SSentRequest& request) { return answerRtsp(request); }) {
        ordinary_.patch("/cameras/0/settings", {{"STREAMMODE", "0"}}); // all codecs
    }

    std::string filledIn(std::string text) const {
        for (const auto& [word, by] : {std::pair{"ADDRESS", http_.address()},
                                       {"STREAMS", rtsp_.address()},
                                       {"STREAM-PORT", rtsp_.port()},
                                       {"THIRD", third_.address()}})
            text = Replaced(std::move(text), word, by);
        return text;
    }
    int attacks() const { return attacks_; }
    bool isAttackUnderWay() const { return attacks_ > 0 && pieces_ >= attack_.leastPieces; }
    std::size_t strangersHeard() const { return third_.requests().size(); }
    std::string allRequests() const {
        std::string text;
        for (const CScriptedServer* const server : {&http_, &rtsp_, &third_})
            for (const SSentRequest& request : server->requests())
                text += request.head + request.body;
        return text;
    }

private:
    std::optional<SScriptedReply> attackOn(const SSentRequest& request) {
        if ((request.method + " " + request.target).rfind(filledIn(attack_.attacked), 0) != 0)
            return {};
        ++attacks_;
        SScriptedReply reply = attack_.reply;
        reply.bytes = Replaced(filledIn(std::move(reply.bytes)), "CSEQ", request.header("CSeq"));
        if (reply.withoutEnd)
            reply.withoutEnd = [this, next = std::move(reply.withoutEnd)] {
                ++pieces_;
                return next();
            };
        return reply;
    }
    SScriptedReply answerHttp(const SSentRequest& request) {
        if (auto attack = attackOn(request))
            return *attack;
        return {Forward(request, ordinary_.address()), SScriptedReply::Close};
    }
    SScriptedReply answerRtsp(const SSentRequest& request) {
        if (auto attack = attackOn(request))
            return *attack;
        return stream_(request);
    }

    const SAttack attack_;
    std::atomic<int> attacks_{0};
    std::atomic<int> pieces_{0};
    const CScriptedServer::Script stream_ = tests::RtspCamera(
        {"m=video 0 RTP/AVP 96\r\na=rtpmap:96 H264/90000\r\n"
         "m=video 0 RTP/AVP 97\r\na=rtpmap:97 MP4V-ES/90000\r\na=fmtp:97 profile-level-id=1;"
         "config=000001b001000001b58913000001000000012000c48d8ffffd0a041e1463\r\n"
         "m=audio 0 RTP/AVP 98\r\na=rtpmap:98 G726-32/8000\r\nm=video 0 RTP/AVP 26\r\n",
         ""});
    CScriptedServer third_;
    test_support::CCamsim ordinary_;
    CScriptedServer http_;
    CScriptedServer rtsp_;
};

} // namespace

void ExpectHarmless(const SAttack& attack) {
    const CHostileCamera camera(attack);
    const test_support::CTemporaryFolder files;
    std::vector<std::string> arguments;
    for (const std::string& argument : attack.arguments)
        arguments.push_back(Replaced(camera.filledIn(argument), "FILE", files.file("file.mkv")));
    test_support::CProgram program("vornhost", arguments,
                                   {{"VORNHOST_USER", "admin"}, {"VORNHOST_PASSWORD", Password}});
    Clock::time_point began = Clock::now();
    program.write(attack.input);
    if (attack.isInterrupted) {
        ASSERT_TRUE(test_support::WaitUntil([&] { return camera.isAttackUnderWay(); }));
        began = Clock::now();
        program.signal(SIGINT);
    }
    const test_support::SRun run = program.wait();
    EXPECT_LT(Clock::now() - began, attack.isInterrupted ? LongestEnding : LongestRun);
    EXPECT_EQ(run.status, attack.status) << run.err;
    EXPECT_THAT(run.out + run.err, HasSubstr(camera.filledIn(attack.told)));
    EXPECT_THAT(run.out + run.err, Not(HasSubstr(Password)));
    EXPECT_GT(camera.attacks(), 0);
    EXPECT_LE(camera.attacks(), attack.mostRequests);
    EXPECT_EQ(camera.strangersHeard(), 0U);
    EXPECT_THAT(camera.allRequests(), Not(HasSubstr(Password)));
    if (attack.arguments.front() == "--digest-only") {
        EXPECT_THAT(camera.allRequests(), Not(HasSubstr("Basic YWRtaW46"))); // "admin:"
    }
    if (IsMemoryTheProgramsOwn) {
        EXPECT_LT(run.peakBytes, MostMemory);
    }
}

} // namespace corvane::hostile_test
