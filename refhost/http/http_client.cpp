#include "refhost/http/http_client.h"

#include "host/http_status.h"
#include "refhost/base/address.h"
#include "refhost/base/auth_scheme.h"
#include "refhost/base/authentication_book.h"
#include "refhost/base/log.h"
#include "refhost/http/http_handle_pool.h"
#include "refhost/http/http_rounds.h"

#include <strings.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <iterator>
#include <new>
#include <sstream>
#include <string_view>
#include <utility>

namespace corvane::refhost {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::size_t LargestReplyMebibytes = 16;
constexpr std::size_t LargestReply = LargestReplyMebibytes << 20;
// libcurl keeps every line of the header, and of a trailer behind the body; a camera's header has some
// twenty.
constexpr std::size_t LargestHeaderKibibytes = 256;
constexpr std::size_t LargestHeader = LargestHeaderKibibytes << 10;
// A handle keeps this much for each open connection; a dump of settings still takes a few reads only.
constexpr long ReceiveBufferBytes = 4096;

// Of a body, for who has to find out what answers there.
constexpr std::size_t ExcerptBytes = 512;

// "ANY" is any that a camera speaks. Of the others a stranger that is taken for a camera could learn what to
// find the password out with, and this machine's name.
constexpr const char* AnyScheme = "ANY";
constexpr const char* BasicScheme = "BASIC";
constexpr const char* DigestScheme = "DIGEST";
constexpr struct {
    const char* name;
    unsigned long curlAuthentication;
} AuthSchemes[] = {{AnyScheme, CURLAUTH_DIGEST | CURLAUTH_BASIC},
                   {BasicScheme, CURLAUTH_BASIC},
                   {DigestScheme, CURLAUTH_DIGEST}};

COptional<unsigned long> CurlAuthentication(const std::string& scheme) {
    for (const auto& row : AuthSchemes)
        if (scheme == row.name)
            return row.curlAuthentication;
    return {};
}

// What arrives of a reply: every byte of it counts, those of headers and trailers too.
struct SReceived {
    CHttpRounds& rounds;
    const std::function<bool(const std::string&)>& isEnough;
    std::string body = {};
    bool wasEnough = false;
    std::size_t headerSize = 0;
    bool headersEnded = false;
    Clock::time_point lastCame = {}; // a byte of it
    bool isHeaderTooLarge = false;
    bool isBodyTooLarge = false;
    bool isPacked = false;
};

// libcurl would unpack it, asked for or not, and a few bytes can be made gigabytes of.
bool NamesAPacking(std::string_view line) {
    constexpr std::string_view Name = "transfer-encoding:";
    if (line.size() < Name.size() || strncasecmp(line.data(), Name.data(), Name.size()) != 0)
        return false;
    std::string coding(line.substr(Name.size()));
    coding.erase(std::remove_if(coding.begin(), coding.end(), [](unsigned char c) { return c <= ' '; }),
                 coding.end());
    return strcasecmp(coding.c_str(), "chunked") != 0 && strcasecmp(coding.c_str(), "identity") != 0;
}

std::size_t OnHeaderLine(char* data, std::size_t, std::size_t size, void* received) {
    auto& reply = *static_cast<SReceived*>(received);
    reply.headerSize += size;
    reply.isHeaderTooLarge = reply.headerSize > LargestHeader;
    if (reply.isHeaderTooLarge)
        return 0;
    const std::string_view line(data, size);
    reply.isPacked = NamesAPacking(line);
    if (reply.isPacked || reply.rounds.foundStrayFold())
        return 0;
    reply.rounds.headerLine(line);
    if (line.substr(0, 5) == "HTTP/")
        reply.headersEnded = false;
    if (line == "\r\n" || line == "\n")
        reply.headersEnded = true;
    return size;
}

std::size_t OnBody(char* data, std::size_t, std::size_t size, void* received) {
    auto& reply = *static_cast<SReceived*>(received);
    reply.body.append(data, size);
    reply.lastCame = Clock::now();
    reply.wasEnough = reply.isEnough && reply.isEnough(reply.body);
    return reply.wasEnough ? 0 : size;
}

// Called after each read.
int OnProgress(void* received, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    auto& reply = *static_cast<SReceived*>(received);
    reply.isBodyTooLarge = reply.rounds.bodyBytes() > LargestReply;
    return reply.isBodyTooLarge ? 1 : 0;
}

void SetFixedOptions(CURL* curl) {
    constexpr struct {
        CURLoption option;
        long value;
    } Options[] = {
        {CURLOPT_NOSIGNAL, 1},
        {CURLOPT_TCP_NODELAY, 1},
        {CURLOPT_FOLLOWLOCATION, 0},
        {CURLOPT_HTTP09_ALLOWED, 0},
        {CURLOPT_MAXCONNECTS, 1},
        {CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1},
        {CURLOPT_PATH_AS_IS, 1},
        {CURLOPT_BUFFERSIZE, ReceiveBufferBytes},
        {CURLOPT_NOPROGRESS, 0},
        {CURLOPT_QUICK_EXIT, 1}, // a name look-up that hangs must not outlast the time-out
    };
    for (const auto& row : Options)
        curl_easy_setopt(curl, row.option, row.value);
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http");
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, OnHeaderLine);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, OnBody);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, OnProgress);
}

void SetCredentials(CURL* curl, const SHttpPeer& peer) {
    const bool known = !peer.user.empty();
    curl_easy_setopt(curl, CURLOPT_HTTPAUTH, *CurlAuthentication(peer.authScheme));
    curl_easy_setopt(curl, CURLOPT_USERNAME, known ? peer.user.c_str() : nullptr);
    curl_easy_setopt(curl, CURLOPT_PASSWORD, known ? peer.password.c_str() : nullptr);
}

void SetMethod(CURL* curl, const COptional<std::string>& form) {
    // libcurl would ask the device to agree first, which costs a second where it does not know how.
    static curl_slist* const withoutExpect = curl_slist_append(nullptr, "Expect:");
    if (!form) {
        curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
        curl_easy_setopt(curl, CURLOPT_HTTPHEADER, nullptr);
        return;
    }
    curl_easy_setopt(curl, CURLOPT_POST, 1L);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, withoutExpect);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(form->size()));
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, form->data());
}

// Between two pieces of a reply that comes slowly and has not stopped.
constexpr std::chrono::seconds StillComing{1};

constexpr long LowestStatus = 100;
constexpr long HighestStatus = 999;

constexpr const char* CutText = "connection closed in the middle of the reply";
constexpr const char* NotHttpText = "the reply is not HTTP";

struct SFailure {
    HttpFailure kind;
    std::string text;
};

constexpr struct {
    CURLcode code;
    HttpFailure kind;
    const char* text; // null: libcurl's own
} Failures[] = {
    {CURLE_COULDNT_RESOLVE_HOST, HttpFailure::NameNotFound, "host not found"},
    {CURLE_COULDNT_CONNECT, HttpFailure::Unreachable, nullptr},
    {CURLE_GOT_NOTHING, HttpFailure::Dropped, CutText},
    {CURLE_PARTIAL_FILE, HttpFailure::Cut, CutText},
    {CURLE_WEIRD_SERVER_REPLY, HttpFailure::NotHttp, NotHttpText},
    {CURLE_UNSUPPORTED_PROTOCOL, HttpFailure::NotHttp, NotHttpText},
};

std::string TimedOutText(milliseconds time) {
    std::ostringstream text; // without the zeros behind the point
    text << "timed out after " << static_cast<double>(time.count()) / 1000 << " s";
    return text.str();
}

std::atomic<milliseconds> longestTimeOut{milliseconds::max()};

milliseconds TimeOutOf(const SHttpRequest& request) {
    return std::min<milliseconds>(std::chrono::seconds(request.timeout), longestTimeOut.load());
}

SFailure TimeOut(CURL* curl, const SReceived& received, milliseconds time) {
    curl_off_t connectTime = 0;
    curl_easy_getinfo(curl, CURLINFO_CONNECT_TIME_T, &connectTime);
    long connections = 0; // none for a request on a kept one
    curl_easy_getinfo(curl, CURLINFO_NUM_CONNECTS, &connections);
    const bool isConnected = connectTime > 0 || connections == 0;
    const bool isStillComing = Clock::now() - received.lastCame < StillComing;
    return {received.headerSize > 0 ? (isStillComing ? HttpFailure::Slow : HttpFailure::Cut)
            : isConnected           ? HttpFailure::NoAnswer
                                    : HttpFailure::Unreachable,
            TimedOutText(time)};
}

SFailure FailureOf(CURL* curl, CURLcode code, const SReceived& received, const char* detail,
                   milliseconds timeOut) {
    const HttpFailure broken = received.headerSize > 0 ? HttpFailure::Cut : HttpFailure::Dropped;
    if (received.rounds.refusedRepetition())
        return {HttpFailure::Dropped, CutText};
    if (received.rounds.foundStrayFold())
        return {HttpFailure::NotHttp, NotHttpText};
    if (received.isBodyTooLarge)
        return {HttpFailure::TooLarge,
                "the reply is larger than " + std::to_string(LargestReplyMebibytes) + " MiB"};
    if (received.isHeaderTooLarge)
        return {HttpFailure::TooLarge,
                "the reply's header is larger than " + std::to_string(LargestHeaderKibibytes) + " KiB"};
    if (received.isPacked)
        return {HttpFailure::Packed, "the reply is packed, which was not asked for"};
    if (code == CURLE_OPERATION_TIMEDOUT)
        return TimeOut(curl, received, timeOut);
    long systemError = 0;
    curl_easy_getinfo(curl, CURLINFO_OS_ERRNO, &systemError);
    if (code == CURLE_COULDNT_CONNECT && systemError == ECONNREFUSED)
        return {HttpFailure::Refused, "connection refused"};
    const bool isReset = systemError == ECONNRESET; // also as soon as it had taken the connection
    if ((code == CURLE_RECV_ERROR || code == CURLE_COULDNT_CONNECT) && isReset)
        return {broken, CutText};
    const std::string own = *detail ? detail : curl_easy_strerror(code);
    for (const auto& row : Failures)
        if (row.code == code)
            return {row.kind, row.text ? row.text : own};
    return {HttpFailure::Other, own};
}

std::string StatusText(int status) {
    const std::string reason = device_handler::v1_0::HttpStatusReason(status);
    return "HTTP status " + std::to_string(status) + (reason.empty() ? "" : " ") + reason;
}

SHttpReply NoStatus(SFailure failure) {
    SHttpReply reply;
    reply.kind = failure.kind;
    reply.failure = std::move(failure.text);
    return reply;
}

SHttpReply WithStatus(int status) {
    SHttpReply reply;
    reply.status = status;
    if (status != 200) {
        reply.kind = HttpFailure::Status;
        reply.failure = StatusText(status);
    }
    return reply;
}

// Basic puts a ":" between name and password, and would log in as somebody else.
bool CutsTheName(const std::string& user) {
    return user.find(':') != std::string::npos;
}

// Takes Basic away from what the request may use.
void RefuseBasic(SHttpPeer& peer) {
    if (peer.authScheme == AnyScheme)
        peer.authScheme = DigestScheme;
    else if (peer.authScheme == BasicScheme)
        peer.user = peer.password = "";
}

// One exchange with a device whose peer is known and checked.
class CExchange {
public:
    CExchange(const SHttpRequest& request, SHttpPeer peer, bool isBasicRefused)
        : request_(request),
          peer_(std::move(peer)),
          isBasicRefused_(isBasicRefused && !request.user.empty()),
          timeOut_(TimeOutOf(request)),
          deadline_(Clock::now() + timeOut_) {}

    SHttpReply run(CHttpRounds& rounds) {
        CHttpHandlePool& pool = CHttpHandlePool::instance();
        CCurlHandle handle = pool.take(peer_);
        const bool kept = handle != nullptr;
        if (!kept)
            handle = freshHandle();
        const bool mayKeep = pool.mayKeepConnection(peer_.address);
        SHttpReply reply = perform(handle.get(), mayKeep, rounds);
        if (rounds.refusedRepetition())
            pool.beCautiousWith(peer_.address);
        if (kept && reply.status == Unauthorized) {
            // The device has forgotten its challenge, or wants another scheme by now, and did not say so.
            handle = freshHandle();
            reply = perform(handle.get(), mayKeep, rounds);
        }
        // A handle that was turned away, or never reached the device, is of no use to the next request.
        if (reply.status == 0 ? kept : reply.status != Unauthorized)
            pool.giveBack(peer_, std::move(handle));
        return reply;
    }

private:
    static constexpr int Unauthorized = 401;

    static CCurlHandle freshHandle() {
        CCurlHandle handle(curl_easy_init());
        if (!handle)
            throw std::bad_alloc();
        return handle;
    }

    SHttpReply perform(CURL* curl, bool mayKeepConnection, CHttpRounds& rounds) const {
        const auto remaining = std::chrono::ceil<milliseconds>(deadline_ - Clock::now());
        if (remaining <= milliseconds::zero()) // libcurl would wait for ever
            return NoStatus({HttpFailure::NoAnswer, TimedOutText(timeOut_)});

        SReceived received{rounds, request_.isEnough};
        char detail[CURL_ERROR_SIZE] = "";
        SetFixedOptions(curl);
        SetCredentials(curl, peer_);
        SetMethod(curl, request_.form);
        if (curl_easy_setopt(curl, CURLOPT_URL, ("http://" + peer_.address + request_.path).c_str()) !=
            CURLE_OK)
            return NoStatus({HttpFailure::NotAsked,
                             "the request's URL is too long"}); // the handle still has the one before
        curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, mayKeepConnection ? 0L : 1L);
        curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(remaining.count()));
        curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, detail);
        curl_easy_setopt(curl, CURLOPT_HEADERDATA, &received);
        curl_easy_setopt(curl, CURLOPT_WRITEDATA, &received);
        curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &received);
        rounds.watch(curl);
        const CURLcode code = curl_easy_perform(curl);
        SHttpReply reply = judge(curl, code, std::move(received), detail);
        rounds.stopWatching(curl); // the handle outlives both
        curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, nullptr);
        return reply;
    }

    SHttpReply judge(CURL* curl, CURLcode code, SReceived received, const char* detail) const {
        if (received.rounds.refusedChallenge())
            return WithStatus(Unauthorized);
        if (code != CURLE_OK && !received.wasEnough) {
            SHttpReply reply = NoStatus(FailureOf(curl, code, received, detail, timeOut_));
            reply.body = std::move(received.body);
            reply.isTimedOut = code == CURLE_OPERATION_TIMEDOUT;
            return reply;
        }
        if (!received.headersEnded) // libcurl takes a connection that ends there for the end of the reply
            return NoStatus({received.headerSize > 0 ? HttpFailure::Cut : HttpFailure::Dropped, CutText});
        long status = 0;
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
        if (status < LowestStatus || status > HighestStatus) // libcurl takes any number there
            return NoStatus({HttpFailure::NotHttp, NotHttpText});
        SHttpReply reply = WithStatus(static_cast<int>(status));
        reply.body = std::move(received.body);
        const char* location = nullptr;
        curl_easy_getinfo(curl, CURLINFO_REDIRECT_URL, &location);
        reply.location = location ? location : "";
        if (isBasicRefused_ && status == Unauthorized && offersBasicAlone(curl)) {
            reply.kind = HttpFailure::BasicRefused;
            reply.failure += CutsTheName(request_.user) ? BasicUnfitText : BasicRefusedText;
        }
        return reply;
    }

    static bool offersBasicAlone(CURL* curl) {
        long offered = 0;
        curl_easy_getinfo(curl, CURLINFO_HTTPAUTH_AVAIL, &offered);
        constexpr auto Spoken = static_cast<long>(CURLAUTH_DIGEST | CURLAUTH_BASIC);
        return (offered & Spoken) == static_cast<long>(CURLAUTH_BASIC);
    }

    const SHttpRequest& request_;
    const SHttpPeer peer_;
    const bool isBasicRefused_; // and there are credentials that could be shown
    const milliseconds timeOut_;
    const Clock::time_point deadline_;
};

// What lets its reader in, as lines of a header.
constexpr const char* SecretLines[] = {"authorization:", "proxy-authorization:", "cookie:", "set-cookie:"};

std::string WithoutCredentials(const std::string& headers) {
    std::string kept;
    std::istringstream lines(headers);
    for (std::string line; std::getline(lines, line);) {
        const auto isOf = [&line](const char* name) {
            return strncasecmp(line.c_str(), name, std::strlen(name)) == 0;
        };
        const auto* const secret = std::find_if(std::begin(SecretLines), std::end(SecretLines), isOf);
        kept += secret == std::end(SecretLines) ? MaskSecrets(line)
                                                : line.substr(0, std::strlen(*secret)) + " (left out)\r";
        kept += '\n';
    }
    return kept;
}

COptional<SHttpPeer> PeerOf(const SHttpRequest& request) {
    const COptional<SAddress> own = ParseAddress(request.address);
    if (!own)
        return {};
    const std::string address = AddressText(own->host, own->port.empty() ? request.port : own->port);
    if (!ParseAddress(address))
        return {};
    return SHttpPeer{address, request.user, request.password, request.authScheme};
}

SHttpReply Exchange(const SHttpRequest& request, const COptional<SHttpPeer>& peer, CHttpRounds& rounds) {
    if (!peer)
        return NoStatus({HttpFailure::NotAsked, "\"" + request.address + "\" is no device address"});
    if (!CurlAuthentication(request.authScheme))
        return NoStatus(
            {HttpFailure::NotAsked, "unknown authentication scheme \"" + request.authScheme + "\""});
    const bool isBasicRefused =
        CAuthenticationBook::instance().isRefused(peer->address) || CutsTheName(request.user);
    SHttpPeer allowed = *peer;
    if (isBasicRefused)
        RefuseBasic(allowed);
    return CExchange(request, std::move(allowed), isBasicRefused).run(rounds);
}

} // namespace

void LimitTimeOuts(milliseconds longest) {
    longestTimeOut = longest;
}

SHttpReply ExchangeHttp(const SHttpRequest& request) {
    const Clock::time_point start = Clock::now();
    const COptional<SHttpPeer> peer = PeerOf(request);
    CHttpRounds rounds;
    SHttpReply reply = Exchange(request, peer, rounds);

    SHttpExchange told;
    told.address = peer ? peer->address : request.address;
    told.method = request.form ? "POST" : "GET";
    told.path = request.path;
    told.body = request.form.value_or("");
    told.status = reply.status;
    told.kind = reply.kind;
    told.failure = reply.failure;
    told.location = reply.location;
    told.excerpt = AreExchangeDetailsKept() ? reply.body : reply.body.substr(0, ExcerptBytes);
    told.date = rounds.date();
    told.dateCame = rounds.dateCame();
    told.headers = WithoutCredentials(rounds.headers());
    told.user = request.user;
    told.isAskedForEver = rounds.refusedChallenge();
    told.authentication = rounds.authentication();
    // Of two Digest is taken.
    const bool tookBasic = request.authScheme == AnyScheme && told.authentication == AuthScheme::Basic;
    told.offersBasicAlone = tookBasic || reply.kind == HttpFailure::BasicRefused;
    told.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    told.rounds = rounds.end();
    if (!told.rounds.empty())
        told.rounds.back().status = reply.status; // none for a reply that was cut
    CAuthenticationBook::instance().note(told);
    ReportExchange(told);
    return reply;
}

} // namespace corvane::refhost
