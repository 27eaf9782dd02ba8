#pragma once

#include "host/api.h"
#include "host/model_list.h"
#include "host/url.h"
#include "refhost/base/names.h"

#include <string>

namespace corvane::refhost {

// How the framework asks on its own account: whichever scheme the device offers, and what ends a value in the
// replies of every family known.
inline constexpr const char* AnyAuthScheme = "ANY";
inline constexpr const char* ReplyDelimiters = "&\r\n'";

// What a URL of a model list asks for: its path, always with a "/", and its query.
VORN_HOST_API std::string PathWithQuery(const device_handler::v1_0::SVornUrl& url);

// Sends the list's authentication test to the device, with the credentials if they are set. Fails as the
// exchange fails (see host/cgi.h).
CError SendAuthenticationTest(const device_handler::v1_0::CVornModelList& modelList,
                              const std::string& address, const CAuthentication& credentials);

} // namespace corvane::refhost
