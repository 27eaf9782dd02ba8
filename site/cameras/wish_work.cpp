#include "site/cameras/wish_work.h"

#include "site/cameras/site_wish.h"
#include "site/session/answered_call.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace corvane::site {
namespace {

constexpr const char* SitePhase = "site";
constexpr const char* ReadBackPhase = "read-back";

// To focus once, which leaves the camera in no state of the name.
bool IsAction(const SComparison& one) {
    const SAdjustmentInfo* const info = one.of == OfAdjustments ? FindAdjustment(one.field) : nullptr;
    return info && info->form == AdjustmentForm::Action;
}

} // namespace

// The plug-in reads the settings anew behind a write alone, so that a request which changes nothing goes as
// one.
std::optional<SDiagnosis> CWishWork::readAnew() {
    const char* const operation = "setting.SetCameraSetting";
    (void)session_.exchanges().takeFailing();
    return writeProblem(operation, ask(operation, {session_.modelRequest(), ""}));
}

void CWishWork::compare(SCameraFinding& finding, const SAllowances& allowances) {
    finding.serialNumber = session_.serialNumber();
    if (wish_.streams.empty() && wish_.adjustments.empty())
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
        for (SComparison& one : drift().compare(WishOf(wish_)))
            if (one.match == SComparison::Match::Same || isAccepted(one, allowances))
                continue;
            else if (IsIgnored(wish_, one.of, one.field, allowances.today))
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

std::optional<SDiagnosis> CWishWork::impossible(const SCameraFinding& finding,
                                                const SAllowances& allowances) const {
    auto problem = drift().impossible(WishOf(wish_, allowances.today));
    for (const SComparison& one : finding.differences)
        if (!problem && one.camera.empty() && !IsAction(one)) {
            problem = CDrift::unsettable(one);
            if (!problem)
                problem = NotReported(ToldOf(one.of) + ", " + one.field, SitePhase);
        }
    if (problem)
        problem->phase = SitePhase;
    return problem;
}

void CWishWork::set(SCameraFinding& finding, const SAllowances& allowances) {
    if (finding.problem || finding.differences.empty())
        return;
    for (const SComparison& one : finding.differences)
        if ((finding.problem = CDrift::unsettable(one)))
            return;
    const std::vector<SComparison> before = std::exchange(finding.differences, {});
    if ((finding.problem = write(before, allowances.today)))
        return;
    const std::vector<SComparison> after = drift().compare(WishOf(wish_));
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
        if (one.match == SComparison::Match::Same || IsAction(one) || isAccepted(one, allowances) ||
            IsIgnored(wish_, one.of, one.field, allowances.today))
            continue;
        if (one.match == SComparison::Match::Rounded) {
            allowances.accepted->take(acceptedOf(one));
            continue;
        }
        finding.differences.push_back(one);
        finding.state = CameraState::NotAccepted;
    }
}

std::optional<SDiagnosis> CWishWork::write(const std::vector<SComparison>& differences,
                                           const std::string& today) {
    for (const site::SStreamWish& wish : wish_.streams) {
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
std::optional<SDiagnosis> CWishWork::writeStream(const site::SStreamWish& wish, const std::string& today) {
    ordered_json record = ordered_json::object();
    for (const auto& [field, value] : wish.record)
        if (!IsIgnored(wish_, OfStreamPrefix + wish.name, field, today))
            record[field] = value;
    const std::string wanted = drift().recordWith(wish.name, record);
    const char* const operation = "syncVideoCodecProperties";
    (void)session_.exchanges().takeFailing();
    return writeProblem(operation, ask(operation, {wanted, wish.name}));
}

std::optional<SDiagnosis> CWishWork::writeAdjustment(const SComparison& difference) {
    const SAdjustmentInfo& info = *FindAdjustment(difference.field);
    const CAdjustments adjustments(
        [this](const std::string& operation, const Texts& arguments) { return ask(operation, arguments); },
        *session_.model(), FirstInput);
    (void)session_.exchanges().takeFailing();
    auto problem =
        writeProblem(std::string("set") + info.operation, adjustments.set(info, difference.wanted));
    if (!problem)
        (void)adjustments.readSettled(TellingAdjustment(info));
    return problem;
}

std::optional<SDiagnosis> CWishWork::writeProblem(const std::string& operation,
                                                  const std::optional<SAnswer>& answer) {
    if (answer)
        return ProblemOf(session_, operation, *answer);
    return DiagnoseOwn({ExitStatus::CallFailed, "the camera has no " + operation});
}

CDrift CWishWork::drift() const {
    return {*session_.model(), [this](const std::string& operation, const Texts& arguments) {
                return ask(operation, arguments);
            }};
}

site::SAcceptedValue CWishWork::acceptedOf(const SComparison& value) const {
    return {wish_.name, wish_.address, value.of, value.field, value.wanted, value.camera};
}

bool CWishWork::isAccepted(const SComparison& value, const SAllowances& allowances) const {
    return value.match == SComparison::Match::Rounded && allowances.accepted->has(acceptedOf(value));
}

// What all comparing rests on.
std::optional<SDiagnosis> CWishWork::unreadable() {
    (void)ask("getCameraName", {"0"}); // waits for the settings
    return DiagnoseUnread(session_.exchanges());
}

std::optional<SAnswer> CWishWork::ask(const std::string& operation, const Texts& arguments) const {
    return AnswerIfThere(session_.operations(), operation, arguments);
}

} // namespace corvane::site
