#include "host/cgi.h"

#include "refhost/http/device_requests.h"
#include "refhost/http/http_client.h"

#include <strings.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace corvane::vorn_utility::v1_0 {
namespace {

using device_handler::v1_0::CError;
using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using device_handler::v1_0::SVornUrl;
using refhost::ExchangeHttp;
using refhost::PathWithQuery;
using refhost::SHttpReply;
using refhost::SHttpRequest;

constexpr std::string_view Protocol = "http";
constexpr int PostTimeout = 4;
constexpr int NoStatus = 0;

RtnCode CodeOf(int status) {
    switch (status) {
    case 200:
        return RtnCode::Success;
    case 401:
        return RtnCode::AuthenticationFailed;
    case NoStatus:
        return RtnCode::NotAccessible;
    default:
        return RtnCode::OperationFailed;
    }
}

CError ResultOf(const SHttpReply& reply) {
    const RtnCode code = CodeOf(reply.status);
    return code == RtnCode::Success ? CError::Success() : CError(code, Origin::Device, reply.failure);
}

std::vector<std::string_view> Split(std::string_view reply, const std::string& delimiters) {
    std::vector<std::string_view> pieces;
    for (std::size_t start = 0; start <= reply.size();) {
        const std::size_t end = std::min(reply.find_first_of(delimiters, start), reply.size());
        if (end > start)
            pieces.push_back(reply.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

std::string ValueBehind(const std::string& key, const std::vector<std::string_view>& pieces) {
    for (const std::string_view piece : pieces)
        if (piece.substr(0, key.size()) == key)
            return std::string(piece.substr(key.size()));
    return {};
}

} // namespace

CError CVornCgiLib::vornCgiGetRawResponse(const SVornUrl& url, const std::string& address,
                                          const std::string& user, const std::string& password,
                                          std::string& response, int timeout, const std::string& authScheme) {
    if (strcasecmp(url.protocol.c_str(), Protocol.data()) != 0)
        return {RtnCode::NotAccessible, Origin::Device, "protocol \"" + url.protocol + "\" is not spoken"};
    SHttpRequest request;
    request.address = address;
    request.port = url.port;
    request.path = PathWithQuery(url);
    request.user = user;
    request.password = password;
    request.authScheme = authScheme;
    request.timeout = timeout;
    SHttpReply reply = ExchangeHttp(request);
    CError result = ResultOf(reply);
    if (!result)
        response = std::move(reply.body);
    return result;
}

CError CVornCgiLib::vornCgiGetQueryResult(const SVornUrl& url, const std::string& address,
                                          const std::string& user, const std::string& password,
                                          std::vector<std::string>& values, int timeout,
                                          const std::string& delimiters, const std::string& authScheme) {
    std::string reply;
    if (CError error = vornCgiGetRawResponse(url, address, user, password, reply, timeout, authScheme); error)
        return error;
    const std::vector<std::string_view> pieces = Split(reply, delimiters);
    const std::vector<std::string> keys = values.empty() ? url.queryKeys : values;
    values.clear();
    for (const std::string& key : keys)
        values.push_back(ValueBehind(key, pieces));
    return CError::Success();
}

struct CHttpInterface::SBase {
    const std::string user;
    const std::string password;
    bool isReady = false;
};

CHttpInterface::CHttpInterface(std::string user, std::string password)
    : base_(new SBase{std::move(user), std::move(password)}) {}

CHttpInterface::~CHttpInterface() = default;

int CHttpInterface::Initialize() {
    base_->isReady = true;
    return 0;
}

int CHttpInterface::SetContent(const std::string& body, const std::string& url) {
    const std::string scheme = std::string(Protocol) + "://";
    if (!base_->isReady || strncasecmp(url.c_str(), scheme.c_str(), scheme.size()) != 0)
        return NoStatus;
    const std::size_t pathStart = std::min(url.find_first_of("/?", scheme.size()), url.size());
    SVornUrl target;
    target.path = url.substr(pathStart);
    SHttpRequest request;
    request.address = url.substr(scheme.size(), pathStart - scheme.size());
    request.path = PathWithQuery(target);
    request.user = base_->user;
    request.password = base_->password;
    request.authScheme = refhost::AnyAuthScheme;
    request.timeout = PostTimeout;
    request.form = body;
    return ExchangeHttp(request).status;
}

} // namespace corvane::vorn_utility::v1_0
