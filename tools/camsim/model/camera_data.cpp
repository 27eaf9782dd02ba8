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
// Finds a file's text by its path below the cameras folder; none when there is no such file.
using FileReader = std::function<std::optional<std::string>(const std::string& path)>;

constexpr std::string_view LineEnd = "\r\n";
constexpr int FineSpeedSteps = 256;

std::string Place(const std::string& path, size_t line) {
    return path + ":" + std::to_string(line) + ": ";
}

// How a line of one kind of file is cut into its key and value.
struct SLineForm {
    char separator;
    bool quoted;
    const char* example;
};
constexpr SLineForm SettingLine{',', true, "KEY,\"value\""};
constexpr SLineForm ValueLine{'=', false, "KEY=value"};

std::pair<std::string, std::string> CutLine(const std::string& line, const SLineForm& form,
                                            const std::string& where) {
    const size_t separator = line.find(form.separator);
    const std::string malformed = where + "expected " + form.example + ", not '" + line + "'";
    if (separator == line.npos || separator == 0)
        throw CCameraDataError(malformed);
    std::string value = line.substr(separator + 1);
    if (form.quoted) {
        if (value.size() < 2 || value.front() != '"' || value.back() != '"')
            throw CCameraDataError(malformed);
        value = value.substr(1, value.size() - 2);
    }
    return {line.substr(0, separator), value};
}

// Reads a file made of layers: what it includes, less what it removes, with its own lines replacing or
// added.
class CLayeredFile {
public:
    CLayeredFile(const FileReader& reader, const SLineForm& form) : reader_(reader), form_(form) {}

    Entries read(const std::string& path) {
        const std::optional<std::string> text = reader_(path);
        if (!text)
            throw CCameraDataError(path + ": no such file");
        if (!open_.insert(path).second)
            throw CCameraDataError(path + ": includes itself");
        std::istringstream lines(*text);
        std::string line;
        for (size_t number = 1; std::getline(lines, line); ++number) {
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            take(line, Place(path, number));
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
            put(CutLine(line, form_, where));
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
            throw CCameraDataError(where + "expected !include FILE or !remove PATTERN, not '" + line + "'");
    }

    void remove(const std::string& pattern, const std::string& where) {
        const auto gone = std::remove_if(entries_.begin(), entries_.end(), [&](const auto& entry) {
            return fnmatch(pattern.c_str(), entry.first.c_str(), 0) == 0;
        });
        if (gone == entries_.end())
            throw CCameraDataError(where + "nothing matches '" + pattern + "'");
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
    const SLineForm form_;
    Entries entries_;
    std::set<std::string> open_;
};

// An axis whose line gives its range alone: it goes from end to end in some four seconds.
SAxis OrdinaryAxis(const std::string& name, int minimum, int maximum, int home) {
    const double range = maximum - minimum;
    const bool turns = name == "pan" || name == "tilt";
    return {minimum, maximum, home, range / 3, range / 1.5, turns ? 64 : 8};
}

SAxis ParseAxis(const std::string& name, const std::string& value, const std::string& where) {
    constexpr size_t Least = 3;
    constexpr size_t Most = 6;
    std::vector<double> numbers;
    std::istringstream text(value);
    for (std::string entry; std::getline(text, entry, ',');)
        numbers.push_back(ParseNumber<double>(entry).value_or(NAN));
    // An entry that is no number has become NAN, with which every comparison is false.
    bool read = Least <= numbers.size() && numbers.size() <= Most && numbers[0] < numbers[1] &&
                numbers[0] <= numbers[2] && numbers[2] <= numbers[1];
    for (size_t i = 0; i < numbers.size(); ++i)
        read = read && std::abs(numbers[i]) <= 1e6 && (i < Least || numbers[i] > 0);
    if (!read)
        throw CCameraDataError(where +
                               ": expected minimum,maximum,home[,speed[,acceleration[,speed steps]]], not '" +
                               value + "'");
    const auto whole = [&](size_t i) { return static_cast<int>(std::lround(numbers[i])); };
    SAxis axis = OrdinaryAxis(name, whole(0), whole(1), whole(2));
    if (numbers.size() > Least)
        axis.speed = numbers[Least];
    if (numbers.size() > Least + 1)
        axis.acceleration = numbers[Least + 1];
    if (numbers.size() > Least + 2)
        axis.speedSteps = std::max(1, whole(Least + 2));
    return axis;
}

std::string JoinLines(const Entries& entries) {
    std::string text;
    for (const auto& [key, value] : entries)
        text.append(key).append("=").append(value).append(LineEnd);
    return text;
}

std::shared_ptr<const SCameraModel> LoadModel(const std::string& number, const std::string& folder,
                                              const FileReader& reader) {
    auto model = std::make_shared<SCameraModel>(
        SCameraModel{number,
                     CLayeredFile(reader, SettingLine).read(folder + "setdata.txt"),
                     {},
                     CCapability(CLayeredFile(reader, ValueLine).read(folder + "capability.txt")),
                     JoinLines(CLayeredFile(reader, ValueLine).read(folder + "info.txt")),
                     {}});
    for (size_t i = 0; i < model->settings.size(); ++i)
        model->settingPositions.emplace(model->settings[i].first, i);
    const std::string axesFile = folder + "axes.txt";
    if (reader(axesFile))
        for (const auto& [name, value] : CLayeredFile(reader, ValueLine).read(axesFile))
            model->axes.emplace_back(name, ParseAxis(name, value, axesFile));
    return model;
}

std::optional<std::string> ReadEmbedded(const std::string& path) {
    const auto found = EmbeddedCameraFiles().find(path);
    if (found == EmbeddedCameraFiles().end())
        return std::nullopt;
    return std::string(found->second);
}

std::optional<std::string> ReadFromDisk(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return std::nullopt;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

CCapability::CCapability(Entries entries) : text_(JoinLines(entries)) {
    for (auto& entry : entries)
        values_.emplace(std::move(entry.first), std::move(entry.second));
}

std::optional<std::vector<std::string>> CCapability::list(const std::string& key) const {
    const auto found = values_.find(key);
    if (found == values_.end())
        return std::nullopt;
    std::vector<std::string> entries;
    std::istringstream text(found->second);
    for (std::string entry; std::getline(text, entry, ',');)
        entries.push_back(entry);
    return entries;
}

const SAxis* SCameraModel::axis(std::string_view name) const {
    const auto found =
        std::find_if(axes.begin(), axes.end(), [&](const auto& known) { return known.first == name; });
    return found == axes.end() ? nullptr : &found->second;
}

bool SCameraModel::hasFineSpeeds() const {
    const SAxis* pan = axis("pan");
    return pan != nullptr && pan->speedSteps == FineSpeedSteps;
}

std::vector<std::string> EmbeddedModelNumbers() {
    constexpr std::string_view Marker = "/setdata.txt";
    std::vector<std::string> numbers;
    for (const auto& [path, text] : EmbeddedCameraFiles()) {
        const bool isModel = path.rfind("common/", 0) != 0 && path.size() > Marker.size() &&
                             path.compare(path.size() - Marker.size(), Marker.size(), Marker) == 0;
        if (isModel)
            numbers.push_back(path.substr(0, path.size() - Marker.size()));
    }
    return numbers;
}

std::shared_ptr<const SCameraModel> LoadEmbeddedModel(const std::string& number) {
    const std::vector<std::string> known = EmbeddedModelNumbers();
    if (std::find(known.begin(), known.end(), number) == known.end()) {
        std::string names;
        for (const std::string& name : known)
            names.append(names.empty() ? "" : ", ").append(name);
        throw CCameraDataError("no model '" + number + "' (there are " + names + ")");
    }
    return LoadModel(number, number + "/", ReadEmbedded);
}

std::shared_ptr<const SCameraModel> LoadModelFromDirectory(const std::string& directory) {
    namespace fs = std::filesystem;
    const fs::path folder(directory);
    if (!fs::is_directory(folder))
        throw CCameraDataError(directory + ": no such folder");
    const FileReader reader = [&](const std::string& path) {
        std::optional<std::string> text = ReadFromDisk(folder / path);
        return text ? text : ReadEmbedded(path);
    };
    try {
        return LoadModel(fs::canonical(folder).filename().string(), "", reader);
    } catch (const CCameraDataError& error) {
        throw CCameraDataError((folder / error.what()).string());
    }
}

} // namespace camsim
