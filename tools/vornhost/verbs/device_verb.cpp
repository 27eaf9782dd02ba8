#include "tools/vornhost/verbs/device_verb.h"

#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/console/waiting_line.h"
#include "tools/vornhost/names.h"

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
    if (const auto failure = start(session)) {
        tellNotStarted(session, *failure);
        return ExitStatus::NotStarted;
    }
    return runOn(session);
}

std::string CDeviceVerb::failureLine(const SDiagnosis& failure, const SOptions& options) const {
    return isForPrograms(options) ? problemLine(failure) : "";
}

std::optional<SDiagnosis> CDeviceVerb::start(CDeviceSession& session) {
    CWaitingLine waiting;
    waiting.show("waiting for " + PrintableText(session.address()) + " to say what it is and can do");
    auto failure = session.start();
    waiting.end();
    return failure;
}

void CDeviceVerb::tellNotStarted(const CDeviceSession& session, const SDiagnosis& failure) {
    tell(session, session.address(), failure);
}

void CDeviceVerb::tell(const CDeviceSession& session, const std::string& subject,
                       const SDiagnosis& failure) const {
    WriteOutput(failureLine(failure, session.options()));
    WriteMessage(failure.lines(subject));
}

} // namespace corvane::vornhost
