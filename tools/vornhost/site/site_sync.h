#pragma once

#include "site/site_plan.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/site/site_run.h"

#include <optional>
#include <string>
#include <vector>

namespace corvane::vornhost {

struct SSyncOptions {
    bool isDryRun = false;
    std::string planFile;                   // of a dry run: to be written; else carried out. Empty: none
    std::optional<std::size_t> mostChanges; // cameras
    bool oneFirst = false;
};

// Sets the cameras of a site that are not as the file wants them.
class CSiteSync {
public:
    // `allowances` must outlive it.
    CSiteSync(CSiteRun& run, SSyncOptions options, const SAllowances& allowances)
        : run_(run), options_(std::move(options)), allowances_(allowances) {}

    // Throws CFailure.
    ExitStatus run();

private:
    ExitStatus dryRun();
    site::SitePlan planOf(const std::vector<SCameraFinding>& differing) const;
    std::vector<SCameraFinding> compareAll();
    void setCarefully();
    bool set(const CSiteRun::Cameras& cameras);
    std::vector<SCameraFinding> confirm(std::vector<SCameraFinding> changed);
    bool keepAccepted() const;
    void leave(std::vector<SCameraFinding> differing, const std::string& reason);
    void synchronise(CSiteCamera& camera, SCameraFinding& finding) const;
    void readPlan();
    void requirePlanned(SCameraFinding& finding) const;

    CSiteRun& run_;
    const SSyncOptions options_;
    const SAllowances& allowances_;
    std::optional<site::SitePlan> plan_; // to be carried out
};

} // namespace corvane::vornhost
