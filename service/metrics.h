#pragma once

#include "service/answer_times.h"
#include "service/camera_status.h"
#include "service/process_use.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvane::service {

struct SMetricsInput {
    struct SMqtt {
        bool isConnected = false;
        std::size_t waiting = 0; // messages
    };

    std::string version; // of the program
    std::vector<SCameraStatus> cameras;
    std::map<std::string, CAnswerTimes::SHistogram> answerTimes;
    std::size_t eventClients = 0;
    std::optional<SMqtt> mqtt; // absent where no broker is told anything
    SProcessUse process;
    Time now = std::chrono::system_clock::now();
};

// The media type of the text.
inline constexpr const char* MetricsType = "text/plain; version=0.0.4; charset=utf-8";

// What the service knows as Prometheus reads it. What is not known is left out, and never 0.
std::string MetricsText(const SMetricsInput& input);

} // namespace corvane::service
