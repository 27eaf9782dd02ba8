#include "operations/whole_number.h"
#include "tools/vornhost/calls/answers.h"
#include "tools/vornhost/calls/script_line.h"
#include "tools/vornhost/console/output.h"
#include "tools/vornhost/session/device_session.h"
#include "tools/vornhost/verbs/background_calls.h"
#include "tools/vornhost/verbs/played_events.h"
#include "tools/vornhost/verbs/played_streams.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <iterator>
#include <optional>
#include <thread>

namespace corvane::vornhost {
namespace {

using Words = std::vector<std::string>;

// What changes the camera object beneath whoever uses it meanwhile.
constexpr const char* Initialisations[] = {"initialize", "preInit_getUnitModelName", "customInitialize"};

// Why one of the script's own lines failed.
class CLineFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::string InOneLine(const SDiagnosis& diagnosis) {
    std::string text = diagnosis.problem;
    for (const std::string& detail : {diagnosis.pluginText, diagnosis.request, diagnosis.reply})
        text += detail.empty() ? "" : "; " + detail;
    return text;
}

// The lines that are read from standard input, one after another.
class CScriptRun {
public:
    explicit CScriptRun(CDeviceSession& session) : session_(session) {}

    ExitStatus run() {
        for (std::string line; std::getline(std::cin, line);) {
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            runLine(line);
        }
        calls_.finish();
        return allSucceeded_ && calls_.allSucceeded() ? ExitStatus::Success : ExitStatus::CallFailed;
    }

private:
    struct SOwnLine {
        const char* name;
        void (CScriptRun::*run)(const Words& arguments);
    };
    static const SOwnLine OwnLines[];

    void runLine(const std::string& text) {
        std::string name;
        try {
            SScriptLine line = ReadScriptLine(text);
            if (line.words.empty())
                return;
            name = line.words.front();
            line.words.erase(line.words.begin());
            const auto own = std::find_if(OwnLines, OwnLinesEnd(), [&name](const SOwnLine& candidate) {
                return name == candidate.name;
            });
            if (own != OwnLinesEnd())
                (this->*own->run)(line.words);
            else
                call({name, line.words}, line.background);
        } catch (const CScriptLineError& error) {
            fail(text, error.what());
        } catch (const std::exception& error) {
            fail(name, error.what());
        }
    }

    static const SOwnLine* OwnLinesEnd();

    void fail(const std::string& operation, const std::string& reason) {
        WriteOutput(JsonLine(ErrorJson(operation, reason)));
        allSucceeded_ = false;
    }

    void call(const SCall& call, bool background) {
        RequireOperation(session_.operations(), call);
        if (std::find(std::begin(Initialisations), std::end(Initialisations), call.operation) !=
            std::end(Initialisations)) {
            calls_.finish();
            session_.renewController();
        }
        if (background) {
            calls_.start(session_.operations(), call);
            return;
        }
        const STimedAnswer answer = MakeCall(session_.operations(), call);
        WriteOutput(JsonLine(AnswerJson(call, answer)));
        allSucceeded_ = allSucceeded_ && answer.succeeded();
    }

    void sleep(const Words& arguments) {
        static constexpr unsigned LongestSleep = 24 * 60 * 60 * 1000;
        const auto milliseconds =
            arguments.size() == 1 ? operations::ReadWholeNumber<unsigned>(arguments[0]) : std::nullopt;
        if (!milliseconds || *milliseconds > LongestSleep)
            throw CLineFailure("expected `sleep MILLISECONDS`, from 0 to " + std::to_string(LongestSleep));
        std::this_thread::sleep_for(std::chrono::milliseconds(*milliseconds)); // all that the line asks for
    }

    // Answered as an operation without outputs.
    void cancel(const Words& arguments) {
        std::optional<std::size_t> nthNewest = 1;
        if (!arguments.empty())
            nthNewest = operations::ReadWholeNumber<std::size_t>(arguments[0]);
        if (arguments.size() > 1 || nthNewest.value_or(0) == 0)
            throw CLineFailure("expected `controller.cancel` or `controller.cancel K`, K from 1");
        if (!calls_.cancel(*nthNewest))
            throw CLineFailure("there have not been " + std::to_string(*nthNewest) + " calls with &");
        WriteOutput(JsonLine(AnswerJson({"controller.cancel", arguments}, STimedAnswer())));
    }

    void credentials(const Words& arguments) {
        calls_.finish();
        if (arguments == Words{"none"})
            session_.setCredentials(CCredentials::none());
        else if (arguments.size() == 2 && !arguments[0].empty())
            session_.setCredentials(CCredentials::given(arguments[0], arguments[1]));
        else
            throw CLineFailure("expected `credentials none` or `credentials NAME PASSWORD_FILE`");
    }

    void camera(const Words& arguments) {
        if (arguments != Words{"new"})
            throw CLineFailure("expected `camera new`");
        calls_.finish();
        streams_.stopAll();
        events_.stopAll();
        if (const auto failure = session_.renewCamera())
            throw CLineFailure(InOneLine(*failure));
    }

    void video(const Words& arguments) {
        const bool starts = arguments.size() == 2 && arguments[0] == "start";
        if (!starts && (arguments.size() != 2 || arguments[0] != "stop"))
            throw CLineFailure("expected `video start CH,CODEC,N` or `video stop CH,CODEC,N`");
        const auto id = readStreamId(arguments[1]);
        if (starts)
            streams_.start(session_.camera(), id);
        else
            streams_.stop(id);
    }

    void events(const Words& arguments) {
        const bool starts = arguments.size() == 2 && arguments[0] == "start";
        const bool readable = starts || (arguments.size() == 2 && arguments[0] == "stop");
        const int input = readable ? operations::ReadWholeNumber<int>(arguments[1]).value_or(-1) : -1;
        if (input < 0)
            throw CLineFailure("expected `events start N` or `events stop N`, N from 0");
        if (starts)
            events_.start(session_.camera(), input);
        else
            events_.stop(input);
    }

    static handler_impl::SVideoStreamId readStreamId(const std::string& text) {
        try {
            return device_handler::v1_0::SArgumentReader::readVideoStreamId(text);
        } catch (const device_handler::v1_0::COperationError& error) {
            throw CLineFailure("wrong stream \"" + text + "\": expected " + error.what());
        }
    }

    CDeviceSession& session_;
    CBackgroundCalls calls_;
    CPlayedStreams streams_;
    CPlayedEvents events_;
    bool allSucceeded_ = true;
};

const CScriptRun::SOwnLine CScriptRun::OwnLines[] = {
    {"sleep", &CScriptRun::sleep},
    {"controller.cancel", &CScriptRun::cancel},
    {"credentials", &CScriptRun::credentials},
    {"camera", &CScriptRun::camera},
    {"video", &CScriptRun::video},
    {"events", &CScriptRun::events},
};

const CScriptRun::SOwnLine* CScriptRun::OwnLinesEnd() {
    return std::end(OwnLines);
}

class CScript : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.add_option("ADDRESS", address_, "The camera")->required();
        command.footer(
            "Standard input has one operation a line, its words split as a POSIX shell splits them; answers "
            "are\n"
            "JSON lines. An asynchronous operation's line that ends in & does not hold the script up.\n"
            "Other lines:\n"
            "  controller.cancel [K]           takes back the newest call with &, or the K-th newest\n"
            "  sleep MILLISECONDS              waits\n"
            "  credentials none                the device has no credentials from here on\n"
            "  credentials NAME PASSWORD_FILE  it has these from here on\n"
            "  camera new                      destroys the camera object and makes another\n"
            "  video start CH,CODEC,N          plays a video stream beside the script\n"
            "  video stop CH,CODEC,N           tears it down\n"
            "  events start N                  plays the events of alarm input N, their lines among the "
            "answers\n"
            "  events stop N                   tears it down\n"
            "  # ...                           a comment\n"
            "Example:\n"
            "  printf 'getCameraName 0\\nsetting.GetCameraSetting CAMTITLE\\n' | vornhost script "
            "192.168.0.10");
    }

    ExitStatus run(const SOptions& options) override {
        CDeviceSession session(options, address_);
        if (!StartOrTell(session))
            return ExitStatus::NotStarted;
        return CScriptRun(session).run();
    }

private:
    std::string address_;
};

} // namespace

std::unique_ptr<IVerb> MakeScriptVerb() {
    return std::make_unique<CScript>();
}

} // namespace corvane::vornhost
