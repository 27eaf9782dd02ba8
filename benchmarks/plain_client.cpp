#include "benchmarks/plain_client.h"

#include "benchmarks/environment.h"

namespace corvane::bench {

namespace {

constexpr long HttpOk = 200;
constexpr long HttpNextClass = 300;

std::size_t AppendBody(char* data, std::size_t size, std::size_t count, void* body) {
    static_cast<std::string*>(body)->append(data, size * count);
    return size * count;
}

} // namespace

CPlainClient::CPlainClient(const std::string& address)
    : base_("http://" + address), handle_(curl_easy_init()) {
    if (!handle_)
        throw CFailure("libcurl gives no handle");
    curl_easy_setopt(handle_.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle_.get(), CURLOPT_PROXY, "");
    curl_easy_setopt(handle_.get(), CURLOPT_WRITEFUNCTION, AppendBody);
}

CPlainClient::CPlainClient(const std::string& address,
                           const device_handler::v1_0::CAuthentication& credentials)
    : CPlainClient(address) {
    curl_easy_setopt(handle_.get(), CURLOPT_HTTPAUTH, CURLAUTH_DIGEST);
    curl_easy_setopt(handle_.get(), CURLOPT_USERNAME, credentials.getUsername().c_str());
    curl_easy_setopt(handle_.get(), CURLOPT_PASSWORD, credentials.getPassword().c_str());
}

std::string CPlainClient::get(const std::string& path) {
    curl_easy_setopt(handle_.get(), CURLOPT_HTTPGET, 1L);
    return perform(path);
}

std::string CPlainClient::send(const std::string& method, const std::string& path, const std::string& body) {
    curl_easy_setopt(handle_.get(), CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(handle_.get(), CURLOPT_CUSTOMREQUEST, method.c_str());
    const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers(
        curl_slist_append(nullptr, "Content-Type: application/json"), curl_slist_free_all);
    curl_easy_setopt(handle_.get(), CURLOPT_HTTPHEADER, headers.get());
    std::string reply = perform(path);
    curl_easy_setopt(handle_.get(), CURLOPT_HTTPHEADER, nullptr);
    curl_easy_setopt(handle_.get(), CURLOPT_CUSTOMREQUEST, nullptr);
    return reply;
}

std::string CPlainClient::perform(const std::string& path) {
    const std::string url = base_ + path;
    std::string body;
    curl_easy_setopt(handle_.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle_.get(), CURLOPT_WRITEDATA, &body);
    const CURLcode result = curl_easy_perform(handle_.get());
    long status = 0;
    curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
    if (result != CURLE_OK || status < HttpOk || status >= HttpNextClass)
        throw CFailure(url + ": " + curl_easy_strerror(result) + ", status " + std::to_string(status));
    return body;
}

} // namespace corvane::bench
