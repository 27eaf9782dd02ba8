#include "benchmarks/start_up_requests.h"

#include "camera/cgi_paths.h"

#include "host/url.h"

namespace corvane::bench {

namespace {

std::string PathOf(const device_handler::v1_0::SVornUrl& url) {
    std::string path = url.path;
    char separator = '?';
    for (const auto& [name, value] : url.parameters) {
        path.append(1, separator).append(name).append(1, '=').append(value);
        separator = '&';
    }
    return path;
}

} // namespace

CPlainStartUp::CPlainStartUp(const CEnvironment& environment)
    : environment_(environment),
      paths_{PathOf(environment.modelList().getTestAuthentication()), panasonic_camera::cgi::Setdata,
             panasonic_camera::cgi::GetCapability} {}

std::unique_ptr<CPlainClient> CPlainStartUp::run(const std::string& address) const {
    auto client = std::make_unique<CPlainClient>(address, environment_.credentials());
    for (const std::string& path : paths_)
        if (client->get(path).empty())
            throw CFailure(address + path + ": an empty reply");
    return client;
}

} // namespace corvane::bench
