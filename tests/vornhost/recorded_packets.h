#pragma once

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace corvane::vornhost_test {

// What a command writes to its standard output.
inline std::string OutputOf(const std::string& command) {
    FILE* const pipe = popen((command + " 2>/dev/null").c_str(), "r");
    std::string output;
    char part[4096];
    while (const std::size_t size = std::fread(part, 1, sizeof part, pipe))
        output.append(part, size);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

// The times of what a file holds of a kind, "video" or "audio", in ms.
inline std::vector<int> TimesIn(const std::string& file, const std::string& kind) {
    const auto packets = nlohmann::json::parse(
        OutputOf("ffprobe -v quiet -of json -show_entries packet=codec_type,pts_time -i " + file));
    std::vector<int> times;
    for (const auto& packet : packets.at("packets"))
        if (packet.at("codec_type") == kind)
            times.push_back(
                static_cast<int>(std::lround(std::stod(packet.at("pts_time").get<std::string>()) * 1000)));
    return times;
}

// `count` times, the first of them 0.
inline std::vector<int> RegularTimes(int count, double perSecond) {
    std::vector<int> times;
    for (int number = 0; number < count; ++number)
        times.push_back(static_cast<int>(std::lround(number * 1000 / perSecond)));
    return times;
}

} // namespace corvane::vornhost_test
