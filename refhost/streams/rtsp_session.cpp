#include "refhost/streams/rtsp_session.h"

#include "operations/whole_number.h"
#include "refhost/base/address.h"
#include "refhost/base/auth_scheme.h"
#include "refhost/base/authentication_book.h"
#include "refhost/streams/rtsp_authentication.h"
#include "refhost/streams/rtsp_connection.h"
#include "refhost/streams/rtsp_description.h"
#include "refhost/streams/rtsp_errors.h"
#include "refhost/streams/rtsp_message.h"
#include "refhost/streams/rtsp_pipeline.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace corvane::refhost {
namespace {

using Clock = CRtspConnection::Clock;

constexpr std::chrono::seconds DefaultSessionTime(60);
constexpr int HttpOk = 200;
constexpr int Unauthorized = 401;
constexpr const char* KeepAliveMethod = "GET_PARAMETER";

CError StatusFailure(const SRtspMessage& response, const std::string& reason = {}) {
    const std::string location = response.header("Location");
    return {response.status == Unauthorized ? RtnCode::AuthenticationFailed : RtnCode::OperationFailed,
            Origin::Device,
            rtsp_failure::Status + std::to_string(response.status) + " " + response.reason +
                (location.empty() ? "" : ", to " + location) + reason};
}

// The text behind "NAME=" among parameters that a ";" parts; empty when there is none.
std::string ParameterOf(const std::string& header, const std::string& name) {
    for (std::size_t begin = 0; begin < header.size();) {
        begin = std::min(header.find_first_not_of(" \t", begin), header.size());
        const std::size_t end = std::min(header.find(';', begin), header.size());
        if (header.compare(begin, name.size() + 1, name + "=") == 0)
            return header.substr(begin + name.size() + 1, end - begin - name.size() - 1);
        begin = end + 1;
    }
    return {};
}

// What the camera has said and goes into a request as it is; throws when it would be more than one word
// there.
const std::string& OneWord(const std::string& text) {
    if (std::any_of(text.begin(), text.end(), [](char c) { return g_ascii_iscntrl(c) || c == ' '; }))
        throw Unusable(rtsp_failure::NotRtsp);
    return text;
}

// "rtsp://HOST:PORT" of a location.
std::string AuthorityOf(const std::string& url) {
    return url.substr(0, url.find_first_of("/?", RtspScheme.size()));
}

bool IsLocation(const std::string& text) {
    return g_ascii_strncasecmp(text.c_str(), RtspScheme.data(), RtspScheme.size()) == 0;
}

// A location that the camera names, on the host and port that were asked: no answer to a challenge is given
// for another.
std::string OnHostOf(const std::string& url, const std::string& named) {
    return AuthorityOf(url) + named.substr(AuthorityOf(named).size());
}

// A location, from the description's "control" of it and what that is relative to.
std::string ControlUrl(const std::string& url, const std::string& base, const std::string& control) {
    if (control.empty() || control == "*")
        return OnHostOf(url, base);
    if (IsLocation(control))
        return OnHostOf(url, control);
    return OnHostOf(url, base) + (base.back() == '/' ? "" : "/") + control;
}

} // namespace

// One run of a session. Its steps throw the CError that ends it.
class CRtspSession::CExchange {
public:
    explicit CExchange(CRtspSession& owner)
        : owner_(owner),
          url_(owner.source_.url),
          authentication_(owner.source_.credentials),
          receiver_(owner.receiver_),
          connection_(owner.cancellable_) {}
    ~CExchange() { tearDown(); }
    CExchange(const CExchange&) = delete;
    CExchange& operator=(const CExchange&) = delete;

    void run() {
        connection_.open(url_);
        setUp(describe());
        play();
        receive();
    }

private:
    using Item = CRtspReader::Item;
    using SClosed = CRtspConnection::SClosed;

    struct SLocations {
        std::string session; // to play
        std::string medium;  // to set up
    };

    // The camera need not keep a stream that nobody reads any more; whether it hears of that does not matter.
    void tearDown() {
        if (!session_.empty())
            connection_.writeWithoutWaiting(requestText("TEARDOWN", playUrl_, {}));
    }

    SLocations describe() {
        const SRtspMessage response = ask("DESCRIBE", url_, "Accept: application/sdp\r\n");
        const SRtspDescription description = ReadRtspDescription(response.body);
        std::string base = response.header("Content-Base");
        if (!IsLocation(base))
            base = url_;
        for (const SRtspMedium& medium : description.media)
            if (receiver_.takes(medium.caps.get()))
                return {OneWord(ControlUrl(url_, base, description.control)),
                        OneWord(ControlUrl(url_, base, medium.control))};
        throw receiver_.refusal();
    }

    void setUp(const SLocations& locations) {
        const SRtspMessage response =
            ask("SETUP", locations.medium, "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n");
        const std::string channels = ParameterOf(response.header("Transport"), "interleaved");
        channel_ = operations::ReadWholeNumber<int>(channels.substr(0, channels.find('-'))).value_or(0);
        const std::string session = response.header("Session");
        session_ = OneWord(session.substr(0, session.find(';')));
        const int seconds = operations::ReadWholeNumber<int>(ParameterOf(session, "timeout")).value_or(0);
        sessionTime_ = seconds > 0 ? std::chrono::seconds(seconds) : DefaultSessionTime;
        playUrl_ = locations.session;
    }

    void play() {
        isPlaying_ = true; // packets may come before the answer
        (void)ask("PLAY", playUrl_, "Range: npt=0.000-\r\n");
    }

    // Until the camera ends the stream or nobody wants more.
    void receive() {
        Clock::time_point keepAlive = Clock::now() + sessionTime_ / 2;
        try {
            while (!isEnough_) {
                switch (connection_.nextItem(keepAlive)) {
                case Item::Packet:
                    takePacket();
                    break;
                case Item::Message:
                    answer();
                    break;
                default: // nothing came for so long
                    break;
                }
                if (Clock::now() >= keepAlive) {
                    send(KeepAliveMethod, playUrl_, {});
                    keepAlive = Clock::now() + sessionTime_ / 2;
                }
            }
        } catch (const SClosed& closed) {
            if (closed.isBrokenOff)
                throw NotAccessible(rtsp_failure::Closed);
        }
    }

    // A request and its answer, which is a success; with credentials once the camera asks for them.
    SRtspMessage ask(const char* method, const std::string& url, const std::string& headers) {
        bool isAskedAgain = false;
        owner_.tellAsked(std::string(method) + " " + url);
        authentication_.beginRequest();
        for (;;) {
            try {
                send(method, url, headers);
                SRtspMessage response = awaitResponse();
                const bool isWorthAnother = takeAuthentication(method, url, response);
                if (response.status == HttpOk)
                    return response;
                if (!isWorthAnother)
                    throw StatusFailure(response, authentication_.isBasicRefused() ? BasicRefusedText : "");
                isAskedAgain = true;
            } catch (const SClosed&) {
                // Some close the connection behind their challenge.
                if (!session_.empty() || !std::exchange(isAskedAgain, false))
                    throw NotAccessible(rtsp_failure::Closed);
                connection_.open(url_);
            }
        }
    }

    // Takes in what a response says of credentials. Whether the request is worth another attempt.
    bool takeAuthentication(const char* method, const std::string& url, const SRtspMessage& response) {
        SHttpExchange told;
        told.address = ToldAddress(owner_.source_.device);
        told.method = method;
        told.url = url;
        told.status = response.status;
        told.authentication = authentication_.scheme();
        const bool isWorthAnother =
            response.status == Unauthorized && authentication_.takeChallenge(response);
        told.offersBasicAlone = authentication_.isBasicAlone();
        if (authentication_.isBasicRefused())
            told.kind = HttpFailure::BasicRefused;
        CAuthenticationBook::instance().note(told);
        return isWorthAnother;
    }

    SRtspMessage awaitResponse() {
        const Clock::time_point deadline = Clock::now() + CRtspConnection::AnswerTime;
        for (;;) {
            const Item item = connection_.nextItem(deadline);
            if (item == Item::None || Clock::now() >= deadline) // or whatever else comes without a pause
                throw NotAccessible(rtsp_failure::TimedOut);
            if (item == Item::Packet)
                takePacket();
            else if (connection_.item().message().status == 0)
                answer();
            else if (connection_.item().message().header("CSeq") == std::to_string(sequence_))
                return std::move(connection_.item().message());
        }
    }

    void takePacket() {
        if (!isPlaying_ || connection_.item().channel() != channel_)
            return;
        std::string& packet = connection_.item().packet();
        GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, packet.size(), nullptr);
        gst_buffer_fill(buffer, 0, packet.data(), packet.size());
        isEnough_ = !receiver_.packetComes(buffer);
    }

    // A request of the camera's own is none that is understood here. Of the answers to signs of life only one
    // matters: what the next is to be signed with.
    void answer() {
        const SRtspMessage& message = connection_.item().message();
        if (message.status == Unauthorized) {
            authentication_.beginRequest();
            (void)takeAuthentication(KeepAliveMethod, playUrl_, message);
        } else if (message.status == 0) {
            connection_.write("RTSP/1.0 501 Not Implemented\r\nCSeq: " + message.header("CSeq") + "\r\n\r\n");
        }
    }

    std::string requestText(const char* method, const std::string& url, const std::string& headers) {
        std::string text = std::string(method) + " " + url +
                           " RTSP/1.0\r\nCSeq: " + std::to_string(++sequence_) + "\r\nUser-Agent: vorn\r\n";
        if (const std::string authorization = authentication_.headerFor(method, url); !authorization.empty())
            text += "Authorization: " + authorization + "\r\n";
        if (!session_.empty())
            text += "Session: " + session_ + "\r\n";
        return text + headers + "\r\n";
    }

    void send(const char* method, const std::string& url, const std::string& headers) {
        connection_.write(requestText(method, url, headers));
    }

    CRtspSession& owner_;
    const std::string& url_;
    CRtspAuthentication authentication_;
    IRtspReceiver& receiver_;
    CRtspConnection connection_;
    unsigned sequence_ = 0;
    std::string session_; // what the camera calls it
    std::chrono::milliseconds sessionTime_ = DefaultSessionTime;
    std::string playUrl_;
    int channel_ = 0;
    bool isPlaying_ = false;
    bool isEnough_ = false;
};

CRtspSession::CRtspSession(SRtspSource source, IRtspReceiver& receiver)
    : source_(std::move(source)),
      receiver_(receiver),
      cancellable_(g_cancellable_new()),
      asked_("DESCRIBE " + source_.url) {}

CRtspSession::~CRtspSession() {
    g_object_unref(cancellable_);
}

CError CRtspSession::run() {
    try {
        CExchange(*this).run();
        return CError::Success();
    } catch (const CError& error) {
        return error;
    } catch (const std::exception& failure) { // short of memory
        return {RtnCode::OperationFailed, Origin::General, failure.what()};
    }
}

void CRtspSession::cancel() {
    g_cancellable_cancel(cancellable_);
}

std::string CRtspSession::asked() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return asked_;
}

void CRtspSession::tellAsked(const std::string& request) {
    const std::lock_guard<std::mutex> lock(mutex_);
    asked_ = request;
}

} // namespace corvane::refhost
