#include "camera/capability.h"

#include "camera/numbers.h"
#include "camera/stream_tables.h"

#include "host/text.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string_view>
#include <utility>

namespace corvane::panasonic_camera {

using device_handler::v1_0::COptional;
using device_handler::v1_0::FindCodecName;
using device_handler::v1_0::SVideoCodecName;
using device_handler::v1_0::VideoCodecNames;

namespace {

constexpr std::string_view LineEnd = "\r\n";
constexpr std::string_view KeyStart = "video_server.";
constexpr std::size_t LongestIndexed = 128; // of a key, its "=" included
constexpr int MostIndexed = 10'000;
constexpr const char* TerminalKey = "video_server.peripheral.io.trm";
constexpr const char* TerminalCountKey = "video_server.peripheral.io.number=";
constexpr std::string_view AlarmInput = "alm_in";
constexpr const char* DefaultMaxFrameRate = "30";

std::size_t Find(std::string_view text, std::string_view part, std::size_t from = 0) {
    // memmem, since every line of the text begins alike and a search by first character stops at each.
    const void* found = memmem(text.data() + from, text.size() - from, part.data(), part.size());
    return found ? static_cast<std::size_t>(static_cast<const char*>(found) - text.data())
                 : std::string::npos;
}

std::string_view ValueAt(std::string_view text, std::size_t begin) {
    const std::size_t end = Find(text, LineEnd, begin);
    return text.substr(begin, end == std::string::npos ? end : end - begin);
}

std::vector<std::string> SplitList(std::string_view value) {
    std::vector<std::string> list;
    list.reserve(static_cast<std::size_t>(std::count(value.begin(), value.end(), ',')) + 1);
    for (std::size_t begin = 0;;) {
        const std::size_t comma = value.find(',', begin);
        list.emplace_back(value.substr(begin, comma - begin));
        if (comma == std::string::npos)
            return list;
        begin = comma + 1;
    }
}

bool HasSecondStream(VideoCodec codec) {
    return FindCodedFamily(codec) != nullptr;
}

// "video_server.image.h264-2." followed by the property.
std::string ImageKey(const SVideoCodecName& codec, int stream, std::string_view property,
                     std::string_view mode = {}) {
    constexpr std::size_t LongestUsual = 96;
    std::string key;
    key.reserve(LongestUsual);
    key.append("video_server.image.").append(codec.name);
    key.append(HasSecondStream(codec.codec) && stream != FirstStream ? "-2." : ".");
    return key.append(property).append(mode).append("=");
}

unsigned WidthOf(const std::string& resolution) {
    const std::size_t x = resolution.find('x');
    return x == std::string::npos ? 0 : ReadNumber<unsigned>(std::string_view(resolution).substr(0, x));
}

// Whether each terminal, by its number in decimal, is an alarm input: the value at its key's first occurrence
// mentions it. One pass that never looks back, since a text of many megabytes may claim any number of
// terminals.
std::map<std::string_view, bool> Terminals(std::string_view text) {
    std::map<std::string_view, bool> terminals;
    const std::string_view key = TerminalKey;
    std::size_t lineEnd = 0;
    std::size_t mention = 0;
    for (std::size_t at = Find(text, key); at != std::string::npos; at = Find(text, key, at + key.size())) {
        const std::size_t number = at + key.size();
        const std::size_t equals = text.find_first_not_of("0123456789", number);
        if (equals == std::string::npos || text[equals] != '=')
            continue;
        const std::size_t value = equals + 1;
        if (lineEnd < value)
            lineEnd = std::min(Find(text, LineEnd, value), text.size());
        if (mention < value)
            mention = std::min(Find(text, AlarmInput, value), text.size());
        terminals.emplace(text.substr(number, equals - number), mention + AlarmInput.size() <= lineEnd);
    }
    return terminals;
}

} // namespace

CPanasonicCapability::CPanasonicCapability(std::string text) : text_(std::move(text)) {
    index();
}

// Every key that is asked for begins like these and ends with its only "=". One pass that never looks back,
// and bounded: what a text of many megabytes has beyond is searched for.
void CPanasonicCapability::index() {
    const std::string_view text = text_;
    std::size_t equals = 0;
    int keys = 0;
    for (std::size_t at = Find(text, KeyStart); at != std::string::npos; at = Find(text, KeyStart, at + 1)) {
        if (equals <= at)
            equals = std::min(text.find('=', at), text.size());
        if (equals == text.size())
            return;
        if (++keys > MostIndexed) {
            isIndexed_ = false;
            return;
        }
        if (equals - at < LongestIndexed)
            values_.emplace(text.substr(at, equals + 1 - at), equals + 1);
    }
}

COptional<std::string_view> CPanasonicCapability::valueOf(const std::string& key) const {
    if (const auto known = values_.find(key); known != values_.end())
        return ValueAt(text_, known->second);
    if (isIndexed_ && key.size() <= LongestIndexed && key.find('=') + 1 == key.size())
        return {};
    const std::size_t at = Find(text_, key);
    if (at == std::string::npos)
        return {};
    return ValueAt(text_, at + key.size());
}

std::vector<std::string> CPanasonicCapability::listOf(const std::string& key) const {
    const COptional<std::string_view> value = valueOf(key);
    return value ? SplitList(*value) : std::vector<std::string>();
}

int CPanasonicCapability::numberOf(const std::string& key) const {
    const COptional<std::string_view> value = valueOf(key);
    return value ? ReadNumber<int>(*value) : 0;
}

bool CPanasonicCapability::IsAnalogInputSupported() const {
    const COptional<std::string_view> value = valueOf("video_server.basic.analogue_input=");
    return value && !value->empty();
}

bool CPanasonicCapability::IsImageModeSupported() const {
    const COptional<std::string_view> value = valueOf("video_server.image.mode=");
    return value && !value->empty();
}

std::vector<std::string> CPanasonicCapability::getImageMode() const {
    return listOf("video_server.image.mode=");
}

int CPanasonicCapability::getVideoCodecsSupported() const {
    int supported = 0;
    for (const std::string& format : listOf("video_server.image.format="))
        for (const SVideoCodecName& codec : VideoCodecNames)
            if (format == codec.name)
                supported |= 1 << static_cast<int>(codec.codec);
    return supported;
}

std::vector<std::string> CPanasonicCapability::getResolutionForCodec(const std::string& mode,
                                                                     VideoCodec codec, int stream) const {
    const SVideoCodecName* name = FindCodecName(codec);
    if (!name)
        return {};
    COptional<std::string_view> value;
    if (!mode.empty())
        value = valueOf(ImageKey(*name, stream, "resolution_each_mode.", mode));
    if (!value)
        value = valueOf(ImageKey(*name, stream, "resolution"));
    if (!value)
        return {};
    std::vector<std::string> resolutions = SplitList(*value);
    std::stable_sort(resolutions.begin(), resolutions.end(), SortResolutions);
    return resolutions;
}

std::vector<std::string> CPanasonicCapability::getVideoCodecFrameRate(VideoCodec codec, int stream) const {
    const SVideoCodecName* name = FindCodecName(codec);
    return name ? listOf(ImageKey(*name, stream, "framerate")) : std::vector<std::string>();
}

std::vector<std::string> CPanasonicCapability::getVideoCodecIInterval(VideoCodec codec, int stream) const {
    const SVideoCodecName* name = FindCodecName(codec);
    if (!name || !HasSecondStream(codec))
        return {};
    return listOf(ImageKey(*name, stream, "i_interval"));
}

std::vector<std::string> CPanasonicCapability::getVideoCodecQuality(VideoCodec codec) const {
    const SVideoCodecName* name = FindCodecName(codec);
    return name ? listOf(ImageKey(*name, FirstStream, "quality")) : std::vector<std::string>();
}

std::string CPanasonicCapability::getMaxFrameRate(VideoCodec codec, int stream,
                                                  const std::string& mode) const {
    const SVideoCodecName* name = FindCodecName(codec);
    if (mode.empty() || !name)
        return DefaultMaxFrameRate;
    const COptional<std::string_view> value = valueOf(ImageKey(*name, stream, "max_framerate.", mode));
    return value ? std::string(*value) : DefaultMaxFrameRate;
}

std::vector<std::string> CPanasonicCapability::getVideoCodecBandwidth(VideoCodec codec) const {
    const SVideoCodecName* name = FindCodecName(codec);
    if (!name || !HasSecondStream(codec))
        return {};
    return listOf(ImageKey(*name, FirstStream, "bandwidth"));
}

bool CPanasonicCapability::IsDryContactSupported(int& count) const {
    const COptional<std::string_view> number = valueOf(TerminalCountKey);
    if (!number)
        return false;
    const int terminalCount = ReadNumber<int>(*number);
    const std::map<std::string_view, bool> terminals = Terminals(text_);
    int alarmInputs = 0;
    for (int i = 1; i <= terminalCount; ++i) {
        const auto terminal = terminals.find(std::to_string(i));
        if (terminal == terminals.end())
            return true; // there is a number, so it is not 0
        if (terminal->second)
            ++alarmInputs;
    }
    count = alarmInputs;
    return alarmInputs != 0;
}

int CPanasonicCapability::getDryContactInputCount() const {
    return numberOf(TerminalCountKey);
}

bool CPanasonicCapability::IsAudioSupported(int input) const {
    const int inputs = numberOf("video_server.audio.audio_input.number=");
    return inputs > 0 && inputs > input;
}

bool SortResolutions(const std::string& a, const std::string& b) {
    return WidthOf(a) < WidthOf(b);
}

} // namespace corvane::panasonic_camera
