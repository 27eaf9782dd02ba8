#pragma once

#include "service/kept_site.h"

#include <string>

namespace corvane::service {

// Answers to a call that came over MQTT, whose payload is a JSON object {"operation","arguments"} where it is
// as it should be: as the interface answers to /calls, with the role operate, since who may publish there is
// the broker's to say. Callable from any thread; waits for the camera.
std::string AnswerMqttCall(const CKeptSite& site, const std::string& camera, const std::string& payload);

} // namespace corvane::service
