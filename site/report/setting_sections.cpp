#include "site/report/setting_sections.h"

#include "site/report/measured.h"

#include <algorithm>
#include <utility>

namespace corvane::site {
namespace {

ordered_json PlainValue(const std::string& text) {
    return Measured(text);
}

// "1" and "0" stand for yes and no.
ordered_json FlagValue(const std::string& text) {
    return text == "1" || text == "0" ? ordered_json(text == "1") : Measured(text);
}

// Of a camera with MPEG-4 and H.264: which of the two it sends.
ordered_json FamilyValue(const std::string& text) {
    return text == "0" ? "mpeg4" : text == "1" ? "h264" : text;
}

struct SSetting {
    const char* key; // in JSON
    const char* label;
    std::vector<const char*> names; // the first that the camera has
    ordered_json (*value)(const std::string& text) = PlainValue;
};

struct SSettingGroup {
    const char* place;
    const char* title;
    std::vector<SSetting> settings;
};

const SSettingGroup Groups[] = {
    {"/settings/rtsp",
     "RTSP",
     {{"codecFamily", "codec family", {"STREAMMODE"}, FamilyValue}, {"port", "port", {"RTSPPORT"}}}},
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
      {"backLight", "back light", {"BLC"}, FlagValue},
      {"superDynamic", "super dynamic", {"MEGASD", "SDTHREE", "WDR"}, FlagValue},
      {"darkCompensation", "dark compensation", {"DARKCOMP"}, FlagValue},
      {"exposure", "exposure", {"ALCELC"}}}},
};

// What a recorder knows as resolution and keyFrameInterval has other names, since it is a width alone, and
// seconds instead of frames.
const std::vector<std::pair<std::string, std::string>> StreamColumns = {
    {"stream", "STREAM"},
    {"transmission", "ON"},
    {"rtsp", "RTSP"},
    {"width", "WIDTH"},
    {"frameRate", "FPS"},
    {"quality", "QUALITY"},
    {"keyFrameSeconds", "KEY FRAMES EVERY S"},
    {"bitRate", "BIT RATE"}};

// The names of the settings of one codec's streams, in the order of the columns from the second on; null
// where the codec has none.
struct SStreamSettings {
    const char* codec;
    int codecBit;
    const char* names[7];
};

constexpr SStreamSettings SecondStreamCodecs[] = {
    {"h264",
     H264Bit,
     {"H264", "H264RTSPMODE", "H264SIZE", "H264NRFRAMERATE", "H264QUAL", "H264RINT", "H264BWC"}},
    {"mpeg4", Mpeg4Bit, {"MPEG", "RTSPMODE", "MPEGSIZE", "NRFRAMERATE", "MPEGQUAL", "RINT", "MPEGBWC"}},
};
constexpr SStreamSettings Mjpeg = {
    "mjpeg", MjpegBit, {nullptr, nullptr, "LIVESIZE", "LIVEINT", "LIVEQUAL", nullptr, nullptr}};

ordered_json Value(const SSetting& setting, const ReadSetting& read) {
    for (const char* name : setting.names)
        if (const std::string value = read(name); !value.empty())
            return setting.value(value);
    return nullptr;
}

// As the command line names it.
std::string StreamId(int input, const char* codec, int stream) {
    return std::to_string(input) + "," + codec + "," + std::to_string(stream);
}

void AddStream(SFactTable& table, const std::string& stream, const SStreamSettings& settings,
               const std::string& suffix, const ReadSetting& read) {
    std::vector<ordered_json> row{stream};
    bool any = false;
    for (const char* name : settings.names) {
        const std::string value = name ? read(name + suffix) : "";
        const bool isSwitch = row.size() <= 2;
        row.push_back(value.empty() ? ordered_json() : isSwitch ? FlagValue(value) : PlainValue(value));
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
        AddStream(section.table, StreamId(0, codec.codec, 0), codec, "", read);
        AddStream(section.table, StreamId(0, codec.codec, 1), codec, "_2", read);
    }
    AddStream(section.table, StreamId(0, Mjpeg.codec, 0), Mjpeg, "", read);
    for (int input = 1; input < videoInputs; ++input)
        AddStream(section.table, StreamId(input, Mjpeg.codec, 0), Mjpeg, "CH" + std::to_string(input), read);
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

// The level that getDryContactInputActiveState of the plug-in answers: low too where the camera does not say.
const char* ActiveLevel(const std::string& mode) {
    return mode.empty() || mode == NormallyOpen ? "Low" : "High";
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
            section.facts.push_back({setting.key, setting.label, Value(setting, read)});
        sections.push_back(std::move(section));
    }
    return sections;
}

SReportSection AlarmInputSection(int count, const std::map<int, std::string>& levels,
                                 const ReadSetting& read) {
    SReportSection section{"/alarmInputs", "Alarm inputs", {}, {}};
    section.table.columns = {{"input", "INPUT"},        {"terminal", "TERMINAL"},     {"contact", "CONTACT"},
                             {"activeLevel", "ACTIVE"}, {"alarmEnabled", "ALARM ON"}, {"level", "LEVEL NOW"},
                             {"state", "STATE"}};
    for (int input = 0; input < count; ++input) {
        const std::string mode = read(KeyOf("AINMODE", input));
        const ordered_json level = LevelValue(levels, input);
        section.table.rows.push_back({input, input + 1, ContactValue(mode), ActiveLevel(mode),
                                      AlarmValue(read(KeyOf("ATRMIN", input))), level, StateValue(level)});
    }
    return section;
}

} // namespace corvane::site
