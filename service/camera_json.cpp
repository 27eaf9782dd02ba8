#include "service/camera_json.h"

#include "site/base/utc_time.h"
#include "site/cameras/site_camera.h"

#include <nlohmann/json.hpp>

namespace corvane::service {

using nlohmann::ordered_json;

ordered_json DriftJson(const SDrift& drift) {
    ordered_json json{{"state", NameOf(drift.state)}};
    if (drift.checked)
        json["checked"] = site::UtcTimeText(*drift.checked);
    json["differences"] = site::DifferencesJson(drift.differences);
    json["ignored"] = drift.ignored;
    return json;
}

ordered_json CameraJson(const SCameraStatus& camera) {
    ordered_json json{{"name", camera.name},
                      {"address", camera.address},
                      {"model", camera.model},
                      {"serialNumber", camera.serialNumber},
                      {"firmware", camera.firmware},
                      {"tags", camera.tags},
                      {"state", NameOf(camera.health)},
                      {"since", site::UtcTimeText(camera.since)}};
    if (camera.problem)
        json["problem"] = ProblemObject(*camera.problem);
    json["inputs"] = ordered_json::array();
    for (const SInputLevel& one : camera.inputs) {
        ordered_json input{{"input", one.input}, {"state", one.stateName()}};
        if (one.isActive)
            input["since"] = site::UtcTimeText(one.since);
        json["inputs"].push_back(std::move(input));
    }
    json["drift"] = DriftJson(camera.drift);
    return json;
}

} // namespace corvane::service
