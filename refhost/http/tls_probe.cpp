#include "refhost/http/tls_probe.h"

#include <curl/curl.h>

#include <memory>

namespace corvane::refhost {

bool SpeaksTls(const std::string& address) {
    constexpr long LongestMilliseconds = 2000;
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
    if (!curl)
        return false;
    curl_easy_setopt(curl.get(), CURLOPT_URL, ("https://" + address).c_str());
    curl_easy_setopt(curl.get(), CURLOPT_CONNECT_ONLY, 1L);
    curl_easy_setopt(curl.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl.get(), CURLOPT_PROXY, "");
    curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT_MS, LongestMilliseconds);
    // Who it is does not matter: nothing is told to it.
    curl_easy_setopt(curl.get(), CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(curl.get(), CURLOPT_SSL_VERIFYHOST, 0L);
    return curl_easy_perform(curl.get()) == CURLE_OK;
}

} // namespace corvane::refhost
