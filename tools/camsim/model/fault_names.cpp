#include "model/fault_names.h"

#include "model/faults.h"

#include <algorithm>
#include <cctype>
#include <iomanip>
#include <numeric>
#include <sstream>

namespace camsim {
namespace {

using Json = nlohmann::json;

constexpr size_t MostNear = 3;
constexpr size_t LongestName = 100; // far longer than any, and a distance takes time by the length

// How many letters must be changed, added or taken away.
size_t EditDistance(const std::string& one, const std::string& other) {
    std::vector<size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < one.size(); ++i) {
        size_t diagonal = std::exchange(row.front(), i + 1);
        for (size_t j = 0; j < other.size(); ++j) {
            const size_t replaced = diagonal + (one[i] == other[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
        }
    }
    return row.back();
}

// What holds the whole text is as near as a name with one letter wrong.
size_t Distance(const std::string& name, const std::string& candidate) {
    return candidate.find(name) != candidate.npos ? 1 : EditDistance(name, candidate);
}

std::string NearNames(const std::string& name) {
    if (name.empty() || name.size() > LongestName)
        return "";
    std::vector<std::pair<size_t, std::string>> near;
    const size_t farthest = 2 + name.size() / 4;
    for (const SNamedFault& fault : FaultCatalogue())
        if (const size_t distance = Distance(name, fault.name); distance <= farthest)
            near.emplace_back(distance, fault.name);
    std::stable_sort(near.begin(), near.end(),
                     [](const auto& one, const auto& other) { return one.first < other.first; });
    near.resize(std::min(near.size(), MostNear));
    std::string text;
    for (const auto& [distance, candidate] : near)
        text.append(text.empty() ? "; near: " : ", ").append(candidate);
    return text;
}

} // namespace

const SNamedFault& FindNamedFault(const std::string& name) {
    for (const SNamedFault& fault : FaultCatalogue())
        if (fault.name == name)
            return fault;
    throw CFaultError("there is no fault '" + name.substr(0, LongestName) + "'" + NearNames(name) +
                      " (camsim faults lists all)");
}

bool LooksLikeAName(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return std::isalnum(c) || c == '-' || c == '_';
    });
}

Json DescribeNamedFault(const SNamedFault& fault) {
    Json settings = Json::object();
    for (const auto& [key, value] : fault.settings)
        settings[key] = value ? Json(*value) : Json();
    return {{"name", fault.name},     {"what", fault.what},   {"phase", fault.phase},
            {"check", fault.check},   {"cause", fault.cause}, {"seconds", fault.seconds},
            {"faults", fault.faults}, {"settings", settings}};
}

std::string FaultTable() {
    std::ostringstream text;
    const auto line = [&](const std::string& name, const std::string& phase, const std::string& check,
                          const std::string& cause, const std::string& seconds, const std::string& what) {
        text << std::left << std::setw(32) << name << std::setw(12) << phase << std::setw(14) << check
             << std::setw(24) << cause << std::setw(9) << seconds << what << "\n";
    };
    line("NAME", "PHASE", "CHECK", "CAUSE", "SECONDS", "WHAT HAPPENS");
    for (const SNamedFault& fault : FaultCatalogue())
        line(fault.name, fault.phase, fault.check, fault.cause, std::to_string(fault.seconds), fault.what);
    return text.str();
}

std::string FaultLines() {
    std::string text;
    for (const SNamedFault& fault : FaultCatalogue())
        text += DescribeNamedFault(fault).dump() + "\n";
    return text;
}

} // namespace camsim
