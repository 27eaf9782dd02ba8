#pragma once

#include "host/api.h"
#include "refhost/base/auth_scheme.h"
#include "refhost/base/http_failure.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace corvane::refhost {

// The framework's log and trace: the one place that lines for people and files go through, and where secrets
// are masked. Process-wide; every operation may be called from any thread.

// The lowest level (see host/log.h) of the lines that are shown: LogFailure until it is set. Lines go to
// standard error, masked and with blanks for line ends.
VORN_HOST_API void SetLogLevel(int level);
// Whether lines of the level are shown, so that what nobody reads need not be written.
VORN_HOST_API bool IsLogShown(int level);
VORN_HOST_API void WriteLog(int level, const std::string& line);

// Is told every line of the log, whatever its level, masked, on the thread that wrote it; an empty function
// ends that. Returns when no earlier observer is running any more.
VORN_HOST_API void SetLogObserver(std::function<void(int level, const std::string& line)> observer);

// From here on the text is masked wherever a line holds it, also where it is percent-encoded. A text that
// turns up by chance (up to 3 characters, or up to 7 digits) would hide what is no secret, such as
// "page=12345": it is masked only where a password's name stands before it ("password=12345"). Empty texts
// are no secrets.
VORN_HOST_API void AddSecret(const std::string& secret);
// The line with "***" for every secret, for the "user:password@" of any URL, and for Authorization lines.
VORN_HOST_API std::string MaskSecrets(const std::string& line);

// One request on the wire, and its reply.
struct SHttpRound {
    int status = 0; // 0 when there was no HTTP status
    double milliseconds = 0;
};

// One HTTP exchange with a device, as it was asked for. Of RTSP ones only the authentication book is told.
struct SHttpExchange {
    std::string address; // HOST or HOST:PORT
    std::string method;  // "GET" or "POST", or RTSP's
    std::string path;    // with its query
    std::string url;     // of an RTSP one, instead of the path
    std::string body;    // of a POST
    int status = 0;      // 0 when there was no HTTP status
    HttpFailure kind = HttpFailure::None;
    std::string failure;  // what happened; empty for status 200
    std::string location; // of a redirect, which is not followed: where it points to
    std::string reply;    // its body, as far as it has come
    std::string date;     // the last reply's Date header, and when it came
    std::chrono::system_clock::time_point dateCame;
    std::string user;            // who the request could be made as; empty: nobody
    bool isAskedForEver = false; // for credentials, once more than a device that means it
    double milliseconds = 0;
    std::chrono::system_clock::time_point ended = std::chrono::system_clock::now();
    AuthScheme authentication = AuthScheme::None; // of the credentials that went over the wire last
    bool offersBasicAlone = false;                // of the schemes that were to be had, and with credentials
    // What went over the wire for it: one round, or more where the device asked for credentials first; none
    // where the device was never reached.
    std::vector<SHttpRound> rounds;
    // Where details are kept: the headers as they went over the wire, of every round, secrets masked.
    std::string headers;
};

// Shows each round of an exchange, and an exchange without any, as a JSON line on standard error:
// {"method","path","body","status","ms"}.
VORN_HOST_API void SetTrace(bool on);

// Whether exchanges are told with their headers.
VORN_HOST_API void KeepExchangeDetails(bool on);
VORN_HOST_API bool AreExchangeDetailsKept();

// Is told each exchange, on the thread that made it, after it is over; an empty function ends that. Returns
// when no earlier observer is running any more.
VORN_HOST_API void SetExchangeObserver(std::function<void(const SHttpExchange&)> observer);

// Called by the framework's HTTP client for each exchange.
VORN_HOST_API void ReportExchange(const SHttpExchange& exchange);

} // namespace corvane::refhost
