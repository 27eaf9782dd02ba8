#include "service/mqtt_call.h"

#include "refhost/base/log.h"
#include "service/api.h"
#include "service/problem_answer.h"

#include <microhttpd.h>

namespace corvane::service {
namespace {

SHttpAnswer AnswerOf(const CKeptSite& site, const std::string& camera, const std::string& payload) {
    const std::string asked = "a call of " + camera + " over MQTT";
    try {
        const auto one = site.find(camera);
        if (!one)
            throw CRefusal(MHD_HTTP_NOT_FOUND, "the site has no such camera");
        const auto body = nlohmann::ordered_json::parse(payload, nullptr, false);
        if (!body.is_object())
            throw CRefusal(MHD_HTTP_BAD_REQUEST, "expected a JSON object");
        return AnswerCall(*one, body, Role::Operate, {"mqtt", "MQTT"});
    } catch (const CRefusal& refusal) {
        return refusal.answer(asked);
    } catch (const std::exception& failure) {
        return CRefusal(MHD_HTTP_INTERNAL_SERVER_ERROR, refhost::MaskSecrets(failure.what())).answer(asked);
    }
}

} // namespace

std::string AnswerMqttCall(const CKeptSite& site, const std::string& camera, const std::string& payload) {
    return *AnswerOf(site, camera, payload).body;
}

} // namespace corvane::service
