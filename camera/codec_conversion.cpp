#include "camera/codec_conversion.h"

#include "camera/numbers.h"

#include <cmath>

namespace corvane::panasonic_camera {

namespace {

constexpr int HighestQuality = 100;
constexpr int MiddleQuality = 50; // stands for whatever is out of range

// The intervals up to a second that the camera offers, each for what lies above the one before.
struct SKeyFrameStep {
    double upTo; // seconds
    const char* seconds;
};

// 0.33 stands for a third of a second, which is more.
constexpr SKeyFrameStep KeyFrameSteps[] = {{0.2, "0.2"}, {0.335, "0.33"}, {0.5, "0.5"}, {1.0, "1"}};

struct SQualityWord {
    int quality;
    const char* word;
};

constexpr SQualityWord Mpeg4Words[] = {{0, "low"}, {MiddleQuality, "normal"}};
constexpr SQualityWord Mpeg4Best = {HighestQuality, "fine"}; // any other quality, and any other word

// Nothing for what is no finite number.
COptional<std::string> Decimal(double value) {
    if (!std::isfinite(value))
        return {};
    return NumberText(value);
}

std::string Mpeg4Word(int quality) {
    for (const SQualityWord& row : Mpeg4Words)
        if (row.quality == quality)
            return row.word;
    return Mpeg4Best.word;
}

int Mpeg4QualityOf(const std::string& word) {
    for (const SQualityWord& row : Mpeg4Words)
        if (row.word == word)
            return row.quality;
    return Mpeg4Best.quality;
}

} // namespace

COptional<std::string> KeyFrameSeconds(const std::string& frames, const std::string& framesPerSecond) {
    const auto count = ParseNumber<double>(frames);
    const auto fps = ParseNumber<double>(framesPerSecond);
    if (!count || !fps || *fps <= 0)
        return {};
    const double seconds = *count / *fps;
    for (const SKeyFrameStep& step : KeyFrameSteps)
        if (seconds <= step.upTo)
            return std::string(step.seconds);
    return Decimal(seconds);
}

COptional<std::string> KeyFrameFrames(const std::string& seconds, const std::string& framesPerSecond) {
    const auto interval = ParseNumber<double>(seconds);
    const auto fps = ParseNumber<double>(framesPerSecond);
    if (!interval || !fps)
        return {};
    return Decimal(*interval * *fps);
}

COptional<std::string> CameraQuality(VideoCodec codec, const std::string& quality) {
    if (codec == VideoCodec::H264)
        return std::string();
    auto value = ParseNumber<int>(quality);
    if (!value)
        return {};
    if (*value > HighestQuality)
        value = MiddleQuality;
    if (codec == VideoCodec::Mpeg4)
        return Mpeg4Word(*value);
    return std::to_string(10 - *value / 10);
}

COptional<std::string> RecorderQuality(VideoCodec codec, const std::string& quality) {
    if (codec == VideoCodec::H264)
        return {};
    if (codec == VideoCodec::Mpeg4)
        return std::to_string(Mpeg4QualityOf(quality));
    const auto value = ParseNumber<int>(quality);
    if (!value)
        return {};
    const long long recorder = (10LL - *value) * 10;
    return std::to_string(recorder > HighestQuality ? MiddleQuality : recorder);
}

COptional<std::string> ResolutionWidth(const std::string& resolution) {
    const std::size_t x = resolution.find('x');
    if (x == std::string::npos)
        return {};
    return resolution.substr(0, x);
}

} // namespace corvane::panasonic_camera
