#include "refhost/http/device_requests.h"

#include "host/camera.h"
#include "refhost/base/percent_encoding.h"

namespace corvane::refhost {

using device_handler::v1_0::CVornModelList;
using vorn_camera_base::v1_0::CVornCamera;

std::string PathWithQuery(const device_handler::v1_0::SVornUrl& url) {
    std::string path = url.path;
    if (path.empty() || path.front() != '/')
        path.insert(0, 1, '/');
    std::vector<std::string> parts;
    for (const auto& [name, value] : url.parameters)
        parts.push_back(PercentEncoded(name) + "=" + PercentEncoded(value));
    parts.insert(parts.end(), url.queryKeys.begin(), url.queryKeys.end());
    for (const std::string& part : parts) {
        if (path.find('?') == std::string::npos)
            path += '?';
        else if (path.back() != '?' && path.back() != '&')
            path += '&';
        path += part;
    }
    return path;
}

CError SendAuthenticationTest(const CVornModelList& modelList, const std::string& address,
                              const CAuthentication& credentials) {
    std::string value;
    return CVornCamera::getCamSingleValue(address, modelList.getTestAuthentication(),
                                          credentials.getUsername(), credentials.getPassword(), value,
                                          ReplyDelimiters, AnyAuthScheme);
}

} // namespace corvane::refhost
