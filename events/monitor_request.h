#pragma once

#include "host/stray_fold.h"

#include <curl/curl.h>

#include <atomic>
#include <cstddef>
#include <string>

namespace corvane::vorn_utility::v1_0 {

// The request that a camera keeps open and writes to, made again whenever it has ended. libcurl's handles are
// used on the thread that made them; the one call that its multi interface allows from others is the one that
// wakes that thread.
class CMonitorRequest {
public:
    // Takes what the camera writes, `count` bytes at `data`; `self` is what it was given with.
    using Writer = std::size_t (*)(char* data, std::size_t size, std::size_t count, char* self);

    enum class End {
        Complete, // the camera ended its reply
        Refused,  // it will not be asked this, or not by us
        Failed,   // any other end, a break included
    };

    CMonitorRequest();
    ~CMonitorRequest();
    CMonitorRequest(const CMonitorRequest&) = delete;
    CMonitorRequest& operator=(const CMonitorRequest&) = delete;

    bool isMade() const { return easy_ && multi_; }

    // Before each perform(). `credentials` are "USER:PASSWORD". False when libcurl will not have it so.
    bool setOptions(const std::string& credentials, const std::string& url, bool isBasicRefused,
                    Writer writer, void* self);

    // Runs the request to its end.
    End perform();

    // Whether the reply that is coming, or came last, is what was asked for.
    bool isAccepted() const;
    // Whether the camera has asked for credentials in this request, and for Basic ones alone.
    bool offersBasicAlone() const;

    // The one operation for other threads. Of a request that is not under way it breaks off the next.
    void breakOff();
    void forgetBreak() { broken_ = false; }

private:
    template <class Value>
    bool set(CURLoption option, Value value);
    CURLcode runToItsEnd();
    long status() const;

    static std::size_t takeHeaderLine(char* line, std::size_t size, std::size_t count, void* request);
    static int seeHeaderLine(CURL* curl, curl_infotype kind, char* data, std::size_t size, void* request);
    static int takeRound(void* request, char* peerIp, char* ownIp, int peerPort, int ownPort);

    CURL* const easy_;
    CURLM* const multi_;
    std::size_t headerBytes_ = 0; // of the request under way
    int rounds_ = 0;              // likewise
    CStrayFold strayFold_;        // likewise
    std::atomic<bool> broken_{false};
};

} // namespace corvane::vorn_utility::v1_0
