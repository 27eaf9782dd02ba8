#include "model/stream_options.h"

#include "model/numbers.h"

#include <algorithm>
#include <cmath>

namespace camsim {
namespace {

using List = std::vector<std::string>;

// The name that the capability gives to the picture size and ratio which the camera is set to.
std::string ImageMode(const CCamera& camera) {
    std::string size = camera.setting("IMAGESELECT").value_or("");
    std::replace(size.begin(), size.end(), '.', '_');
    const std::string ratio = camera.setting("IMAGERATIO").value_or("");
    std::string mode = size.empty() ? "1_3m" : size;
    if (ratio == "16_9")
        mode += "_r" + ratio;
    if (camera.setting("IMAGESVGA") == "1")
        mode += "_r" + ratio + "_800";
    return mode;
}

std::optional<List> ListOf(const CCamera& camera, const SCapabilityStream& stream, const std::string& name) {
    return camera.model().capability.list(
        std::string("video_server.image.").append(stream.codec).append(stream.suffix).append(".") + name);
}

std::optional<double> NumberOf(const std::string& entry) {
    return ParseNumber<double>(std::string_view(entry).substr(0, entry.find('x')));
}

} // namespace

List Resolutions(const CCamera& camera, const SCapabilityStream& stream) {
    std::optional<List> list = ListOf(camera, stream, "resolution_each_mode." + ImageMode(camera));
    if (!list)
        list = ListOf(camera, stream, "resolution");
    return list.value_or(List());
}

List FrameRates(const CCamera& camera, const SCapabilityStream& stream) {
    std::optional<List> list = ListOf(camera, stream, "framerate");
    if (!list)
        list = ListOf(camera, {"mjpeg"}, "framerate");
    List rates = list.value_or(List());
    const List limits = ListOf(camera, stream, "max_framerate." + ImageMode(camera)).value_or(List());
    const double highest = limits.empty() ? HUGE_VAL : NumberOf(limits.front()).value_or(HUGE_VAL);
    const auto tooHigh = [&](const std::string& rate) { return NumberOf(rate).value_or(0) > highest; };
    rates.erase(std::remove_if(rates.begin(), rates.end(), tooHigh), rates.end());
    return rates;
}

List KeyFrameIntervals(const CCamera& camera, const SCapabilityStream& stream) {
    return ListOf(camera, stream, "i_interval").value_or(List());
}

std::optional<std::string> NearestEntry(const List& entries, const std::string& value) {
    if (std::find(entries.begin(), entries.end(), value) != entries.end())
        return value;
    const std::optional<double> wanted = NumberOf(value);
    if (!wanted || !std::isfinite(*wanted))
        return std::nullopt;
    std::optional<std::string> nearest;
    double smallest = 0;
    for (const std::string& entry : entries) {
        const std::optional<double> number = NumberOf(entry);
        if (!number)
            continue;
        const double distance = std::abs(*number - *wanted);
        if (!nearest || distance < smallest) {
            nearest = entry;
            smallest = distance;
        }
    }
    return nearest;
}

} // namespace camsim
