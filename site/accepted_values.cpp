#include "site/accepted_values.h"

#include "refhost/text/json_node.h"
#include "site/text_file.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <tuple>

namespace corvane::site {
namespace {

using refhost::CJsonNode;

constexpr const char* Suffix = ".accepted";

auto PlaceOf(const SAcceptedValue& value) {
    return std::tie(value.camera, value.of, value.field);
}

std::vector<CJsonNode::SMember> MembersOf(SAcceptedValue& value) {
    const auto text = [](const char* name, std::string& member) {
        return CJsonNode::SMember{name, CJsonNode::SMember::Required,
                                  [&member](const CJsonNode& node) { member = node.text(); }};
    };
    return {text("camera", value.camera), text("address", value.address), text("of", value.of),
            text("field", value.field),   text("wanted", value.wanted),   text("accepted", value.accepted)};
}

nlohmann::ordered_json JsonOf(const SAcceptedValue& value) {
    return {{"camera", value.camera}, {"address", value.address}, {"of", value.of},
            {"field", value.field},   {"wanted", value.wanted},   {"accepted", value.accepted}};
}

} // namespace

bool operator==(const SAcceptedValue& a, const SAcceptedValue& b) {
    return PlaceOf(a) == PlaceOf(b) && a.address == b.address && a.wanted == b.wanted &&
           a.accepted == b.accepted;
}

CAcceptedValues::CAcceptedValues(const std::string& siteFile) : file_(siteFile + Suffix) {
    std::error_code none;
    if (!std::filesystem::exists(file_, none))
        return;
    const std::string text = ReadTextFile(file_);
    try {
        const nlohmann::json all = refhost::ParseJson(text);
        CJsonNode(all).eachEntry([this](const CJsonNode& entry) {
            SAcceptedValue value;
            entry.object(MembersOf(value));
            values_.push_back(std::move(value));
        });
    } catch (const refhost::CJsonRefusal& refusal) {
        throw CFileError(file_ + ": " + refusal.what());
    }
}

bool CAcceptedValues::has(const SAcceptedValue& value) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::find(values_.begin(), values_.end(), value) != values_.end();
}

void CAcceptedValues::take(const SAcceptedValue& value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<SAcceptedValue> values = values_;
    values.erase(std::remove_if(values.begin(), values.end(),
                                [&](const SAcceptedValue& one) { return PlaceOf(one) == PlaceOf(value); }),
                 values.end());
    values.push_back(value);
    write(values);
    values_ = std::move(values);
}

void CAcceptedValues::write(const std::vector<SAcceptedValue>& values) const {
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const SAcceptedValue& value : values)
        all.push_back(JsonOf(value));
    ReplaceFile(file_, all.dump(2) + "\n");
}

} // namespace corvane::site
