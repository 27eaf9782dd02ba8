// The fields of a stream's record between the recorder's form and the camera's: what the camera accepted,
// told to the recorder and back, is the same, so that a second synchronisation finds nothing to change.
//
// Input: three lines: an interval, a frame rate, a quality.

#include "camera/codec_conversion.h"
#include "fuzz/harness.h"

#include <sstream>

using namespace corvane::panasonic_camera;

namespace {

void CheckQuality(VideoCodec codec, const std::string& quality) {
    const auto camera = CameraQuality(codec, quality);
    if (!camera || camera->empty())
        return;
    const auto recorder = RecorderQuality(codec, *camera);
    corvane::fuzz::Require(recorder.has_value(), "the recorder can read a quality that the camera was given");
    // A quality below 0 has no place on the camera's scale.
    if (quality.front() != '-')
        corvane::fuzz::Require(CameraQuality(codec, *recorder) == camera,
                               "a quality survives the way and back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream lines(corvane::fuzz::InputText(data, size));
    std::string interval;
    std::string frameRate;
    std::string quality;
    std::getline(lines, interval);
    std::getline(lines, frameRate);
    std::getline(lines, quality);

    const auto seconds = KeyFrameSeconds(interval, frameRate);
    if (seconds)
        corvane::fuzz::Require(KeyFrameFrames(*seconds, frameRate).has_value(), "seconds have their frames");
    (void)KeyFrameFrames(interval, frameRate);
    for (const int codec : {0, 1, 2})
        CheckQuality(static_cast<VideoCodec>(codec), quality);
    const auto width = ResolutionWidth(quality);
    corvane::fuzz::Require(!width || width->find('x') == std::string::npos, "a width ends at the first x");
    return 0;
}
