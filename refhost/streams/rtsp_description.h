#pragma once

#include "refhost/base/names.h"

#include <gst/gst.h>

#include <memory>
#include <string>
#include <vector>

namespace corvane::refhost {

struct SCapsUnref {
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
};

// One medium of a description.
struct SRtspMedium {
    // Of its RTP packets: "media", "payload" and "clock-rate", and where the description tells them
    // "encoding-name" and what the elements that take packets apart ask for.
    std::unique_ptr<GstCaps, SCapsUnref> caps;
    std::string control; // where it is set up; empty when that is not told
};

// What a camera tells of a stream.
struct SRtspDescription {
    std::string control; // where the whole is played; empty when that is not told
    std::vector<SRtspMedium> media;
};

// Reads a description (SDP). Throws the CError for a text that is none
// (rtsp_failure::NoDescription in refhost/rtsp_pipeline.h), or one with more than 16 media or 64 attributes
// of one of them (rtsp_failure::TooLarge).
SRtspDescription ReadRtspDescription(const std::string& text);

} // namespace corvane::refhost
