// Every verb through every fault that camsim has by name, and at what is no camera: where a fault touches a
// verb, the verb names its cause; where it does not, the verb succeeds and says nothing. And whatever is
// wrong, no password is in what is written.
//
// VORN_WALK=1 makes every case (else those that a fault does not touch are a sample), with standard error a
// terminal, and prints how many were right, by the kind of fault and its phase.

#include "tests/support/loopback.h"
#include "tests/vornhost/canary.h"
#include "tests/vornhost/vornhost_support.h"

#include <atomic>
#include <cstdlib>
#include <future>
#include <iomanip>
#include <iostream>
#include <map>
#include <mutex>
#include <random>
#include <set>

namespace corvane::vornhost_test {
namespace {

using Causes = std::set<std::string>; // "" is success without a problem

// Sanitized programs take longer.
#if defined(VORN_UNDER_ASAN) || defined(VORN_UNDER_TSAN)
constexpr std::size_t RowStep = 9;
constexpr const char* Patience = "6";
constexpr const char* PicturePatience = "20";
constexpr const char* LongPatience = "60";
#else
constexpr std::size_t RowStep = 1;
constexpr const char* Patience = "1.5";
constexpr const char* PicturePatience = "5";
constexpr const char* LongPatience = "30";
#endif
constexpr const char* SoundSeconds = "3"; // of a recording
constexpr std::size_t UntouchedStep = 17; // of cases that a fault does not touch
constexpr int Workers = 14;

bool IsWholeWalk() {
    return std::getenv("VORN_WALK") != nullptr;
}

// A verb, and the phases of the faults that it meets once the camera has been started.
struct SVerbCase {
    const char* name;
    std::vector<std::string> arguments; // ADDRESS and FILE stand for those of the case
    std::set<std::string> phases;
    const char* input = "";
};

const std::vector<SVerbCase> Verbs = {
    {"identify", {"identify", "ADDRESS"}, {}},
    {"show", {"show", "ADDRESS"}, {"capability", "settings", "position", "levels"}},
    {"call:setting", {"call", "ADDRESS", "getCameraName", "0"}, {"settings"}},
    {"call:capability",
     {"call", "ADDRESS", "capability.getMaxFrameRate", "h264", "0", "16_9"},
     {"capability"}},
    {"call:position", {"call", "ADDRESS", "getPtzPosition", "0"}, {"position"}},
    {"call:write", {"call", "ADDRESS", "setVpaBrightness", "0", "30"}, {"write"}},
    {"call:move", {"call", "ADDRESS", "controller.moveAt", "10", "0", "0"}, {"move"}},
    {"script",
     {"script", "ADDRESS"},
     {"settings", "write", "read-back", "position", "move"},
     "getCameraName 0\nsetting.SetCameraSetting /cgi-bin/image_adjust brightness=70\n"
     "setting.GetCameraSetting BRIGHTNESS\ngetPtzPosition 0\ncontroller.moveAt 10 0 0\n"},
    {"sync",
     {"sync", "ADDRESS", "--stream", "0,h264,0", "frameRate=15"},
     {"capability", "settings", "write", "read-back"}},
    {"record",
     {"record", "ADDRESS", "--stream", "0,h264,0", "--seconds", "1.5", "--output", "FILE"},
     {"stream"}},
    {"record:sound",
     {"record", "ADDRESS", "--audio", "--stream", "0,h264,0", "--seconds", SoundSeconds, "--output", "FILE"},
     {"capability", "settings", "write", "stream", "audio"}},
    {"events", {"events", "ADDRESS", "--input", "0", "--seconds", "1.2"}, {"capability", "monitor"}},
    {"image", {"image", "ADDRESS"}, {"settings", "position"}},
    {"image:set",
     {"image", "ADDRESS", "brightness=30", "whiteBalance=awc"},
     {"settings", "write", "read-back"}},
    {"ptz", {"ptz", "ADDRESS"}, {"move"}, "+q"},
};

// Where what is to be seen does not follow from the phases. "" as the verbs: all that are not named in
// another row of the fault.
struct SException {
    const char* fault;
    const char* verbs; // separated by blanks
    Causes causes;
    const char* why;
};

const SException Exceptions[] = {
    {"duplicate-address", "sync image:set", {"", "not-accepted"}, "the other camera tells its own value"},
    {"duplicate-address",
     "record record:sound",
     {"", "wrong-stream"},
     "the settings may be the other camera's"},
    {"duplicate-address", "", {""}, "each answer is a camera's; only who asks twice sees two"},
    {"identify-body-large",
     "",
     {"too-large", "slow"},
     "on a busy machine the time of an identification is over first"},
    {"basic-alone", "show", {"authentication-weaker"}, "which warns, and succeeds"},
    {"basic-alone", "", {""}, "Basic is not refused without --digest-only"},
    {"answers-lost", "identify", {""}, "what is lost is asked again for the next family"},
    {"answers-lost", "", {"dropped"}, "one of the first four requests is lost, whatever is asked"},
    {"answers-slow", "events", {"", "monitor-silent", "no-answer"}, "nothing is told in so short a time"},
    {"answers-slow", "", {""}, "slow answers are answers"},
    {"answers-uneven", "events", {"", "monitor-silent", "no-answer"}, "nothing is told in so short a time"},
    {"answers-uneven", "", {""}, "slow answers are answers"},
    {"settings-restart", "identify", {""}, "does not ask for the settings"},
    {"settings-restart", "show call:setting script sync image image:set", {"restarting"}, "rest on them"},
    {"settings-restart", "", {"", "restarting"}, "the camera is away by then, or not yet"},
    {"settings-without-resolution", "show sync", {"not-reported"}, "need it"},
    {"settings-without-resolution", "", {""}, "need other settings"},
    {"settings-without-frame-rate", "show sync", {"not-reported"}, "need it"},
    {"settings-without-frame-rate", "", {""}, "need other settings"},
    {"settings-without-transmission", "show sync record record:sound", {"not-reported"}, "need it"},
    {"settings-without-transmission", "", {""}, "need other settings"},
    {"settings-binary", "record:sound", {""}, "its settings are told"},
    {"capability-binary", "record:sound events", {""}, "what they need is told"},
    {"write-not-accepted",
     "record:sound",
     {"stream-refused", "stream-off"},
     "the altered write is its delivery's"},
    {"write-not-accepted", "call:write script", {""}, "nothing is read back"},
    {"write-ignored", "call:write script", {""}, "nothing is read back"},
    {"write-ignored", "record:sound", {""}, "what it writes is set already"},
    {"write-jumps-back", "", {""}, "half a second after the verb has looked"},
    {"move-ignored", "", {""}, "nothing tells that a head stands still"},
    {"level-differs", "events", {"level-differs"}, "asks both ways"},
    {"level-differs", "", {""}, "ask one way"},
    {"stream-delivery-off", "record:sound", {""}, "the plug-in switches the delivery on for the sound"},
    {"audio-off", "", {""}, "the plug-in switches the sound on"},
};

bool Names(const std::string& list, const std::string& name) {
    return (" " + list + " ").find(" " + name + " ") != std::string::npos;
}

// A reply that was delivered lets the plug-in start.
bool IsStartLost(const json& row) {
    const std::string phase = row.at("phase");
    const Causes delivered = {"not-a-camera", "damaged", "not-reported"};
    return phase == "identify" || (phase == "capability" && delivered.count(row.at("cause")) == 0);
}

std::string PhaseOf(const json& row) {
    const std::string name = row.at("name");
    return name.rfind("level-", 0) == 0 ? "levels" : row.at("phase").get<std::string>();
}

// What follows from the phases alone.
Causes OrdinaryCauses(const json& row, const SVerbCase& verb) {
    const bool isIdentify = std::string(verb.name) == "identify";
    const bool isTouched = IsStartLost(row) ? !isIdentify || row.at("phase") == "identify"
                                            : verb.phases.count(PhaseOf(row)) != 0;
    return {isTouched ? row.at("cause").get<std::string>() : ""};
}

Causes ExpectedCauses(const json& row, const SVerbCase& verb) {
    const std::string name = row.at("name");
    for (const SException& exception : Exceptions)
        if (exception.fault == name && Names(exception.verbs, verb.name))
            return exception.causes;
    for (const SException& exception : Exceptions)
        if (exception.fault == name && std::string(exception.verbs).empty())
            return exception.causes;
    return OrdinaryCauses(row, verb);
}

void CollectProblems(const json& value, std::vector<json>& problems) {
    if (value.is_object() && value.contains("cause") && value.contains("certain"))
        problems.push_back(value);
    else if (value.is_structured())
        for (const json& member : value)
            CollectProblems(member, problems);
}

// What a case has come to.
struct SSeenCase {
    SRun run;
    Causes causes; // "" where nothing is wrong
};

SSeenCase See(const SRun& run) {
    std::vector<json> problems;
    for (const json& line : JsonLines(run.out))
        CollectProblems(line, problems);
    Causes causes;
    for (const json& problem : problems) {
        causes.insert(problem.at("cause").get<std::string>());
        EXPECT_NE(problem.at("phase"), "") << problem;
    }
    if (causes.empty())
        causes.insert(run.status == 0 ? "" : "none told");
    return {run, causes};
}

SSeenCase RunVerb(const SVerbCase& verb, const std::string& address, std::vector<std::string> options,
                  const CTemporaryFolder& folder, const std::string& id) {
    options.emplace_back("--json");
    if (!IsWholeWalk()) // whose first word is the camera's
        options.insert(options.end(), {"--trace", "--log-level", "0"});
    for (std::string argument : verb.arguments) {
        if (argument == "ADDRESS")
            argument = address;
        if (argument == "FILE")
            argument = folder.file(id + ".mkv");
        options.push_back(argument);
    }
    return See(RunProgram("vornhost", options, verb.input, {},
                          IsWholeWalk() ? CProgram::Errors::Terminal : CProgram::Errors::Pipe));
}

void ExpectNoSecret(const SRun& run, const std::string& what) {
    std::vector<std::string> forms = CanaryForms();
    forms.emplace_back("response=\"");
    for (const std::string& form : forms)
        EXPECT_TRUE(run.out.find(form) == std::string::npos && run.err.find(form) == std::string::npos)
            << form << " in " << what;
}

// How the cases have come out, by the kind of fault and its phase.
class CCounts {
public:
    void note(const std::string& kind, const std::string& phase, const Causes& expected,
              const SSeenCase& seen, bool isExcepted) {
        SCount& count = counts_[{phase, kind}];
        ++count.cases;
        count.firstWord = std::max(count.firstWord, seen.run.firstWord);
        const bool isRight = seen.causes.size() == 1 && expected.count(*seen.causes.begin()) != 0;
        count.excepted += isRight && isExcepted ? 1 : 0;
        const bool isNone = seen.causes == Causes{""};
        ++(isRight                  ? count.right
           : isNone                 ? count.silent
           : expected == Causes{""} ? count.wrong
                                    : count.misleading);
    }

    void print() const {
        const auto row = [](const std::string& phase, const std::string& kind, const SCount& count) {
            std::cout << std::left << std::setw(12) << phase << std::setw(16) << kind << std::right
                      << std::setw(7) << count.cases << std::setw(7) << count.right << std::setw(10)
                      << count.excepted << std::setw(8) << count.silent << std::setw(12) << count.misleading
                      << std::setw(7) << count.wrong << std::setw(9) << std::fixed << std::setprecision(2)
                      << count.firstWord << "\n";
        };
        std::cout
            << "phase       kind             cases  right  excepted  silent  misleading  wrong  word/s\n";
        SCount all;
        for (const auto& [place, count] : counts_) {
            row(place.first, place.second, count);
            all.cases += count.cases;
            all.right += count.right;
            all.excepted += count.excepted;
            all.silent += count.silent;
            all.misleading += count.misleading;
            all.wrong += count.wrong;
            all.firstWord = std::max(all.firstWord, count.firstWord);
        }
        row("all", "", all);
    }

private:
    struct SCount {
        int cases = 0;
        int right = 0;      // the cause that it is, or none where there is none
        int excepted = 0;   // of these: not what the phases alone say
        int silent = 0;     // none, where there is one
        int misleading = 0; // another
        int wrong = 0;      // one, where there is none
        double firstWord = 0;
    };
    std::map<std::pair<std::string, std::string>, SCount> counts_;
};

// "drop" of "/cgi-bin/setdata drop method=GET".
std::string KindOf(const json& row) {
    if (row.at("faults").empty())
        return "setting";
    std::istringstream words(row.at("faults").at(0).get<std::string>());
    std::string pattern;
    std::string kind;
    words >> pattern >> kind;
    return kind;
}

class Walk : public testing::Test {
protected:
    // Does the work side by side, as most of each case is waiting.
    template <class Work>
    static void forEach(std::size_t count, Work work) {
        std::atomic<std::size_t> next{0};
        std::vector<std::future<void>> workers;
        workers.reserve(Workers);
        for (int i = 0; i < Workers; ++i)
            workers.push_back(std::async(std::launch::async, [&] {
                for (std::size_t place = next++; place < count; place = next++)
                    work(place);
            }));
        for (std::future<void>& worker : workers)
            worker.get();
    }

    void judge(const std::string& kind, const std::string& phase, const std::string& what,
               const Causes& expected, const SSeenCase& seen, bool isExcepted = false) {
        const std::lock_guard<std::mutex> lock(mutex_);
        counts_.note(kind, phase, expected, seen, isExcepted);
        EXPECT_TRUE(seen.causes.size() == 1 && expected.count(*seen.causes.begin()) != 0)
            << what << ": expected " << json(expected) << ", seen " << json(seen.causes) << ", exit status "
            << seen.run.status << "\n"
            << seen.run.out << seen.run.err.substr(0, 2000);
        ExpectNoSecret(seen.run, what);
    }

    const CTemporaryFolder folder_;
    const std::string password_ = folder_.file("password", Canary + "\n");
    std::mutex mutex_; // guards counts_, and the test's expectations
    CCounts counts_;
};

using VerbCauses = Walk;

std::set<int> ExpectedStatuses(const json& row, const SVerbCase& verb, const std::string& cause) {
    if (cause.empty() || cause == "authentication-weaker") // a warning
        return {0};
    if (row.at("name") == "settings-restart") // beside the start
        return {1, 3};
    const bool isNotStarted =
        (IsStartLost(row) && row.at("name") != "duplicate-address") || row.at("name") == "answers-lost";
    return {isNotStarted && std::string(verb.name) != "identify" ? 3 : 1};
}

// Pictures, and very large replies, keep the machine busy.
const char* PatienceFor(const json& row, const SVerbCase& verb) {
    if (row.at("cause") == "too-large")
        return LongPatience;
    return std::string(verb.name).rfind("record", 0) == 0 ? PicturePatience : Patience;
}

// Sound that is missing is to be noticed before the recording's end.
SVerbCase Lengthened(SVerbCase verb, const json& row) {
    if (row.at("cause") == "no-sound")
        std::replace(verb.arguments.begin(), verb.arguments.end(), std::string(SoundSeconds),
                     std::string("30"));
    return verb;
}

TEST_F(VerbCauses, OfTheCatalogue) {
    struct SCase {
        const json* row;
        const SVerbCase* verb;
    };
    const std::vector<json> rows = JsonLines(RunProgram("camsim", {"faults", "--json"}).out);
    ASSERT_GT(rows.size(), 100U);
    std::vector<SCase> cases;
    std::size_t place = 0;
    for (std::size_t i = 0; i < rows.size(); i += RowStep)
        for (const SVerbCase& verb : Verbs) {
            const bool isTouched = ExpectedCauses(rows[i], verb) != Causes{""};
            // Where the start is lost the verbs are the same until then.
            const bool isSampled =
                !isTouched || (IsStartLost(rows[i]) && std::string(verb.name) != "identify");
            if (IsWholeWalk() || !isSampled || place++ % UntouchedStep == 0)
                cases.push_back({&rows[i], &verb});
        }
    std::shuffle(cases.begin(), cases.end(), std::mt19937(1)); // so that not all of them encode at once
    forEach(cases.size(), [&](std::size_t i) {
        const json& row = *cases[i].row;
        const SVerbCase verb = Lengthened(*cases[i].verb, row);
        const std::string name = row.at("name");
        const CCamsim camsim(
            {"--model", "D870", "--rtsp-port", "0", "--password-file", password_, "--fault", name});
        if (row.at("settings").empty()) // so that the simulator's encoder keeps pace
            camsim.patch("/cameras/0/settings", {{"H264SIZE", "640"}});
        std::vector<std::string> options{"--password-file", password_};
        if (name != "rtsp-other-port")
            options.insert(options.end(), {"--rtsp-port", camsim.rtspPort()});
        if (name.rfind("answers-", 0) != 0) // which come in the plug-in's own time
            options.insert(options.end(), {"--timeout", PatienceFor(row, verb)});
        const SSeenCase seen = RunVerb(verb, camsim.address(), options, folder_, std::to_string(i));
        const Causes expected = ExpectedCauses(row, verb);
        judge(KindOf(row), row.at("phase"), name + " with " + verb.name, expected, seen,
              expected != OrdinaryCauses(row, verb));
        const std::lock_guard<std::mutex> lock(mutex_);
        EXPECT_EQ(ExpectedStatuses(row, verb, *seen.causes.begin()).count(seen.run.status), 1U)
            << name << " " << verb.name << " " << seen.run.status;
    });
    if (IsWholeWalk())
        counts_.print();
}

// Where no camera is, or none that lets this user in.
TEST_F(VerbCauses, OfAddressesAndPasswords) {
    const std::string wrong = folder_.file("wrong", "another word\n");
    const CCamsim camsim({"--model", "D870", "--password-file", password_});
    const CCamsim basic({"--model", "D870", "--auth", "basic", "--password-file", password_});
    const struct {
        const char* kind;
        std::string address;
        std::vector<std::string> options;
        const char* cause;
        const char* causeToIdentify = cause;
    } places[] = {{"unused", test_support::UnusedAddress(), {}, "refused"},
                  {"no-name", "no-such-host.invalid", {}, "name-not-found"},
                  {"other-password", camsim.address(), {"--password-file", wrong}, "wrong-password"},
                  {"default-password", camsim.address(), {}, "wrong-password"},
                  // Without any the plug-in identifies with those of the families.
                  {"no-credentials",
                   camsim.address(),
                   {"--no-credentials", "--model", "D870"},
                   "no-credentials",
                   "wrong-password"},
                  {"digest-only",
                   basic.address(),
                   {"--digest-only", "--password-file", password_},
                   "authentication-weaker"}};
    forEach(std::size(places) * Verbs.size(), [&](std::size_t i) {
        const auto& there = places[i / Verbs.size()];
        const SVerbCase& verb = Verbs[i % Verbs.size()];
        const bool isIdentify = std::string(verb.name) == "identify";
        std::vector<std::string> options = there.options;
        options.insert(options.end(), {"--timeout", Patience});
        const SSeenCase seen = RunVerb(verb, there.address, options, folder_, std::to_string(i));
        judge(there.kind, "address", std::string(there.kind) + " with " + verb.name,
              {isIdentify ? there.causeToIdentify : there.cause}, seen);
        const std::lock_guard<std::mutex> lock(mutex_);
        EXPECT_EQ(seen.run.status, isIdentify ? 1 : 3) << there.kind << verb.name;
    });
    if (IsWholeWalk())
        counts_.print();
}

// A camera that was well when the script began.
TEST_F(VerbCauses, OfFaultsThatComeWhileAScriptRuns) {
    std::vector<json> rows;
    const std::set<std::string> phases = {"settings", "write", "read-back", "position", "move"};
    const std::vector<json> all = JsonLines(RunProgram("camsim", {"faults", "--json"}).out);
    for (std::size_t i = 0; i < all.size(); i += RowStep)
        if (phases.count(all[i].at("phase")) != 0)
            rows.push_back(all[i]);
    const SVerbCase& script = *std::find_if(
        Verbs.begin(), Verbs.end(), [](const SVerbCase& v) { return v.name == std::string("script"); });
    forEach(rows.size(), [&](std::size_t i) {
        const std::string name = rows[i].at("name");
        if (name.rfind("answers-", 0) == 0) // at each so many requests
            return;
        const CCamsim camsim({"--model", "D870", "--password-file", password_});
        CProgram program("vornhost",
                         {"--trace", "--log-level", "0", "--timeout", PatienceFor(rows[i], script),
                          "--password-file", password_, "script", camsim.address()});
        program.write("getCameraName 0\n");
        const json first = json::parse(program.readLine());
        camsim.post("/faults", {{"name", name}});
        program.write(std::string(script.input).substr(std::string("getCameraName 0\n").size()));
        const SSeenCase seen = See(program.wait());
        EXPECT_EQ(first.at("code"), 1) << first;
        judge(KindOf(rows[i]), rows[i].at("phase"), name + " while a script runs",
              ExpectedCauses(rows[i], script), seen);
    });
    if (IsWholeWalk())
        counts_.print();
}

} // namespace
} // namespace corvane::vornhost_test
