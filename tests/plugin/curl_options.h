#pragma once

#include <curl/curl.h>

#include <string>

namespace corvane::test_support {

// What libcurl has been told, by the framework or the plug-in, of the last request of this path and query: a
// number, a URL or credentials; a time in milliseconds as the seconds that it is a part of.
std::string CurlOption(const std::string& path, CURLoption option);

} // namespace corvane::test_support
