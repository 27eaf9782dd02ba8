#include "control/state_file.h"

#include "model/numbers.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <system_error>
#include <unistd.h>

namespace camsim {
namespace {

using Json = nlohmann::json;

constexpr int FormatVersion = 1;
constexpr std::chrono::milliseconds SaveDelay{200};
// The key of a recorded move's value: where the axis drives to, or at which speed it moves.
constexpr const char* DriveKey = "to";
constexpr const char* RunKey = "speed";

std::string SystemReason(int error) {
    return std::generic_category().message(error);
}

// A file that was written by hand may hold any number. Times are kept within 30 days, so that sums of them
// do not overflow.
std::chrono::milliseconds DurationFrom(const Json& json) {
    constexpr int64_t Longest = int64_t{30} * 24 * 60 * 60 * 1000;
    return std::chrono::milliseconds(std::clamp(json.get<int64_t>(), int64_t{0}, Longest));
}

Json ToJson(const SPatrol& patrol) {
    Json moves = Json::array();
    for (const SHeadMove& move : patrol.moves)
        moves.push_back({{"at", move.at.count()},
                         {"axis", move.axis},
                         {move.kind == SHeadMove::Kind::Drive ? DriveKey : RunKey, move.value}});
    return {{"start", patrol.start}, {"length", patrol.length.count()}, {"moves", moves}};
}

SPatrol PatrolFrom(const Json& json) {
    SPatrol patrol;
    patrol.start = json.at("start").get<HeadPlace>();
    patrol.length = DurationFrom(json.at("length"));
    for (const Json& entry : json.at("moves")) {
        const bool drive = entry.contains(DriveKey);
        patrol.moves.push_back({DurationFrom(entry.at("at")), entry.at("axis").get<std::string>(),
                                drive ? SHeadMove::Kind::Drive : SHeadMove::Kind::Run,
                                entry.at(drive ? DriveKey : RunKey).get<double>()});
    }
    return patrol;
}

// Reads presets or patrols, whose keys are their numbers; an entry with any other key is left out.
template <typename Kept, typename Read>
void ReadNumbered(const Json& json, const char* name, std::map<int, Kept>& kept, Read read) {
    const Json all = json.value(name, Json::object());
    for (const auto& [number, value] : all.items())
        if (const std::optional<int> parsed = ParseNumber<int>(number))
            kept[*parsed] = read(value);
}

template <typename Kept, typename Write>
Json Numbered(const std::map<int, Kept>& kept, Write write) {
    Json json = Json::object();
    for (const auto& [number, value] : kept)
        json[std::to_string(number)] = write(value);
    return json;
}

Json ToJson(const SCameraState& state) {
    Json settings = Json::object();
    for (const auto& [key, value] : state.settings)
        settings[key] = value ? Json(*value) : Json();
    return {{"settings", settings},
            {"position", state.head.position},
            {"presets", Numbered(state.head.presets, [](const HeadPlace& place) { return Json(place); })},
            {"patrols", Numbered(state.head.patrols, [](const SPatrol& patrol) { return ToJson(patrol); })}};
}

SCameraState FromJson(const Json& json) {
    SCameraState state;
    for (const auto& [key, value] : json.at("settings").items())
        state.settings[key] = value.is_null() ? std::nullopt : std::optional(value.get<std::string>());
    state.head.position = json.at("position").get<HeadPlace>();
    ReadNumbered(json, "presets", state.head.presets,
                 [](const Json& place) { return place.get<HeadPlace>(); });
    ReadNumbered(json, "patrols", state.head.patrols, PatrolFrom);
    return state;
}

bool WriteAll(int fd, const std::string& text) {
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t written = write(fd, text.data() + done, text.size() - done);
        if (written < 0 && errno != EINTR)
            return false;
        done += written > 0 ? static_cast<size_t>(written) : 0;
    }
    return true;
}

// Replaces the file by the text once the whole of it is on the disk; throws with the system's reason. In a
// folder that others may write to, somebody could put a file or a link under a temporary name that can be
// guessed, so mkostemp takes a name that nothing has.
void ReplaceFile(const std::string& path, const std::string& text) {
    std::string temporary = path + ".XXXXXX"; // where mkostemp puts what makes it unique
    const int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        throw CStateFileError(temporary + ": " + SystemReason(errno));
    const bool replaced =
        WriteAll(fd, text) && fsync(fd) == 0 && std::rename(temporary.c_str(), path.c_str()) == 0;
    const int reason = errno;
    close(fd);
    if (replaced)
        return;
    unlink(temporary.c_str());
    throw CStateFileError(path + ": " + SystemReason(reason));
}

} // namespace

CStateFile::CStateFile(std::string path, const std::vector<std::unique_ptr<CCamera>>& cameras,
                       CEventLoop& loop)
    : path_(std::move(path)), cameras_(cameras), loop_(loop) {
    load();
    for (const auto& camera : cameras_)
        camera->onChange([this] { changed(); });
}

void CStateFile::load() {
    const std::filesystem::path folder = std::filesystem::absolute(path_).parent_path();
    if (access(folder.c_str(), W_OK) != 0)
        throw CStateFileError(path_ + ": cannot write into its folder: " + SystemReason(errno));
    std::ifstream file(path_, std::ios::binary);
    if (!file) {
        if (errno == ENOENT)
            return;
        throw CStateFileError(path_ + ": " + SystemReason(errno));
    }
    try {
        const Json json = Json::parse(file);
        if (json.at("version") != FormatVersion)
            throw CStateFileError(path_ + ": expected version " + std::to_string(FormatVersion) + ", not " +
                                  json.at("version").dump());
        others_ = json.at("cameras").get<Json::object_t>();
        for (const auto& camera : cameras_) {
            const auto saved = others_.find(camera->serialNumber());
            if (saved == others_.end())
                continue;
            camera->restore(FromJson(*saved));
            others_.erase(saved);
        }
    } catch (const Json::exception& error) {
        throw CStateFileError(path_ + ": " + error.what());
    }
}

void CStateFile::save() {
    const std::lock_guard<std::mutex> writing(writing_);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        due_ = false;
        if (!dirty_)
            return;
        dirty_ = false;
    }
    Json cameras = others_;
    for (const auto& camera : cameras_) {
        const SCameraState state = camera->state();
        if (!state.settings.empty() || !state.head.empty())
            cameras[camera->serialNumber()] = ToJson(state);
    }
    const std::string text = Json{{"version", FormatVersion}, {"cameras", cameras}}.dump(
                                 2, ' ', false, Json::error_handler_t::replace) +
                             "\n";
    try {
        ReplaceFile(path_, text);
    } catch (const CStateFileError&) {
        const std::lock_guard<std::mutex> lock(mutex_);
        dirty_ = true;
        throw;
    }
}

void CStateFile::changed() {
    const std::lock_guard<std::mutex> lock(mutex_);
    dirty_ = true;
    if (std::exchange(due_, true))
        return;
    loop_.after(SaveDelay, [this] { saveAndReport(); });
}

void CStateFile::saveAndReport() {
    try {
        save();
    } catch (const CStateFileError& error) {
        std::cerr << "camsim: the state is not saved: " << error.what() << "\n";
    }
}

} // namespace camsim
