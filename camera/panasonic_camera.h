#pragma once

#include "camera/capability.h"
#include "camera/weak_elements.h"
#include "host/camera.h"

#include <boost/shared_ptr.hpp>

#include <initializer_list>
#include <string>
#include <vector>

namespace corvane::panasonic_camera {

class CPanasonicSetting;

using device_handler::v1_0::AudioCodec;
using device_handler::v1_0::CError;
using device_handler::v1_0::COperationRegistry;
using device_handler::v1_0::COptional;
using device_handler::v1_0::CString;
using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::IDeviceContext;
using device_handler::v1_0::IStreamController;
using device_handler::v1_0::SStreamUrl;
using handler_impl::SAudioStreamId;
using handler_impl::SVideoStreamId;
using vorn_camera_base::v1_0::CVAPI_VALUE_TYPE;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_camera_base::v1_0::SVornAudValsInDb;
using vorn_camera_base::v1_0::SVornVidValsInDb;
using vorn_event::v1_0::DCState;

// A Panasonic network camera or encoder. Before `customInitialize` has made the settings, identity operations
// answer empty texts and commands fail with (16, 3, "property not found").
//
// Threads, ownership and outputs are those of CVornCamera.
class CPanasonicCamera : public CVornCamera {
public:
    // The arguments are CVornCamera's.
    CPanasonicCamera(boost::shared_ptr<IDeviceContext>& context, char const* cameraAddress,
                     boost::shared_ptr<CVornModelList>& models, char const* modelNumber);
    ~CPanasonicCamera() override;

    // Asks the camera with its family's model query. Fails with (10, 3, "Unable to get Authentication data"),
    // with (6, 3, "unable to create device DB proxy"), or as the exchange fails.
    CError preInit_getUnitModelName(std::string& model) override;

    // In this order: the authentication test, the settings cache, whose thread at once asks for
    // "/cgi-bin/setdata", and "/cgi-bin/get_capability". False when one fails; a repeated call makes only
    // what is still missing.
    bool customInitialize() override;

    // Fails with (16, 3, "Authentication is not set !") or, whatever went wrong, (10, 3, "Bad
    // Authentication").
    CError testAuthentication() override;

    // The model number with the prefix that the camera reported.
    CError getUnitModelName(CString& name) override;
    CError isUnitModelSupported(CString& supported) override;          // always the property value for 1
    CError isUnitFirmwareSupported(CString& supported) override;       // likewise
    CError getUnitFirmwareVersion(CString& version) override;          // "VERSION" of "/cgi-bin/getinfo"
    CError getInterfaceMac(int interfaceIndex, CString& mac) override; // "MAC" of it, whatever the index

    // Appends the title ("CAMTITLE", from the second input on "CAMTITLE2"), the title again, and "20".
    CError getCameraName(int index, std::vector<CString>& name) override;

    // "/cgi-bin/initial" with its command in the body; the result is the POST's.
    CError rebootDevice() override;
    CError resetToFactoryDefaults() override;

    // --- Video. The codec slots of an input: 0 is the family that the camera runs, MPEG-4 or H.264
    // ("STREAMMODE" where it has both), 1 is MJPEG. Stream 1 is the camera's second stream of a codec, any
    // other its first.

    // Whether the family that the camera runs is transmitted ("MPEG", "H264").
    bool IsH264OrMPEG4Supported();
    // 0: neither MPEG-4 nor H.264; 2: both, and "STREAMMODE" is "1"; 1 otherwise.
    int GetH264Mpeg4Mode();
    // Whether a stream must still be switched on, its transmission or its frame-rate priority being "0": 0
    // when not, else 1 for the first stream and 2 for the second.
    int GetH264Mpeg4TransmissionMode(SVideoStreamId& id);
    // Switches a stream's transmission and RTSP delivery on where they are off: "/cgi-bin/set_mpeg",
    // "/cgi-bin/set_h264" or their "_2", and "/cgi-bin/set_rtsp". For MJPEG it switches MPEG-4 off on a
    // camera that cannot run both. Whatever the camera answers, a success; the cache is not reloaded.
    CError SetupStreamTransmition(SVideoStreamId& id);
    // The image-capture mode as the capability's keys name it ("1_3m_r16_9"): from "IMAGESELECT",
    // "IMAGERATIO" and "IMAGESVGA".
    std::string GetImageMode();

    CError getVideoCodecProperties(int channel, std::vector<CString>& names) override;
    CError getVideoCodecCount(int channel, CString& count) override;
    // An index or a camera without a codec leaves `id` unchanged. Fails with (7, 3, "property not found")
    // when the camera does not say which family it runs.
    CError getVideoCodecId(int channel, int index, CString& id) override;
    // The smaller of the recorder's and the camera's; the recorder's when the camera's fails.
    CError getVideoCodecMaxStreams(int channel, VideoCodec codec, CString& max) override;
    // Recorder stream n is camera stream n, as far as the camera has one.
    int mapVideoStreamToActualCameraStream(SVideoStreamId id, int& cameraStream) override;
    int findAssociatedStream(SVideoStreamId id) override;

    // Ranges come from the capability, filtered by the image-capture mode; each is read anew. Where there is
    // no mode, or no resolution, (7, 0, "Device not accessible"). H.264 has no bit rate and no quality, and
    // no codec bit-rate control: (3, 3) with a text that says so. Frame rates also fail with (7, 3, "Device
    // access failed") or, for MPEG-4, (3, 3) when the mode has no highest one, and with (7, 3, "Wrong
    // parameter passed- Codec Information"). Defaults fail as their range does, and with (7, 3, "Device
    // access failed") when it is empty.
    CError getVideoCodecResolutionRange(int channel, int stream, VideoCodec codec,
                                        std::vector<CString>& range, CVAPI_VALUE_TYPE& type) override;
    CError getVideoCodecBitRateRange(int channel, int stream, VideoCodec codec, std::vector<CString>& range,
                                     CVAPI_VALUE_TYPE& type) override;
    CError getVideoCodecQualityRange(int channel, int stream, VideoCodec codec, std::vector<CString>& range,
                                     CVAPI_VALUE_TYPE& type) override;
    CError getVideoCodecFrameRateRange(int channel, int stream, VideoCodec codec, std::vector<CString>& range,
                                       CVAPI_VALUE_TYPE& type) override;
    // In frames, at the camera's current frame rate.
    CError getVideoCodecKeyFrameIntervalRange(int channel, int stream, VideoCodec codec,
                                              std::vector<CString>& range, CVAPI_VALUE_TYPE& type) override;
    // In frames, at `frameRate` frames per second in decimal; none for a frame rate that cannot be read.
    CError getVideoCodecKeyFrameIntervalRange(int channel, int stream, VideoCodec codec,
                                              std::vector<CString>& range, CVAPI_VALUE_TYPE& type,
                                              const std::string& frameRate);
    CError getVideoCodecBitRateControlRange(int channel, int stream, VideoCodec codec,
                                            std::vector<CString>& range, CVAPI_VALUE_TYPE& type) override;
    CError getVideoCodecResolutionList(int channel, VideoCodec codec, std::vector<CString>& list) override;

    CError getVideoCodecResolutionDefault(int channel, int stream, VideoCodec codec,
                                          std::string& value) override;
    CError getVideoCodecBitRateDefault(int channel, int stream, VideoCodec codec,
                                       std::string& value) override;
    CError getVideoCodecQualityDefault(int channel, int stream, VideoCodec codec,
                                       std::string& value) override;
    CError getVideoCodecFrameRateDefault(int channel, int stream, VideoCodec codec,
                                         std::string& value) override;
    CError getVideoCodecKeyFrameIntervalDefault(int channel, int stream, VideoCodec codec,
                                                std::string& value) override;
    CError getVideoCodecBitRateControlDefault(int channel, int stream, VideoCodec codec,
                                              std::string& value) override;

    // The frame rate that the camera runs now: "LIVEINT", "NRFRAMERATE" or "H264NRFRAMERATE" with its stream
    // or channel. Fails with (7, 3, "Device access failed") when the camera does not report it.
    CError getVideoCodecFpsCurrentValue(int channel, int stream, VideoCodec codec, std::string& fps);

    // A stream's settings as the camera reports them, in its own form: the resolution as a width, MJPEG
    // quality from 0 to 10 where less is better, MPEG-4 quality as a word, the key-frame interval in seconds.
    // Fails with (16, 3, "property not found") without settings and for an unknown codec; `camera` is emptied
    // then too.
    CError getVideoCodecParameters(SVideoStreamId id, SVornVidValsInDb& camera);
    // Between the two forms. Only fields that are set, and can be read, change the output.
    void convertVideoCodecToNvr(const SVideoStreamId& id, const SVornVidValsInDb& camera,
                                SVornVidValsInDb& recorder);
    void convertVideoCodecToCamera(const SVideoStreamId& id, const SVornVidValsInDb& recorder,
                                   SVornVidValsInDb& camera);
    // Compares what the camera reports; bit-rate control takes no part.
    bool isSameVideoCodecParameters(SVideoStreamId id, const SVornVidValsInDb& recorder,
                                    const SVornVidValsInDb& camera);
    // Sends the recorder's record with one request ("/cgi-bin/set_jpeg", "set_mpeg", "set_h264" or their
    // "_2"); on a camera without "STREAMMODE" the frame rate of MPEG-4 goes before it, in "/cgi-bin/setdata",
    // whose failure does not count. Nothing is sent for an MPEG-4 stream other than 0 and 1. MPEG-4 and H.264
    // quality and bit rate are never sent. Fails with (16, 3, "property not found") without settings and for
    // an unknown codec, and as the request does.
    CError setVideoCodecToCamera(int channel, int stream, VideoCodec codec, const SVornVidValsInDb& recorder);
    CError syncVideoCodecProperties(SVornVidValsInDb& recorder, SVideoStreamId id) override;

    // After the base's, these copy the value to both streams of every input of a device whose inputs share
    // one encoder. A bit rate must be one of its range, (15, 3, "VideoCodecBitRate out of range"); it has
    // been written all the same. A failure to copy does not count. The resolution's is the base's alone.
    CError setVideoCodecBitRateControl(int channel, int stream, VideoCodec codec, CString value) override;
    CError setVideoCodecKeyFrameInterval(int channel, int stream, VideoCodec codec, CString value) override;
    CError setVideoCodecFrameRate(int channel, int stream, VideoCodec codec, CString value) override;
    CError setVideoCodecQuality(int channel, int stream, VideoCodec codec, CString value) override;
    CError setVideoCodecBitRate(int channel, int stream, VideoCodec codec, CString value) override;
    // That copying; `property` is one of video_property. Nothing for MJPEG and unknown codecs.
    CError checkVideoCodecSetting(int channel, VideoCodec codec, const std::string& property,
                                  const std::string& value);

    // --- Pan, tilt, zoom. Requests carry the input counted from 1 ("&ch=") where they carry it. What is sent
    // fails with (16, 3, "property not found") without settings, otherwise as its request does.

    // Speeds from 1 to 100, linearly over the camera's range, whose minimum counts as 1 when it is lower;
    // speeds above 100 are 100, below 1 they may leave the range.
    int ToCameraPanSpeed(int speed) override;
    int ToCameraTiltSpeed(int speed) override;
    int ToCameraZoomSpeed(int speed) override;
    int ToNvrPanSpeed(int speed) override; // a camera's speed is never converted back
    int ToNvrTiltSpeed(int speed) override;
    int ToNvrZoomSpeed(int speed) override;
    int ToCameraFocusSpeed(int speed) override;
    int ToNvrFocusSpeed(int speed) override;
    // Positions, linearly over the camera's range and clamped to it. The axes' operations use the last two.
    int ToCameraPanPos(int pos) override;
    int ToCameraTiltPos(int pos) override;
    int ToCameraZoomPos(int pos) override;
    int ToNvrPanPos(int camPos) override;
    int ToNvrTiltPos(int camPos) override;
    int ToNvrZoomPos(int camPos) override;
    int ToCameraPos(int pos, int min, int max) override;
    int ToNvrPos(int camPos, int min, int max) override; // 0 in a range of no width

    // "/cgi-bin/absctrl". A text that is empty or no number fails with (15, 3, "PtzPosition out of range")
    // and nothing is sent.
    CError setAbsolutePtz(int stream, int pan, int tilt, int zoom) override;
    CError setPtzPanPos(int stream, CString pos) override;
    CError setPtzTiltPos(int stream, CString pos) override;
    CError setPtzZoomPos(int stream, CString pos) override;
    CError setPtzPosition(int stream, CString position) override;
    // "/cgi-bin/camctrl", in up to four requests; a success whatever becomes of them.
    CError setRelativePtz(int stream, int pan, int tilt, int zoom, int iris, int focus) override;
    // "/cgi-bin/directctrl".
    CError setContinuousPtz(int stream, int pan, int tilt, int zoom) override;
    CError setContinuousPtzFocus(int stream, int speed) override;

    // "/cgi-bin/camposiset", "/cgi-bin/camctrl" and "/cgi-bin/set_patrol", with the model's offsets added to
    // the numbers. Patterns cannot be cleared: (3, 0, "Not supported feature").
#define VORN_PTZ_REQUEST(NAME, PATH, QUERY, OFFSET, HAS_CHANNEL) CError NAME(int stream, int number) override;
#include "camera/ptz_requests.def"
    CError clearPtzPatternRecord(int stream, int pattern) override;
    CError cancelPtzPatternRecord(int stream, int pattern) override;
    CError getPtzPatternCount(int stream, CString& count) override; // "PATROLNO", else the base's
    CError getPtzProperties(int stream, std::vector<CString>& props) override;

    // "/cgi-bin/absget"; a position that the reply does not hold counts as the camera's 0.
    CError getPtzPanPos(int stream, std::vector<CString>& out) override;
    CError getPtzTiltPos(int stream, std::vector<CString>& out) override;
    CError getPtzZoomPos(int stream, std::vector<CString>& out) override;
    CError getPtzPosition(int stream, std::vector<CString>& out) override;

    // --- Alarm inputs; input n is the camera's terminal n + 1. A camera without any fails with (7, 3,
    // "property not found"). Inputs from 0 to 2 have settings; a higher number is not refused.

    // Without alarm inputs "DryContactInputProperties" alone.
    CError getDryContactInputProperties(std::vector<CString>& names) override;
    CError getDryContactInputCount(CString& count) override; // of the capability
    // Lets the camera raise alarms for the input ("ATRMIN", "ATRMIN2", "ATRMIN3"; "/cgi-bin/jpeg_alarm").
    // Always a success. The next three do this first.
    CError CheckAndSetAlarm(int input);
    // "/cgi-bin/terminal_default"; "LOW" makes the contact normally open, anything else normally closed. A
    // success, whatever the camera answers.
    CError setDryContactInputActiveState(int input, CString level) override;
    // "AINMODE", "AINMODE2", "AINMODE3"; where the camera does not report it, appends "LOW" alone.
    CError getDryContactInputActiveState(int input, std::vector<CString>& values) override;
    // What the input's event stream says while there is one, else "/cgi-bin/get_io"; inactive, and a success,
    // also where the camera does not answer, which is logged.
    CError getDryContactInputState(int input, DCState& state) override;
    CError getEventStreamUrl(int input, std::string& url) override; // the monitor's request
    // A stream of pings, one a second, and of states, ten a second; no traffic before its start. Fails with
    // (10, 3, "Unable to get Authentication data"), as getDryContactInputCount does, and with (2, 3) and the
    // object of GStreamer that could not be made.
    CError createEventStreamPipeline(IStreamController*& controller, int input) override;

    // --- Audio. The camera's audio is G.726 beside the first stream of the codec family that it runs. An
    // input, or a stream of the same number, has audio when the capability counts it and that family is
    // transmitted (IsH264OrMPEG4Supported); where it has none these fail with (7, 3, "Property not found").

    CError isAudioSupported() override;
    CError getAudioInputCount(CString& count) override; // goes by input 0
    CError getAudioInputCodecCount(int input, CString& count) override;
    CError getAudioInputCodecId(int input, int index, CString& id) override;
    CError getAudioInputCodecBitRateRange(int input, SAudioStreamId id, std::vector<CString>& range) override;
    CError getAudioInputCodecQualityRange(int input, SAudioStreamId id, std::vector<CString>& range) override;
    // Without audio: "AudioInputProperties" alone, and a success.
    CError getAudioInputProperties(int input, std::vector<CString>& names) override;
    // The model list's first bit rate, with or without audio; (3, 3, "Property Not Supported") without any.
    CError getAudioCodecBitRateDefault(int input, SAudioStreamId id, std::string& rate) override;
    // "/cgi-bin/set_audio"; whatever the camera answers, the stream is invalidated and the call succeeds.
    CError setAudioInputCodecBitRate(int input, AudioCodec codec, CString rate) override;
    // "audio_sens" of "/cgi-bin/set_audio": low, middle or high for 0, 1 or 2; (15, 3, "unsupported volume
    // value") for any other text.
    CError setAudioInputVolume(int input, CString volume) override;
    // "AUDIOSENS", appended as current, default, minimum, maximum and step. Fails with (7, 0, "Device not
    // accessible") when the camera does not report it, and with (2, 3, "unrecognized volume value received
    // from camera.").
    CError getAudioInputVolume(int input, std::vector<CString>& values) override;
    // Switches the camera's audio on, at the bit rate in `values` (kbit/s), and its RTSP delivery:
    // "/cgi-bin/set_audio" and "/cgi-bin/set_rtsp". User and password stand in the location as they are.
    // Further failures: (2, 3, "stream mode could not be detected"), (3, 3, "Property Not Supported") where
    // the model list has no location, (10, 3, "Unable to get Authentication data"); and, with `url` set
    // already, (2, 0, "failed to set audio mode") and (2, 0, "failed to set audio rtsp mode").
    CError getAudioStreamUrl(SVornAudValsInDb& values, SAudioStreamId id, std::string& url) override;

    // --- Image. Writes go to "/cgi-bin/image_adjust" and fail as their request does, or with (16, 3,
    // "property not found") without settings. Getters fail with (15, 3, "invalid camera range") for an input
    // from the model's number of inputs on, with (3, 3, "Property Not Supported") for what the model list
    // does not give, and, back-light compensation apart, with (7, 0, "Device not accessible") for what the
    // camera does not report. Setters do not look at the input.

    // In percent of the model's range in the camera's units. A percentage that cannot be read sends the
    // model's default; getters append current, default, "0", "100" and "1", and take "50" for what has no
    // percentage: unreadable numbers, and a range of no width.
#define VORN_IMAGE_ADJUSTMENT(NAME, MEMBER, KEY, OTHER_KEY, QUERY)                                           \
    CError setVpa##NAME(int input, CString percent) override;                                                \
    CError getVpa##NAME(int input, std::vector<CString>& values) override;
#include "camera/image_adjustments.def"
    // A position in the model's list of words, from 1; (15, 3, "VpaWhiteBalance out of range"). The getter
    // appends current ("WHITEBALANCE", else "WHITEBAL"; the default for a word that is not in the list),
    // default, and every position.
    CError setVpaWhiteBalance(int input, CString position) override;
    CError getVpaWhiteBalance(int input, std::vector<CString>& values) override;
    // "1" on, any other text off. Fails with (15, 3, "VpaBackLightComp out of range") for an empty text and,
    // while "MEGASD" is "1", with (3, 3, "Parameter not supported when Super Dynamic settings is on"). The
    // getter then appends "0" alone, otherwise current ("BLC"), default, minimum, maximum and step.
    CError setVpaBackLightComp(int input, CString onOff) override;
    CError getVpaBackLightComp(int input, std::vector<CString>& values) override;
    CError setVpaVideoStandard(int input, CString standard) override; // (3, 3, "Property is not supported")
    CError getVpaVideoStandard(int input,
                               std::vector<CString>& values) override; // (3, 3, "property not found")
    // The base's names without "VpaVideoStandard", and without "VpaBackLightComp" where the camera does not
    // report "BLC".
    CError getVpaProperties(int input, std::vector<CString>& names) override;

    // --- Lens.

    // As brightness is, but through "/cgi-bin/absctrl" and "/cgi-bin/absget"; (3, 3, "Property is not found")
    // when the camera does not report "FOCUS".
    CError setLensFocus(int input, CString percent) override;
    CError getLensFocus(int input, std::vector<CString>& values) override;
    // "1" has the camera focus once; any other text does nothing.
    CError setLensAutoFocus(int input, CString value) override;
    CError getLensAutoFocus(int input, std::vector<CString>& values) override; // always "0", "0", "0", "1"
    // Super dynamic ("sd"), or "dark_revise" on a model of the kind AdaptiveBlackStretchOnly; the value is
    // sent as given. Fails with (15, 3, "LensWdr out of range") for an empty text and with (3, 3, "Property
    // is not found") on a Conditional model whose "IMAGESELECT" is set to anything but "1.3m" and "2m", or
    // whose "ALCELC" is empty, "elc" or "alc".
    CError setLensWdr(int input, CString value) override;
    // Current ("MEGASD", else "SDTHREE", else "WDR"; "DARKCOMP"), default, minimum and maximum; current alone
    // where a Conditional model cannot set it. Fails with (3, 3, "Property is not found") for a model without
    // a kind; does not look at the input.
    CError getLensWdr(int input, std::vector<CString>& values) override;
    // (3, 3, "Property is not supported").
    CError setLensDayNightMode(int input, CString value) override;
    CError getLensDayNightMode(int input, std::vector<CString>& values) override;
    CError setLensIris(int input, CString value) override;
    CError getLensIris(int input, std::vector<CString>& values) override;
    CError setLensAutoIris(int input, CString value) override;
    CError getLensAutoIris(int input, std::vector<CString>& values) override;

    void registerOperations(COperationRegistry& registry) override;

private:
    // The codec family that the camera runs; not known when it does not say, and no codec when it has none.
    struct SRunningFamily {
        bool isKnown;
        COptional<VideoCodec> codec;
    };

    CError sendInitial(const char* command);

    std::vector<std::string> settingKeys() const;
    // A cached setting; empty until initialised.
    std::string cameraSetting(const std::string& key) const;
    // That of the first key, null ones left out, that the camera reports.
    std::string firstSetting(std::initializer_list<const char*> keys) const;
    // The capability; one of an empty text until initialised.
    const CPanasonicCapability& capabilityOrNone() const;
    bool supports(VideoCodec codec) const;
    SRunningFamily runningFamily() const;
    CError rangeMode(std::string& mode);
    CError frameRateLimits(int stream, VideoCodec codec, const std::string& mode,
                           std::vector<std::string>& rates, std::string& max);
    COptional<std::string> recorderResolution(const SVideoStreamId& id, const std::string& width);
    std::string codedQuery(SVideoStreamId id, const SVornVidValsInDb& camera);

    // As CPanasonicSetting has them; without settings they fail.
    CError writeSetting(const std::string& path, const std::string& query);
    CError writeSettingNoReload(const std::string& path, const std::string& query);

    CError sendPtz(const std::string& request);
    CError sendPtzNoReload(const std::string& request);
    int signedSpeed(int (CPanasonicCamera::*convert)(int), int speed);
    CError readPosition(const char* key, int (CPanasonicCamera::*convert)(int), int home,
                        std::vector<CString>& out);
    CError readPositions(const std::vector<std::string>& keys, std::vector<std::string>& values);

    CError eventStreamFailure(const CError& error);
    CError configureEventSource(GstElement* source, int input,
                                const device_handler::v1_0::CAuthentication& credentials);

    bool hasAudio(int input);
    const SStreamUrl* findAudioUrl(const SAudioStreamId& id, VideoCodec codec);
    bool takesSecondAudioUrl(const SAudioStreamId& id, VideoCodec codec);

    CError readAdjustment(const device_handler::v1_0::SAdjustment& ofModel,
                          std::initializer_list<const char*> keys, int input, std::vector<CString>& values);
    // The checks before a picture or lens adjustment is read: the input, and whether the model list gives it.
    CError checkOffered(int input, bool isOfModel) const;
    std::string superDynamicState() const;
    bool canSetWideDynamicRange() const;

    CWeakElements eventSources_; // of the inputs whose streams live

    // NOLINTBEGIN(readability-identifier-naming): as the interface names them
    boost::shared_ptr<CPanasonicCapability> capability; // empty until initialised
    boost::shared_ptr<CPanasonicSetting> setting;       // empty until initialised
    bool nrH264Mode = false;                            // whether set requests use the "nr_" parameter names
    std::string modelName; // the model number's prefix, as the camera reported it
    // NOLINTEND(readability-identifier-naming)
};

} // namespace corvane::panasonic_camera
