// The reading of a device's address: what is taken for one is one, and is taken apart without a loss.
//
// Input: the address.

#include "fuzz/harness.h"
#include "refhost/base/address.h"

using namespace corvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::InputText(data, size);
    const auto address = refhost::ParseAddress(text);
    if (!address)
        return 0;
    const std::string& port = address->port;
    fuzz::Require(address->host + (port.empty() ? "" : ":" + port) == text, "nothing is lost");
    fuzz::Require(!address->host.empty(), "there is a host");
    // What would make another URL of "http://" + address.
    fuzz::Require(address->host.find_first_of(" \t\r\n/?#@\\") == std::string::npos,
                  "the host is but a host");
    fuzz::Require(address->host.find('\0') == std::string::npos, "the host is a C string");
    if (!port.empty()) {
        fuzz::Require(port.find_first_not_of("0123456789") == std::string::npos, "the port is decimal");
        const long double number = std::strtold(port.c_str(), nullptr);
        fuzz::Require(number >= 1 && number <= 65535, "the port is in range");
    }
    return 0;
}
