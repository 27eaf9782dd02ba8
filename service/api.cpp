#include "service/api.h"

#include "refhost/base/log.h"
#include "service/problem_answer.h"
#include "site/diagnosis/diagnosis.h"

#include <microhttpd.h>

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

namespace corvane::service {
namespace {

constexpr std::size_t MostCalls = 512;        // of all cameras together, that are under way or wait
constexpr std::size_t MostCallsOfCamera = 16; // likewise of one
constexpr int MostRunningOfCamera = 4;
constexpr std::size_t LongestName = 64;

// What stands for each "{}" of the pattern; nothing for a path of another kind.
std::optional<std::vector<std::string>> Match(std::string_view pattern, std::string_view path) {
    std::vector<std::string> names;
    while (!pattern.empty()) {
        if (pattern.substr(0, 2) == "{}") {
            const std::size_t end = std::min(path.find('/'), path.size());
            if (end == 0)
                return std::nullopt;
            names.emplace_back(path.substr(0, end));
            path.remove_prefix(end);
            pattern.remove_prefix(2);
        } else if (path.empty() || path.front() != pattern.front()) {
            return std::nullopt;
        } else {
            path.remove_prefix(1);
            pattern.remove_prefix(1);
        }
    }
    return path.empty() ? std::optional(names) : std::nullopt;
}

bool IsChange(const std::string& method) {
    return method == MHD_HTTP_METHOD_POST || method == MHD_HTTP_METHOD_PATCH ||
           method == MHD_HTTP_METHOD_DELETE || method == MHD_HTTP_METHOD_PUT;
}

void AddSafety(SHttpAnswer& answer) {
    answer.headers.emplace_back("X-Content-Type-Options", "nosniff");
    answer.headers.emplace_back("Referrer-Policy", "no-referrer");
    answer.headers.emplace_back("Cross-Origin-Resource-Policy", "same-origin");
    const bool isCached = std::any_of(answer.headers.begin(), answer.headers.end(),
                                      [](const auto& one) { return one.first == "Cache-Control"; });
    if (!isCached)
        answer.headers.emplace_back("Cache-Control", "no-store");
}

// Whatever fails becomes an answer.
SHttpAnswer Refused(const SHttpRequest& request, const std::function<void()>& work, bool& isRefused) {
    isRefused = true;
    const auto refuse = [&](int status, const std::string& detail) {
        return CRefusal(status, detail).answer(AskedOf(request));
    };
    try {
        work();
    } catch (const CRefusal& refusal) {
        return refusal.answer(AskedOf(request));
    } catch (const site::CFailure& failure) {
        return ProblemAnswer(MHD_HTTP_INTERNAL_SERVER_ERROR, failure.what(),
                             {{"problem", ProblemObject(DiagnoseOwn(failure))}});
    } catch (const std::bad_alloc&) {
        return refuse(MHD_HTTP_SERVICE_UNAVAILABLE, "no memory");
    } catch (const std::exception& failure) {
        return refuse(MHD_HTTP_INTERNAL_SERVER_ERROR, refhost::MaskSecrets(failure.what()));
    }
    isRefused = false;
    return {};
}

} // namespace

CApi::CApi(SApiParts parts) : parts_(std::move(parts)) {}

const std::vector<CApi::SRoute>& CApi::routes() {
    static const std::vector<SRoute> routes = {
        {"GET", "/healthz", {}, On::Server, &CApi::tellHealth},
        {"GET", "/readyz", {}, On::Server, &CApi::tellReadiness},
        {"GET", "/metrics", Role::View, On::Server, &CApi::tellMetrics},
        {"GET", "/api/v1/healthz", {}, On::Server, &CApi::tellHealth},
        {"GET", "/api/v1/readyz", {}, On::Server, &CApi::tellReadiness},
        {"GET", "/api/v1/metrics", Role::View, On::Server, &CApi::tellMetrics},
        {"GET", "/api/v1/openapi.json", Role::View, On::Server, &CApi::tellDocument},
        {"POST", "/api/v1/session", {}, On::Server, &CApi::logIn},
        {"GET", "/api/v1/session", {}, On::Server, &CApi::tellSession},
        {"DELETE", "/api/v1/session", {}, On::Server, &CApi::logOut},
        {"GET", "/api/v1/site", Role::View, On::Server, &CApi::tellSite},
        {"GET", "/api/v1/operations", Role::View, On::Pool, &CApi::tellOperations},
        {"GET", "/api/v1/events", Role::View, On::Server, &CApi::tellEvents},
        {"GET", "/api/v1/cameras", Role::View, On::Server, &CApi::tellCameras},
        {"GET", "/api/v1/cameras/{}", Role::View, On::Pool, &CApi::tellCamera},
        {"GET", "/api/v1/cameras/{}/requests", Role::View, On::Server, &CApi::tellRequests},
        {"GET", "/api/v1/cameras/{}/history", Role::View, On::Server, &CApi::tellHistory},
        {"GET", "/api/v1/cameras/{}/picture.jpg", Role::View, On::Server, &CApi::tellPicture},
        {"GET", "/api/v1/cameras/{}/picture.mjpeg", Role::View, On::Server, &CApi::tellPictures},
        {"GET", "/api/v1/cameras/{}/doctor.tar.gz", Role::View, On::Server, &CApi::tellBundle},
        {"POST", "/api/v1/cameras/{}/check", Role::View, On::Pool, &CApi::check},
        {"POST", "/api/v1/cameras/{}/doctor", Role::View, On::Pool, &CApi::examine},
        {"POST", "/api/v1/cameras/{}/calls", Role::View, On::Pool, &CApi::callOperation},
        {"POST", "/api/v1/cameras/{}/sync", Role::Operate, On::Pool, &CApi::sync},
        {"POST", "/api/v1/cameras/{}/move", Role::Operate, On::Server, &CApi::move},
        {"DELETE", "/api/v1/cameras/{}/move", Role::Operate, On::Server, &CApi::stopMove},
        {"PATCH", "/api/v1/cameras/{}/adjustments", Role::Operate, On::Pool, &CApi::patchAdjustments},
        {"PATCH", "/api/v1/cameras/{}/streams/{}", Role::Operate, On::Pool, &CApi::patchStream},
        {"PATCH", "/api/v1/cameras/{}/wish", Role::Admin, On::Pool, &CApi::patchWish},
    };
    return routes;
}

void CApi::handle(SHttpRequest request, const Answer& answer) {
    const auto shared = std::make_shared<SHttpRequest>(std::move(request));
    const Answer safe = [answer](SHttpAnswer given) {
        AddSafety(given);
        answer(std::move(given));
    };
    bool isRefused = false;
    SHttpAnswer refusal = Refused(
        *shared, [&] { route(shared, safe); }, isRefused);
    if (isRefused)
        safe(std::move(refusal));
}

void CApi::route(const std::shared_ptr<SHttpRequest>& request, const Answer& answer) {
    parts_.access.requireHost(*request);
    if (auto file = parts_.files.find(*request))
        return answer(std::move(*file));
    const std::string method = request->method == MHD_HTTP_METHOD_HEAD ? "GET" : request->method;
    std::set<std::string> allowed;
    for (const SRoute& one : routes()) {
        const auto names = Match(one.pattern, request->path);
        if (!names)
            continue;
        allowed.insert(one.method);
        if (one.method == std::string_view(MHD_HTTP_METHOD_GET))
            allowed.insert(MHD_HTTP_METHOD_HEAD);
        if (method != one.method)
            continue;
        SApiCall call{*request, {}, "", ""};
        if (one.role)
            call.client = parts_.access.require(*request, *one.role);
        if (IsChange(method))
            parts_.access.requireOwnChange(*request);
        if (!names->empty())
            call.name = names->front();
        if (names->size() > 1)
            call.stream = names->back();
        return run(one, request, std::move(call), answer);
    }
    if (allowed.empty())
        throw CRefusal(MHD_HTTP_NOT_FOUND, "there is nothing at this path");
    (void)parts_.access.require(*request, Role::View);
    std::string all;
    for (const std::string& one : allowed)
        all += (all.empty() ? "" : ", ") + one;
    SHttpAnswer refusal =
        CRefusal(MHD_HTTP_METHOD_NOT_ALLOWED, "this path takes " + all).answer(AskedOf(*request));
    refusal.headers.emplace_back("Allow", all);
    answer(std::move(refusal));
}

void CApi::run(const SRoute& route, const std::shared_ptr<SHttpRequest>& request, SApiCall call,
               const Answer& answer) {
    if (!call.name.empty())
        (void)camera(call);
    if (route.on == On::Server)
        return (this->*route.handler)(call, answer);
    queue(call.name, [this, &route, request, call, answer] {
        bool isRefused = false;
        SHttpAnswer refusal = Refused(
            *request, [&] { (this->*route.handler)(call, answer); }, isRefused);
        if (isRefused)
            answer(std::move(refusal));
    });
}

void CApi::queue(const std::string& camera, std::function<void()> task) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        SCalls& calls = calls_[camera];
        const std::size_t ofCamera = calls.waiting.size() + static_cast<std::size_t>(calls.running);
        if (allCalls_ >= MostCalls || ofCamera >= MostCallsOfCamera)
            throw CRefusal(MHD_HTTP_SERVICE_UNAVAILABLE, "too many calls wait already; try again");
        ++allCalls_;
        if (calls.running == MostRunningOfCamera) {
            calls.waiting.push_back(std::move(task));
            return;
        }
        ++calls.running;
    }
    parts_.site.calls().add([this, camera, task = std::move(task)] { runQueued(camera, task); });
}

void CApi::runQueued(const std::string& camera, const std::function<void()>& task) {
    task();
    std::function<void()> next;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        --allCalls_;
        SCalls& calls = calls_[camera];
        if (!calls.waiting.empty()) {
            next = std::move(calls.waiting.front());
            calls.waiting.pop_front();
        } else if (--calls.running == 0)
            calls_.erase(camera);
    }
    if (next)
        parts_.site.calls().add([this, camera, next = std::move(next)] { runQueued(camera, next); });
}

SKeptOne CApi::camera(const SApiCall& call) const {
    auto one = parts_.site.find(call.name);
    if (!one)
        throw CRefusal(MHD_HTTP_NOT_FOUND,
                       "the site has no camera \"" + call.name.substr(0, LongestName) + "\"");
    return *one;
}

nlohmann::ordered_json SApiCall::body() const {
    if (request.body.empty())
        return nlohmann::ordered_json::object();
    constexpr int Deepest = 16;
    int depth = 0;
    bool isTooDeep = false;
    auto json = nlohmann::ordered_json::parse(
        request.body,
        [&](int level, nlohmann::ordered_json::parse_event_t /*event*/, nlohmann::ordered_json& /*value*/) {
            depth = level;
            isTooDeep = isTooDeep || depth > Deepest;
            return !isTooDeep;
        },
        false);
    if (isTooDeep)
        throw CRefusal(MHD_HTTP_BAD_REQUEST, "the body is nested deeper than anything here");
    if (json.is_discarded())
        throw CRefusal(MHD_HTTP_BAD_REQUEST, "the body is no JSON");
    if (!json.is_object())
        throw CRefusal(MHD_HTTP_BAD_REQUEST, "the body must be a JSON object");
    return json;
}

} // namespace corvane::service
