#include "site/report/stream_fields.h"

namespace corvane::site {
namespace {

// How the names of the settings begin that a stream needs.
constexpr const char* H264Settings = "H264";
constexpr const char* Mpeg4Settings = "MPEG";

// A distance between key frames is seconds to the camera: so many frames at that rate, rounded.
bool IsInterval(const SStreamField& field) {
    return field.field.value == &SVornVidValsInDb::keyFrameInterval;
}

} // namespace

const std::vector<SStreamField>& StreamFields() {
    static const std::vector<SStreamField> fields = {
        {VideoFields[0], "getVideoCodecFrameRateRange", MjpegBit | Mpeg4Bit | H264Bit},
        {VideoFields[1], "getVideoCodecResolutionRange", MjpegBit | Mpeg4Bit | H264Bit},
        {VideoFields[2], "getVideoCodecQualityRange", MjpegBit},
        {VideoFields[3], "getVideoCodecKeyFrameIntervalRange", Mpeg4Bit | H264Bit},
        {VideoFields[4], "getVideoCodecBitRateRange", 0},
        {VideoFields[5], "getVideoCodecBitRateControlRange", 0},
    };
    return fields;
}

SFieldRange RangeOf(const SStreamField& field, const SVideoStreamId& id, const std::string& frameRate,
                    const AskCamera& ask) {
    Texts arguments{std::to_string(id.channel), std::to_string(id.stream),
                    device_handler::v1_0::FindCodecName(id.codec)->name};
    if (IsInterval(field) && !frameRate.empty())
        arguments.push_back(frameRate);
    const auto answer = ask(field.range, arguments);
    const bool isMissing =
        answer && answer->error && answer->error->getCode() == static_cast<int>(RtnCode::NotSupported);
    return {CValueRange::of(answer), !isMissing};
}

std::optional<SDiagnosis> WrongStreamValue(const SVornVidValsInDb& record, const SVideoStreamId& id,
                                           const AskCamera& ask) {
    for (const SStreamField& field : StreamFields()) {
        const std::string value = (record.*field.field.value).str();
        if (value.empty())
            continue;
        const CValueRange range = RangeOf(field, id, record.frameRate.str(), ask).values;
        if (range.allows(value, IsInterval(field)))
            continue;
        return WrongValue(field.field.name, value, range.text());
    }
    return std::nullopt;
}

std::optional<SDiagnosis> WhyUnreadable(const CExchangeWatch& exchanges, VideoCodec codec) {
    if (auto unread = DiagnoseUnread(exchanges))
        return unread;
    return codec == VideoCodec::Mjpeg
               ? std::nullopt
               : DiagnoseMissingSetting(exchanges, codec == VideoCodec::H264 ? H264Settings : Mpeg4Settings);
}

} // namespace corvane::site
