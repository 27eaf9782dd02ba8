#include "operations/whole_number.h"
#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/calls/answer_text.h"
#include "site/session/answered_call.h"
#include "tools/vornhost/calls/script_line.h"
#include "tools/vornhost/console/waiting_line.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/script/background_calls.h"
#include "tools/vornhost/script/played_streams.h"
#include "tools/vornhost/verbs/device_verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <iterator>
#include <map>
#include <optional>
#include <thread>

namespace corvane::vornhost {
namespace {

// These change the camera object, so that nothing else may use it meanwhile.
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
    using OwnLine = void (CScriptRun::*)(const Texts& arguments);

    static const std::map<std::string, OwnLine>& ownLines() {
        static const std::map<std::string, OwnLine> lines = {
            {"sleep", &CScriptRun::sleep},
            {"controller.cancel", &CScriptRun::cancel},
            {"credentials", &CScriptRun::credentials},
            {"camera", &CScriptRun::camera},
            {"video", &CScriptRun::video},
            {"events", &CScriptRun::events},
        };
        return lines;
    }

    void runLine(const std::string& text) {
        std::string name;
        try {
            SScriptLine line = ReadScriptLine(text);
            if (line.words.empty())
                return;
            name = line.words.front();
            line.words.erase(line.words.begin());
            const auto own = ownLines().find(name);
            if (own != ownLines().end())
                (this->*own->second)(line.words);
            else
                call({name, line.words}, line.background);
        } catch (const CScriptLineError& error) {
            fail(text, error.what());
        } catch (const std::exception& error) {
            fail(name, error.what());
        }
    }

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
            calls_.start(session_, call);
            return;
        }
        const SAnsweredCall answered = WhileWaiting("waiting for " + PrintableText(call.operation),
                                                    [&] { return CallOn(session_, call); });
        WriteOutput(JsonLine(answered.toJson(call)));
        allSucceeded_ = allSucceeded_ && answered.succeeded();
    }

    void sleep(const Texts& arguments) {
        static constexpr unsigned LongestSleep = 24 * 60 * 60 * 1000;
        const auto milliseconds =
            arguments.size() == 1 ? operations::ReadWholeNumber<unsigned>(arguments[0]) : std::nullopt;
        if (!milliseconds || *milliseconds > LongestSleep)
            throw CLineFailure("expected `sleep MILLISECONDS`, from 0 to " + std::to_string(LongestSleep));
        std::this_thread::sleep_for(std::chrono::milliseconds(*milliseconds)); // all that the line asks for
    }

    // Answered as an operation without outputs.
    void cancel(const Texts& arguments) {
        std::optional<std::size_t> nthNewest = 1;
        if (!arguments.empty())
            nthNewest = operations::ReadWholeNumber<std::size_t>(arguments[0]);
        if (arguments.size() > 1 || nthNewest.value_or(0) == 0)
            throw CLineFailure("expected `controller.cancel` or `controller.cancel K`, K from 1");
        if (!calls_.cancel(*nthNewest))
            throw CLineFailure("there have not been " + std::to_string(*nthNewest) + " calls with &");
        WriteOutput(JsonLine(AnswerJson({"controller.cancel", arguments}, STimedAnswer())));
    }

    void credentials(const Texts& arguments) {
        calls_.finish();
        if (arguments == Texts{"none"})
            session_.setCredentials(CCredentials::none());
        else if (arguments.size() == 2 && !arguments[0].empty())
            session_.setCredentials(CCredentials::given(arguments[0], arguments[1]));
        else
            throw CLineFailure("expected `credentials none` or `credentials NAME PASSWORD_FILE`");
    }

    void camera(const Texts& arguments) {
        if (arguments != Texts{"new"})
            throw CLineFailure("expected `camera new`");
        calls_.finish();
        streams_.stopAll();
        if (const auto failure = session_.renewCamera())
            throw CLineFailure(InOneLine(*failure));
    }

    void video(const Texts& arguments) {
        const bool starts = arguments.size() == 2 && arguments[0] == "start";
        if (!starts && (arguments.size() != 2 || arguments[0] != "stop"))
            throw CLineFailure("expected `video start CH,CODEC,N` or `video stop CH,CODEC,N`");
        const SVideoStreamId id = readStreamId(arguments[1]);
        if (starts)
            streams_.startVideo(session_.camera(), id);
        else
            streams_.stopVideo(id);
    }

    void events(const Texts& arguments) {
        const bool starts = arguments.size() == 2 && arguments[0] == "start";
        const bool readable = starts || (arguments.size() == 2 && arguments[0] == "stop");
        const int input = readable ? operations::ReadWholeNumber<int>(arguments[1]).value_or(-1) : -1;
        if (input < 0)
            throw CLineFailure("expected `events start N` or `events stop N`, N from 0");
        if (starts)
            streams_.startEvents(session_.camera(), input);
        else
            streams_.stopEvents(input);
    }

    static SVideoStreamId readStreamId(const std::string& text) {
        try {
            return SArgumentReader::readVideoStreamId(text);
        } catch (const COperationError& error) {
            throw CLineFailure("wrong stream \"" + text + "\": expected " + error.what());
        }
    }

    CDeviceSession& session_;
    CBackgroundCalls calls_;
    CPlayedStreams streams_;
    bool allSucceeded_ = true;
};

constexpr const char* ScriptHelp =
    R"(Standard input has one operation a line, its words split as a POSIX shell splits them; answers are
JSON lines. An asynchronous operation's line that ends in & does not hold the script up.
Other lines:
  controller.cancel [K]           takes back the newest call with &, or the K-th newest
  sleep MILLISECONDS              waits
  credentials none                the device has no credentials from here on
  credentials NAME PASSWORD_FILE  it has these from here on
  camera new                      destroys the camera object and makes another
  video start CH,CODEC,N          plays a video stream beside the script
  video stop CH,CODEC,N           tears it down
  events start N                  plays the events of alarm input N, their lines among the answers
  events stop N                   tears it down
  # ...                           a comment
Example:
  printf 'getCameraName 0\nsetting.GetCameraSetting CAMTITLE\n' | vornhost script 192.168.0.10)";

class CScript : public CDeviceVerb {
public:
    void declare(CLI::App& command) override {
        CDeviceVerb::declare(command);
        command.footer(ScriptHelp);
    }

private:
    bool isForPrograms(const SOptions& /*options*/) const override { return true; }
    ExitStatus runOn(CDeviceSession& session) override { return CScriptRun(session).run(); }
};

} // namespace

std::unique_ptr<IVerb> MakeScriptVerb() {
    return std::make_unique<CScript>();
}

} // namespace corvane::vornhost
