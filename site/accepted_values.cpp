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

void Put(std::vector<SAcceptedValue>& values, const SAcceptedValue& value) {
    values.erase(std::remove_if(values.begin(), values.end(),
                                [&](const SAcceptedValue& one) { return PlaceOf(one) == PlaceOf(value); }),
                 values.end());
    values.push_back(value);
}

std::vector<SAcceptedValue> Read(const std::string& file) {
    std::vector<SAcceptedValue> values;
    std::error_code none;
    if (!std::filesystem::exists(file, none))
        return values;
    const std::string text = ReadTextFile(file);
    try {
        const nlohmann::json all = refhost::ParseJson(text);
        CJsonNode(all).eachEntry([&](const CJsonNode& entry) {
            SAcceptedValue value;
            entry.object(MembersOf(value));
            values.push_back(std::move(value));
        });
    } catch (const refhost::CJsonRefusal& refusal) {
        throw CFileError(file + ": " + refusal.what());
    }
    return values;
}

} // namespace

bool operator==(const SAcceptedValue& a, const SAcceptedValue& b) {
    return PlaceOf(a) == PlaceOf(b) && a.address == b.address && a.wanted == b.wanted &&
           a.accepted == b.accepted;
}

CAcceptedValues::CAcceptedValues(const std::string& siteFile)
    : siteFile_(siteFile), file_(siteFile + Suffix), values_(Read(file_)) {}

bool CAcceptedValues::has(const SAcceptedValue& value) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::find(values_.begin(), values_.end(), value) != values_.end();
}

void CAcceptedValues::take(const SAcceptedValue& value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Put(values_, value);
    Put(taken_, value);
}

void CAcceptedValues::save(const std::set<std::string>& cameras) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (taken_.empty())
        return;
    const CFileLock alone(siteFile_);
    std::vector<SAcceptedValue> values = Read(file_);
    for (const SAcceptedValue& value : taken_)
        Put(values, value);
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const SAcceptedValue& value : values)
        if (cameras.count(value.camera) != 0)
            all.push_back(JsonOf(value));
    ReplaceJsonFile(file_, all);
    taken_.clear();
}

} // namespace corvane::site
