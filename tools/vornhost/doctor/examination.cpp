#include "tools/vornhost/doctor/examination.h"

#include "refhost/http/device_requests.h"
#include "refhost/streams/stream_location.h"
#include "tools/vornhost/calls/call.h"
#include "tools/vornhost/console/terminal_text.h"
#include "tools/vornhost/doctor/camera_clock.h"
#include "tools/vornhost/doctor/drift.h"
#include "tools/vornhost/doctor/reply_checks.h"
#include "tools/vornhost/report/adjustments.h"
#include "tools/vornhost/session/identification.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <future>
#include <iterator>
#include <thread>
#include <tuple>
#include <utility>

namespace corvane::vornhost {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* SettingsPath = "/cgi-bin/setdata";
constexpr const char* CapabilityPath = "/cgi-bin/get_capability";
constexpr const char* PositionPath = "/cgi-bin/absget";
constexpr int AnswerSeconds = 4; // as long as the plug-in waits
constexpr int SettingsSeconds = 20;
constexpr int Unauthorized = 401;
constexpr int Forbidden = 403;
constexpr int Busy = 503;

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

double MillisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// The settings that switch a stream of a codec on, and its delivery over RTSP; behind them "_2" for the
// second.
constexpr struct {
    VideoCodec codec;
    const char* name;
    const char* transmission;
    const char* rtsp;
} CodedStreams[] = {{VideoCodec::H264, "h264", "H264", "H264RTSPMODE"},
                    {VideoCodec::Mpeg4, "mpeg4", "MPEG", "RTSPMODE"}};
constexpr const char* FamilyKey = "STREAMMODE"; // which of the two a camera runs that has both
constexpr const char* Mpeg4Family = "0";
constexpr const char* RtspPortKey = "RTSPPORT";
constexpr const char* AudioKey = "AUDIO";
constexpr const char* Off = "0";

std::optional<double> NumberOf(const std::string& text) {
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    return text.empty() || *end != '\0' ? std::nullopt : std::optional(number);
}

SDiagnosis SwitchedOff(const std::string& problem, const std::string& setting) {
    SDiagnosis diagnosis;
    diagnosis.problem = problem;
    diagnosis.request = std::string("the setting ") + setting;
    diagnosis.reply = "0";
    diagnosis.advice = "the recorder switches it on when it takes the stream; else do so at the camera";
    diagnosis.cause = "stream-off";
    diagnosis.phase = "stream";
    return diagnosis;
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
        if (finding.result == CheckResult::Fault)
            tellRestart(*finding.problem);
        finding.milliseconds = MillisecondsSince(start);
    }
    finding.check = name;
    const bool isUsable = finding.result == CheckResult::Ok || finding.result == CheckResult::Warning;
    note(std::move(finding));
    return isUsable;
}

// A camera that has broken off, and now takes no connection any more, restarts.
void CExamination::tellRestart(SDiagnosis& problem) const {
    constexpr const char* BrokenOff[] = {"dropped",     "cut",         "unconfirmed",        "refused",
                                         "unreachable", "stream-lost", "stream-unreachable", "no-answer"};
    const bool isBrokenOff = std::any_of(std::begin(BrokenOff), std::end(BrokenOff),
                                         [&problem](const char* cause) { return problem.cause == cause; });
    if (!isBrokenOff || !isReached_)
        return;
    constexpr std::chrono::seconds Patience{1};
    const auto now = refhost::ProbeConnection(session_.address(), session_.options().patience(Patience));
    if (now.kind == refhost::HttpFailure::None)
        return;
    problem.problem = "the camera was there a moment ago and is away: it probably restarts";
    problem.reply += "; now: " + now.failure;
    problem.advice = "wait a minute and try again; if it happens again and again, look at its power supply";
    problem.cause = "restarting";
    problem.isCertain = false;
}

void CExamination::examineConnection() {
    reports_.begins("the camera to take a connection");
    check("address", {}, [this] { return address(); });
    isReached_ = check("connect", {"address"}, [this] { return connection(); });
    reports_.begins("the camera to say what it is");
    check("http", {"connect"}, [this] { return http(); });
    reports_.begins("the camera's settings");
    check("credentials", {"http"}, [this] { return credentials(); });
    check("settings", {"credentials"}, [this] { return settings(); });
}

void CExamination::examineIdentity() {
    reports_.begins("the plug-in to identify the camera");
    const bool isIdentified = check("identity", {"credentials"}, [this] { return identity(); });
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
    check("capability", {"credentials", "model"}, [this] { return capability(); });
    const std::vector<std::string> usable{"settings", "capability"};
    if (missing(usable).empty() ? hasHead() : true)
        check("position", usable, [this] { return position(); });
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
            check("stream:" + stream.text, {}, [&] {
                return stream.isDelivered
                           ? CheckStream(stream.source, stream.id.codec, stream.wish)
                           : Faulty(SwitchedOff("the stream is not delivered over RTSP", "of its RTSP mode"));
            });
        });
    if (audio)
        run([this, &audio] { check("audio", {}, audio); });
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
    settingsReply_ = session_.ask(SettingsPath, SettingsSeconds);
    const bool isForbidden = identityReply_->status == Forbidden && settingsReply_->status == Forbidden;
    if (isRefused(*settingsReply_) || isForbidden)
        return Faulty(session_.diagnose(SettingsPath));
    if (auto weaker = session_.weakerAuthentication())
        return Warned(*weaker);
    return Sound("");
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
    for (const SHttpExchange& exchange : session_.exchanges().transcript()) {
        const std::string serial = SerialNumberIn(exchange.excerpt);
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
    auto problem = dumpProblem(SettingsPath);
    return problem ? Faulty(*problem) : Sound(std::to_string(SettingsIn(settingsReply_->body)) + " settings");
}

// Of the latest dump of the settings.
std::optional<SDiagnosis> CExamination::dumpProblem(const std::string& path) const {
    const auto exchange = session_.exchanges().lastOf(path);
    if (!exchange)
        return std::nullopt;
    SDiagnosis problem = DiagnoseExchange(*exchange, session_.exchanges());
    if (exchange->status != 200)
        return problem;
    problem.isCertain = true;
    const std::string missing = MissingSetting(exchange->excerpt);
    const auto fault = FaultOfDump(exchange->excerpt, missing.empty());
    if (fault && problem.cause == "damaged") // no better is known from what it looks like
        problem.problem = *fault;
    if (fault)
        return problem;
    if (missing.empty())
        return std::nullopt;
    problem.problem = "the camera does not tell a setting that a recorder needs";
    problem.reply = std::to_string(SettingsIn(exchange->excerpt)) + " settings, and no " + missing;
    problem.advice = "restart the camera; if it stays so, its firmware does not have the setting";
    problem.cause = "not-reported";
    return problem;
}

SFinding CExamination::capability() {
    if (unusable_)
        return Faulty(*unusable_);
    if (settingsReply_->status == 0) { // there is no camera object to ask
        const auto reply = session_.ask(CapabilityPath, AnswerSeconds);
        return reply.status == 200 && !FaultOfCapability(reply.body)
                   ? Sound("")
                   : Faulty(session_.diagnose(CapabilityPath));
    }
    const auto reply = session_.exchanges().lastOf(CapabilityPath);
    const auto codecs = call("capability.getVideoCodecsSupported", {});
    const auto* const bits = codecs ? std::get_if<long long>(&codecs->result) : nullptr;
    const auto fault = reply ? FaultOfCapability(reply->excerpt) : std::nullopt;
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
    if (auto problem = ProblemOf(session_, *answer)) {
        problem->phase = "position";
        return Faulty(*problem);
    }
    const auto reply = session_.exchanges().lastOf(PositionPath);
    if (reply && !TellsAxis(reply->excerpt, "PAN=")) {
        SDiagnosis problem = DiagnoseExchange(*reply, session_.exchanges());
        problem.phase = "position";
        problem.isCertain = true;
        if (problem.cause == "damaged")
            problem.problem = "the camera's position cannot be read";
        if (TellsAxis(reply->excerpt, "TILT=") || TellsAxis(reply->excerpt, "tilt=")) {
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

std::vector<CExamination::SStream> CExamination::streams() {
    std::vector<SStream> all;
    const SModelInfo* const model = session_.model();
    if (!model)
        return all;
    const auto add = [&](VideoCodec codec, const char* name, int stream, bool isDelivered) {
        const SVideoStreamId id{0, codec, stream};
        const auto* const codecName = device_handler::v1_0::FindCodecName(codec);
        const auto* const url = refhost::FindStreamUrl(model->videoUrls, stream, codecName->urlName, 0);
        const std::string text = std::string("0,") + name + "," + std::to_string(stream);
        if (url)
            all.push_back({id, text, sourceOf(*url), wishOf(text), isDelivered});
    };
    const std::string family = setting(FamilyKey);
    const char* firstOff = nullptr;
    for (const auto& row : CodedStreams) {
        const bool isOfFamily = family.empty() || (family == Mpeg4Family) == (row.codec == VideoCodec::Mpeg4);
        for (int stream = 0; stream < 2 && isOfFamily; ++stream) {
            const std::string suffix = stream == 0 ? "" : "_2";
            const std::string transmission = setting(row.transmission + suffix);
            if (transmission == Off && stream == 0)
                firstOff = row.name;
            if (!transmission.empty() && transmission != Off)
                add(row.codec, row.name, stream, setting(row.rtsp + suffix) != Off);
        }
    }
    if (all.empty() && firstOff)
        note(offStream(firstOff));
    // A camera that has no family switch sends MPEG-4 or MJPEG, not both.
    if (!family.empty())
        add(VideoCodec::Mjpeg, "mjpeg", 0, true);
    return all;
}

SFinding CExamination::offStream(const std::string& codec) {
    SFinding finding = Faulty(SwitchedOff("the camera transmits no stream", "of the stream's transmission"));
    finding.check = "stream:0," + codec + ",0";
    return finding;
}

SStreamWish CExamination::wishOf(const std::string& id) {
    SStreamWish wish;
    const auto camera = call("getVideoCodecParameters", {id});
    const auto recorder =
        camera ? call("convertVideoCodecToNvr", {id, RecordArgument(*camera)}) : std::nullopt;
    if (!recorder)
        return wish;
    for (const auto& [field, value] : recorder->recordOrEmpty()) {
        if (field == "resolution")
            wish.resolution = value;
        if (field == "frameRate")
            wish.frameRate = NumberOf(value);
        if (field == "keyFrameInterval")
            wish.keyFrameInterval = NumberOf(value);
    }
    return wish;
}

// Empty where the camera has no sound, or has it switched off.
CExamination::Check CExamination::audioCheck(const std::vector<SStream>& streams) {
    const SModelInfo* const model = session_.model();
    const auto supported = call("capability.IsAudioSupported", {"0"});
    const std::string mode = setting(AudioKey);
    constexpr const char* InputModes[] = {"in", "inter_half", "inter_full"};
    const bool isOn = std::any_of(std::begin(InputModes), std::end(InputModes),
                                  [&mode](const char* one) { return mode == one; });
    const bool isOfCamera = model && supported && std::holds_alternative<bool>(supported->result) &&
                            std::get<bool>(supported->result);
    if (isOfCamera && mode == "off")
        return [] {
            SDiagnosis off = SwitchedOff("the camera's sound is switched off", AudioKey);
            off.reply = "off";
            off.phase = "audio";
            return Warned(off);
        };
    if (!model || !supported || !std::holds_alternative<bool>(supported->result) ||
        !std::get<bool>(supported->result) || !isOn || streams.empty() || !streams.front().isDelivered)
        return {};
    const SStream& beside = streams.front();
    const auto* const codecName = device_handler::v1_0::FindCodecName(beside.id.codec);
    const auto* const url =
        refhost::FindStreamUrl(model->audioUrls, model->audioUrlBase, codecName->urlName, 0);
    if (!url)
        return {};
    return [pictures = beside.source, codec = beside.id.codec, sound = sourceOf(*url)] {
        return CheckAudio(pictures, codec, sound);
    };
}

int CExamination::inputCount() {
    const auto supported = call("capability.IsDryContactSupported", {});
    const auto count =
        supported && !supported->values.empty() ? NumberOf(supported->values.front()) : std::nullopt;
    return static_cast<int>(count.value_or(0));
}

// In the camera's own words, so that nothing is rounded on its way there and back.
SFinding CExamination::writeTest() {
    constexpr struct {
        const char* key;
        const char* path;
        const char* parameter;
    } Written[] = {{"BRIGHTNESS", "/cgi-bin/image_adjust", "brightness"},
                   {"AUDIOBITRATE", "/cgi-bin/set_audio", "audio_bitrate"}};
    for (const auto& row : Written) {
        const std::string before = setting(row.key);
        if (before.empty())
            continue;
        (void)session_.exchanges().takeFailing();
        const auto answer =
            call("setting.SetCameraSetting", {row.path, std::string(row.parameter) + "=" + before});
        auto problem = answer ? ProblemOf(session_, *answer) : std::nullopt;
        const auto written = session_.exchanges().lastOf(row.path);
        if (written && !written->failure.empty())
            problem = DiagnoseExchange(*written, session_.exchanges());
        const std::string after = problem ? "" : setting(row.key);
        if (!problem && (problem = dumpProblem(SettingsPath)))
            problem->phase = "read-back";
        if (!problem && after != before)
            problem = NotAccepted(row.key, before, after);
        return problem ? Faulty(*problem) : Sound(std::string(row.key) + " written as it was: " + after);
    }
    return Sound("nothing that could be written");
}

SFinding CExamination::moveTest() {
    (void)session_.exchanges().takeFailing();
    const std::string before = place();
    std::string after;
    for (const char* step : {"1", "-1"}) {
        const auto answer = call("setRelativePtz", {"0", step, "0", "0", "0", "0"});
        if (auto problem = answer ? ProblemOf(session_, *answer) : std::nullopt)
            return Faulty(*problem);
        if (after.empty())
            after = placeOtherThan(before);
    }
    if (after != before)
        return Sound("a step and back, from " + before);
    SDiagnosis stays = NotAccepted("the head's place", "a step", before);
    stays.problem = "the camera has taken the move, and its head stays where it is";
    stays.phase = "move";
    return Faulty(stays);
}

std::string CExamination::place() const {
    const auto answer = call("getPtzPosition", {"0"});
    return answer && !answer->values.empty() ? answer->values.front() : "";
}

// Where the head looks once it has moved, or when it has had its time.
std::string CExamination::placeOtherThan(const std::string& before) const {
    constexpr std::chrono::milliseconds LookAgain{100};
    const Clock::time_point limit = Clock::now() + std::chrono::seconds(2);
    std::string now = place();
    while (now == before && Clock::now() < limit) {
        std::this_thread::sleep_for(LookAgain); // the camera does not tell when it has arrived
        now = place();
    }
    return now;
}

SFinding CExamination::drift() {
    const CDrift drift(*session_.model(), [this](const std::string& operation, const Texts& arguments) {
        return call(operation, arguments);
    });
    const Texts differences = drift.between(*plan_.record);
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
    try {
        return MakeCall(session_.operations(), {operation, arguments}).answer;
    } catch (const COperationError&) { // the camera does not have it
        return std::nullopt;
    }
}

std::string CExamination::setting(const std::string& key) const {
    const auto answer = call("setting.GetCameraSetting", {key});
    const auto* const text = answer ? std::get_if<std::string>(&answer->result) : nullptr;
    return text ? *text : "";
}

// At the port that the user says, else at the camera's own.
refhost::SRtspSource CExamination::sourceOf(const device_handler::v1_0::SStreamUrl& url) const {
    device_handler::v1_0::SStreamUrl there = url;
    if (const std::string port = setting(RtspPortKey); !session_.options().rtspPort && !port.empty())
        there.port = port;
    return {refhost::StreamLocation(there, session_.address()), session_.address(),
            session_.authentication()};
}

} // namespace corvane::vornhost
