#pragma once

#include "host/text.h"

namespace corvane::vorn_camera_base::v1_0 {

// The recorder's record of one video stream; an empty field is not set.
struct SVornVidValsInDb {
    device_handler::v1_0::CString frameRate;        // frames per second
    device_handler::v1_0::CString resolution;       // WIDTHxHEIGHT
    device_handler::v1_0::CString quality;          // 0 to 100
    device_handler::v1_0::CString keyFrameInterval; // frames
    device_handler::v1_0::CString bitRate;          // kbit/s
    device_handler::v1_0::CString bitRateControl;
};

// How the values of a range are meant.
enum class CVAPI_VALUE_TYPE : int { MinimumMaximumStep = 0, List = 1 };

// The text of a synchronisation that has changed the recorder's record.
inline constexpr const char* NeedWriteBack = "Need write the camera value back to db cache.";

// What the device database calls the settings of a video stream.
namespace video_property {
inline constexpr const char* FrameRate = "fps";
inline constexpr const char* Resolution = "res";
inline constexpr const char* Quality = "qual";
inline constexpr const char* KeyFrameInterval = "kfInterval";
inline constexpr const char* BitRate = "brate";
inline constexpr const char* BitRateControl = "bitratectrl";
} // namespace video_property

// One field of a stream's record.
struct SVideoField {
    const char* name; // in arguments and answers of calls by name
    const char* property;
    device_handler::v1_0::CString SVornVidValsInDb::*value;
};

inline constexpr SVideoField VideoFields[] = {
    {"frameRate", video_property::FrameRate, &SVornVidValsInDb::frameRate},
    {"resolution", video_property::Resolution, &SVornVidValsInDb::resolution},
    {"quality", video_property::Quality, &SVornVidValsInDb::quality},
    {"keyFrameInterval", video_property::KeyFrameInterval, &SVornVidValsInDb::keyFrameInterval},
    {"bitRate", video_property::BitRate, &SVornVidValsInDb::bitRate},
    {"bitRateControl", video_property::BitRateControl, &SVornVidValsInDb::bitRateControl},
};

} // namespace corvane::vorn_camera_base::v1_0
