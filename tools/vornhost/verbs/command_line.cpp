#include "tools/vornhost/verbs/command_line.h"

#include "refhost/base/authentication_book.h"
#include "refhost/base/log.h"
#include "refhost/http/http_client.h"
#include "refhost/text/near_names.h"
#include "site/base/terminal_text.h"
#include "site/diagnosis/diagnosis.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/session/versions.h"
#include "tools/vornhost/verbs/options.h"

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

} // namespace

CCommandLine::CCommandLine()
    : program_("Makes the calls that a video recorder makes on the cameras of its device-handler plug-in.",
               "vornhost") {
    program_.get_formatter()->label("SUBCOMMAND", "VERB");
    program_.get_formatter()->label("Subcommands", "Verbs");
    program_.get_formatter()->column_width(24);
    program_.footer(Examples);
    program_.require_subcommand(1);
    DeclareOptions(program_, options_);
    // Behind the options, which say what plug-in and model list are meant.
    program_.set_version_flag(
        "--version",
        [this] {
            std::string text = VersionsText(options_);
            text.pop_back(); // the end of the last line, which CLI11 adds
            return text;
        },
        "The versions of the program and of what it runs on");
    declareVerbs();
}

void CCommandLine::declareVerbs() {
    for (const SVerb& verb : Verbs()) {
        CLI::App* const command = program_.add_subcommand(verb.name, verb.summary);
        verbs_.emplace_back(command, verb.make());
        DeclareOptions(*command, options_);
        verbs_.back().second->declare(*command);
    }
}

std::string CCommandLine::verbExpected() const {
    std::vector<std::string> names;
    for (const SVerb& verb : Verbs())
        names.emplace_back(verb.name);
    const std::vector<std::string> given = program_.remaining();
    return "expected a verb (" + Join(names, ", ") + ")" +
           (given.empty() ? "" : ", not \"" + given[0] + "\"" + refhost::DidYouMean(given[0], names));
}

std::string CCommandLine::failureLine(const SDiagnosis& failure) const {
    for (const auto& [command, verb] : verbs_)
        if (command->parsed())
            return verb->failureLine(failure, options_);
    return "";
}

ExitStatus CCommandLine::run(int argc, char** argv) {
    try {
        program_.parse(argc, argv);
    } catch (const CLI::Success& request) { // --help, --version
        program_.exit(request);
        return ExitStatus::Success;
    } catch (const CLI::ParseError& error) {
        const bool verbGiven = !program_.get_subcommands().empty();
        const bool verbMissing = error.get_name() == "RequiredError" && !verbGiven;
        throw CFailure(ExitStatus::WrongUsage,
                       (verbMissing ? verbExpected() : error.what()) + "; see `vornhost --help`");
    }
    refhost::SetLogLevel(options_.logLevel);
    refhost::SetTrace(options_.trace);
    if (options_.timeout)
        refhost::LimitTimeOuts(options_.patience(std::chrono::milliseconds::max()));
    if (options_.digestOnly)
        refhost::CAuthenticationBook::instance().refuseEverywhere();
    for (const auto& [command, verb] : verbs_)
        if (command->parsed())
            return verb->run(options_);
    return ExitStatus::WrongUsage;
}

} // namespace corvane::vornhost
