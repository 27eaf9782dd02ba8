// What is told of cameras, and what is looked at when a client asks for it.

#include "service/api.h"
#include "service/camera_detail.h"
#include "service/camera_json.h"
#include "service/line_source.h"
#include "service/problem_answer.h"
#include "site/base/child_process.h"
#include "site/base/elapsed.h"
#include "site/base/json_line.h"
#include "site/cameras/finding.h"
#include "site/text_file.h"

#include <microhttpd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>

namespace corvane::service {
namespace {

using nlohmann::ordered_json;
using Clock = std::chrono::steady_clock;

constexpr std::size_t MostCameras = 5000; // in one answer
constexpr std::size_t UsualCameras = 1000;
constexpr int MostExaminations = 4;
constexpr const char* LinesType = "application/x-ndjson";

std::size_t LimitOf(const SHttpRequest& request) {
    const auto text = request.parameter("limit");
    if (!text)
        return UsualCameras;
    std::size_t limit = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), limit);
    if (error != std::errc() || end != text->data() + text->size() || limit == 0 || limit > MostCameras)
        throw CRefusal(MHD_HTTP_BAD_REQUEST,
                       "limit must be a number from 1 to " + std::to_string(MostCameras));
    return limit;
}

std::optional<Health> StateOf(const SHttpRequest& request) {
    const auto text = request.parameter("state");
    if (!text)
        return std::nullopt;
    for (const Health health : {Health::Unknown, Health::Up, Health::Degraded, Health::Down})
        if (*text == NameOf(health))
            return health;
    throw CRefusal(MHD_HTTP_BAD_REQUEST, "state must be unknown, up, degraded or down");
}

ordered_json TimedFinding(const site::SCameraFinding& finding, Clock::time_point begin) {
    ordered_json json = FindingJson(finding);
    json["ms"] = site::ThreeDecimals(site::MillisecondsSince(begin));
    return json;
}

bool WantsBundle(const ordered_json& body) {
    bool isWanted = false;
    for (const auto& [name, value] : body.items())
        if (name == "bundle" && value.is_boolean())
            isWanted = value.get<bool>();
        else
            throw CRefusal(MHD_HTTP_BAD_REQUEST, R"(expected {"bundle":true} or {})");
    return isWanted;
}

void RequireNoMembers(const ordered_json& body) {
    if (!body.empty())
        throw CRefusal(MHD_HTTP_BAD_REQUEST, "expected {}");
}

std::string BundleOf(const std::string& stateDirectory, const std::string& camera) {
    return stateDirectory + "/bundles/" + camera + ".tar.gz";
}

} // namespace

void CApi::tellCameras(const SApiCall& call, const Answer& answer) {
    const std::size_t limit = LimitOf(call.request);
    const auto state = StateOf(call.request);
    const std::string after = call.request.parameter("after").value_or("");
    const auto all = parts_.site.cameras();
    auto one = all.begin();
    if (!after.empty()) {
        one =
            std::find_if(all.begin(), all.end(), [&](const auto& camera) { return camera->name() == after; });
        if (one == all.end())
            throw CRefusal(MHD_HTTP_BAD_REQUEST, "after names no camera of the site");
        ++one;
    }
    ordered_json cameras = ordered_json::array();
    ordered_json told{{"cameras", nullptr}};
    for (; one != all.end(); ++one) {
        const SCameraStatus status = (*one)->status();
        if (state && status.health != *state)
            continue;
        if (cameras.size() == limit) {
            told["next"] = cameras.back()["name"];
            break;
        }
        cameras.push_back(CameraJson(status));
    }
    told["cameras"] = std::move(cameras);
    answer(JsonAnswer(told));
}

void CApi::tellCamera(const SApiCall& call, const Answer& answer) {
    const SKeptOne one = camera(call);
    ordered_json told = CameraJson(one.camera->status());
    told.update(CameraDetail(*one.camera, one.camera->session()));
    answer(JsonAnswer(told));
}

void CApi::tellRequests(const SApiCall& call, const Answer& answer) {
    std::uint64_t number = 0;
    std::string text = R"({"requests":[)";
    for (const std::string& exchange : camera(call).camera->history()->exchangesAfter(number)) {
        if (text.back() != '[')
            text += ',';
        text += exchange;
    }
    answer(SHttpAnswer::of(MHD_HTTP_OK, JsonType, text + "]}"));
}

void CApi::tellHistory(const SApiCall& call, const Answer& answer) {
    answer(JsonAnswer(camera(call).camera->history()->lastHour(std::chrono::system_clock::now())));
}

void CApi::check(const SApiCall& call, const Answer& answer) {
    RequireNoMembers(call.body());
    const auto begin = Clock::now();
    answer(JsonAnswer(
        ordered_json::array({TimedFinding(parts_.site.check(camera(call).camera).finding, begin)})));
}

void CApi::sync(const SApiCall& call, const Answer& answer) {
    RequireNoMembers(call.body());
    const auto begin = Clock::now();
    answer(JsonAnswer(
        ordered_json::array({TimedFinding(parts_.site.sync(camera(call).camera).finding, begin)})));
}

// The doctor is a process of its own: the plug-in identifies one device at a time in a process.
void CApi::examine(const SApiCall& call, const Answer& answer) {
    const bool withBundle = WantsBundle(call.body());
    std::vector<std::string> words = parts_.doctor;
    if (withBundle) {
        const std::string file = BundleOf(parts_.stateDirectory, call.name);
        std::error_code failure;
        std::filesystem::create_directories(std::filesystem::path(file).parent_path(), failure);
        if (failure)
            throw site::CFailure(site::ExitStatus::CallFailed, site::UnwritableText(file, failure.message()),
                                 site::OwnCause::CannotWrite);
        words.insert(words.end(), {"--bundle", file});
    }
    words.insert(words.end(), {"--", call.name});
    if (examinations_.fetch_add(1) >= MostExaminations) {
        --examinations_;
        throw CRefusal(MHD_HTTP_SERVICE_UNAVAILABLE, "as many doctors as may be are at work; try again");
    }
    const std::shared_ptr<int> place(nullptr, [this](int*) { --examinations_; });
    if (call.request.header("accept").find(LinesType) != std::string::npos) {
        const auto lines = std::make_shared<CLineBuffer>();
        SHttpAnswer told = SHttpAnswer::of(MHD_HTTP_OK, LinesType, "");
        told.source = std::make_unique<CLineSource>(lines);
        answer(std::move(told));
        const std::shared_ptr<void> end(nullptr, [lines](void*) { lines->end(); }); // also of a failure
        site::RunThisProgram(words, [&](const std::string& line) { lines->add(line + "\n"); });
        return;
    }
    std::string all = "[";
    site::RunThisProgram(words, [&](const std::string& line) { all += (all.size() > 1 ? "," : "") + line; });
    answer(SHttpAnswer::of(MHD_HTTP_OK, JsonType, all + "]"));
}

void CApi::tellBundle(const SApiCall& call, const Answer& answer) {
    const std::string file = BundleOf(parts_.stateDirectory, call.name);
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored))
        throw CRefusal(MHD_HTTP_NOT_FOUND, "there is no bundle of this camera; ask its doctor for one");
    SHttpAnswer told = SHttpAnswer::of(MHD_HTTP_OK, "application/gzip", site::ReadTextFile(file));
    told.headers.emplace_back("Content-Disposition", "attachment; filename=\"" + call.name + ".tar.gz\"");
    answer(std::move(told));
}

} // namespace corvane::service
