#pragma once

#include "service/site_observer.h"

#include <vector>

namespace corvane::service {

// Tells several observers, in their order.
class CObservers : public ISiteObserver {
public:
    explicit CObservers(std::vector<ISiteObserver*> all) : all_(std::move(all)) {}

    void cameraChanged(const SCameraStatus& camera, const nlohmann::ordered_json& line) override {
        for (ISiteObserver* const one : all_)
            one->cameraChanged(camera, line);
    }
    void inputChanged(const SCameraStatus& camera, const SInputLevel& level,
                      const nlohmann::ordered_json& line) override {
        for (ISiteObserver* const one : all_)
            one->inputChanged(camera, level, line);
    }
    void driftChanged(const SCameraStatus& camera) override {
        for (ISiteObserver* const one : all_)
            one->driftChanged(camera);
    }
    void exchangeNoted() override {
        for (ISiteObserver* const one : all_)
            one->exchangeNoted();
    }
    void cameraGone(const std::string& name) override {
        for (ISiteObserver* const one : all_)
            one->cameraGone(name);
    }

private:
    const std::vector<ISiteObserver*> all_;
};

} // namespace corvane::service
