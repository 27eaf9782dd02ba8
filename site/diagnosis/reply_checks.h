#pragma once

#include "site/base/names.h"

#include <cstddef>
#include <optional>
#include <string>

namespace corvane::site {

inline constexpr const char* SettingsRequest = "/cgi-bin/setdata";
inline constexpr const char* CapabilityRequest = "/cgi-bin/get_capability";
inline constexpr const char* LevelsRequest = "/cgi-bin/get_io?command=all"; // of all alarm inputs

inline constexpr int HttpOk = 200;

// A reply that was delivered whole, with status 200, and is not what the camera's are.
struct SReplyFault {
    std::string cause;
    std::string problem;
};

// Nothing of a reply that is right, and of one to a request whose replies are not known here.
std::optional<SReplyFault> FaultOfReply(const SHttpExchange& exchange);

// What is wrong with a dump of settings (lines of NAME,"value") that was delivered; nothing where it is
// whole.
// `hasAll`: none that is needed is missing, so that its end may be the end.
std::optional<std::string> FaultOfDump(const std::string& body, bool hasAll = true);
// How many settings it has.
std::size_t SettingsIn(const std::string& body);

// Likewise of a capability text (lines of name=value).
std::optional<std::string> FaultOfCapability(const std::string& body);

// The first setting that a recorder needs and that a whole dump lacks; empty where it has all.
std::string MissingSetting(const std::string& body);

// Whether a reply about what it is names a model, and one about where its head looks a place on the axis
// ("PAN=").
std::string SerialNumberIn(const std::string& body); // empty where there is none
bool TellsAModel(const std::string& body);
bool TellsAxis(const std::string& body, const char* name);

} // namespace corvane::site
