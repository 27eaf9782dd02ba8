#include "refhost/base/authentication_book.h"
#include "refhost/base/log.h"
#include "refhost/http/http_client.h"
#include "refhost/text/near_names.h"
#include "tools/vornhost/console/exhaustion.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/console/standard_streams.h"
#include "tools/vornhost/console/terminal_text.h"
#include "tools/vornhost/diagnosis/diagnosis.h"
#include "tools/vornhost/session/options.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>
#include <boost/thread/exceptions.hpp>

#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>
#include <utility>

namespace corvane::vornhost {
namespace {

constexpr const char* Examples =
    R"(An ADDRESS is a host name or a dotted address, with :PORT where the camera's web port is not 80.
`vornhost VERB --help` tells a verb's arguments; options may stand before the verb or behind it.

Examples:
  vornhost identify 192.168.0.10
  vornhost --password-file pw.txt --user admin show 192.168.0.10
  vornhost call 192.168.0.10 getVideoCodecCount 0
  vornhost record 192.168.0.10 --stream 0,h264,0 --seconds 60 --output entrance.mkv
  vornhost events 192.168.0.10 --input 0 --readable
  printf 'getUnitModelName\nsetting.GetCameraSetting CAMTITLE\n' | vornhost script 192.168.0.10

Exit status: 0 every call succeeded; 1 some call failed; 2 wrong usage or a refused model list;
3 the plug-in could not be loaded or the camera not be initialised.)";

using VerbList = std::vector<std::pair<const CLI::App*, std::unique_ptr<IVerb>>>;

VerbList DeclareVerbs(CLI::App& program, SOptions& options) {
    VerbList verbs;
    for (const SVerb& verb : Verbs()) {
        CLI::App* const command = program.add_subcommand(verb.name, verb.summary);
        verbs.emplace_back(command, verb.make());
        DeclareOptions(*command, options);
        verbs.back().second->declare(*command);
    }
    return verbs;
}

std::string VerbExpected(const CLI::App& program) {
    std::vector<std::string> names;
    for (const SVerb& verb : Verbs())
        names.emplace_back(verb.name);
    const std::vector<std::string> given = program.remaining();
    return "expected a verb (" + Join(names, ", ") + ")" +
           (given.empty() ? "" : ", not \"" + given[0] + "\"" + refhost::DidYouMean(given[0], names));
}

ExitStatus Run(int argc, char** argv) {
    CLI::App program(
        "Makes the calls that a video recorder makes on the cameras of its device-handler plug-in.",
        "vornhost");
    program.get_formatter()->label("SUBCOMMAND", "VERB");
    program.get_formatter()->label("Subcommands", "Verbs");
    program.get_formatter()->column_width(24);
    program.footer(Examples);
    program.set_version_flag("--version", "vornhost " VORNHOST_VERSION);
    program.require_subcommand(1);
    SOptions options;
    DeclareOptions(program, options);
    const VerbList verbs = DeclareVerbs(program, options);
    try {
        program.parse(argc, argv);
    } catch (const CLI::Success& request) { // --help, --version
        program.exit(request);
        return ExitStatus::Success;
    } catch (const CLI::ParseError& error) {
        const bool verbGiven = !program.get_subcommands().empty();
        const bool verbMissing = error.get_name() == "RequiredError" && !verbGiven;
        throw CFailure(ExitStatus::WrongUsage,
                       (verbMissing ? VerbExpected(program) : error.what()) + "; see `vornhost --help`");
    }
    refhost::SetLogLevel(options.logLevel);
    refhost::SetTrace(options.trace);
    if (options.timeout)
        refhost::LimitTimeOuts(options.patience(std::chrono::milliseconds::max()));
    if (options.digestOnly)
        refhost::CAuthenticationBook::instance().refuseEverywhere();
    for (const auto& [command, verb] : verbs)
        if (command->parsed())
            return verb->run(options);
    return ExitStatus::WrongUsage;
}

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

ExitStatus Main(int argc, char** argv) {
    try {
        const STold exhaustion = Told(Limit("a library gets no memory, thread or descriptor"), argc, argv);
        TellExhaustion(exhaustion.message, exhaustion.line);
        const CSignalThread signals;
        return Run(argc, argv);
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

} // namespace
} // namespace corvane::vornhost

int main(int argc, char** argv) {
    corvane::vornhost::EndProcess(corvane::vornhost::Main(argc, argv));
}
