#pragma once

#include "host/error.h"
#include "refhost/log.h"
#include "tools/vornhost/exchange_watch.h"

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

    // "vornhost: SUBJECT: PROBLEM" and the rest as indented lines.
    std::string lines(const std::string& subject) const;
};

SDiagnosis Diagnose(Occasion occasion, const device_handler::v1_0::CError& error,
                    const CExchangeWatch& exchanges);

// Of one failed exchange, whatever the plug-in made of it.
SDiagnosis DiagnoseExchange(const refhost::SHttpExchange& exchange);

} // namespace corvane::vornhost
