#include "model/camera_data.h"

#include "model/embedded_cameras.h"
#include "model/numbers.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fnmatch.h>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>

namespace camsim {
namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;
/// Finds a file's text by its path below the cameras folder; none when there is no such file.
using FileReader = std::function<std::optional<std::string>(const std::string& path)>;

constexpr std::string_view lineEnd = "\r\n";
constexpr int fineSpeedSteps = 256;

std::string place(const std::string& path, size_t line) {
    return path + ":" + std::to_string(line) + ": ";
}

/// How a line of one kind of file is cut into its key and value.
struct LineForm {
    char separator;
    bool quoted;
    const char* example;
};
constexpr LineForm settingLine{',', true, "KEY,\"value\""};
constexpr LineForm valueLine{'=', false, "KEY=value"};

std::pair<std::string, std::string> cutLine(const std::string& line, const LineForm& form,
                                            const std::string& where) {
    const size_t separator = line.find(form.separator);
    const std::string malformed = where + "expected " + form.example + ", not '" + line + "'";
    if (separator == line.npos || separator == 0)
        throw CameraDataError(malformed);
    std::string value = line.substr(separator + 1);
    if (form.quoted) {
        if (value.size() < 2 || value.front() != '"' || value.back() != '"')
            throw CameraDataError(malformed);
        value = value.substr(1, value.size() - 2);
    }
    return {line.substr(0, separator), value};
}

/// Reads a file made of layers: what it includes, less what it removes, with its own lines replacing or
/// added.
class LayeredFile {
public:
    LayeredFile(const FileReader& reader, const LineForm& form) : reader_(reader), form_(form) {}

    Entries read(const std::string& path) {
        const std::optional<std::string> text = reader_(path);
        if (!text)
            throw CameraDataError(path + ": no such file");
        if (!open_.insert(path).second)
            throw CameraDataError(path + ": includes itself");
        std::istringstream lines(*text);
        std::string line;
        for (size_t number = 1; std::getline(lines, line); ++number) {
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            take(line, place(path, number));
        }
        open_.erase(path);
        return entries_;
    }

private:
    void take(const std::string& line, const std::string& where) {
        if (line.empty() || line.front() == '#')
            return;
        if (line.front() == '!')
            obey(line, where);
        else
            put(cutLine(line, form_, where));
    }

    void obey(const std::string& line, const std::string& where) {
        std::istringstream words(line);
        std::string directive;
        std::string argument;
        words >> directive >> argument;
        if (directive == "!include" && !argument.empty())
            read(argument);
        else if (directive == "!remove" && !argument.empty())
            remove(argument, where);
        else
            throw CameraDataError(where + "expected !include FILE or !remove PATTERN, not '" + line + "'");
    }

    void remove(const std::string& pattern, const std::string& where) {
        const auto gone = std::remove_if(entries_.begin(), entries_.end(), [&](const auto& entry) {
            return fnmatch(pattern.c_str(), entry.first.c_str(), 0) == 0;
        });
        if (gone == entries_.end())
            throw CameraDataError(where + "nothing matches '" + pattern + "'");
        entries_.erase(gone, entries_.end());
    }

    void put(std::pair<std::string, std::string> entry) {
        const auto known = std::find_if(entries_.begin(), entries_.end(),
                                        [&](const auto& other) { return other.first == entry.first; });
        if (known == entries_.end())
            entries_.push_back(std::move(entry));
        else
            known->second = std::move(entry.second);
    }

    const FileReader& reader_;
    const LineForm form_;
    Entries entries_;
    std::set<std::string> open_;
};

/// What an axis of this range is when its line does not say more: from end to end in some four seconds.
Axis ordinaryAxis(const std::string& name, int minimum, int maximum, int home) {
    const double range = maximum - minimum;
    const bool turns = name == "pan" || name == "tilt";
    return {minimum, maximum, home, range / 3, range / 1.5, turns ? 64 : 8};
}

Axis parseAxis(const std::string& name, const std::string& value, const std::string& where) {
    constexpr size_t least = 3;
    constexpr size_t most = 6;
    std::vector<double> numbers;
    std::istringstream text(value);
    for (std::string entry; std::getline(text, entry, ',');)
        numbers.push_back(parseNumber<double>(entry).value_or(NAN));
    // The comparisons are false for what is no number.
    bool read = least <= numbers.size() && numbers.size() <= most && numbers[0] < numbers[1] &&
                numbers[0] <= numbers[2] && numbers[2] <= numbers[1];
    for (size_t i = 0; i < numbers.size(); ++i)
        read = read && std::abs(numbers[i]) <= 1e6 && (i < least || numbers[i] > 0);
    if (!read)
        throw CameraDataError(where +
                              ": expected minimum,maximum,home[,speed[,acceleration[,speed steps]]], not '" +
                              value + "'");
    const auto whole = [&](size_t i) { return static_cast<int>(std::lround(numbers[i])); };
    Axis axis = ordinaryAxis(name, whole(0), whole(1), whole(2));
    if (numbers.size() > least)
        axis.speed = numbers[least];
    if (numbers.size() > least + 1)
        axis.acceleration = numbers[least + 1];
    if (numbers.size() > least + 2)
        axis.speedSteps = std::max(1, whole(least + 2));
    return axis;
}

std::string joinLines(const Entries& entries) {
    std::string text;
    for (const auto& [key, value] : entries)
        text.append(key).append("=").append(value).append(lineEnd);
    return text;
}

std::shared_ptr<const CameraModel> loadModel(const std::string& number, const std::string& folder,
                                             const FileReader& reader) {
    auto model = std::make_shared<CameraModel>(
        CameraModel{number,
                    LayeredFile(reader, settingLine).read(folder + "setdata.txt"),
                    {},
                    Capability(LayeredFile(reader, valueLine).read(folder + "capability.txt")),
                    joinLines(LayeredFile(reader, valueLine).read(folder + "info.txt")),
                    {}});
    for (size_t i = 0; i < model->settings.size(); ++i)
        model->settingPositions.emplace(model->settings[i].first, i);
    const std::string axesFile = folder + "axes.txt";
    if (reader(axesFile))
        for (const auto& [name, value] : LayeredFile(reader, valueLine).read(axesFile))
            model->axes.emplace_back(name, parseAxis(name, value, axesFile));
    return model;
}

std::optional<std::string> readEmbedded(const std::string& path) {
    const auto found = embeddedCameraFiles().find(path);
    if (found == embeddedCameraFiles().end())
        return std::nullopt;
    return std::string(found->second);
}

std::optional<std::string> readFromDisk(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return std::nullopt;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

Capability::Capability(Entries entries) : text_(joinLines(entries)) {
    for (auto& entry : entries)
        values_.emplace(std::move(entry.first), std::move(entry.second));
}

std::optional<std::vector<std::string>> Capability::list(const std::string& key) const {
    const auto found = values_.find(key);
    if (found == values_.end())
        return std::nullopt;
    std::vector<std::string> entries;
    std::istringstream text(found->second);
    for (std::string entry; std::getline(text, entry, ',');)
        entries.push_back(entry);
    return entries;
}

const Axis* CameraModel::axis(std::string_view name) const {
    const auto found =
        std::find_if(axes.begin(), axes.end(), [&](const auto& known) { return known.first == name; });
    return found == axes.end() ? nullptr : &found->second;
}

bool CameraModel::hasFineSpeeds() const {
    const Axis* pan = axis("pan");
    return pan != nullptr && pan->speedSteps == fineSpeedSteps;
}

std::vector<std::string> embeddedModelNumbers() {
    constexpr std::string_view marker = "/setdata.txt";
    std::vector<std::string> numbers;
    for (const auto& [path, text] : embeddedCameraFiles()) {
        const bool isModel = path.rfind("common/", 0) != 0 && path.size() > marker.size() &&
                             path.compare(path.size() - marker.size(), marker.size(), marker) == 0;
        if (isModel)
            numbers.push_back(path.substr(0, path.size() - marker.size()));
    }
    return numbers;
}

std::shared_ptr<const CameraModel> loadEmbeddedModel(const std::string& number) {
    const std::vector<std::string> known = embeddedModelNumbers();
    if (std::find(known.begin(), known.end(), number) == known.end()) {
        std::string names;
        for (const std::string& name : known)
            names.append(names.empty() ? "" : ", ").append(name);
        throw CameraDataError("no model '" + number + "' (there are " + names + ")");
    }
    return loadModel(number, number + "/", readEmbedded);
}

std::shared_ptr<const CameraModel> loadModelFromDirectory(const std::string& directory) {
    namespace fs = std::filesystem;
    const fs::path folder(directory);
    if (!fs::is_directory(folder))
        throw CameraDataError(directory + ": no such folder");
    const FileReader reader = [&](const std::string& path) {
        std::optional<std::string> text = readFromDisk(folder / path);
        return text ? text : readEmbedded(path);
    };
    try {
        return loadModel(fs::canonical(folder).filename().string(), "", reader);
    } catch (const CameraDataError& error) {
        throw CameraDataError((folder / error.what()).string());
    }
}

} // namespace camsim
