#include "site/site_plan.h"

#include "refhost/text/json_node.h"
#include "site/text_file.h"

#include <set>
#include <tuple>

namespace corvane::site {
namespace {

using refhost::CJsonNode;
using SMember = CJsonNode::SMember;
using nlohmann::ordered_json;

SMember Text(const char* name, std::string& text) {
    return {name, SMember::Required, [&text](const CJsonNode& node) { text = node.text(); }};
}

SPlannedChange ChangeOf(const CJsonNode& node) {
    SPlannedChange change;
    node.object(
        {Text("of", change.of),
         Text("field", change.field),
         Text("wanted", change.wanted),
         {"camera", SMember::Optional, [&](const CJsonNode& camera) { change.camera = camera.text(); }}});
    return change;
}

SPlannedCamera CameraOf(const CJsonNode& node) {
    SPlannedCamera camera;
    node.object({Text("name", camera.name),
                 Text("address", camera.address),
                 {"serialNumber", SMember::Optional,
                  [&](const CJsonNode& serial) { camera.serialNumber = serial.text(); }},
                 {"changes", SMember::Required, [&](const CJsonNode& changes) {
                      changes.eachEntry(
                          [&](const CJsonNode& change) { camera.changes.push_back(ChangeOf(change)); });
                  }}});
    return camera;
}

ordered_json JsonOf(const SPlannedCamera& camera) {
    ordered_json json{{"name", camera.name}, {"address", camera.address}};
    if (!camera.serialNumber.empty())
        json["serialNumber"] = camera.serialNumber;
    json["changes"] = ordered_json::array();
    for (const SPlannedChange& change : camera.changes) {
        ordered_json one{{"of", change.of}, {"field", change.field}, {"wanted", change.wanted}};
        if (!change.camera.empty())
            one["camera"] = change.camera;
        json["changes"].push_back(std::move(one));
    }
    return json;
}

} // namespace

bool operator==(const SPlannedChange& a, const SPlannedChange& b) {
    return std::tie(a.of, a.field, a.wanted, a.camera) == std::tie(b.of, b.field, b.wanted, b.camera);
}

SitePlan ReadPlan(const std::string& file) {
    const std::string text = ReadTextFile(file);
    SitePlan plan;
    std::set<std::string> names;
    try {
        const nlohmann::json parsed = refhost::ParseJson(text);
        CJsonNode(parsed).object({{"plan", SMember::Required, [&](const CJsonNode& cameras) {
                                       cameras.eachEntry([&](const CJsonNode& camera) {
                                           plan.push_back(CameraOf(camera));
                                           if (!names.insert(plan.back().name).second)
                                               camera.refuse("the camera stands twice");
                                       });
                                   }}});
    } catch (const refhost::CJsonRefusal& refusal) {
        throw CFileError(file + ": " + refusal.what());
    }
    return plan;
}

void WritePlan(const std::string& file, const SitePlan& plan) {
    ordered_json cameras = ordered_json::array();
    for (const SPlannedCamera& camera : plan)
        cameras.push_back(JsonOf(camera));
    ReplaceJsonFile(file, {{"plan", cameras}});
}

} // namespace corvane::site
