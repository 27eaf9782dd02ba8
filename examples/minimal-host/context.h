#pragma once

#include <host/device_context.h>
#include <host/log.h>

#include <cstdarg>
#include <cstdio>
#include <utility>

using namespace corvane::device_handler::v1_0;

// What this host keeps for a device: its credentials.
class CContext : public IDeviceContext {
public:
    explicit CContext(CAuthentication credentials) : credentials_(std::move(credentials)) {}
    void log(int level, const char* format, ...) override {
        if (level < LogFailure)
            return;
        va_list arguments;
        va_start(arguments, format);
        std::vfprintf(stderr, format, arguments);
        va_end(arguments);
        std::fputc('\n', stderr);
    }
    boost::shared_ptr<IDeviceDbProxy> getDeviceDbProxy() override { return {}; }
    CAuthentication getAuthentication() override { return credentials_; }

private:
    const CAuthentication credentials_;
};
