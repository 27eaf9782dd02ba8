#pragma once

#include "host/text.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace corvane::device_handler::v1_0 {

// A family of devices that share their identification requests and default credentials.
struct SFamily {
    std::string name;
    std::string user;        // default user name; empty when the family has none
    std::string password;    // default password
    bool digestOnly = false; // Basic authentication is refused to its devices
};

// How to build one stream location.
struct SStreamUrl {
    std::string scheme;
    std::string port; // decimal; may be empty
    std::string path;
    std::vector<std::pair<std::string, std::string>> parameters; // query, in order
};

// The name of locations that serve whatever the codec.
inline constexpr const char* UrlOfNoCodec = "none";

// Stream locations by stream number (for audio: the table base plus the stream number), then by codec name
// (`urlName` of VideoCodecNames, or UrlOfNoCodec), then by variant (for video: the input, from 0; the lowest
// one serves every input that has none).
using StreamUrlTable = std::map<int, std::map<std::string, std::map<int, SStreamUrl>>>;

// An inclusive range in the camera's units.
struct SRange {
    int minimum = 0;
    int maximum = 0;
};

// The forms of the adjustments of picture and lens, each as made here where the model lacks the adjustment.

// In percent for the recorder, in its own units for the camera.
struct SAdjustment {
    std::vector<std::string> range; // minimum and maximum in decimal
    std::string defaultValue;       // decimal
};
// One of several words; its position, from 1, for the recorder.
struct SWhiteBalanceModel {
    std::vector<std::string> values; // the camera's words, in order
    std::string defaultValue;
};
// "1" on, "0" off: a camera's own values, whose being there alone matters; or the way in which the camera has
// it ("Generic", "Conditional" or "AdaptiveBlackStretchOnly").
using SwitchValues = std::vector<std::string>;
using SwitchKind = std::string;

inline bool IsOffered(const SAdjustment& adjustment) {
    return !adjustment.range.empty();
}
inline bool IsOffered(const SWhiteBalanceModel& adjustment) {
    return !adjustment.values.empty();
}
inline bool IsOffered(const SwitchValues& adjustment) {
    return !adjustment.empty();
}
inline bool IsOffered(const SwitchKind& adjustment) {
    return !adjustment.empty();
}

struct SPtzModel {
    SRange panPosition, tiltPosition, zoomPosition;
    int panHome = 0, tiltHome = 0, zoomHome = 0;
    SRange panSpeed, tiltSpeed, zoomSpeed, focusSpeed;
    int presetOffset = 0;     // added to the recorder's preset numbers
    int patternOffset = 0;    // added to the recorder's pattern numbers
    std::string patternCount; // where the camera reports none; empty when the list gives none
};

// Everything the recorder knows of one model. What the list leaves out keeps the values given here.
struct SModelInfo {
    std::string number; // without its prefix
    std::string family;
    std::string label;

    int videoInputs = 1;
    int audioInputs = 0;
    std::map<int, int> indexBase; // property id to the index base of its inputs

    std::map<std::string, int> codecStreams; // codec name to the recorder's highest number of streams
    COptional<int> cameraStreams;            // the camera's own highest number of streams

    std::map<std::string, std::string> defaultQuality; // by codec name
    std::map<std::string, std::string> defaultBitRate; // likewise

    StreamUrlTable videoUrls;
    std::map<int, std::string> audioBitRates; // the lowest number is the default
    int audioUrlBase = 0;
    StreamUrlTable audioUrls;

    COptional<SPtzModel> ptz;

#define VORN_ADJUSTMENT(AREA, NAME, FORM, MEMBER, RECORD) FORM MEMBER;
#include "host/adjustments.def"
};

} // namespace corvane::device_handler::v1_0
