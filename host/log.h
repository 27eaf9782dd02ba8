#pragma once

#include "host/api.h"

#include <boost/function.hpp>

#include <cstdarg>
#include <utility>

namespace corvane::device_handler::v1_0 {

// The levels of a log line, by rising severity.
enum LogLevel : int { LogDetail = 1, LogNotice = 2, LogFailure = 3 };

// A logging function that may be copied and outlive whoever handed it out. Callable from any thread.
class CLogFunction {
public:
    using Sink = boost::function<void(int level, const char* format, va_list arguments)>;

    CLogFunction() = default;
    explicit CLogFunction(Sink sink) : sink_(std::move(sink)) {}

    // Logs one line; `format` and the arguments are printf's. Without a sink the line is dropped.
    VORN_PRINTF_FORMAT(3, 4) void operator()(int level, const char* format, ...) const {
        if (!sink_)
            return;
        va_list arguments;
        va_start(arguments, format);
        sink_(level, format, arguments);
        va_end(arguments);
    }

private:
    Sink sink_;
};

} // namespace corvane::device_handler::v1_0
