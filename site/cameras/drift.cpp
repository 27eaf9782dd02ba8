#include "site/cameras/drift.h"

#include "site/base/exit_status.h"
#include "site/calls/call.h"
#include "site/report/stream_fields.h"
#include "site/session/device_session.h"
#include "site/stream_name.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>

namespace corvane::site {
namespace {

using Record = std::map<std::string, std::string>;

constexpr const char* Streams = "streams";
constexpr const char* AdjustmentsMember = "adjustments";
const char* const FrameRateName = VideoFields[0].name;
const char* const ResolutionName = VideoFields[1].name;
const char* const IntervalName = VideoFields[3].name;

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
        const std::string id = TextOf(stream["stream"]);
        try {
            (void)ReadStreamName(id);
        } catch (const COperationError& expected) {
            Refuse("the stream \"" + id + "\": expected " + expected.what());
        }
        take(id, stream["record"]);
    }
}

const char* NameOfCodec(VideoCodec codec) {
    return device_handler::v1_0::FindCodecName(codec)->name;
}

SDiagnosis NoStream(const std::string& id) {
    SDiagnosis none;
    none.problem = "the camera has no stream " + id;
    none.request = "stream " + id + "; nothing was sent";
    none.reply = "another number of inputs or streams, or other codecs";
    none.advice = "see with `vornhost show` which streams the camera has";
    none.cause = "not-supported";
    return none;
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
        if (!found && !record.empty())
            found = impossibleStream(id, record);
    });
    return found ? found : impossibleAdjustment(wish.value(AdjustmentsMember, ordered_json::object()));
}

std::optional<SDiagnosis> CDrift::impossibleStream(const std::string& id, const ordered_json& record) const {
    const SVideoStreamId stream = SArgumentReader::readVideoStreamId(id);
    const SStreamCodec& codec =
        *std::find_if(std::begin(StreamCodecs), std::end(StreamCodecs), [&](const SStreamCodec& one) {
            return one.name == std::string(NameOfCodec(stream.codec));
        });
    const auto codecs = answer("capability.getVideoCodecsSupported", {});
    const auto* const bits = codecs ? std::get_if<long long>(&codecs->result) : nullptr;
    if (stream.channel >= model_.videoInputs || stream.stream >= codec.streams ||
        (bits && (*bits & codec.bit) == 0))
        return NoStream(id);
    if (auto wrong =
            WrongStreamValue(SArgumentReader::readVideoRecord(Argument(FieldsOf(record))), stream, ask_))
        return wrong;
    SView seen = view(id, record);
    if (seen.now[ResolutionName].empty() && seen.now[FrameRateName].empty())
        return NotReported("stream " + id, "settings");
    const auto wanted = FieldsOf(record);
    const auto resolution = wanted.find(ResolutionName);
    const auto asked = [&](const std::string& value) {
        return RecordOf(answer("convertVideoCodecToCamera",
                               {id, std::string(ResolutionName) + "=" + value}))[ResolutionName];
    };
    // The camera would be asked for a number that it has no resolution for.
    if (resolution != wanted.end() && (!isResolution(resolution->second, seen) ||
                                       asked(resolution->second) != asked(seen.accepted[ResolutionName])))
        return WrongValue(ResolutionName, resolution->second, resolutions(stream).text());
    return std::nullopt;
}

CValueRange CDrift::resolutions(const SVideoStreamId& stream) const {
    for (const SStreamField& field : StreamFields())
        if (field.field.name == std::string(ResolutionName))
            return RangeOf(field, stream, "", ask_).values;
    return {};
}

std::optional<SDiagnosis> CDrift::impossibleAdjustment(const ordered_json& adjustments) const {
    if (adjustments.empty())
        return std::nullopt;
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

std::optional<SDiagnosis> CDrift::unsettable(const SComparison& difference) {
    const std::string prefix = OfStreamPrefix;
    if (difference.of.compare(0, prefix.size(), prefix) != 0)
        return std::nullopt;
    const VideoCodec codec = SArgumentReader::readVideoStreamId(difference.of.substr(prefix.size())).codec;
    const std::string name = NameOfCodec(codec);
    for (const SStreamField& field : StreamFields())
        for (const SStreamCodec& one : StreamCodecs)
            if (difference.field == field.field.name && name == one.name &&
                (field.codecBits & one.bit) == 0) {
                SDiagnosis problem;
                problem.problem = "the " + difference.field + " of an " + name + " stream cannot be set";
                problem.request = difference.field + "=" + difference.wanted + "; nothing was sent";
                problem.reply = "the camera has " + (difference.camera.empty() ? "none" : difference.camera);
                problem.advice = "set it at the camera's own page, or ignore the difference";
                problem.cause = "not-supported";
                problem.phase = "write";
                return problem;
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

// The wish goes to the camera's values and back, as it would if it were set.
CDrift::SView CDrift::view(const std::string& id, const ordered_json& record) const {
    const auto camera = answer("getVideoCodecParameters", {id});
    if (!camera)
        Refuse("\"" + id + "\" is no stream of the camera");
    SView view;
    view.now = RecordOf(answer("convertVideoCodecToNvr", {id, RecordArgument(*camera)}));
    Record wanted = view.now;
    for (const auto& [field, value] : FieldsOf(record))
        wanted[field] = value;
    const auto converted = answer("convertVideoCodecToCamera", {id, Argument(wanted)});
    if (!converted)
        Refuse("the record of " + id + " has a field that there is not");
    view.accepted = RecordOf(answer("convertVideoCodecToNvr", {id, RecordArgument(*converted)}));
    return view;
}

// A distance between key frames is seconds to the camera: where it has made another frame rate of the wished
// one, as many seconds are as many other frames.
bool CDrift::isRounded(const std::string& id, const std::string& field, const std::string& wantedRate,
                       SView& view) const {
    const auto& fields = StreamFields();
    const auto row = std::find_if(fields.begin(), fields.end(),
                                  [&](const SStreamField& one) { return field == one.field.name; });
    if (row == fields.end())
        return false;
    std::string asked = view.accepted[field];
    const bool isInterval = field == IntervalName;
    const double rate = std::strtod(wantedRate.c_str(), nullptr);
    if (isInterval && rate > 0) {
        const double frames = std::strtod(asked.c_str(), nullptr) *
                              std::strtod(view.now[FrameRateName].c_str(), nullptr) / rate;
        asked = std::to_string(frames);
        asked.erase(asked.find_last_not_of('0') + 1);
        if (asked.back() == '.')
            asked.pop_back();
        if (asked == view.now[field])
            return true;
    }
    return RangeOf(*row, SArgumentReader::readVideoStreamId(id), view.now[FrameRateName], ask_)
        .values.isRounded(asked, view.now[field]);
}

// The width alone goes to the camera, and its image ratio gives the height.
bool CDrift::isResolution(const std::string& value, SView& view) {
    return value == view.accepted[ResolutionName] || HasImageRatio(value);
}

// What the plug-in itself rounds is the same.
void CDrift::compareStream(const std::string& id, const ordered_json& record,
                           std::vector<SComparison>& comparisons) const {
    SView view = this->view(id, record);
    const auto wanted = FieldsOf(record);
    const auto rate = wanted.find(FrameRateName);
    for (const auto& [field, value] : wanted) {
        SComparison one{OfStreamPrefix + id, field, value, view.now[field]};
        const std::string wantedRate = rate == wanted.end() ? "" : rate->second;
        const bool isNone = one.camera.empty() || (field == ResolutionName && !isResolution(value, view));
        if (isNone) // whatever a conversion makes of it
            one.match = SComparison::Match::Different;
        else if (view.accepted[field] != one.camera && value != one.camera)
            one.match = isRounded(id, field, wantedRate, view) ? SComparison::Match::Rounded
                                                               : SComparison::Match::Different;
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
        SComparison one{OfAdjustments, name, TextOf(value),
                        adjustments.read(TellingAdjustment(*info)).current};
        if (one.wanted != one.camera)
            one.match = IsSameAdjustment(*info, model_, one.wanted, one.camera)
                            ? SComparison::Match::Rounded
                            : SComparison::Match::Different;
        comparisons.push_back(std::move(one));
    }
}

} // namespace corvane::site
