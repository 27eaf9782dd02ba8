#include "tools/vornhost/ptz/ptz_keys.h"

#include <algorithm>
#include <iterator>

namespace corvane::vornhost {
namespace {

constexpr char Escape = '\x1b';
constexpr char FirstPrintable = ' ';
constexpr char FirstFinal = '@'; // ends a numbered sequence
constexpr std::size_t MostParameters = 16;

struct SKeyCode {
    const char* code; // a plain byte, or a sequence's parameter and last byte
    bool isSequence;
    SPtzKey key;
};

std::optional<SPtzKey> FindKey(const std::string& code, bool isSequence) {
    static const SKeyCode codes[] = {
        {"A", true, {PtzKeyKind::Move, "up", 0, 1}},    {"B", true, {PtzKeyKind::Move, "down", 0, -1}},
        {"C", true, {PtzKeyKind::Move, "right", 1}},    {"D", true, {PtzKeyKind::Move, "left", -1}},
        {"5~", true, {PtzKeyKind::Faster, "page up"}},  {"6~", true, {PtzKeyKind::Slower, "page down"}},
        {"+", false, {PtzKeyKind::Move, "+", 0, 0, 1}}, {"-", false, {PtzKeyKind::Move, "-", 0, 0, -1}},
        {"]", false, {PtzKeyKind::Faster, "]"}},        {"[", false, {PtzKeyKind::Slower, "["}},
        {" ", false, {PtzKeyKind::Stop, "space"}},      {"p", false, {PtzKeyKind::Save, "p"}},
        {"q", false, {PtzKeyKind::Leave, "q"}},         {"\x03", false, {PtzKeyKind::Leave, "Ctrl-C"}},
        {"\x04", false, {PtzKeyKind::Leave, "Ctrl-D"}},
    };
    const auto* const found = std::find_if(std::begin(codes), std::end(codes), [&](const SKeyCode& known) {
        return known.isSequence == isSequence && known.code == code;
    });
    return found == std::end(codes) ? std::nullopt : std::optional(found->key);
}

} // namespace

std::optional<SPtzKey> CPtzKeyReader::take(char byte) {
    const State state = state_;
    state_ = State::Plain;
    // A control byte, Ctrl-C above all, is itself even where a sequence was cut short.
    if (state == State::Plain || (byte >= 0 && byte < FirstPrintable))
        return takePlain(byte);
    if (state == State::Numbered)
        return takeNumbered(byte);
    if (state == State::Lettered)
        return FindKey(std::string(1, byte), true);
    if (byte != '[' && byte != 'O')
        return takePlain(byte); // Escape was a key of its own
    state_ = byte == '[' ? State::Numbered : State::Lettered;
    parameters_.clear();
    return std::nullopt;
}

std::optional<SPtzKey> CPtzKeyReader::takePlain(char byte) {
    if (byte == Escape) {
        state_ = State::Escape;
        return std::nullopt;
    }
    if (byte >= '0' && byte <= '9')
        return SPtzKey{PtzKeyKind::Digit, std::string(1, byte), 0, 0, 0, byte - '0'};
    return FindKey(std::string(1, byte), false);
}

std::optional<SPtzKey> CPtzKeyReader::takeNumbered(char byte) {
    if (byte >= FirstFinal) // with Shift or Ctrl held there are parameters before it, which change nothing
        return FindKey(byte == '~' ? parameters_ + byte : std::string(1, byte), true);
    if (byte < 0 || parameters_.size() == MostParameters)
        return std::nullopt;
    parameters_ += byte;
    state_ = State::Numbered;
    return std::nullopt;
}

} // namespace corvane::vornhost
