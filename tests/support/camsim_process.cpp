#include "tests/support/camsim_process.h"

#include <csignal>
#include <curl/curl.h>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>

namespace corvane::test_support {
namespace {

using nlohmann::json;

std::size_t Append(char* data, std::size_t, std::size_t size, void* text) {
    static_cast<std::string*>(text)->append(data, size);
    return size;
}

} // namespace

CCamsim::CCamsim(const std::vector<std::string>& arguments) : program_("camsim", arguments) {
    const json ready = json::parse(program_.readLine());
    addresses_ = ready.at("cameras").get<std::vector<std::string>>();
    control_ = ready.at("control").get<std::string>();
    if (ready.count("rtsp") != 0) {
        rtspAddress_ = ready.at("rtsp").at(0).get<std::string>();
        rtspPort_ = rtspAddress_.substr(rtspAddress_.rfind(':') + 1);
    }
}

CCamsim::~CCamsim() {
    program_.signal(SIGTERM);
    try {
        const SRun run = program_.wait();
        EXPECT_EQ(run.status, 0) << run.err;
    } catch (const std::exception& error) {
        ADD_FAILURE() << error.what();
    }
}

std::vector<std::string> CCamsim::requestedPaths() const {
    std::vector<std::string> paths;
    const json log = get("/requests");
    for (const json& request : log.at("requests"))
        paths.push_back(request.at("path"));
    return paths;
}

json CCamsim::request(const std::string& method, const std::string& path, const json& body) const {
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
    const std::string sent = body.is_null() ? "" : body.dump();
    std::string reply;
    curl_easy_setopt(curl.get(), CURLOPT_URL, ("http://" + control_ + path).c_str());
    curl_easy_setopt(curl.get(), CURLOPT_PROXY, "");
    curl_easy_setopt(curl.get(), CURLOPT_CUSTOMREQUEST, method.c_str());
    curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, 30L);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, Append);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &reply);
    if (!body.is_null())
        curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, sent.c_str());
    const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers(
        curl_slist_append(nullptr, "Content-Type: application/json"), curl_slist_free_all);
    curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
    const CURLcode code = curl_easy_perform(curl.get());
    long status = 0;
    curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &status);
    if (code != CURLE_OK || status < 200 || status > 299)
        throw std::runtime_error("camsim: " + method + " " + path + ": " + std::to_string(status) + " " +
                                 (code == CURLE_OK ? reply : curl_easy_strerror(code)));
    return reply.empty() ? json() : json::parse(reply);
}

} // namespace corvane::test_support
