#include "model/cgi_parameters.h"

#include "model/numbers.h"
#include "model/picture_levels.h"
#include "model/stream_options.h"

#include <algorithm>
#include <array>

namespace camsim {

// Which values of a parameter the camera accepts, and how it changes one before it stores it.
struct SAcceptance {
    using Adjust = std::optional<std::string> (*)(const CCamera& camera, const SAcceptance& acceptance,
                                                  std::string_view capabilitySuffix,
                                                  const std::string& value);
    Adjust adjust;
    // By `adjust`: the accepted words separated by commas, a capability key, or a codec ("h264").
    std::string_view text{};
    int minimum = 0;
    int maximum = 0;
};

struct SParameterRule {
    std::string_view parameter;
    // The settings that it may write; the first that the model has is written.
    std::array<std::string_view, 3> keys;
    SAcceptance acceptance;
};

namespace {

// Accepts an entry of the capability's list; a number becomes the nearest entry.
std::optional<std::string> AdjustToList(const CCamera& camera, const SAcceptance& acceptance,
                                        std::string_view, const std::string& value) {
    const auto list = camera.model().capability.list(std::string(acceptance.text));
    return list ? NearestEntry(*list, value) : std::nullopt;
}

std::optional<std::string> KeepNumber(const CCamera&, const SAcceptance& acceptance, std::string_view,
                                      const std::string& value) {
    const std::optional<int> parsed = ParseNumber<int>(value);
    const bool accepted = parsed && acceptance.minimum <= *parsed && *parsed <= acceptance.maximum;
    return accepted ? std::optional(value) : std::nullopt;
}

std::optional<std::string> KeepWord(const CCamera&, const SAcceptance& acceptance, std::string_view,
                                    const std::string& value) {
    const bool accepted =
        !value.empty() && value.find(',') == value.npos &&
        ("," + std::string(acceptance.text) + ",").find("," + value + ",") != std::string::npos;
    return accepted ? std::optional(value) : std::nullopt;
}

// The capability has one entry for JPEG, which holds for every channel, so no suffix is added.
SCapabilityStream CapabilityStream(const SAcceptance& acceptance, std::string_view suffix) {
    return {acceptance.text, acceptance.text == "mjpeg" ? "" : suffix};
}

// A resolution is stored as its width alone.
std::optional<std::string> AdjustResolution(const CCamera& camera, const SAcceptance& acceptance,
                                            std::string_view suffix, const std::string& value) {
    const auto nearest = NearestEntry(Resolutions(camera, CapabilityStream(acceptance, suffix)), value);
    return nearest ? std::optional(nearest->substr(0, nearest->find('x'))) : std::nullopt;
}

std::optional<std::string> AdjustFrameRate(const CCamera& camera, const SAcceptance& acceptance,
                                           std::string_view suffix, const std::string& value) {
    return NearestEntry(FrameRates(camera, CapabilityStream(acceptance, suffix)), value);
}

std::optional<std::string> AdjustInterval(const CCamera& camera, const SAcceptance& acceptance,
                                          std::string_view suffix, const std::string& value) {
    return NearestEntry(KeyFrameIntervals(camera, CapabilityStream(acceptance, suffix)), value);
}

constexpr SAcceptance Flag{KeepWord, "0,1"};

constexpr SAcceptance Number(int minimum, int maximum) {
    return {KeepNumber, "", minimum, maximum};
}

constexpr SAcceptance Level(const SPictureLevel& range) {
    return Number(0, range.highest);
}

constexpr SAcceptance Words(std::string_view list) {
    return {KeepWord, list};
}

constexpr SAcceptance ResolutionOf(std::string_view codec) {
    return {AdjustResolution, codec};
}

constexpr SAcceptance FrameRateOf(std::string_view codec) {
    return {AdjustFrameRate, codec};
}

constexpr SAcceptance KeyFrameIntervalOf(std::string_view codec) {
    return {AdjustInterval, codec};
}

constexpr SAcceptance Listed(std::string_view capabilityKey) {
    return {AdjustToList, capabilityKey};
}

constexpr SParameterRule MpegRules[] = {
    {"mpeg_transmit", {"MPEG"}, Flag},
    {"f_priority", {"FPRIORITY"}, Flag},
    {"nr_framerate", {"NRFRAMERATE"}, FrameRateOf("mpeg4")},
    {"mpeg_resolution", {"MPEGSIZE"}, ResolutionOf("mpeg4")},
    {"nr_mpeg_resolution", {"MPEGSIZE"}, ResolutionOf("mpeg4")},
    {"mpeg_Ivop", {"RINT"}, KeyFrameIntervalOf("mpeg4")},
    {"nr_mpeg_Ivop", {"RINT"}, KeyFrameIntervalOf("mpeg4")},
    {"mpeg_quality", {"MPEGQUAL"}, Listed("video_server.image.mpeg4.quality")},
    {"mpeg_bandwidth", {"MPEGBWC"}, Listed("video_server.image.mpeg4.bandwidth")},
};

constexpr SParameterRule H264Rules[] = {
    {"h264_transmit", {"H264"}, Flag},
    {"f_priority", {"H264FPRIORITY"}, Flag},
    {"nr_framerate", {"H264NRFRAMERATE"}, FrameRateOf("h264")},
    {"h264_resolution", {"H264SIZE"}, ResolutionOf("h264")},
    {"nr_h264_resolution", {"H264SIZE"}, ResolutionOf("h264")},
    {"h264_Ivop", {"H264RINT"}, KeyFrameIntervalOf("h264")},
    {"nr_h264_Ivop", {"H264RINT"}, KeyFrameIntervalOf("h264")},
    {"h264_quality", {"H264QUAL"}, Listed("video_server.image.h264.quality")},
    {"h264_bandwidth", {"H264BWC"}, Listed("video_server.image.h264.bandwidth")},
};

constexpr SParameterRule JpegRules[] = {
    {"jpeg_resolution", {"LIVESIZE"}, ResolutionOf("mjpeg")},
    {"jpeg_quality", {"LIVEQUAL"}, Listed("video_server.image.mjpeg.quality")},
    {"jpeg_interval", {"LIVEINT"}, FrameRateOf("mjpeg")},
};

constexpr SParameterRule RtspRules[] = {
    {"rtsp_mode", {"RTSPMODE"}, Flag},
    {"rtsp_mode2", {"RTSPMODE_2"}, Flag},
    {"h264_rtsp_mode", {"H264RTSPMODE"}, Flag},
    {"h264_rtsp_mode2", {"H264RTSPMODE_2"}, Flag},
    {"rtsp_port", {"RTSPPORT"}, Number(1, 65535)},
};

constexpr SParameterRule AudioRules[] = {
    {"audio", {"AUDIO"}, Words("off,in,out,inter_half,inter_full")},
    {"audio_encode1", {"AUDIOENCODE1"}, Flag},
    {"audio_encoder", {"AUDIOENCODER"}, Words("g726")},
    {"audio_bitrate", {"AUDIOBITRATE"}, Words("16,32")},
    {"audio_interval", {"AUDIOINT"}, Words("20,40,80,160")},
    {"audio_sens", {"AUDIOSENS"}, Words("low,middle,high,line_low,line_middle,line_high")},
};

constexpr SParameterRule ImageRules[] = {
    {"brightness", {"BRIGHTNESS"}, Level(BrightnessLevel)},
    {"sharpness", {"SHARPNESS", "APERTURE"}, Level(SharpnessLevel)},
    {"chroma", {"CHROMA"}, Level(ChromaLevel)},
    {"whitebalance", {"WHITEBALANCE", "WHITEBAL"}, Words("atw1,atw2,awc,hold")},
    {"blc", {"BLC"}, Flag},
    {"sd", {"MEGASD", "SDTHREE", "WDR"}, Flag},
    {"dark_revise", {"DARKCOMP"}, Flag},
};

constexpr SParameterRule AlarmRules[] = {
    {"trm_alarm", {"ATRMIN"}, Flag},
    {"trm_alarm2", {"ATRMIN2"}, Flag},
    {"trm_alarm3", {"ATRMIN3"}, Flag},
};

constexpr SParameterRule TerminalRules[] = {
    {"input1", {"AINMODE"}, Words("no,nc")},
    {"input2", {"AINMODE2"}, Words("no,nc")},
    {"input3", {"AINMODE3"}, Words("no,nc")},
};

template <size_t Count>
constexpr SSettingsCgi Writes(std::string_view path, const SParameterRule (&rules)[Count],
                              std::string_view keySuffix = "", std::string_view capabilitySuffix = "") {
    return {path, rules, Count, keySuffix, capabilitySuffix};
}

constexpr SSettingsCgi SettingsCgis[] = {
    Writes("/cgi-bin/set_mpeg", MpegRules),    Writes("/cgi-bin/set_mpeg_2", MpegRules, "_2", "-2"),
    Writes("/cgi-bin/set_h264", H264Rules),    Writes("/cgi-bin/set_h264_2", H264Rules, "_2", "-2"),
    Writes("/cgi-bin/set_jpeg", JpegRules),    Writes("/cgi-bin/set_rtsp", RtspRules),
    Writes("/cgi-bin/set_audio", AudioRules),  Writes("/cgi-bin/image_adjust", ImageRules),
    Writes("/cgi-bin/jpeg_alarm", AlarmRules), Writes("/cgi-bin/terminal_default", TerminalRules),
};

// "jpeg_interval_ch3" is jpeg_interval of channel 3, whose setting is LIVEINTCH3. Channels are counted from
// 0, and the first has no suffix.
struct SChannelParameter {
    std::string name;
    std::string keySuffix;
};

SChannelParameter CutChannel(const std::string& name) {
    constexpr std::string_view Marker = "_ch";
    const size_t at = name.rfind(Marker);
    if (at == name.npos)
        return {name, ""};
    return {name.substr(0, at), "CH" + name.substr(at + Marker.size())};
}

std::optional<std::string> SettingKey(const CCamera& camera, const SParameterRule& rule,
                                      std::string_view suffix) {
    for (const std::string_view key : rule.keys) {
        const std::string full = std::string(key).append(suffix);
        if (!key.empty() && camera.setting(full))
            return full;
    }
    return std::nullopt;
}

const SParameterRule* FindRule(const SSettingsCgi& cgi, const std::string& parameter) {
    const SParameterRule* end = cgi.rules + cgi.ruleCount;
    const SParameterRule* found =
        std::find_if(cgi.rules, end, [&](const SParameterRule& rule) { return rule.parameter == parameter; });
    return found == end ? nullptr : found;
}

std::optional<std::string> AdjustParameter(const CCamera& camera, const SSettingsCgi& cgi,
                                           const SParameterRule& rule, const std::string& value) {
    return rule.acceptance.adjust(camera, rule.acceptance, cgi.capabilitySuffix, value);
}

// What the setting becomes, whichever CGI it usually comes through.
std::optional<std::string> AdjustSetting(const CCamera& camera, const std::string& key,
                                         const std::string& value) {
    for (const SSettingsCgi& cgi : SettingsCgis)
        for (size_t i = 0; i < cgi.ruleCount; ++i)
            for (const std::string_view known : cgi.rules[i].keys)
                if (!known.empty() && std::string(known).append(cgi.keySuffix) == key)
                    return AdjustParameter(camera, cgi, cgi.rules[i], value);
    return value.find_first_of("\"\r\n") == value.npos ? std::optional(value) : std::nullopt;
}

void Write(CCamera& camera, const std::string& key, const std::optional<std::string>& value,
           WrittenSettings& written) {
    written.emplace_back(key, camera.setting(key));
    camera.putSetting(key, value);
}

} // namespace

const SSettingsCgi* FindSettingsCgi(std::string_view path) {
    for (const SSettingsCgi& cgi : SettingsCgis)
        if (cgi.path == path)
            return &cgi;
    return nullptr;
}

std::string ApplyParameters(CCamera& camera, const SSettingsCgi& cgi, const Parameters& parameters,
                            WrittenSettings& written) {
    std::string accepted;
    for (const auto& [name, value] : parameters) {
        const SChannelParameter channel = CutChannel(name);
        const SParameterRule* rule = FindRule(cgi, channel.name);
        if (rule == nullptr)
            continue;
        const std::optional<std::string> key =
            SettingKey(camera, *rule, channel.keySuffix.empty() ? cgi.keySuffix : channel.keySuffix);
        const std::optional<std::string> taken =
            key ? AdjustParameter(camera, cgi, *rule, value) : std::nullopt;
        if (!taken)
            continue;
        Write(camera, *key, taken, written);
        accepted.append(name).append("=").append(*taken).append("\r\n");
    }
    return accepted;
}

void ApplySettings(CCamera& camera, const Parameters& parameters, WrittenSettings& written) {
    for (const auto& [key, value] : parameters) {
        const std::optional<std::string> taken =
            camera.setting(key) ? AdjustSetting(camera, key, value) : std::nullopt;
        if (taken)
            Write(camera, key, taken, written);
    }
}

} // namespace camsim
