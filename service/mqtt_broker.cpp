#include "service/mqtt_broker.h"

#include "site/base/exit_status.h"

#include <curl/curl.h>

#include <memory>
#include <optional>

namespace corvane::service {
namespace {

constexpr std::uint16_t UsualPort = 1883;
constexpr std::uint16_t UsualTlsPort = 8883;

class CUrl {
public:
    explicit CUrl(const std::string& text) : url_(::curl_url(), &::curl_url_cleanup) {
        isUrl_ = url_ && ::curl_url_set(url_.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) ==
                             CURLUE_OK;
    }

    bool isUrl() const { return isUrl_; }
    std::optional<std::string> part(CURLUPart which) const {
        char* text = nullptr;
        if (::curl_url_get(url_.get(), which, &text, CURLU_URLDECODE) != CURLUE_OK)
            return std::nullopt;
        std::string part = text;
        ::curl_free(text);
        return part;
    }
    std::string text(CURLUPart which) const { return part(which).value_or(""); }

private:
    std::unique_ptr<CURLU, decltype(&::curl_url_cleanup)> url_;
    bool isUrl_ = false;
};

[[noreturn]] void Refuse(const std::string& reason) {
    throw site::CFailure(site::ExitStatus::WrongUsage, "the broker's address cannot be used: " + reason);
}

} // namespace

std::string SMqttBroker::text() const {
    const bool isIpv6 = host.find(':') != std::string::npos;
    return (isIpv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

SMqttBroker ParseMqttUrl(const std::string& text) {
    const CUrl url(text);
    const std::string scheme = url.isUrl() ? url.text(CURLUPART_SCHEME) : "";
    const std::string path = url.isUrl() ? url.text(CURLUPART_PATH) : "";
    const bool isBare = path.empty() || path == "/";
    if ((scheme != "mqtt" && scheme != "mqtts") || !isBare || url.part(CURLUPART_QUERY) ||
        url.part(CURLUPART_FRAGMENT))
        Refuse("expected mqtt://[USER@]HOST[:PORT] or mqtts://");
    if (url.part(CURLUPART_PASSWORD))
        Refuse("it has a password in it; put that into a file, and give it with --mqtt-password-file");
    SMqttBroker broker;
    broker.isTls = scheme == "mqtts";
    broker.user = url.text(CURLUPART_USER);
    broker.host = url.text(CURLUPART_HOST);
    if (broker.host.front() == '[')
        broker.host = broker.host.substr(1, broker.host.size() - 2);
    const auto port = url.part(CURLUPART_PORT);
    const int number = port ? std::stoi(*port) : broker.isTls ? UsualTlsPort : UsualPort;
    if (number == 0)
        Refuse("there is no port 0");
    broker.port = static_cast<std::uint16_t>(number);
    return broker;
}

} // namespace corvane::service
