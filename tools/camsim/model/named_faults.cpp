#include "model/named_faults.h"

#include "model/fault_names.h"

#include <algorithm>

namespace camsim {

std::vector<uint64_t> CNamedFaults::set(const std::string& name, std::optional<size_t> camera) {
    const SNamedFault& fault = FindNamedFault(name);
    std::vector<SFault> parts;
    for (const std::string& text : fault.faults) {
        parts.push_back(ParseFaultText(text, cameras_.size()));
        parts.back().name = name;
        parts.back().camera = camera;
    }
    if (camera && *camera >= cameras_.size())
        throw CFaultError("camera: there are " + std::to_string(cameras_.size()) +
                          " cameras, counted from 0");
    const std::lock_guard<std::mutex> lock(mutex_);
    unsetLocked([&](const SActive& active) {
        return active.name == name && (!camera || !active.camera || active.camera == camera);
    });
    std::vector<uint64_t> ids;
    try {
        for (SFault& part : parts)
            ids.push_back(faults_.add(std::move(part)));
    } catch (const CFaultError&) {
        faults_.removeNamed(name, camera);
        throw;
    }
    active_.push_back({name, camera, changeSettings(fault, camera)});
    return ids;
}

bool CNamedFaults::unset(const std::string& name) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return unsetLocked([&](const SActive& active) { return active.name == name; });
}

bool CNamedFaults::unsetAt(const std::string& name, std::optional<size_t> camera) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return unsetLocked([&](const SActive& active) { return active.name == name && active.camera == camera; });
}

void CNamedFaults::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    unsetLocked([](const SActive&) { return true; });
}

std::vector<std::string> CNamedFaults::list() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> names;
    for (const SActive& active : active_)
        if (std::find(names.begin(), names.end(), active.name) == names.end())
            names.push_back(active.name);
    return names;
}

std::vector<CNamedFaults::SChange> CNamedFaults::changeSettings(const SNamedFault& fault,
                                                                std::optional<size_t> camera) const {
    std::vector<SChange> changes;
    for (const auto& each : cameras_) {
        if (camera && *camera != each->index())
            continue;
        for (const auto& [key, value] : fault.settings) {
            changes.push_back({each.get(), key, each->setting(key), value});
            each->putSetting(key, value);
        }
    }
    return changes;
}

// From the last to the first, so that a setting which several faults put gets back what it had at first.
void CNamedFaults::restore(const SActive& active) const {
    std::for_each(active.changes.rbegin(), active.changes.rend(), [](const SChange& change) {
        if (change.camera->setting(change.key) == change.put)
            change.camera->putSetting(change.key, change.before);
    });
}

// The caller holds mutex_. The last first, as restore() has it.
bool CNamedFaults::unsetLocked(const std::function<bool(const SActive&)>& goes) {
    const auto first = std::stable_partition(active_.begin(), active_.end(),
                                             [&](const SActive& active) { return !goes(active); });
    const std::vector<SActive> gone(first, active_.end());
    active_.erase(first, active_.end());
    std::for_each(gone.rbegin(), gone.rend(), [this](const SActive& active) {
        restore(active); // first: a port that refuses does not follow its setting
        faults_.removeNamed(active.name, active.camera);
    });
    return !gone.empty();
}

} // namespace camsim
