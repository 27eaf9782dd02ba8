#pragma once

#include "host/error.h"
#include "refhost/base/authentication_book.h"
#include "refhost/base/log.h"
#include "tools/vornhost/diagnosis/exchange_watch.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>

namespace corvane::vornhost {

// What the program was about when something failed.
enum class Occasion { Identification, Initialisation, Call };

// A failure in words for a person.
struct SDiagnosis {
    std::string problem;    // what is wrong
    std::string pluginText; // what the plug-in said; may be empty
    std::string request;    // what was asked of the camera; empty when it was not asked
    std::string reply;      // what came back
    std::string advice;     // what to try; empty when there is none
    // For programs: the cause's name, empty where it has none yet; whether no other would look the same; in
    // what it showed.
    std::string cause = {};
    bool isCertain = true;
    std::string phase = {};
    bool isWarning = false; // nothing has failed

    // "vornhost: SUBJECT: PROBLEM" and the rest as indented lines.
    std::string lines(const std::string& subject) const;
};

SDiagnosis Diagnose(Occasion occasion, const device_handler::v1_0::CError& error,
                    const CExchangeWatch& exchanges);

// Of a camera that offers Basic authentication alone: a warning. Nothing of any other.
std::optional<SDiagnosis> DiagnoseAuthentication(const refhost::SSeenAuthentication& seen);

// What a program is told of a diagnosis that has a cause: {"cause", "certain", "phase", "asked", "answered",
// "try"}; an empty object for any other.
nlohmann::ordered_json ProblemObject(const SDiagnosis& diagnosis);

// Of one failed exchange, whatever the plug-in made of it.
SDiagnosis DiagnoseExchange(const refhost::SHttpExchange& exchange);

} // namespace corvane::vornhost
