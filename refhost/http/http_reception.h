#pragma once

#include "refhost/base/http_failure.h"
#include "refhost/http/http_rounds.h"

#include <curl/curl.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace corvane::refhost {

inline constexpr const char* NotHttpText = "the reply is not HTTP";
std::string TimedOutText(std::chrono::milliseconds time);

// Why a request has brought no status.
struct SHttpNoStatus {
    HttpFailure kind;
    std::string text;
};

// The connection is closed or reset.
SHttpNoStatus BrokenOff(bool hasReplyBegun);

// What arrives of one reply: every byte of it counts, those of headers and trailers too. Used on the thread
// of the exchange.
class CHttpReception {
public:
    // Whether the body so far is all that is wanted; empty: the reply is waited for.
    using IsEnough = std::function<bool(const std::string& body)>;

    // Both outlive it.
    CHttpReception(CHttpRounds& rounds, const IsEnough& isEnough) : rounds_(rounds), isEnough_(isEnough) {}
    CHttpReception(const CHttpReception&) = delete;
    CHttpReception& operator=(const CHttpReception&) = delete;

    // Before the transfer; it is told about that until its end.
    void watch(CURL* curl);

    bool hasWholeHeader() const { return headersEnded_; }
    bool wasEnough() const { return wasEnough_; }
    std::string takeBody() { return std::move(body_); }
    // Of the latest header, as the device has written it; empty without any.
    const std::string& location() const { return location_; }

    // Of a transfer that has ended with this code; `detail` is libcurl's own text, `timeOut` what the request
    // had.
    SHttpNoStatus failureOf(CURL* curl, CURLcode code, const char* detail,
                            std::chrono::milliseconds timeOut) const;

private:
    // A challenge is no reply: the request is made again.
    bool isReplyBegun() const { return headerSize_ > 0 && !(isChallenge_ && headersEnded_); }
    static std::size_t takeHeaderLine(char* data, std::size_t size, std::size_t count, void* reception);
    static std::size_t takeBodyPart(char* data, std::size_t size, std::size_t count, void* reception);
    static int takeProgress(void* reception, curl_off_t, curl_off_t, curl_off_t, curl_off_t);
    bool acceptHeaderLine(std::string_view line);
    bool acceptBodyPart(std::string_view part);
    SHttpNoStatus timeOut(CURL* curl, std::chrono::milliseconds time) const;

    CHttpRounds& rounds_;
    const IsEnough& isEnough_;
    std::string body_;
    std::string location_;
    std::size_t headerSize_ = 0;
    bool wasEnough_ = false;
    bool headersEnded_ = false;
    bool isChallenge_ = false; // the latest header
    bool isHeaderTooLarge_ = false;
    bool isBodyTooLarge_ = false;
    bool isPacked_ = false;
    std::chrono::steady_clock::time_point lastCame_; // a piece of the body
};

} // namespace corvane::refhost
