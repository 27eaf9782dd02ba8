// Text from a device on its way to a terminal: nothing that steers the terminal gets through, and lines fit.
//
// Input: the text.

#include "fuzz/harness.h"
#include "site/base/terminal_text.h"

using namespace corvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string printable = site::PrintableText(fuzz::InputText(data, size));
    for (std::size_t i = 0; i < printable.size(); ++i) {
        const auto byte = static_cast<unsigned char>(printable[i]);
        fuzz::Require(byte >= 0x20 && byte != 0x7f, "no control characters");
        const bool leadsHighControl =
            byte == 0xc2 && i + 1 < printable.size() && static_cast<unsigned char>(printable[i + 1]) < 0xa0;
        fuzz::Require(!leadsHighControl, "no control characters above ASCII");
    }
    fuzz::Require(printable.size() > site::MostForEyes || site::PrintableText(printable) == printable,
                  "printable text stays as it is");

    constexpr std::size_t Width = 20;
    const std::vector<std::string> lines = site::Wrap(printable, Width);
    fuzz::Require(!lines.empty(), "at least one line");
    for (const std::string& line : lines)
        fuzz::Require(site::DisplayWidth(line) <= Width, "lines fit");
    fuzz::Require(site::DisplayWidth(site::PadTo(lines.front(), Width)) == Width, "padded lines too");
    return 0;
}
