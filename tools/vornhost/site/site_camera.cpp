#include "tools/vornhost/site/site_camera.h"

#include "refhost/http/connection_probe.h"
#include "tools/vornhost/calls/call.h"
#include "tools/vornhost/session/identification.h"
#include "tools/vornhost/site/site_wish.h"

#include <algorithm>
#include <utility>

namespace corvane::vornhost {
namespace {

constexpr const char* SitePhase = "site";
constexpr const char* StreamsPrefix = "streams.";

SOptions OptionsOf(const site::SSiteCamera& camera, SOptions options) {
    if (!camera.model.empty())
        options.modelNumber = camera.model;
    return options;
}

// "stream 0,h264,0" for programs.
std::string ToldOf(const SDifference& difference) {
    const std::string prefix = StreamsPrefix;
    return difference.of.compare(0, prefix.size(), prefix) == 0
               ? "stream " + difference.of.substr(prefix.size())
               : difference.of;
}

} // namespace

const char* NameOf(CameraState state) {
    switch (state) {
    case CameraState::Fault:
        return "fault";
    case CameraState::NotAccepted:
        return "not-accepted";
    case CameraState::Differs:
        return "differs";
    case CameraState::Changed:
        return "changed";
    case CameraState::Same:
        break;
    }
    return "same";
}

ordered_json FindingJson(const SCameraFinding& finding) {
    ordered_json json{{"name", finding.camera->name},
                      {"address", finding.camera->address},
                      {"state", NameOf(finding.state)}};
    if (!finding.differences.empty()) {
        ordered_json& all = json["differences"] = ordered_json::array();
        for (const SDifference& difference : finding.differences)
            all.push_back(
                {{"of", ToldOf(difference)},
                 {"field", difference.field},
                 {"wanted", difference.wanted},
                 {"camera", difference.camera.empty() ? ordered_json() : ordered_json(difference.camera)}});
    }
    if (finding.problem)
        json["problem"] = ProblemObject(*finding.problem);
    return json;
}

CSiteCamera::CSiteCamera(const site::SSiteCamera& camera, const SRecorder& recorder, const SOptions& options,
                         CCredentials credentials)
    : camera_(camera),
      session_(recorder, OptionsOf(camera, options), std::move(credentials), camera.address) {}

std::optional<SDiagnosis> CSiteCamera::open() {
    // Connects first, so that one that is gone is told at once.
    const auto probed =
        refhost::ProbeConnection(camera_.address, session_.options().patience(LongestIdentification));
    if (probed.kind != HttpFailure::None)
        return NobodyThere(camera_.address, *session_.plugin().models(), probed).failure;
    const bool isKnown = !session_.options().modelNumber.empty() && camera_.serialNumber.empty();
    if (auto failure = isKnown ? session_.learnFamily() : session_.askIdentity())
        return failure;
    if (!camera_.serialNumber.empty() && session_.serialNumber() != camera_.serialNumber)
        return otherCamera();
    return session_.initialize();
}

std::optional<SDiagnosis> CSiteCamera::otherCamera() const {
    SDiagnosis other;
    other.problem = "another camera than the site file's answers at this address";
    other.request = "serial number " + camera_.serialNumber;
    other.reply = session_.serialNumber().empty() ? "none" : "serial number " + session_.serialNumber();
    other.advice = "see which camera stands there, and put the file right; nothing was written";
    other.cause = "not-a-camera";
    other.phase = SitePhase;
    return other;
}

void CSiteCamera::compare(SCameraFinding& finding, const std::string& today) {
    if (camera_.streams.empty() && camera_.adjustments.empty())
        return;
    if ((finding.problem = unreadable()))
        return;
    const SModelInfo* const model = session_.model();
    if (!model) {
        SDiagnosis unknown;
        unknown.problem = "the model list does not have the camera's model";
        unknown.advice = "give the camera's \"model\" in the site file, or a model list that has it";
        unknown.cause = "not-supported";
        unknown.phase = SitePhase;
        finding.problem = unknown;
        return;
    }
    const CDrift drift(*model, [this](const std::string& operation, const Texts& arguments) {
        return ask(operation, arguments);
    });
    try {
        for (SDifference& difference : drift.between(WishOf(camera_)))
            if (isIgnored(difference, today))
                ++finding.ignored;
            else
                finding.differences.push_back(std::move(difference));
    } catch (const CFailure& failure) { // a wish that this camera cannot have
        finding.problem = DiagnoseOwn(failure);
        finding.problem->phase = SitePhase;
        return;
    }
    finding.problem = unreadable(); // while it was compared
    if (!finding.differences.empty())
        finding.state = CameraState::Differs;
}

// What all comparing rests on.
std::optional<SDiagnosis> CSiteCamera::unreadable() {
    if (!camera_.streams.empty())
        (void)ask("getVideoCodecParameters", {camera_.streams.front().name}); // waits for the settings
    const CExchangeWatch& exchanges = session_.exchanges();
    for (const auto& failed : {exchanges.failedSettings(), exchanges.failedCapability()})
        if (failed)
            return DiagnoseExchange(*failed, exchanges);
    return std::nullopt;
}

std::optional<SAnswer> CSiteCamera::ask(const std::string& operation, const Texts& arguments) {
    try {
        const STimedAnswer answer = MakeCall(session_.operations(), {operation, arguments});
        return answer.succeeded() ? std::optional(answer.answer) : std::nullopt;
    } catch (const COperationError&) { // the camera does not have it
        return std::nullopt;
    }
}

bool CSiteCamera::isIgnored(const SDifference& difference, const std::string& today) const {
    return std::any_of(camera_.ignored.begin(), camera_.ignored.end(), [&](const site::SIgnored& one) {
        return one.of == difference.of + "." + difference.field && (one.until.empty() || today < one.until);
    });
}

// The firmware is asked past the plug-in, which learns it of one camera in a process.
void CSiteCamera::describe(SCameraFinding& finding) {
    if (const auto name = ask("getUnitModelName", {}); name && !name->values.empty())
        finding.model = name->values.front();
    const auto query = session_.plugin().models()->getQueryDevice(session_.familyName()).modelNumber;
    const CAuthentication as = session_.authentication();
    auto url = query.url;
    url.replyKey = "VERSION=";
    if (as.isSet())
        (void)CVornCamera::getCamSingleValue(camera_.address, url, as.getUsername(), as.getPassword(),
                                             finding.firmware, query.delimiters, query.authScheme);
}

} // namespace corvane::vornhost
