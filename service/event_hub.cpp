#include "service/event_hub.h"

#include "refhost/base/printable_text.h"
#include "service/camera_json.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

namespace corvane::service {
namespace {

std::string EpochNow() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

} // namespace

CEventHub::CEventHub(SBounds bounds) : bounds_(bounds), epoch_(EpochNow()) {}

void CEventHub::add(const std::string& kind, const std::string& name, std::string data) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        bytes_ += data.size();
        events_.push_back({++last_, name, kind, std::move(data)});
        while (events_.size() > bounds_.events || (bytes_ > bounds_.bytes && events_.size() > 1)) {
            bytes_ -= events_.front().data.size();
            events_.pop_front();
        }
    }
    wake();
}

void CEventHub::wake() {
    const std::lock_guard<std::mutex> listening(listening_);
    for (const auto& [id, wake] : listeners_)
        wake();
}

std::optional<std::vector<SHubEvent>> CEventHub::after(std::uint64_t number, std::size_t most) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::uint64_t first = last_ - events_.size() + 1;
    if (number > last_ || number + 1 < first)
        return std::nullopt;
    const auto begin = events_.begin() + static_cast<std::ptrdiff_t>(number + 1 - first);
    const std::size_t count = std::min<std::size_t>(most, last_ - number);
    return std::vector<SHubEvent>(begin, begin + static_cast<std::ptrdiff_t>(count));
}

std::uint64_t CEventHub::last() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return last_;
}

CEventHub::ListenerId CEventHub::listen(std::function<void()> wake) {
    const std::lock_guard<std::mutex> listening(listening_);
    listeners_.emplace(++lastListener_, std::move(wake));
    return lastListener_;
}

void CEventHub::forget(ListenerId id) {
    const std::lock_guard<std::mutex> listening(listening_);
    listeners_.erase(id);
}

std::size_t CEventHub::listeners() const {
    const std::lock_guard<std::mutex> listening(listening_);
    return listeners_.size();
}

void CEventHub::cameraChanged(const SCameraStatus& camera, const nlohmann::ordered_json& line) {
    if (!line.is_null())
        add("camera", camera.name, refhost::JsonText(line));
}

void CEventHub::inputChanged(const SCameraStatus& camera, const SInputLevel& /*level*/,
                             const nlohmann::ordered_json& line) {
    add("input", camera.name, refhost::JsonText(line));
}

void CEventHub::driftChanged(const SCameraStatus& camera) {
    add("drift", camera.name, refhost::JsonText({{"name", camera.name}, {"drift", DriftJson(camera.drift)}}));
}

void CEventHub::cameraGone(const std::string& /*name*/) {} // the site's own event tells it

} // namespace corvane::service
