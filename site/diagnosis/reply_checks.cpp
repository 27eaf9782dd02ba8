#include "site/diagnosis/reply_checks.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>
#include <string_view>

namespace corvane::site {
namespace {

bool HasOtherBytesThanText(const std::string& body) {
    return std::any_of(body.begin(), body.end(), [](unsigned char c) {
        constexpr unsigned char Escape = 0x1B; // of Japanese titles
        return c < ' ' && c != '\r' && c != '\n' && c != '\t' && c != Escape;
    });
}

// Calls `take` with each line that is not empty, without its end.
template <class Take>
void ForEachLine(std::string_view body, Take take) {
    while (!body.empty()) {
        std::string_view line = body.substr(0, body.find('\n'));
        body.remove_prefix(std::min(line.size() + 1, body.size()));
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        if (!line.empty())
            take(line);
    }
}

bool IsSetting(std::string_view line) {
    const std::size_t value = line.find(",\"");
    return value != std::string_view::npos && value > 0 && line.size() > value + 2 && line.back() == '"' &&
           std::all_of(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(value),
                       [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; });
}

// The texts of a page are none of the camera's settings.
std::string_view LastLine(const std::string& body) {
    std::string_view last;
    ForEachLine(body, [&last](std::string_view line) { last = line; });
    return last;
}

constexpr const char* PositionRequest = "/cgi-bin/absget";

using Fault = std::optional<SReplyFault>;

Fault Damaged(const std::optional<std::string>& problem) {
    return problem ? Fault({"damaged", *problem}) : std::nullopt;
}

Fault OfDump(const std::string& body) {
    return Damaged(FaultOfDump(body, MissingSetting(body).empty()));
}

Fault OfCapability(const std::string& body) {
    if (auto damaged = Damaged(FaultOfCapability(body)))
        return damaged;
    const bool namesCodecs = body.find("video_server.image.format=") != std::string::npos;
    return namesCodecs ? std::nullopt
                       : Fault({"not-reported", "the camera's capability names no video codec"});
}

// A camera without a head tells the place of its lens alone.
Fault OfPosition(const std::string& body) {
    const bool isTilted = TellsAxis(body, "TILT=") || TellsAxis(body, "tilt=");
    if (TellsAxis(body, "PAN=") || (TellsAxis(body, "FOCUS=") && !isTilted))
        return std::nullopt;
    if (isTilted)
        return Fault({"not-reported", "the camera does not tell where its head stands on the pan axis"});
    return Fault({"damaged", "the camera's position cannot be read"});
}

Fault OfLevels(const std::string& body) {
    const auto tells = [&body](const std::string& text) { return body.find(text) != std::string::npos; };
    if (tells("terminal 1: High") || tells("terminal 1: Low"))
        return std::nullopt;
    return tells(": High") || tells(": Low")
               ? Fault({"not-reported", "the camera does not tell its first input's level"})
               : Fault({"damaged", "the camera's levels cannot be read"});
}

} // namespace

Fault FaultOfReply(const SHttpExchange& exchange) {
    constexpr struct {
        const char* path;
        Fault (*fault)(const std::string& body);
    } Known[] = {{SettingsRequest, OfDump},
                 {CapabilityRequest, OfCapability},
                 {PositionRequest, OfPosition},
                 {LevelsRequest, OfLevels}};
    if (exchange.status != HttpOk || exchange.method != "GET")
        return std::nullopt;
    const auto* const known = std::find_if(std::begin(Known), std::end(Known), [&exchange](const auto& row) {
        return exchange.path.rfind(row.path, 0) == 0;
    });
    if (known == std::end(Known))
        return std::nullopt;
    const std::string& body = exchange.reply;
    const std::size_t first = body.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return Fault({"empty", "the camera's reply is empty"});
    if (body[first] == '<')
        return Fault({"not-a-camera", "what answers there is no camera"});
    return known->fault(body);
}

std::size_t SettingsIn(const std::string& body) {
    std::size_t count = 0;
    ForEachLine(body, [&count](std::string_view line) { count += IsSetting(line) ? 1 : 0; });
    return count;
}

std::optional<std::string> FaultOfDump(const std::string& body, bool hasAll) {
    if (HasOtherBytesThanText(body))
        return "the camera's settings have other bytes than text in them";
    if (SettingsIn(body) == 0)
        return "there are no settings in the camera's dump of them";
    const std::string_view last = LastLine(body);
    const bool beginsOne = last.find(",\"") != std::string_view::npos || body.back() != '\n';
    if ((beginsOne && !IsSetting(last)) || (!hasAll && body.back() != '\n'))
        return "the camera's dump of its settings ends in the middle";
    if (std::none_of(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(body.find(',')),
                     [](unsigned char c) { return std::isupper(c) != 0; }))
        return "the names of the camera's settings are in small letters";
    return std::nullopt;
}

std::optional<std::string> FaultOfCapability(const std::string& body) {
    if (HasOtherBytesThanText(body))
        return "the camera's capability has other bytes than text in it";
    if (body.find("video_server.") == std::string::npos && body.find("VIDEO_SERVER.") != std::string::npos)
        return "the camera's capability is in capitals";
    if (!body.empty() && LastLine(body).find('=') == std::string_view::npos)
        return "the camera's capability ends in the middle";
    return std::nullopt;
}

std::string SerialNumberIn(const std::string& body) {
    constexpr std::string_view Key = "SERIAL=";
    const std::size_t at = body.find(Key);
    return at == std::string::npos
               ? ""
               : body.substr(at + Key.size(), body.find_first_of("\r\n&'", at) - at - Key.size());
}

bool TellsAModel(const std::string& body) {
    return body.find("NAME=") != std::string::npos;
}

bool TellsAxis(const std::string& body, const char* name) {
    const std::size_t at = body.find(name);
    return at != std::string::npos &&
           std::isdigit(static_cast<unsigned char>(body.c_str()[at + std::strlen(name)])) != 0;
}

std::string MissingSetting(const std::string& body) {
    const auto has = [&body](const std::string& name) {
        return body.rfind(name + ",\"", 0) == 0 || body.find("\n" + name + ",\"") != std::string::npos;
    };
    // What a recorder needs of each codec that the camera has any setting of.
    constexpr const char* Needed[][3] = {{"H264", "H264SIZE", "H264NRFRAMERATE"},
                                         {"MPEG", "MPEGSIZE", "NRFRAMERATE"}};
    for (const auto& codec : Needed) {
        if (std::none_of(std::begin(codec), std::begin(codec) + 2, has))
            continue;
        for (const char* name : codec)
            if (!has(name))
                return name;
    }
    return has("RTSPPORT") ? "" : "RTSPPORT";
}

} // namespace corvane::site
