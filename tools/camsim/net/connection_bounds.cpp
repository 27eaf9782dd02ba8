#include "net/connection_bounds.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace camsim {
namespace {

// For one camera far more than anybody opens; and for each of a thousand what a recorder may open to it.
constexpr size_t HttpAtLeast = 1000;
constexpr size_t HttpPerCamera = 20;
// Enough for a person and a few tests at the control interface.
constexpr size_t MostControl = 32;
// Descriptors that the program itself has open when nobody is connected.
constexpr size_t ForTheProgram = 20;
// Descriptors of a client that plays: its connection, and its streams' sockets and wake-up descriptors.
constexpr size_t DescriptorsPerRtspClient = 20;

// Descriptors that must be left for connections, so that every server may hold a few.
constexpr size_t LeastForConnections = 16;

} // namespace

SConnectionBounds BoundsFor(size_t descriptors, size_t cameras, bool withRtsp) {
    // GLib aborts the program when it gets no descriptor for a stream, so those of one stream are set aside.
    const size_t taken =
        withRtsp ? 2 * cameras + ForTheProgram + DescriptorsPerRtspClient : cameras + ForTheProgram;
    if (descriptors < taken + LeastForConnections)
        throw std::runtime_error("at least " + std::to_string(taken + LeastForConnections) +
                                 " file descriptors are needed and there are " + std::to_string(descriptors) +
                                 ": raise the limit (ulimit -n)" + (withRtsp ? " or use --no-rtsp" : ""));
    const size_t left = descriptors - taken;
    return {std::min(left / 2, HttpAtLeast + HttpPerCamera * cameras),
            1 + left / 4 / DescriptorsPerRtspClient, std::min(left / LeastForConnections, MostControl)};
}

bool HasDescriptorsForAStream() {
    std::array<int, DescriptorsPerRtspClient> taken{};
    for (int& fd : taken)
        fd = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    for (const int fd : taken)
        if (fd >= 0)
            close(fd);
    return taken.back() >= 0;
}

} // namespace camsim
