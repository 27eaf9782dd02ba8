#include "picture/picture.h"

#include "model/numbers.h"
#include "picture/scene.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>

namespace camsim {
namespace {

constexpr double WidestView = 0.2; // of the panorama's width
constexpr double ClosestZoom = 10;
constexpr int SharpnessRadius = 2; // in pixels, to each side
constexpr int LargestBlur = 24;
constexpr double CloseFocus = 0.01; // of the axis's range: nearer to its place nothing is blurred

struct SWhiteBalance {
    std::string_view name;
    int u;
    int v;
};
// How far a white balance mode shifts the colours; other modes do not.
constexpr SWhiteBalance WhiteBalances[] = {{"atw2", -12, 10}, {"awc", 10, -8}};

uint8_t ClampByte(int value) {
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

// From 0 at the axis's minimum to 1 at its maximum; `without` where there is no such axis.
double ShareOf(const SCameraModel& model, const HeadPlace& place, const char* name, double without) {
    const SAxis* axis = model.axis(name);
    if (axis == nullptr)
        return without;
    return (place.at(name) - axis->minimum) / (axis->maximum - axis->minimum);
}

// Where a camera that does not turn looks.
double FixedPan(int input) {
    constexpr double SharesBetweenInputs = 0.22;
    return std::fmod(0.5 + input * SharesBetweenInputs, 1);
}

// The part of a plane that is seen.
struct SView {
    double left;
    double top;
    double width;
    double height;
};

SView ViewOf(const SCameraModel& model, const HeadPlace& place, int input, const SPlane& scene,
             double ratio) {
    const double zoom = std::pow(ClosestZoom, -ShareOf(model, place, "zoom", 0));
    const double widest = WidestView * scene.width;
    const double width = widest * zoom;
    const double height = width / ratio;
    const double widestHeight = widest / ratio;
    const double x = widest / 2 + ShareOf(model, place, "pan", FixedPan(input)) * (scene.width - widest);
    const double y =
        widestHeight / 2 + (1 - ShareOf(model, place, "tilt", 0.5)) * (scene.height - widestHeight);
    return {x - width / 2, y - height / 2, width, height};
}

uint8_t* RowOf(GstVideoFrame& frame, guint component, int y) {
    return static_cast<uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, component)) +
           static_cast<ptrdiff_t>(y) * GST_VIDEO_FRAME_COMP_STRIDE(&frame, component);
}

void DrawPlane(GstVideoFrame& frame, guint component, const SPlane& plane, const SView& view,
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
        uint8_t* row = RowOf(frame, component, y);
        for (int x = 0; x < width; ++x)
            row[x] = source[columns[static_cast<size_t>(x)]];
    }
}

// A rectangle of the scene in one colour.
void Fill(GstVideoFrame& frame, const SView& view, const SView& rectangle,
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
            std::fill(RowOf(frame, i, y) + left, RowOf(frame, i, y) + right, colour[i]);
    }
}

// Cars that pass on a road, so that every picture moves.
void DrawTraffic(GstVideoFrame& frame, const SView& view) {
    constexpr std::array<uint8_t, 3> Colours[] = {
        {180, 60, 180}, {120, 90, 220}, {200, 128, 128}, {60, 170, 110}};
    constexpr double Distance = 240;
    constexpr double Speed = 120; // a second
    const SPlane& scene = Panorama().front();
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    const int cars = static_cast<int>(scene.width / Distance);
    for (int i = 0; i < cars; ++i) {
        const double left = std::fmod(i * Distance + seconds * Speed, cars * Distance);
        Fill(frame, view, {left, scene.height * 0.54, 44, 14},
             Colours[static_cast<size_t>(i) % std::size(Colours)]);
        Fill(frame, view, {left + 10, scene.height * 0.53, 22, 10}, Colours[2]);
    }
}

// Moves each place of a row away from the mean of its surroundings; a gain of -1 leaves the mean alone.
void FilterRow(uint8_t* row, std::vector<uint8_t>& copy, int width, int radius, double gain) {
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
        row[x] = ClampByte(at(x) + (at(x) - sum / count) * scaledGain / 256);
        sum += at(x + radius + 1) - at(x - radius);
    }
}

} // namespace

void CPicture::develop(GstVideoFrame& frame) {
    const HeadPlace place = camera_.headPlace();
    drawView(frame, place);
    tint(frame);
    sharpen(frame, place);
    setBalance();
}

void CPicture::drawView(GstVideoFrame& frame, const HeadPlace& place) {
    const double ratio = static_cast<double>(GST_VIDEO_FRAME_WIDTH(&frame)) / GST_VIDEO_FRAME_HEIGHT(&frame);
    const auto& scene = Panorama();
    const SView view = ViewOf(camera_.model(), place, input_, scene.front(), ratio);
    for (guint i = 0; i < scene.size(); ++i)
        DrawPlane(frame, i, scene[i], view, columns_);
    DrawTraffic(frame, view);
}

void CPicture::tint(GstVideoFrame& frame) {
    const std::string mode =
        camera_.setting("WHITEBALANCE").value_or(camera_.setting("WHITEBAL").value_or(""));
    const auto found = std::find_if(std::begin(WhiteBalances), std::end(WhiteBalances),
                                    [&](const SWhiteBalance& known) { return known.name == mode; });
    if (found == std::end(WhiteBalances))
        return;
    for (const guint component : {GST_VIDEO_COMP_U, GST_VIDEO_COMP_V}) {
        const int lean = component == GST_VIDEO_COMP_U ? found->u : found->v;
        const int width = GST_VIDEO_FRAME_COMP_WIDTH(&frame, component);
        for (int y = 0; y < GST_VIDEO_FRAME_COMP_HEIGHT(&frame, component); ++y) {
            uint8_t* row = RowOf(frame, component, y);
            std::transform(row, row + width, row, [lean](uint8_t value) { return ClampByte(value + lean); });
        }
    }
}

// The lens that is out of focus counts more than any sharpness that the camera adds.
void CPicture::sharpen(GstVideoFrame& frame, const HeadPlace& place) {
    const SAxis* focus = camera_.model().axis("focus");
    const double away =
        focus == nullptr ? 0 : std::abs(place.at("focus") - focus->home) / (focus->maximum - focus->minimum);
    const bool blurred = away > CloseFocus;
    const double sharpness = level(camera_.setting("SHARPNESS") ? "SHARPNESS" : "APERTURE", SharpnessLevel);
    const double gain = blurred ? -1 : sharpness / SharpnessLevel.ordinary - 1;
    const int radius = blurred ? 1 + static_cast<int>(std::lround(away * 2 * LargestBlur)) : SharpnessRadius;
    const int width = GST_VIDEO_FRAME_COMP_WIDTH(&frame, GST_VIDEO_COMP_Y);
    if (gain == 0)
        return;
    for (int y = 0; y < GST_VIDEO_FRAME_COMP_HEIGHT(&frame, GST_VIDEO_COMP_Y); ++y)
        FilterRow(RowOf(frame, GST_VIDEO_COMP_Y, y), row_, width, radius, gain);
}

void CPicture::setBalance() {
    const double brightness = level("BRIGHTNESS", BrightnessLevel) / (2 * BrightnessLevel.ordinary) - 0.5;
    const double saturation = level("CHROMA", ChromaLevel) / ChromaLevel.ordinary;
    if (brightness == brightness_ && saturation == saturation_)
        return;
    brightness_ = brightness;
    saturation_ = saturation;
    g_object_set(balance_, "brightness", brightness, "saturation", saturation, nullptr);
}

// Whatever stands in the settings, since the elements bear only what is in the range.
double CPicture::level(const char* key, const SPictureLevel& range) const {
    const double set = ParseNumber<double>(camera_.setting(key).value_or("")).value_or(range.ordinary);
    return std::isfinite(set) ? std::clamp<double>(set, 0, range.highest) : range.ordinary;
}

} // namespace camsim
