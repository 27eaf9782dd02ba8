#include "model/stream_options.h"

#include "model/numbers.h"

#include <algorithm>
#include <cmath>

namespace camsim {
namespace {

using List = std::vector<std::string>;

/// The name that the capability gives to the picture size and ratio which the camera is set to.
std::string imageMode(const Camera& camera) {
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

std::optional<List> listOf(const Camera& camera, const CapabilityStream& stream, const std::string& name) {
    return camera.model().capability.list(
        std::string("video_server.image.").append(stream.codec).append(stream.suffix).append(".") + name);
}

std::optional<double> numberOf(const std::string& entry) {
    return parseNumber<double>(std::string_view(entry).substr(0, entry.find('x')));
}

} // namespace

List resolutions(const Camera& camera, const CapabilityStream& stream) {
    std::optional<List> list = listOf(camera, stream, "resolution_each_mode." + imageMode(camera));
    if (!list)
        list = listOf(camera, stream, "resolution");
    return list.value_or(List());
}

List frameRates(const Camera& camera, const CapabilityStream& stream) {
    std::optional<List> list = listOf(camera, stream, "framerate");
    if (!list)
        list = listOf(camera, {"mjpeg"}, "framerate");
    List rates = list.value_or(List());
    const List limits = listOf(camera, stream, "max_framerate." + imageMode(camera)).value_or(List());
    const double highest = limits.empty() ? HUGE_VAL : numberOf(limits.front()).value_or(HUGE_VAL);
    const auto tooHigh = [&](const std::string& rate) { return numberOf(rate).value_or(0) > highest; };
    rates.erase(std::remove_if(rates.begin(), rates.end(), tooHigh), rates.end());
    return rates;
}

List keyFrameIntervals(const Camera& camera, const CapabilityStream& stream) {
    return listOf(camera, stream, "i_interval").value_or(List());
}

std::optional<std::string> nearestEntry(const List& entries, const std::string& value) {
    if (std::find(entries.begin(), entries.end(), value) != entries.end())
        return value;
    const std::optional<double> wanted = numberOf(value);
    if (!wanted || !std::isfinite(*wanted))
        return std::nullopt;
    std::optional<std::string> nearest;
    double smallest = 0;
    for (const std::string& entry : entries) {
        const std::optional<double> number = numberOf(entry);
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
