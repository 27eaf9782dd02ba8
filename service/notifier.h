#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace corvane::service {

// Tells the service manager how far the service is; nobody, where none has started it. Callable from any
// thread.
class CNotifier {
public:
    // It serves, as of now or again; `status` is for people who ask the manager.
    void ready(const std::string& status) const;
    // It begins to read its configuration anew; ready() ends that.
    void reloading() const;
    void stopping() const;
    void status(const std::string& status) const;

    // How often alive() is to be told, which is twice as often as the manager wants it; nothing where it does
    // not.
    std::optional<std::chrono::microseconds> alivePeriod() const;
    void alive() const;
};

} // namespace corvane::service
