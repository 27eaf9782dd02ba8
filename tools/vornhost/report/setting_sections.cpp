#include "tools/vornhost/report/setting_sections.h"

#include <algorithm>
#include <utility>

namespace corvane::vornhost {
namespace {

ordered_json TextValue(const std::string& text) {
    return text;
}

// "1" and "0" stand for yes and no.
ordered_json FlagValue(const std::string& text) {
    return text == "1" || text == "0" ? ordered_json(text == "1") : ordered_json(text);
}

// Of a camera with MPEG-4 and H.264: which of the two it sends.
ordered_json FamilyValue(const std::string& text) {
    return text == "0" ? "MPEG-4" : text == "1" ? "H.264" : text;
}

struct SSetting {
    const char* key; // in JSON
    const char* label;
    std::vector<const char*> names; // the first that the camera has
    ordered_json (*value)(const std::string& text) = TextValue;
    int codecBit = 0; // the codec that it belongs to; 0: none
};

struct SSettingGroup {
    const char* place;
    const char* title;
    std::vector<SSetting> settings;
};

const SSettingGroup Groups[] = {
    {"/settings/rtsp",
     "RTSP",
     {{"codecFamily", "codec family", {"STREAMMODE"}, FamilyValue},
      {"port", "port", {"RTSPPORT"}},
      {"h264Stream1", "H.264 stream 1", {"H264RTSPMODE"}, FlagValue, H264Bit},
      {"h264Stream2", "H.264 stream 2", {"H264RTSPMODE_2"}, FlagValue, H264Bit},
      {"mpeg4Stream1", "MPEG-4 stream 1", {"RTSPMODE"}, FlagValue, Mpeg4Bit},
      {"mpeg4Stream2", "MPEG-4 stream 2", {"RTSPMODE_2"}, FlagValue, Mpeg4Bit}}},
    {"/settings/audio",
     "Sound, in the camera's own words",
     {{"mode", "mode", {"AUDIO"}},
      {"bitRate", "bit rate", {"AUDIOBITRATE"}},
      {"interval", "interval", {"AUDIOINT"}},
      {"sensitivity", "sensitivity", {"AUDIOSENS"}}}},
    {"/settings/image",
     "Picture, in the camera's own words",
     {{"captureMode", "capture mode", {"IMAGESELECT"}},
      {"aspectRatio", "aspect ratio", {"IMAGERATIO"}},
      {"brightness", "brightness", {"BRIGHTNESS"}},
      {"sharpness", "sharpness", {"SHARPNESS", "APERTURE"}},
      {"saturation", "saturation", {"CHROMA"}},
      {"whiteBalance", "white balance", {"WHITEBALANCE", "WHITEBAL"}},
      {"backLightCompensation", "back-light compensation", {"BLC"}, FlagValue},
      {"superDynamic", "super dynamic", {"MEGASD", "SDTHREE", "WDR"}, FlagValue},
      {"darkCompensation", "dark compensation", {"DARKCOMP"}, FlagValue},
      {"exposure", "exposure", {"ALCELC"}}}},
};

const std::vector<std::pair<std::string, std::string>> StreamColumns = {
    {"stream", "STREAM"},   {"transmission", "ON"}, {"resolution", "RESOLUTION"},
    {"frameRate", "FPS"},   {"quality", "QUALITY"}, {"keyFrameInterval", "KEY FRAMES EVERY S"},
    {"bitRate", "BIT RATE"}};

// The names of the settings of one codec's streams, in the order of the columns from the second on; null
// where the codec has none.
struct SStreamSettings {
    const char* codec;
    int codecBit;
    const char* names[6];
};

constexpr SStreamSettings SecondStreamCodecs[] = {
    {"H.264", H264Bit, {"H264", "H264SIZE", "H264NRFRAMERATE", "H264QUAL", "H264RINT", "H264BWC"}},
    {"MPEG-4", Mpeg4Bit, {"MPEG", "MPEGSIZE", "NRFRAMERATE", "MPEGQUAL", "RINT", "MPEGBWC"}},
};
constexpr SStreamSettings Mjpeg = {
    "MJPEG", MjpegBit, {nullptr, "LIVESIZE", "LIVEINT", "LIVEQUAL", nullptr, nullptr}};

ordered_json Value(const SSetting& setting, const ReadSetting& read) {
    for (const char* name : setting.names)
        if (const std::string value = read(name); !value.empty())
            return setting.value(value);
    return nullptr;
}

void AddStream(SFactTable& table, const std::string& stream, const SStreamSettings& settings,
               const std::string& suffix, const ReadSetting& read) {
    std::vector<ordered_json> row{stream};
    bool any = false;
    for (const char* name : settings.names) {
        const std::string value = name ? read(name + suffix) : "";
        const bool isTransmission = row.size() == 1;
        row.push_back(value.empty()    ? ordered_json()
                      : isTransmission ? FlagValue(value)
                                       : ordered_json(value));
        any = any || !value.empty();
    }
    if (any)
        table.rows.push_back(std::move(row));
}

SReportSection StreamSection(int videoInputs, long long codecBits, const ReadSetting& read) {
    SReportSection section{"/settings/streams", "How its streams are set", {}, {StreamColumns, {}}};
    for (const SStreamSettings& codec : SecondStreamCodecs) {
        if (!(codecBits & codec.codecBit))
            continue;
        AddStream(section.table, std::string(codec.codec) + " 1", codec, "", read);
        AddStream(section.table, std::string(codec.codec) + " 2", codec, "_2", read);
    }
    AddStream(section.table, Mjpeg.codec, Mjpeg, "", read);
    for (int input = 2; input <= videoInputs; ++input)
        AddStream(section.table, std::string(Mjpeg.codec) + ", input " + std::to_string(input), Mjpeg,
                  "CH" + std::to_string(input - 1), read);
    return section;
}

constexpr const char* NormallyOpen = "no";
constexpr const char* NormallyClosed = "nc";

// AINMODE is the first input's key, AINMODE2 the second's.
std::string KeyOf(const char* key, int input) {
    return key + (input == 0 ? "" : std::to_string(input + 1));
}

ordered_json ContactValue(const std::string& mode) {
    if (mode.empty())
        return nullptr;
    return mode == NormallyOpen ? "normally open" : mode == NormallyClosed ? "normally closed" : mode;
}

// As getDryContactInputActiveState of the plug-in answers: "LOW" too where the camera does not say.
const char* ActiveLevel(const std::string& mode) {
    return mode.empty() || mode == NormallyOpen ? vorn_camera_base::v1_0::ActiveLow
                                                : vorn_camera_base::v1_0::ActiveHigh;
}

ordered_json AlarmValue(const std::string& setting) {
    return setting.empty() ? ordered_json() : ordered_json(setting == "1");
}

ordered_json LevelValue(const std::map<int, std::string>& levels, int input) {
    const auto level = levels.find(input);
    return level == levels.end() ? ordered_json() : ordered_json(level->second);
}

// As getDryContactInputState of the plug-in answers: active when the level is high, whatever the contact.
ordered_json StateValue(const ordered_json& level) {
    if (level.is_null())
        return nullptr;
    const bool isHigh = level.get_ref<const std::string&>().find("High") != std::string::npos;
    return isHigh ? "active" : "inactive";
}

} // namespace

std::vector<SReportSection> SettingSections(int videoInputs, long long codecBits, const ReadSetting& read) {
    std::vector<SReportSection> sections{StreamSection(videoInputs, codecBits, read)};
    for (const SSettingGroup& group : Groups) {
        SReportSection section{group.place, group.title, {}, {}};
        for (const SSetting& setting : group.settings)
            if (setting.codecBit == 0 || (codecBits & setting.codecBit))
                section.facts.push_back({setting.key, setting.label, Value(setting, read)});
        sections.push_back(std::move(section));
    }
    return sections;
}

SReportSection AlarmInputSection(int count, const std::map<int, std::string>& levels,
                                 const ReadSetting& read) {
    SReportSection section{"/alarmInputs", "Alarm inputs", {}, {}};
    section.table.columns = {{"input", "INPUT"}, {"terminal", "TERMINAL"},     {"contact", "CONTACT"},
                             {"mode", "MODE"},   {"alarmEnabled", "ALARM ON"}, {"level", "LEVEL NOW"},
                             {"state", "STATE"}};
    for (int input = 0; input < count; ++input) {
        const std::string mode = read(KeyOf("AINMODE", input));
        const ordered_json level = LevelValue(levels, input);
        section.table.rows.push_back({input, input + 1, ContactValue(mode), ActiveLevel(mode),
                                      AlarmValue(read(KeyOf("ATRMIN", input))), level, StateValue(level)});
    }
    return section;
}

} // namespace corvane::vornhost
