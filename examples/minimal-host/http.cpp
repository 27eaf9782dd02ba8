// The framework's HTTP: libcurl as it comes, a handle for each request.

#include <host/cgi.h>

#include <curl/curl.h>

namespace corvane::vorn_utility::v1_0 {
namespace {

using device_handler::v1_0::CError;
using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using device_handler::v1_0::SVornUrl;

constexpr std::size_t LargestReply = std::size_t{16} << 20;

std::size_t append(char* data, std::size_t, std::size_t size, void* body) {
    std::string& text = *static_cast<std::string*>(body);
    text.append(data, size);
    return text.size() > LargestReply ? 0 : size; // less than all ends the exchange
}

// The HTTP status, or 0; POST with a form.
long request(const std::string& url, const std::string& user, const std::string& password, int timeout,
             const std::string* form, std::string& body) {
    if (timeout <= 0) // libcurl would wait for ever
        return 0;
    CURL* const curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    if (!user.empty()) {
        curl_easy_setopt(curl, CURLOPT_HTTPAUTH, CURLAUTH_DIGEST | CURLAUTH_BASIC);
        curl_easy_setopt(curl, CURLOPT_USERNAME, user.c_str());
        curl_easy_setopt(curl, CURLOPT_PASSWORD, password.c_str());
    }
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, static_cast<long>(timeout));
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &body);
    if (form)
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, form->c_str());
    long status = 0;
    if (curl_easy_perform(curl) == CURLE_OK)
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_cleanup(curl);
    return status;
}

std::string target(const SVornUrl& url) {
    std::string text = url.path;
    const auto add = [&text](const std::string& part) {
        text += (text.find('?') == std::string::npos ? "?" : "&") + part;
    };
    for (const auto& [name, value] : url.parameters) // percent-encoded by a host that has others than these
        add(name + "=" + value);
    for (const std::string& key : url.queryKeys)
        add(key);
    return text;
}

} // namespace

CError CVornCgiLib::vornCgiGetRawResponse(const SVornUrl& url, const std::string& address,
                                          const std::string& user, const std::string& password,
                                          std::string& response, int timeout, const std::string&) {
    std::string body;
    const long status = request("http://" + address + target(url), user, password, timeout, nullptr, body);
    if (status == 200) {
        response = body;
        return CError::Success();
    }
    const RtnCode code = status == 0     ? RtnCode::NotAccessible
                         : status == 401 ? RtnCode::AuthenticationFailed
                                         : RtnCode::OperationFailed;
    return {code, Origin::Device, "HTTP status " + std::to_string(status)};
}

CError CVornCgiLib::vornCgiGetQueryResult(const SVornUrl& url, const std::string& address,
                                          const std::string& user, const std::string& password,
                                          std::vector<std::string>& values, int timeout,
                                          const std::string& delimiters, const std::string& authScheme) {
    std::string reply;
    if (CError error = vornCgiGetRawResponse(url, address, user, password, reply, timeout, authScheme))
        return error;
    const std::vector<std::string> keys = values.empty() ? url.queryKeys : values;
    values.clear();
    for (const std::string& key : keys) {
        std::string value;
        for (std::size_t begin = 0; begin < reply.size() && value.empty();) {
            const std::size_t end = std::min(reply.find_first_of(delimiters, begin), reply.size());
            if (reply.compare(begin, key.size(), key) == 0)
                value = reply.substr(begin + key.size(), end - begin - key.size());
            begin = end + 1;
        }
        values.push_back(value);
    }
    return CError::Success();
}

struct CHttpInterface::SBase {
    std::string user, password;
};

CHttpInterface::CHttpInterface(std::string user, std::string password)
    : base_(new SBase{std::move(user), std::move(password)}) {}
CHttpInterface::~CHttpInterface() = default;

int CHttpInterface::Initialize() { return 0; }

int CHttpInterface::SetContent(const std::string& body, const std::string& url) {
    std::string reply;
    return static_cast<int>(request(url, base_->user, base_->password, 4, &body, reply));
}

} // namespace corvane::vorn_utility::v1_0
