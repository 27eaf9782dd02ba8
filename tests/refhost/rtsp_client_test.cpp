// What a camera is asked over RTSP, letter by letter, and what is made of all that it may answer.

#include "host/log.h"
#include "refhost/base/authentication_book.h"
#include "refhost/base/log.h"
#include "refhost/streams/rtsp_authentication.h"
#include "refhost/streams/rtsp_message.h"
#include "refhost/streams/rtsp_pipeline.h"
#include "refhost/streams/rtsp_session.h"
#include "tests/refhost/captured_stderr.h"
#include "tests/support/md5.h"
#include "tests/support/scripted_rtsp.h"

#include <gmock/gmock.h>
#include <gst/gst.h>
#include <gtest/gtest.h>

#include <future>
#include <regex>
#include <string>
#include <tuple>
#include <vector>

namespace corvane::refhost {
namespace {

using namespace device_handler::v1_0;
using namespace tests;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;
using Texts = std::vector<std::string>;

constexpr const char* Location = "rtsp://10.0.0.1/x";

SRtspMessage Challenges(const Texts& challenges) {
    SRtspMessage response;
    response.status = 401;
    for (const std::string& challenge : challenges)
        response.headers.emplace_back("www-authenticate", challenge);
    return response;
}

TEST(RtspAuthentication, DigestIsAnsweredByTheChallengesOwnWords) {
    const struct {
        const char *challenge, *method, *answer;
    } cases[] = {
        {R"(Digest realm="a camera", nonce="0a4f")", "DESCRIBE",
         R"(realm="a camera", nonce="0a4f", uri="rtsp://10.0.0.1/x", response="8cc11abd1c5ecfaffb54563b5d6235dc")"},
        {R"(dIGEST NONCE=0a4f,algorithm=md5,Realm="a camera",opaque="o=1,\"")", "SETUP",
         R"(realm="a camera", nonce="0a4f", uri="rtsp://10.0.0.1/x", response="ee34207031d1d1f9404e13fd5ef8c775", opaque="o=1,\"")"},
        {R"(Digest  nonce="n,=;" , realm="a \"real\" \\m", x)", "PLAY",
         R"(realm="a \"real\" \\m", nonce="n,=;", uri="rtsp://10.0.0.1/x", response="b499f00536d52a9a042e9623da4c8986")"},
    };
    for (const auto& c : cases) {
        CRtspAuthentication authentication({"admin", "12345"});
        EXPECT_EQ(authentication.headerFor(c.method, Location), "");
        EXPECT_TRUE(authentication.takeChallenge(Challenges({c.challenge})));
        EXPECT_EQ(authentication.headerFor(c.method, Location),
                  std::string(R"(Digest username="admin", )") + c.answer);
    }
}

// It may be somebody in between who asks for it, and it ends a name at its colon.
TEST(RtspAuthentication, BasicIsTakenNeitherBehindDigestNorForANameWithAColon) {
    CRtspAuthentication fallen({"admin", "12345"});
    EXPECT_TRUE(fallen.takeChallenge(Challenges({R"(Digest realm="d", nonce="1")"})));
    EXPECT_FALSE(fallen.takeChallenge(Challenges({R"(Basic realm="b")"})));
    EXPECT_TRUE(fallen.isBasicRefused());
    EXPECT_THAT(fallen.headerFor("TEARDOWN", Location), StartsWith("Digest "));
    CRtspAuthentication withColon({"ad:min", "12345"});
    EXPECT_FALSE(withColon.takeChallenge(Challenges({R"(Basic realm="b")"})));
    EXPECT_EQ(withColon.headerFor("PLAY", Location), "");
}

// The numbers of a nonce's uses begin anew with each nonce.
TEST(RtspAuthentication, DigestWithQopCountsTheUsesOfItsNonce) {
    CRtspAuthentication authentication({"admin", "12345"});
    std::string clientNonces;
    for (const std::string nonce : {"0a4f", "ffff"}) {
        authentication.takeChallenge(Challenges(
            {R"(Digest realm="a camera", qop="auth-int,auth", opaque="o", nonce=")" + nonce + '"'}));
        for (const std::string count : {"00000001", "00000002"}) {
            const std::string header = authentication.headerFor("PLAY", Location);
            std::smatch found;
            const std::regex form(
                "Digest username=\"admin\", realm=\"a camera\", nonce=\"([0-9a-f]{4})\", "
                "uri=\"rtsp://10.0.0.1/x\", qop=auth, nc=([0-9]{8}), cnonce=\"([0-9a-f]{16})\", "
                "response=\"([0-9a-f]{32})\", opaque=\"o\"");
            ASSERT_TRUE(std::regex_match(header, found, form)) << header;
            EXPECT_EQ(found[1], nonce);
            EXPECT_EQ(found[2], count);
            EXPECT_EQ(clientNonces.find(found[3]), std::string::npos);
            clientNonces += found[3];
            // The user's part, and the request's.
            EXPECT_EQ(found[4], Md5("6f28d099a0262e14f4b16e95bc7dcf8c:" + nonce + ":" + count + ":" +
                                    found[3].str() + ":auth:bf9f1fe27c6d8f35b0031fec566cbd23"));
        }
    }
}

TEST(RtspAuthentication, TheBestSchemeThatIsSpokenIsTaken) {
    const std::string basic = R"(Basic realm="b")", digest = R"(Digest realm="d", nonce="1")",
                      strange = R"(Digest realm="s", nonce="2", algorithm=SHA-256)",
                      second = R"(Digest realm="x", nonce="3", algorithm=MD5)";
    const struct {
        Texts challenges;
        const char *answer, *withoutBasic;
        bool isBasicRefused;
    } cases[] = {
        {{basic, digest}, "Digest username=\"ad\", realm=\"d\"", "Digest", false},
        {{digest, basic}, "Digest username=\"ad\", realm=\"d\"", "Digest", false},
        {{strange, digest, second}, "Digest username=\"ad\", realm=\"d\"", "Digest", false},
        {{strange, basic}, "", "", true},
        {{"basic"}, "Basic YWQ6MTo1", "", true}, // ad:1:5
        {{strange, "Basics", "NTLM"}, "", "", false},
        {{}, "", "", false},
    };
    for (const auto& c : cases) {
        CAuthentication credentials("ad", "1:5");
        CRtspAuthentication any(credentials), none((CAuthentication()));
        credentials.refuseBasic();
        CRtspAuthentication careful(credentials);
        for (const auto& [authentication, answer, isRefused] :
             {std::tuple<CRtspAuthentication&, std::string, bool>(any, c.answer,
                                                                  c.isBasicRefused && !*c.answer),
              {careful, c.withoutBasic, c.isBasicRefused},
              {none, "", false}}) {
            EXPECT_EQ(authentication.takeChallenge(Challenges(c.challenges)), !answer.empty());
            EXPECT_THAT(authentication.headerFor("PLAY", Location), StartsWith(answer));
            EXPECT_EQ(authentication.headerFor("PLAY", Location).empty(), answer.empty());
            EXPECT_EQ(authentication.isBasicRefused(), isRefused);
        }
    }
}

TEST(RtspAuthentication, OnlyANonceThatHasGrownOldIsAnsweredAgainAndOnceForARequest) {
    const std::string wrong = R"(Digest realm="d", nonce="1")", old = wrong + ", stale=TRUE";
    CRtspAuthentication authentication({"admin", "12345"});
    for (const auto& [challenge, isWorthIt] :
         {std::pair(old, true), {wrong, false}, {old, true}, {old, false}})
        EXPECT_EQ(authentication.takeChallenge(Challenges({challenge})), isWorthIt);
    authentication.beginRequest();
    EXPECT_TRUE(authentication.takeChallenge(Challenges({old})));
}

// An RTP packet's place in the connection, whatever is in it.
std::string Packet(char channel, const std::string& content) {
    return std::string("$") + channel + BigEndian(static_cast<std::uint32_t>(content.size()), 2) + content;
}

// The items that come out of it when it goes in by pieces of that size.
Texts ItemsOf(const std::string& bytes, std::size_t piece) {
    CRtspReader reader;
    Texts items;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        reader.add(bytes.data() + at, std::min(piece, bytes.size() - at));
        for (auto item = reader.next(); item != CRtspReader::Item::None; item = reader.next()) {
            if (item == CRtspReader::Item::TooLarge || item == CRtspReader::Item::NotRtsp) {
                items.emplace_back(item == CRtspReader::Item::TooLarge ? "too large" : "not RTSP");
                return items;
            }
            std::string text = std::to_string(reader.channel()) + ":" + reader.packet();
            if (item == CRtspReader::Item::Message) {
                const SRtspMessage& message = reader.message();
                text = message.method + std::to_string(message.status) + " (" + message.reason + ")";
                for (const auto& [name, value] : message.headers)
                    text += " " + name + "=" + value;
                text += " " + message.body;
            }
            items.push_back(text);
        }
    }
    return items;
}

TEST(RtspReader, MessagesAndPacketsAreToldApartHoweverTheyCome) {
    const std::string large(0x102, 'p');
    const std::string stream =
        "RTSP/1.0 200 OK\r\nCSeq:1\r\ncontent-length: 5 \r\n\r\n$\1\r\n." + Packet(0, "") +
        Packet('\xFF', large) + "RTSP/1.0 404 No such, or: none\r\nX: a: b\r\nEmpty:\r\n\r\n" +
        "OPTIONS rtsp://x/ RTSP/1.0\r\n\tCSeq\t: 7\r\n\r\n" + Packet(7, "RTSP/1.0") + "RTSP/1.0 200\r\n\r\n";
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, stream.size()})
        EXPECT_THAT(ItemsOf(stream, piece),
                    ElementsAre("200 (OK) CSeq=1 content-length=5 $\1\r\n.", "0:", "255:" + large,
                                "404 (No such, or: none) X=a: b Empty= ", "OPTIONS0 () CSeq=7 ", "7:RTSP/1.0",
                                "200 () "));
    const std::string line = "RTSP/1.0 200 OK\r\n", filler = "X: " + std::string(16'384 - 17 - 3 - 4, 'x');
    const auto withBody = [&](const std::string& length, std::size_t size) {
        return ItemsOf(line + "Content-Length: " + length + "\r\n\r\n" + std::string(size, 'b'), 100'000);
    };
    EXPECT_EQ(ItemsOf(line + filler + "\r\n\r\n", 100'000).front().substr(0, 8), "200 (OK)");
    EXPECT_EQ(ItemsOf(line + filler + "x\r\n\r\n", 100'000), Texts{"too large"});
    EXPECT_EQ(withBody("16384", 16'384).front().size(),
              16'384 + std::string("200 (OK) Content-Length=16384 ").size());
    EXPECT_EQ(withBody("16385", 0), Texts{"too large"});
    EXPECT_EQ(withBody("99999999999999999999", 0), Texts{"too large"});
    EXPECT_EQ(withBody("5", 4), Texts());
    for (const char* const length : {"-1", "5x", "x"})
        EXPECT_EQ(withBody(length, 9), Texts{"not RTSP"}) << length;
    for (const char* const other : {"HTTP/1.1 200 OK\r\n", "RTSP/2.0 200 OK\r\n", "RTSP/1.0 99 x\r\n",
                                    "RTSP/1.0 2x0 x\r\n", "RTSP/1.0\r\n", "OPTIONS RTSP/1.0\r\n", "\r\n", "[",
                                    "@", "options", "RTSP/1.0 200 OK\r\nno colon\r\n\r\n"})
        EXPECT_EQ(ItemsOf(other, 1), Texts{"not RTSP"}) << other;
}

constexpr const char* Sdp = "v=0\r\no=- 0 0 IN IP4 0\r\ns=-\r\nt=0 0\r\n";
const std::string Video = std::string(Sdp) + "m=video 0 RTP/AVP 26\r\n";

// What a camera answers; the rest of each answer is as it must be.
struct SCamera {
    std::string description = Video;
    std::string base; // header lines of the description
    std::string session = "Session: a1\r\n";
    std::string transport = "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n";
    std::string around = Packet(0, "packet"); // the answer to PLAY, before and behind it
    SScriptedReply::End end = SScriptedReply::KeepOpen;
    std::function<SScriptedReply(const SSentRequest&)> first{}; // an answer with bytes comes instead

    SScriptedReply operator()(const SSentRequest& request) const {
        if (first)
            if (const SScriptedReply reply = first(request); !reply.bytes.empty())
                return reply;
        const bool describes = request.method == "DESCRIBE", plays = request.method == "PLAY";
        const std::string answer = Answer(request, "200 OK",
                                          describes                   ? base
                                          : request.method == "SETUP" ? session + transport
                                                                      : "",
                                          describes ? description : "");
        if (request.method.find('/') != std::string::npos) // is an answer itself
            return {""};
        return {plays ? around + answer + around : answer, plays ? end : SScriptedReply::KeepOpen};
    }
    static std::string Answer(const SSentRequest& request, const std::string& status,
                              const std::string& headers = {}, const std::string& body = {}) {
        return "RTSP/1.0 " + status + "\r\nCSeq: " + request.header("CSeq") + "\r\n" + headers +
               "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    }
};

// Takes the first video, and packets until it has enough.
class CReceiver : public IRtspReceiver {
public:
    bool takes(GstCaps* medium) override {
        const GstStructure* const described = gst_caps_get_structure(medium, 0);
        const std::string kind = gst_structure_get_string(described, "media");
        const gchar* const encoding = gst_structure_get_string(described, "encoding-name");
        int payload = -1;
        gst_structure_get_int(described, "payload", &payload);
        media.push_back(kind + " " + std::to_string(payload) + " " + (encoding ? encoding : "-"));
        return kind == "video";
    }
    CError refusal() const override { return {RtnCode::NotSupported, Origin::Device, "refused"}; }
    bool packetComes(GstBuffer* packet) override {
        std::string content(gst_buffer_get_size(packet), '\0');
        gst_buffer_extract(packet, 0, content.data(), content.size());
        gst_buffer_unref(packet);
        packets.push_back(content);
        return packets.size() < enough;
    }

    std::size_t enough = 1;
    Texts media, packets;
};

// One stream of a camera.
class CClient {
public:
    explicit CClient(const SCamera& camera, std::size_t enough = 1, bool ipv6 = false,
                     const CAuthentication& credentials = {"admin", "12345"})
        : device(camera, ipv6),
          url("rtsp://" + device.address() + "/v?a=b"),
          session({url, device.address(), credentials}, receiver) {
        gst_init(nullptr, nullptr);
        g_log_set_always_fatal(GLogLevelFlags(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL));
        receiver.enough = enough;
    }
    // Until the stream ends; how it does.
    std::string run() {
        const CError end = session.run();
        return end ? std::to_string(end.getCode()) + " " + std::to_string(end.getOrigin()) + " " +
                         end.getText()
                   : "ended";
    }
    // What has been sent by the time that there are so many, without the number and the name of the client.
    Texts sent(std::size_t count) const {
        EXPECT_TRUE(device.waitForRequests(count));
        Texts all;
        for (const SSentRequest& request : device.requests()) {
            std::string text = request.head;
            const std::string number = "CSeq: " + std::to_string(all.size() + 1) + "\r\nUser-Agent: vorn\r\n";
            if (const std::size_t at = text.find(number); at != std::string::npos)
                text.erase(at, number.size());
            all.push_back(text.substr(0, text.size() - 2));
        }
        all.resize(std::max(all.size(), count));
        return all;
    }

    CReceiver receiver;
    const CScriptedServer device;
    const std::string url;
    CRtspSession session;
};

TEST(RtspSession, AStreamIsAskedForAndTornDown) {
    for (const bool ipv6 : {false, true}) {
        CClient client({}, 2, ipv6);
        EXPECT_EQ(client.run(), "ended");
        EXPECT_THAT(
            client.sent(4),
            ElementsAre("DESCRIBE " + client.url + " RTSP/1.0\r\nAccept: application/sdp",
                        "SETUP " + client.url + " RTSP/1.0\r\nTransport: RTP/AVP/TCP;unicast;interleaved=0-1",
                        "PLAY " + client.url + " RTSP/1.0\r\nSession: a1\r\nRange: npt=0.000-",
                        "TEARDOWN " + client.url + " RTSP/1.0\r\nSession: a1"));
        EXPECT_THAT(client.receiver.packets, ElementsAre("packet", "packet")); // before and behind the answer
    }
}

TEST(RtspSession, TheFirstMediumThatIsWantedIsSetUpWhereTheDescriptionSays) {
    const std::string absolute = "RTSP://10.0.0.1/else"; // at this camera all the same: no other is asked
    const struct {
        std::string base, ofAll, ofMedium, played, setUp;
    } cases[] = {
        {"", "", "", "", ""},
        {"", "*", "*", "", ""},
        {"", "", "track1", "", "/track1"},
        {"", "all", "track1", "/all", "/track1"},
        {"Content-Base: rtsp://base/v/\r\n", "*", "track1", "HOST/v/", "HOST/v/track1"},
        {"Content-Base: rtsp://base/v\r\n", "", "track1", "HOST/v", "HOST/v/track1"},
        {"Content-Base: rtsp://base/v/\r\n", absolute, absolute + "/1", "HOST/else", "HOST/else/1"},
    };
    for (const auto& c : cases) {
        const auto control = [](const std::string& value) {
            return value.empty() ? "" : "a=control:" + value + "\r\n";
        };
        SCamera camera;
        camera.base = c.base;
        camera.description = Sdp + control(c.ofAll) +
                             "m=audio 0 RTP/AVP 97\r\na=rtpmap:97 G726-32/8000\r\na=control:sound\r\n"
                             "m=video 0 RTP/AVP 96\r\na=rtpmap:96 H264/90000\r\n" +
                             control(c.ofMedium) + "m=video 0 RTP/AVP 26\r\na=control:second\r\n";
        CClient client(camera);
        EXPECT_EQ(client.run(), "ended");
        const auto locationOf = [&](const std::string& wanted) {
            const std::string host = client.url.substr(0, client.url.find('/', 7));
            return wanted.compare(0, 4, "HOST") == 0 ? host + wanted.substr(4) : client.url + wanted;
        };
        const Texts sent = client.sent(4);
        EXPECT_THAT(sent[1], StartsWith("SETUP " + locationOf(c.setUp) + " RTSP/1.0\r\n"));
        EXPECT_THAT(sent[2], StartsWith("PLAY " + locationOf(c.played) + " RTSP/1.0\r\n"));
        EXPECT_THAT(sent[3], StartsWith("TEARDOWN " + locationOf(c.played) + " RTSP/1.0\r\n"));
        EXPECT_THAT(client.receiver.media, ElementsAre("audio 97 G726-32", "video 96 H264"));
    }
}

TEST(RtspSession, PacketsOfTheStreamsOwnChannelAreTaken) {
    const std::string mixed = Packet(0, "zero") + Packet(3, "three") + Packet(2, "two") + Packet(1, "one");
    for (const auto& [transport, taken] :
         {std::pair("Transport: RTP/AVP/TCP;unicast;interleaved=2-3;ssrc=0\r\n", "two"),
          {"Transport: RTP/AVP/TCP; interleaved=3\r\n", "three"},
          {"transport: RTP/AVP/TCP;noninterleaved=2;interleaved=1-2\r\n", "one"},
          {"", "zero"}}) {
        SCamera camera;
        camera.transport = transport;
        camera.around = mixed;
        CClient client(camera, 2);
        EXPECT_EQ(client.run(), "ended");
        EXPECT_THAT(client.receiver.packets, ElementsAre(taken, taken)) << transport;
    }
}

// Its sign of life is sent in the middle of a session's time, signed with what the camera asked for last.
TEST(RtspSession, ItIsKeptAliveForAsLongAsTheCameraSays) {
    SCamera camera;
    camera.session = "Session: a1;x=9; timeout=1\r\n";
    camera.around = "";
    camera.first = [](const SSentRequest& request) {
        const std::string shown = request.header("Authorization");
        const char* const nonce = request.method == "GET_PARAMETER" ? "second" : "first";
        return SScriptedReply{
            shown.find(nonce) != std::string::npos
                ? ""
                : SCamera::Answer(request, "401 Unauthorized",
                                  "WWW-Authenticate: Digest realm=\"c\", stale=true, nonce=\"" +
                                      std::string(nonce) + "\"\r\n")};
    };
    CClient client(camera);
    auto end = std::async(std::launch::async, [&] { return client.run(); });
    const Texts sent = client.sent(6);
    for (const auto& [at, nonce] : {std::pair<std::size_t, std::string>(4, "first"), {5, "second"}}) {
        EXPECT_THAT(sent[at], StartsWith("GET_PARAMETER " + client.url + " RTSP/1.0\r\n"));
        EXPECT_THAT(sent[at], testing::HasSubstr("nonce=\"" + nonce + "\""));
        EXPECT_THAT(sent[at], testing::HasSubstr("\r\nSession: a1"));
    }
    client.session.cancel();
    EXPECT_THAT(end.get(), StartsWith("7 4 no connection"));
    EXPECT_THAT(client.sent(7).back(), StartsWith("TEARDOWN "));
}

TEST(RtspSession, WhatTheCameraAsksOfItsOwnIsRefusedAndAnswersToNothingAreLeftOut) {
    const std::string question = "OPTIONS * RTSP/1.0\r\nCSeq: 77\r\n\r\n",
                      answer = "RTSP/1.0 500 Of Another\r\nCSeq: 99\r\n\r\n";
    SCamera camera;
    camera.around = "";
    camera.first = [&](const SSentRequest& request) -> SScriptedReply {
        std::string bytes = question + answer + SCamera::Answer(request, "200 OK", "", Video);
        if (request.method == "PLAY")
            bytes = SCamera::Answer(request, "200 OK") + question + answer + Packet(0, "packet");
        return {request.method == "DESCRIBE" || request.method == "PLAY" ? bytes : ""};
    };
    CClient client(camera);
    EXPECT_EQ(client.run(), "ended");
    Texts refusals;
    for (const std::string& request : client.sent(6))
        if (request.substr(0, 4) == "RTSP")
            refusals.push_back(request);
    const std::string refusal = "RTSP/1.0 501 Not Implemented\r\nCSeq: 77";
    EXPECT_THAT(refusals, ElementsAre(refusal, refusal));
    EXPECT_THAT(client.receiver.packets, ElementsAre("packet"));
}

TEST(RtspSession, AChallengeIsAnsweredAlsoWhereItEndsTheConnection) {
    for (const std::string method : {"DESCRIBE", "SETUP", "PLAY"})
        for (const auto end : {SScriptedReply::KeepOpen, SScriptedReply::Close, SScriptedReply::Reset}) {
            SCamera camera;
            camera.first = [&](const SSentRequest& request) -> SScriptedReply {
                if (request.method != method || !request.header("Authorization").empty())
                    return {""};
                return {SCamera::Answer(request, "401 x", "WWW-Authenticate: Basic realm=\"c\"\r\n"), end};
            };
            CClient client(camera);
            const bool isLost = method == "PLAY" && end != SScriptedReply::KeepOpen; // with what was set up
            EXPECT_EQ(client.run(), isLost ? "7 4 connection closed" : "ended") << method;
            EXPECT_EQ(client.device.requests().back().header("Authorization"),
                      isLost ? "" : "Basic YWRtaW46MTIzNDU=");
            CClient stranger(camera, 1, false, {});
            EXPECT_EQ(stranger.run(), "10 4 RTSP status 401 x");
        }
}

// Of two streams of a camera, what the log tells.
std::string LogOfTwo(CClient& client, const std::string& end) {
    return CapturedStderr([&] {
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(client.run().substr(0, end.size()), end);
    });
}

std::string Told(const CClient& client, const std::string& what) {
    return "notice " + client.device.address() + ": the camera offers Basic authentication alone" + what +
           "\n";
}

TEST(RtspSession, HowItsCameraAsksIsToldOnceAndRemembered) {
    SetLogLevel(LogNotice);
    std::string challenge, asks; // changed between two streams only
    SCamera camera;
    camera.first = [&](const SSentRequest& request) -> SScriptedReply {
        const bool isIn = request.header("Authorization").substr(0, 5) == challenge.substr(0, 5);
        if (isIn || asks.find(request.method) == std::string::npos)
            return {""};
        return {SCamera::Answer(request, "401 x", "WWW-Authenticate: " + challenge + "\r\n")};
    };
    const std::string basic = R"(Basic realm="b")", digest = R"(Digest realm="d", nonce="1")",
                      fall = ", and had Digest before: somebody may be in between, or it was reset";
    const auto seen = [](const CClient& client) {
        return CAuthenticationBook::instance().seen(client.device.address());
    };
    CAuthentication careful("admin", "12345");
    careful.refuseBasic();
    CClient client(camera), refusing(camera, 1, false, careful), stranger(camera, 1, false, {});

    challenge = basic;
    asks = "DESCRIBE SETUP PLAY";
    EXPECT_THAT(LogOfTwo(client, "ended"), EndsWith(Told(client, "; whoever listens learns the password")));
    ASSERT_TRUE(seen(client).basicAlone);
    EXPECT_EQ(seen(client).basicAlone->method + " " + seen(client).basicAlone->url, "DESCRIBE " + client.url);
    EXPECT_EQ(seen(client).letIn, AuthScheme::Basic);
    EXPECT_THAT(LogOfTwo(refusing, "10 4 RTSP status 401 x: Basic"),
                EndsWith(Told(refusing, "; that is refused")));
    EXPECT_EQ(seen(refusing).basicAlone->kind, HttpFailure::BasicRefused);
    EXPECT_EQ(LogOfTwo(stranger, "10 4"), "");

    challenge = digest;
    EXPECT_EQ(LogOfTwo(client, "ended") + LogOfTwo(refusing, "ended"), "");
    EXPECT_EQ(seen(client).letIn, AuthScheme::Digest);
    EXPECT_FALSE(seen(client).basicAlone);
    challenge = basic;
    EXPECT_THAT(LogOfTwo(client, "ended"),
                EndsWith(Told(client, fall + "; whoever listens learns the password")));
    EXPECT_THAT(LogOfTwo(refusing, "10 4"), EndsWith(Told(refusing, fall + "; that is refused")));
    EXPECT_TRUE(seen(refusing).isWeakerThanBefore());
    for (const SSentRequest& request : refusing.device.requests())
        EXPECT_NE(request.header("Authorization").substr(0, 5), "Basic");
    SetLogLevel(LogFailure);
}

TEST(RtspSession, ItsEndTellsWhatTheCameraDid) {
    const auto answers = [](const std::string& method, const std::string& bytes,
                            SScriptedReply::End end = SScriptedReply::KeepOpen) {
        SCamera camera;
        camera.first = [=](const SSentRequest& request) -> SScriptedReply {
            if (request.method != method)
                return {""};
            return {bytes.substr(0, 3) == "400" || bytes.substr(0, 3) == "302"
                        ? SCamera::Answer(request, bytes, "Location: rtsp://x/\r\n")
                        : bytes,
                    end};
        };
        return camera;
    };
    SCamera ends, breaksOff, lacksVideo, isNotDescribed, hasBlankInBase, hasBlankInSession;
    ends.end = SScriptedReply::Close;
    breaksOff.end = SScriptedReply::Reset;
    breaksOff.around = "";
    lacksVideo.description = std::string(Sdp) + "m=audio 0 RTP/AVP 8\r\n";
    isNotDescribed.description = "";
    hasBlankInBase.base = "Content-Base: rtsp://a/b c\r\n";
    hasBlankInSession.session = "Session: a\tb\r\n";
    const std::tuple<SCamera, const char*, const char*> cases[] = {
        {ends, "ended", "PLAY"},
        {breaksOff, "7 4 connection closed", "PLAY"},
        {lacksVideo, "3 4 refused", "DESCRIBE"},
        {isNotDescribed, "2 4 no description of the stream that can be read", "DESCRIBE"},
        {hasBlankInBase, "2 4 what answers does not speak RTSP", "DESCRIBE"},
        {hasBlankInSession, "2 4 what answers does not speak RTSP", "SETUP"},
        {answers("DESCRIBE", "400 Bad: really"), "2 4 RTSP status 400 Bad: really, to rtsp://x/", "DESCRIBE"},
        {answers("SETUP", "302 Gone"), "2 4 RTSP status 302 Gone, to rtsp://x/", "SETUP"},
        {answers("PLAY", "400 Later"), "2 4 RTSP status 400 Later, to rtsp://x/", "PLAY"},
        {answers("DESCRIBE", "RTSP/1.0 2", SScriptedReply::Close), "7 4 connection closed", "DESCRIBE"},
        {answers("SETUP", "RTSP/1.0 2", SScriptedReply::Close), "7 4 connection closed", "SETUP"},
        {answers("DESCRIBE", "Q\x01", SScriptedReply::Close), "2 4 what answers does not speak RTSP",
         "DESCRIBE"},
        {answers("DESCRIBE", "$\x01", SScriptedReply::Close), "2 4 what answers does not speak RTSP",
         "DESCRIBE"},
        {answers("DESCRIBE", "HTTP/1.1 200 OK\r\n\r\n"), "2 4 what answers does not speak RTSP", "DESCRIBE"},
    };
    for (const auto& [camera, told, asked] : cases) {
        CClient client(camera, 1'000);
        EXPECT_EQ(client.session.asked(), "DESCRIBE " + client.url);
        EXPECT_EQ(client.run(), told);
        EXPECT_EQ(client.session.asked(), asked + (" " + client.url)) << told;
    }
    CReceiver receiver;
    for (const std::string url : {"http://127.0.0.1/", "rtsp://", "rtsp://a:b@c/", "127.0.0.1"}) {
        const CError error = CRtspSession({url, "", {}}, receiver).run();
        EXPECT_EQ(error.getText(), "\"" + url + "\" is no location for RTSP");
        EXPECT_EQ(error.getCode(), 3);
    }
    EXPECT_EQ(CRtspSession({"rtsp://" + UnusedAddress(), "", {}}, receiver).run().getText(),
              "connection refused");
}

} // namespace
} // namespace corvane::refhost
