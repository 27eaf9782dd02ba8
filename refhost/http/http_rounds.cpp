#include "refhost/http/http_rounds.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <utility>

namespace corvane::refhost {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int FirstFinalStatus = 200;
constexpr int Unauthorized = 401;

// Of "HTTP/1.1 200 OK"; 0 for any other line.
int StatusOf(std::string_view line) {
    if (!vorn_utility::v1_0::IsStatusLine(line))
        return 0;
    line.remove_prefix(std::min(line.find(' '), line.size()));
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    int status = 0;
    std::from_chars(line.data(), line.data() + line.size(), status);
    return status;
}

// Of the credentials in a request's header.
AuthScheme SchemeOf(std::string_view header) {
    constexpr std::pair<std::string_view, AuthScheme> Lines[] = {
        {"\r\nAuthorization: Basic ", AuthScheme::Basic}, {"\r\nAuthorization: Digest ", AuthScheme::Digest}};
    for (const auto& [line, scheme] : Lines)
        if (header.find(line) != std::string_view::npos)
            return scheme;
    return AuthScheme::None;
}

} // namespace

void CHttpRounds::watch(CURL* curl) {
    if (isUnderWay_)
        endRound();
    curl_ = curl;
    ofTransfer_ = 0;
    refused_ = Refused::Nothing;
    strayFold_ = {};
    curl_easy_setopt(curl, CURLOPT_SOCKOPTFUNCTION, beforeConnection);
    curl_easy_setopt(curl, CURLOPT_SOCKOPTDATA, this);
    curl_easy_setopt(curl, CURLOPT_PREREQFUNCTION, beforeRequest);
    curl_easy_setopt(curl, CURLOPT_PREREQDATA, this);
    curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, takeBytes);
    curl_easy_setopt(curl, CURLOPT_DEBUGDATA, this);
    curl_easy_setopt(curl, CURLOPT_VERBOSE, 1L); // else nothing is told of the bytes
}

void CHttpRounds::stopWatching(CURL* curl) {
    curl_easy_setopt(curl, CURLOPT_SOCKOPTFUNCTION, nullptr);
    curl_easy_setopt(curl, CURLOPT_PREREQFUNCTION, nullptr);
    curl_easy_setopt(curl, CURLOPT_VERBOSE, 0L);
    curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, nullptr);
}

void CHttpRounds::headerLine(std::string_view line) {
    if (const int status = StatusOf(line); isUnderWay_ && status >= FirstFinalStatus)
        rounds_.back().status = status;
    constexpr std::string_view Date = "date: ";
    if (line.size() <= Date.size() || strncasecmp(line.data(), Date.data(), Date.size()) != 0)
        return;
    date_ = line.substr(Date.size(), line.find_last_not_of("\r\n") + 1 - Date.size());
    dateCame_ = std::chrono::system_clock::now();
}

std::vector<SHttpRound> CHttpRounds::end() {
    if (isUnderWay_)
        endRound();
    return rounds_;
}

void CHttpRounds::endRound() {
    const Clock::time_point now = Clock::now();
    rounds_.back().milliseconds = std::chrono::duration<double, std::milli>(now - roundStart_).count();
    roundStart_ = now;
    isUnderWay_ = false;
}

long CHttpRounds::bytesSent() const {
    long bytes = 0;
    curl_easy_getinfo(curl_, CURLINFO_REQUEST_SIZE, &bytes);
    return bytes;
}

// Whether the request under way has not left, or has been answered with the wish for another.
bool CHttpRounds::maySend() {
    if (!isUnderWay_ || bytesSent() == bytesSentBefore_)
        return true;
    if (rounds_.back().status != Unauthorized)
        refused_ = Refused::Repetition;
    else if (ofTransfer_ == MostOfTransfer)
        refused_ = Refused::Challenge;
    return refused_ == Refused::Nothing;
}

int CHttpRounds::takeBytes(CURL* /*curl*/, curl_infotype kind, char* data, std::size_t size, void* rounds) {
    auto& itself = *static_cast<CHttpRounds*>(rounds);
    if (kind == CURLINFO_HEADER_OUT)
        itself.authentication_ = SchemeOf({data, size});
    if (itself.keepsHeaders_ && (kind == CURLINFO_HEADER_OUT || kind == CURLINFO_HEADER_IN))
        itself.thrown_.contain(false, [&] {
            itself.headers_.append(data, size);
            return true;
        });
    if (kind == CURLINFO_HEADER_IN)
        itself.strayFold_.takeHeaderLine(data, size);
    if (kind == CURLINFO_DATA_IN)
        itself.bodyBytes_ += size;
    return 0;
}

// Before a connection is even tried, which could take long.
int CHttpRounds::beforeConnection(void* rounds, curl_socket_t /*socket*/, curlsocktype /*purpose*/) {
    return static_cast<CHttpRounds*>(rounds)->maySend() ? CURL_SOCKOPT_OK : CURL_SOCKOPT_ERROR;
}

int CHttpRounds::beforeRequest(void* rounds, char* /*peerIp*/, char* /*ownIp*/, int /*peerPort*/,
                               int /*ownPort*/) {
    auto& itself = *static_cast<CHttpRounds*>(rounds);
    return itself.thrown_.contain(CURL_PREREQFUNC_ABORT, [&itself] { return itself.beginRound(); });
}

int CHttpRounds::beginRound() {
    if (!maySend())
        return CURL_PREREQFUNC_ABORT;
    if (isUnderWay_ && rounds_.back().status == 0) { // nothing of it went over the wire
        rounds_.pop_back();
        --ofTransfer_;
    } else if (isUnderWay_) {
        endRound();
    }
    isUnderWay_ = false; // should there be no memory for the next
    rounds_.emplace_back();
    ++ofTransfer_;
    isUnderWay_ = true;
    bytesSentBefore_ = bytesSent();
    return CURL_PREREQFUNC_OK;
}

} // namespace corvane::refhost
