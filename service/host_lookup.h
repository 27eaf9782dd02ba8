#pragma once

#include <memory>
#include <string>
#include <vector>

using GCancellable = struct _GCancellable; // NOLINT(bugprone-reserved-identifier): GLib's name

namespace corvane::service {

struct SFoundHost {
    std::vector<std::string> addresses; // numeric, in the order in which they are to be tried
    std::string failure;                // why there are none, for people
};

// Looks hosts up, and can be made to give up.
class CHostLookUp {
public:
    CHostLookUp();

    // Waits for the name server. Belongs to one thread at a time.
    SFoundHost find(const std::string& host) const;
    // From any thread: find() returns at once, now and from then on, also where the name server does not
    // answer.
    void giveUp();

private:
    std::unique_ptr<GCancellable, void (*)(void*)> end_;
};

} // namespace corvane::service
