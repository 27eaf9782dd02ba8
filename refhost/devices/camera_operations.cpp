// The base camera's operations that can be called by name.

#include "host/camera.h"
#include "operations/operations.h"

namespace corvane::vorn_camera_base::v1_0 {
namespace {

using device_handler::v1_0::SInOut;

void RegisterIdentity(COperationRegistry& registry, CVornCamera* camera) {
    using C = CVornCamera;
    registry.add("initialize", camera, &C::initialize, {});
    registry.add("preInit_getUnitModelName", camera, &C::preInit_getUnitModelName, {});
    registry.add("customInitialize", camera, &C::customInitialize, {});
    registry.add("testAuthentication", camera, &C::testAuthentication, {});
    registry.add("getUnitModelName", camera, &C::getUnitModelName, {});
    registry.add("isUnitModelSupported", camera, &C::isUnitModelSupported, {});
    registry.add("isUnitFirmwareSupported", camera, &C::isUnitFirmwareSupported, {});
    registry.add("getUnitFirmwareVersion", camera, &C::getUnitFirmwareVersion, {});
    registry.add("getInterfaceMac", camera, &C::getInterfaceMac, {"interface"});
    registry.add("getCameraName", camera, &C::getCameraName, {"input"});
    registry.add("rebootDevice", camera, &C::rebootDevice, {});
    registry.add("resetToFactoryDefaults", camera, &C::resetToFactoryDefaults, {});
}

void RegisterVideoStreams(COperationRegistry& registry, CVornCamera* camera) {
    using C = CVornCamera;
    registry.add("getVideoCodecProperties", camera, &C::getVideoCodecProperties, {"channel"});
    registry.add("getVideoCodecCount", camera, &C::getVideoCodecCount, {"channel"});
    registry.add("getVideoCodecId", camera, &C::getVideoCodecId, {"channel", "index"});
    registry.add("getVideoCodecMaxStreams", camera, &C::getVideoCodecMaxStreams, {"channel", "codec"});
    registry.add("getCameraMaxStreams", camera, &C::getCameraMaxStreams, {"channel"});
    registry.add("mapVideoStreamToActualCameraStream", camera, &C::mapVideoStreamToActualCameraStream,
                 {"id"});
    registry.add("findAssociatedStream", camera, &C::findAssociatedStream, {"id"});
    registry.add("getVideoCodecResolutionList", camera, &C::getVideoCodecResolutionList,
                 {"channel", "codec"});
    registry.add("readVideoStreamRecord", camera, &C::readVideoStreamRecord, {"id"});
    registry.add("writeVideoStreamRecord", camera, &C::writeVideoStreamRecord, {"id", "record"});
    registry.add("syncVideoCodecProperties", {"record", "id"},
                 boost::function<CError(SInOut<SVornVidValsInDb>&, SVideoStreamId)>(
                     [camera](SInOut<SVornVidValsInDb>& record, SVideoStreamId id) {
                         return camera->syncVideoCodecProperties(record.value, id);
                     }));
    registry.add("getVideoStreamUrl", camera, &C::getVideoStreamUrl, {"id"});
    registry.add("isActiveVideoStream", camera, &C::isActiveVideoStream, {"id"});
}

void RegisterVideoSettings(COperationRegistry& registry, CVornCamera* camera) {
    using C = CVornCamera;
    const auto add = [&](const char* name, auto member) {
        registry.add(name, camera, member, {"channel", "stream", "codec", "value"});
    };
    add("getVideoCodecResolutionRange", &C::getVideoCodecResolutionRange);
    add("getVideoCodecBitRateRange", &C::getVideoCodecBitRateRange);
    add("getVideoCodecQualityRange", &C::getVideoCodecQualityRange);
    add("getVideoCodecFrameRateRange", &C::getVideoCodecFrameRateRange);
    add("getVideoCodecKeyFrameIntervalRange", &C::getVideoCodecKeyFrameIntervalRange);
    add("getVideoCodecBitRateControlRange", &C::getVideoCodecBitRateControlRange);
    add("getVideoCodecResolutionDefault", &C::getVideoCodecResolutionDefault);
    add("getVideoCodecBitRateDefault", &C::getVideoCodecBitRateDefault);
    add("getVideoCodecQualityDefault", &C::getVideoCodecQualityDefault);
    add("getVideoCodecFrameRateDefault", &C::getVideoCodecFrameRateDefault);
    add("getVideoCodecKeyFrameIntervalDefault", &C::getVideoCodecKeyFrameIntervalDefault);
    add("getVideoCodecBitRateControlDefault", &C::getVideoCodecBitRateControlDefault);
    add("getVideoCodecResolution", &C::getVideoCodecResolution);
    add("getVideoCodecBitRate", &C::getVideoCodecBitRate);
    add("getVideoCodecQuality", &C::getVideoCodecQuality);
    add("getVideoCodecFrameRate", &C::getVideoCodecFrameRate);
    add("getVideoCodecKeyFrameInterval", &C::getVideoCodecKeyFrameInterval);
    add("getVideoCodecBitRateControl", &C::getVideoCodecBitRateControl);
    add("setVideoCodecResolution", &C::setVideoCodecResolution);
    add("setVideoCodecBitRate", &C::setVideoCodecBitRate);
    add("setVideoCodecQuality", &C::setVideoCodecQuality);
    add("setVideoCodecFrameRate", &C::setVideoCodecFrameRate);
    add("setVideoCodecKeyFrameInterval", &C::setVideoCodecKeyFrameInterval);
    add("setVideoCodecBitRateControl", &C::setVideoCodecBitRateControl);
}

void RegisterPtzConversions(COperationRegistry& registry, CVornCamera* camera) {
    using C = CVornCamera;
    const auto add = [&](const char* name, auto member, const char* argument) {
        registry.add(name, camera, member, {argument});
    };
    add("ToCameraPanSpeed", &C::ToCameraPanSpeed, "speed");
    add("ToCameraTiltSpeed", &C::ToCameraTiltSpeed, "speed");
    add("ToCameraZoomSpeed", &C::ToCameraZoomSpeed, "speed");
    add("ToNvrPanSpeed", &C::ToNvrPanSpeed, "speed");
    add("ToNvrTiltSpeed", &C::ToNvrTiltSpeed, "speed");
    add("ToNvrZoomSpeed", &C::ToNvrZoomSpeed, "speed");
    add("ToCameraPanPos", &C::ToCameraPanPos, "pos");
    add("ToCameraTiltPos", &C::ToCameraTiltPos, "pos");
    add("ToCameraZoomPos", &C::ToCameraZoomPos, "pos");
    add("ToNvrPanPos", &C::ToNvrPanPos, "camPos");
    add("ToNvrTiltPos", &C::ToNvrTiltPos, "camPos");
    add("ToNvrZoomPos", &C::ToNvrZoomPos, "camPos");
    add("ToCameraFocusSpeed", &C::ToCameraFocusSpeed, "speed");
    add("ToNvrFocusSpeed", &C::ToNvrFocusSpeed, "speed");
    registry.add("ToCameraPos", camera, &C::ToCameraPos, {"pos", "min", "max"});
    registry.add("ToNvrPos", camera, &C::ToNvrPos, {"camPos", "min", "max"});
}

void RegisterPtz(COperationRegistry& registry, CVornCamera* camera) {
    using C = CVornCamera;
    registry.add("setAbsolutePtz", camera, &C::setAbsolutePtz, {"stream", "pan", "tilt", "zoom"});
    registry.add("setPtzPanPos", camera, &C::setPtzPanPos, {"stream", "pos"});
    registry.add("setPtzTiltPos", camera, &C::setPtzTiltPos, {"stream", "pos"});
    registry.add("setPtzZoomPos", camera, &C::setPtzZoomPos, {"stream", "pos"});
    registry.add("setPtzPosition", camera, &C::setPtzPosition, {"stream", "position"});
    registry.add("setRelativePtz", camera, &C::setRelativePtz,
                 {"stream", "pan", "tilt", "zoom", "iris", "focus"});
    registry.add("setContinuousPtz", camera, &C::setContinuousPtz, {"stream", "pan", "tilt", "zoom"});
    registry.add("setContinuousPtzFocus", camera, &C::setContinuousPtzFocus, {"stream", "speed"});
    registry.add("setContinuousPtzIris", camera, &C::setContinuousPtzIris, {"stream", "speed"});
    const auto addNumbered = [&](const char* name, auto member, const char* number) {
        registry.add(name, camera, member, {"stream", number});
    };
    addNumbered("setPtzPresetPos", &C::setPtzPresetPos, "preset");
    addNumbered("addPtzPresetPos", &C::addPtzPresetPos, "preset");
    addNumbered("clearPtzPresetPos", &C::clearPtzPresetPos, "preset");
    addNumbered("callPtzPresetPos", &C::callPtzPresetPos, "preset");
    addNumbered("startPtzPatternRecord", &C::startPtzPatternRecord, "pattern");
    addNumbered("stopPtzPatternRecord", &C::stopPtzPatternRecord, "pattern");
    addNumbered("selectPtzPattern", &C::selectPtzPattern, "pattern");
    addNumbered("clearPtzPatternRecord", &C::clearPtzPatternRecord, "pattern");
    addNumbered("cancelPtzPatternRecord", &C::cancelPtzPatternRecord, "pattern");
    registry.add("getPtzPatternCount", camera, &C::getPtzPatternCount, {"stream"});
    registry.add("getPtzProperties", camera, &C::getPtzProperties, {"stream"});
    registry.add("getPtzPanPos", camera, &C::getPtzPanPos, {"stream"});
    registry.add("getPtzTiltPos", camera, &C::getPtzTiltPos, {"stream"});
    registry.add("getPtzZoomPos", camera, &C::getPtzZoomPos, {"stream"});
    registry.add("getPtzPosition", camera, &C::getPtzPosition, {"stream"});
}

void RegisterAlarmInputs(COperationRegistry& registry, CVornCamera* camera) {
    using C = CVornCamera;
    registry.add("inputBase", camera, &C::inputBase, {"property"});
    registry.add("reIndex", camera, &C::reIndex, {"input", "property"});
    registry.add("getDryContactInputProperties", camera, &C::getDryContactInputProperties, {});
    registry.add("getDryContactInputCount", camera, &C::getDryContactInputCount, {});
    registry.add("setDryContactInputActiveState", camera, &C::setDryContactInputActiveState,
                 {"input", "level"});
    registry.add("getDryContactInputActiveState", camera, &C::getDryContactInputActiveState, {"input"});
    registry.add("getDryContactInputState", camera, &C::getDryContactInputState, {"input"});
    registry.add("getEventStreamUrl", camera, &C::getEventStreamUrl, {"input"});
}

void RegisterAudio(COperationRegistry& registry, CVornCamera* camera) {
    using C = CVornCamera;
    registry.add("isAudioSupported", camera, &C::isAudioSupported, {});
    registry.add("getAudioInputCount", camera, &C::getAudioInputCount, {});
    registry.add("getAudioInputCodecCount", camera, &C::getAudioInputCodecCount, {"input"});
    registry.add("getAudioInputCodecId", camera, &C::getAudioInputCodecId, {"input", "index"});
    registry.add("getAudioInputCodecBitRateRange", camera, &C::getAudioInputCodecBitRateRange,
                 {"input", "id"});
    registry.add("getAudioInputCodecQualityRange", camera, &C::getAudioInputCodecQualityRange,
                 {"input", "id"});
    registry.add("getAudioInputProperties", camera, &C::getAudioInputProperties, {"input"});
    registry.add("getAudioCodecBitRateDefault", camera, &C::getAudioCodecBitRateDefault, {"input", "id"});
    registry.add("setAudioInputCodecBitRate", camera, &C::setAudioInputCodecBitRate,
                 {"input", "codec", "rate"});
    registry.add("setAudioInputVolume", camera, &C::setAudioInputVolume, {"input", "volume"});
    registry.add("getAudioInputVolume", camera, &C::getAudioInputVolume, {"input"});
    registry.add("readAudioStreamRecord", camera, &C::readAudioStreamRecord, {"id"});
    registry.add("getAudioStreamUrl", {"values", "id"},
                 boost::function<CError(SVornAudValsInDb, SAudioStreamId, std::string&)>(
                     [camera](SVornAudValsInDb values, SAudioStreamId id, std::string& url) {
                         return camera->getAudioStreamUrl(values, id, url);
                     }));
    registry.add("invalidateAudioStream", camera, &C::invalidateAudioStream, {"id"});
}

void RegisterImageAndLens(COperationRegistry& registry, CVornCamera* camera) {
    using C = CVornCamera;
    const struct {
        const char* name; // behind "set" and "get"
        CError (C::*set)(int, CString);
        CError (C::*get)(int, std::vector<CString>&);
    } Adjustments[] = {
        {"VpaBrightness", &C::setVpaBrightness, &C::getVpaBrightness},
        {"VpaSharpness", &C::setVpaSharpness, &C::getVpaSharpness},
        {"VpaSaturation", &C::setVpaSaturation, &C::getVpaSaturation},
        {"VpaWhiteBalance", &C::setVpaWhiteBalance, &C::getVpaWhiteBalance},
        {"VpaBackLightComp", &C::setVpaBackLightComp, &C::getVpaBackLightComp},
        {"VpaVideoStandard", &C::setVpaVideoStandard, &C::getVpaVideoStandard},
        {"LensFocus", &C::setLensFocus, &C::getLensFocus},
        {"LensAutoFocus", &C::setLensAutoFocus, &C::getLensAutoFocus},
        {"LensWdr", &C::setLensWdr, &C::getLensWdr},
        {"LensDayNightMode", &C::setLensDayNightMode, &C::getLensDayNightMode},
        {"LensIris", &C::setLensIris, &C::getLensIris},
        {"LensAutoIris", &C::setLensAutoIris, &C::getLensAutoIris},
    };
    for (const auto& adjustment : Adjustments) {
        registry.add(std::string("set") + adjustment.name, camera, adjustment.set, {"input", "value"});
        registry.add(std::string("get") + adjustment.name, camera, adjustment.get, {"input"});
    }
    registry.add("getVpaProperties", camera, &C::getVpaProperties, {"input"});
}

} // namespace

void CVornCamera::registerOperations(COperationRegistry& registry) {
    RegisterIdentity(registry, this);
    RegisterVideoStreams(registry, this);
    RegisterVideoSettings(registry, this);
    RegisterPtzConversions(registry, this);
    RegisterPtz(registry, this);
    RegisterAlarmInputs(registry, this);
    RegisterAudio(registry, this);
    RegisterImageAndLens(registry, this);
}

} // namespace corvane::vorn_camera_base::v1_0
