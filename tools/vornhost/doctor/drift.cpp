#include "tools/vornhost/doctor/drift.h"

#include "tools/vornhost/calls/call.h"
#include "tools/vornhost/console/exit_status.h"
#include "tools/vornhost/report/stream_fields.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>

namespace corvane::vornhost {
namespace {

using Record = std::map<std::string, std::string>;

constexpr const char* Streams = "streams";
constexpr const char* AdjustmentsMember = "adjustments";
constexpr int FirstInput = 0;

[[noreturn]] void Refuse(const std::string& reason) {
    throw CFailure(ExitStatus::WrongUsage, "the record cannot be used: " + reason, OwnCause::WrongFile);
}

Record RecordOf(const std::optional<SAnswer>& answer) {
    Record record;
    if (answer)
        for (const auto& [field, value] : answer->recordOrEmpty())
            record[field] = value;
    return record;
}

std::string Argument(const Record& record) {
    std::string text;
    for (const auto& [field, value] : record)
        text += (text.empty() ? "" : ";") + field + "=" + value;
    return text;
}

std::string TextOf(const ordered_json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

Record FieldsOf(const ordered_json& record) {
    Record fields;
    for (const auto& [field, value] : record.items())
        fields[field] = TextOf(value);
    return fields;
}

void EachStream(const ordered_json& wish,
                const std::function<void(const std::string& id, const ordered_json& record)>& take) {
    const ordered_json streams = wish.value(Streams, ordered_json::array());
    for (const ordered_json& stream : streams) {
        if (!stream.is_object() || !stream.contains("stream") || !stream.contains("record"))
            Refuse("a stream: expected {\"stream\": \"CHANNEL,CODEC,STREAM\", \"record\": {...}}");
        take(TextOf(stream["stream"]), stream["record"]);
    }
}

void RequireMembers(const ordered_json& wish) {
    if (!wish.is_object())
        Refuse("expected an object with \"streams\" and \"adjustments\"");
    for (const auto& [name, value] : wish.items()) {
        if (name == Streams && value.is_array())
            continue;
        if (name == AdjustmentsMember && value.is_object())
            continue;
        Refuse("\"" + name + "\": expected \"streams\" (a list) and \"adjustments\" (an object)");
    }
}

} // namespace

ordered_json CDrift::read(const std::string& file) {
    std::ifstream in(file);
    if (!in)
        Refuse("the file \"" + file + "\" cannot be read");
    ordered_json wish = ordered_json::parse(in, nullptr, false);
    if (wish.is_discarded())
        Refuse("the file \"" + file + "\" is no JSON");
    RequireMembers(wish);
    return wish;
}

std::string SComparison::text() const {
    return of + "." + field + " is " + (camera.empty() ? "not told" : camera) + ", and is wanted to be " +
           wanted;
}

std::vector<SComparison> CDrift::compare(const ordered_json& wish) const {
    std::vector<SComparison> comparisons;
    EachStream(wish, [&](const std::string& id, const ordered_json& record) {
        compareStream(id, record, comparisons);
    });
    compareAdjustments(wish.value(AdjustmentsMember, ordered_json::object()), comparisons);
    return comparisons;
}

std::vector<SComparison> CDrift::between(const ordered_json& wish) const {
    std::vector<SComparison> differences = compare(wish);
    differences.erase(
        std::remove_if(differences.begin(), differences.end(),
                       [](const SComparison& one) { return one.match != SComparison::Match::Different; }),
        differences.end());
    return differences;
}

std::optional<SDiagnosis> CDrift::impossible(const ordered_json& wish) const {
    std::optional<SDiagnosis> found;
    EachStream(wish, [&](const std::string& id, const ordered_json& record) {
        if (!found)
            found = WrongStreamValue(SArgumentReader::readVideoRecord(Argument(FieldsOf(record))),
                                     SArgumentReader::readVideoStreamId(id), ask_);
    });
    const ordered_json adjustments = wish.value(AdjustmentsMember, ordered_json::object());
    if (found || adjustments.empty())
        return found;
    CAdjustments offered(ask_, model_, FirstInput);
    if (offered.learn()) // which says nothing of what it has
        return std::nullopt;
    for (const auto& [name, value] : adjustments.items()) {
        const SAdjustmentInfo* const info = FindAdjustment(name);
        if (info && !offered.has(*info))
            return AdjustmentMissing(*info, TextOf(value));
        if (info && !AdjustmentArgument(*info, model_, TextOf(value)))
            return WrongValue(name, TextOf(value), AdjustmentChoice(*info, model_));
    }
    return std::nullopt;
}

// Nothing where the operation failed.
std::optional<SAnswer> CDrift::answer(const std::string& operation, const Texts& arguments) const {
    auto answer = ask_(operation, arguments);
    return answer && answer->error && *answer->error ? std::nullopt : answer;
}

std::string CDrift::recordWith(const std::string& id, const ordered_json& record) const {
    const auto camera = answer("getVideoCodecParameters", {id});
    if (!camera)
        return {};
    Record wanted = RecordOf(answer("convertVideoCodecToNvr", {id, RecordArgument(*camera)}));
    for (const auto& [field, value] : FieldsOf(record))
        wanted[field] = value;
    return Argument(wanted);
}

// The wish goes to the camera's values and back, as it would if it were set: what the camera rounds is the
// same.
void CDrift::compareStream(const std::string& id, const ordered_json& record,
                           std::vector<SComparison>& comparisons) const {
    const auto camera = answer("getVideoCodecParameters", {id});
    if (!camera)
        Refuse("\"" + id + "\" is no stream of the camera");
    Record now = RecordOf(answer("convertVideoCodecToNvr", {id, RecordArgument(*camera)}));
    Record wanted = now;
    for (const auto& [field, value] : FieldsOf(record))
        wanted[field] = value;
    const auto converted = answer("convertVideoCodecToCamera", {id, Argument(wanted)});
    if (!converted)
        Refuse("the record of " + id + " has a field that there is not");
    Record accepted = RecordOf(answer("convertVideoCodecToNvr", {id, RecordArgument(*converted)}));
    const auto isRounded = [&](const std::string& field) {
        const auto& fields = StreamFields();
        const auto row = std::find_if(fields.begin(), fields.end(),
                                      [&](const SStreamField& one) { return field == one.field.name; });
        return row != fields.end() &&
               RangeOf(*row, SArgumentReader::readVideoStreamId(id), accepted[VideoFields[0].name], ask_)
                   .values.isRounded(accepted[field], now[field]);
    };
    for (const auto& [field, value] : FieldsOf(record)) {
        SComparison one{OfStreamPrefix + id, field, value, now[field]};
        if (accepted[field] != one.camera && value != one.camera)
            one.match = isRounded(field) ? SComparison::Match::Rounded : SComparison::Match::Different;
        comparisons.push_back(std::move(one));
    }
}

void CDrift::compareAdjustments(const ordered_json& wish, std::vector<SComparison>& comparisons) const {
    if (wish.empty())
        return;
    CAdjustments adjustments(ask_, model_, FirstInput);
    (void)adjustments.learn();
    for (const auto& [name, value] : wish.items()) {
        const SAdjustmentInfo* const info = FindAdjustment(name);
        if (!info)
            Refuse("there is no adjustment \"" + name + "\"");
        SComparison one{OfAdjustments, name, TextOf(value), adjustments.read(*info).current};
        if (one.wanted != one.camera)
            one.match = IsSameAdjustment(*info, model_, one.wanted, one.camera)
                            ? SComparison::Match::Rounded
                            : SComparison::Match::Different;
        comparisons.push_back(std::move(one));
    }
}

} // namespace corvane::vornhost
