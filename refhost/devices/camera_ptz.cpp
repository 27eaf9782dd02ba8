// The base camera's pan, tilt and zoom: what the model list knows, and no moves.

#include "host/camera.h"
#include "refhost/devices/camera_errors.h"

namespace corvane::vorn_camera_base::v1_0 {

using refhost::NotOfDevice;

const SPtzModel& CVornCamera::ptzModel() const {
    static const SPtzModel none;
    return model().ptz ? *model().ptz : none;
}

int CVornCamera::ToCameraPanSpeed(int speed) {
    return speed;
}
int CVornCamera::ToCameraTiltSpeed(int speed) {
    return speed;
}
int CVornCamera::ToCameraZoomSpeed(int speed) {
    return speed;
}
int CVornCamera::ToNvrPanSpeed(int speed) {
    return speed;
}
int CVornCamera::ToNvrTiltSpeed(int speed) {
    return speed;
}
int CVornCamera::ToNvrZoomSpeed(int speed) {
    return speed;
}
int CVornCamera::ToCameraPanPos(int pos) {
    return pos;
}
int CVornCamera::ToCameraTiltPos(int pos) {
    return pos;
}
int CVornCamera::ToCameraZoomPos(int pos) {
    return pos;
}
int CVornCamera::ToNvrPanPos(int camPos) {
    return camPos;
}
int CVornCamera::ToNvrTiltPos(int camPos) {
    return camPos;
}
int CVornCamera::ToNvrZoomPos(int camPos) {
    return camPos;
}
int CVornCamera::ToCameraFocusSpeed(int speed) {
    return speed;
}
int CVornCamera::ToNvrFocusSpeed(int speed) {
    return speed;
}
int CVornCamera::ToCameraPos(int pos, int, int) {
    return pos;
}
int CVornCamera::ToNvrPos(int camPos, int, int) {
    return camPos;
}

CError CVornCamera::setAbsolutePtz(int, int, int, int) {
    return NotOfDevice("absolute moves");
}
CError CVornCamera::setPtzPanPos(int, CString) {
    return NotOfDevice("absolute moves");
}
CError CVornCamera::setPtzTiltPos(int, CString) {
    return NotOfDevice("absolute moves");
}
CError CVornCamera::setPtzZoomPos(int, CString) {
    return NotOfDevice("absolute moves");
}
CError CVornCamera::setPtzPosition(int, CString) {
    return NotOfDevice("absolute moves");
}
CError CVornCamera::setRelativePtz(int, int, int, int, int, int) {
    return NotOfDevice("relative moves");
}
CError CVornCamera::setContinuousPtz(int, int, int, int) {
    return NotOfDevice("continuous moves");
}
CError CVornCamera::setContinuousPtzFocus(int, int) {
    return NotOfDevice("continuous focus");
}
CError CVornCamera::setContinuousPtzIris(int, int) {
    return NotOfDevice("continuous iris");
}
CError CVornCamera::setPtzPresetPos(int, int) {
    return NotOfDevice("presets");
}
CError CVornCamera::addPtzPresetPos(int, int) {
    return NotOfDevice("presets");
}
CError CVornCamera::clearPtzPresetPos(int, int) {
    return NotOfDevice("presets");
}
CError CVornCamera::callPtzPresetPos(int, int) {
    return NotOfDevice("presets");
}
CError CVornCamera::startPtzPatternRecord(int, int) {
    return NotOfDevice("patterns");
}
CError CVornCamera::stopPtzPatternRecord(int, int) {
    return NotOfDevice("patterns");
}
CError CVornCamera::selectPtzPattern(int, int) {
    return NotOfDevice("patterns");
}
CError CVornCamera::clearPtzPatternRecord(int, int) {
    return NotOfDevice("patterns");
}
CError CVornCamera::cancelPtzPatternRecord(int, int) {
    return NotOfDevice("patterns");
}
CError CVornCamera::getPtzPanPos(int, std::vector<CString>&) {
    return NotOfDevice("positions");
}
CError CVornCamera::getPtzTiltPos(int, std::vector<CString>&) {
    return NotOfDevice("positions");
}
CError CVornCamera::getPtzZoomPos(int, std::vector<CString>&) {
    return NotOfDevice("positions");
}
CError CVornCamera::getPtzPosition(int, std::vector<CString>&) {
    return NotOfDevice("positions");
}

CError CVornCamera::getPtzPatternCount(int, CString& count) {
    if (ptzModel().patternCount.empty())
        return NotOfDevice("patterns");
    count = ptzModel().patternCount;
    return CError::Success();
}

CError CVornCamera::getPtzProperties(int, std::vector<CString>&) {
    return model().ptz ? CError::Success() : NotOfDevice("pan, tilt and zoom");
}

} // namespace corvane::vorn_camera_base::v1_0
