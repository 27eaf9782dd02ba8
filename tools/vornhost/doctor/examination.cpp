#include "tools/vornhost/doctor/examination.h"

#include "site/base/elapsed.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <iterator>
#include <tuple>
#include <utility>

namespace corvane::vornhost {
namespace {

using Clock = std::chrono::steady_clock;

// Every check, the roots before what follows from them; "stream" and "input" stand for one or more.
constexpr const char* Checks[] = {"address",   "connect",  "http",         "credentials", "identity",
                                  "model",     "settings", "capability",   "position",    "stream",
                                  "audio",     "input",    "answer-times", "clock",       "write-test",
                                  "move-test", "drift"};

std::size_t RankOf(const std::string& check) {
    const std::string name = check.substr(0, check.find(':'));
    return static_cast<std::size_t>(std::find(std::begin(Checks), std::end(Checks), name) -
                                    std::begin(Checks));
}

// A check on which others rest: one lost request is not what all of them fail of. Where the second try is
// well, the first is a warning.
CExamination::Check Twice(const CExamination::Check& check) {
    return [check] {
        SFinding first = check();
        if (first.result != CheckResult::Fault || first.problem->cause != "dropped")
            return first;
        SFinding second = check();
        if (second.problem)
            return second;
        first.result = CheckResult::Warning;
        first.problem->reply += "; the second try was answered";
        return first;
    };
}

} // namespace

CExamination::CExamination(CDeviceSession& session, SExaminationPlan plan, SReports reports)
    : session_(session), plan_(std::move(plan)), reports_(std::move(reports)) {}

std::vector<SFinding> CExamination::run() {
    examineConnection();
    examineIdentity();
    examineSettings();
    examineData();
    return findings_;
}

const SFinding* CExamination::rootOf(const std::vector<SFinding>& findings) {
    const SFinding* root = nullptr;
    const auto isBefore = [](const SFinding& one, const SFinding& other) {
        const auto order = [](const SFinding& finding) {
            return std::make_tuple(finding.result != CheckResult::Fault,
                                   finding.problem->cause != "restarting", RankOf(finding.check));
        };
        return order(one) < order(other);
    };
    for (const SFinding& finding : findings)
        if (finding.problem && (!root || isBefore(finding, *root)))
            root = &finding;
    return root;
}

std::string CExamination::missing(const std::vector<std::string>& needs) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const std::string& need : needs)
        if (const auto found = missing_.find(need); found != missing_.end())
            return found->second;
    return {};
}

void CExamination::note(SFinding finding) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (finding.result == CheckResult::Fault)
        missing_[finding.check] = finding.check;
    if (finding.result == CheckResult::Skipped)
        missing_[finding.check] = finding.because;
    reports_.finding(finding);
    findings_.push_back(std::move(finding));
}

bool CExamination::check(const std::string& name, const std::vector<std::string>& needs, const Check& check) {
    SFinding finding;
    if (const std::string because = missing(needs); !because.empty()) {
        finding.result = CheckResult::Skipped;
        finding.because = because;
    } else {
        const Clock::time_point start = Clock::now();
        finding = check();
        if (finding.result == CheckResult::Fault && isReached_)
            TellRestart(*finding.problem, session_.address());
        finding.milliseconds = MillisecondsSince(start);
    }
    finding.check = name;
    const bool isUsable = finding.result == CheckResult::Ok || finding.result == CheckResult::Warning;
    note(std::move(finding));
    return isUsable;
}

void CExamination::examineConnection() {
    reports_.begins("the camera to take a connection");
    check("address", {}, [this] { return address(); });
    isReached_ = check("connect", {"address"}, [this] { return connection(); });
    reports_.begins("the camera to say what it is");
    check("http", {"connect"}, Twice([this] { return http(); }));
    if (const auto other = anotherCamera()) // which is asked nothing more
        check("identity", {}, [&other] { return Faulty(*other); });
    reports_.begins("the camera's settings");
    check("credentials", {"http", "identity"}, Twice([this] { return credentials(); }));
    check("settings", {"credentials"}, Twice([this] { return settings(); }));
}

void CExamination::examineIdentity() {
    reports_.begins("the plug-in to identify the camera");
    const bool isIdentified =
        !anotherCamera() && check("identity", {"credentials"}, Twice([this] { return identity(); }));
    // The camera object would wait for the same dump of the settings.
    const bool isDumpLost = settingsReply_ && settingsReply_->status == 0;
    if (isIdentified && !unknownModel_ && !isDumpLost) {
        reports_.begins("the plug-in to take the camera");
        unusable_ = session_.initialize();
        if (unusable_ && unusable_->cause == "unknown-model")
            unknownModel_ = unusable_;
    }
    check("model", {"identity"}, [this] {
        const SModelInfo* const model = session_.model();
        return unknownModel_ ? Faulty(*unknownModel_)
                             : Sound(model ? model->number + ", " + model->label : "");
    });
}

void CExamination::examineSettings() {
    check("capability", {"credentials", "model"}, Twice([this] { return capability(); }));
    const std::vector<std::string> usable{"settings", "capability"};
    if (missing(usable).empty() ? hasHead() : true)
        check("position", usable, Twice([this] { return position(); }));
}

// Side by side, since each takes its time.
void CExamination::examineData() {
    const std::vector<std::string> usable{"settings", "capability"};
    if (const std::string because = missing(usable); !because.empty()) {
        for (const char* name : {"stream", "audio", "input"})
            check(name, usable, {});
        check("answer-times", {"credentials", "identity"}, [this] { return answerTimes(); });
        check("clock", {"http"}, [this] { return clock(); });
        return;
    }
    reports_.begins("pictures, sound and alarm inputs");
    const std::vector<SStream> all = streams();
    const Check audio = audioCheck(all);
    const int inputs = inputCount();
    std::vector<std::future<void>> running;
    const auto run = [&](auto work) { running.push_back(std::async(std::launch::async, work)); };
    for (const SStream& stream : all)
        run([this, &stream] {
            check("stream:" + stream.text, {}, [&] { return taken([&] { return playedStream(stream); }); });
        });
    if (audio)
        run([this, &audio] { check("audio", {}, [&] { return taken(audio); }); });
    if (inputs > 0)
        run([this, inputs] {
            const Clock::time_point start = Clock::now();
            auto findings = CheckInputs(
                inputs,
                [this](const std::string& path, int timeOut,
                       std::function<bool(const std::string&)> isEnough) {
                    return session_.ask(path, timeOut, std::move(isEnough));
                },
                [this](const std::string& path) { return session_.diagnose(path); });
            for (SFinding& finding : findings) {
                finding.milliseconds = MillisecondsSince(start);
                note(std::move(finding));
            }
        });
    run([this] { check("answer-times", {}, [this] { return answerTimes(); }); });
    for (std::future<void>& one : running)
        one.get();
    check("clock", {}, [this] { return clock(); });
    if (plan_.withWrite)
        check("write-test", {}, [this] { return writeTest(); });
    if (plan_.withMove && hasHead())
        check("move-test", {"position"}, [this] { return moveTest(); });
    if (plan_.record)
        check("drift", {}, [this] { return drift(); });
}

} // namespace corvane::vornhost
