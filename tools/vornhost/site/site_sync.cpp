#include "tools/vornhost/site/site_sync.h"

#include "site/text_file.h"
#include "tools/vornhost/console/standard_streams.h"
#include "tools/vornhost/console/terminal_text.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace corvane::vornhost {
namespace {

// A camera that cannot keep a setting has its old one again by then.
constexpr std::chrono::milliseconds LongestToJumpBack{1'500};

bool Differs(const SCameraFinding& finding) {
    return finding.state == CameraState::Differs;
}

std::vector<site::SPlannedChange> ChangesOf(const SCameraFinding& finding) {
    std::vector<site::SPlannedChange> changes;
    for (const SComparison& one : finding.differences)
        changes.push_back({ToldOf(one.of), one.field, one.wanted, one.camera});
    return changes;
}

const site::SPlannedCamera* FindIn(const site::SitePlan& plan, const std::string& name) {
    const auto found = std::find_if(plan.begin(), plan.end(),
                                    [&](const site::SPlannedCamera& one) { return one.name == name; });
    return found == plan.end() ? nullptr : &*found;
}

template <class Use>
void WithFile(const Use& use) {
    try {
        use();
    } catch (const site::CFileError& error) {
        throw CFailure(ExitStatus::WrongUsage, std::string("--plan: ") + error.what(), OwnCause::WrongFile);
    }
}

} // namespace

ExitStatus CSiteSync::run() {
    if (options_.isDryRun)
        return dryRun();
    if (!options_.planFile.empty())
        readPlan();
    const auto synchroniseOne = [this](CSiteCamera& camera, SCameraFinding& finding) {
        synchronise(camera, finding);
    };
    if (!options_.mostChanges && !options_.oneFirst) {
        run_.each(run_.cameras(), synchroniseOne);
        return run_.end();
    }
    std::vector<SCameraFinding> differing = compareAll();
    if (options_.mostChanges && differing.size() > *options_.mostChanges)
        leave(std::move(differing), std::to_string(differing.size()) +
                                        " cameras would change, and --max-changes allows " +
                                        std::to_string(*options_.mostChanges) + "; nothing was written");
    else if (options_.oneFirst && !differing.empty() && !setOneFirst(differing))
        leave(std::move(differing), "the first camera is not as it is wanted; the others were left alone");
    else
        set(differing);
    return run_.end();
}

ExitStatus CSiteSync::dryRun() {
    std::vector<SCameraFinding> differing = compareAll();
    site::SitePlan plan;
    for (const SCameraFinding& one : differing)
        plan.push_back({one.camera->name, one.camera->address, ChangesOf(one)});
    if (!options_.planFile.empty() && !run_.isEnded())
        WithFile([&] { site::WritePlan(options_.planFile, plan); });
    for (SCameraFinding& one : differing)
        run_.tell(std::move(one));
    return run_.end();
}

// Those that differ; the others have been told.
std::vector<SCameraFinding> CSiteSync::compareAll() {
    return run_.each(
        run_.cameras(),
        [this](CSiteCamera& camera, SCameraFinding& finding) {
            camera.compare(finding, allowances_);
            requirePlanned(finding);
        },
        [](const SCameraFinding& finding) { return !Differs(finding); });
}

// Takes the first out of those that differ. Whether it is now as it is wanted, and still is a while later.
bool CSiteSync::setOneFirst(std::vector<SCameraFinding>& differing) {
    bool isWell = false;
    run_.each({differing.front().camera}, [&](CSiteCamera& camera, SCameraFinding& finding) {
        synchronise(camera, finding);
        std::this_thread::sleep_for(LongestToJumpBack);
        const auto anew = run_.session(*finding.camera); // what the present one knows may be older
        SCameraFinding again;
        if (!(again.problem = anew->open()))
            anew->compare(again, allowances_);
        isWell = !finding.problem && finding.state != CameraState::NotAccepted &&
                 again.state == CameraState::Same && !again.problem;
        if (finding.state == CameraState::Changed && Differs(again)) {
            finding.state = CameraState::NotAccepted;
            finding.differences = std::move(again.differences);
        }
    });
    differing.erase(differing.begin());
    return isWell;
}

void CSiteSync::set(const std::vector<SCameraFinding>& differing) {
    CSiteRun::Cameras cameras;
    for (const SCameraFinding& one : differing)
        cameras.push_back(one.camera);
    run_.each(cameras,
              [this](CSiteCamera& camera, SCameraFinding& finding) { synchronise(camera, finding); });
}

void CSiteSync::leave(std::vector<SCameraFinding> differing, const std::string& reason) {
    for (SCameraFinding& one : differing)
        run_.tell(std::move(one));
    WriteMessage("vornhost: site sync: stopped: " + reason + "\n");
}

void CSiteSync::synchronise(CSiteCamera& camera, SCameraFinding& finding) const {
    camera.compare(finding, allowances_);
    requirePlanned(finding);
    if (!run_.isEnded())
        camera.set(finding, allowances_);
}

void CSiteSync::readPlan() {
    WithFile([this] { plan_ = site::ReadPlan(options_.planFile); });
    run_.restrictTo(
        [this](const site::SSiteCamera& camera) { return FindIn(*plan_, camera.name) != nullptr; });
    if (run_.cameras().size() < plan_->size())
        throw CFailure(ExitStatus::WrongUsage,
                       "--plan: the plan has cameras that the site file, or --only, does not have",
                       OwnCause::WrongFile);
}

// A camera that is as it is wanted already may be as it likes.
void CSiteSync::requirePlanned(SCameraFinding& finding) const {
    const site::SPlannedCamera* const planned = plan_ ? FindIn(*plan_, finding.camera->name) : nullptr;
    if (!planned || finding.problem || finding.differences.empty())
        return;
    if (planned->address == finding.camera->address && planned->changes == ChangesOf(finding))
        return;
    SDiagnosis changed;
    changed.problem = "the camera, or what is wanted of it, is not as it was when the plan was made";
    changed.request = "what differs now";
    Texts now;
    for (const SComparison& one : finding.differences)
        now.push_back(one.text());
    changed.reply = Join(now, "; ");
    changed.advice = "make a plan anew; nothing was written to the camera";
    changed.cause = "differs";
    changed.phase = "site";
    finding.problem = changed;
}

} // namespace corvane::vornhost
