// The splitting of a script's line into words: the words, quoted and put together again, are the same words.
//
// Input: the line.

#include "fuzz/harness.h"
#include "tools/vornhost/calls/script_line.h"

using namespace corvane;

namespace {

std::string Quoted(const std::string& word) {
    std::string quoted = "'";
    for (const char character : word)
        quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
    return quoted + "'";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vornhost::SScriptLine line;
    try {
        line = vornhost::ReadScriptLine(fuzz::InputText(data, size));
    } catch (const vornhost::CScriptLineError&) {
        return 0;
    }
    std::string again;
    for (const std::string& word : line.words)
        again += Quoted(word) + " ";
    again += line.background ? "&" : "";
    const vornhost::SScriptLine reread = vornhost::ReadScriptLine(again);
    fuzz::Require(reread.words == line.words, "words survive quoting");
    fuzz::Require(reread.background == line.background, "so does the ampersand at the end");
    return 0;
}
