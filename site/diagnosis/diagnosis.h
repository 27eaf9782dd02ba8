#pragma once

#include "refhost/base/authentication_book.h"
#include "site/base/exit_status.h"
#include "site/base/names.h"
#include "site/diagnosis/exchange_watch.h"

#include <optional>
#include <string>

namespace corvane::site {

// What the program was about when something failed.
enum class Occasion { Identification, Initialisation, Call };

// A failure, for people and for programs.
struct SDiagnosis {
    std::string problem;         // what is wrong
    std::string pluginText = {}; // what the plug-in said; may be empty
    std::string request = {};    // what was asked of the camera; empty when it was not asked
    std::string reply = {};      // what came back
    std::string advice = {};     // what to try; empty when there is none
    std::string cause = {};      // its name, for programs
    bool isCertain = true;       // no other cause would look the same
    std::string phase = {};      // in what it showed
    bool isWarning = false;      // nothing has failed

    // "vornhost: SUBJECT: PROBLEM" and the rest as indented lines.
    std::string lines(const std::string& subject) const;
    // The indented lines alone.
    std::string details() const;
};

// Why an operation has failed: from what went over the wire, and from the plug-in's error where that says
// nothing.
SDiagnosis Diagnose(Occasion occasion, const CError& error, const CExchangeWatch& exchanges);

// Of a camera that offers Basic authentication alone: a warning. Nothing of any other.
std::optional<SDiagnosis> DiagnoseAuthentication(const refhost::SSeenAuthentication& seen);

// Of a failure on this side.
SDiagnosis DiagnoseOwn(const CFailure& failure);

// What a program is told: {"cause", "certain", "phase", "asked", "answered", "try"},
// without the phase where there is none.
ordered_json ProblemObject(const SDiagnosis& diagnosis);

// The line of a verb that has nothing else to tell.
std::string ProblemLine(const SDiagnosis& diagnosis);

// Of one failed exchange before the device has answered anything.
SDiagnosis DiagnoseExchange(Occasion occasion, const SWatchedExchange& exchange);
// Of one failed exchange, whatever the plug-in made of it.
SDiagnosis DiagnoseExchange(const SWatchedExchange& exchange, const CExchangeWatch& exchanges,
                            Occasion occasion = Occasion::Call);

// Of a camera that has taken a connection before: when it has broken off, and takes none any more, it
// restarts.
void TellRestart(SDiagnosis& problem, const std::string& address);

// Of settings that were told and lack one that a recorder needs, whose name begins with `beginning`; nothing
// where they do not.
std::optional<SDiagnosis> DiagnoseMissingSetting(const CExchangeWatch& exchanges,
                                                 const std::string& beginning = "");

// Why what was read of a camera is not to be relied on: its settings or its capability could not be had.
std::optional<SDiagnosis> DiagnoseUnread(const CExchangeWatch& exchanges);

// A process of this program that was to do a part of the work has ended before it had.
SDiagnosis ProcessLost(const std::string& problem, const std::string& phase);

// Another camera than the one of this serial number answers; it tells `found`, or none.
SDiagnosis AnotherCamera(const std::string& expected, const std::string& found);

// The camera does not tell a value that is needed.
SDiagnosis NotReported(const std::string& what, const std::string& phase);

// The camera is not asked for a value of `what` that it cannot have; `choice` is what it may be.
SDiagnosis WrongValue(const std::string& what, const std::string& asked, const std::string& choice);

// The camera has taken a write, and reports another value of `what` than was asked for.
SDiagnosis NotAccepted(const std::string& what, const std::string& asked, const std::string& reported);

} // namespace corvane::site
