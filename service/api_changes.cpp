// What changes a camera, or what is wanted of it.

#include "refhost/base/log.h"
#include "refhost/base/printable_text.h"
#include "service/api.h"
#include "service/camera_detail.h"
#include "service/problem_answer.h"
#include "site/calls/answer_text.h"
#include "site/cameras/site_wish.h"
#include "site/diagnosis/diagnosis.h"
#include "site/session/answered_call.h"
#include "site/stream_name.h"
#include "site/text_file.h"

#include <microhttpd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>

namespace corvane::service {
namespace {

using nlohmann::ordered_json;

constexpr std::size_t MostArguments = 64;

struct SAsked {
    std::string operation;
    site::Texts arguments;
};

SAsked AskedOf(const ordered_json& body) {
    constexpr const char* Expected = "expected {\"operation\":\"...\",\"arguments\":[\"...\"]}";
    SAsked asked;
    for (const auto& [name, value] : body.items())
        if (name == "operation" && value.is_string())
            asked.operation = value.get<std::string>();
        else if (name == "arguments" && value.is_array() && value.size() <= MostArguments)
            for (const ordered_json& one : value) {
                if (!one.is_string() && !one.is_number())
                    throw CRefusal(MHD_HTTP_BAD_REQUEST, Expected);
                asked.arguments.push_back(one.is_string() ? one.get<std::string>() : one.dump());
            }
        else
            throw CRefusal(MHD_HTTP_BAD_REQUEST, Expected);
    if (asked.operation.empty())
        throw CRefusal(MHD_HTTP_BAD_REQUEST, Expected);
    return asked;
}

std::string TextOf(const ordered_json& value, const std::string& name) {
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_number())
        return value.dump();
    throw CRefusal(MHD_HTTP_BAD_REQUEST, name + " must be a text or a number");
}

// What a wish may want and the camera has now.
std::vector<site::SChange> ValuesOf(const CKeptCamera::Session& session, const site::SSiteCamera& wish) {
    const site::CDrift drift(
        *session->session().model(), [&](const std::string& operation, const site::Texts& arguments) {
            return site::AnswerIfThere(session->session().operations(), operation, arguments);
        });
    std::vector<site::SChange> values;
    for (const site::SComparison& one : drift.compare(site::WishOf(wish)))
        values.push_back({one, one.camera});
    return values;
}

// Where a write was begun and not read back, nobody knows what the camera has.
void TakeAfter(std::vector<site::SChange>& values, const site::SCameraFinding& set) {
    const bool isUnread = set.problem && set.differences.empty();
    for (site::SChange& one : values) {
        if (isUnread && one.before.match != site::SComparison::Match::Same)
            one.after.clear();
        for (const site::SChange& changed : set.changes)
            if (changed.before.of == one.before.of && changed.before.field == one.before.field)
                one.after = changed.after;
    }
}

// Sets what is wished of a camera, and tells asked, was and is of each value.
// Sets what is wished of a camera, and tells asked, was and is of each value.
SHttpAnswer Set(const CKeptCamera::Session& session, const site::SSiteCamera& wish) {
    // What the camera has rounded before is no concern of this wish.
    site::CAcceptedValues accepted{std::string()};
    const site::SAllowances allowances{site::UtcToday(), &accepted};
    site::CWishWork work(session->session(), wish);
    site::SCameraFinding finding;
    finding.camera = &wish;
    finding.problem = work.readAnew();
    if (!finding.problem)
        work.compare(finding, allowances);
    std::vector<site::SChange> results;
    if (!finding.problem)
        results = ValuesOf(session, wish);
    work.set(finding, allowances);
    TakeAfter(results, finding);
    ordered_json told{{"results", site::ChangesJson(results)}};
    if (finding.problem) {
        const bool isWish = finding.problem->cause == "wrong-value" ||
                            finding.problem->cause == "wrong-usage" ||
                            finding.problem->cause == "not-supported";
        told["problem"] = ProblemObject(*finding.problem);
        return ProblemAnswer(isWish ? MHD_HTTP_UNPROCESSABLE_CONTENT : MHD_HTTP_BAD_GATEWAY,
                             finding.problem->problem, told);
    }
    if (finding.state == site::CameraState::NotAccepted) {
        const site::SComparison& first = finding.differences.front();
        const auto problem = site::NotAccepted(first.field, first.wanted, first.camera);
        told["problem"] = ProblemObject(problem);
        return ProblemAnswer(MHD_HTTP_CONFLICT, problem.problem, told);
    }
    return JsonAnswer(told);
}

site::SVideoStreamId StreamIdOf(const std::string& name, int refusal) {
    try {
        return site::ReadStreamName(name);
    } catch (const site::COperationError& error) {
        throw CRefusal(refusal, std::string("wrong stream: expected ") + error.what());
    }
}

site::SStreamWish StreamWish(const std::string& name, const ordered_json& record) {
    site::SStreamWish wish;
    wish.id = StreamIdOf(name, MHD_HTTP_BAD_REQUEST);
    wish.name = name;
    for (const auto& [field, value] : record.items()) {
        const bool isKnown =
            std::any_of(std::begin(site::VideoFields), std::end(site::VideoFields),
                        [&field = field](const site::SVideoField& one) { return field == one.name; });
        if (!isKnown)
            throw CRefusal(MHD_HTTP_BAD_REQUEST, "a stream's record has no field \"" + field + "\"");
        wish.record[field] = TextOf(value, field);
    }
    if (wish.record.empty())
        throw CRefusal(MHD_HTTP_BAD_REQUEST, "nothing is to be set");
    return wish;
}

// The camera object has operations of its own for the head, beside those of the controller.
bool UsesHead(const std::string& operation) {
    const bool isOfHead =
        operation.rfind(site::ControllerPrefix, 0) == 0 || operation.find("Ptz") != std::string::npos;
    return isOfHead && IsWriting(operation);
}

// The members of a merge patch: null takes a member out.
void Merge(ordered_json& values, const ordered_json& patch, const std::string& what) {
    if (!patch.is_object())
        throw CRefusal(MHD_HTTP_BAD_REQUEST, what + " must be an object");
    if (!values.is_object())
        values = ordered_json::object();
    for (const auto& [name, value] : patch.items())
        if (value.is_null())
            values.erase(name);
        else
            values[name] = TextOf(value, name);
}

void MergeStreams(ordered_json& streams, const ordered_json& patch) {
    if (!patch.is_array())
        throw CRefusal(MHD_HTTP_BAD_REQUEST, "streams must be a list");
    if (!streams.is_array())
        streams = ordered_json::array();
    for (const ordered_json& one : patch) {
        if (!one.is_object() || !one.contains("stream") || !one["stream"].is_string() ||
            !one.contains("record") || one.size() > 2)
            throw CRefusal(MHD_HTTP_BAD_REQUEST, "expected {\"stream\":\"...\",\"record\":{...}}");
        const auto known = std::find_if(streams.begin(), streams.end(), [&](const ordered_json& other) {
            return other.is_object() && other.value("stream", "") == one["stream"].get<std::string>();
        });
        if (one["record"].empty()) // which leaves the file nothing to be held against
            (void)StreamIdOf(one["stream"].get<std::string>(), MHD_HTTP_UNPROCESSABLE_CONTENT);
        ordered_json& entry =
            known == streams.end() ? streams.emplace_back(ordered_json{{"stream", one["stream"]}}) : *known;
        Merge(entry["record"], one["record"], "record");
    }
    streams.erase(std::remove_if(streams.begin(), streams.end(),
                                 [](const ordered_json& one) {
                                     return one.is_object() && one.contains("record") &&
                                            one["record"].empty();
                                 }),
                  streams.end());
}

} // namespace

SHeadClient HeadClientOf(const SApiCall& call) {
    return {call.client.name + "\n" + call.request.header("x-client"), call.client.name};
}

CKeptCamera::Session SessionOf(const CKeptCamera& camera) {
    if (auto session = camera.session())
        return session;
    const site::SDiagnosis problem = camera.whyUnanswered();
    throw CRefusal(MHD_HTTP_SERVICE_UNAVAILABLE, "the camera cannot be asked: " + problem.problem,
                   {{"problem", ProblemObject(problem)}});
}

bool IsWriting(const std::string& operation) {
    // Asks whatever path it is given, and a camera does with a GET what the path says.
    if (operation == "setting.GetDetailsFromUrl")
        return true;
    static constexpr std::array Reading = {"get",  "Get",     "is",  "Is",    "To",  "read",
                                           "find", "convert", "map", "query", "Sort"};
    const std::string name =
        operation.substr(operation.find('.') == std::string::npos ? 0 : operation.find('.') + 1);
    return std::none_of(Reading.begin(), Reading.end(), [&](const std::string& beginning) {
        return name.compare(0, beginning.size(), beginning) == 0 && name.size() > beginning.size() &&
               std::islower(static_cast<unsigned char>(name[beginning.size()])) == 0;
    });
}

const char* WhyNotOffered(const site::SOperation& operation) {
    static constexpr std::array Beginnings = {"initialize", "customInitialize", "preInit_getUnitModelName"};
    const auto& names = operation.parameterNames;
    const bool takesAddress = std::any_of(names.begin(), names.end(), [](const std::string& name) {
        return name.find("ddress") != std::string::npos || name.find("host") != std::string::npos;
    });
    if (takesAddress)
        return "cameras are reached by name only";
    if (operation.name.rfind(site::HandlerPrefix, 0) == 0)
        return "the plug-in belongs to all cameras; what it tells is not a camera's";
    if (std::find(Beginnings.begin(), Beginnings.end(), operation.name) != Beginnings.end())
        return "the service begins with a camera by itself";
    return nullptr;
}

SHttpAnswer AnswerCall(const SKeptOne& one, const ordered_json& body, Role role, const SHeadClient& client) {
    const SAsked asked = AskedOf(body);
    if (IsWriting(asked.operation) && role < Role::Operate)
        throw CRefusal(MHD_HTTP_FORBIDDEN,
                       "the role view does not reach; \"" + asked.operation + "\" may change something");
    std::string holder;
    if (UsesHead(asked.operation) && !one.head->isFree(client, holder))
        throw CRefusal(MHD_HTTP_CONFLICT, "the head is held by " + holder, {{"holder", holder}});
    const CKeptCamera::Session session = SessionOf(*one.camera);
    const site::COperationRegistry& operations = session->session().operations();
    const site::SCall call{asked.operation, asked.arguments};
    try {
        RequireOperation(operations, call);
        for (const site::SOperation& operation : operations.operations())
            if (const char* const reason = WhyNotOffered(operation);
                reason && operation.name == call.operation)
                throw CRefusal(MHD_HTTP_FORBIDDEN, reason);
        const std::lock_guard<std::mutex> calling(one.camera->writing());
        const ordered_json told = CallOn(session->session(), call).toJson(call);
        return SHttpAnswer::of(MHD_HTTP_OK, JsonType, refhost::MaskSecrets(refhost::JsonText(told)));
    } catch (const site::COperationError& error) {
        return JsonAnswer(site::ErrorJson(asked.operation, error.what()), MHD_HTTP_BAD_REQUEST);
    }
}

void CApi::callOperation(const SApiCall& call, const Answer& answer) {
    answer(AnswerCall(camera(call), call.body(), call.client.role, HeadClientOf(call)));
}

void CApi::patchAdjustments(const SApiCall& call, const Answer& answer) {
    const SKeptOne one = camera(call);
    site::SSiteCamera wish;
    wish.name = one.camera->name();
    wish.address = one.camera->entry()->address;
    const ordered_json wanted = call.body();
    for (const auto& [name, value] : wanted.items()) {
        if (!site::FindAdjustment(name))
            throw CRefusal(MHD_HTTP_BAD_REQUEST, "there is no adjustment \"" + name + "\"");
        wish.adjustments[name] = TextOf(value, name);
    }
    if (wish.adjustments.empty())
        throw CRefusal(MHD_HTTP_BAD_REQUEST, "nothing is to be set");
    const std::lock_guard<std::mutex> writing(one.camera->writing());
    SHttpAnswer told = Set(SessionOf(*one.camera), wish);
    // What was just set no longer differs, or does now.
    parts_.site.check(one.camera, CKeptSite::Settings::AsKnown);
    answer(std::move(told));
}

void CApi::patchStream(const SApiCall& call, const Answer& answer) {
    const SKeptOne one = camera(call);
    site::SSiteCamera wish;
    wish.name = one.camera->name();
    wish.address = one.camera->entry()->address;
    wish.streams = {StreamWish(call.stream, call.body())};
    const std::lock_guard<std::mutex> writing(one.camera->writing());
    SHttpAnswer told = Set(SessionOf(*one.camera), wish);
    // What was just set no longer differs, or does now.
    parts_.site.check(one.camera, CKeptSite::Settings::AsKnown);
    answer(std::move(told));
}

// The file is tried under another name first, so that a wish that it cannot have leaves it as it was.
void CApi::patchWish(const SApiCall& call, const Answer& answer) {
    const SKeptOne one = camera(call);
    const ordered_json patch = call.body();
    const std::string& file = parts_.site.file();
    const std::lock_guard<std::mutex> writing(writingFile_);
    try {
        const site::CFileLock lock(file);
        ordered_json site = ordered_json::parse(site::ReadTextFile(file));
        ordered_json& cameras = site.at("cameras");
        const auto entry = std::find_if(cameras.begin(), cameras.end(), [&](const ordered_json& other) {
            return other.value("name", "") == call.name;
        });
        if (entry == cameras.end())
            throw CRefusal(MHD_HTTP_NOT_FOUND, "the site file no longer has the camera");
        for (const auto& [name, value] : patch.items())
            if (name == "adjustments")
                Merge((*entry)[name], value, name);
            else if (name == "streams")
                MergeStreams((*entry)[name], value);
            else
                throw CRefusal(MHD_HTTP_BAD_REQUEST,
                               "a wish has streams and adjustments, and no \"" + name + "\"");
        const std::string trial = file + ".trial";
        site::ReplaceFile(trial, site.dump(2) + "\n");
        try {
            (void)site::OpenSite(trial, *parts_.site.recorder().plugin->models());
        } catch (const site::CFailure& failure) {
            std::remove(trial.c_str());
            throw CRefusal(MHD_HTTP_UNPROCESSABLE_CONTENT, failure.what());
        }
        std::remove(trial.c_str());
        site::ReplaceFile(std::filesystem::canonical(file), site.dump(2) + "\n"); // a link stays one
    } catch (const site::CUnwritableFile& error) {
        throw site::CFailure(site::ExitStatus::CallFailed, error.what(), site::OwnCause::CannotWrite);
    } catch (const site::CFileError& error) {
        throw site::CFailure(site::ExitStatus::CallFailed, error.what(), site::OwnCause::WrongFile);
    } catch (const ordered_json::exception& error) {
        throw site::CFailure(site::ExitStatus::CallFailed, "the site file can no longer be read",
                             site::OwnCause::WrongFile);
    }
    parts_.reload();
    answer(JsonAnswer(WishJson(*camera(call).camera->entry())));
}

} // namespace corvane::service
