#pragma once

#include "host/api.h"
#include "host/model_info.h"
#include "refhost/base/names.h"

#include <string>

namespace corvane::refhost {

// Where a model list's table has a stream: of the codec (its `urlName`), else of UrlOfNoCodec; for the input
// (from 0), else the lowest. Null where it has none; belongs to the table.
VORN_HOST_API const device_handler::v1_0::SStreamUrl*
FindStreamUrl(const device_handler::v1_0::StreamUrlTable& table, int stream, const std::string& codec,
              int input);

// Where a stream of the device at `address` is; the port of the device's web server has no part in it.
VORN_HOST_API std::string StreamLocation(const device_handler::v1_0::SStreamUrl& url,
                                         const std::string& address);

// Likewise, with user and password in it, percent-encoded, where they are set.
VORN_HOST_API std::string StreamLocationWithCredentials(const device_handler::v1_0::SStreamUrl& url,
                                                        const std::string& address,
                                                        const CAuthentication& credentials);

// The location without user and password, where it holds these, percent-encoded or as they are.
VORN_HOST_API std::string WithoutCredentials(const std::string& location, const CAuthentication& credentials);

} // namespace corvane::refhost
