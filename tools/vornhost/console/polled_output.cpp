#include "tools/vornhost/console/polled_output.h"

#include "site/base/standard_streams.h"
#include "tools/vornhost/names.h"

#include <algorithm>
#include <cerrno>
#include <limits.h>
#include <unistd.h>
#include <utility>

namespace corvane::vornhost {

bool CPolledOutput::write() {
    // A pipe that takes anything takes so much without waiting.
    const ssize_t count =
        ::write(STDOUT_FILENO, waiting_.data(), std::min<std::size_t>(waiting_.size(), PIPE_BUF));
    if (count >= 0)
        waiting_.erase(0, static_cast<std::size_t>(count));
    else
        isBroken_ = errno != EINTR && errno != EAGAIN;
    return !isBroken_;
}

void CPolledOutput::finish() {
    if (!waiting_.empty())
        WriteOutput(std::exchange(waiting_, {}));
}

} // namespace corvane::vornhost
