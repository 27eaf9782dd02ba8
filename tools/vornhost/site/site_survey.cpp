#include "tools/vornhost/site/site_survey.h"

#include "refhost/http/connection_probe.h"
#include "site/base/json_line.h"
#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/bounded_work.h"
#include "site/calls/call.h"
#include "site/cameras/present_settings.h"
#include "site/report/stream_fields.h"
#include "site/session/identification.h"
#include "site/site_file_text.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/session/address_ranges.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <utility>

namespace corvane::vornhost {
namespace {

constexpr const char* CredentialsName = "cameras";
constexpr std::size_t LongestName = 64; // of a camera in a site file

// The address, with what a name cannot have as "-".
std::string NameOfAddress(const std::string& address) {
    std::string name = address.substr(0, LongestName);
    std::replace_if(
        name.begin(), name.end(),
        [](char one) {
            return std::isalnum(static_cast<unsigned char>(one)) == 0 && one != '.' && one != '_';
        },
        '-');
    return name;
}

} // namespace

CSiteSurvey::CSiteSurvey(const SOptions& options, SSurveyOptions surveyOptions)
    : options_(options),
      surveyOptions_(std::move(surveyOptions)),
      recorder_(options),
      credentials_(CCredentials::fromOptions(options)) {
    std::set<std::string> known;
    Texts ofRanges;
    for (const std::string& word : surveyOptions_.words) {
        const Texts all = AddressesOf(word);
        for (const std::string& address : all)
            if (known.insert(address).second)
                (all.size() == 1 ? addresses_ : ofRanges).push_back(address);
    }
    single_ = addresses_.size();
    addresses_.insert(addresses_.end(), ofRanges.begin(), ofRanges.end());
}

ExitStatus CSiteSurvey::run() {
    const CEndRequest end([this] { isEnded_ = true; });
    askAll();
    progress_.clear();
    const std::string text = site::SiteFileText(site());
    WriteOutput(options_.json ? JsonLine(ordered_json::parse(text)) : text);
    tellMissing();
    return status();
}

void CSiteSurvey::askAll() {
    std::vector<std::size_t> places; // where somebody takes connections
    refhost::ProbeConnections(
        addresses_, options_.patience(LongestIdentification),
        [&](std::size_t place, const refhost::SProbedConnection& probed) {
            if (probed.kind == refhost::HttpFailure::None)
                places.push_back(place);
            else
                take(place, *NobodyThere(addresses_[place], *recorder_.plugin->models(), probed).failure);
        });
    std::sort(places.begin(), places.end());
    site::ForEachPlace(places.size(), {surveyOptions_.jobs}, isEnded_,
                       [&](std::size_t which) { ask(places[which]); });
}

void CSiteSurvey::ask(std::size_t place) {
    const std::string& address = addresses_[place];
    try {
        CDeviceSession session(recorder_, options_, credentials_, address);
        auto problem = session.askIdentity();
        if (!problem && surveyOptions_.withSettings)
            problem = session.initialize();
        if (problem)
            return take(place, std::move(*problem));
        site::SSiteCamera camera = cameraAt(address, session);
        if (surveyOptions_.withSettings)
            problem = DiagnoseUnread(session.exchanges());
        if (problem)
            return take(place, std::move(*problem));
        take(place, std::move(camera));
    } catch (const CFailure& failure) {
        take(place, DiagnoseOwn(failure));
    } catch (const std::exception& failure) { // short of memory or threads
        take(place, DiagnoseOwn({ExitStatus::NotStarted, failure.what(), OwnCause::Limit}));
    }
}

site::SSiteCamera CSiteSurvey::cameraAt(const std::string& address, CDeviceSession& session) const {
    site::SSiteCamera camera;
    camera.name = NameOfAddress(address);
    camera.address = address;
    camera.model = session.listedNumber();
    camera.serialNumber = session.serialNumber();
    if (surveyOptions_.withSettings && session.model()) {
        const CPresentSettings present(session);
        camera.streams = present.streams();
        camera.adjustments = present.adjustments();
    }
    return camera;
}

void CSiteSurvey::take(std::size_t place, site::SSiteCamera camera) {
    const std::lock_guard<std::mutex> lock(mutex_);
    cameras_.emplace(place, std::move(camera));
    showProgress();
}

void CSiteSurvey::take(std::size_t place, SDiagnosis problem) {
    const std::lock_guard<std::mutex> lock(mutex_);
    missing_.emplace(place, std::move(problem));
    showProgress();
}

// REQUIRES: mutex_ held.
void CSiteSurvey::showProgress() {
    progress_.show(std::to_string(cameras_.size() + missing_.size()) + " of " +
                   std::to_string(addresses_.size()) + " addresses asked, " +
                   std::to_string(cameras_.size()) + " cameras found");
}

// The credentials are the file's where a file of theirs is known, and else the command line's again.
site::SSite CSiteSurvey::site() const {
    site::SSite site;
    const bool hasFile = options_.passwordFile && credentials_.user();
    if (hasFile)
        site.credentials[CredentialsName] = {*credentials_.user(),
                                             std::filesystem::absolute(*options_.passwordFile).string()};
    std::set<std::string> names;
    for (const auto& [place, camera] : cameras_) {
        site.cameras.push_back(camera);
        std::string& name = site.cameras.back().name;
        for (int number = 2; !names.insert(name).second; ++number)
            name = NameOfAddress(camera.address).substr(0, LongestName - 8) + "-" + std::to_string(number);
        if (hasFile)
            site.cameras.back().credentials = CredentialsName;
    }
    return site;
}

// A line a cause, since of a range most addresses have nobody.
void CSiteSurvey::tellMissing() const {
    std::map<std::string, Texts> byProblem;
    for (const auto& [place, problem] : missing_)
        byProblem[problem.cause].push_back(addresses_[place]);
    for (const auto& [cause, addresses] : byProblem)
        WriteMessage("vornhost: site init: " + cause + " at " + std::to_string(addresses.size()) +
                     (addresses.size() == 1 ? " address: " : " addresses: ") + Join(addresses, " ") + "\n");
}

// In a range an address may have nobody.
ExitStatus CSiteSurvey::status() const {
    const bool isComplete = cameras_.size() + missing_.size() == addresses_.size();
    const bool isMissed = std::any_of(missing_.begin(), missing_.end(), [this](const auto& one) {
        const std::string& cause = one.second.cause;
        return one.first < single_ || (cause != "refused" && cause != "unreachable");
    });
    return isComplete && !isMissed && !cameras_.empty() ? ExitStatus::Success : ExitStatus::CallFailed;
}

} // namespace corvane::vornhost
