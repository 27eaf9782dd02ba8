#pragma once

#include "site/report/adjustments.h"
#include "site/session/device_session.h"
#include "site/site_file.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvane::site {

// What a camera has, as a site file wants it. Waits for the camera's settings.
class CPresentSettings {
public:
    // The session must outlive it, and have a model.
    explicit CPresentSettings(const CDeviceSession& session) : session_(session), model_(*session.model()) {}

    std::vector<SStreamWish> streams() const;
    // Of the first video input.
    std::map<std::string, std::string> adjustments() const;

private:
    void add(std::vector<SStreamWish>& all, const std::string& name) const;
    AskCamera asking() const;
    std::optional<SAnswer> ask(const std::string& operation, const Texts& arguments) const;

    const CDeviceSession& session_;
    const SModelInfo& model_;
};

} // namespace corvane::site
