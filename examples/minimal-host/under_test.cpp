// What conformance/ needs of this host, and what this host does not claim.

#include "context.h"
#include "host_under_test.h"

#include <boost/make_shared.hpp>

namespace conformance {

SHostUnderTest TheHost() {
    SHostUnderTest host;
    host.makeDevice = [](const std::string&, CAuthentication credentials) {
        return boost::make_shared<CContext>(std::move(credentials));
    };
    host.notClaimed = {{"credentials.change-with-the-next-question", "they are those of its making"},
                       {"log.passwords-are-masked", "it logs failures alone"},
                       {"log.of-a-handler-outlives-its-context", "it makes no handlers"},
                       {"database", "it has none"},
                       {"queue", "it makes no PTZ controllers"},
                       {"http.parameters-are-percent-encoded", "its requests have none that need it"}};
    return host;
}

} // namespace conformance
