#include "site/site_file_text.h"

#include "refhost/base/printable_text.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace corvane::site {
namespace {

using nlohmann::ordered_json;
using refhost::JsonText;

// On one line, with blanks for the eye.
std::string OneLine(const ordered_json& json) {
    if (!json.is_structured())
        return JsonText(json);
    std::string text;
    for (const auto& [name, value] : json.items())
        text += (text.empty() ? "" : ", ") + (json.is_object() ? JsonText(name) + ": " : "") + OneLine(value);
    return json.is_object() ? "{" + text + "}" : "[" + text + "]";
}

std::string MemberText(const char* name, const ordered_json& value) {
    return JsonText(name) + ": " + OneLine(value);
}

std::string StreamsText(const std::vector<SStreamWish>& streams) {
    std::string text;
    for (const SStreamWish& wish : streams)
        text += std::string(text.empty() ? "" : ",") + "\n       " +
                OneLine({{"stream", wish.name}, {"record", wish.record}});
    return "\"streams\": [" + text + "]";
}

std::string CameraText(const SSiteCamera& camera, bool withCredentials) {
    std::string text =
        "    {" + MemberText("name", camera.name) + ", " + MemberText("address", camera.address);
    const auto add = [&text](const char* name, const ordered_json& value) {
        if (!value.empty() && value != ordered_json(std::string()))
            text += ", " + MemberText(name, value);
    };
    add("model", camera.model);
    add("serialNumber", camera.serialNumber);
    if (withCredentials)
        add("credentials", camera.credentials);
    add("tags", camera.tags);
    if (camera.inputs)
        text += ", " + MemberText("inputs", *camera.inputs);
    if (camera.rtspPort)
        text += ", " + MemberText("rtspPort", *camera.rtspPort);
    if (!camera.streams.empty())
        text += ",\n     " + StreamsText(camera.streams);
    if (!camera.adjustments.empty())
        text += ",\n     " + MemberText("adjustments", camera.adjustments);
    return text + "}";
}

} // namespace

std::string SiteFileText(const SSite& site) {
    const bool isShared = !site.cameras.empty() && !site.cameras.front().credentials.empty() &&
                          std::all_of(site.cameras.begin(), site.cameras.end(), [&](const SSiteCamera& one) {
                              return one.credentials == site.cameras.front().credentials;
                          });
    ordered_json credentials = ordered_json::object();
    for (const auto& [name, one] : site.credentials)
        credentials[name] = {{"user", one.user}, {"passwordFile", one.passwordFile}};
    std::string text = "{\n";
    if (!credentials.empty())
        text += "  " + MemberText("credentials", credentials) + ",\n";
    if (isShared)
        text += "  " + MemberText("defaults", {{"credentials", site.cameras.front().credentials}}) + ",\n";
    text += "  \"cameras\": [";
    for (const SSiteCamera& camera : site.cameras)
        text += (&camera == &site.cameras.front() ? "\n" : ",\n") + CameraText(camera, !isShared);
    return text + "\n  ]\n}\n";
}

} // namespace corvane::site
