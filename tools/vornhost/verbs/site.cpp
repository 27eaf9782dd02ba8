#include "tools/vornhost/console/utc_time.h"
#include "tools/vornhost/site/site_run.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

constexpr int MostJobs = 1024;

constexpr const char* Help =
    R"(A site file describes all cameras of a place; docs/site.md tells what it holds.
Exit status 1 when a camera differs or has a fault, 2 for a site file that is refused.
Examples:
  vornhost site check yard.json
  vornhost site check yard.json --only 'gate*' --only tag:outside --json)";

class CSite : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.require_subcommand(1);
        declareVerb(command, "check", "Is each camera set as the file wants it? Writes nothing", check_);
        declareVerb(command, "list", "A line a camera: name, address, model, firmware, state", list_);
        command.footer(Help);
    }

    ExitStatus run(const SOptions& options) override {
        const std::string today = UtcTimeText(std::chrono::system_clock::now()).substr(0, 10);
        CSiteRun run(options, siteOptions_);
        const bool isList = list_->parsed();
        return run.run(
            [&](CSiteCamera& camera, SCameraFinding& finding) {
                camera.compare(finding, today);
                if (isList)
                    camera.describe(finding);
            },
            isList);
    }

private:
    void declareVerb(CLI::App& command, const char* name, const char* summary, CLI::App*& verb) {
        verb = command.add_subcommand(name, summary);
        verb->fallthrough();
        verb->add_option("SITE", siteOptions_.file, "The site file")->required();
        verb->add_option("--only", siteOptions_.only,
                         "A shell pattern for names, or tag:WORD; may be repeated")
            ->type_name("PATTERN");
        verb->add_option("--jobs", siteOptions_.jobs, "Cameras at once")
            ->capture_default_str()
            ->type_name("N")
            ->check(CLI::Range(1, MostJobs));
    }

    SSiteOptions siteOptions_;
    CLI::App* check_ = nullptr;
    CLI::App* list_ = nullptr;
};

} // namespace

std::unique_ptr<IVerb> MakeSiteVerb() {
    return std::make_unique<CSite>();
}

} // namespace corvane::vornhost
