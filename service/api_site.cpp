// Who asks, and what is told of the whole site.

#include "service/api.h"
#include "service/problem_answer.h"
#include "site/base/utc_time.h"
#include "site/calls/operation_guide.h"

#include <microhttpd.h>

#include <set>
#include <unistd.h>

namespace corvane::service {
namespace {

using nlohmann::ordered_json;

ordered_json SessionJson(const SSession& session) {
    return {{"name", session.client.name},
            {"role", NameOf(session.client.role)},
            {"expires", site::UtcTimeText(session.expires)}};
}

} // namespace

void CApi::logIn(const SApiCall& call, const Answer& answer) {
    const ordered_json body = call.body();
    const auto token = body.find("token");
    if (token == body.end() || !token->is_string() || body.size() > 1)
        throw CRefusal(MHD_HTTP_BAD_REQUEST, "expected {\"token\":\"...\"}");
    const auto [session, cookie] = parts_.access.logIn(call.request, token->get<std::string>());
    SHttpAnswer told = JsonAnswer(SessionJson(session));
    told.headers.emplace_back("Set-Cookie", cookie);
    answer(std::move(told));
}

void CApi::tellSession(const SApiCall& call, const Answer& answer) {
    const auto session = parts_.access.session(call.request);
    if (!session)
        throw CRefusal(MHD_HTTP_UNAUTHORIZED, "there is no session, or it is over");
    answer(JsonAnswer(SessionJson(*session)));
}

void CApi::logOut(const SApiCall& call, const Answer& answer) {
    SHttpAnswer told;
    told.status = MHD_HTTP_NO_CONTENT;
    told.headers.emplace_back("Set-Cookie", parts_.access.logOut(call.request));
    answer(std::move(told));
}

void CApi::tellSite(const SApiCall& /*call*/, const Answer& answer) {
    std::map<Health, std::size_t> counts;
    std::set<std::string> tags;
    const auto statuses = parts_.site.statuses();
    for (const SCameraStatus& one : statuses) {
        ++counts[one.health];
        tags.insert(one.tags.begin(), one.tags.end());
    }
    ordered_json states;
    for (const Health health : {Health::Unknown, Health::Up, Health::Degraded, Health::Down})
        states[NameOf(health)] = counts[health];
    answer(JsonAnswer({{"service", parts_.service},
                       {"version", parts_.version},
                       {"cameras", statuses.size()},
                       {"states", states},
                       {"tags", tags},
                       {"wishWritable", ::access(parts_.site.file().c_str(), W_OK) == 0},
                       {"time", site::UtcTimeText(std::chrono::system_clock::now())}}));
}

// Nothing is ever sent to the address: the camera object is not initialised.
void CApi::tellOperations(const SApiCall& /*call*/, const Answer& answer) {
    const site::CDeviceSession session(parts_.site.recorder(), site::SOptions(), site::CCredentials::none(),
                                       "localhost");
    ordered_json all = ordered_json::array();
    for (const site::SOperation& operation : session.operations().operations()) {
        if (WhyNotOffered(operation))
            continue;
        ordered_json one = site::OperationJson(operation);
        one["writes"] = IsWriting(operation.name);
        all.push_back(std::move(one));
    }
    answer(JsonAnswer({{"operations", all}}));
}

void CApi::tellHealth(const SApiCall& /*call*/, const Answer& answer) {
    answer(JsonAnswer({{"status", "ok"}}));
}

// Ready once every camera has been looked at.
void CApi::tellReadiness(const SApiCall& /*call*/, const Answer& answer) {
    std::size_t unknown = 0;
    for (const SCameraStatus& one : parts_.site.statuses())
        unknown += one.health == Health::Unknown ? 1 : 0;
    answer(JsonAnswer({{"status", unknown == 0 ? "ok" : "starting"}, {"unknown", unknown}},
                      unknown == 0 ? MHD_HTTP_OK : MHD_HTTP_SERVICE_UNAVAILABLE));
}

void CApi::tellMetrics(const SApiCall& /*call*/, const Answer& answer) {
    SMetricsInput input;
    input.version = parts_.version;
    input.cameras = parts_.site.statuses();
    input.answerTimes = parts_.site.answerTimes().all();
    input.eventClients = parts_.hub.listeners();
    if (parts_.mqtt)
        input.mqtt = parts_.mqtt();
    input.process = ReadProcessUse();
    answer(SHttpAnswer::of(MHD_HTTP_OK, MetricsType, MetricsText(input)));
}

void CApi::tellDocument(const SApiCall& /*call*/, const Answer& answer) {
    SHttpAnswer told;
    told.headers.emplace_back("Content-Type", JsonType);
    told.body = parts_.files.document();
    answer(std::move(told));
}

} // namespace corvane::service
