#pragma once

#include "refhost/http/connection_probe.h"
#include "site/diagnosis/diagnosis.h"
#include "site/session/credentials.h"
#include "site/session/loaded_plugin.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace corvane::site {

// Which device answers at an address, or why none was found.
struct SIdentification {
    CError error = CError::Success();
    COptional<CDeviceId> device;
    double milliseconds = 0;
    std::optional<SDiagnosis> failure; // where there is no device

    bool isFound() const { return !error && device; }
};

// How long the plug-in asks one address at most; what takes connections no sooner is given up too.
inline constexpr std::chrono::milliseconds LongestIdentification{5'000};

// What the plug-in asks an address first: a path with its query.
std::string FirstRequest(const CVornModelList& models);

// Where nobody takes the connection (see refhost/http/connection_probe.h); the address is not to be asked
// then.
SIdentification NobodyThere(const std::string& address, const CVornModelList& models,
                            const refhost::SProbedConnection& probed);

// Connects first, so that an address where nobody listens is told at once; then the plug-in asks. `limit` is
// how long is waited for each of the two: of what the plug-in is still about the plug-in is kept loaded.
SIdentification IdentifyDevice(const std::shared_ptr<CLoadedPlugin>& plugin, const std::string& address,
                               const CCredentials& credentials, CExchangeWatch& exchanges,
                               std::chrono::milliseconds limit);

} // namespace corvane::site
