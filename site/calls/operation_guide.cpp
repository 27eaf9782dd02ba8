#include "site/calls/operation_guide.h"

#include <nlohmann/json.hpp>

#include <fnmatch.h>

namespace corvane::site {
namespace {

// A row is of the operations whose name is `name`, in which "*" stands for any text; that text stands in
// `does` for
// "%". The first row that fits holds.
struct SGuide {
    const char* name;
    const char* does;
};

constexpr const char* NotKnown = "This camera family does not have it.";

constexpr SGuide Guides[] = {
    {"initialize", "Initialises the camera object, as a recorder does once; true when the camera is usable."},
    {"preInit_getUnitModelName", "Asks the camera for its model number, before it is initialised."},
    {"customInitialize", "The plug-in's own part of the initialisation: settings, capability, inputs."},
    {"testAuthentication", "Proves the credentials with the model list's test request."},
    {"getUnitModelName", "The model number, as the camera tells it."},
    {"isUnitModelSupported", "Whether this model is supported: 1 or 0."},
    {"isUnitFirmwareSupported", "Whether this firmware is supported: 1 or 0."},
    {"getUnitFirmwareVersion", "The firmware's version, from the camera's identity."},
    {"getInterfaceMac", "The MAC address, from the camera's identity."},
    {"getCameraName", "A video input's title, its default, and the longest length in characters."},
    {"rebootDevice", "Restarts the camera."},
    {"resetToFactoryDefaults", "Puts the camera back to its factory defaults."},

    {"getVideoCodecProperties", "The names of the settings that a codec has."},
    {"getVideoCodecCount", "How many codecs a video input offers at the same time."},
    {"getVideoCodecId", "The codec at a place among those of a video input."},
    {"getVideoCodecMaxStreams", "How many streams of a codec there can be for the recorder."},
    {"getCameraMaxStreams", "How many streams the camera itself has."},
    {"mapVideoStreamToActualCameraStream", "Which stream of the camera a recorder's stream is; 2 for none."},
    {"findAssociatedStream", "The camera's stream that a recorder's stream goes with."},
    {"getVideoCodecResolutionList", "The resolutions of a codec in the camera's present image mode."},
    {"getVideoCodecFpsCurrentValue", "The frame rate that the camera runs now."},
    {"getVideoCodecParameters", "A stream's settings as the camera reports them, in the camera's own form."},
    {"getVideoCodecKeyFrameIntervalRange",
     "Which key-frame intervals, in frames, a stream may have; at the camera's frame rate or a given one."},
    {"getVideoCodec*Range", "Which values a stream's % may have at the camera."},
    {"getVideoCodec*Default", "A stream's % when nobody has chosen one."},
    {"getVideoCodec*", "A stream's % in the recorder's record."},
    {"setVideoCodecResolution", "Writes a stream's Resolution into the recorder's record; nothing is sent."},
    {"setVideoCodecToCamera", "Sends a recorder's record to the camera, in the camera's own form."},
    {"setVideoCodec*",
     "Writes a stream's % into the recorder's record, and copies it where inputs share an encoder."},
    {"convertVideoCodecToNvr", "Converts a stream's settings from the camera's form into the recorder's."},
    {"convertVideoCodecToCamera", "Converts a stream's settings from the recorder's form into the camera's."},
    {"isSameVideoCodecParameters", "Whether the camera is set as the recorder's record wants it."},
    {"checkVideoCodecSetting", "Copies a setting to every stream where the inputs share one encoder."},
    {"syncVideoCodecProperties",
     "Sets the camera to a recorder's record, and answers with what it then reports."},
    {"readVideoStreamRecord", "The recorder's record of a video stream."},
    {"writeVideoStreamRecord", "Writes the recorder's record of a video stream; nothing is sent."},
    {"getVideoStreamUrl", "Where a video stream can be played, with user and password in it."},
    {"isActiveVideoStream", "Whether the recorder plays a stream now."},
    {"IsH264OrMPEG4Supported", "Whether the codec family that the camera runs is transmitted."},
    {"GetH264Mpeg4Mode", "0 neither MPEG-4 nor H.264; 2 both, and H.264 is on; else 1."},
    {"GetH264Mpeg4TransmissionMode",
     "Whether a stream must be switched on: 0 no, 1 the first, 2 the second."},
    {"SetupStreamTransmition", "Switches a stream's transmission and RTSP delivery on where they are off."},
    {"GetImageMode", "The image mode, as the camera's capability names it."},

    {"setAbsolutePtz", "Moves the head to a position of all three axes."},
    {"setPtzPosition", "Moves the head to a position text."},
    {"setPtzPresetPos", "Keeps the present position as a preset."},
    {"setPtz*Pos", "Moves the axis % to a position."},
    {"addPtzPresetPos", "Keeps the present position as a preset."},
    {"clearPtzPresetPos", "Forgets a preset."},
    {"callPtzPresetPos", "Moves the head to a preset."},
    {"setRelativePtz", "Moves the head by steps whose sizes the camera has; a success whatever it answers."},
    {"setContinuousPtz", "Moves the head until told otherwise."},
    {"setContinuousPtz*", "Moves the % until told otherwise."},
    {"startPtzPatternRecord", "Begins to record a pattern."},
    {"stopPtzPatternRecord", "Ends the recording or the playing of a pattern."},
    {"selectPtzPattern", "Plays a pattern."},
    {"clearPtzPatternRecord", NotKnown},
    {"cancelPtzPatternRecord", NotKnown},
    {"getPtzPatternCount", "How many patterns there are."},
    {"getPtzProperties", "The names of further PTZ properties; fails for a model without a head."},
    {"getPtzPosition",
     "Where the head is: current and default as position texts, minimum, maximum and step."},
    {"getPtz*Pos", "Where the axis % is: current, default, minimum, maximum and step."},
    {"ToCameraPos", "A recorder's position in the camera's units, for a range of positions."},
    {"ToNvrPos", "A camera's position on the recorder's scale, for a range of positions."},
    {"ToCamera*Speed", "A recorder's % speed in the camera's units."},
    {"ToNvr*Speed", "The same number: a camera's speed is never converted back."},
    {"ToCamera*Pos", "A recorder's % position in the camera's units."},
    {"ToNvr*Pos", "A camera's % position on the recorder's scale."},

    {"getDryContactInputProperties", "The names of the properties that alarm inputs have."},
    {"getDryContactInputCount", "How many alarm inputs the camera has."},
    {"setDryContactInputActiveState", "Sets the level at which an alarm input is active."},
    {"getDryContactInputActiveState", "That level: current, default, lowest and highest."},
    {"getDryContactInputState", "The state of an alarm input: 0 active, 1 inactive."},
    {"getEventStreamUrl", "Where the events of an alarm input come from."},
    {"CheckAndSetAlarm", "Lets the camera raise alarms for an input, where it does not."},
    {"inputBase", "The number that the model's first input of a kind has on the device."},
    {"reIndex", "The number that an input of a kind has on the device."},

    {"isAudioSupported", "Succeeds for a camera that has sound now."},
    {"getAudioInputCount", "How many audio inputs there are."},
    {"getAudioInputCodecCount", "How many codecs an audio input has."},
    {"getAudioInputCodecId", "The audio codec at a place among those of an input."},
    {"getAudioInputCodec*Range", "Which values the % of the sound may have."},
    {"getAudioInputProperties", "The names of the properties that an audio input has."},
    {"getAudioCodecBitRateDefault", "The bit rate of the sound when nobody has chosen one."},
    {"setAudioInputCodecBitRate", "Sets the bit rate of the sound at the camera."},
    {"setAudioInputVolume", "Sets how sensitive the microphone is."},
    {"getAudioInputVolume", "How sensitive the microphone is: current, default, minimum, maximum and step."},
    {"invalidateAudioStream", "Tells the recorder that a sound stream has changed; nothing is sent."},
    {"readAudioStreamRecord", "The recorder's record of a sound stream."},
    {"getAudioStreamUrl",
     "Switches the camera's sound on; where it can be played, with user and password in it."},

    {"getVpaProperties", "The names of the adjustments that a video input has."},
    {"setLensAutoFocus", "Has the camera focus once."},
    {"*etVpaVideoStandard", NotKnown},
    {"*etLensDayNightMode", NotKnown},
    {"*etLensIris", NotKnown},
    {"*etLensAutoIris", NotKnown},
    {"setVpa*", "Sets the picture's %."},
    {"getVpa*", "The picture's %: current, default, and the limits or the allowed values."},
    {"setLens*", "Sets the lens's %."},
    {"getLens*", "The lens's %: current, default, and the limits or the allowed values."},

    {"setting.CameraHttpGet", "GET of a path of the camera; its whole reply."},
    {"setting.CameraHttpPost", "POST of a body to a path of the camera; the reply's body is not told."},
    {"setting.GetDetailsFromUrl", "GET of a path; the values behind one key or several in its reply."},
    {"setting.GetCameraSetting",
     "A setting of the camera, from a dump that is not older than the last reload."},
    {"setting.SetCameraSetting", "Sends a setting, and has the settings read anew."},
    {"setting.SetCameraSettingNoReload", "Sends a setting; the settings are not read anew for it."},
    {"setting.ReloadSetting", "Has the next readers wait for fresh settings, if anything was sent since."},
    {"setting.GetCameraInfo", "A value of the camera's identity."},
    {"setting.getDetailsFromSetdata", "Reads the camera's settings now: 0, or -1 when that failed."},

    {"capability.IsAnalogInputSupported", "Whether the capability tells of analogue video inputs."},
    {"capability.IsImageModeSupported", "Whether the capability tells of image modes."},
    {"capability.getImageMode", "The image modes, in text order."},
    {"capability.getVideoCodecsSupported", "The codecs, as a sum: 1 MJPEG, 2 MPEG-4, 4 H.264."},
    {"capability.getResolutionForCodec", "The resolutions of a codec in an image mode, narrowest first."},
    {"capability.getVideoCodecFrameRate", "The frame rates of a codec, in text order."},
    {"capability.getVideoCodecIInterval", "The key-frame intervals of a codec in seconds, in text order."},
    {"capability.getVideoCodecQuality", "The qualities of a codec, in text order."},
    {"capability.getVideoCodecBandwidth", "The bandwidths of a codec, in text order."},
    {"capability.getMaxFrameRate",
     "The highest frame rate of a codec in an image mode; 30 where none is told."},
    {"capability.IsDryContactSupported", "Whether the camera has alarm inputs, and how many."},
    {"capability.getDryContactInputCount", "How many terminals of any kind the camera has."},
    {"capability.IsAudioSupported", "Whether the camera has an audio input."},
    {"capability.SortResolutions", "Whether a resolution is narrower than another."},

    {"controller.queryMovement", "Whether the head moves at all."},
    {"controller.moveTo", "Queues a move to a position of all three axes."},
    {"controller.moveBy", "Queues a move by steps whose sizes the camera has."},
    {"controller.moveAt",
     "Queues a move that goes on until told otherwise; some cameras are told anew each second."},
    {"controller.moveFocusAt", "Queues a move of the focus that goes on until told otherwise."},
    {"controller.moveIrisAt", "Queues a move of the iris; this camera family has none."},
    {"controller.setPreset", "Queues keeping the present position as a preset."},
    {"controller.clearPreset", "Queues forgetting a preset."},
    {"controller.callPreset", "Queues a move to a preset."},
    {"controller.startPatternRecord", "Queues the beginning of a pattern's recording."},
    {"controller.stopPatternRecord", "Queues the end of a pattern."},
    {"controller.selectPattern", "Queues the playing of a pattern."},
    {"controller.clearPatternRecord", NotKnown},
    {"controller.cancelPatternRecord", NotKnown},
    {"controller.*Menu", NotKnown},
    {"controller.LensRefocus", NotKnown},
    {"controller.getPTZPos", "Queues the question where the head is, as getPtzPosition answers it."},

    {"handler.getSupportedFamilies", "The device families that the handler supports."},
    {"handler.getSupportedOemIds", "The re-branded makes that the handler supports."},
    {"handler.getSupportedModelNums", "The model numbers that the handler supports."},
    {"handler.shutdownHandler", "Cancels the handler's waiting questions, and refuses later ones."},
    {"handler.getOemInfo", "The family that a re-branded make stands for."},
    {"handler.getModelInfo", "Whether the model list has a model."},
    {"handler.getDefaultAuthentication", "A family's default user; the password is not told."},
    {"handler.testAuthentication*", "Sends the model list's test request to an address."},
    {"handler.queryDevice*", "Which device is at an address: its family and its serial number."},
    {"handler.queryVornDevice", "Which device is at an address, by the plug-in's own question alone."},
    {"handler.findDevices*", "Which devices are at several addresses."},
};

// As above; the first row that fits both names holds.
struct SArgumentGuide {
    const char* operation;
    const char* argument;
    const char* range;
};

constexpr const char* SizedStep = "the step's direction and size: to 50, 100, 200, 300, and beyond; 0 none";
constexpr const char* SignedStep = "the step's direction; 0 none";
constexpr const char* WholeAxis = "0 to 10000, over the axis's whole range";
constexpr const char* DirectedSpeed = "direction and speed, -100 to 100; 0 stops";
constexpr const char* RecordersNumber = "the recorder's number; the model list's offset is added";
constexpr const char* AlarmInput = "an alarm input, from 0";

constexpr SArgumentGuide ArgumentGuides[] = {
    {"getInterfaceMac", "interface", "a network interface, from 0; whatever it is, the camera's one address"},
    {"*", "channel", "a video input, from 0"},
    {"*", "index", "a place among them, from 0 to the count less 1"},
    {"*Ptz*", "stream", "a video input, from 0"},
    {"*", "stream", "a stream of the codec, from 0: 1 is the camera's second, any other its first"},
    {"*Audio*", "codec", "an audio codec by its number"},
    {"*", "codec", "mjpeg, mpeg4 or h264, or its number"},
    {"*Audio*", "id", "stream and codec of a sound, as in 0,0"},
    {"*", "id", "video input, codec and stream, as in 0,h264,0"},
    {"setVideoCodecResolution", "value", "WIDTHxHEIGHT, as its range has it"},
    {"setVideoCodec*", "value", "a value of its range, or between the ends of one that has a step"},
    {"checkVideoCodecSetting", "property",
     "VideoCodecBitRate, VideoCodecQuality, VideoCodecFrameRate and so on"},
    {"checkVideoCodecSetting", "value", "a value of the setting's range"},
    {"getVideoCodecKeyFrameIntervalRange", "frameRate", "frames per second, more than 0"},
    {"*", "record", "any of frameRate, resolution, quality, keyFrameInterval, bitRate, bitRateControl"},
    {"*", "recorder", "a stream's fields in the recorder's form"},
    {"*", "camera", "a stream's fields in the camera's own form"},

    {"*etRelativePtz", "pan", SizedStep},
    {"*etRelativePtz", "tilt", SizedStep},
    {"*etRelativePtz", "*", SignedStep},
    {"controller.moveBy", "pan", SizedStep},
    {"controller.moveBy", "tilt", SizedStep},
    {"controller.moveBy", "*", SignedStep},
    {"setAbsolutePtz", "*", WholeAxis},
    {"controller.moveTo", "*", WholeAxis},
    {"setContinuousPtz*", "*", DirectedSpeed},
    {"controller.move*At", "*", DirectedSpeed},
    {"setPtz*Pos", "pos", WholeAxis},
    {"*", "position", "pan=N&tilt=N&zoom=N, each from 0 to 10000; what is left out stays"},
    {"*", "preset", RecordersNumber},
    {"*", "pattern", RecordersNumber},
    {"*", "speed", "1 to 100; more counts as 100"},
    {"*", "pos", "0 to 10000; what is beyond counts as the end"},
    {"*", "camPos", "in the camera's units; what is beyond its range counts as the end"},
    {"*", "min", "the lowest position in the camera's units"},
    {"*", "max", "the highest position in the camera's units"},

    {"*DryContact*", "level", "LOW (normally open) or HIGH (normally closed)"},
    {"*DryContact*", "input", AlarmInput},
    {"getEventStreamUrl", "input", AlarmInput},
    {"CheckAndSetAlarm", "input", AlarmInput},
    {"*", "property", "the number of a kind of input, as the model list has it"},
    {"reIndex", "input", "an input of that kind, from 0"},
    {"*Audio*", "input", "an audio input, from 0"},
    {"*", "input", "a video input, from 0"},
    {"setAudioInputCodecBitRate", "rate", "kbit/s, a value of its range"},
    {"setAudioInputVolume", "volume", "0 low, 1 middle, 2 high"},
    {"getAudioStreamUrl", "values", "bitRate in kbit/s"},
    {"setVpaWhiteBalance", "value", "a place in the model's list of kinds, from 1"},
    {"setVpaBackLightComp", "value", "1 on, any other text off"},
    {"setLensAutoFocus", "value", "1; any other text does nothing"},
    {"setLensWdr", "value", "as the getter's limits have it"},
    {"set*", "value", "percent of the model's range, 0 to 100"},

    {"setting.CameraHttp*", "path", "path and query, as in /cgi-bin/getinfo?FILE=1"},
    {"setting.SetCameraSetting*", "path", "a path; with an empty query it is sent as a GET"},
    {"*", "path", "path and query, as in /cgi-bin/getinfo?FILE=1"},
    {"*", "body", "the POST's body, as it is sent"},
    {"*", "timeoutSeconds", "for the whole exchange, in seconds"},
    {"*", "query", "NAME=VALUE pairs joined by &, as they are sent"},
    {"setting.GetCameraInfo", "key", "MAC, VERSION or NAME"},
    {"setting.GetCameraSetting", "key", "the setting's name, as in CAMTITLE"},
    {"*", "key", "what stands before the value, as in PAN="},
    {"*", "keys", "several such, each ended by a comma"},
    {"*", "mode", "an image mode of capability.getImageMode; empty for a camera without"},
    {"*", "resolutionA", "WIDTHxHEIGHT"},
    {"*", "resolutionB", "WIDTHxHEIGHT"},

    {"*", "oemId", "a re-branded make's name"},
    {"*", "model", "a model number"},
    {"*", "family", "a family's name"},
    {"*", "address", "a host name or dotted address, with :PORT where that is not 80"},
    {"*", "addresses", "such addresses"},
};

bool Fits(const std::string& name, const char* pattern) {
    return fnmatch(pattern, name.c_str(), 0) == 0;
}

// What the one "*" of a pattern that fits stands for.
std::string Part(const std::string& name, const std::string& pattern) {
    return name.substr(pattern.find('*'), name.size() - (pattern.size() - 1));
}

} // namespace

std::string GuideToOperation(const std::string& operation) {
    for (const SGuide& guide : Guides) {
        if (!Fits(operation, guide.name))
            continue;
        std::string does = guide.does;
        if (const std::size_t place = does.find('%'); place != std::string::npos)
            does.replace(place, 1, Part(operation, guide.name));
        return does;
    }
    return "";
}

std::string GuideToArgument(const std::string& operation, const std::string& argument) {
    for (const SArgumentGuide& guide : ArgumentGuides)
        if (Fits(operation, guide.operation) && Fits(argument, guide.argument))
            return guide.range;
    return "";
}

ordered_json OperationJson(const SOperation& operation) {
    ordered_json arguments = ordered_json::array();
    for (std::size_t i = 0; i < operation.parameterNames.size(); ++i)
        arguments.push_back({{"name", operation.parameterNames[i]},
                             {"form", operation.parameterForms[i]},
                             {"takes", GuideToArgument(operation.name, operation.parameterNames[i])}});
    return {{"operation", operation.name},
            {"does", GuideToOperation(operation.name)},
            {"arguments", std::move(arguments)},
            {"outputs", operation.outputNames}};
}

} // namespace corvane::site
