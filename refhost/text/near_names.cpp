#include "refhost/text/near_names.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace corvane::refhost {
namespace {

constexpr std::size_t MostNames = 3;
constexpr std::size_t LongestName = 100; // no operation's is as long, and a distance takes time by the length

char Lower(char character) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
}

// How many letters must be changed, added or taken away; case does not count.
std::size_t EditDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row.front(), i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (Lower(a[i]) == Lower(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
        }
    }
    return row.back();
}

std::string WithoutGroup(const std::string& name) {
    return name.substr(name.find('.') + 1);
}

// A name without its group ("GetCameraSetting" for "setting.GetCameraSetting") counts as near.
std::size_t Distance(const std::string& name, const std::string& candidate) {
    return std::min(EditDistance(name, candidate),
                    1 + EditDistance(WithoutGroup(name), WithoutGroup(candidate)));
}

} // namespace

std::vector<std::string> NearNames(const std::string& name, const std::vector<std::string>& names) {
    if (name.size() > LongestName)
        return {};
    const std::size_t farthest = 2 + name.size() / 6;
    std::vector<std::pair<std::size_t, std::string>> ranked;
    for (const std::string& candidate : names)
        ranked.emplace_back(Distance(name, candidate), candidate);
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> near;
    for (const auto& [distance, candidate] : ranked)
        if (distance <= farthest && near.size() < MostNames &&
            std::find(near.begin(), near.end(), candidate) == near.end())
            near.push_back(candidate);
    return near;
}

std::string DidYouMean(const std::string& name, const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& near : NearNames(name, names))
        text += (text.empty() ? "; did you mean " : " or ") + near;
    return text.empty() ? "" : text + "?";
}

} // namespace corvane::refhost
