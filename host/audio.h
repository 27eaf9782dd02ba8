#pragma once

#include "host/text.h"

namespace corvane::vorn_camera_base::v1_0 {

// The recorder's record of one audio stream; an empty field is not set.
struct SVornAudValsInDb {
    device_handler::v1_0::CString bitRate; // kbit/s
};

// The record's field in arguments and answers of calls by name.
inline constexpr const char* AudioBitRateField = "bitRate";

} // namespace corvane::vorn_camera_base::v1_0
