#pragma once

#include "site/base/exit_status.h"

#include <string>

namespace corvane::site {

// Writes whole lines to standard output, in one go; callable from any thread. A reader that has gone away
// ends the program as SIGPIPE does; output that cannot be written for another reason ends it with the reason
// on standard error.
void WriteOutput(const std::string& lines);

// Writes whole lines to standard error, secrets masked.
void WriteMessage(const std::string& lines);

// Where a standard stream is closed, what is opened next would take its place. From now on it cannot be used,
// and whoever uses it is told. Called before anything is opened.
void OccupyClosedStreams();

// Whether either has written anything yet.
bool HasSpoken();

// Ends the process once all that it made is destroyed. Queries that the handler has given up may still be
// ending on threads that nobody joins, so nothing that they use, such as libraries' own data, is taken down.
[[noreturn]] void EndProcess(ExitStatus status);

// Ends the process by the signal's default action, once no output line is half written (a writer whose
// reader does not read is not waited for longer than half a second). Callable from any thread.
[[noreturn]] void DieBySignal(int signal);

} // namespace corvane::site
