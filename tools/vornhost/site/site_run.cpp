#include "tools/vornhost/site/site_run.h"

#include "site/base/elapsed.h"
#include "site/base/json_line.h"
#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/bounded_work.h"
#include "site/cameras/site_wish.h"
#include "site/selection.h"
#include "tools/vornhost/names.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace corvane::vornhost {
namespace {

constexpr CameraState States[] = {CameraState::Same, CameraState::Differs, CameraState::Changed,
                                  CameraState::NotAccepted, CameraState::Fault};

// As the summary names them.
const char* CountName(CameraState state) {
    return state == CameraState::NotAccepted ? "notAccepted" : NameOf(state);
}

std::string WhatIsToSee(const SCameraFinding& finding) {
    if (finding.problem)
        return finding.problem->cause + ": " + finding.problem->problem +
               (finding.problem->reply.empty() ? "" : " (" + finding.problem->reply + ")");
    Texts texts;
    for (const SComparison& difference : finding.differences)
        texts.push_back(difference.text());
    if (texts.empty())
        for (const SChange& change : finding.changes)
            texts.push_back(
                change.before.of + "." + change.before.field + " was " + change.before.camera + ", is " +
                change.after +
                (change.after == change.before.wanted ? "" : " (wanted " + change.before.wanted + ")"));
    return Join(texts, "; ");
}

// "12 cameras: wrong password; 3: no answer", the most frequent first.
std::string CausesText(const std::map<std::string, std::size_t>& causes) {
    std::vector<std::pair<std::string, std::size_t>> sorted(causes.begin(), causes.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    Texts texts;
    for (auto [cause, count] : sorted) {
        std::replace(cause.begin(), cause.end(), '-', ' ');
        const char* const unit = !texts.empty() ? "" : count == 1 ? " camera" : " cameras";
        texts.push_back(std::to_string(count) + unit + ": " + cause);
    }
    return Join(texts, "; ");
}

} // namespace

CSiteRun::CSiteRun(const SOptions& options, SSiteOptions siteOptions)
    : siteOptions_(std::move(siteOptions)),
      isForPrograms_(options.json),
      sessions_(options, siteOptions_.file, SRecorder(options)),
      progress_(!options.json) {
    const std::vector<site::SSiteCamera>& all = sessions_.site().cameras;
    for (const site::SSiteCamera& camera : all) {
        names_.insert(camera.name);
        if (site::IsSelected(camera, siteOptions_.only))
            cameras_.push_back(&camera);
    }
    if (cameras_.empty())
        throw CFailure(ExitStatus::WrongUsage,
                       all.empty() ? "the site file has no camera" : "--only chooses no camera of the site");
}

void CSiteRun::restrictTo(const std::function<bool(const site::SSiteCamera&)>& isMeant) {
    cameras_.erase(std::remove_if(cameras_.begin(), cameras_.end(),
                                  [&](const site::SSiteCamera* camera) { return !isMeant(*camera); }),
                   cameras_.end());
}

std::vector<SCameraFinding> CSiteRun::each(const Cameras& cameras, const Work& work, const IsTold& isTold) {
    std::vector<SCameraFinding> kept;
    site::ForEachPlace(cameras.size(), {siteOptions_.jobs}, isEnded_, [&](std::size_t place) {
        SCameraFinding finding =
            looked(*cameras[place], [&](const site::SSiteCamera& camera) { return worked(camera, work); });
        if (!isTold || isTold(finding))
            return tell(std::move(finding));
        const std::lock_guard<std::mutex> lock(mutex_);
        ++looked_[finding.state];
        kept.push_back(std::move(finding));
        showProgress();
    });
    std::sort(kept.begin(), kept.end(),
              [](const SCameraFinding& a, const SCameraFinding& b) { return a.camera < b.camera; });
    return kept;
}

ExitStatus CSiteRun::end(bool tellsAll) {
    const std::lock_guard<std::mutex> lock(mutex_);
    progress_.clear();
    if (isForPrograms_)
        WriteOutput(JsonLine(summary()));
    else
        tellTable(tellsAll);
    return status();
}

void CSiteRun::each(const Look& look) {
    site::ForEachPlace(cameras_.size(), {siteOptions_.jobs}, isEnded_, [&](std::size_t place) {
        bool isComplete = true;
        SCameraFinding finding = looked(*cameras_[place], [&](const site::SSiteCamera& camera) {
            SCameraFinding found;
            isComplete = look(camera, found);
            return found;
        });
        if (isComplete || !isEnded_)
            tell(std::move(finding));
    });
}

SCameraFinding CSiteRun::worked(const site::SSiteCamera& camera, const Work& work) const {
    SCameraFinding finding;
    finding.camera = &camera;
    const auto one = sessions_.open(camera);
    if (auto failure = one->open())
        finding.problem = std::move(failure);
    else
        work(*one, finding);
    return finding;
}

SCameraFinding CSiteRun::looked(const site::SSiteCamera& camera,
                                const std::function<SCameraFinding(const site::SSiteCamera& camera)>& look) {
    const auto begin = std::chrono::steady_clock::now();
    SCameraFinding finding;
    try {
        finding = look(camera);
    } catch (const CFailure& failure) {
        finding.problem = DiagnoseOwn(failure);
    } catch (const std::exception& failure) { // short of memory or threads: this camera's alone
        finding.problem = DiagnoseOwn({ExitStatus::NotStarted, failure.what(), OwnCause::Limit});
    }
    finding.camera = &camera;
    if (finding.problem) { // what was found before it is not to be relied on
        finding.state = CameraState::Fault;
        finding.differences.clear();
        finding.changes.clear();
        finding.ignored = 0;
    }
    finding.milliseconds = MillisecondsSince(begin);
    return finding;
}

void CSiteRun::tell(SCameraFinding finding) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (isForPrograms_) {
        ordered_json json = FindingJson(finding);
        if (!finding.model.empty())
            json["model"] = finding.model;
        if (!finding.firmware.empty())
            json["firmware"] = finding.firmware;
        json["ms"] = ThreeDecimals(finding.milliseconds);
        WriteOutput(JsonLine(json));
    }
    ++looked_[finding.state];
    findings_.push_back(std::move(finding));
    showProgress();
}

void CSiteRun::tell(const CFailure& failure) const {
    WriteMessage(std::string("vornhost: ") + failure.what() + "\n");
    if (isForPrograms_)
        WriteOutput(ProblemLine(DiagnoseOwn(failure)));
}

// REQUIRES: mutex_ held.
void CSiteRun::showProgress() {
    std::size_t looked = 0;
    for (const auto& [state, count] : looked_)
        looked += count;
    // Of a sync that compares all before it sets any, the second look counts too.
    const std::size_t all = std::max(cameras_.size(), looked);
    const double left =
        MillisecondsSince(begin_) / static_cast<double>(looked) * static_cast<double>(all - looked) / 1000;
    progress_.show(std::to_string(looked) + " of " + std::to_string(all) + " cameras, " +
                   std::to_string(looked_[CameraState::Differs]) + " differ, " +
                   std::to_string(looked_[CameraState::Fault]) + " faults, " + SecondsText(left) + " left");
}

ordered_json CSiteRun::summary() const {
    ordered_json json{{"summary", true}, {"cameras", findings_.size()}};
    for (const CameraState state : States)
        json[CountName(state)] = std::count_if(findings_.begin(), findings_.end(),
                                               [&](const SCameraFinding& one) { return one.state == state; });
    std::size_t ignored = 0;
    for (const SCameraFinding& one : findings_)
        ignored += one.ignored;
    json["ignored"] = ignored;
    if (const auto causes = this->causes(); !causes.empty())
        json["causes"] = causes;
    if (findings_.size() < cameras_.size())
        json["notDone"] = cameras_.size() - findings_.size();
    json["ms"] = ThreeDecimals(MillisecondsSince(begin_));
    return json;
}

// Worst first, and those of a kind in the file's order; only what needs attention unless all are told.
void CSiteRun::tellTable(bool tellsAll) const {
    std::vector<const SCameraFinding*> rows;
    for (const SCameraFinding& one : findings_)
        if (tellsAll || one.state != CameraState::Same)
            rows.push_back(&one);
    std::sort(rows.begin(), rows.end(), [tellsAll](const SCameraFinding* a, const SCameraFinding* b) {
        return tellsAll ? a->camera < b->camera
                        : std::make_pair(a->state, a->camera) < std::make_pair(b->state, b->camera);
    });
    CTable table(tellsAll ? Texts{"NAME", "ADDRESS", "MODEL", "FIRMWARE", "STATE"}
                          : Texts{"NAME", "ADDRESS", "STATE", "WHAT IS TO SEE"});
    for (const SCameraFinding* const row : rows) {
        const std::string cause = tellsAll && row->problem ? " (" + row->problem->cause + ")" : "";
        const std::string state = NameOf(row->state) + cause;
        table.addRow(tellsAll
                         ? Texts{row->camera->name, row->camera->address,
                                 row->model.empty() ? row->camera->model : row->model, row->firmware, state}
                         : Texts{row->camera->name, row->camera->address, state, WhatIsToSee(*row)});
    }
    std::string text = rows.empty() ? "" : table.headingLines(ColourWanted()) + table.rowLines();
    const ordered_json counts = summary();
    text += std::to_string(findings_.size()) + " cameras";
    for (const CameraState state : States)
        if (const auto count = counts[CountName(state)].get<std::size_t>(); count > 0)
            text += ", " + std::to_string(count) + " " + NameOf(state);
    if (const auto ignored = counts["ignored"].get<std::size_t>(); ignored > 0)
        text += "; " + std::to_string(ignored) + " differences ignored";
    if (findings_.size() < cameras_.size())
        text += "; " + std::to_string(cameras_.size() - findings_.size()) + " cameras not looked at";
    text += "\n";
    if (const auto causes = this->causes(); !causes.empty())
        text += CausesText(causes) + "\n";
    WriteOutput(text);
}

std::map<std::string, std::size_t> CSiteRun::causes() const {
    std::map<std::string, std::size_t> causes;
    for (const SCameraFinding& one : findings_)
        if (one.problem)
            ++causes[one.problem->cause];
    return causes;
}

ExitStatus CSiteRun::status() const {
    const bool areAllWell = findings_.size() == cameras_.size() &&
                            std::all_of(findings_.begin(), findings_.end(), [](const SCameraFinding& one) {
                                return one.state == CameraState::Same || one.state == CameraState::Changed;
                            });
    return areAllWell ? ExitStatus::Success : ExitStatus::CallFailed;
}

} // namespace corvane::vornhost
