#include "site/session/identification.h"

#include "refhost/http/device_requests.h"
#include "site/base/elapsed.h"

#include <algorithm>
#include <future>
#include <thread>

namespace corvane::site {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds Look{10};

struct SAnswerOfPlugin {
    CError error = CError::Success();
    COptional<CDeviceId> device;
};

CError NoDevice(const std::string& address) {
    return {RtnCode::NotSet, Origin::General, "no supported device answers at " + address};
}

// On a thread of its own, which ends when the plug-in has given up; it is not waited for any longer.
SAnswerOfPlugin AskPlugin(const std::shared_ptr<CLoadedPlugin>& plugin, const std::string& address,
                          const CAuthentication& authentication, const CExchangeWatch& exchanges,
                          std::chrono::milliseconds limit) {
    std::promise<SAnswerOfPlugin> promise;
    std::future<SAnswerOfPlugin> answer = promise.get_future();
    std::thread([plugin, address, authentication, promise = std::move(promise)]() mutable {
        SAnswerOfPlugin result;
        result.error = plugin->handler().queryDevice(address, result.device, authentication);
        promise.set_value(result);
    }).detach();
    // The request that ends with the limit says why, a moment later.
    constexpr std::chrono::milliseconds Moment{500};
    const auto isThere = [&answer](std::chrono::milliseconds time) {
        return answer.wait_for(time) == std::future_status::ready;
    };
    if (isThere(limit))
        return answer.get();
    const Clock::time_point end = Clock::now() + Moment;
    while (!exchanges.lastFailingOwn() && Clock::now() < end)
        if (isThere(Look))
            return answer.get();
    return {NoDevice(address), {}};
}

} // namespace

std::string FirstRequest(const CVornModelList& models) {
    const auto& families = models.getFamilies();
    return families.empty()
               ? "/"
               : refhost::PathWithQuery(models.getQueryDevice(families.front().name).modelNumber.url);
}

SIdentification NobodyThere(const std::string& address, const CVornModelList& models,
                            const refhost::SProbedConnection& probed) {
    SWatchedExchange exchange;
    exchange.address = address;
    exchange.method = "GET";
    exchange.path = FirstRequest(models);
    exchange.kind = probed.kind;
    exchange.failure = probed.failure;
    SIdentification result;
    result.error = NoDevice(address);
    result.milliseconds = probed.milliseconds;
    result.failure = DiagnoseExchange(Occasion::Identification, exchange);
    return result;
}

SIdentification IdentifyDevice(const std::shared_ptr<CLoadedPlugin>& plugin, const std::string& address,
                               const CCredentials& credentials, CExchangeWatch& exchanges,
                               std::chrono::milliseconds limit) {
    exchanges.setCredentialSource(credentials.source());
    const Clock::time_point start = Clock::now();
    const auto probed = refhost::ProbeConnection(address, std::min(limit, LongestIdentification));
    if (probed.kind != refhost::HttpFailure::None)
        return NobodyThere(address, *plugin->models(), probed);
    const SAnswerOfPlugin answer =
        AskPlugin(plugin, address, credentials.forFamily(plugin->firstFamily()), exchanges, limit);
    SIdentification result;
    result.error = answer.error;
    result.device = answer.device;
    result.milliseconds = MillisecondsSince(start);
    if (!result.isFound())
        result.failure = Diagnose(Occasion::Identification, result.error, exchanges);
    return result;
}

} // namespace corvane::site
