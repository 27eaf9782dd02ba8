#pragma once

#include <optional>
#include <string>

namespace corvane::vornhost {

// What a key asks for.
enum class PtzKeyKind { Move, Digit, Save, Faster, Slower, Stop, Leave };

struct SPtzKey {
    PtzKeyKind kind;
    std::string name; // for people
    int pan = 0;      // the directions of a Move, -1 to 1: right, up and in are positive
    int tilt = 0;
    int zoom = 0;
    int digit = 0;
};

// Makes keys of what a keyboard sends. Belongs to one thread.
class CPtzKeyReader {
public:
    // The key that the byte completes; nothing within a sequence, and for a key without a meaning.
    std::optional<SPtzKey> take(char byte);

private:
    enum class State { Plain, Escape, Numbered, Lettered };

    std::optional<SPtzKey> takePlain(char byte);
    std::optional<SPtzKey> takeNumbered(char byte);

    State state_ = State::Plain;
    std::string parameters_; // of the sequence that has begun
};

} // namespace corvane::vornhost
