#include "site/cameras/present_settings.h"

#include "site/calls/call.h"
#include "site/report/stream_fields.h"

#include <variant>

namespace corvane::site {

std::vector<SStreamWish> CPresentSettings::streams() const {
    std::vector<SStreamWish> all;
    const auto codecs = ask("capability.getVideoCodecsSupported", {});
    const long long* const bits = codecs ? std::get_if<long long>(&codecs->result) : nullptr;
    for (int channel = 0; channel < model_.videoInputs; ++channel)
        for (const SStreamCodec& codec : StreamCodecs)
            for (int stream = 0; stream < codec.streams && bits && (*bits & codec.bit) != 0; ++stream)
                add(all, std::to_string(channel) + "," + codec.name + "," + std::to_string(stream));
    return all;
}

std::map<std::string, std::string> CPresentSettings::adjustments() const {
    std::map<std::string, std::string> all;
    CAdjustments adjustments(
        [this](const std::string& operation, const Texts& arguments) { return ask(operation, arguments); },
        model_, FirstInput);
    if (adjustments.learn())
        return all;
    for (const SAdjustmentReading& reading : adjustments.readAll())
        if (!reading.isFixed() && AdjustmentArgument(*reading.info, model_, reading.current))
            all[reading.info->name] = reading.current;
    return all;
}

void CPresentSettings::add(std::vector<SStreamWish>& all, const std::string& name) const {
    const auto camera = ask("getVideoCodecParameters", {name});
    const auto recorder =
        camera ? ask("convertVideoCodecToNvr", {name, RecordArgument(*camera)}) : std::nullopt;
    if (!recorder)
        return;
    SStreamWish wish;
    wish.name = name;
    wish.id = SArgumentReader::readVideoStreamId(name);
    const SVornVidValsInDb record = SArgumentReader::readVideoRecord(RecordArgument(*recorder));
    for (const SStreamField& field : StreamFields()) {
        SVornVidValsInDb alone;
        alone.frameRate = record.frameRate;
        alone.*field.field.value = record.*field.field.value;
        const std::string value = (record.*field.field.value).str();
        if (!value.empty() && RangeOf(field, wish.id, "", asking()).isSettable &&
            !WrongStreamValue(alone, wish.id, asking()))
            wish.record[field.field.name] = value;
    }
    if (!wish.record.empty())
        all.push_back(std::move(wish));
}

AskCamera CPresentSettings::asking() const {
    return [this](const std::string& operation, const Texts& arguments) { return ask(operation, arguments); };
}

std::optional<SAnswer> CPresentSettings::ask(const std::string& operation, const Texts& arguments) const {
    return AnswerIfThere(session_.operations(), operation, arguments);
}

} // namespace corvane::site
