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

constexpr int formatVersion = 1;
constexpr std::chrono::milliseconds saveDelay{200};
/// What a recorded move does to its axis.
constexpr const char* driveKey = "to";
constexpr const char* runKey = "speed";

std::string systemReason(int error) {
    return std::generic_category().message(error);
}

/// A file that was written by hand may hold any number; beyond these no time of the patrol could be worked
/// out.
std::chrono::milliseconds durationFrom(const Json& json) {
    constexpr int64_t longest = int64_t{30} * 24 * 60 * 60 * 1000;
    return std::chrono::milliseconds(std::clamp(json.get<int64_t>(), int64_t{0}, longest));
}

Json toJson(const Patrol& patrol) {
    Json moves = Json::array();
    for (const HeadMove& move : patrol.moves)
        moves.push_back({{"at", move.at.count()},
                         {"axis", move.axis},
                         {move.kind == HeadMove::Kind::Drive ? driveKey : runKey, move.value}});
    return {{"start", patrol.start}, {"length", patrol.length.count()}, {"moves", moves}};
}

Patrol patrolFrom(const Json& json) {
    Patrol patrol;
    patrol.start = json.at("start").get<HeadPlace>();
    patrol.length = durationFrom(json.at("length"));
    for (const Json& entry : json.at("moves")) {
        const bool drive = entry.contains(driveKey);
        patrol.moves.push_back({durationFrom(entry.at("at")), entry.at("axis").get<std::string>(),
                                drive ? HeadMove::Kind::Drive : HeadMove::Kind::Run,
                                entry.at(drive ? driveKey : runKey).get<double>()});
    }
    return patrol;
}

/// Presets and patrols by their number; what has no number is none.
template <typename Kept, typename Read>
void readNumbered(const Json& json, const char* name, std::map<int, Kept>& kept, Read read) {
    const Json all = json.value(name, Json::object());
    for (const auto& [number, value] : all.items())
        if (const std::optional<int> parsed = parseNumber<int>(number))
            kept[*parsed] = read(value);
}

template <typename Kept, typename Write>
Json numbered(const std::map<int, Kept>& kept, Write write) {
    Json json = Json::object();
    for (const auto& [number, value] : kept)
        json[std::to_string(number)] = write(value);
    return json;
}

Json toJson(const CameraState& state) {
    Json settings = Json::object();
    for (const auto& [key, value] : state.settings)
        settings[key] = value ? Json(*value) : Json();
    return {{"settings", settings},
            {"position", state.head.position},
            {"presets", numbered(state.head.presets, [](const HeadPlace& place) { return Json(place); })},
            {"patrols", numbered(state.head.patrols, [](const Patrol& patrol) { return toJson(patrol); })}};
}

CameraState fromJson(const Json& json) {
    CameraState state;
    for (const auto& [key, value] : json.at("settings").items())
        state.settings[key] = value.is_null() ? std::nullopt : std::optional(value.get<std::string>());
    state.head.position = json.at("position").get<HeadPlace>();
    readNumbered(json, "presets", state.head.presets,
                 [](const Json& place) { return place.get<HeadPlace>(); });
    readNumbered(json, "patrols", state.head.patrols, patrolFrom);
    return state;
}

bool writeAll(int fd, const std::string& text) {
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t written = write(fd, text.data() + done, text.size() - done);
        if (written < 0 && errno != EINTR)
            return false;
        done += written > 0 ? static_cast<size_t>(written) : 0;
    }
    return true;
}

/// Puts the whole text into the file's place once it is on the disk, or throws with what the system says. In
/// a folder that others may write to, what has the name of a temporary file may be theirs, or lead elsewhere:
/// mkostemp takes only a name that nothing has.
void replaceFile(const std::string& path, const std::string& text) {
    std::string temporary = path + ".XXXXXX";
    const int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        throw StateFileError(temporary + ": " + systemReason(errno));
    const bool replaced =
        writeAll(fd, text) && fsync(fd) == 0 && std::rename(temporary.c_str(), path.c_str()) == 0;
    const int reason = errno;
    close(fd);
    if (replaced)
        return;
    unlink(temporary.c_str());
    throw StateFileError(path + ": " + systemReason(reason));
}

} // namespace

StateFile::StateFile(std::string path, const std::vector<std::unique_ptr<Camera>>& cameras, EventLoop& loop)
    : path_(std::move(path)), cameras_(cameras), loop_(loop) {
    load();
    for (const auto& camera : cameras_)
        camera->onChange([this] { changed(); });
}

void StateFile::load() {
    const std::filesystem::path folder = std::filesystem::absolute(path_).parent_path();
    if (access(folder.c_str(), W_OK) != 0)
        throw StateFileError(path_ + ": cannot write into its folder: " + systemReason(errno));
    std::ifstream file(path_, std::ios::binary);
    if (!file) {
        if (errno == ENOENT)
            return;
        throw StateFileError(path_ + ": " + systemReason(errno));
    }
    try {
        const Json json = Json::parse(file);
        if (json.at("version") != formatVersion)
            throw StateFileError(path_ + ": expected version " + std::to_string(formatVersion) + ", not " +
                                 json.at("version").dump());
        others_ = json.at("cameras").get<Json::object_t>();
        for (const auto& camera : cameras_) {
            const auto saved = others_.find(camera->serialNumber());
            if (saved == others_.end())
                continue;
            camera->restore(fromJson(*saved));
            others_.erase(saved);
        }
    } catch (const Json::exception& error) {
        throw StateFileError(path_ + ": " + error.what());
    }
}

void StateFile::save() {
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
        const CameraState state = camera->state();
        if (!state.settings.empty() || !state.head.empty())
            cameras[camera->serialNumber()] = toJson(state);
    }
    const std::string text = Json{{"version", formatVersion}, {"cameras", cameras}}.dump(
                                 2, ' ', false, Json::error_handler_t::replace) +
                             "\n";
    try {
        replaceFile(path_, text);
    } catch (const StateFileError&) {
        const std::lock_guard<std::mutex> lock(mutex_);
        dirty_ = true;
        throw;
    }
}

void StateFile::changed() {
    const std::lock_guard<std::mutex> lock(mutex_);
    dirty_ = true;
    if (std::exchange(due_, true))
        return;
    loop_.after(saveDelay, [this] { saveAndReport(); });
}

void StateFile::saveAndReport() {
    try {
        save();
    } catch (const StateFileError& error) {
        std::cerr << "camsim: the state is not saved: " << error.what() << "\n";
    }
}

} // namespace camsim
