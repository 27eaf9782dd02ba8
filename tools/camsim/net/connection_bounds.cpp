#include "net/connection_bounds.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace camsim {
namespace {

/// Far more than anybody opens to a single camera, and what a recorder may open to each of a thousand.
constexpr size_t httpAtLeast = 1000;
constexpr size_t httpPerCamera = 20;
/// A person and a few tests.
constexpr size_t mostControl = 32;
/// What it has open when nobody is connected.
constexpr size_t forTheProgram = 20;
/// What a playing client takes: its connection, and the sockets and wake-up descriptors of its streams.
constexpr size_t descriptorsPerRtspClient = 20;

/// Of the rest, so that every server may hold a few connections.
constexpr size_t leastForConnections = 16;

} // namespace

ConnectionBounds boundsFor(size_t descriptors, size_t cameras, bool withRtsp) {
    // GLib ends the program when a stream's descriptors cannot be had, so those of one are set aside.
    const size_t taken =
        withRtsp ? 2 * cameras + forTheProgram + descriptorsPerRtspClient : cameras + forTheProgram;
    if (descriptors < taken + leastForConnections)
        throw std::runtime_error("at least " + std::to_string(taken + leastForConnections) +
                                 " file descriptors are needed and there are " + std::to_string(descriptors) +
                                 ": raise the limit (ulimit -n)" + (withRtsp ? " or use --no-rtsp" : ""));
    const size_t left = descriptors - taken;
    return {std::min(left / 2, httpAtLeast + httpPerCamera * cameras),
            1 + left / 4 / descriptorsPerRtspClient, std::min(left / leastForConnections, mostControl)};
}

bool hasDescriptorsForAStream() {
    std::array<int, descriptorsPerRtspClient> taken{};
    for (int& fd : taken)
        fd = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    for (const int fd : taken)
        if (fd >= 0)
            close(fd);
    return taken.back() >= 0;
}

} // namespace camsim
