#include "refhost/http/http_reception.h"

#include "refhost/base/time_text.h"
#include "refhost/http/own_limit.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

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

// Between two pieces of a reply that comes slowly and has not stopped.
constexpr std::chrono::seconds StillComing{1};

constexpr struct {
    CURLcode code;
    HttpFailure kind;
    const char* text; // null: libcurl's own
} Failures[] = {
    {CURLE_COULDNT_RESOLVE_HOST, HttpFailure::NameNotFound, "host not found"},
    {CURLE_COULDNT_CONNECT, HttpFailure::Unreachable, nullptr},
    {CURLE_WEIRD_SERVER_REPLY, HttpFailure::NotHttp, NotHttpText},
    {CURLE_UNSUPPORTED_PROTOCOL, HttpFailure::NotHttp, NotHttpText},
};

constexpr std::string_view LocationName = "location:";

// Whether it is the line of the header of that name, which has its colon and is in small letters.
bool IsOf(std::string_view name, std::string_view line) {
    return line.size() >= name.size() && strncasecmp(line.data(), name.data(), name.size()) == 0;
}

std::string ValueOf(std::string_view name, std::string_view line) {
    constexpr const char* Blanks = " \t\r\n";
    line.remove_prefix(std::min(line.find_first_not_of(Blanks, name.size()), line.size()));
    return std::string(line.substr(0, line.find_last_not_of(Blanks) + 1));
}

// libcurl would unpack it, asked for or not, and a few bytes can be made gigabytes of.
bool NamesAPacking(std::string_view line) {
    constexpr std::string_view Name = "transfer-encoding:";
    if (!IsOf(Name, line))
        return false;
    std::string coding(line.substr(Name.size()));
    coding.erase(std::remove_if(coding.begin(), coding.end(), [](unsigned char c) { return c <= ' '; }),
                 coding.end());
    return strcasecmp(coding.c_str(), "chunked") != 0 && strcasecmp(coding.c_str(), "identity") != 0;
}

} // namespace

SHttpNoStatus BrokenOff(bool hasReplyBegun) {
    if (hasReplyBegun)
        return {HttpFailure::Cut, "connection closed in the middle of the reply"};
    return {HttpFailure::Dropped, "connection closed before the reply"};
}

std::string TimedOutText(milliseconds time) {
    return "timed out after " + TimeText(time);
}

void CHttpReception::watch(CURL* curl) {
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, takeHeaderLine);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, takeBodyPart);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, takeProgress);
    curl_easy_setopt(curl, CURLOPT_XFERINFODATA, this);
}

std::size_t CHttpReception::takeHeaderLine(char* data, std::size_t /*size*/, std::size_t count,
                                           void* reception) {
    auto& itself = *static_cast<CHttpReception*>(reception);
    return itself.rounds_.thrown().contain(false,
                                           [&] {
                                               return itself.acceptHeaderLine({data, count});
                                           })
               ? count
               : 0;
}

bool CHttpReception::acceptHeaderLine(std::string_view line) {
    headerSize_ += line.size();
    isHeaderTooLarge_ = headerSize_ > LargestHeader;
    if (isHeaderTooLarge_)
        return false;
    isPacked_ = NamesAPacking(line);
    if (isPacked_ || rounds_.foundStrayFold())
        return false;
    rounds_.headerLine(line);
    if (vorn_utility::v1_0::IsStatusLine(line)) {
        headersEnded_ = false;
        location_.clear();
        isChallenge_ = line.find(" 401") != std::string_view::npos;
    }
    if (!headersEnded_ && IsOf(LocationName, line)) // a trailer behind the body has none
        location_ = ValueOf(LocationName, line);
    if (line == "\r\n" || line == "\n")
        headersEnded_ = true;
    return true;
}

std::size_t CHttpReception::takeBodyPart(char* data, std::size_t /*size*/, std::size_t count,
                                         void* reception) {
    auto& itself = *static_cast<CHttpReception*>(reception);
    return itself.rounds_.thrown().contain(false,
                                           [&] {
                                               return itself.acceptBodyPart({data, count});
                                           })
               ? count
               : 0;
}

bool CHttpReception::acceptBodyPart(std::string_view part) {
    body_.append(part);
    lastCame_ = Clock::now();
    wasEnough_ = isEnough_ && isEnough_(body_);
    return !wasEnough_;
}

// Called after each read.
int CHttpReception::takeProgress(void* reception, curl_off_t /*toCome*/, curl_off_t /*came*/,
                                 curl_off_t /*toGo*/, curl_off_t /*gone*/) {
    auto& itself = *static_cast<CHttpReception*>(reception);
    itself.isBodyTooLarge_ = itself.rounds_.bodyBytes() > LargestReply;
    return itself.isBodyTooLarge_ ? 1 : 0;
}

SHttpNoStatus CHttpReception::timeOut(CURL* curl, milliseconds time) const {
    curl_off_t connectTime = 0;
    curl_easy_getinfo(curl, CURLINFO_CONNECT_TIME_T, &connectTime);
    long connections = 0; // none for a request on a kept one
    curl_easy_getinfo(curl, CURLINFO_NUM_CONNECTS, &connections);
    const bool isConnected = connectTime > 0 || connections == 0;
    const bool isStillComing = Clock::now() - lastCame_ < StillComing;
    return {isReplyBegun() ? (isStillComing ? HttpFailure::Slow : HttpFailure::Cut)
            : isConnected  ? HttpFailure::NoAnswer
                           : HttpFailure::Unreachable,
            TimedOutText(time)};
}

SHttpNoStatus CHttpReception::failureOf(CURL* curl, CURLcode code, const char* detail,
                                        milliseconds timeOut) const {
    if (rounds_.refusedRepetition() || code == CURLE_GOT_NOTHING)
        return BrokenOff(false);
    if (rounds_.foundStrayFold())
        return {HttpFailure::NotHttp, NotHttpText};
    if (isBodyTooLarge_)
        return {HttpFailure::TooLarge,
                "the reply is larger than " + std::to_string(LargestReplyMebibytes) + " MiB"};
    if (isHeaderTooLarge_)
        return {HttpFailure::TooLarge,
                "the reply's header is larger than " + std::to_string(LargestHeaderKibibytes) + " KiB"};
    if (isPacked_)
        return {HttpFailure::Packed, "the reply is packed, which was not asked for"};
    if (code == CURLE_OPERATION_TIMEDOUT)
        return this->timeOut(curl, timeOut);
    long systemError = 0;
    curl_easy_getinfo(curl, CURLINFO_OS_ERRNO, &systemError);
    if (code == CURLE_COULDNT_CONNECT && systemError == ECONNREFUSED)
        return {HttpFailure::Refused, "connection refused"};
    if (code == CURLE_COULDNT_CONNECT && IsOutOfDescriptors())
        return {HttpFailure::OwnLimit, OwnLimitText};
    const bool isReset = systemError == ECONNRESET; // also as soon as it had taken the connection
    if (code == CURLE_SEND_ERROR || code == CURLE_PARTIAL_FILE ||
        ((code == CURLE_RECV_ERROR || code == CURLE_COULDNT_CONNECT) && isReset))
        return BrokenOff(isReplyBegun());
    const std::string own = *detail ? detail : curl_easy_strerror(code);
    for (const auto& row : Failures)
        if (row.code == code)
            return {row.kind, row.text ? row.text : own};
    return {HttpFailure::Other, own};
}

} // namespace corvane::refhost
