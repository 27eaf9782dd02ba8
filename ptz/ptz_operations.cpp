// Pan, tilt and zoom: each of the recorder's requests as one or more of the camera's.

#include "camera/cgi_paths.h"
#include "camera/errors.h"
#include "camera/numbers.h"
#include "camera/panasonic_camera.h"
#include "camera/setting.h"
#include "camera/setting_keys.h"

#include "host/log.h"

#include <cstdlib>
#include <limits>

namespace corvane::panasonic_camera {

using device_handler::v1_0::LogNotice;

namespace {

constexpr const char* LowestPosition = "0";
constexpr const char* HighestPositionText = "10000";
constexpr const char* PositionStep = "1";

constexpr const char* PanKey = "PAN=";
constexpr const char* TiltKey = "TILT=";
constexpr const char* ZoomKey = "ZOOM=";

// A model whose speeds go so far takes them in a form of its own.
constexpr int FineSpeedMaximum = 256;

// "&ch=", counted from 1.
std::string ChannelPart(int stream) {
    return "&ch=" + std::to_string(static_cast<long long>(stream) + 1);
}

std::string PositionText(int pan, int tilt, int zoom) {
    return "pan=" + std::to_string(pan) + "&tilt=" + std::to_string(tilt) + "&zoom=" + std::to_string(zoom);
}

std::string Numbered(int number, int offset) {
    return std::to_string(static_cast<long long>(number) + offset);
}

// The text behind the first `key`, up to a delimiter.
std::string ValueOf(const std::string& position, const std::string& key) {
    const std::size_t at = position.find(key);
    if (at == std::string::npos)
        return {};
    const std::size_t begin = at + key.size();
    return position.substr(begin, position.find_first_of(cgi::ValueDelimiters, begin) - begin);
}

// How far a relative move goes, in the camera's steps.
int MoveStep(int distance) {
    constexpr struct {
        long long farthest;
        int step;
    } Steps[] = {{0, 0}, {50, 1}, {100, 2}, {200, 3}, {300, 4}};
    constexpr int LongestStep = 5;
    const long long magnitude = std::llabs(distance);
    for (const auto& row : Steps)
        if (magnitude <= row.farthest)
            return distance < 0 ? -row.step : row.step;
    return distance < 0 ? -LongestStep : LongestStep;
}

int Opposite(int value) {
    return value == std::numeric_limits<int>::min() ? std::numeric_limits<int>::max() : -value;
}

// "pan=5", or "rpan=5" for a model with fine speeds.
std::string SpeedPart(const char* name, int speed, bool isFine) {
    return std::string(isFine ? "r" : "") + name + "=" + std::to_string(speed);
}

} // namespace

CError CPanasonicCamera::sendPtz(const std::string& request) {
    return writeSetting(request, "");
}

CError CPanasonicCamera::sendPtzNoReload(const std::string& request) {
    return writeSettingNoReload(request, "");
}

CError CPanasonicCamera::setAbsolutePtz(int /*stream*/, int pan, int tilt, int zoom) {
    return sendPtz(std::string(cgi::Absctrl) + "?" +
                   PositionText(ToCameraPanPos(pan), ToCameraTiltPos(tilt), ToCameraZoomPos(zoom)));
}

CError CPanasonicCamera::setPtzPanPos(int /*stream*/, CString pos) {
    const auto position = ParseNumber<int>(pos.str());
    if (!position)
        return errors::PositionOutOfRange();
    return sendPtzNoReload(std::string(cgi::Absctrl) + "?pan=" + std::to_string(ToCameraPanPos(*position)));
}

CError CPanasonicCamera::setPtzTiltPos(int /*stream*/, CString pos) {
    const auto position = ParseNumber<int>(pos.str());
    if (!position)
        return errors::PositionOutOfRange();
    return sendPtzNoReload(std::string(cgi::Absctrl) + "?tilt=" + std::to_string(ToCameraTiltPos(*position)));
}

// Other than pan and tilt, zoom reloads the settings.
CError CPanasonicCamera::setPtzZoomPos(int /*stream*/, CString pos) {
    const auto position = ParseNumber<int>(pos.str());
    if (!position)
        return errors::PositionOutOfRange();
    return sendPtz(std::string(cgi::Absctrl) + "?zoom=" + std::to_string(ToCameraZoomPos(*position)));
}

CError CPanasonicCamera::setPtzPosition(int /*stream*/, CString position) {
    const struct {
        const char* key;
        int (CPanasonicCamera::*convert)(int);
    } axes[] = {{"pan=", &CPanasonicCamera::ToCameraPanPos},
                {"tilt=", &CPanasonicCamera::ToCameraTiltPos},
                {"zoom=", &CPanasonicCamera::ToCameraZoomPos}};
    std::string query;
    for (const auto& axis : axes) {
        const std::string value = ValueOf(position.str(), axis.key);
        if (value.empty())
            continue;
        const auto number = ParseNumber<int>(value);
        if (!number)
            return errors::PositionOutOfRange();
        query += (query.empty() ? "" : "&") + std::string(axis.key) +
                 std::to_string((this->*axis.convert)(*number));
    }
    if (query.empty())
        return errors::PositionOutOfRange();
    return sendPtzNoReload(std::string(cgi::Absctrl) + "?" + query);
}

CError CPanasonicCamera::setRelativePtz(int stream, int pan, int tilt, int zoom, int iris, int focus) {
    const std::string path = std::string(cgi::Camctrl) + "?";
    const std::string channel = ChannelPart(stream);
    if (pan != 0 || tilt != 0)
        sendPtz(path + "pan=" + std::to_string(MoveStep(pan)) + "&tilt=" + std::to_string(MoveStep(tilt)) +
                channel);
    if (zoom != 0)
        sendPtz(path + "zoom=" + (zoom < 0 ? "-3" : "3") + channel);
    if (focus != 0) // its direction is the opposite of the others'
        sendPtz(path + "focus=" + (focus < 0 ? "3" : "-3") + channel);
    if (iris != 0)
        sendPtzNoReload(path + "iris=" + (iris < 0 ? "-2" : "2") + channel);
    return CError::Success();
}

CError CPanasonicCamera::setContinuousPtz(int stream, int pan, int tilt, int zoom) {
    deviceContext()->log(LogNotice, "moveAt Speed Pan[%d] Tilt[%d] Zoom[%d]", pan, tilt, zoom);
    const bool isPanFine = ptzModel().panSpeed.maximum == FineSpeedMaximum;
    const bool isTiltFine = ptzModel().tiltSpeed.maximum == FineSpeedMaximum;
    const int panSpeed = signedSpeed(&CPanasonicCamera::ToCameraPanSpeed, pan);
    const int tiltSpeed =
        Opposite(signedSpeed(&CPanasonicCamera::ToCameraTiltSpeed, tilt)); // down is positive
    const int zoomSpeed = signedSpeed(&CPanasonicCamera::ToCameraZoomSpeed, zoom);
    // The form of the zoom speed goes with pan's.
    const std::string request = std::string(cgi::Directctrl) + "?" + SpeedPart("pan", panSpeed, isPanFine) +
                                "&" + SpeedPart("tilt", tiltSpeed, isTiltFine) + "&" +
                                SpeedPart("zoom", zoomSpeed, isPanFine) + ChannelPart(stream);
    deviceContext()->log(LogNotice, "moveAt url[%s]", request.c_str());
    return sendPtzNoReload(request);
}

CError CPanasonicCamera::setContinuousPtzFocus(int /*stream*/, int speed) {
    return sendPtzNoReload(std::string(cgi::Directctrl) + "?focus=" +
                           std::to_string(signedSpeed(&CPanasonicCamera::ToCameraFocusSpeed, speed)));
}

// The camera's speed in the direction of the recorder's.
int CPanasonicCamera::signedSpeed(int (CPanasonicCamera::*convert)(int), int speed) {
    if (speed == 0)
        return 0;
    return speed > 0 ? (this->*convert)(speed) : Opposite((this->*convert)(Opposite(speed)));
}

#define VORN_PTZ_REQUEST(NAME, PATH, QUERY, OFFSET, HAS_CHANNEL)                                             \
    CError CPanasonicCamera::NAME(int stream, int number) {                                                  \
        return sendPtzNoReload(PATH + std::string("?" QUERY "=") + Numbered(number, ptzModel().OFFSET) +     \
                               (HAS_CHANNEL ? ChannelPart(stream) : ""));                                    \
    }
#include "camera/ptz_requests.def"

CError CPanasonicCamera::clearPtzPatternRecord(int /*stream*/, int /*pattern*/) {
    return errors::FeatureNotSupported();
}

CError CPanasonicCamera::cancelPtzPatternRecord(int /*stream*/, int /*pattern*/) {
    return errors::FeatureNotSupported();
}

CError CPanasonicCamera::getPtzPatternCount(int stream, CString& count) {
    constexpr struct {
        const char* patrolMode;
        const char* patterns;
    } Counts[] = {{"1", "1"}, {"2", "2"}, {"3", "4"}};
    const std::string mode = cameraSetting(key::Patrol);
    for (const auto& row : Counts)
        if (mode == row.patrolMode) {
            count = row.patterns;
            return CError::Success();
        }
    return CVornCamera::getPtzPatternCount(stream, count);
}

CError CPanasonicCamera::getPtzProperties(int stream, std::vector<CString>& props) {
    if (CError error = CVornCamera::getPtzProperties(stream, props))
        return error;
    props.emplace_back("PtzEnabled");
    return CError::Success();
}

CError CPanasonicCamera::getPtzPanPos(int /*stream*/, std::vector<CString>& out) {
    return readPosition(PanKey, &CPanasonicCamera::ToNvrPanPos, ptzModel().panHome, out);
}

CError CPanasonicCamera::getPtzTiltPos(int /*stream*/, std::vector<CString>& out) {
    return readPosition(TiltKey, &CPanasonicCamera::ToNvrTiltPos, ptzModel().tiltHome, out);
}

CError CPanasonicCamera::getPtzZoomPos(int /*stream*/, std::vector<CString>& out) {
    return readPosition(ZoomKey, &CPanasonicCamera::ToNvrZoomPos, ptzModel().zoomHome, out);
}

CError CPanasonicCamera::readPosition(const char* key, int (CPanasonicCamera::*convert)(int), int home,
                                      std::vector<CString>& out) {
    std::vector<std::string> values;
    if (CError error = readPositions({key}, values))
        return error;
    out.emplace_back(std::to_string((this->*convert)(ReadNumber<int>(values[0]))));
    out.emplace_back(std::to_string((this->*convert)(home)));
    out.insert(out.end(), {LowestPosition, HighestPositionText, PositionStep});
    return CError::Success();
}

CError CPanasonicCamera::getPtzPosition(int /*stream*/, std::vector<CString>& out) {
    std::vector<std::string> values;
    if (CError error = readPositions({PanKey, TiltKey, ZoomKey}, values))
        return error;
    const auto text = [this](int pan, int tilt, int zoom) {
        return PositionText(ToNvrPanPos(pan), ToNvrTiltPos(tilt), ToNvrZoomPos(zoom)) + "&iris=0&focus=0";
    };
    out.emplace_back(
        text(ReadNumber<int>(values[0]), ReadNumber<int>(values[1]), ReadNumber<int>(values[2])));
    out.emplace_back(text(ptzModel().panHome, ptzModel().tiltHome, ptzModel().zoomHome));
    out.insert(out.end(), {LowestPosition, HighestPositionText, PositionStep});
    return CError::Success();
}

// One value a key, in order.
CError CPanasonicCamera::readPositions(const std::vector<std::string>& keys,
                                       std::vector<std::string>& values) {
    if (!setting)
        return errors::NoSettings();
    if (CError error = setting->GetDetailsFromUrl(cgi::AbsgetPosition, keys, values))
        return error;
    values.resize(keys.size());
    return CError::Success();
}

} // namespace corvane::panasonic_camera
