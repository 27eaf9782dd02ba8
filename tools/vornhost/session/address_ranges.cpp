#include "tools/vornhost/session/address_ranges.h"

#include "site/base/exit_status.h"
#include "site/session/loaded_plugin.h"
#include "tools/vornhost/names.h"

#include <arpa/inet.h>

#include <charconv>
#include <cstdint>
#include <optional>

namespace corvane::vornhost {
namespace {

constexpr std::uint32_t Most = 65'536;
constexpr unsigned AddressBits = 32;

std::optional<std::uint32_t> DottedAddress(const std::string& text) {
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1 ? std::optional(ntohl(address.s_addr))
                                                           : std::nullopt;
}

std::string Dotted(std::uint32_t number) {
    const in_addr address{htonl(number)};
    char text[INET_ADDRSTRLEN] = "";
    return inet_ntop(AF_INET, &address, text, sizeof text);
}

std::optional<std::uint32_t> Number(const std::string& text, std::uint32_t highest) {
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end && number <= highest ? std::optional(number) : std::nullopt;
}

struct SRange {
    std::uint32_t first;
    std::uint32_t last;
};

// Of "FIRST/BITS".
std::optional<SRange> Network(const std::string& first, const std::string& bits) {
    const auto address = DottedAddress(first);
    const auto length = Number(bits, AddressBits);
    if (!address || !length || *length == 0)
        return std::nullopt;
    const std::uint32_t others =
        static_cast<std::uint32_t>((std::uint64_t{1} << (AddressBits - *length)) - 1);
    const SRange all{*address & ~others, *address | others};
    return others > 1 ? SRange{all.first + 1, all.last - 1} : all; // neither its own nor that for all
}

// Of "FIRST-LAST", whose last may be its last number alone. Nothing unless the first is a dotted address: a
// host name may have a hyphen.
std::optional<SRange> Stretch(const std::string& first, const std::string& last) {
    constexpr std::uint32_t LastNumber = 255;
    const auto from = DottedAddress(first);
    if (!from)
        return std::nullopt;
    if (const auto number = Number(last, LastNumber))
        return SRange{*from, (*from & ~LastNumber) | *number};
    const auto to = DottedAddress(last);
    return to ? std::optional(SRange{*from, *to}) : std::nullopt;
}

std::optional<SRange> RangeOf(const std::string& text) {
    if (const std::size_t slash = text.find('/'); slash != std::string::npos)
        return Network(text.substr(0, slash), text.substr(slash + 1));
    const std::size_t hyphen = text.find('-');
    return hyphen == std::string::npos ? std::nullopt
                                       : Stretch(text.substr(0, hyphen), text.substr(hyphen + 1));
}

} // namespace

std::vector<std::string> AddressesOf(const std::string& word) {
    const std::size_t colon = word.find(':');
    const std::string port = colon == std::string::npos ? "" : word.substr(colon);
    const auto range = RangeOf(word.substr(0, colon));
    if (!range) {
        RequireAddress(word);
        return {word};
    }
    if (range->last < range->first || range->last - range->first >= Most)
        throw CFailure(ExitStatus::WrongUsage, "wrong ADDRESS \"" + word + "\": expected a range of 1 to " +
                                                   std::to_string(Most) + " addresses, the lowest first");
    std::vector<std::string> addresses;
    for (std::uint64_t address = range->first; address <= range->last; ++address)
        addresses.push_back(Dotted(static_cast<std::uint32_t>(address)) + port);
    RequireAddress(addresses.front()); // and its port
    return addresses;
}

} // namespace corvane::vornhost
