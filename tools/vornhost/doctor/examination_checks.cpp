// What each check looks at that changes nothing.

#include "tools/vornhost/doctor/examination.h"

#include "site/base/elapsed.h"
#include "site/base/terminal_text.h"
#include "site/cameras/drift.h"
#include "site/diagnosis/reply_checks.h"
#include "site/session/answered_call.h"
#include "site/session/identification.h"
#include "tools/vornhost/doctor/camera_clock.h"
#include "tools/vornhost/names.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace corvane::vornhost {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* PositionPath = "/cgi-bin/absget";
constexpr int AnswerSeconds = 4; // as long as the plug-in waits
constexpr int SettingsSeconds = 20;
constexpr int Unauthorized = 401;
constexpr int Forbidden = 403;
constexpr int Busy = 503;

} // namespace

SFinding CExamination::address() {
    probed_ = refhost::ProbeConnection(session_.address(),
                                       session_.options().patience(std::chrono::seconds(AnswerSeconds)));
    return probed_.kind == refhost::HttpFailure::NameNotFound ? Faulty(unconnected()) : Sound("");
}

SFinding CExamination::connection() const {
    return probed_.kind == refhost::HttpFailure::None ? Sound("") : Faulty(unconnected());
}

SDiagnosis CExamination::unconnected() const {
    return *NobodyThere(session_.address(), *session_.plugin().models(), probed_).failure;
}

// Any status will do, save one that says that the camera is elsewhere.
SFinding CExamination::http() {
    identityReply_ = session_.ask(identityPath(), AnswerSeconds);
    if (identityReply_->status == Busy) // perhaps on its way to a restart
        identityReply_ = session_.ask(identityPath(), AnswerSeconds);
    const bool isRedirect = identityReply_->status >= 300 && identityReply_->status < 400;
    if (identityReply_->status == 0 || isRedirect)
        return Faulty(session_.diagnose(identityPath(), Occasion::Identification));
    return Sound("");
}

SFinding CExamination::credentials() {
    const auto isRefused = [](const refhost::SHttpReply& reply) { return reply.status == Unauthorized; };
    if (isRefused(*identityReply_))
        return Faulty(session_.diagnose(identityPath(), Occasion::Identification));
    settingsReply_ = session_.ask(SettingsRequest, SettingsSeconds);
    const bool isForbidden = identityReply_->status == Forbidden && settingsReply_->status == Forbidden;
    if (isRefused(*settingsReply_) || isForbidden)
        return Faulty(session_.diagnose(SettingsRequest));
    if (auto weaker = session_.weakerAuthentication())
        return Warned(*weaker);
    return Sound("");
}

std::optional<SDiagnosis> CExamination::anotherCamera() const {
    if (plan_.serialNumber.empty() || !identityReply_ || identityReply_->status != 200 ||
        !TellsAModel(identityReply_->body))
        return std::nullopt;
    const std::string serial = SerialNumberIn(identityReply_->body);
    if (serial == plan_.serialNumber)
        return std::nullopt;
    SDiagnosis other = AnotherCamera(plan_.serialNumber, serial);
    other.phase = "identify";
    return other;
}

SFinding CExamination::identity() {
    // The plug-in would ask the same for 5 s, and say no more.
    if (identityReply_->status != 200 || !TellsAModel(identityReply_->body))
        return Faulty(session_.diagnose(identityPath(), Occasion::Identification));
    if (!session_.options().modelNumber.empty())
        return Sound("--model says what it is");
    auto failure = session_.learnFamily();
    if (failure && failure->cause != "unknown-model") // it has answered the same before: once may be chance
        failure = session_.learnFamily();
    if (failure && failure->cause == "unknown-model")
        unknownModel_ = std::move(failure);
    else if (failure)
        return Faulty(*failure);
    if (auto two = twoDevices())
        return Faulty(*two);
    return Sound(session_.familyName() + " " + session_.serialNumber());
}

// More than one serial number in what the camera has said of itself.
std::optional<SDiagnosis> CExamination::twoDevices() const {
    (void)session_.ask(identityPath(), AnswerSeconds);
    std::string first;
    for (const SWatchedExchange& exchange : session_.exchanges().transcript()) {
        const std::string serial = SerialNumberIn(exchange.reply);
        if (exchange.path != identityPath() || serial.empty())
            continue;
        if (first.empty())
            first = serial;
        if (serial == first)
            continue;
        SDiagnosis problem = session_.diagnose(identityPath(), Occasion::Identification);
        problem.problem = "two devices answer in turn at this address";
        problem.reply = "serial number " + first + ", and then " + serial;
        problem.advice = "give each device an address of its own";
        problem.cause = "differs";
        problem.isCertain = true;
        return problem;
    }
    return std::nullopt;
}

SFinding CExamination::settings() {
    auto problem = dumpProblem();
    return problem ? Faulty(*problem) : Sound(std::to_string(SettingsIn(settingsReply_->body)) + " settings");
}

// Of the latest dump of the settings.
std::optional<SDiagnosis> CExamination::dumpProblem() const {
    const auto exchange = session_.exchanges().lastOf(SettingsRequest);
    if (!exchange)
        return std::nullopt;
    SDiagnosis problem = DiagnoseExchange(*exchange, session_.exchanges());
    if (exchange->status != 200)
        return problem;
    problem.isCertain = true;
    const std::string missing = MissingSetting(exchange->reply);
    const auto fault = FaultOfDump(exchange->reply, missing.empty());
    if (fault && problem.cause == "damaged") // no better is known from what it looks like
        problem.problem = *fault;
    return fault ? problem : DiagnoseMissingSetting(session_.exchanges());
}

SFinding CExamination::capability() {
    if (unusable_)
        return Faulty(*unusable_);
    if (settingsReply_->status == 0) { // there is no camera object to ask
        const auto reply = session_.ask(CapabilityRequest, AnswerSeconds);
        return reply.status == 200 && !FaultOfCapability(reply.body)
                   ? Sound("")
                   : Faulty(session_.diagnose(CapabilityRequest));
    }
    const auto reply = session_.exchanges().lastOf(CapabilityRequest);
    const auto codecs = call("capability.getVideoCodecsSupported", {});
    const auto* const bits = codecs ? std::get_if<long long>(&codecs->result) : nullptr;
    const auto fault = reply ? FaultOfCapability(reply->reply) : std::nullopt;
    if (bits && *bits != 0 && !fault)
        return Sound("");
    SDiagnosis problem = reply ? DiagnoseExchange(*reply, session_.exchanges()) : SDiagnosis();
    problem.phase = "capability";
    problem.isCertain = true;
    if (!fault && problem.cause == "damaged") {
        problem.cause = "not-reported";
        problem.problem = "the camera's capability names no video codec";
    } else if (problem.cause == "damaged") {
        problem.problem = *fault;
    }
    return Faulty(problem);
}

bool CExamination::hasHead() const {
    const SModelInfo* const model = session_.model();
    return model && model->ptz;
}

SFinding CExamination::position() {
    (void)session_.exchanges().takeFailing();
    const auto answer = call("getPtzPosition", {"0"});
    if (!answer)
        return Sound("");
    if (auto problem = ProblemOf(session_, "getPtzPosition", *answer)) {
        problem->phase = "position";
        return Faulty(*problem);
    }
    const auto reply = session_.exchanges().lastOf(PositionPath);
    if (reply && !TellsAxis(reply->reply, "PAN=")) {
        SDiagnosis problem = DiagnoseExchange(*reply, session_.exchanges());
        problem.phase = "position";
        problem.isCertain = true;
        if (problem.cause == "damaged")
            problem.problem = "the camera's position cannot be read";
        if (TellsAxis(reply->reply, "TILT=") || TellsAxis(reply->reply, "tilt=")) {
            problem.cause = "not-reported";
            problem.problem = "the camera does not tell where its head stands on the pan axis";
        }
        return Faulty(problem);
    }
    return Sound(answer->values.empty() ? "" : answer->values.front());
}

// Ten requests one after another, or as many as are answered in the time that a verdict may take.
SFinding CExamination::answerTimes() {
    constexpr int Requests = 10;
    constexpr double Longest = 4'000; // ms for all
    constexpr double SlowMedian = 1'000;
    constexpr double SlowAnswer = 2'000;
    const Clock::time_point start = Clock::now();
    std::vector<double> times;
    std::optional<SDiagnosis> lost;
    int lostCount = 0;
    for (int i = 0; i < Requests && MillisecondsSince(start) < Longest; ++i) {
        const Clock::time_point asked = Clock::now();
        const auto reply = session_.ask(identityPath(), AnswerSeconds);
        times.push_back(MillisecondsSince(asked));
        if (reply.status == 200)
            continue;
        ++lostCount;
        lost = session_.diagnose(identityPath());
    }
    std::sort(times.begin(), times.end());
    const double median = times[times.size() / 2];
    const std::string seen = "median " + MillisecondsText(median) + ", longest " +
                             MillisecondsText(times.back()) + ", " + std::to_string(lostCount) + " of " +
                             std::to_string(times.size()) + " lost";
    if (lost) {
        lost->reply += "; " + seen;
        return Faulty(*lost);
    }
    if (median < SlowMedian && times.back() < SlowAnswer)
        return Sound(seen);
    SDiagnosis slow;
    slow.problem = "the camera answers slowly";
    slow.request = "GET http://" + session_.address() + identityPath();
    slow.reply = seen;
    slow.advice = "see who else asks the camera all the time, and how many streams it sends";
    slow.cause = "slow";
    slow.phase = "identify";
    return median < SlowMedian ? Warned(slow) : Faulty(slow);
}

SFinding CExamination::clock() {
    const auto clock = ClockOf(session_.exchanges().transcript());
    if (const auto date = UnreadableDate(session_.exchanges().transcript())) {
        SDiagnosis unreadable;
        unreadable.problem = "the camera's time cannot be read";
        unreadable.request = "GET http://" + session_.address() + identityPath();
        unreadable.reply = "Date: " + *date;
        unreadable.advice = "set the camera's clock";
        unreadable.cause = "not-reported";
        unreadable.phase = "clock";
        return Warned(unreadable);
    }
    if (!clock)
        return Sound("the camera does not tell its time");
    if (!clock->isWrong())
        return Sound(clock->text());
    SDiagnosis wrong;
    wrong.problem = clock->leaps() ? "the camera's clock leaps" : "the camera's clock is wrong";
    wrong.request = "GET http://" + session_.address() + identityPath();
    wrong.reply = clock->text();
    wrong.advice = "set the camera's clock, and let it ask a time server (NTP)";
    wrong.cause = "clock-off";
    wrong.phase = "clock";
    return Faulty(wrong);
}

SFinding CExamination::drift() {
    const CDrift drift(*session_.model(), [this](const std::string& operation, const Texts& arguments) {
        return call(operation, arguments);
    });
    Texts differences;
    try {
        for (const SComparison& difference : drift.between(*plan_.record))
            differences.push_back(difference.text());
    } catch (const CFailure& failure) { // a wish that this camera cannot have
        return Faulty(DiagnoseOwn(failure));
    }
    if (differences.empty())
        return Sound("as the record wants it");
    SDiagnosis problem;
    problem.problem = "the camera is not set as the record wants it";
    problem.request = "what the record sets";
    problem.reply = Join(differences, "; ");
    problem.advice =
        "set it with `vornhost sync` and `vornhost image`, or take the camera's values as the wish";
    problem.cause = "differs";
    problem.phase = "read-back";
    return Faulty(problem);
}

std::string CExamination::identityPath() const {
    return FirstRequest(*session_.plugin().models());
}

std::optional<SAnswer> CExamination::call(const std::string& operation, const Texts& arguments) const {
    return AnswerIfThere(session_.operations(), operation, arguments);
}

std::string CExamination::setting(const std::string& key) const {
    const auto answer = call("setting.GetCameraSetting", {key});
    const auto* const text = answer ? std::get_if<std::string>(&answer->result) : nullptr;
    return text ? *text : "";
}

} // namespace corvane::vornhost
