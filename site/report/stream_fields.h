#pragma once

#include "site/diagnosis/diagnosis.h"
#include "site/report/adjustments.h"
#include "site/report/setting_sections.h"
#include "site/report/value_range.h"

#include <optional>
#include <string>
#include <vector>

namespace corvane::site {

// Whose streams can be set.
struct SStreamCodec {
    const char* name;
    int bit;     // in getVideoCodecsSupported
    int streams; // with capabilities of their own
};
inline constexpr SStreamCodec StreamCodecs[] = {
    {"mjpeg", MjpegBit, 1}, {"mpeg4", Mpeg4Bit, 2}, {"h264", H264Bit, 2}};

// One field of a stream's record.
struct SStreamField {
    const SVideoField& field;
    const char* range; // the operation that tells what it may be at a camera
    int codecBits;     // of the codecs at which a synchronisation sets it
};

const std::vector<SStreamField>& StreamFields();

// What the field may be at the camera. `frameRate` is that of the same record; empty: the camera's own. Of a
// field that a stream of this codec does not have `isSettable` is false.
struct SFieldRange {
    CValueRange values;
    bool isSettable = true;
};
SFieldRange RangeOf(const SStreamField& field, const SVideoStreamId& id, const std::string& frameRate,
                    const AskCamera& ask);

// Why the camera cannot be asked for the record: the first of its values that the camera's own range does not
// have.
std::optional<SDiagnosis> WrongStreamValue(const SVornVidValsInDb& record, const SVideoStreamId& id,
                                           const AskCamera& ask);

// Why what was read of a camera's streams of this codec is not to be relied on.
std::optional<SDiagnosis> WhyUnreadable(const CExchangeWatch& exchanges, VideoCodec codec);

} // namespace corvane::site
