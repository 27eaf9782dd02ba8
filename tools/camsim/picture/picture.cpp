#include "picture/picture.h"

#include "model/numbers.h"
#include "picture/scene.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>

namespace camsim {
namespace {

constexpr double widestView = 0.2; ///< of the panorama's width
constexpr double closestZoom = 10;
constexpr int sharpnessRadius = 2; ///< in pixels, to each side
constexpr int largestBlur = 24;
constexpr double closeFocus = 0.01; ///< of the axis's range: nearer to its place nothing is blurred

struct WhiteBalance {
    std::string_view name;
    int u;
    int v;
};
/// How far a mode leans from white; one that is not here does not.
constexpr WhiteBalance whiteBalances[] = {{"atw2", -12, 10}, {"awc", 10, -8}};

uint8_t clampByte(int value) {
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

/// From 0 at the axis's minimum to 1 at its maximum; `without` where there is no such axis.
double shareOf(const CameraModel& model, const HeadPlace& place, const char* name, double without) {
    const Axis* axis = model.axis(name);
    if (axis == nullptr)
        return without;
    return (place.at(name) - axis->minimum) / (axis->maximum - axis->minimum);
}

/// Where a camera that does not turn looks.
double fixedPan(int input) {
    constexpr double sharesBetweenInputs = 0.22;
    return std::fmod(0.5 + input * sharesBetweenInputs, 1);
}

/// The part of a plane that is seen.
struct View {
    double left;
    double top;
    double width;
    double height;
};

View viewOf(const CameraModel& model, const HeadPlace& place, int input, const Plane& scene, double ratio) {
    const double zoom = std::pow(closestZoom, -shareOf(model, place, "zoom", 0));
    const double widest = widestView * scene.width;
    const double width = widest * zoom;
    const double height = width / ratio;
    const double widestHeight = widest / ratio;
    const double x = widest / 2 + shareOf(model, place, "pan", fixedPan(input)) * (scene.width - widest);
    const double y =
        widestHeight / 2 + (1 - shareOf(model, place, "tilt", 0.5)) * (scene.height - widestHeight);
    return {x - width / 2, y - height / 2, width, height};
}

uint8_t* rowOf(GstVideoFrame& frame, guint component, int y) {
    return static_cast<uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, component)) +
           static_cast<ptrdiff_t>(y) * GST_VIDEO_FRAME_COMP_STRIDE(&frame, component);
}

void drawPlane(GstVideoFrame& frame, guint component, const Plane& plane, const View& view,
               std::vector<int>& columns) {
    const int width = GST_VIDEO_FRAME_COMP_WIDTH(&frame, component);
    const int height = GST_VIDEO_FRAME_COMP_HEIGHT(&frame, component);
    columns.resize(static_cast<size_t>(width));
    for (int x = 0; x < width; ++x)
        columns[static_cast<size_t>(x)] =
            std::clamp(static_cast<int>(view.left + (x + 0.5) * view.width / width), 0, plane.width - 1);
    for (int y = 0; y < height; ++y) {
        const int from =
            std::clamp(static_cast<int>(view.top + (y + 0.5) * view.height / height), 0, plane.height - 1);
        const uint8_t* source =
            plane.bytes.data() + static_cast<size_t>(from) * static_cast<size_t>(plane.width);
        uint8_t* row = rowOf(frame, component, y);
        for (int x = 0; x < width; ++x)
            row[x] = source[columns[static_cast<size_t>(x)]];
    }
}

/// A rectangle of the scene in one colour.
void fill(GstVideoFrame& frame, const View& view, const View& rectangle,
          const std::array<uint8_t, 3>& colour) {
    for (guint i = 0; i < colour.size(); ++i) {
        const int width = GST_VIDEO_FRAME_COMP_WIDTH(&frame, i);
        const int height = GST_VIDEO_FRAME_COMP_HEIGHT(&frame, i);
        const auto column = [&](double x) {
            return std::clamp(static_cast<int>((x - view.left) / view.width * width), 0, width);
        };
        const auto line = [&](double y) {
            return std::clamp(static_cast<int>((y - view.top) / view.height * height), 0, height);
        };
        const int left = column(rectangle.left);
        const int right = column(rectangle.left + rectangle.width);
        for (int y = line(rectangle.top); y < line(rectangle.top + rectangle.height); ++y)
            std::fill(rowOf(frame, i, y) + left, rowOf(frame, i, y) + right, colour[i]);
    }
}

/// Cars that pass on a road, so that every picture moves.
void drawTraffic(GstVideoFrame& frame, const View& view) {
    constexpr std::array<uint8_t, 3> colours[] = {
        {180, 60, 180}, {120, 90, 220}, {200, 128, 128}, {60, 170, 110}};
    constexpr double distance = 240;
    constexpr double speed = 120; ///< a second
    const Plane& scene = panorama().front();
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    const int cars = static_cast<int>(scene.width / distance);
    for (int i = 0; i < cars; ++i) {
        const double left = std::fmod(i * distance + seconds * speed, cars * distance);
        fill(frame, view, {left, scene.height * 0.54, 44, 14},
             colours[static_cast<size_t>(i) % std::size(colours)]);
        fill(frame, view, {left + 10, scene.height * 0.53, 22, 10}, colours[2]);
    }
}

/// Moves each place of a row away from the mean of its surroundings; a gain of -1 leaves the mean alone.
void filterRow(uint8_t* row, std::vector<uint8_t>& copy, int width, int radius, double gain) {
    copy.assign(row, row + width);
    const auto at = [&](int x) {
        return static_cast<int>(copy[static_cast<size_t>(std::clamp(x, 0, width - 1))]);
    };
    const int count = 2 * radius + 1;
    const int scaledGain = static_cast<int>(std::lround(gain * 256));
    int sum = 0;
    for (int x = -radius; x <= radius; ++x)
        sum += at(x);
    for (int x = 0; x < width; ++x) {
        row[x] = clampByte(at(x) + (at(x) - sum / count) * scaledGain / 256);
        sum += at(x + radius + 1) - at(x - radius);
    }
}

} // namespace

void Picture::develop(GstVideoFrame& frame) {
    const HeadPlace place = camera_.headPlace();
    drawView(frame, place);
    tint(frame);
    sharpen(frame, place);
    setBalance();
}

void Picture::drawView(GstVideoFrame& frame, const HeadPlace& place) {
    const double ratio = static_cast<double>(GST_VIDEO_FRAME_WIDTH(&frame)) / GST_VIDEO_FRAME_HEIGHT(&frame);
    const auto& scene = panorama();
    const View view = viewOf(camera_.model(), place, input_, scene.front(), ratio);
    for (guint i = 0; i < scene.size(); ++i)
        drawPlane(frame, i, scene[i], view, columns_);
    drawTraffic(frame, view);
}

void Picture::tint(GstVideoFrame& frame) {
    const std::string mode =
        camera_.setting("WHITEBALANCE").value_or(camera_.setting("WHITEBAL").value_or(""));
    const auto found = std::find_if(std::begin(whiteBalances), std::end(whiteBalances),
                                    [&](const WhiteBalance& known) { return known.name == mode; });
    if (found == std::end(whiteBalances))
        return;
    for (const guint component : {GST_VIDEO_COMP_U, GST_VIDEO_COMP_V}) {
        const int lean = component == GST_VIDEO_COMP_U ? found->u : found->v;
        const int width = GST_VIDEO_FRAME_COMP_WIDTH(&frame, component);
        for (int y = 0; y < GST_VIDEO_FRAME_COMP_HEIGHT(&frame, component); ++y) {
            uint8_t* row = rowOf(frame, component, y);
            std::transform(row, row + width, row, [lean](uint8_t value) { return clampByte(value + lean); });
        }
    }
}

/// The lens that is out of focus counts more than any sharpness that the camera adds.
void Picture::sharpen(GstVideoFrame& frame, const HeadPlace& place) {
    const Axis* focus = camera_.model().axis("focus");
    const double away =
        focus == nullptr ? 0 : std::abs(place.at("focus") - focus->home) / (focus->maximum - focus->minimum);
    const bool blurred = away > closeFocus;
    const double sharpness = level(camera_.setting("SHARPNESS") ? "SHARPNESS" : "APERTURE", sharpnessLevel);
    const double gain = blurred ? -1 : sharpness / sharpnessLevel.ordinary - 1;
    const int radius = blurred ? 1 + static_cast<int>(std::lround(away * 2 * largestBlur)) : sharpnessRadius;
    const int width = GST_VIDEO_FRAME_COMP_WIDTH(&frame, GST_VIDEO_COMP_Y);
    if (gain == 0)
        return;
    for (int y = 0; y < GST_VIDEO_FRAME_COMP_HEIGHT(&frame, GST_VIDEO_COMP_Y); ++y)
        filterRow(rowOf(frame, GST_VIDEO_COMP_Y, y), row_, width, radius, gain);
}

void Picture::setBalance() {
    const double brightness = level("BRIGHTNESS", brightnessLevel) / (2 * brightnessLevel.ordinary) - 0.5;
    const double saturation = level("CHROMA", chromaLevel) / chromaLevel.ordinary;
    if (brightness == brightness_ && saturation == saturation_)
        return;
    brightness_ = brightness;
    saturation_ = saturation;
    g_object_set(balance_, "brightness", brightness, "saturation", saturation, nullptr);
}

/// Whatever stands in the settings, since the elements bear only what is in the range.
double Picture::level(const char* key, const PictureLevel& range) const {
    const double set = parseNumber<double>(camera_.setting(key).value_or("")).value_or(range.ordinary);
    return std::isfinite(set) ? std::clamp<double>(set, 0, range.highest) : range.ordinary;
}

} // namespace camsim
