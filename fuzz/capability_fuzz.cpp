// Every query of a capability text, held against its rule in the plainest form, numbers read by a stream.
//
// Input: codec, stream and audio input in decimal, blanks between them, and behind one more blank the image
// mode; a line end; the capability text.

#include "camera/capability.h"
#include "fuzz/harness.h"

#include <algorithm>
#include <optional>

using namespace corvane;
using panasonic_camera::CPanasonicCapability;
using panasonic_camera::VideoCodec;

namespace {

struct SArguments {
    VideoCodec codec = VideoCodec::Mjpeg;
    int stream = 0;
    int input = 0;
    std::string mode;
};

SArguments ReadArguments(const std::string& line) {
    std::istringstream in(line);
    SArguments arguments;
    int codec = 0;
    in >> codec >> arguments.stream >> arguments.input;
    arguments.codec = static_cast<VideoCodec>(codec);
    in.get();
    std::getline(in, arguments.mode);
    return arguments;
}

template <class Number>
Number Read(const std::string& text) {
    std::istringstream in(text);
    Number number = 0;
    in >> number;
    return number;
}

std::optional<std::string> ValueOf(const std::string& text, const std::string& key) {
    const std::size_t at = text.find(key);
    if (at == std::string::npos)
        return {};
    const std::size_t begin = at + key.size();
    return text.substr(begin, text.find("\r\n", begin) - begin);
}

std::vector<std::string> ListOf(const std::string& text, const std::string& key) {
    const std::optional<std::string> value = ValueOf(text, key);
    if (!value)
        return {};
    std::vector<std::string> list{""};
    for (const char character : *value) {
        if (character == ',')
            list.emplace_back();
        else
            list.back() += character;
    }
    return list;
}

bool IsNarrower(const std::string& a, const std::string& b) {
    const auto width = [](const std::string& resolution) {
        const std::size_t x = resolution.find('x');
        return x == std::string::npos ? 0 : Read<unsigned>(resolution.substr(0, x));
    };
    return width(a) < width(b);
}

// "video_server.image.h264-2."; empty for a codec that is none.
std::string ImageKey(VideoCodec codec, int stream) {
    static const char* const names[] = {"mjpeg", "mpeg4", "h264"};
    const int number = static_cast<int>(codec);
    if (number < 0 || number > 2)
        return {};
    return std::string("video_server.image.") + names[number] + (number > 0 && stream != 0 ? "-2." : ".");
}

void RequireStreamQueries(const CPanasonicCapability& capability, const std::string& text,
                          const SArguments& arguments) {
    const auto& [codec, stream, input, mode] = arguments;
    const std::string key = ImageKey(codec, stream);
    if (key.empty()) {
        fuzz::Require(capability.getVideoCodecFrameRate(codec, stream).empty(), "no frame rates");
        fuzz::Require(capability.getResolutionForCodec(mode, codec, stream).empty(), "no resolutions");
        fuzz::Require(capability.getMaxFrameRate(codec, stream, mode) == "30", "the default frame rate");
        return;
    }
    fuzz::Require(capability.getVideoCodecFrameRate(codec, stream) == ListOf(text, key + "framerate="),
                  "frame rates");
    const std::string modeKey = key + "resolution_each_mode." + mode + "=";
    const bool hasMode = !mode.empty() && ValueOf(text, modeKey);
    std::vector<std::string> resolutions = ListOf(text, hasMode ? modeKey : key + "resolution=");
    std::stable_sort(resolutions.begin(), resolutions.end(), IsNarrower);
    fuzz::Require(capability.getResolutionForCodec(mode, codec, stream) == resolutions, "resolutions");
    const std::string maximum =
        mode.empty() ? "30" : ValueOf(text, key + "max_framerate." + mode + "=").value_or("30");
    fuzz::Require(capability.getMaxFrameRate(codec, stream, mode) == maximum, "the highest frame rate");
}

void RequireCodecQueries(const CPanasonicCapability& capability, const std::string& text, VideoCodec codec,
                         int stream) {
    const bool isStreamCoded = codec == VideoCodec::Mpeg4 || codec == VideoCodec::H264;
    const auto expected = [&](bool exists, const std::string& key) {
        return exists ? ListOf(text, key) : std::vector<std::string>();
    };
    fuzz::Require(capability.getVideoCodecIInterval(codec, stream) ==
                      expected(isStreamCoded, ImageKey(codec, stream) + "i_interval="),
                  "key-frame intervals");
    fuzz::Require(capability.getVideoCodecBandwidth(codec) ==
                      expected(isStreamCoded, ImageKey(codec, 0) + "bandwidth="),
                  "bandwidths");
    fuzz::Require(capability.getVideoCodecQuality(codec) ==
                      expected(!ImageKey(codec, 0).empty(), ImageKey(codec, 0) + "quality="),
                  "qualities");
}

void RequireDryContacts(const CPanasonicCapability& capability, const std::string& text) {
    constexpr int Untouched = -7;
    int count = Untouched;
    const bool supported = capability.IsDryContactSupported(count);

    const std::optional<std::string> number = ValueOf(text, "video_server.peripheral.io.number=");
    const int terminals = number ? Read<int>(*number) : 0;
    bool expected = number.has_value();
    int expectedCount = expected ? 0 : Untouched;
    for (int i = 1; i <= terminals; ++i) {
        const auto terminal = ValueOf(text, "video_server.peripheral.io.trm" + std::to_string(i) + "=");
        if (!terminal) {
            expectedCount = Untouched;
            break;
        }
        if (terminal->find("alm_in") != std::string::npos)
            ++expectedCount;
    }
    if (expectedCount != Untouched)
        expected = expectedCount != 0;
    fuzz::Require(supported == expected && count == expectedCount, "alarm inputs");
    fuzz::Require(capability.getDryContactInputCount() == terminals, "terminals");
}

void RequireCameraQueries(const CPanasonicCapability& capability, const std::string& text, int input) {
    const auto hasValue = [&](const char* key) { return !ValueOf(text, key).value_or("").empty(); };
    fuzz::Require(capability.IsAnalogInputSupported() == hasValue("video_server.basic.analogue_input="),
                  "analogue input");
    fuzz::Require(capability.IsImageModeSupported() == hasValue("video_server.image.mode="), "image mode");
    fuzz::Require(capability.getImageMode() == ListOf(text, "video_server.image.mode="), "image modes");

    int codecs = 0;
    for (const std::string& format : ListOf(text, "video_server.image.format="))
        codecs |= format == "mjpeg" ? 1 : format == "mpeg4" ? 2 : format == "h264" ? 4 : 0;
    fuzz::Require(capability.getVideoCodecsSupported() == codecs, "codecs");

    const int inputs = Read<int>(ValueOf(text, "video_server.audio.audio_input.number=").value_or(""));
    fuzz::Require(capability.IsAudioSupported(input) == (inputs > 0 && inputs > input), "audio inputs");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text = fuzz::InputText(data, size);
    const SArguments arguments = ReadArguments(fuzz::TakeLine(text));
    const CPanasonicCapability capability(text);
    RequireCameraQueries(capability, text, arguments.input);
    RequireStreamQueries(capability, text, arguments);
    RequireCodecQueries(capability, text, arguments.codec, arguments.stream);
    RequireDryContacts(capability, text);
    return 0;
}
