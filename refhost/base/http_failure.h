#pragma once

namespace corvane::refhost {

// Why an exchange with a device did not bring what was asked for.
enum class HttpFailure {
    None,         // status 200
    NotAsked,     // no address, URL or scheme that can be asked for
    NameNotFound, // the host's name does not resolve
    Unreachable,  // no route, or nobody took the connection in its time
    Refused,      // nobody listens there
    NoAnswer,     // connected, and no reply began in its time
    Dropped,      // closed or reset before any byte of a reply
    Cut,          // a reply began and did not come to its end, or not in its time
    Slow,         // a reply was still coming when its time was over
    NotHttp,      // what came is no HTTP
    TooLarge,     // header or body
    Packed,       // in a transfer coding that was not asked for
    BasicRefused, // it offers Basic alone, which is refused
    Status,       // any other status than 200
    Other,
    OwnLimit, // this process may open no further descriptor
};

} // namespace corvane::refhost
