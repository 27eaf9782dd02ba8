#include "service/camera_detail.h"

#include "site/calls/call.h"
#include "site/cameras/present_settings.h"
#include "site/cameras/site_wish.h"
#include "site/report/adjustments.h"
#include "site/report/stream_fields.h"

#include <algorithm>
#include <charconv>

namespace corvane::service {
namespace {

using nlohmann::ordered_json;

constexpr int FirstInput = 0;

site::AskCamera Asking(const CKeptCamera::Session& session) {
    return [session](const std::string& operation, const site::Texts& arguments) {
        return site::AnswerIfThere(session->session().operations(), operation, arguments);
    };
}

ordered_json StreamsJson(const site::SSiteCamera& entry, const CKeptCamera::Session& session) {
    const site::AskCamera ask = Asking(session);
    ordered_json all = ordered_json::array();
    for (const site::SStreamWish& present : site::CPresentSettings(session->session()).streams()) {
        ordered_json one{{"stream", present.name}, {"record", present.record}};
        one["ranges"] = ordered_json::object();
        for (const site::SStreamField& field : site::StreamFields())
            if (present.record.count(field.field.name) > 0)
                one["ranges"][field.field.name] = RangeOf(field, present.id, "", ask).values.toJson();
        const auto wish = std::find_if(entry.streams.begin(), entry.streams.end(),
                                       [&](const auto& other) { return other.name == present.name; });
        if (wish != entry.streams.end())
            one["wish"] = wish->record;
        all.push_back(std::move(one));
    }
    return all;
}

ordered_json AdjustmentsJson(const site::SSiteCamera& entry, const CKeptCamera::Session& session) {
    ordered_json all = ordered_json::array();
    site::CAdjustments adjustments(Asking(session), *session->session().model(), FirstInput);
    if (adjustments.learn())
        return all;
    for (const site::SAdjustmentReading& reading : adjustments.readAll()) {
        ordered_json one{{"adjustment", reading.info->name}};
        one.update(ReadingJson(reading));
        const auto wish = entry.adjustments.find(reading.info->name);
        if (wish != entry.adjustments.end())
            one["wish"] = wish->second;
        all.push_back(std::move(one));
    }
    return all;
}

// 0 where there is none.
int NumberAt(const std::string& text, std::size_t place) {
    int number = 0;
    (void)std::from_chars(text.data() + place, text.data() + text.size(), number);
    return number;
}

// Null for a camera without a head, or whose head does not tell.
ordered_json PositionJson(const CKeptCamera::Session& session) {
    const auto answer = Asking(session)("controller.getPTZPos", {});
    if (!answer || (answer->error && *answer->error) || answer->values.empty())
        return nullptr;
    const std::string& told = answer->values.front(); // pan=5013&tilt=5000&zoom=0&iris=0&focus=0
    ordered_json position;
    for (const char* const axis : {"pan", "tilt", "zoom"}) {
        const std::string key = std::string(axis) + "=";
        const std::size_t found = told.find(key);
        if (found == std::string::npos)
            return nullptr;
        position[axis] = NumberAt(told, found + key.size());
    }
    return position;
}

ordered_json PtzJson(const CKeptCamera::Session& session) {
    constexpr int Presets = 256;
    const site::SModelInfo* const model = session->session().model();
    const bool moves = model && model->ptz;
    const auto patterns = moves ? Asking(session)("getPtzPatternCount", {"0"}) : std::nullopt;
    const int count = patterns && !patterns->values.empty() ? NumberAt(patterns->values.front(), 0) : 0;
    return {{"moves", moves}, {"presets", moves ? Presets : 0}, {"patterns", count}};
}

} // namespace

ordered_json WishJson(const site::SSiteCamera& entry) {
    return site::WishOf(entry);
}

ordered_json CameraDetail(const CKeptCamera& camera, const CKeptCamera::Session& session) {
    ordered_json detail{{"streams", ordered_json::array()},
                        {"adjustments", ordered_json::array()},
                        {"position", nullptr},
                        {"ptz", {{"moves", false}, {"presets", 0}, {"patterns", 0}}}};
    const CKeptCamera::Entry entry = camera.entry();
    if (session && session->session().model()) {
        detail["streams"] = StreamsJson(*entry, session);
        detail["adjustments"] = AdjustmentsJson(*entry, session);
        detail["ptz"] = PtzJson(session);
        if (detail["ptz"]["moves"])
            detail["position"] = PositionJson(session);
    }
    detail["wish"] = WishJson(*entry);
    return detail;
}

} // namespace corvane::service
