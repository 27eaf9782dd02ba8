#pragma once

#include "host/stray_fold.h"
#include "refhost/base/log.h"
#include "refhost/http/contained_failure.h"

#include <curl/curl.h>

#include <chrono>
#include <string_view>
#include <vector>

namespace corvane::refhost {

// The requests of one exchange as they go over the wire: the first, and each that the device asked for by
// turning the one before away (401). libcurl would send a request again whose kept connection ended without
// an answer. A device may have obeyed it all the same, so that does not happen here: what has left this
// machine is never sent twice unless the device asked. Nor for ever where it asks for ever.
//
// Used on the thread of the exchange.
class CHttpRounds {
public:
    CHttpRounds() = default;
    CHttpRounds(const CHttpRounds&) = delete;
    CHttpRounds& operator=(const CHttpRounds&) = delete;

    // Before each transfer on a handle; the rounds are told about it until stopWatching().
    void watch(CURL* curl);
    void stopWatching(CURL* curl);
    // What the transfer's callbacks have thrown, these rounds' and others'.
    CContainedFailure& thrown() { return thrown_; }
    // Each line of a reply's header.
    void headerLine(std::string_view line);

    // Whether libcurl wanted to send a request again that had left, and was not let.
    bool refusedRepetition() const { return refused_ == Refused::Repetition; }
    // Whether the device asked once more than a device that means it.
    bool refusedChallenge() const { return refused_ == Refused::Challenge; }
    // Whether the reply began with the rest of a line: no HTTP.
    bool foundStrayFold() const { return strayFold_.isFound(); }
    // With what the last request on the wire showed its credentials. libcurl tells what a device offers, but
    // not what it then takes; so this goes by what it sends.
    AuthScheme authentication() const { return authentication_; }
    // What has come behind the headers, in this exchange: also what libcurl keeps to itself, as the page that
    // stands behind a challenge.
    std::size_t bodyBytes() const { return bodyBytes_; }
    // The headers of all rounds as they went over the wire; empty unless exchanges' details are kept.
    const std::string& headers() const { return headers_; }
    // The Date header of the last reply, and when it came.
    const std::string& date() const { return date_; }
    std::chrono::system_clock::time_point dateCame() const { return dateCame_; }
    // The rounds so far, the last one ended now.
    std::vector<SHttpRound> end();

private:
    static int takeBytes(CURL* curl, curl_infotype kind, char* data, std::size_t size, void* rounds);
    static int beforeConnection(void* rounds, curl_socket_t socket, curlsocktype purpose);
    static int beforeRequest(void* rounds, char* peerIp, char* ownIp, int peerPort, int ownPort);

    // The request, the answer to a challenge, and the answer to a nonce that had grown old by then.
    static constexpr int MostOfTransfer = 3;
    enum class Refused { Nothing, Repetition, Challenge };

    int beginRound();
    bool maySend();
    long bytesSent() const;
    void endRound();

    CURL* curl_ = nullptr;
    std::chrono::steady_clock::time_point roundStart_ = std::chrono::steady_clock::now();
    std::vector<SHttpRound> rounds_;
    bool isUnderWay_ = false;  // the last of the rounds
    long bytesSentBefore_ = 0; // by this transfer, before that round
    int ofTransfer_ = 0;
    Refused refused_ = Refused::Nothing;
    AuthScheme authentication_ = AuthScheme::None;
    std::size_t bodyBytes_ = 0;
    const bool keepsHeaders_ = AreExchangeDetailsKept();
    std::string headers_;
    std::string date_;
    std::chrono::system_clock::time_point dateCame_;
    vorn_utility::v1_0::CStrayFold strayFold_;
    CContainedFailure thrown_;
};

} // namespace corvane::refhost
