// The operations of the camera, its settings and its capability that can be called by name.

#include "camera/panasonic_camera.h"
#include "camera/setting.h"

#include "operations/operations.h"

#include <initializer_list>
#include <utility>

namespace corvane::panasonic_camera {

using device_handler::v1_0::COperationError;
using device_handler::v1_0::STextList;

namespace {

// Adds member functions of an object that the camera makes only when it is initialised.
template <class Object>
class CLateOperations {
public:
    CLateOperations(COperationRegistry& registry, std::string group, const boost::shared_ptr<Object>& object)
        : registry_(registry), group_(std::move(group)), object_(object) {}

    template <class R, class... P>
    void add(const std::string& name, R (Object::*member)(P...),
             std::initializer_list<const char*> parameters) {
        addFunction(name, parameters,
                    boost::function<R(P...)>([object = target(), member](P... arguments) -> R {
                        return (object().*member)(std::forward<P>(arguments)...);
                    }));
    }
    template <class R, class... P>
    void add(const std::string& name, R (Object::*member)(P...) const,
             std::initializer_list<const char*> parameters) {
        addFunction(name, parameters,
                    boost::function<R(P...)>([object = target(), member](P... arguments) -> R {
                        return (object().*member)(std::forward<P>(arguments)...);
                    }));
    }
    template <class R, class... P>
    void addFunction(const std::string& name, std::initializer_list<const char*> parameters,
                     boost::function<R(P...)> function) {
        registry_.add(group_ + "." + name, parameters, std::move(function));
    }

    // Finds the object at the moment of a call.
    auto target() const {
        return [object = &object_, group = group_]() -> Object& {
            if (!*object)
                throw COperationError("the camera has no " + group +
                                      " object yet: customInitialize has not made it");
            return **object;
        };
    }

private:
    COperationRegistry& registry_;
    std::string group_;
    const boost::shared_ptr<Object>& object_;
};

void RegisterSetting(COperationRegistry& registry, const boost::shared_ptr<CPanasonicSetting>& setting) {
    CLateOperations<CPanasonicSetting> operations(registry, "setting", setting);
    using S = CPanasonicSetting;
    operations.add("CameraHttpGet", &S::CameraHttpGet, {"path", "timeoutSeconds"});
    operations.add("CameraHttpPost", &S::CameraHttpPost, {"path", "body", "timeoutSeconds"});
    // A second argument with a comma is a list of keys, any other a single key.
    operations.addFunction("GetDetailsFromUrl", {"path", "keys"},
                           boost::function<CError(const std::string&, STextList, std::vector<std::string>&)>(
                               [target = operations.target()](const std::string& path, const STextList& keys,
                                                              std::vector<std::string>& values) {
                                   return target().GetDetailsFromUrl(path, keys.texts, values);
                               }));
    operations.add<std::string, const std::string&, const std::string&>(
        "GetDetailsFromUrl", &S::GetDetailsFromUrl, {"path", "key"});
    operations.add("GetCameraSetting", &S::GetCameraSetting, {"key"});
    operations.add("SetCameraSetting", &S::SetCameraSetting, {"path", "query"});
    operations.add("SetCameraSettingNoReload", &S::SetCameraSettingNoReload, {"path", "query"});
    operations.add("ReloadSetting", &S::ReloadSetting, {});
    operations.add("GetCameraInfo", &S::GetCameraInfo, {"key"});
    operations.add("getDetailsFromSetdata", &S::getDetailsFromSetdata, {});
}

void RegisterCapability(COperationRegistry& registry,
                        const boost::shared_ptr<CPanasonicCapability>& capability) {
    CLateOperations<CPanasonicCapability> operations(registry, "capability", capability);
    using C = CPanasonicCapability;
    operations.add("IsAnalogInputSupported", &C::IsAnalogInputSupported, {});
    operations.add("IsImageModeSupported", &C::IsImageModeSupported, {});
    operations.add("getImageMode", &C::getImageMode, {});
    operations.add("getVideoCodecsSupported", &C::getVideoCodecsSupported, {});
    operations.add("getResolutionForCodec", &C::getResolutionForCodec, {"mode", "codec", "stream"});
    operations.add("getVideoCodecFrameRate", &C::getVideoCodecFrameRate, {"codec", "stream"});
    operations.add("getVideoCodecIInterval", &C::getVideoCodecIInterval, {"codec", "stream"});
    operations.add("getVideoCodecQuality", &C::getVideoCodecQuality, {"codec"});
    operations.add("getMaxFrameRate", &C::getMaxFrameRate, {"codec", "stream", "mode"});
    operations.add("getVideoCodecBandwidth", &C::getVideoCodecBandwidth, {"codec"});
    operations.add("IsDryContactSupported", &C::IsDryContactSupported, {});
    operations.add("getDryContactInputCount", &C::getDryContactInputCount, {});
    operations.add("IsAudioSupported", &C::IsAudioSupported, {"input"});
    registry.add("capability.SortResolutions", {"resolutionA", "resolutionB"},
                 boost::function<bool(const std::string&, const std::string&)>(SortResolutions));
}

void RegisterVideo(COperationRegistry& registry, CPanasonicCamera* camera) {
    using C = CPanasonicCamera;
    registry.add("IsH264OrMPEG4Supported", camera, &C::IsH264OrMPEG4Supported, {});
    registry.add("GetH264Mpeg4Mode", camera, &C::GetH264Mpeg4Mode, {});
    registry.add("GetH264Mpeg4TransmissionMode", camera, &C::GetH264Mpeg4TransmissionMode, {"id"});
    registry.add("SetupStreamTransmition", camera, &C::SetupStreamTransmition, {"id"});
    registry.add("GetImageMode", camera, &C::GetImageMode, {});
    registry.add<CPanasonicCamera, C, CError, int, int, VideoCodec, std::vector<CString>&, CVAPI_VALUE_TYPE&,
                 const std::string&>("getVideoCodecKeyFrameIntervalRange", camera,
                                     &C::getVideoCodecKeyFrameIntervalRange,
                                     {"channel", "stream", "codec", "frameRate"});
    registry.add("getVideoCodecFpsCurrentValue", camera, &C::getVideoCodecFpsCurrentValue,
                 {"channel", "stream", "codec"});
    registry.add("getVideoCodecParameters", camera, &C::getVideoCodecParameters, {"id"});
    registry.add("convertVideoCodecToNvr", camera, &C::convertVideoCodecToNvr, {"id", "camera"});
    registry.add("convertVideoCodecToCamera", camera, &C::convertVideoCodecToCamera, {"id", "recorder"});
    registry.add("isSameVideoCodecParameters", camera, &C::isSameVideoCodecParameters,
                 {"id", "recorder", "camera"});
    registry.add("setVideoCodecToCamera", camera, &C::setVideoCodecToCamera,
                 {"channel", "stream", "codec", "recorder"});
    registry.add("checkVideoCodecSetting", camera, &C::checkVideoCodecSetting,
                 {"channel", "codec", "property", "value"});
    registry.add("CheckAndSetAlarm", camera, &C::CheckAndSetAlarm, {"input"});
}

} // namespace

void CPanasonicCamera::registerOperations(COperationRegistry& registry) {
    CVornCamera::registerOperations(registry);
    RegisterVideo(registry, this);
    RegisterSetting(registry, setting);
    RegisterCapability(registry, capability);
}

} // namespace corvane::panasonic_camera
