#pragma once

// What the framework's own parts use so often that it is named without its namespace.

#include "host/authentication.h"
#include "host/error.h"
#include "host/log.h"
#include "host/stream_id.h"
#include "host/text.h"

namespace corvane::refhost {

using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::CError;
using device_handler::v1_0::COptional;
using device_handler::v1_0::CString;
using device_handler::v1_0::LogFailure;
using device_handler::v1_0::LogNotice;
using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using device_handler::v1_0::VideoCodec;

} // namespace corvane::refhost
