#pragma once

#include "host/api.h"
#include "host/audio.h"
#include "host/device_context.h"
#include "host/error.h"
#include "host/events.h"
#include "host/model_list.h"
#include "host/stream_id.h"
#include "host/text.h"
#include "host/url.h"
#include "host/video.h"

#include <boost/shared_ptr.hpp>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace corvane::device_handler::v1_0 {
class COperationRegistry;
class IStreamController;
} // namespace corvane::device_handler::v1_0

namespace corvane::vorn_camera_base::v1_0 {

using device_handler::v1_0::AudioCodec;
using device_handler::v1_0::CError;
using device_handler::v1_0::COperationRegistry;
using device_handler::v1_0::CString;
using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::IDeviceContext;
using device_handler::v1_0::InputClass;
using device_handler::v1_0::IStreamController;
using device_handler::v1_0::SAdjustment;
using device_handler::v1_0::SModelInfo;
using device_handler::v1_0::SPtzModel;
using device_handler::v1_0::SVornUrl;
using device_handler::v1_0::VideoCodec;
using handler_impl::SAudioStreamId;
using handler_impl::SVideoStreamId;
using vorn_event::v1_0::DCState;

// The id, among the host's properties, of alarm inputs.
inline constexpr int DryContactInputProperty = 78;

// At which level an alarm input is active.
inline constexpr const char* ActiveLow = "LOW";
inline constexpr const char* ActiveHigh = "HIGH";

// A camera, as the recorder sees every camera: the generic logic, answered from the model list and the device
// database. A device handler derives from it and overrides what its devices do otherwise.
//
// The operations may be called from any thread once `initialize` has returned; `initialize` itself, and
// destruction, belong to one thread. Unless an operation says otherwise a failed call leaves its outputs
// unchanged.
class VORN_HOST_API CVornCamera {
public:
    // `address` is the device's (see host/cgi.h). `modelNumber` is the number without its prefix; when it is
    // empty or null, `initialize` asks the camera.
    CVornCamera(boost::shared_ptr<IDeviceContext>& context, char const* address,
                boost::shared_ptr<CVornModelList>& modelList, char const* modelNumber);
    virtual ~CVornCamera();
    CVornCamera(const CVornCamera&) = delete;
    CVornCamera& operator=(const CVornCamera&) = delete;

    // Brings the camera up: learns its model number (`preInit_getUnitModelName`) unless it was given, looks
    // it up in the model list, and runs `customInitialize`. Where the number was given, the camera is asked
    // last, for the prefix of its own name; that may fail. Fails with the error of the first step, with
    // (NotSupported, General) for a model that the list does not know, and with (NotAccessible, General) when
    // the device's own initialisation fails. May be repeated after a failure.
    CError initialize();

    // Asks the device for its model number, before initialisation. The base knows no way: (NotSupported,
    // General).
    virtual CError preInit_getUnitModelName(std::string& model);
    // The device's own part of the initialisation; true when the camera is usable. The base has nothing to
    // do.
    virtual bool customInitialize();
    // Proves the device's credentials with the model list's test request.
    virtual CError testAuthentication();

    // The model number without its prefix; (NotSet, General) while it is unknown.
    virtual CError getUnitModelName(CString& name);
    // Whether the framework supports this model and this firmware: the property value for 1 or 0. The base
    // supports the models of its list, with any firmware.
    virtual CError isUnitModelSupported(CString& supported);
    virtual CError isUnitFirmwareSupported(CString& supported);
    // The firmware version; the base knows none and answers an empty text.
    virtual CError getUnitFirmwareVersion(CString& version);
    // The MAC address of a network interface, counted from 0; the base answers an empty text.
    virtual CError getInterfaceMac(int interfaceIndex, CString& mac);
    // Appends, for video input `index` (from 0): the name, the default name, and the longest length in
    // characters. The base answers with the name in the device database, else "Camera N", counted from 1.
    virtual CError getCameraName(int index, std::vector<CString>& name);

    // Restarts the device, or puts it back to its factory defaults. The base knows no way: (NotSupported,
    // General).
    virtual CError rebootDevice();
    virtual CError resetToFactoryDefaults();

    // --- Video. `channel` is the video input, from 0, and `stream` the recorder's stream of the codec, from
    // 0. Ranges append to `range`. What a device must tell, the base knows no way to ask for: (NotSupported,
    // General).

    // Appends the names of the properties that a codec has.
    virtual CError getVideoCodecProperties(int channel, std::vector<CString>& names);
    // How many codecs the input offers at the same time, and which one is at `index`, from 0: the decimal
    // text of its VideoCodec. The base answers with the codecs that the model list gives streams to.
    virtual CError getVideoCodecCount(int channel, CString& count);
    virtual CError getVideoCodecId(int channel, int index, CString& id);
    // The highest number of streams, in decimal: the recorder's of a codec, and the camera's own. From the
    // model list; NotSupported where it gives none.
    virtual CError getVideoCodecMaxStreams(int channel, VideoCodec codec, CString& max);
    virtual CError getCameraMaxStreams(int channel, CString& max);
    // Which stream of the camera a stream of the recorder is: 1 and its number, or 2 when there is none. The
    // base takes the same number for both.
    virtual int mapVideoStreamToActualCameraStream(SVideoStreamId id, int& cameraStream);
    // The stream of the camera that a stream of the recorder goes with.
    virtual int findAssociatedStream(SVideoStreamId id);

    // The values that a setting may take, in the recorder's form.
    virtual CError getVideoCodecResolutionRange(int channel, int stream, VideoCodec codec,
                                                std::vector<CString>& range, CVAPI_VALUE_TYPE& type);
    virtual CError getVideoCodecBitRateRange(int channel, int stream, VideoCodec codec,
                                             std::vector<CString>& range, CVAPI_VALUE_TYPE& type);
    virtual CError getVideoCodecQualityRange(int channel, int stream, VideoCodec codec,
                                             std::vector<CString>& range, CVAPI_VALUE_TYPE& type);
    virtual CError getVideoCodecFrameRateRange(int channel, int stream, VideoCodec codec,
                                               std::vector<CString>& range, CVAPI_VALUE_TYPE& type);
    virtual CError getVideoCodecKeyFrameIntervalRange(int channel, int stream, VideoCodec codec,
                                                      std::vector<CString>& range, CVAPI_VALUE_TYPE& type);
    virtual CError getVideoCodecBitRateControlRange(int channel, int stream, VideoCodec codec,
                                                    std::vector<CString>& range, CVAPI_VALUE_TYPE& type);
    // Appends the resolutions of a codec.
    virtual CError getVideoCodecResolutionList(int channel, VideoCodec codec, std::vector<CString>& list);

    // What a setting is when nobody has chosen. The base knows the model list's qualities and bit rates.
    virtual CError getVideoCodecResolutionDefault(int channel, int stream, VideoCodec codec,
                                                  std::string& value);
    virtual CError getVideoCodecBitRateDefault(int channel, int stream, VideoCodec codec, std::string& value);
    virtual CError getVideoCodecQualityDefault(int channel, int stream, VideoCodec codec, std::string& value);
    virtual CError getVideoCodecFrameRateDefault(int channel, int stream, VideoCodec codec,
                                                 std::string& value);
    virtual CError getVideoCodecKeyFrameIntervalDefault(int channel, int stream, VideoCodec codec,
                                                        std::string& value);
    virtual CError getVideoCodecBitRateControlDefault(int channel, int stream, VideoCodec codec,
                                                      std::string& value);

    // The value in the stream's record, else the default.
    virtual CError getVideoCodecResolution(int channel, int stream, VideoCodec codec, CString& value);
    virtual CError getVideoCodecBitRate(int channel, int stream, VideoCodec codec, CString& value);
    virtual CError getVideoCodecQuality(int channel, int stream, VideoCodec codec, CString& value);
    virtual CError getVideoCodecFrameRate(int channel, int stream, VideoCodec codec, CString& value);
    virtual CError getVideoCodecKeyFrameInterval(int channel, int stream, VideoCodec codec, CString& value);
    virtual CError getVideoCodecBitRateControl(int channel, int stream, VideoCodec codec, CString& value);

    // Write the value, in the recorder's form, into the stream's record; no traffic. Fail with (OutOfRange,
    // General) for an input or a stream that the model does not have and for an empty value, with
    // (NotSupported, General) for a codec that it does not have, and as the device database does.
    virtual CError setVideoCodecResolution(int channel, int stream, VideoCodec codec, CString value);
    virtual CError setVideoCodecBitRate(int channel, int stream, VideoCodec codec, CString value);
    virtual CError setVideoCodecQuality(int channel, int stream, VideoCodec codec, CString value);
    virtual CError setVideoCodecFrameRate(int channel, int stream, VideoCodec codec, CString value);
    virtual CError setVideoCodecKeyFrameInterval(int channel, int stream, VideoCodec codec, CString value);
    virtual CError setVideoCodecBitRateControl(int channel, int stream, VideoCodec codec, CString value);

    // A stream's record in the device database: reading fills the fields that are set and empties the others,
    // writing leaves alone what is empty in `record`. Both fail as the setters do, but that nothing is said
    // of empty values; a failed writing may have written some fields.
    CError readVideoStreamRecord(SVideoStreamId id, SVornVidValsInDb& record);
    CError writeVideoStreamRecord(SVideoStreamId id, const SVornVidValsInDb& record);

    // Brings the device to the recorder's record of a stream. (OperationFailed, Handler) with the text
    // NeedWriteBack says that they differed, and that `recorder` now holds what the device accepted, as far
    // as it could be read, which the host then stores.
    virtual CError syncVideoCodecProperties(SVornVidValsInDb& recorder, SVideoStreamId id);

    // Where a stream can be played, from the model list, with the device's user and password in it,
    // percent-encoded. Fails with (NotSupported, General) when the list has no location.
    virtual CError getVideoStreamUrl(SVideoStreamId id, std::string& url);
    // Builds the pipeline that receives a stream; the caller owns `controller` (see
    // host/stream_controller.h).
    virtual CError createVideoStreamPipeline(IStreamController*& controller, SVideoStreamId id);
    // Whether a pipeline for the stream exists, whether or not data comes.
    virtual bool isActiveVideoStream(SVideoStreamId id);

    // --- Pan, tilt, zoom. `stream` is the video input, from 0. Positions are the recorder's, 0 to 10000 on
    // every axis; speeds are -100 to 100, the sign giving the direction (right, up, in); a position text is
    // "pan=P&tilt=T&zoom=Z", each part optional. The base moves nothing: what it cannot answer fails with
    // (NotSupported, General).

    // The model's ranges, home positions and offsets; all zero for a model without PTZ.
    const SPtzModel& ptzModel() const;

    virtual CError setAbsolutePtz(int stream, int pan, int tilt, int zoom);
    // `pos` is a position of the axis in decimal, `position` a position text.
    virtual CError setPtzPanPos(int stream, CString pos);
    virtual CError setPtzTiltPos(int stream, CString pos);
    virtual CError setPtzZoomPos(int stream, CString pos);
    virtual CError setPtzPosition(int stream, CString position);
    // Steps whose sizes the device chooses; the sign gives the direction.
    virtual CError setRelativePtz(int stream, int pan, int tilt, int zoom, int iris, int focus);
    // Moves until told otherwise; all zero stops. What the sign of a focus speed means is the device's.
    virtual CError setContinuousPtz(int stream, int pan, int tilt, int zoom);
    virtual CError setContinuousPtzFocus(int stream, int speed);
    virtual CError setContinuousPtzIris(int stream, int speed);

    // Presets and patterns (patrols), by the recorder's numbers.
    virtual CError setPtzPresetPos(int stream, int preset);
    virtual CError addPtzPresetPos(int stream, int preset);
    virtual CError clearPtzPresetPos(int stream, int preset);
    virtual CError callPtzPresetPos(int stream, int preset);
    virtual CError startPtzPatternRecord(int stream, int pattern);
    virtual CError stopPtzPatternRecord(int stream, int pattern);
    virtual CError selectPtzPattern(int stream, int pattern);
    virtual CError clearPtzPatternRecord(int stream, int pattern);
    virtual CError cancelPtzPatternRecord(int stream, int pattern);
    // In decimal; the base answers with the model list's.
    virtual CError getPtzPatternCount(int stream, CString& count);
    // Appends the names of further PTZ properties; fails with (NotSupported, General) for a model without
    // PTZ.
    virtual CError getPtzProperties(int stream, std::vector<CString>& props);

    // Append current, default, minimum, maximum and step; for getPtzPosition the first two are position
    // texts.
    virtual CError getPtzPanPos(int stream, std::vector<CString>& out);
    virtual CError getPtzTiltPos(int stream, std::vector<CString>& out);
    virtual CError getPtzZoomPos(int stream, std::vector<CString>& out);
    virtual CError getPtzPosition(int stream, std::vector<CString>& out);

    // --- Alarm inputs (dry contacts), numbered from 0.

    // The number that the model's first input of a kind has on the device, and the one that `input` has.
    // `property` is the kind's id (DryContactInputProperty). From the model list; 0 where it gives none.
    int inputBase(int property) const;
    int reIndex(int input, int property) const;

    // Appends the names of the properties that alarm inputs have.
    virtual CError getDryContactInputProperties(std::vector<CString>& names);
    // In decimal.
    virtual CError getDryContactInputCount(CString& count);
    // The level, "LOW" or "HIGH", at which an input is active. The getter appends current, default, lowest
    // and highest. The base keeps it in the device database, and fails as that does, or with (OutOfRange,
    // General).
    virtual CError setDryContactInputActiveState(int input, CString level);
    virtual CError getDryContactInputActiveState(int input, std::vector<CString>& values);
    virtual CError getDryContactInputState(int input, DCState& state);
    // Where the events of an input come from.
    virtual CError getEventStreamUrl(int input, std::string& url);
    // Builds the pipeline of an input's events; the caller owns `controller`, which is a
    // CEventStreamController (see host/event_stream_controller.h).
    virtual CError createEventStreamPipeline(IStreamController*& controller, int input);

    // --- Audio. `input` is the audio input, from 0. The base answers from the model list and the device
    // database; it fails with (OutOfRange, General) for an input that the model does not have, and with
    // (NotSupported, General) for what the list does not give.

    // Succeeds for a model with an audio input.
    virtual CError isAudioSupported();
    // In decimal: the inputs, an input's codecs, and the AudioCodec at `index`, from 0.
    virtual CError getAudioInputCount(CString& count);
    virtual CError getAudioInputCodecCount(int input, CString& count);
    virtual CError getAudioInputCodecId(int input, int index, CString& id);
    // Append the values that a codec may have: bit rates in kbit/s; no codec has qualities.
    virtual CError getAudioInputCodecBitRateRange(int input, SAudioStreamId id, std::vector<CString>& range);
    virtual CError getAudioInputCodecQualityRange(int input, SAudioStreamId id, std::vector<CString>& range);
    // Appends the names of the properties that an input has.
    virtual CError getAudioInputProperties(int input, std::vector<CString>& names);
    // In kbit/s: the list's first.
    virtual CError getAudioCodecBitRateDefault(int input, SAudioStreamId id, std::string& rate);
    // Writes the bit rate into the stream's record; empty is (OutOfRange, General).
    virtual CError setAudioInputCodecBitRate(int input, AudioCodec codec, CString rate);
    // Volumes go from 0 to 2. Setting writes it into the input's record, reading appends current (1 while
    // none was set), default, minimum, maximum and step.
    virtual CError setAudioInputVolume(int input, CString volume);
    virtual CError getAudioInputVolume(int input, std::vector<CString>& values);
    // The record of a stream in the device database, its bit rate the default while none was set.
    CError readAudioStreamRecord(SAudioStreamId id, SVornAudValsInDb& record);

    // Where a stream can be played, from the model list, with the device's user and password in it,
    // percent-encoded; `values` is the stream's record.
    virtual CError getAudioStreamUrl(SVornAudValsInDb& values, SAudioStreamId id, std::string& url);
    // The stream has changed: whoever plays it must build it anew. The base tells the device's log.
    virtual void invalidateAudioStream(SAudioStreamId id);

    // --- Image. `input` is the video input, from 0. Setting writes into the input's record in the device
    // database; getters append current (the default while none was set), default, and the limits (minimum,
    // maximum, step) or the allowed values. They fail with (OutOfRange, General) for an input that the model
    // does not have and for an empty value, and with (NotSupported, General) for what the list does not give.

    // In percent. The base, which knows no camera's units, has 50 for the default.
    virtual CError setVpaBrightness(int input, CString percent);
    virtual CError getVpaBrightness(int input, std::vector<CString>& values);
    virtual CError setVpaSharpness(int input, CString percent);
    virtual CError getVpaSharpness(int input, std::vector<CString>& values);
    virtual CError setVpaSaturation(int input, CString percent);
    virtual CError getVpaSaturation(int input, std::vector<CString>& values);
    // A position in the model list's white balances, from 1.
    virtual CError setVpaWhiteBalance(int input, CString position);
    virtual CError getVpaWhiteBalance(int input, std::vector<CString>& values);
    // "1" on, "0" off.
    virtual CError setVpaBackLightComp(int input, CString onOff);
    virtual CError getVpaBackLightComp(int input, std::vector<CString>& values);
    // The base has none: (NotSupported, General).
    virtual CError setVpaVideoStandard(int input, CString standard);
    virtual CError getVpaVideoStandard(int input, std::vector<CString>& values);
    // Appends the names of the adjustments that the list gives ("VpaBrightness"), and "VpaVideoStandard".
    virtual CError getVpaProperties(int input, std::vector<CString>& names);

    // --- Lens, as the image is. Focus in percent; auto focus and wide dynamic range "1" on, "0" off. The
    // base has no day and night mode, no iris and no auto focus: (NotSupported, General).
    virtual CError setLensFocus(int input, CString percent);
    virtual CError getLensFocus(int input, std::vector<CString>& values);
    virtual CError setLensAutoFocus(int input, CString value);
    virtual CError getLensAutoFocus(int input, std::vector<CString>& values);
    virtual CError setLensWdr(int input, CString value);
    virtual CError getLensWdr(int input, std::vector<CString>& values);
    virtual CError setLensDayNightMode(int input, CString value);
    virtual CError getLensDayNightMode(int input, std::vector<CString>& values);
    virtual CError setLensIris(int input, CString value);
    virtual CError getLensIris(int input, std::vector<CString>& values);
    virtual CError setLensAutoIris(int input, CString value);
    virtual CError getLensAutoIris(int input, std::vector<CString>& values);

    // --- PTZ, between the recorder's scales and the camera's. The base takes both for the same.

    virtual int ToCameraPanSpeed(int speed);
    virtual int ToCameraTiltSpeed(int speed);
    virtual int ToCameraZoomSpeed(int speed);
    virtual int ToNvrPanSpeed(int speed);
    virtual int ToNvrTiltSpeed(int speed);
    virtual int ToNvrZoomSpeed(int speed);
    virtual int ToCameraPanPos(int pos);
    virtual int ToCameraTiltPos(int pos);
    virtual int ToCameraZoomPos(int pos);
    virtual int ToNvrPanPos(int camPos);
    virtual int ToNvrTiltPos(int camPos);
    virtual int ToNvrZoomPos(int camPos);
    virtual int ToCameraFocusSpeed(int speed);
    virtual int ToNvrFocusSpeed(int speed);
    virtual int ToCameraPos(int pos, int min, int max);
    virtual int ToNvrPos(int camPos, int min, int max);

    // Adds every operation that can be called by name (see operations/operations.h) to `registry`, which must
    // not outlive the camera. A device's camera calls the base's first and then adds its own.
    virtual void registerOperations(COperationRegistry& registry);

    // GET of one value: the text behind the URL's reply key in the reply, up to the first delimiter; empty
    // when the reply does not hold the key. Takes 4 seconds at most. Arguments and failures as in host/cgi.h;
    // a failure leaves `value` unchanged.
    static CError getCamSingleValue(const std::string& address, const SVornUrl& url, const std::string& user,
                                    const std::string& password, std::string& value,
                                    const std::string& delimiters, const std::string& authScheme);

protected:
    const boost::shared_ptr<IDeviceContext>& deviceContext() const { return deviceContext_; }
    const std::string& address() const { return address_; }
    const boost::shared_ptr<CVornModelList>& modelList() const { return modelList_; }
    // The model's record; empty defaults while the model is unknown.
    const SModelInfo& model() const { return *model_; }

    // A value of one of the device's inputs, numbered from 0, in the device database. Fail as
    // IDeviceDbProxy's operations do, and with (DeviceDbUnavailable, General) without a database.
    CError readFromInputDb(InputClass inputClass, int input, const std::string& key, CString& value);
    CError writeToInputDb(InputClass inputClass, int input, const std::string& key, const CString& value);

private:
    using VideoDefault = CError (CVornCamera::*)(int, int, VideoCodec, std::string&);
    CError checkVideoInput(int input) const;
    CError checkVideoStream(const SVideoStreamId& id) const;
    CError readVideoProperty(const SVideoStreamId& id, const char* property, VideoDefault defaultOf,
                             CString& value);
    CError writeVideoProperty(const SVideoStreamId& id, const char* property, const CString& value);
    std::shared_ptr<const void> useOf(const SVideoStreamId& id);
    CError checkAudioInput(int input) const;
    CError readPercent(int input, const char* property, const SAdjustment& adjustment,
                       std::vector<CString>& values);
    CError readSwitch(int input, const char* property, bool isOfModel, std::vector<CString>& values);
    CError readInputValue(int input, const char* property, bool isOfModel, CString& value);
    CError writeInputValue(int input, const char* property, bool isOfModel, const CString& value);

    boost::shared_ptr<IDeviceContext> deviceContext_;
    std::string address_;
    boost::shared_ptr<CVornModelList> modelList_;
    std::string modelNumber_;
    bool hasToldItsName_ = false; // preInit_getUnitModelName has succeeded
    const SModelInfo* model_;     // never null

    std::mutex usesMutex_; // guards uses_
    // Each use is held by the pipelines of its stream.
    std::map<SVideoStreamId, std::weak_ptr<const void>> uses_;
};

} // namespace corvane::vorn_camera_base::v1_0
