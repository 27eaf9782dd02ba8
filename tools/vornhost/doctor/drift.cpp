#include "tools/vornhost/doctor/drift.h"

#include "refhost/text/near_names.h"
#include "tools/vornhost/calls/call.h"
#include "tools/vornhost/console/exit_status.h"

#include <fstream>
#include <map>

namespace corvane::vornhost {
namespace {

using Record = std::map<std::string, std::string>;

constexpr const char* Streams = "streams";
constexpr const char* AdjustmentsMember = "adjustments";

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

std::string SDifference::text() const {
    return of + "." + field + " is " + (camera.empty() ? "not told" : camera) + ", and is wanted to be " +
           wanted;
}

std::vector<SDifference> CDrift::between(const ordered_json& wish) const {
    std::vector<SDifference> differences;
    for (const ordered_json& stream : wish.value(Streams, ordered_json::array())) {
        if (!stream.is_object() || !stream.contains("stream") || !stream.contains("record"))
            Refuse("a stream: expected {\"stream\": \"CHANNEL,CODEC,STREAM\", \"record\": {...}}");
        compareStream(TextOf(stream["stream"]), stream["record"], differences);
    }
    compareAdjustments(wish.value(AdjustmentsMember, ordered_json::object()), differences);
    return differences;
}

// The wish goes to the camera's values and back, as it would if it were set: what the camera rounds is the
// same.
void CDrift::compareStream(const std::string& id, const ordered_json& record,
                           std::vector<SDifference>& differences) const {
    const auto camera = ask_("getVideoCodecParameters", {id});
    if (!camera)
        Refuse("\"" + id + "\" is no stream of the camera");
    const Record now = RecordOf(ask_("convertVideoCodecToNvr", {id, RecordArgument(*camera)}));
    Record wanted = now;
    for (const auto& [field, value] : record.items())
        wanted[field] = TextOf(value);
    const auto converted = ask_("convertVideoCodecToCamera", {id, Argument(wanted)});
    if (!converted)
        Refuse("the record of " + id + " has a field that there is not");
    Record accepted = RecordOf(ask_("convertVideoCodecToNvr", {id, RecordArgument(*converted)}));
    for (const auto& [field, value] : record.items()) {
        const auto is = now.find(field);
        const std::string current = is == now.end() ? "" : is->second;
        if (accepted[field] != current && TextOf(value) != current)
            differences.push_back({"streams." + id, field, TextOf(value), current});
    }
}

void CDrift::compareAdjustments(const ordered_json& wish, std::vector<SDifference>& differences) const {
    if (wish.empty())
        return;
    CAdjustments adjustments(ask_, model_, 0);
    (void)adjustments.learn();
    for (const auto& [name, value] : wish.items()) {
        const SAdjustmentInfo* const info = FindAdjustment(name);
        if (!info)
            Refuse("there is no adjustment \"" + name + "\"");
        const SAdjustmentReading reading = adjustments.read(*info);
        const std::string wanted = TextOf(value);
        if (!IsSameAdjustment(*info, wanted, reading.current))
            differences.push_back({"adjustments", name, wanted, reading.current});
    }
}

} // namespace corvane::vornhost
