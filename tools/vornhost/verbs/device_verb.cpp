#include "tools/vornhost/verbs/device_verb.h"

#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/console/standard_streams.h"

#include <CLI/CLI.hpp>

#include <optional>

namespace corvane::vornhost {

void CDeviceVerb::declare(CLI::App& command) {
    command.add_option("ADDRESS", address_, "The camera")->required();
}

ExitStatus CDeviceVerb::run(const SOptions& options) {
    checkArguments(options);
    std::optional<CEndRequest> end;
    if (isEndedBySignals())
        end.emplace([] { EndProcess(ExitStatus::Success); });
    CDeviceSession session(options, address_);
    prepare(session);
    if (const auto failure = session.start()) {
        tellNotStarted(session, *failure);
        return ExitStatus::NotStarted;
    }
    return runOn(session);
}

void CDeviceVerb::tellNotStarted(const CDeviceSession& session, const SDiagnosis& failure) {
    WriteMessage(failure.lines(session.address()));
}

} // namespace corvane::vornhost
