#include "model/cgi_parameters.h"

#include "model/numbers.h"
#include "model/picture_levels.h"
#include "model/stream_options.h"

#include <algorithm>
#include <array>

namespace camsim {

/// What the camera makes of a value that a parameter brings.
struct Acceptance {
    using Adjust = std::optional<std::string> (*)(const Camera& camera, const Acceptance& acceptance,
                                                  std::string_view capabilitySuffix,
                                                  const std::string& value);
    Adjust adjust;
    /// Words separated by commas, a capability key, or a codec ("h264").
    std::string_view text{};
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

/// The value that the camera takes for a list: an entry as it stands, or for a number the nearest.
std::optional<std::string> adjustToList(const Camera& camera, const Acceptance& acceptance, std::string_view,
                                        const std::string& value) {
    const auto list = camera.model().capability.list(std::string(acceptance.text));
    return list ? nearestEntry(*list, value) : std::nullopt;
}

std::optional<std::string> keepNumber(const Camera&, const Acceptance& acceptance, std::string_view,
                                      const std::string& value) {
    const std::optional<int> parsed = parseNumber<int>(value);
    const bool accepted = parsed && acceptance.minimum <= *parsed && *parsed <= acceptance.maximum;
    return accepted ? std::optional(value) : std::nullopt;
}

std::optional<std::string> keepWord(const Camera&, const Acceptance& acceptance, std::string_view,
                                    const std::string& value) {
    const bool accepted =
        !value.empty() && value.find(',') == value.npos &&
        ("," + std::string(acceptance.text) + ",").find("," + value + ",") != std::string::npos;
    return accepted ? std::optional(value) : std::nullopt;
}

/// Of every JPEG picture, whatever its input, the capability has the same to say.
CapabilityStream capabilityStream(const Acceptance& acceptance, std::string_view suffix) {
    return {acceptance.text, acceptance.text == "mjpeg" ? "" : suffix};
}

/// Resolutions are set by their width alone.
std::optional<std::string> adjustResolution(const Camera& camera, const Acceptance& acceptance,
                                            std::string_view suffix, const std::string& value) {
    const auto nearest = nearestEntry(resolutions(camera, capabilityStream(acceptance, suffix)), value);
    return nearest ? std::optional(nearest->substr(0, nearest->find('x'))) : std::nullopt;
}

std::optional<std::string> adjustFrameRate(const Camera& camera, const Acceptance& acceptance,
                                           std::string_view suffix, const std::string& value) {
    return nearestEntry(frameRates(camera, capabilityStream(acceptance, suffix)), value);
}

std::optional<std::string> adjustInterval(const Camera& camera, const Acceptance& acceptance,
                                          std::string_view suffix, const std::string& value) {
    return nearestEntry(keyFrameIntervals(camera, capabilityStream(acceptance, suffix)), value);
}

constexpr Acceptance flag{keepWord, "0,1"};

constexpr Acceptance number(int minimum, int maximum) {
    return {keepNumber, "", minimum, maximum};
}

constexpr Acceptance level(const PictureLevel& range) {
    return number(0, range.highest);
}

constexpr Acceptance words(std::string_view list) {
    return {keepWord, list};
}

constexpr Acceptance resolutionOf(std::string_view codec) {
    return {adjustResolution, codec};
}

constexpr Acceptance frameRateOf(std::string_view codec) {
    return {adjustFrameRate, codec};
}

constexpr Acceptance keyFrameIntervalOf(std::string_view codec) {
    return {adjustInterval, codec};
}

constexpr Acceptance listed(std::string_view capabilityKey) {
    return {adjustToList, capabilityKey};
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
    {"brightness", {"BRIGHTNESS"}, level(brightnessLevel)},
    {"sharpness", {"SHARPNESS", "APERTURE"}, level(sharpnessLevel)},
    {"chroma", {"CHROMA"}, level(chromaLevel)},
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

/// "jpeg_interval_ch3" is jpeg_interval of channel 3, whose setting is LIVEINTCH3. Channels are counted from
/// 0, and the first has no suffix.
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

std::optional<std::string> adjustParameter(const Camera& camera, const SettingsCgi& cgi,
                                           const ParameterRule& rule, const std::string& value) {
    return rule.acceptance.adjust(camera, rule.acceptance, cgi.capabilitySuffix, value);
}

/// What the setting becomes, whichever CGI it usually comes through.
std::optional<std::string> adjustSetting(const Camera& camera, const std::string& key,
                                         const std::string& value) {
    for (const SettingsCgi& cgi : settingsCgis)
        for (size_t i = 0; i < cgi.ruleCount; ++i)
            for (const std::string_view known : cgi.rules[i].keys)
                if (!known.empty() && std::string(known).append(cgi.keySuffix) == key)
                    return adjustParameter(camera, cgi, cgi.rules[i], value);
    return value.find_first_of("\"\r\n") == value.npos ? std::optional(value) : std::nullopt;
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
        const std::optional<std::string> taken =
            key ? adjustParameter(camera, cgi, *rule, value) : std::nullopt;
        if (!taken)
            continue;
        camera.putSetting(*key, taken);
        accepted.append(name).append("=").append(*taken).append("\r\n");
    }
    return accepted;
}

void applySettings(Camera& camera, const Parameters& parameters) {
    for (const auto& [key, value] : parameters) {
        const std::optional<std::string> taken =
            camera.setting(key) ? adjustSetting(camera, key, value) : std::nullopt;
        if (taken)
            camera.putSetting(key, taken);
    }
}

} // namespace camsim
