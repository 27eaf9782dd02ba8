#include "site/cameras/site_camera.h"

#include "refhost/http/connection_probe.h"
#include "site/calls/call.h"
#include "site/cameras/site_wish.h"
#include "site/session/identification.h"

#include <algorithm>
#include <utility>

namespace corvane::site {
namespace {

constexpr const char* SitePhase = "site";
constexpr const char* ReadBackPhase = "read-back";
constexpr int FirstInput = 0;

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

std::string ToldOf(const std::string& of) {
    const std::string prefix = OfStreamPrefix;
    return of.compare(0, prefix.size(), prefix) == 0 ? "stream " + of.substr(prefix.size()) : of;
}

namespace {

ordered_json ValueJson(const std::string& text) {
    return text.empty() ? ordered_json() : ordered_json(text);
}

} // namespace

ordered_json DifferencesJson(const std::vector<SComparison>& differences) {
    ordered_json json = ordered_json::array();
    for (const SComparison& one : differences)
        json.push_back({{"of", ToldOf(one.of)},
                        {"field", one.field},
                        {"wanted", one.wanted},
                        {"camera", ValueJson(one.camera)}});
    return json;
}

ordered_json ChangesJson(const std::vector<SChange>& changes) {
    ordered_json json = ordered_json::array();
    for (const SChange& one : changes)
        json.push_back({{"of", ToldOf(one.before.of)},
                        {"field", one.before.field},
                        {"asked", one.before.wanted},
                        {"was", ValueJson(one.before.camera)},
                        {"is", ValueJson(one.after)}});
    return json;
}

ordered_json FindingJson(const SCameraFinding& finding) {
    ordered_json json{{"name", finding.camera->name},
                      {"address", finding.camera->address},
                      {"state", NameOf(finding.state)}};
    if (!finding.differences.empty())
        json["differences"] = DifferencesJson(finding.differences);
    if (!finding.changes.empty())
        json["changes"] = ChangesJson(finding.changes);
    if (finding.problem)
        json["problem"] = ProblemObject(*finding.problem);
    for (const ordered_json& check : finding.checks)
        json["checks"].push_back(check);
    return json;
}

CSiteCamera::CSiteCamera(const site::SSiteCamera& camera, const SRecorder& recorder, const SOptions& options,
                         CCredentials credentials)
    : camera_(camera),
      session_(recorder, OptionsFor(camera, options), std::move(credentials), camera.address) {}

std::optional<SDiagnosis> CSiteCamera::open() {
    auto problem = reach();
    if (problem && problem->cause == "wrong-password" && !camera_.credentials.empty())
        problem->advice = "give the camera's own as the credentials \"" + camera_.credentials +
                          "\" of the site file, or the camera others";
    return problem;
}

std::optional<SDiagnosis> CSiteCamera::reach() {
    const bool isKnown = !session_.options().modelNumber.empty() && camera_.serialNumber.empty();
    if (isKnown) {
        auto failure = session_.learnFamily();
        return failure ? failure : session_.initialize();
    }
    // Each family's request would have its own time to find out that nobody is there.
    const auto probed =
        refhost::ProbeConnection(camera_.address, session_.options().patience(LongestIdentification));
    if (probed.kind != HttpFailure::None)
        return NobodyThere(camera_.address, *session_.plugin().models(), probed).failure;
    if (auto failure = session_.askIdentity())
        return failure;
    if (!camera_.serialNumber.empty() && session_.serialNumber() != camera_.serialNumber) {
        auto other = AnotherCamera(camera_.serialNumber, session_.serialNumber());
        other.phase = SitePhase;
        return other;
    }
    return session_.initialize();
}

void CSiteCamera::compare(SCameraFinding& finding, const SAllowances& allowances) {
    finding.serialNumber = session_.serialNumber();
    if (camera_.streams.empty() && camera_.adjustments.empty())
        return;
    if ((finding.problem = unreadable()))
        return;
    if (!session_.model()) {
        SDiagnosis unknown;
        unknown.problem = "the model list does not have the camera's model";
        unknown.advice = "give the camera's \"model\" in the site file, or a model list that has it";
        unknown.cause = "not-supported";
        unknown.phase = SitePhase;
        finding.problem = unknown;
        return;
    }
    try {
        for (SComparison& one : drift().compare(WishOf(camera_)))
            if (one.match == SComparison::Match::Same || isAccepted(one, allowances))
                continue;
            else if (IsIgnored(camera_, one.of, one.field, allowances.today))
                ++finding.ignored;
            else
                finding.differences.push_back(std::move(one));
        finding.problem = impossible(finding, allowances);
    } catch (const CFailure& failure) { // a wish that this camera cannot have
        finding.problem = DiagnoseOwn(failure);
        finding.problem->phase = SitePhase;
    }
    if (auto unread = unreadable()) // while it was compared
        finding.problem = std::move(unread);
    if (!finding.differences.empty())
        finding.state = CameraState::Differs;
}

std::optional<SDiagnosis> CSiteCamera::impossible(const SCameraFinding& finding,
                                                  const SAllowances& allowances) const {
    auto problem = drift().impossible(WishOf(camera_, allowances.today));
    for (const SComparison& one : finding.differences)
        if (!problem && one.camera.empty())
            problem = NotReported(ToldOf(one.of) + ", " + one.field, SitePhase);
    if (problem)
        problem->phase = SitePhase;
    return problem;
}

void CSiteCamera::set(SCameraFinding& finding, const SAllowances& allowances) {
    if (finding.problem || finding.differences.empty())
        return;
    for (const SComparison& one : finding.differences)
        if ((finding.problem = CDrift::unsettable(one)))
            return;
    const std::vector<SComparison> before = std::exchange(finding.differences, {});
    if ((finding.problem = write(before, allowances.today)))
        return;
    const std::vector<SComparison> after = drift().compare(WishOf(camera_));
    if ((finding.problem = unreadable())) {
        finding.problem->phase = ReadBackPhase;
        return;
    }
    finding.state = CameraState::Changed;
    for (const SComparison& one : after) {
        const auto was = std::find_if(before.begin(), before.end(), [&](const SComparison& other) {
            return other.of == one.of && other.field == one.field;
        });
        if (was != before.end())
            finding.changes.push_back({*was, one.camera});
        if (one.match == SComparison::Match::Same || isAccepted(one, allowances) ||
            IsIgnored(camera_, one.of, one.field, allowances.today))
            continue;
        if (one.match == SComparison::Match::Rounded) {
            allowances.accepted->take(acceptedOf(one));
            continue;
        }
        finding.differences.push_back(one);
        finding.state = CameraState::NotAccepted;
    }
}

std::optional<SDiagnosis> CSiteCamera::write(const std::vector<SComparison>& differences,
                                             const std::string& today) {
    for (const site::SStreamWish& wish : camera_.streams) {
        const bool differs = std::any_of(differences.begin(), differences.end(), [&](const SComparison& one) {
            return one.of == OfStreamPrefix + wish.name;
        });
        if (differs)
            if (auto problem = writeStream(wish, today))
                return problem;
    }
    for (const SComparison& one : differences)
        if (one.of == OfAdjustments)
            if (auto problem = writeAdjustment(one))
                return problem;
    return std::nullopt;
}

// What the file ignores stays as the camera has it.
std::optional<SDiagnosis> CSiteCamera::writeStream(const site::SStreamWish& wish, const std::string& today) {
    ordered_json record = ordered_json::object();
    for (const auto& [field, value] : wish.record)
        if (!IsIgnored(camera_, OfStreamPrefix + wish.name, field, today))
            record[field] = value;
    const std::string wanted = drift().recordWith(wish.name, record);
    const char* const operation = "syncVideoCodecProperties";
    (void)session_.exchanges().takeFailing();
    return writeProblem(operation, ask(operation, {wanted, wish.name}));
}

std::optional<SDiagnosis> CSiteCamera::writeAdjustment(const SComparison& difference) {
    const SAdjustmentInfo& info = *FindAdjustment(difference.field);
    const CAdjustments adjustments(
        [this](const std::string& operation, const Texts& arguments) { return ask(operation, arguments); },
        *session_.model(), FirstInput);
    (void)session_.exchanges().takeFailing();
    auto problem =
        writeProblem(std::string("set") + info.operation, adjustments.set(info, difference.wanted));
    if (!problem)
        (void)adjustments.readSettled(info);
    return problem;
}

std::optional<SDiagnosis> CSiteCamera::writeProblem(const std::string& operation,
                                                    const std::optional<SAnswer>& answer) {
    if (answer)
        return ProblemOf(session_, operation, *answer);
    return DiagnoseOwn({ExitStatus::CallFailed, "the camera has no " + operation});
}

CDrift CSiteCamera::drift() const {
    return {*session_.model(), [this](const std::string& operation, const Texts& arguments) {
                return ask(operation, arguments);
            }};
}

site::SAcceptedValue CSiteCamera::acceptedOf(const SComparison& value) const {
    return {camera_.name, camera_.address, value.of, value.field, value.wanted, value.camera};
}

bool CSiteCamera::isAccepted(const SComparison& value, const SAllowances& allowances) const {
    return value.match == SComparison::Match::Rounded && allowances.accepted->has(acceptedOf(value));
}

// What all comparing rests on.
std::optional<SDiagnosis> CSiteCamera::unreadable() {
    (void)ask("getCameraName", {"0"}); // waits for the settings
    return DiagnoseUnread(session_.exchanges());
}

std::optional<SAnswer> CSiteCamera::ask(const std::string& operation, const Texts& arguments) const {
    return AnswerIfThere(session_.operations(), operation, arguments);
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

} // namespace corvane::site
