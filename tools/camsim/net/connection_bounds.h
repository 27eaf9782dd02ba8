#pragma once

#include <chrono>
#include <cstddef>

namespace camsim {

// How long a connection may take for what its client has to do; then it is ended.
struct SConnectionTimes {
    std::chrono::milliseconds header{10'000}; // from its beginning until a request's header is whole
    std::chrono::milliseconds body{30'000};   // from there until the request is
    std::chrono::milliseconds idle{30'000};   // from an answer until the next request's header is whole
    std::chrono::milliseconds unread{30'000}; // that the client reads nothing of what is written to it
};

// How many connections each server may hold open, so that none takes all descriptors of the program.
struct SConnectionBounds {
    size_t http;
    size_t rtsp;
    size_t control;
};

// `descriptors`: how many the program may have. Of those that the listening sockets and the program itself
// leave, HTTP takes half at most, and RTSP with its streams a quarter. Throws std::runtime_error when they
// are too few.
SConnectionBounds BoundsFor(size_t descriptors, size_t cameras, bool withRtsp);

// Whether the program may still open what another stream takes.
bool HasDescriptorsForAStream();

} // namespace camsim
