#include "refhost/base/process_limits.h"
#include "site/cameras/site_wish.h"
#include "site/text_file.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/site/site_doctor.h"
#include "tools/vornhost/site/site_events.h"
#include "tools/vornhost/site/site_run.h"
#include "tools/vornhost/site/site_survey.h"
#include "tools/vornhost/site/site_sync.h"
#include "tools/vornhost/verbs/number_range.h"
#include "tools/vornhost/verbs/options.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

constexpr int MostJobs = 1024;
constexpr int MostCameras = 1'000'000;

constexpr const char* SiteHelp =
    R"(A site file describes all cameras of a place; docs/site.md tells what it holds.
Exit status 1 when a camera differs or has a fault, 2 for a site file that is refused.
Examples:
  vornhost site check yard.json
  vornhost site check yard.json --only 'gate*' --only tag:outside --json
  vornhost site sync yard.json --dry-run --plan tonight.json)";

constexpr const char* InitHelp =
    R"(Who is no camera is told on standard error, with the cause. The password is not in the file; with
--user and --password-file it says where it is.
Exit status 1 when some address that answers, or was named by itself, has no camera that can be asked.
Example: vornhost --user admin --password-file pw site init 192.168.0.10-40 > yard.json)";

constexpr const char* CheckHelp =
    R"(With --json a line a camera as it is done and a summary last; with --timeout S no answer is waited for
longer. Exit status 1 when a camera differs or has a fault.
Example: vornhost site check yard.json --only 'gate*' --only tag:outside --json)";

constexpr const char* SyncHelp =
    R"(Reads back what was set, and once more when all are set: a camera is "changed" when it reports what was
asked, and else "not-accepted". Nothing is written to one that has another serial number than the file's,
or that cannot have what is wanted. A second sync writes nothing.
Exit status 1 when a camera has not accepted a value or has a fault, and in a dry run when one differs.
Examples:
  vornhost site sync yard.json --dry-run --plan tonight.json
  vornhost site sync yard.json --plan tonight.json
  vornhost site sync yard.json --max-changes 20 --one-first)";

constexpr const char* EventsHelp =
    R"(Each input's level when it is first heard, then each change once; a camera that is lost, and that comes
again: {"event":"camera","name":...,"state":"down"|"up",...}. A lost one is tried again after 1 s, 2 s and
so on up to 30 s. Ctrl-C ends it. Exit status 1 when a camera is lost at the end.
Example: vornhost site events yard.json --only tag:outside)";

constexpr const char* DoctorHelp =
    R"(Each camera in a process of its own; changes nothing there. Exit status 1 when a camera has a fault.
`vornhost doctor NAME --site SITE` looks at one, and shows every check.
Example: vornhost site doctor yard.json)";

class CSite : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.require_subcommand(1);
        declareInit(command);
        declareVerb(command, "list", "A line a camera: name, address, model, firmware, state", list_,
                    CheckHelp);
        declareVerb(command, "check", "Is each camera set as the file wants it? Writes nothing", check_,
                    CheckHelp);
        declareVerb(command, "sync", "Sets those that are not", sync_, SyncHelp);
        sync_->add_flag("--dry-run", syncOptions_.isDryRun, "Write nothing to a camera");
        sync_
            ->add_option("--plan", syncOptions_.planFile,
                         "Of a dry run: what is to be written; else it is carried out, and no camera touched "
                         "that has changed since")
            ->type_name("FILE")
            ->check(CLI::Validator([](const std::string& name) { return name.empty() ? "no file name" : ""; },
                                   ""));
        sync_
            ->add_option("--max-changes", syncOptions_.mostChanges,
                         "Stop before the first write when more cameras would change")
            ->type_name("N")
            ->check(Between(0, MostCameras));
        sync_->add_flag("--one-first", syncOptions_.oneFirst,
                        "One camera, then a check of it, then the others");
        declareVerb(command, "events", "The alarm inputs of all, as JSON lines", events_, EventsHelp);
        DeclareSeconds(*events_, seconds_, "How long (default: until Ctrl-C)");
        declareVerb(command, "doctor", "The doctor on all, with the causes counted", doctor_, DoctorHelp);
        command.footer(SiteHelp);
    }

    ExitStatus run(const SOptions& options) override {
        refhost::PrepareForManyCameras();
        if (init_->parsed()) {
            surveyOptions_.jobs = siteOptions_.jobs;
            return CSiteSurvey(options, surveyOptions_).run();
        }
        CSiteRun run(options, siteOptions_);
        if (events_->parsed())
            return WatchEvents(run, siteOptions_.jobs, seconds_);
        if (doctor_->parsed()) {
            const CSiteDoctor doctor(options, siteOptions_.file);
            run.each([&](const site::SSiteCamera& camera, SCameraFinding& finding) {
                return doctor.examine(camera, finding);
            });
            return run.end();
        }
        site::CAcceptedValues accepted = openAccepted(siteOptions_.file);
        const SAllowances allowances{UtcToday(), &accepted};
        if (sync_->parsed())
            return CSiteSync(run, syncOptions_, allowances).run();
        run.each(run.cameras(), [&](CSiteCamera& camera, SCameraFinding& finding) {
            camera.work().compare(finding, allowances);
            if (list_->parsed())
                camera.describe(finding);
        });
        return run.end(list_->parsed());
    }

private:
    static site::CAcceptedValues openAccepted(const std::string& file) {
        try {
            return site::CAcceptedValues(file);
        } catch (const site::CFileError& error) {
            throw CFailure(ExitStatus::WrongUsage, error.what(), OwnCause::WrongFile);
        }
    }

    void declareInit(CLI::App& command) {
        init_ = command.add_subcommand("init", "Asks who is there, and prints a site file of the cameras");
        init_->fallthrough();
        init_
            ->add_option("ADDRESS", surveyOptions_.words,
                         "Addresses and ranges, as `vornhost identify` has them")
            ->required();
        init_->add_flag("--with-settings", surveyOptions_.withSettings,
                        "With what each camera has as its wish");
        declareJobs(*init_);
        init_->footer(InitHelp);
    }

    void declareVerb(CLI::App& command, const char* name, const char* summary, CLI::App*& verb,
                     const char* help) {
        verb = command.add_subcommand(name, summary);
        verb->fallthrough();
        verb->add_option("SITE", siteOptions_.file, "The site file")->required();
        verb->add_option("--only", siteOptions_.only,
                         "A shell pattern for names, or tag:WORD; may be repeated")
            ->type_name("PATTERN")
            ->allow_extra_args(false);
        declareJobs(*verb);
        verb->footer(help);
    }

    void declareJobs(CLI::App& verb) {
        verb.add_option("--jobs", siteOptions_.jobs, "Cameras at once")
            ->capture_default_str()
            ->type_name("N")
            ->check(Between(1, MostJobs));
    }

    SSiteOptions siteOptions_;
    SSyncOptions syncOptions_;
    SSurveyOptions surveyOptions_;
    CLI::App* init_ = nullptr;
    CLI::App* list_ = nullptr;
    CLI::App* check_ = nullptr;
    CLI::App* sync_ = nullptr;
    CLI::App* events_ = nullptr;
    CLI::App* doctor_ = nullptr;
    std::optional<double> seconds_;
};

} // namespace

std::unique_ptr<IVerb> MakeSiteVerb() {
    return std::make_unique<CSite>();
}

} // namespace corvane::vornhost
