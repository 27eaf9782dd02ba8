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

ExitStatus Tell(const CFailure& failure, int argc, char** argv) {
    const STold told = Told(failure, argc, argv);
    WriteMessage(told.message);
    if (!told.line.empty())
        WriteOutput(told.line);
    return failure.status();
}

CFailure Limit(const std::string& what) {
    return {ExitStatus::NotStarted, "this machine cannot go on: " + what, OwnCause::Limit};
}

} // namespace

ExitStatus RunProgram(int argc, char** argv) {
    try {
        const STold exhaustion = Told(Limit("a library gets no memory, thread or descriptor"), argc, argv);
        TellExhaustion(exhaustion.message, exhaustion.line);
        const CSignalThread signals;
        return CCommandLine().run(argc, argv);
    } catch (const CFailure& failure) {
        return Tell(failure, argc, argv);
    } catch (const std::bad_alloc&) {
        return Tell(Limit("no memory"), argc, argv);
    } catch (const boost::thread_resource_error& failure) {
        return Tell(Limit(failure.what()), argc, argv);
    } catch (const std::system_error& failure) {
        return Tell(Limit(failure.code().message()), argc, argv);
    } catch (const std::exception& failure) {
        WriteMessage(std::string("vornhost: unexpected failure: ") + PrintableText(failure.what()) + "\n");
        return ExitStatus::CallFailed;
    }
}

} // namespace corvane::vornhost
