#pragma once

#include "site/session/device_session.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/verbs/verb.h"

#include <optional>
#include <string>

namespace corvane::vornhost {

// A verb for one camera. What is the verb's own throws CFailure, as run() does.
class CDeviceVerb : public IVerb {
public:
    // Declares ADDRESS.
    void declare(CLI::App& command) override;
    // Opens the camera and does what the verb is for.
    ExitStatus run(const SOptions& options) final;
    std::string failureLine(const SDiagnosis& failure, const SOptions& options) const final;

protected:
    // Whether SIGINT and SIGTERM are the verb's ordinary end, with success. `runOn` may take them itself.
    virtual bool isEndedBySignals() const { return false; }
    // What can be said of the arguments before anything is opened.
    virtual void checkArguments(const SOptions& /*options*/) {}
    // Before the camera is asked anything.
    virtual void prepare(CDeviceSession& /*session*/) {}
    // Whether standard output is for programs.
    virtual bool isForPrograms(const SOptions& options) const { return options.json; }
    // What a program is told of a failure of which nothing else is told.
    virtual std::string problemLine(const SDiagnosis& failure) const { return ProblemLine(failure); }
    // The camera could not be started; tells why.
    virtual void tellNotStarted(const CDeviceSession& session, const SDiagnosis& failure);
    // Tells a failure of which nothing else is told: on standard error, and to a program as a line of its
    // own.
    void tell(const CDeviceSession& session, const std::string& subject, const SDiagnosis& failure) const;
    virtual ExitStatus runOn(CDeviceSession& session) = 0;

    std::string address_;

private:
    static std::optional<SDiagnosis> start(CDeviceSession& session);
};

} // namespace corvane::vornhost
