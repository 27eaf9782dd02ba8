#pragma once

#include "site/base/exit_status.h"
#include "site/diagnosis/diagnosis.h"
#include "site/session/options.h"
#include "tools/vornhost/names.h"

#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace corvane::vornhost {

// What the program can be told to do.
class IVerb {
public:
    virtual ~IVerb() = default;

    // Declares the verb's own arguments and examples.
    virtual void declare(CLI::App& command) = 0;
    // Throws CFailure.
    virtual ExitStatus run(const SOptions& options) = 0;
    // What standard output says of a failure that run() has thrown; empty where it is for people.
    virtual std::string failureLine(const SDiagnosis& failure, const SOptions& options) const {
        return options.json ? ProblemLine(failure) : "";
    }
};

struct SVerb {
    const char* name;
    const char* summary;
    std::unique_ptr<IVerb> (*make)();
};

// All verbs, in the order in which help tells them.
const std::vector<SVerb>& Verbs();

std::unique_ptr<IVerb> MakeIdentifyVerb();
std::unique_ptr<IVerb> MakeShowVerb();
std::unique_ptr<IVerb> MakeCallVerb();
std::unique_ptr<IVerb> MakeScriptVerb();
std::unique_ptr<IVerb> MakeSyncVerb();
std::unique_ptr<IVerb> MakeRecordVerb();
std::unique_ptr<IVerb> MakeEventsVerb();
std::unique_ptr<IVerb> MakeDoctorVerb();
std::unique_ptr<IVerb> MakePtzVerb();
std::unique_ptr<IVerb> MakeImageVerb();
std::unique_ptr<IVerb> MakeModelsVerb();
std::unique_ptr<IVerb> MakeOperationsVerb();
std::unique_ptr<IVerb> MakeElementVerb();
std::unique_ptr<IVerb> MakeSiteVerb();
std::unique_ptr<IVerb> MakeServeVerb();
std::unique_ptr<IVerb> MakeTokenVerb();

} // namespace corvane::vornhost
