#include "tools/vornhost/site/site_run.h"

#include "site/bounded_work.h"
#include "site/selection.h"
#include "tools/vornhost/console/json_line.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/console/standard_streams.h"
#include "tools/vornhost/console/terminal_text.h"
#include "tools/vornhost/site/site_wish.h"

#include <sys/stat.h>

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

void WarnOfReaders(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) == 0 && (status.st_mode & (S_IRGRP | S_IROTH)) != 0)
        WriteMessage("vornhost: warning: others may read the password file \"" + PrintableText(file) +
                     "\" (chmod 600)\n");
}

double MillisecondsSince(std::chrono::steady_clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

std::string WhatIsToSee(const SCameraFinding& finding) {
    if (finding.problem)
        return finding.problem->cause + ": " + finding.problem->problem;
    Texts texts;
    for (const SDifference& difference : finding.differences)
        texts.push_back(difference.text());
    return Join(texts, "; ");
}

} // namespace

CSiteRun::CSiteRun(const SOptions& options, SSiteOptions siteOptions)
    : options_(options), siteOptions_(std::move(siteOptions)), progress_(!options.json) {
    const SRecorder& first = recorders_.try_emplace(std::nullopt, options_).first->second;
    site::SSite all = OpenSite(siteOptions_.file, *first.plugin->models());
    for (site::SSiteCamera& camera : all.cameras)
        if (site::IsSelected(camera, siteOptions_.only))
            cameras_.push_back(std::move(camera));
    if (cameras_.empty())
        throw CFailure(ExitStatus::WrongUsage, all.cameras.empty() ? "the site file has no camera"
                                                                   : "--only chooses no camera of the site");
    for (const site::SSiteCamera& camera : cameras_) {
        SOptions withPort = options_;
        withPort.rtspPort = camera.rtspPort;
        if (camera.rtspPort && recorders_.count(camera.rtspPort) == 0)
            recorders_.emplace(camera.rtspPort,
                               SRecorder(std::make_shared<CLoadedPlugin>(withPort), first.database));
    }
    for (const auto& [name, one] : all.credentials) {
        WarnOfReaders(one.passwordFile);
        credentials_.emplace(name, CCredentials::given(one.user, one.passwordFile));
    }
    credentials_.emplace("", CCredentials::fromOptions(options_));
}

const SRecorder& CSiteRun::recorderOf(const site::SSiteCamera& camera) const {
    return recorders_.at(camera.rtspPort);
}

CCredentials CSiteRun::credentialsOf(const site::SSiteCamera& camera) const {
    return credentials_.at(camera.credentials);
}

ExitStatus CSiteRun::run(const Work& work, bool tellsAll) {
    const CEndRequest end([this] { isEnded_ = true; });
    site::ForEachPlace(cameras_.size(), siteOptions_.jobs, isEnded_,
                       [&](std::size_t place) { take(look(cameras_[place], work)); });
    const std::lock_guard<std::mutex> lock(mutex_);
    progress_.clear();
    if (options_.json)
        WriteOutput(JsonLine(summary()));
    else
        tellTable(tellsAll);
    return status();
}

SCameraFinding CSiteRun::look(const site::SSiteCamera& camera, const Work& work) const {
    const auto begin = std::chrono::steady_clock::now();
    SCameraFinding finding;
    finding.camera = &camera;
    try {
        CSiteCamera one(camera, recorderOf(camera), options_, credentialsOf(camera));
        if (auto failure = one.open())
            finding.problem = std::move(failure);
        else
            work(one, finding);
    } catch (const CFailure& failure) {
        finding.problem = DiagnoseOwn(failure);
    } catch (const std::exception& failure) { // short of memory or threads: this camera's alone
        finding.problem = DiagnoseOwn({ExitStatus::NotStarted, failure.what(), OwnCause::Limit});
    }
    if (finding.problem) { // what was found before it is not to be relied on
        finding.state = CameraState::Fault;
        finding.differences.clear();
        finding.ignored = 0;
    }
    finding.milliseconds = MillisecondsSince(begin);
    return finding;
}

void CSiteRun::take(SCameraFinding finding) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (options_.json) {
        ordered_json json = FindingJson(finding);
        if (!finding.model.empty())
            json["model"] = finding.model;
        if (!finding.firmware.empty())
            json["firmware"] = finding.firmware;
        json["ms"] = ThreeDecimals(finding.milliseconds);
        WriteOutput(JsonLine(json));
    }
    findings_.push_back(std::move(finding));
    showProgress();
}

// REQUIRES: mutex_ held.
void CSiteRun::showProgress() {
    const auto count = [this](CameraState state) {
        return std::to_string(std::count_if(findings_.begin(), findings_.end(),
                                            [&](const SCameraFinding& one) { return one.state == state; }));
    };
    const double left = MillisecondsSince(begin_) / static_cast<double>(findings_.size()) *
                        static_cast<double>(cameras_.size() - findings_.size()) / 1000;
    progress_.show(std::to_string(findings_.size()) + " of " + std::to_string(cameras_.size()) +
                   " cameras, " + count(CameraState::Differs) + " differ, " + count(CameraState::Fault) +
                   " faults, " + SecondsText(left) + " left");
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
        const std::string state =
            tellsAll && row->problem ? row->problem->cause : std::string(NameOf(row->state));
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
    WriteOutput(text + "\n");
}

ExitStatus CSiteRun::status() const {
    const bool areAllWell = findings_.size() == cameras_.size() &&
                            std::all_of(findings_.begin(), findings_.end(), [](const SCameraFinding& one) {
                                return one.state == CameraState::Same || one.state == CameraState::Changed;
                            });
    return areAllWell ? ExitStatus::Success : ExitStatus::CallFailed;
}

} // namespace corvane::vornhost
