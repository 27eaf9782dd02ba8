#include "tools/vornhost/calls/script_line.h"

#include <cstring>
#include <utility>

namespace corvane::vornhost {
namespace {

bool IsBlank(char character) {
    return character == ' ' || character == '\t';
}

class CLineReader {
public:
    explicit CLineReader(const std::string& line) : line_(line) {}

    SScriptLine read() {
        while (at_ < line_.size()) {
            if (IsBlank(line_[at_]))
                endWord();
            else if (line_[at_] == '#' && !inWord_)
                break;
            else
                readCharacter();
            ++at_;
        }
        if (ampersandIsLast_)
            takeAmpersand();
        endWord();
        return std::move(result_);
    }

private:
    void readCharacter() {
        const char character = line_[at_];
        inWord_ = true;
        ampersandIsLast_ = character == '&';
        if (character == '\'')
            readQuoted('\'', "");
        else if (character == '"')
            readQuoted('"', "$`\"\\");
        else if (character == '\\')
            word_ += next("a backslash ends the line: expected a character behind it");
        else
            word_ += character;
    }

    // Up to the closing quote; a backslash takes away the meaning of the characters that are listed.
    void readQuoted(char quote, const char* escapable) {
        const std::string unclosed = std::string("the quote ") + quote + " is not closed on the line";
        for (char character = next(unclosed); character != quote; character = next(unclosed)) {
            if (character == '\\' && *escapable) {
                const char escaped = next(unclosed);
                if (!std::strchr(escapable, escaped) || escaped == '\0')
                    word_ += character;
                character = escaped;
            }
            word_ += character;
        }
    }

    char next(const std::string& otherwise) {
        if (++at_ >= line_.size())
            throw CScriptLineError(otherwise);
        return line_[at_];
    }

    void endWord() {
        if (!inWord_)
            return;
        result_.words.push_back(std::move(word_));
        word_.clear();
        inWord_ = false;
    }

    // The "&" stands at the end of the word being read or, with blanks behind it, of the last one.
    void takeAmpersand() {
        endWord();
        std::string& last = result_.words.back();
        last.pop_back();
        if (last.empty())
            result_.words.pop_back();
        result_.background = true;
    }

    const std::string& line_;
    std::size_t at_ = 0;
    std::string word_;
    bool inWord_ = false;
    bool ampersandIsLast_ = false; // the last character that belongs to a word is an unquoted "&"
    SScriptLine result_;
};

} // namespace

SScriptLine ReadScriptLine(const std::string& line) {
    return CLineReader(line).read();
}

} // namespace corvane::vornhost
