#include "refhost/streams/stream_location.h"

#include "refhost/base/address.h"
#include "refhost/base/percent_encoding.h"

namespace corvane::refhost {
namespace {

using device_handler::v1_0::SStreamUrl;

// The address without the port of its web server.
std::string HostOf(const std::string& address) {
    const auto parts = ParseAddress(address);
    return parts ? parts->host : address;
}

std::string LocationOf(const SStreamUrl& url, const std::string& address, const std::string& credentials) {
    std::string location = url.scheme + "://" + credentials + HostOf(address);
    if (!url.port.empty())
        location += ":" + url.port;
    if (url.path.empty() || url.path.front() != '/')
        location += "/";
    location += url.path;
    char separator = '?';
    for (const auto& [name, value] : url.parameters) {
        location += separator + name + "=" + value;
        separator = '&';
    }
    return location;
}

} // namespace

const SStreamUrl* FindStreamUrl(const device_handler::v1_0::StreamUrlTable& table, int stream,
                                const std::string& codec, int input) {
    const auto codecs = table.find(stream);
    if (codecs == table.end())
        return nullptr;
    auto inputs = codecs->second.find(codec);
    if (inputs == codecs->second.end())
        inputs = codecs->second.find(device_handler::v1_0::UrlOfNoCodec);
    if (inputs == codecs->second.end() || inputs->second.empty())
        return nullptr;
    const auto ofInput = inputs->second.find(input);
    return ofInput == inputs->second.end() ? &inputs->second.begin()->second : &ofInput->second;
}

std::string StreamLocation(const SStreamUrl& url, const std::string& address) {
    return LocationOf(url, address, std::string());
}

std::string StreamLocationWithCredentials(const SStreamUrl& url, const std::string& address,
                                          const CAuthentication& credentials) {
    return LocationOf(url, address,
                      credentials.isSet() ? PercentEncoded(credentials.getUsername()) + ":" +
                                                PercentEncoded(credentials.getPassword()) + "@"
                                          : std::string());
}

std::string WithoutCredentials(const std::string& location, const CAuthentication& credentials) {
    constexpr const char* SchemeEnd = "://";
    const std::size_t start = location.find(SchemeEnd);
    if (start == std::string::npos)
        return location;
    const std::string scheme = location.substr(0, start) + SchemeEnd;
    const std::string user = credentials.getUsername();
    const std::string password = credentials.getPassword();
    for (const std::string& held :
         {user + ":" + password + "@", PercentEncoded(user) + ":" + PercentEncoded(password) + "@"})
        if (location.compare(scheme.size(), held.size(), held) == 0)
            return scheme + location.substr(scheme.size() + held.size());
    return location;
}

} // namespace corvane::refhost
