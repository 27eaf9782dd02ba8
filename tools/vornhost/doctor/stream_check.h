#pragma once

#include "refhost/streams/rtsp_source.h"
#include "site/base/names.h"
#include "site/streams/stream_setting.h"
#include "tools/vornhost/doctor/finding.h"
#include "tools/vornhost/names.h"

#include <chrono>
#include <optional>
#include <string>

namespace corvane::vornhost {

struct SStreamTimes {
    std::chrono::milliseconds firstData{5'000}; // is waited for so long
    std::chrono::milliseconds least{2'000};     // of data
    std::chrono::milliseconds longest{4'000};   // behind the first, until that is there
};

// Plays a stream for some seconds and holds what comes against what is set. Only takes what the camera sends:
// nothing is set there.
SFinding CheckStream(const refhost::SRtspSource& source, VideoCodec codec, const SStreamSetting& wish,
                     const SStreamTimes& times = {});

// Plays a stream's pictures and the sound beside them for some seconds.
SFinding CheckAudio(const refhost::SRtspSource& pictures, VideoCodec codec, const refhost::SRtspSource& sound,
                    const SStreamTimes& times = {});

} // namespace corvane::vornhost
