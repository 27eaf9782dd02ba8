#include "operations/operations.h"

#include "operations/whole_number.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <limits>

namespace corvane::device_handler::v1_0 {
namespace {

using vorn_camera_base::v1_0::AudioBitRateField;
using vorn_camera_base::v1_0::SVideoField;
using vorn_camera_base::v1_0::SVornAudValsInDb;
using vorn_camera_base::v1_0::SVornVidValsInDb;
using vorn_camera_base::v1_0::VideoFields;

template <class T>
T RequireNumber(const std::string& text) {
    if (const auto value = operations::ReadWholeNumber<T>(text))
        return *value;
    throw COperationError("a decimal number from " + std::to_string(std::numeric_limits<T>::min()) + " to " +
                          std::to_string(std::numeric_limits<T>::max()));
}

// The two texts around the first comma.
COptional<std::pair<std::string, std::string>> SplitAtComma(const std::string& text) {
    const std::size_t comma = text.find(',');
    if (comma == std::string::npos)
        return {};
    return std::make_pair(text.substr(0, comma), text.substr(comma + 1));
}

// By a number any codec can be meant: devices are asked about codecs that nobody understands, too.
COptional<VideoCodec> FindCodec(const std::string& text) {
    for (const SVideoCodecName& row : VideoCodecNames)
        if (text == row.name)
            return row.codec;
    if (const auto number = operations::ReadWholeNumber<int>(text))
        return static_cast<VideoCodec>(*number);
    return {};
}

std::string CodecForms() {
    std::string forms = "a codec by number";
    for (const SVideoCodecName& row : VideoCodecNames)
        forms += std::string(&row == std::end(VideoCodecNames) - 1 ? " or " : ", ") + row.name;
    return forms;
}

// Audio that comes beside a video stream may be named by the video's codec.
COptional<AudioCodec> FindAudioCodec(const std::string& text) {
    if (text == G726Name)
        return AudioCodec::G726;
    if (const COptional<VideoCodec> codec = FindCodec(text))
        return static_cast<AudioCodec>(*codec);
    return {};
}

std::string RecordForm() {
    std::string form = "FIELD=VALUE pairs joined by \";\", each FIELD one of ";
    for (const SVideoField& field : VideoFields)
        form += std::string(&field == std::begin(VideoFields) ? "" : ", ") + field.name;
    return form;
}

std::string Usage(const SOperation& operation) {
    const std::size_t count = operation.parameterNames.size();
    std::string text = count == 0 ? "no arguments" : std::to_string(count) + " argument";
    text += count > 1 ? "s" : "";
    for (std::size_t i = 0; i < count; ++i)
        text += std::string(i == 0 ? " (" : ", ") + operation.parameterNames[i] + ": " +
                operation.parameterForms[i] + (i + 1 == count ? ")" : "");
    return text;
}

} // namespace

int SArgumentReader::readInt(const std::string& text) {
    return RequireNumber<int>(text);
}

unsigned SArgumentReader::readUnsigned(const std::string& text) {
    return RequireNumber<unsigned>(text);
}

VideoCodec SArgumentReader::readVideoCodec(const std::string& text) {
    if (const COptional<VideoCodec> codec = FindCodec(text))
        return *codec;
    throw COperationError(CodecForms());
}

handler_impl::SVideoStreamId SArgumentReader::readVideoStreamId(const std::string& text) {
    const std::size_t first = text.find(',');
    const std::size_t second = first == std::string::npos ? first : text.find(',', first + 1);
    if (second != std::string::npos) {
        const auto channel = operations::ReadWholeNumber<int>(text.substr(0, first));
        const COptional<VideoCodec> codec = FindCodec(text.substr(first + 1, second - first - 1));
        const auto stream = operations::ReadWholeNumber<int>(text.substr(second + 1));
        if (channel && codec && stream)
            return {*channel, *codec, *stream};
    }
    throw COperationError("CHANNEL,CODEC,STREAM: two numbers, and between them " + CodecForms());
}

std::vector<std::string> SArgumentReader::readTexts(const std::string& text) {
    std::vector<std::string> texts;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(',', start), text.size());
        texts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return texts;
}

SVornVidValsInDb SArgumentReader::readVideoRecord(const std::string& text) {
    SVornVidValsInDb record;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(';', start), text.size());
        const std::size_t equals = text.find('=', start);
        const SVideoField* field =
            std::find_if(std::begin(VideoFields), std::end(VideoFields), [&](const SVideoField& row) {
                return equals < end && text.compare(start, equals - start, row.name) == 0;
            });
        if (field == std::end(VideoFields))
            throw COperationError(RecordForm());
        record.*(field->value) = text.substr(equals + 1, end - equals - 1);
        start = end + 1;
    }
    return record;
}

AudioCodec SArgumentReader::readAudioCodec(const std::string& text) {
    if (const COptional<AudioCodec> codec = FindAudioCodec(text))
        return *codec;
    throw COperationError(CodecForms() + " or " + G726Name);
}

handler_impl::SAudioStreamId SArgumentReader::readAudioStreamId(const std::string& text) {
    if (const auto parts = SplitAtComma(text)) {
        const auto stream = operations::ReadWholeNumber<int>(parts->first);
        const COptional<AudioCodec> codec = FindAudioCodec(parts->second);
        if (stream && codec)
            return {*stream, *codec};
    }
    throw COperationError("STREAM,CODEC: a number, and " + CodecForms() + " or " + G726Name);
}

SVornAudValsInDb SArgumentReader::readAudioRecord(const std::string& text) {
    const std::string prefix = std::string(AudioBitRateField) + "=";
    SVornAudValsInDb record;
    if (text.empty())
        return record;
    if (text.compare(0, prefix.size(), prefix) != 0 || text.find(';') != std::string::npos)
        throw COperationError(prefix + "VALUE");
    record.bitRate = text.substr(prefix.size());
    return record;
}

CParameterNames::CParameterNames(const char* declaration) : ofAll_(true) {
    std::string name; // the last word before each comma and the end
    for (const char* next = declaration; *next; ++next) {
        const bool isOfWord = std::isalnum(static_cast<unsigned char>(*next)) != 0;
        const bool isEnd = *next == ',' || *next == ')';
        if (isOfWord)
            name += *next;
        else if (isEnd && !name.empty())
            names_.push_back(std::exchange(name, {}));
        else
            name.clear();
    }
}

std::vector<std::string> CParameterNames::select(const std::vector<bool>& isWanted) const {
    std::vector<std::string> selected;
    for (std::size_t i = 0; i < std::min(names_.size(), isWanted.size()); ++i)
        if (isWanted[i])
            selected.push_back(names_[i]);
    return selected;
}

std::vector<std::string> CParameterNames::inputs(const std::vector<bool>& isInput) const {
    return ofAll_ ? select(isInput) : names_;
}

std::vector<std::string> CParameterNames::outputs(const std::vector<bool>& isOutput) const {
    return ofAll_ ? select(isOutput) : std::vector<std::string>();
}

CAsyncOp COperationRegistry::call(const std::string& name, const std::vector<std::string>& arguments,
                                  const AnswerCallback& done) const {
    std::string expected;
    COptional<COperationError> unreadable;
    for (const SOperation& operation : operations_) {
        if (operation.name != name)
            continue;
        expected += (expected.empty() ? "" : " or ") + Usage(operation);
        if (operation.parameterNames.size() != arguments.size())
            continue;
        try {
            return operation.call(arguments, done);
        } catch (const COperationError& error) {
            unreadable = error;
        }
    }
    if (unreadable)
        throw COperationError(*unreadable);
    if (expected.empty())
        throw COperationError("unknown operation \"" + name + "\"");
    throw COperationError(name + " takes " + expected + ", not " + std::to_string(arguments.size()));
}

} // namespace corvane::device_handler::v1_0
