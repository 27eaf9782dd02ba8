#pragma once

#include <string>

namespace corvane::panasonic_camera {

// How camera and recorder write a switch.
inline constexpr const char* On = "1";
inline constexpr const char* Off = "0";

// The settings that operations read, as the camera calls them.
namespace key {
inline constexpr const char* Aperture = "APERTURE";
inline constexpr const char* AudioSensitivity = "AUDIOSENS";
inline constexpr const char* BackLight = "BLC";
inline constexpr const char* Brightness = "BRIGHTNESS";
inline constexpr const char* Chroma = "CHROMA";
inline constexpr const char* DarkCompensation = "DARKCOMP";
inline constexpr const char* ExposureMode = "ALCELC";
inline constexpr const char* H264FrameRate = "H264NRFRAMERATE";
inline constexpr const char* H264FrameRate2 = "H264NRFRAMERATE_2";
inline constexpr const char* H264Interval = "H264RINT";
inline constexpr const char* H264Interval2 = "H264RINT_2";
inline constexpr const char* H264Priority = "H264FPRIORITY";
inline constexpr const char* H264Priority2 = "H264FPRIORITY_2";
inline constexpr const char* H264Rtsp = "H264RTSPMODE";
inline constexpr const char* H264Rtsp2 = "H264RTSPMODE_2";
inline constexpr const char* H264Size = "H264SIZE";
inline constexpr const char* H264Size2 = "H264SIZE_2";
inline constexpr const char* H264Transmission = "H264";
inline constexpr const char* H264Transmission2 = "H264_2";
inline constexpr const char* ImageRatio = "IMAGERATIO";
inline constexpr const char* ImageSelect = "IMAGESELECT";
inline constexpr const char* ImageSvga = "IMAGESVGA";
inline constexpr const char* MegaSuperDynamic = "MEGASD";
inline constexpr const char* MjpegInterval = "LIVEINT";
inline constexpr const char* MjpegQuality = "LIVEQUAL";
inline constexpr const char* MjpegSize = "LIVESIZE";
inline constexpr const char* Mpeg4BitRate = "MPEGBWC";
inline constexpr const char* Mpeg4BitRate2 = "MPEGBWC_2";
inline constexpr const char* Mpeg4FrameRate = "NRFRAMERATE";
inline constexpr const char* Mpeg4FrameRate2 = "NRFRAMERATE_2";
inline constexpr const char* Mpeg4Interval = "RINT";
inline constexpr const char* Mpeg4Interval2 = "RINT_2";
inline constexpr const char* Mpeg4Priority = "FPRIORITY";
inline constexpr const char* Mpeg4Priority2 = "FPRIORITY_2";
inline constexpr const char* Mpeg4Quality = "MPEGQUAL";
inline constexpr const char* Mpeg4Quality2 = "MPEGQUAL_2";
inline constexpr const char* Mpeg4Rtsp = "RTSPMODE";
inline constexpr const char* Mpeg4Rtsp2 = "RTSPMODE_2";
inline constexpr const char* Mpeg4Size = "MPEGSIZE";
inline constexpr const char* Mpeg4Size2 = "MPEGSIZE_2";
inline constexpr const char* Mpeg4Transmission = "MPEG";
inline constexpr const char* Mpeg4Transmission2 = "MPEG_2";
inline constexpr const char* Patrol = "PATROLNO";
inline constexpr const char* RtspPort = "RTSPPORT";
inline constexpr const char* Sharpness = "SHARPNESS";
// Which codec family a camera that has both runs; a camera without the switch does not report it.
inline constexpr const char* StreamMode = "STREAMMODE";
inline constexpr const char* SuperDynamic3 = "SDTHREE";
inline constexpr const char* Terminal1Alarm = "ATRMIN";
inline constexpr const char* Terminal1Mode = "AINMODE";
inline constexpr const char* Terminal2Alarm = "ATRMIN2";
inline constexpr const char* Terminal2Mode = "AINMODE2";
inline constexpr const char* Terminal3Alarm = "ATRMIN3";
inline constexpr const char* Terminal3Mode = "AINMODE3";
inline constexpr const char* Title = "CAMTITLE";
inline constexpr const char* WhiteBalance = "WHITEBALANCE";
inline constexpr const char* WhiteBalanceShort = "WHITEBAL";
inline constexpr const char* WideDynamicRange = "WDR";
} // namespace key

// What the settings cache looks for in the settings dump, each with a comma behind it: that keeps "AUDIO"
// from matching inside "AUDIOBITRATE". Repeats collapse in the cache. The last entry is one key made of two
// names.
inline constexpr const char* SettingKeys[] = {
    key::Title,
    "CAMTITLE2",
    "CAMTITLE3",
    "CAMTITLE4",
    "BWC",
    key::StreamMode,
    key::Mpeg4Transmission,
    key::Mpeg4Transmission2,
    key::Mpeg4Size,
    key::Mpeg4Size2,
    key::Mpeg4BitRate,
    key::Mpeg4BitRate2,
    key::Mpeg4Priority,
    key::Mpeg4Priority2,
    key::H264Transmission,
    key::H264Transmission2,
    key::H264Rtsp,
    "H264BWC",
    "H264BWC_2",
    key::H264Size,
    key::H264Size2,
    "H264QUAL",
    "H264QUAL_2",
    key::H264Priority,
    key::H264Priority2,
    key::H264Interval,
    key::H264Interval2,
    key::Brightness,
    key::MegaSuperDynamic,
    key::Sharpness,
    key::Chroma,
    key::BackLight,
    "AUDIO",
    "AUDIOBITRATE",
    "AUDIOINT",
    key::Terminal1Alarm,
    key::Terminal2Alarm,
    key::Terminal3Alarm,
    "ORGUSE",
    "ORGPORT",
    "ORGALM1",
    key::Mpeg4Rtsp,
    key::RtspPort,
    key::ImageSelect,
    key::WhiteBalance,
    key::WhiteBalanceShort,
    key::ImageSvga,
    key::ImageRatio,
    key::Mpeg4FrameRate,
    key::Mpeg4FrameRate2,
    key::H264FrameRate,
    key::H264FrameRate2,
    key::Mpeg4Interval,
    key::Mpeg4Interval2,
    key::H264Interval,
    key::H264Interval2,
    key::AudioSensitivity,
    key::Terminal1Mode,
    key::Terminal2Mode,
    key::Terminal3Mode,
    key::MjpegSize,
    "LIVESIZECH2",
    "LIVESIZECH3",
    "LIVESIZECH4",
    key::MjpegInterval,
    "LIVEINTCH2",
    "LIVEINTCH3",
    "LIVEINTCH4",
    key::MjpegQuality,
    "LIVEQUALCH2",
    "LIVEQUALCH3",
    "LIVEQUALCH4",
    key::Patrol,
    key::SuperDynamic3,
    key::MegaSuperDynamic,
    key::ExposureMode,
    key::WideDynamicRange,
    key::DarkCompensation,
    key::Aperture,
    key::Mpeg4Quality,
    key::Mpeg4Quality2,
    key::RtspPort,
    key::Mpeg4Rtsp,
    key::Mpeg4Rtsp2,
    "H264RTSPMODE,H264RTSPMODE_2",
};

// What a dump is searched for.
inline std::string DumpKey(const std::string& setting) {
    return setting + ",";
}

// What "/cgi-bin/getinfo" is asked for.
inline constexpr const char* InfoKeys[] = {"MAC", "VERSION", "NAME"};

} // namespace corvane::panasonic_camera
