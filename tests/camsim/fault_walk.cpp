#include "fault_walk.h"

#include <memory>

namespace camsim_test {
namespace {

struct SBodySink {
    std::string& body;
    const size_t most;
};

size_t TakeHeader(char* data, size_t, size_t size, void* header) {
    static_cast<std::string*>(header)->append(data, size);
    return size;
}

size_t TakeBody(char* data, size_t, size_t size, void* sink) {
    auto& taken = *static_cast<SBodySink*>(sink);
    taken.body.append(data, size);
    return taken.body.size() > taken.most ? 0 : size;
}

} // namespace

std::string SSeen::headerLine(const std::string& name) const {
    const size_t at = header.rfind("\n" + name + ": ");
    if (at == header.npos)
        return "";
    const size_t begin = at + name.size() + 3;
    return header.substr(begin, header.find('\r', begin) - begin);
}

SSeen Ask(const std::string& address, const SAsked& asked) {
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
    SSeen seen;
    SBodySink sink{seen.body, asked.mostBytes};
    curl_easy_setopt(curl.get(), CURLOPT_URL, ("http://" + address + asked.path).c_str());
    curl_easy_setopt(curl.get(), CURLOPT_PROXY, "");
    curl_easy_setopt(curl.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT_MS, asked.milliseconds);
    curl_easy_setopt(curl.get(), CURLOPT_HTTPAUTH, asked.schemes);
    curl_easy_setopt(curl.get(), CURLOPT_USERPWD, ("admin:" + asked.password).c_str());
    curl_easy_setopt(curl.get(), CURLOPT_HEADERFUNCTION, TakeHeader);
    curl_easy_setopt(curl.get(), CURLOPT_HEADERDATA, &seen.header);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, TakeBody);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &sink);
    if (!asked.post.empty())
        curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, asked.post.c_str());
    seen.code = curl_easy_perform(curl.get());
    curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &seen.status);
    curl_easy_getinfo(curl.get(), CURLINFO_OS_ERRNO, &seen.error);
    return seen;
}

} // namespace camsim_test
