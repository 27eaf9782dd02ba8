// What a camera writes on its monitor request, held against the reading rule in its plainest form.
//
// Input: the chunks, a zero byte between each two.

#include "events/dry_contact_monitor.h"
#include "fuzz/harness.h"

#include <map>

using namespace corvane;
using Monitor = vorn_utility::v1_0::CDryContactMonitor;

namespace {

constexpr int FirstInput = 1;
constexpr int EndInput = 4;

void TakeIn(const std::string& chunk, std::map<int, int>& levels) {
    for (int input = FirstInput; input < EndInput; ++input) {
        const std::string key = "terminal" + std::to_string(input) + " I ";
        const std::size_t at = chunk.find(key);
        if (at == std::string::npos)
            continue;
        const std::string rest = chunk.substr(at + key.size());
        const std::string value = rest.substr(0, rest.find("\r\n"));
        if (value == "Low")
            levels[input] = Monitor::DCS_LOW;
        else if (value == "High")
            levels[input] = Monitor::DCS_HIGH;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Monitor monitor("127.0.0.1", "", "", FirstInput, EndInput);
    std::map<int, int> expected;
    for (std::string& chunk : fuzz::Split(fuzz::InputText(data, size), '\0')) {
        const std::size_t taken =
            Monitor::HttpWriter(chunk.data(), 1, chunk.size(), reinterpret_cast<char*>(&monitor));
        fuzz::Require(taken == chunk.size(), "each chunk is taken whole");
        TakeIn(chunk, expected);
        for (int input = FirstInput - 1; input <= EndInput; ++input)
            fuzz::Require(monitor.GetStateOfInput(static_cast<unsigned>(input)) == expected[input],
                          "each input has its last level");
    }
    return 0;
}
