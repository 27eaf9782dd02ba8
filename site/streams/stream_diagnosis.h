#pragma once

#include "site/base/names.h"
#include "site/diagnosis/diagnosis.h"

#include <string>

namespace corvane::site {

// Ends the program, with ExitStatus::NotStarted, when it is this machine that lacks what a stream takes: a
// thread, or an element of GStreamer.
void RequireMachine(const CError& error);

// Why a stream could not be had, or not to its end. `request` is what its camera was asked last, without
// credentials; empty when it was not asked.
SDiagnosis DiagnoseStream(const CError& error, const std::string& request);

} // namespace corvane::site
