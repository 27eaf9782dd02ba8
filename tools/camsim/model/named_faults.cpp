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
    unsetLocked(name);
    std::vector<uint64_t> ids;
    try {
        for (SFault& part : parts)
            ids.push_back(faults_.add(std::move(part)));
    } catch (const CFaultError&) {
        faults_.removeNamed(name);
        throw;
    }
    active_.push_back({name, changeSettings(fault, camera)});
    return ids;
}

bool CNamedFaults::unset(const std::string& name) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return unsetLocked(name);
}

void CNamedFaults::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    while (!active_.empty())
        unsetLocked(std::string(active_.back().name));
}

std::vector<std::string> CNamedFaults::list() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> names;
    for (const SActive& active : active_)
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

// The caller holds mutex_.
bool CNamedFaults::unsetLocked(const std::string& name) {
    const auto found = std::find_if(active_.begin(), active_.end(),
                                    [&](const SActive& active) { return active.name == name; });
    if (found == active_.end())
        return false;
    restore(*found); // first: a port that refuses does not follow its setting
    faults_.removeNamed(name);
    active_.erase(found);
    return true;
}

} // namespace camsim
