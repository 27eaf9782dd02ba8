// The base camera's pan, tilt and zoom: what the model list knows, and no moves.

#include "host/camera.h"

namespace corvane::vorn_camera_base::v1_0 {
namespace {

using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;

CError notOfBase(const std::string& what) {
    return {RtnCode::NotSupported, Origin::General, "the device has no " + what};
}

} // namespace

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
    return notOfBase("absolute moves");
}
CError CVornCamera::setPtzPanPos(int, CString) {
    return notOfBase("absolute moves");
}
CError CVornCamera::setPtzTiltPos(int, CString) {
    return notOfBase("absolute moves");
}
CError CVornCamera::setPtzZoomPos(int, CString) {
    return notOfBase("absolute moves");
}
CError CVornCamera::setPtzPosition(int, CString) {
    return notOfBase("absolute moves");
}
CError CVornCamera::setRelativePtz(int, int, int, int, int, int) {
    return notOfBase("relative moves");
}
CError CVornCamera::setContinuousPtz(int, int, int, int) {
    return notOfBase("continuous moves");
}
CError CVornCamera::setContinuousPtzFocus(int, int) {
    return notOfBase("continuous focus");
}
CError CVornCamera::setContinuousPtzIris(int, int) {
    return notOfBase("continuous iris");
}
CError CVornCamera::setPtzPresetPos(int, int) {
    return notOfBase("presets");
}
CError CVornCamera::addPtzPresetPos(int, int) {
    return notOfBase("presets");
}
CError CVornCamera::clearPtzPresetPos(int, int) {
    return notOfBase("presets");
}
CError CVornCamera::callPtzPresetPos(int, int) {
    return notOfBase("presets");
}
CError CVornCamera::startPtzPatternRecord(int, int) {
    return notOfBase("patterns");
}
CError CVornCamera::stopPtzPatternRecord(int, int) {
    return notOfBase("patterns");
}
CError CVornCamera::selectPtzPattern(int, int) {
    return notOfBase("patterns");
}
CError CVornCamera::clearPtzPatternRecord(int, int) {
    return notOfBase("patterns");
}
CError CVornCamera::cancelPtzPatternRecord(int, int) {
    return notOfBase("patterns");
}
CError CVornCamera::getPtzPanPos(int, std::vector<CString>&) {
    return notOfBase("positions");
}
CError CVornCamera::getPtzTiltPos(int, std::vector<CString>&) {
    return notOfBase("positions");
}
CError CVornCamera::getPtzZoomPos(int, std::vector<CString>&) {
    return notOfBase("positions");
}
CError CVornCamera::getPtzPosition(int, std::vector<CString>&) {
    return notOfBase("positions");
}

CError CVornCamera::getPtzPatternCount(int, CString& count) {
    if (ptzModel().patternCount.empty())
        return notOfBase("patterns");
    count = ptzModel().patternCount;
    return CError::Success();
}

CError CVornCamera::getPtzProperties(int, std::vector<CString>&) {
    return model().ptz ? CError::Success() : notOfBase("pan, tilt and zoom");
}

} // namespace corvane::vorn_camera_base::v1_0
