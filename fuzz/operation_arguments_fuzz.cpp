// The reading of the arguments of operations that are called by name: an argument is read as it stands, or
// refused with what was expected.
//
// Input: the operation's name and its arguments, each on a line of its own.

#include "fuzz/harness.h"
#include "operations/operations.h"

#include <functional>
#include <limits>
#include <optional>

using namespace corvane::device_handler::v1_0;
using namespace corvane;
using handler_impl::SVideoStreamId;

namespace {

template <class T>
std::optional<T> Try(const std::function<T(const std::string&)>& read, const std::string& text) {
    try {
        return read(text);
    } catch (const COperationError& expected) {
        fuzz::Require(*expected.what() != '\0', "a refusal says what was expected");
        return {};
    }
}

template <class Number>
std::optional<Number> PlainNumber(const std::string& text) {
    const bool isNegative = std::numeric_limits<Number>::is_signed && text.substr(0, 1) == "-";
    const std::string digits = text.substr(isNegative ? 1 : 0);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos)
        return {};
    long double value = 0;
    for (const char digit : digits)
        value = value * 10 + (digit - '0');
    value = isNegative ? -value : value;
    if (value < std::numeric_limits<Number>::min() || value > std::numeric_limits<Number>::max())
        return {};
    return static_cast<Number>(value);
}

void RequireReadings(const std::string& text) {
    fuzz::Require(Try<int>(SArgumentReader::readInt, text) == PlainNumber<int>(text), "whole numbers");
    fuzz::Require(Try<unsigned>(SArgumentReader::readUnsigned, text) == PlainNumber<unsigned>(text),
                  "numbers without a sign");

    const auto stream = Try<SVideoStreamId>(SArgumentReader::readVideoStreamId, text);
    const std::vector<std::string> parts = fuzz::Split(text + ",", ',');
    if (stream) {
        fuzz::Require(parts.size() == 3, "a stream id has three parts");
        fuzz::Require(stream->channel == PlainNumber<int>(parts[0]), "the first is the channel");
        fuzz::Require(stream->codec == Try<VideoCodec>(SArgumentReader::readVideoCodec, parts[1]),
                      "the second is the codec");
        fuzz::Require(stream->stream == PlainNumber<int>(parts[2]), "the third is the stream");
    }

    for (const std::string& piece : SArgumentReader::readTexts(text))
        fuzz::Require(piece.find(',') == std::string::npos, "texts hold no comma");
}

COperationRegistry Operations() {
    COperationRegistry registry;
    registry.add("echo", {"number", "text"},
                 boost::function<std::string(int, const std::string&)>(
                     [](int number, const std::string& text) { return std::to_string(number) + text; }));
    registry.add("echo", {"keys"},
                 boost::function<std::vector<std::string>(STextList)>(
                     [](const STextList& list) { return list.texts; }));
    registry.add("codec", {"codec", "stream", "limit"},
                 boost::function<bool(VideoCodec, const SVideoStreamId&, unsigned)>(
                     [](VideoCodec codec, const SVideoStreamId& id, unsigned) { return id.codec == codec; }));
    return registry;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const COperationRegistry operations = Operations();
    std::string text = fuzz::InputText(data, size);
    const std::string name = fuzz::TakeLine(text);
    const std::vector<std::string> arguments = fuzz::Split(text, '\n');
    for (const std::string& argument : arguments)
        RequireReadings(argument);

    int answers = 0;
    bool refused = false;
    try {
        operations.call(name, arguments, [&](const SAnswer&) { ++answers; });
    } catch (const COperationError&) {
        refused = true;
    }
    fuzz::Require(answers == (refused ? 0 : 1), "a call is answered once, or refused");
    return 0;
}
