// Between the recorder's PTZ scales and the camera's ranges. Every division truncates toward zero.

#include "camera/panasonic_camera.h"

#include <algorithm>
#include <cstdint>

namespace corvane::panasonic_camera {

using device_handler::v1_0::SRange;

namespace {

constexpr int HighestSpeed = 100;
constexpr int HighestPosition = 10000;

// In 64 bits, so that no range overflows.
int Scaled(std::int64_t width, std::int64_t steps, std::int64_t allSteps, std::int64_t offset) {
    return static_cast<int>(width * steps / allSteps + offset);
}

// No lower bound: a speed below 1 may leave the camera's range.
int CameraSpeed(int speed, const SRange& range) {
    const int lowest = range.minimum <= 0 ? 1 : range.minimum;
    const std::int64_t steps = std::int64_t{std::min(speed, HighestSpeed)} - 1;
    return Scaled(std::int64_t{range.maximum} - lowest, steps, HighestSpeed - 1, lowest);
}

} // namespace

int CPanasonicCamera::ToCameraPanSpeed(int speed) {
    return CameraSpeed(speed, ptzModel().panSpeed);
}
int CPanasonicCamera::ToCameraTiltSpeed(int speed) {
    return CameraSpeed(speed, ptzModel().tiltSpeed);
}
int CPanasonicCamera::ToCameraZoomSpeed(int speed) {
    return CameraSpeed(speed, ptzModel().zoomSpeed);
}
int CPanasonicCamera::ToCameraFocusSpeed(int speed) {
    return CameraSpeed(speed, ptzModel().focusSpeed);
}

// A camera's speed is never converted back.
int CPanasonicCamera::ToNvrPanSpeed(int speed) {
    return speed;
}
int CPanasonicCamera::ToNvrTiltSpeed(int speed) {
    return speed;
}
int CPanasonicCamera::ToNvrZoomSpeed(int speed) {
    return speed;
}
int CPanasonicCamera::ToNvrFocusSpeed(int speed) {
    return speed;
}

int CPanasonicCamera::ToCameraPanPos(int pos) {
    const SRange& range = ptzModel().panPosition;
    return ToCameraPos(pos, range.minimum, range.maximum);
}
int CPanasonicCamera::ToCameraTiltPos(int pos) {
    const SRange& range = ptzModel().tiltPosition;
    return ToCameraPos(pos, range.minimum, range.maximum);
}
int CPanasonicCamera::ToCameraZoomPos(int pos) {
    const SRange& range = ptzModel().zoomPosition;
    return ToCameraPos(pos, range.minimum, range.maximum);
}
int CPanasonicCamera::ToNvrPanPos(int camPos) {
    const SRange& range = ptzModel().panPosition;
    return ToNvrPos(camPos, range.minimum, range.maximum);
}
int CPanasonicCamera::ToNvrTiltPos(int camPos) {
    const SRange& range = ptzModel().tiltPosition;
    return ToNvrPos(camPos, range.minimum, range.maximum);
}
int CPanasonicCamera::ToNvrZoomPos(int camPos) {
    const SRange& range = ptzModel().zoomPosition;
    return ToNvrPos(camPos, range.minimum, range.maximum);
}

int CPanasonicCamera::ToCameraPos(int pos, int min, int max) {
    if (pos < 0)
        return min;
    return Scaled(std::int64_t{max} - min, std::min(pos, HighestPosition), HighestPosition, min);
}

int CPanasonicCamera::ToNvrPos(int camPos, int min, int max) {
    if (max == min)
        return 0;
    const int clamped = std::min(std::max(camPos, min), max);
    return Scaled(std::int64_t{clamped} - min, HighestPosition, std::int64_t{max} - min, 0);
}

} // namespace corvane::panasonic_camera
