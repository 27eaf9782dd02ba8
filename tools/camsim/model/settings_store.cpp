#include "model/settings_store.h"

namespace camsim {

CSettingsStore::CSettingsStore(std::shared_ptr<const SCameraModel> model) : model_(std::move(model)) {}

std::optional<std::string> CSettingsStore::value(const std::string& key) const {
    const auto changed = overrides_.find(key);
    return changed != overrides_.end() ? changed->second : factoryValue(key);
}

bool CSettingsStore::put(const std::string& key, const std::optional<std::string>& value) {
    if (this->value(key) == value)
        return false;
    const auto old = overrides_.find(key);
    const size_t freed = old == overrides_.end() ? 0 : sizeOf(*old);
    const bool isOwn = factoryValue(key) != value;
    const size_t taken = isOwn ? sizeOf({key, value}) : 0;
    if (bytes_ - freed + taken > MostBytes)
        return false;
    bytes_ += taken - freed;
    if (isOwn)
        overrides_[key] = value;
    else
        overrides_.erase(key);
    return true;
}

size_t CSettingsStore::sizeOf(const Overrides::value_type& setting) {
    return sizeof setting + setting.first.size() + setting.second.value_or("").size();
}

bool CSettingsStore::hasRoomFor(const Overrides& changes) const {
    size_t bytes = bytes_;
    for (const auto& change : changes)
        bytes += sizeOf(change);
    return bytes <= MostBytes;
}

std::string CSettingsStore::dump() const {
    std::string text;
    visit([&](const std::string& key, const std::string& value) {
        text.append(key).append(",\"").append(value).append("\"\r\n");
    });
    return text;
}

std::map<std::string, std::string> CSettingsStore::all() const {
    std::map<std::string, std::string> settings;
    visit([&](const std::string& key, const std::string& value) { settings[key] = value; });
    return settings;
}

std::optional<std::string> CSettingsStore::factoryValue(const std::string& key) const {
    const auto position = model_->settingPositions.find(key);
    if (position == model_->settingPositions.end())
        return std::nullopt;
    return model_->settings[position->second].second;
}

template <typename Visitor>
void CSettingsStore::visit(Visitor visitor) const {
    for (const auto& [key, factory] : model_->settings) {
        const auto changed = overrides_.find(key);
        if (changed == overrides_.end())
            visitor(key, factory);
        else if (changed->second)
            visitor(key, *changed->second);
    }
    for (const auto& [key, value] : overrides_)
        if (value && model_->settingPositions.count(key) == 0)
            visitor(key, *value);
}

} // namespace camsim
