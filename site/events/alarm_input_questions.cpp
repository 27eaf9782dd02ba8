#include "site/events/alarm_input_questions.h"

#include "site/events/alarm_input_levels.h"

#include <algorithm>
#include <map>
#include <utility>
#include <variant>

namespace corvane::site {
namespace {

constexpr std::chrono::seconds CameraPatience{2}; // for the answer to another request
constexpr const char* MonitorSilent = "monitor-silent";
constexpr const char* NoAnswer = "no-answer";
constexpr const char* ActiveLevel = "High"; // as the plug-in has it, whatever the contact
constexpr const char* InactiveLevel = "Low";

// In the camera's words.
std::string LevelOf(const SStreamEvent& event) {
    return event.state == device_handler::v1_0::DryContactActive ? ActiveLevel : InactiveLevel;
}

} // namespace

bool HasLevel(const SStreamEvent& event, const std::string& level) {
    return LevelOf(event) == level;
}

std::optional<SDiagnosis>
CAlarmInputQuestions::listen(const std::function<void(const std::string& told)>& comes) const {
    constexpr int Seconds = 1;
    return FaultOfMonitor(Seconds, askPath(), diagnosePath(), comes);
}

std::optional<SDiagnosis> CAlarmInputQuestions::refusalOf(const SStreamEvent& first) const {
    const auto exchange = session_.exchanges().lastOf(MonitorPath);
    const bool isRefusedByStatus = exchange && exchange->status != 0 && !exchange->failure.empty();
    if (isRefusedByStatus && levelOtherwise() == LevelOf(first))
        return std::nullopt;
    auto refusal = lookAtMonitor();
    const bool isSilent = refusal && (refusal->cause == MonitorSilent || refusal->cause == NoAnswer);
    return isSilent ? std::nullopt : refusal;
}

std::optional<SDiagnosis> CAlarmInputQuestions::contradiction(std::string level) const {
    constexpr int Attempts = 3;
    std::string other;
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        other = levelOtherwise();
        if (other.empty() || other == level)
            return std::nullopt;
        const SMonitorLook look = monitorLook();
        if (const auto found = look.levels.find(input_); found != look.levels.end())
            level = found->second;
    }
    return TwoLevels(level, other);
}

std::optional<SDiagnosis> CAlarmInputQuestions::askOtherwise() const {
    const auto answer = AskAlarmInputLevels(session_, CameraPatience);
    const auto* const failure = std::get_if<SDiagnosis>(&answer);
    return failure ? std::optional(*failure) : std::nullopt;
}

SDiagnosis CAlarmInputQuestions::whySilent() const {
    if (auto problem = askOtherwise())
        return *problem;
    if (auto problem = lookAtMonitor())
        return *problem;
    std::string url;
    (void)session_.camera().getEventStreamUrl(input_, url);
    SDiagnosis diagnosis;
    diagnosis.problem = "the camera answers, but writes nothing of its alarm inputs";
    diagnosis.request = "GET " + url;
    diagnosis.reply = "nothing so far; it is waited for without limit";
    diagnosis.advice = "restart the camera if it stays so, and see what stands between it and here";
    diagnosis.cause = MonitorSilent;
    diagnosis.phase = MonitorPhase;
    return diagnosis;
}

// The level that the camera tells when it is asked; empty where it does not.
std::string CAlarmInputQuestions::levelOtherwise() const {
    const auto answer = AskAlarmInputLevels(session_, CameraPatience);
    const auto* const levels = std::get_if<std::map<int, std::string>>(&answer);
    const auto level = levels ? levels->find(input_) : std::map<int, std::string>::const_iterator();
    return levels && level != levels->end() ? level->second : "";
}

SMonitorLook CAlarmInputQuestions::monitorLook() const {
    return lookAtMonitor(std::vector<int>{input_});
}

SMonitorLook CAlarmInputQuestions::lookAtMonitor(const std::vector<int>& inputs) const {
    constexpr int Patience = 2; // seconds
    return LookAtMonitor(Patience, askPath(), diagnosePath(), [&inputs](const auto& levels) {
        return std::all_of(inputs.begin(), inputs.end(),
                           [&levels](int input) { return levels.count(input) > 0; });
    });
}

AskPath CAlarmInputQuestions::askPath() const {
    return [this](const std::string& path, int timeOut, std::function<bool(const std::string&)> isEnough) {
        return session_.ask(path, timeOut, std::move(isEnough));
    };
}

DiagnosePath CAlarmInputQuestions::diagnosePath() const {
    return [this](const std::string& path) { return session_.diagnose(path); };
}

} // namespace corvane::site
