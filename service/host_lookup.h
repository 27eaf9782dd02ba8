#pragma once

#include <functional>
#include <string>
#include <vector>

namespace corvane::service {

struct SFoundHost {
    std::vector<std::string> addresses; // numeric, in the order in which they are to be tried
    std::string failure;                // why there are none, for people; empty where it was given up
};

// Looks a host up. A name server that does not answer holds the caller no longer than until `isGivenUp`,
// which is asked ten times a second.
SFoundHost LookUpHost(const std::string& host, const std::function<bool()>& isGivenUp);

} // namespace corvane::service
