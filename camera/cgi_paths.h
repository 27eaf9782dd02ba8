#pragma once

// The camera's CGI requests: each path, and each fixed query, once.
namespace corvane::panasonic_camera::cgi {

inline constexpr const char* Setdata = "/cgi-bin/setdata";
inline constexpr const char* Getinfo = "/cgi-bin/getinfo";
inline constexpr const char* GetCapability = "/cgi-bin/get_capability";
inline constexpr const char* SetMpeg = "/cgi-bin/set_mpeg";
inline constexpr const char* SetMpegSecond = "/cgi-bin/set_mpeg_2";
inline constexpr const char* SetH264 = "/cgi-bin/set_h264";
inline constexpr const char* SetH264Second = "/cgi-bin/set_h264_2";
inline constexpr const char* SetJpeg = "/cgi-bin/set_jpeg";
inline constexpr const char* SetRtsp = "/cgi-bin/set_rtsp";
inline constexpr const char* Absctrl = "/cgi-bin/absctrl";
inline constexpr const char* AbsgetPosition = "/cgi-bin/absget?page=12345";
inline constexpr const char* AbsctrlFocus = "/cgi-bin/absctrl?focus="; // up to the camera's value
inline constexpr const char* Camctrl = "/cgi-bin/camctrl";
inline constexpr const char* CamctrlAutoFocus = "/cgi-bin/camctrl?af=on";
inline constexpr const char* Directctrl = "/cgi-bin/directctrl";
inline constexpr const char* Camposiset = "/cgi-bin/camposiset";
inline constexpr const char* SetPatrol = "/cgi-bin/set_patrol";
inline constexpr const char* JpegAlarm = "/cgi-bin/jpeg_alarm";
inline constexpr const char* TerminalDefault = "/cgi-bin/terminal_default";
inline constexpr const char* GetIoAll = "/cgi-bin/get_io?command=all";
inline constexpr const char* SetAudio = "/cgi-bin/set_audio";
inline constexpr const char* ImageAdjust = "/cgi-bin/image_adjust";
inline constexpr const char* Initial = "/cgi-bin/initial";

// The bodies of Initial. The camera obeys them only with this token.
inline constexpr const char* InitialReboot = "cmd=reset&Randomnum=5D21A7C03E8F4B69";
inline constexpr const char* InitialFactoryReset = "cmd=all&Randomnum=5D21A7C03E8F4B69";

// The bodies of SetMpeg, SetH264 and SetRtsp that switch streams on and off. Frame priority goes with
// transmission; RTSP goes on for both streams of a family, on its standard port.
inline constexpr const char* Mpeg4TransmitOn = "mpeg_transmit=1&f_priority=1";
inline constexpr const char* Mpeg4TransmitOff = "mpeg_transmit=0";
inline constexpr const char* H264TransmitOn = "h264_transmit=1&f_priority=1";
inline constexpr const char* Mpeg4RtspOn = "rtsp_mode=1&rtsp_mode2=1&rtsp_port=554";
inline constexpr const char* H264RtspOn = "h264_rtsp_mode=1&h264_rtsp_mode2=1&rtsp_port=554";

// What SetAudio is told: the whole audio mode up to its bit rate, or one setting.
inline constexpr const char* AudioModeOn = "audio=in&audio_encode1=0&audio_encoder=g726&audio_bitrate=";
inline constexpr const char* AudioBitRate = "audio_bitrate=";
inline constexpr const char* AudioSensitivity = "audio_sens=";

// What ImageAdjust is told, up to the value; that of percentages is in image_adjustments.def.
inline constexpr const char* ImageWhiteBalance = "whitebalance=";
inline constexpr const char* ImageBackLight = "blc=";
inline constexpr const char* ImageSuperDynamic = "sd=";
inline constexpr const char* ImageDarkCompensation = "dark_revise=";

// How the framework's CGI helpers are asked: any authentication scheme that the camera offers, and the
// characters that end a value in a reply.
inline constexpr const char* AuthScheme = "ANY";
inline constexpr const char* ValueDelimiters = "&\r\n'";

// Seconds for one exchange.
inline constexpr int RequestTimeout = 4;
inline constexpr int SetdataTimeout = 20;

} // namespace corvane::panasonic_camera::cgi
