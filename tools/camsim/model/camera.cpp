#include "model/camera.h"

#include "model/texts.h"

#include <cstdio>

namespace camsim {
namespace {

using Clock = std::chrono::steady_clock;

} // namespace

CCamera::CCamera(size_t index, std::shared_ptr<const SCameraModel> model)
    : index_(index), model_(std::move(model)), settings_(model_), head_(*model_), inputs_(*model_) {}

std::string CCamera::serialNumber() const {
    char digits[24];
    std::snprintf(digits, sizeof digits, "%05zu", index_ + 1);
    return model_->number + digits;
}

std::string CCamera::macAddress() const {
    // The locally administered bit is set, so that no address can be that of a camera that was ever built.
    constexpr unsigned LocallyAdministered = 0x02;
    const size_t n = index_ + 1;
    char text[32];
    std::snprintf(text, sizeof text, "%02x-80-45-%02zx-%02zx-%02zx", LocallyAdministered, (n >> 16) & 0xff,
                  (n >> 8) & 0xff, n & 0xff);
    return text;
}

std::string CCamera::info() const {
    std::string text = model_->infoTemplate;
    ReplaceAll(text, "${mac}", macAddress());
    ReplaceAll(text, "${serial}", serialNumber());
    return text;
}

std::optional<std::string> CCamera::setting(const std::string& key) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return settings_.value(key);
}

std::map<std::string, std::string> CCamera::settings() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return settings_.all();
}

std::string CCamera::settingsDump() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return settings_.dump();
}

bool CCamera::hasRoomFor(const CSettingsStore::Overrides& settings) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return settings_.hasRoomFor(settings);
}

void CCamera::putSetting(const std::string& key, const std::optional<std::string>& value) {
    bool really = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        really = settings_.put(key, value);
    }
    changed(really);
}

HeadPlace CCamera::headPlace() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return head_.place(Clock::now());
}

bool CCamera::headIsMoving() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return head_.isMoving(Clock::now());
}

void CCamera::commandHead(const std::function<void(CCameraHead& head, CCameraHead::Time now)>& command) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        command(head_, Clock::now());
    }
    changed(true);
}

CAlarmInputs CCamera::alarmInputs() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return inputs_;
}

void CCamera::setAlarmInputs(const CAlarmInputs::Levels& levels) {
    CAlarmInputs::Levels changes;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        changes = inputs_.set(levels);
    }
    if (changes.empty())
        return;
    for (const auto& listener : inputListeners_)
        listener(changes);
}

void CCamera::resetToFactoryDefaults() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        settings_.reset();
        head_.reset();
    }
    changed(true);
}

SCameraState CCamera::state() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return {settings_.overrides(), head_.state(Clock::now())};
}

void CCamera::restore(const SCameraState& state) {
    const std::lock_guard<std::mutex> lock(mutex_);
    settings_.reset();
    for (const auto& [key, value] : state.settings)
        settings_.put(key, value);
    head_.restore(state.head);
}

void CCamera::changed(bool really) {
    if (!really)
        return;
    for (const auto& listener : listeners_)
        listener();
}

} // namespace camsim
