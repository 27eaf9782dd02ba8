#include "refhost/http/http_client.h"

#include "host/http_status.h"
#include "refhost/base/address.h"
#include "refhost/base/auth_scheme.h"
#include "refhost/base/authentication_book.h"
#include "refhost/base/log.h"
#include "refhost/http/http_handle_pool.h"
#include "refhost/http/http_reception.h"
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

// A handle keeps this much for each open connection; a dump of settings still takes a few reads only.
constexpr long ReceiveBufferBytes = 4096;

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

constexpr long LowestStatus = 100;
constexpr long HighestStatus = 999;
constexpr long LowestRedirect = 300;
constexpr long HighestRedirect = 399;

std::atomic<milliseconds> longestTimeOut{milliseconds::max()};

milliseconds TimeOutOf(const SHttpRequest& request) {
    return std::min<milliseconds>(std::chrono::seconds(request.timeout), longestTimeOut.load());
}

// Of what is no error by itself, and so not in the host's table.
constexpr device_handler::v1_0::SHttpStatusReason OtherReasons[] = {
    {201, "Created"},           {202, "Accepted"},        {204, "No Content"},
    {205, "Reset Content"},     {206, "Partial Content"}, {300, "Multiple Choices"},
    {301, "Moved Permanently"}, {302, "Found"},           {303, "See Other"},
    {304, "Not Modified"},      {305, "Use Proxy"},       {307, "Temporary Redirect"},
    {308, "Permanent Redirect"}};

std::string ReasonOf(int status) {
    for (const auto& row : OtherReasons)
        if (row.code == status)
            return row.reason;
    return device_handler::v1_0::HttpStatusReason(status);
}

std::string StatusText(int status) {
    const std::string reason = ReasonOf(status);
    return "HTTP status " + std::to_string(status) + (reason.empty() ? "" : " ") + reason;
}

SHttpReply NoStatus(SHttpNoStatus failure) {
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
        CHttpHandleLoan loan = pool.take(peer_);
        const bool isUsed = loan.isUsed();
        if (!isUsed)
            loan.renew();
        const bool mayKeep = pool.mayKeepConnection(peer_.address);
        SHttpReply reply = perform(loan.handle(), mayKeep, rounds);
        if (rounds.refusedRepetition())
            pool.beCautiousWith(peer_.address);
        if (isUsed && reply.status == Unauthorized) {
            // The device has forgotten its challenge, or wants another scheme by now, and did not say so.
            loan.renew();
            reply = perform(loan.handle(), mayKeep, rounds);
        }
        // A handle that was turned away, or never reached the device, is of no use to the next request.
        if (reply.status == 0 ? isUsed : reply.status != Unauthorized)
            loan.keep();
        return reply;
    }

private:
    static constexpr int Unauthorized = 401;

    SHttpReply perform(CURL* curl, bool mayKeepConnection, CHttpRounds& rounds) {
        const auto remaining = std::chrono::ceil<milliseconds>(deadline_ - Clock::now());
        if (remaining <= milliseconds::zero()) // libcurl would wait for ever
            return NoStatus({HttpFailure::NoAnswer, TimedOutText(timeOut_)});

        CHttpReception received(rounds, request_.isEnough);
        *detail_ = '\0';
        SetFixedOptions(curl);
        SetCredentials(curl, peer_);
        SetMethod(curl, request_.form);
        if (curl_easy_setopt(curl, CURLOPT_URL, ("http://" + peer_.address + request_.path).c_str()) !=
            CURLE_OK)
            return NoStatus({HttpFailure::NotAsked,
                             "the request's URL is too long"}); // the handle still has the one before
        curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, mayKeepConnection ? 0L : 1L);
        curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(remaining.count()));
        curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, detail_);
        received.watch(curl);
        rounds.watch(curl);
        const CURLcode code = curl_easy_perform(curl);
        rounds.thrown().rethrow();
        SHttpReply reply = judge(curl, code, received, rounds);
        rounds.stopWatching(curl); // the handle outlives both
        curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, nullptr);
        return reply;
    }

    SHttpReply judge(CURL* curl, CURLcode code, CHttpReception& received, const CHttpRounds& rounds) const {
        if (rounds.refusedChallenge())
            return WithStatus(Unauthorized);
        if (code != CURLE_OK && !received.wasEnough()) {
            SHttpReply reply = NoStatus(received.failureOf(curl, code, detail_, timeOut_));
            reply.body = received.takeBody();
            reply.isTimedOut = code == CURLE_OPERATION_TIMEDOUT;
            return reply;
        }
        if (!received.hasWholeHeader()) // libcurl takes a connection that ends there for the end of the reply
            return NoStatus(BrokenOff(true));
        long status = 0;
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
        if (status < LowestStatus || status > HighestStatus) // libcurl takes any number there
            return NoStatus({HttpFailure::NotHttp, NotHttpText});
        SHttpReply reply = WithStatus(static_cast<int>(status));
        reply.body = received.takeBody();
        if (LowestRedirect <= status && status <= HighestRedirect)
            reply.location = received.location();
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
    char detail_[CURL_ERROR_SIZE] = ""; // libcurl's own text; it outlives the handles
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
    told.reply = reply.body;
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
