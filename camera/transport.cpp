// The transport of CPanasonicSetting: it keeps no state between calls and takes no lock.

#include "camera/camera_url.h"
#include "camera/cgi_paths.h"
#include "camera/errors.h"
#include "camera/setting.h"

#include "host/assert.h"
#include "host/cgi.h"

#include <strings.h>

namespace corvane::panasonic_camera {

using device_handler::v1_0::HostAssert;
using device_handler::v1_0::RtnCode;
using vorn_utility::v1_0::CHttpInterface;
using vorn_utility::v1_0::CVornCgiLib;

namespace {

constexpr int HttpOk = 200;
constexpr int HttpUnauthorized = 401;
constexpr int LastWithoutStatus = 99; // no HTTP status is this low

bool IsAbsoluteUrl(const std::string& path) {
    static constexpr char Scheme[] = "http:";
    return strncasecmp(path.c_str(), Scheme, sizeof Scheme - 1) == 0;
}

CError ResultOfPost(int status) {
    if (status == HttpOk)
        return CError::Success();
    if (status <= LastWithoutStatus)
        return errors::CgiRequestFailed(RtnCode::NotAccessible);
    if (status == HttpUnauthorized)
        return errors::CgiRequestFailed(RtnCode::AuthenticationFailed);
    return errors::CgiRequestFailed(RtnCode::OperationFailed);
}

} // namespace

CAuthentication CPanasonicSetting::currentAuthentication() const {
    HostAssert(deviceContext != nullptr, "transport", __LINE__);
    return deviceContext->getAuthentication();
}

CError CPanasonicSetting::CameraHttpGet(const std::string& path, std::string& response, int timeoutSeconds) {
    const CAuthentication authentication = currentAuthentication();
    if (!authentication.isSet())
        return errors::AuthenticationNotSet();
    return CVornCgiLib::vornCgiGetRawResponse(CameraUrl(path), ipAddress, authentication.getUsername(),
                                              authentication.getPassword(), response, timeoutSeconds,
                                              cgi::AuthScheme);
}

CError CPanasonicSetting::CameraHttpPost(const std::string& path, const std::string& body,
                                         std::string& response, int /*timeoutSeconds*/) {
    const std::string url = IsAbsoluteUrl(path) ? path : "http://" + ipAddress + path;
    const CAuthentication authentication = currentAuthentication();
    if (!authentication.isSet())
        return errors::AuthenticationNotSet();

    CHttpInterface client(authentication.getUsername(), authentication.getPassword());
    int status = client.Initialize();
    if (status == 0)
        status = client.SetContent(body, url);
    CError result = ResultOfPost(status);
    if (result)
        response.clear();
    return result;
}

CError CPanasonicSetting::GetDetailsFromUrl(const std::string& path, const std::vector<std::string>& keys,
                                            std::vector<std::string>& values) {
    const CAuthentication authentication = currentAuthentication();
    if (!authentication.isSet())
        return errors::AuthenticationNotSet();
    SVornUrl url = CameraUrl(path);
    url.queryKeys = keys;
    std::vector<std::string> found; // empty: the framework looks for the URL's keys
    CError result = CVornCgiLib::vornCgiGetQueryResult(
        url, ipAddress, authentication.getUsername(), authentication.getPassword(), found,
        cgi::RequestTimeout, cgi::ValueDelimiters, cgi::AuthScheme);
    if (!result)
        values = std::move(found);
    return result;
}

std::string CPanasonicSetting::GetDetailsFromUrl(const std::string& path, const std::string& key) {
    std::string reply;
    if (CameraHttpGet(path, reply, cgi::RequestTimeout))
        return {};
    // From index 1: callers rely on a key that opens the reply not being found.
    const std::size_t at = reply.find(key, 1);
    if (at == std::string::npos)
        return {};
    const std::size_t begin = at + key.size();
    return reply.substr(begin, reply.find_first_of("\r\n&", begin) - begin);
}

} // namespace corvane::panasonic_camera
