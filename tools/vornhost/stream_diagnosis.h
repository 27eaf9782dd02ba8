#pragma once

#include "host/error.h"
#include "tools/vornhost/diagnosis.h"

#include <string>

namespace corvane::vornhost {

// Why a stream could not be had, or not to its end. `url` is where it was asked for, without
// credentials.
SDiagnosis DiagnoseStream(const device_handler::v1_0::CError& error, const std::string& url);

} // namespace corvane::vornhost
