#include "cgi_parameters.h"

#include "numbers.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace camsim {

/// Which values a parameter takes.
struct Acceptance {
    enum class Kind { Flag, Number, Words, Listed, StreamListed, Resolution, FrameRate };
    Kind kind;
    /// Words: the words, separated by commas. Listed: the capability key. Else the codec ("h264"), or
    /// nothing.
    std::string_view text = "";
    /// StreamListed: the capability's name ("i_interval").
    std::string_view name = "";
    int minimum = 0;
    int maximum = 0;
};

struct ParameterRule {
    std::string_view parameter;
    /// The settings it may stand for: the first that the model has is the one.
    std::array<std::string_view, 3> keys;
    Acceptance acceptance;
};

namespace {

using Kind = Acceptance::Kind;

constexpr Acceptance flag{Kind::Flag};

constexpr Acceptance number(int minimum, int maximum) {
    return {Kind::Number, "", "", minimum, maximum};
}

constexpr Acceptance words(std::string_view list) {
    return {Kind::Words, list};
}

constexpr Acceptance resolutionOf(std::string_view codec) {
    return {Kind::Resolution, codec};
}

constexpr Acceptance frameRateOf(std::string_view codec) {
    return {Kind::FrameRate, codec};
}

constexpr Acceptance keyFrameIntervalOf(std::string_view codec) {
    return {Kind::StreamListed, codec, "i_interval"};
}

constexpr Acceptance listed(std::string_view capabilityKey) {
    return {Kind::Listed, capabilityKey};
}

constexpr ParameterRule mpegRules[] = {
    {"mpeg_transmit", {"MPEG"}, flag},
    {"f_priority", {"FPRIORITY"}, flag},
    {"nr_framerate", {"NRFRAMERATE"}, frameRateOf("mpeg4")},
    {"mpeg_resolution", {"MPEGSIZE"}, resolutionOf("mpeg4")},
    {"nr_mpeg_resolution", {"MPEGSIZE"}, resolutionOf("mpeg4")},
    {"mpeg_Ivop", {"RINT"}, keyFrameIntervalOf("mpeg4")},
    {"nr_mpeg_Ivop", {"RINT"}, keyFrameIntervalOf("mpeg4")},
    {"mpeg_quality", {"MPEGQUAL"}, listed("video_server.image.mpeg4.quality")},
    {"mpeg_bandwidth", {"MPEGBWC"}, listed("video_server.image.mpeg4.bandwidth")},
};

constexpr ParameterRule h264Rules[] = {
    {"h264_transmit", {"H264"}, flag},
    {"f_priority", {"H264FPRIORITY"}, flag},
    {"nr_framerate", {"H264NRFRAMERATE"}, frameRateOf("h264")},
    {"h264_resolution", {"H264SIZE"}, resolutionOf("h264")},
    {"nr_h264_resolution", {"H264SIZE"}, resolutionOf("h264")},
    {"h264_Ivop", {"H264RINT"}, keyFrameIntervalOf("h264")},
    {"nr_h264_Ivop", {"H264RINT"}, keyFrameIntervalOf("h264")},
    {"h264_quality", {"H264QUAL"}, listed("video_server.image.h264.quality")},
    {"h264_bandwidth", {"H264BWC"}, listed("video_server.image.h264.bandwidth")},
};

constexpr ParameterRule jpegRules[] = {
    {"jpeg_resolution", {"LIVESIZE"}, resolutionOf("mjpeg")},
    {"jpeg_quality", {"LIVEQUAL"}, listed("video_server.image.mjpeg.quality")},
    {"jpeg_interval", {"LIVEINT"}, frameRateOf("mjpeg")},
};

constexpr ParameterRule rtspRules[] = {
    {"rtsp_mode", {"RTSPMODE"}, flag},
    {"rtsp_mode2", {"RTSPMODE_2"}, flag},
    {"h264_rtsp_mode", {"H264RTSPMODE"}, flag},
    {"h264_rtsp_mode2", {"H264RTSPMODE_2"}, flag},
    {"rtsp_port", {"RTSPPORT"}, number(1, 65535)},
};

constexpr ParameterRule audioRules[] = {
    {"audio", {"AUDIO"}, words("off,in,out,inter_half,inter_full")},
    {"audio_encode1", {"AUDIOENCODE1"}, flag},
    {"audio_encoder", {"AUDIOENCODER"}, words("g726")},
    {"audio_bitrate", {"AUDIOBITRATE"}, words("16,32")},
    {"audio_interval", {"AUDIOINT"}, words("20,40,80,160")},
    {"audio_sens", {"AUDIOSENS"}, words("low,middle,high,line_low,line_middle,line_high")},
};

constexpr ParameterRule imageRules[] = {
    {"brightness", {"BRIGHTNESS"}, number(0, 255)},
    {"sharpness", {"SHARPNESS", "APERTURE"}, number(0, 15)},
    {"chroma", {"CHROMA"}, number(0, 255)},
    {"whitebalance", {"WHITEBALANCE", "WHITEBAL"}, words("atw1,atw2,awc,hold")},
    {"blc", {"BLC"}, flag},
    {"sd", {"MEGASD", "SDTHREE", "WDR"}, flag},
    {"dark_revise", {"DARKCOMP"}, flag},
};

constexpr ParameterRule alarmRules[] = {
    {"trm_alarm", {"ATRMIN"}, flag},
    {"trm_alarm2", {"ATRMIN2"}, flag},
    {"trm_alarm3", {"ATRMIN3"}, flag},
};

constexpr ParameterRule terminalRules[] = {
    {"input1", {"AINMODE"}, words("no,nc")},
    {"input2", {"AINMODE2"}, words("no,nc")},
    {"input3", {"AINMODE3"}, words("no,nc")},
};

template <size_t Count>
constexpr SettingsCgi writes(std::string_view path, const ParameterRule (&rules)[Count],
                             std::string_view keySuffix = "", std::string_view capabilitySuffix = "") {
    return {path, rules, Count, keySuffix, capabilitySuffix};
}

constexpr SettingsCgi settingsCgis[] = {
    writes("/cgi-bin/set_mpeg", mpegRules),    writes("/cgi-bin/set_mpeg_2", mpegRules, "_2", "-2"),
    writes("/cgi-bin/set_h264", h264Rules),    writes("/cgi-bin/set_h264_2", h264Rules, "_2", "-2"),
    writes("/cgi-bin/set_jpeg", jpegRules),    writes("/cgi-bin/set_rtsp", rtspRules),
    writes("/cgi-bin/set_audio", audioRules),  writes("/cgi-bin/image_adjust", imageRules),
    writes("/cgi-bin/jpeg_alarm", alarmRules), writes("/cgi-bin/terminal_default", terminalRules),
};

using List = std::vector<std::string>;

std::string imageKey(std::string_view codec, std::string_view streamSuffix, const std::string& name) {
    return std::string("video_server.image.").append(codec).append(streamSuffix).append(".") + name;
}

/// The name that the capability gives to the picture size and ratio which the camera is set to.
std::string imageMode(const Camera& camera) {
    std::string size = camera.setting("IMAGESELECT").value_or("");
    std::replace(size.begin(), size.end(), '.', '_');
    const std::string ratio = camera.setting("IMAGERATIO").value_or("");
    std::string mode = size.empty() ? "1_3m" : size;
    if (ratio == "16_9")
        mode += "_r" + ratio;
    if (camera.setting("IMAGESVGA") == "1")
        mode += "_r" + ratio + "_800";
    return mode;
}

bool contains(const std::optional<List>& list, const std::string& value) {
    return list && std::find(list->begin(), list->end(), value) != list->end();
}

bool acceptsNumber(const Acceptance& acceptance, const std::string& value) {
    const std::optional<int> parsed = parseInteger<int>(value);
    return parsed && acceptance.minimum <= *parsed && *parsed <= acceptance.maximum;
}

bool acceptsWord(const Acceptance& acceptance, const std::string& value) {
    return !value.empty() && value.find(',') == value.npos &&
           ("," + std::string(acceptance.text) + ",").find("," + value + ",") != std::string::npos;
}

/// Resolutions are set by their width alone.
bool acceptsResolution(const Camera& camera, std::string_view codec, std::string_view streamSuffix,
                       const std::string& width) {
    const Capability& capability = camera.model().capability;
    std::optional<List> resolutions =
        capability.list(imageKey(codec, streamSuffix, "resolution_each_mode." + imageMode(camera)));
    if (!resolutions)
        resolutions = capability.list(imageKey(codec, streamSuffix, "resolution"));
    return resolutions && std::any_of(resolutions->begin(), resolutions->end(), [&](const std::string& size) {
               return size.substr(0, size.find('x')) == width;
           });
}

bool acceptsFrameRate(const Camera& camera, std::string_view codec, std::string_view streamSuffix,
                      const std::string& rate) {
    const Capability& capability = camera.model().capability;
    std::optional<List> rates = capability.list(imageKey(codec, streamSuffix, "framerate"));
    if (!rates)
        rates = capability.list(imageKey("mjpeg", "", "framerate"));
    if (!contains(rates, rate))
        return false;
    const std::optional<List> highest =
        capability.list(imageKey(codec, streamSuffix, "max_framerate." + imageMode(camera)));
    return !highest || highest->empty() || std::atof(rate.c_str()) <= std::atof(highest->front().c_str());
}

bool accepts(const Camera& camera, const Acceptance& acceptance, std::string_view streamSuffix,
             const std::string& value) {
    const std::string_view codec = acceptance.text;
    const std::string_view codecStream = codec == "mjpeg" ? "" : streamSuffix;
    const Capability& capability = camera.model().capability;
    switch (acceptance.kind) {
    case Kind::Flag:
        return value == "0" || value == "1";
    case Kind::Number:
        return acceptsNumber(acceptance, value);
    case Kind::Words:
        return acceptsWord(acceptance, value);
    case Kind::Listed:
        return contains(capability.list(std::string(acceptance.text)), value);
    case Kind::StreamListed:
        return contains(capability.list(imageKey(codec, codecStream, std::string(acceptance.name))), value);
    case Kind::Resolution:
        return acceptsResolution(camera, codec, codecStream, value);
    case Kind::FrameRate:
        return acceptsFrameRate(camera, codec, codecStream, value);
    }
    return false;
}

/// "jpeg_interval_ch3" is jpeg_interval of channel 3, whose setting is LIVEINTCH3; the first channel has no
/// suffix.
struct ChannelParameter {
    std::string name;
    std::string keySuffix;
};

ChannelParameter cutChannel(const std::string& name) {
    constexpr std::string_view marker = "_ch";
    const size_t at = name.rfind(marker);
    if (at == name.npos)
        return {name, ""};
    return {name.substr(0, at), "CH" + name.substr(at + marker.size())};
}

std::optional<std::string> settingKey(const Camera& camera, const ParameterRule& rule,
                                      std::string_view suffix) {
    for (const std::string_view key : rule.keys) {
        const std::string full = std::string(key).append(suffix);
        if (!key.empty() && camera.setting(full))
            return full;
    }
    return std::nullopt;
}

const ParameterRule* findRule(const SettingsCgi& cgi, const std::string& parameter) {
    const ParameterRule* end = cgi.rules + cgi.ruleCount;
    const ParameterRule* found =
        std::find_if(cgi.rules, end, [&](const ParameterRule& rule) { return rule.parameter == parameter; });
    return found == end ? nullptr : found;
}

/// Whether the setting may have this value, whichever CGI it usually comes through.
bool settingAccepts(const Camera& camera, const std::string& key, const std::string& value) {
    for (const SettingsCgi& cgi : settingsCgis)
        for (size_t i = 0; i < cgi.ruleCount; ++i)
            for (const std::string_view known : cgi.rules[i].keys)
                if (!known.empty() && std::string(known).append(cgi.keySuffix) == key)
                    return accepts(camera, cgi.rules[i].acceptance, cgi.capabilitySuffix, value);
    return value.find_first_of("\"\r\n") == value.npos;
}

} // namespace

const SettingsCgi* findSettingsCgi(std::string_view path) {
    for (const SettingsCgi& cgi : settingsCgis)
        if (cgi.path == path)
            return &cgi;
    return nullptr;
}

std::string applyParameters(Camera& camera, const SettingsCgi& cgi, const Parameters& parameters) {
    std::string accepted;
    for (const auto& [name, value] : parameters) {
        const ChannelParameter channel = cutChannel(name);
        const ParameterRule* rule = findRule(cgi, channel.name);
        if (rule == nullptr)
            continue;
        const std::optional<std::string> key =
            settingKey(camera, *rule, channel.keySuffix.empty() ? cgi.keySuffix : channel.keySuffix);
        if (!key || !accepts(camera, rule->acceptance, cgi.capabilitySuffix, value))
            continue;
        camera.putSetting(*key, value);
        accepted.append(name).append("=").append(value).append("\r\n");
    }
    return accepted;
}

void applySettings(Camera& camera, const Parameters& parameters) {
    for (const auto& [key, value] : parameters)
        if (camera.setting(key) && settingAccepts(camera, key, value))
            camera.putSetting(key, value);
}

} // namespace camsim
