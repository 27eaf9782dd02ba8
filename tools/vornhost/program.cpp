#include "tools/vornhost/program.h"
#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/diagnosis/diagnosis.h"

#include "tools/vornhost/console/exhaustion.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/verbs/command_line.h"

#include <boost/thread/exceptions.hpp>

#include <algorithm>
#include <cstring>
#include <exception>
#include <optional>
#include <utility>

namespace corvane::vornhost {
namespace {

struct STold {
    std::string message;
    std::string line; // empty: for people
};

// For people, and for a program that reads JSON lines; arguments that cannot be read may have asked for
// those, too.
STold Told(const CFailure& failure, int argc, char** argv) {
    const bool isForPrograms =
        std::any_of(argv, argv + argc, [](const char* word) { return std::strcmp(word, "--json") == 0; });
    const SDiagnosis problem = DiagnoseOwn(failure);
    return {"vornhost: " + problem.problem +
                (failure.cause() == OwnCause::Limit ? "; " + problem.advice : "") + "\n",
            isForPrograms ? ProblemLine(problem) : ""};
}

// A verb may have a line of its own.
ExitStatus Tell(const CFailure& failure, STold told, const std::optional<CCommandLine>& commandLine) {
    if (commandLine)
        if (std::string line = commandLine->failureLine(DiagnoseOwn(failure)); !line.empty())
            told.line = std::move(line);
    WriteMessage(told.message);
    WriteOutput(told.line);
    return failure.status();
}

CFailure Limit(const std::string& what) {
    return {ExitStatus::NotStarted, "this machine cannot go on: " + what, OwnCause::Limit};
}

} // namespace

ExitStatus RunProgram(int argc, char** argv) {
    OccupyClosedStreams();
    std::optional<CCommandLine> commandLine;
    const auto tell = [&](const CFailure& failure) {
        return Tell(failure, Told(failure, argc, argv), commandLine);
    };
    try {
        const STold exhaustion = Told(Limit("a library gets no memory, thread or descriptor"), argc, argv);
        TellExhaustion(exhaustion.message, exhaustion.line);
        const CSignalThread signals;
        return commandLine.emplace().run(argc, argv);
    } catch (const CFailure& failure) {
        return tell(failure);
    } catch (const std::bad_alloc&) {
        return tell(Limit("no memory"));
    } catch (const boost::thread_resource_error& failure) {
        return tell(Limit(failure.what()));
    } catch (const std::system_error& failure) {
        return tell(Limit(failure.code().message()));
    } catch (const std::exception& failure) {
        WriteMessage(std::string("vornhost: unexpected failure: ") + PrintableText(failure.what()) + "\n");
        return ExitStatus::CallFailed;
    }
}

} // namespace corvane::vornhost
