#include "tools/vornhost/site/site_sync.h"

#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/text_file.h"
#include "tools/vornhost/names.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <utility>

namespace corvane::vornhost {
namespace {

constexpr std::chrono::milliseconds LookForEnd{20};

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

// Of the same value.
const SComparison* FindIn(const std::vector<SComparison>& all, const SComparison& value) {
    const auto found = std::find_if(all.begin(), all.end(), [&](const SComparison& one) {
        return one.of == value.of && one.field == value.field;
    });
    return found == all.end() ? nullptr : &*found;
}

template <class Use>
void WithFile(const Use& use) {
    try {
        use();
    } catch (const site::CUnwritableFile& error) {
        throw CFailure(ExitStatus::CallFailed, std::string("--plan: ") + error.what(), OwnCause::CannotWrite);
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
    if (options_.mostChanges || options_.oneFirst)
        setCarefully();
    else
        (void)set(run_.cameras());
    const bool isKept = keepAccepted();
    const ExitStatus status = run_.end();
    return isKept ? status : ExitStatus::CallFailed;
}

void CSiteSync::setCarefully() {
    std::vector<SCameraFinding> differing = compareAll();
    if (const std::size_t count = differing.size(); options_.mostChanges && count > *options_.mostChanges)
        return leave(std::move(differing),
                     std::to_string(count) + " cameras would change, and --max-changes allows " +
                         std::to_string(*options_.mostChanges) + "; nothing was written");
    CSiteRun::Cameras cameras;
    for (const SCameraFinding& one : differing)
        cameras.push_back(one.camera);
    if (options_.oneFirst && !cameras.empty()) {
        const bool isWell = set({cameras.front()});
        cameras.erase(cameras.begin());
        differing.erase(differing.begin());
        if (!isWell)
            return leave(std::move(differing),
                         "the first camera is not as it is wanted; the others were left alone");
    }
    (void)set(cameras);
}

ExitStatus CSiteSync::dryRun() {
    if (!options_.planFile.empty())
        WithFile([this] { site::RequireReplaceable(options_.planFile); });
    std::vector<SCameraFinding> differing = compareAll();
    const site::SitePlan plan = planOf(differing);
    for (SCameraFinding& one : differing)
        run_.tell(std::move(one));
    try {
        if (!options_.planFile.empty() && !run_.isEnded())
            WithFile([&] { site::WritePlan(options_.planFile, plan); });
    } catch (const CFailure& failure) { // what was found is told all the same
        run_.tell(failure);
        (void)run_.end();
        return failure.status();
    }
    return run_.end();
}

// Of every camera: nothing is to be done at one that has no changes, so that it is refused once it has some.
site::SitePlan CSiteSync::planOf(const std::vector<SCameraFinding>& differing) const {
    site::SitePlan plan;
    auto next = differing.begin(); // in the same order
    for (const site::SSiteCamera* const camera : run_.cameras()) {
        plan.push_back({camera->name, camera->address, "", {}});
        if (next == differing.end() || next->camera != camera)
            continue;
        plan.back().serialNumber = next->serialNumber;
        plan.back().changes = ChangesOf(*next++);
    }
    return plan;
}

// Those that differ; the others have been told.
std::vector<SCameraFinding> CSiteSync::compareAll() {
    return run_.each(
        run_.cameras(),
        [this](CSiteCamera& camera, SCameraFinding& finding) {
            camera.work().compare(finding, allowances_);
            requirePlanned(finding);
        },
        [](const SCameraFinding& finding) { return !Differs(finding); });
}

// Whether all are as they are wanted then.
bool CSiteSync::set(const CSiteRun::Cameras& cameras) {
    std::atomic<bool> isWell{true};
    std::vector<SCameraFinding> changed = run_.each(
        cameras, [this](CSiteCamera& camera, SCameraFinding& finding) { synchronise(camera, finding); },
        [&](const SCameraFinding& finding) {
            if (finding.state != CameraState::Changed && finding.state != CameraState::Same)
                isWell = false;
            return finding.state != CameraState::Changed;
        });
    for (SCameraFinding& one : confirm(std::move(changed))) {
        if (one.state != CameraState::Changed)
            isWell = false;
        run_.tell(std::move(one));
    }
    return isWell;
}

// What was set, as it is when no camera can jump back any more: each is asked anew, since what was known of
// it may be older.
std::vector<SCameraFinding> CSiteSync::confirm(std::vector<SCameraFinding> changed) {
    if (changed.empty())
        return changed;
    const auto end = std::chrono::steady_clock::now() + LongestToJumpBack;
    while (!run_.isEnded() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(LookForEnd); // Ctrl-C ends the wait
    CSiteRun::Cameras cameras;
    for (const SCameraFinding& one : changed)
        cameras.push_back(one.camera);
    const auto looks = run_.each(
        cameras,
        [this](CSiteCamera& camera, SCameraFinding& finding) { camera.work().compare(finding, allowances_); },
        [](const SCameraFinding&) { return false; });
    for (const SCameraFinding& look : looks) {
        const auto was = std::lower_bound(
            changed.begin(), changed.end(), look.camera,
            [](const SCameraFinding& one, const site::SSiteCamera* camera) { return one.camera < camera; });
        was->milliseconds += look.milliseconds;
        was->problem = look.problem;
        was->differences = look.differences;
        for (SChange& change : was->changes)
            if (const SComparison* const since = FindIn(look.differences, change.before))
                change.after = since->camera;
        if (look.state != CameraState::Same)
            was->state = look.problem ? CameraState::Fault : CameraState::NotAccepted;
    }
    return changed;
}

// Whether what cameras have rounded counts as the same next time.
bool CSiteSync::keepAccepted() const {
    try {
        allowances_.accepted->save(run_.names());
        return true;
    } catch (const site::CFileError& error) {
        WriteMessage(std::string("vornhost: site sync: ") + error.what() +
                     "; what cameras have rounded will be set once more\n");
        return false;
    }
}

void CSiteSync::leave(std::vector<SCameraFinding> differing, const std::string& reason) {
    for (SCameraFinding& one : differing)
        run_.tell(std::move(one));
    WriteMessage("vornhost: site sync: stopped: " + reason + "\n");
}

void CSiteSync::synchronise(CSiteCamera& camera, SCameraFinding& finding) const {
    camera.work().compare(finding, allowances_);
    requirePlanned(finding);
    if (!run_.isEnded())
        camera.work().set(finding, allowances_);
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
    const bool isOther = !planned->serialNumber.empty() && !finding.serialNumber.empty() &&
                         planned->serialNumber != finding.serialNumber;
    if (!isOther && planned->address == finding.camera->address && planned->changes == ChangesOf(finding))
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
