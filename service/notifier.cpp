#include "service/notifier.h"

#include <systemd/sd-daemon.h>

#include <algorithm>
#include <cstdint>

namespace corvane::service {
namespace {

void Notify(const std::string& lines) {
    (void)::sd_notify(0, lines.c_str()); // who does not listen need not know
}

// On one line, since the next would be another message.
std::string StatusLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return "STATUS=" + text;
}

} // namespace

void CNotifier::ready(const std::string& status) const {
    Notify("READY=1\n" + StatusLine(status));
}

void CNotifier::reloading() const {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    Notify("RELOADING=1\nMONOTONIC_USEC=" +
           std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(now).count()));
}

void CNotifier::stopping() const {
    Notify("STOPPING=1");
}

void CNotifier::status(const std::string& status) const {
    Notify(StatusLine(status));
}

std::optional<std::chrono::microseconds> CNotifier::alivePeriod() const {
    std::uint64_t period = 0;
    if (::sd_watchdog_enabled(0, &period) <= 0)
        return std::nullopt;
    return std::chrono::microseconds(period / 2);
}

void CNotifier::alive() const {
    Notify("WATCHDOG=1");
}

} // namespace corvane::service
