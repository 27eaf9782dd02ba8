#include "refhost/http/connection_probe.h"

#include "refhost/base/address.h"
#include "refhost/base/time_text.h"
#include "refhost/http/own_limit.h"

#include <curl/curl.h>

#include <cerrno>
#include <memory>
#include <new>
#include <utility>

namespace corvane::refhost {
namespace {

// At a time: each takes a file.
constexpr std::size_t MostAtATime = 500;

using CHandle = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;

CHandle MakeHandle(const std::string& address, std::chrono::milliseconds limit, std::size_t& place) {
    CHandle handle(curl_easy_init(), curl_easy_cleanup);
    if (!handle)
        throw std::bad_alloc();
    CURL* const curl = handle.get();
    curl_easy_setopt(curl, CURLOPT_URL, ("http://" + address).c_str());
    curl_easy_setopt(curl, CURLOPT_CONNECT_ONLY, 1L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(limit.count()));
    curl_easy_setopt(curl, CURLOPT_PRIVATE, &place);
    return handle;
}

SProbedConnection ResultOf(CURL* curl, CURLcode code, std::chrono::milliseconds limit) {
    SProbedConnection result;
    curl_off_t microseconds = 0;
    curl_easy_getinfo(curl, CURLINFO_TOTAL_TIME_T, &microseconds);
    result.milliseconds = static_cast<double>(microseconds) / 1000;
    if (code == CURLE_OK)
        return result;
    long systemError = 0;
    curl_easy_getinfo(curl, CURLINFO_OS_ERRNO, &systemError);
    if (code == CURLE_COULDNT_CONNECT && systemError == ECONNRESET)
        return result; // it was taken, and reset at once
    if (code == CURLE_COULDNT_RESOLVE_HOST)
        return {HttpFailure::NameNotFound, "host not found", result.milliseconds};
    if (code == CURLE_COULDNT_CONNECT && systemError == ECONNREFUSED)
        return {HttpFailure::Refused, "connection refused", result.milliseconds};
    if (code == CURLE_COULDNT_CONNECT && IsOutOfDescriptors())
        return {HttpFailure::OwnLimit, OwnLimitText, result.milliseconds};
    return {HttpFailure::Unreachable,
            code == CURLE_OPERATION_TIMEDOUT ? "nobody has taken the connection within " + TimeText(limit)
                                             : curl_easy_strerror(code),
            result.milliseconds};
}

// Some of the addresses, side by side.
class CProbes {
public:
    explicit CProbes(std::chrono::milliseconds limit)
        : limit_(limit), multi_(curl_multi_init(), curl_multi_cleanup) {
        if (!multi_)
            throw std::bad_alloc();
        places_.reserve(MostAtATime); // handles point into it
    }
    ~CProbes() {
        for (const CHandle& handle : handles_)
            curl_multi_remove_handle(multi_.get(), handle.get());
    }
    CProbes(const CProbes&) = delete;
    CProbes& operator=(const CProbes&) = delete;

    bool isFull() const { return handles_.size() == MostAtATime; }

    void add(const std::string& address, std::size_t place) {
        places_.push_back(place);
        handles_.push_back(MakeHandle(address, limit_, places_.back()));
        if (curl_multi_add_handle(multi_.get(), handles_.back().get()) != CURLM_OK)
            throw std::bad_alloc();
    }

    void run(const std::function<void(std::size_t, const SProbedConnection&)>& told) {
        for (int active = 1; active > 0;) {
            if (curl_multi_perform(multi_.get(), &active) != CURLM_OK)
                throw std::bad_alloc();
            tellEnded(told);
            constexpr int LongestPoll = 1000; // ms
            if (active > 0 && curl_multi_poll(multi_.get(), nullptr, 0, LongestPoll, nullptr) != CURLM_OK)
                throw std::bad_alloc();
        }
    }

private:
    void tellEnded(const std::function<void(std::size_t, const SProbedConnection&)>& told) {
        int left = 0;
        while (const CURLMsg* const message = curl_multi_info_read(multi_.get(), &left)) {
            const std::size_t* place = nullptr;
            curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &place);
            told(*place, ResultOf(message->easy_handle, message->data.result, limit_));
        }
    }

    const std::chrono::milliseconds limit_;
    const std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> multi_;
    std::vector<std::size_t> places_;
    std::vector<CHandle> handles_;
};

} // namespace

void ProbeConnections(const std::vector<std::string>& addresses, std::chrono::milliseconds limit,
                      const std::function<void(std::size_t, const SProbedConnection&)>& told) {
    for (std::size_t place = 0; place < addresses.size();) {
        CProbes probes(limit);
        for (; place < addresses.size() && !probes.isFull(); ++place) {
            if (ParseAddress(addresses[place]))
                probes.add(addresses[place], place);
            else
                told(place, {HttpFailure::NotAsked, "\"" + addresses[place] + "\" is no device address", 0});
        }
        probes.run(told);
    }
}

SProbedConnection ProbeConnection(const std::string& address, std::chrono::milliseconds limit) {
    SProbedConnection result;
    ProbeConnections({address}, limit,
                     [&](std::size_t, const SProbedConnection& probed) { result = probed; });
    return result;
}

} // namespace corvane::refhost
