#pragma once

#include "host/api.h"

#include <cstdarg>
#include <string>

namespace corvane::refhost {

// The text that printf would write; `arguments` is used up.
std::string FormatText(const char* format, va_list arguments) VORN_PRINTF_FORMAT(1, 0);

} // namespace corvane::refhost
