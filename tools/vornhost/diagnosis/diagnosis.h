#pragma once

#include "refhost/base/authentication_book.h"
#include "tools/vornhost/diagnosis/exchange_watch.h"
#include "tools/vornhost/names.h"

#include <optional>
#include <string>

namespace corvane::vornhost {

// What the program was about when something failed.
enum class Occasion { Identification, Initialisation, Call };

// A failure in words for a person.
struct SDiagnosis {
    std::string problem = {};    // what is wrong
    std::string pluginText = {}; // what the plug-in said; may be empty
    std::string request = {};    // what was asked of the camera; empty when it was not asked
    std::string reply = {};      // what came back
    std::string advice = {};     // what to try; empty when there is none
    // For programs.
    std::string cause = {}; // its name; empty where it has none
    bool isCertain = true;  // no other cause would look the same
    std::string phase = {}; // what the program was about: "identify", "settings", ...
    bool isWarning = false; // nothing has failed

    // "vornhost: SUBJECT: PROBLEM" and the rest as indented lines.
    std::string lines(const std::string& subject) const;
};

SDiagnosis Diagnose(Occasion occasion, const CError& error, const CExchangeWatch& exchanges);

// A warning when the camera offers Basic authentication alone.
std::optional<SDiagnosis> DiagnoseAuthentication(const refhost::SSeenAuthentication& seen);

// What a program is told of a diagnosis that has a cause: {"cause", "certain", "phase", "asked", "answered",
// "try"}; an empty object for any other.
ordered_json ProblemObject(const SDiagnosis& diagnosis);

// Of one failed exchange, without an error of the plug-in.
SDiagnosis DiagnoseExchange(const SHttpExchange& exchange);

} // namespace corvane::vornhost
