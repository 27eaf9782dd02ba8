#include "site/json_file.h"

#include "site/text_file.h"

#include <algorithm>

namespace corvane::site {
namespace {

// Of the refused place, or of the nearest around it that stands in the file.
std::string PositionOf(const std::string& text, const refhost::JsonPositions& positions, std::string place) {
    while (!place.empty() && positions.count(place) == 0)
        place.erase(std::min(place.find_last_of(".["), place.size() - 1));
    const auto found = positions.find(place);
    return refhost::LineAndColumn(text, found == positions.end() ? 0 : found->second);
}

} // namespace

void ReadJsonFile(const std::string& file, const std::function<void(const refhost::CJsonNode&)>& read) {
    const std::string text = ReadTextFile(file);
    refhost::JsonPositions positions;
    bool isParsed = false;
    try {
        const nlohmann::json parsed = refhost::ParseJson(text, &positions);
        isParsed = true;
        read(refhost::CJsonNode(parsed));
    } catch (const refhost::CJsonRefusal& refusal) {
        const bool tellsLine = !isParsed && refusal.place().rfind("line ", 0) == 0;
        throw CFileError(file + ": " +
                         (tellsLine ? "" : PositionOf(text, positions, refusal.place()) + ": ") +
                         refusal.what());
    }
}

} // namespace corvane::site
