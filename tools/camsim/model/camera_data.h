#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace camsim {

// Camera data that cannot be used; the text names the file, the line and the reason.
class CCameraDataError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What a camera says it can do: the lines of its get_capability reply.
class CCapability {
public:
    explicit CCapability(std::vector<std::pair<std::string, std::string>> entries);

    // The whole reply, each line ended by CR LF.
    const std::string& text() const { return text_; }
    // The comma-separated value of a key, cut into its entries; none when the camera does not report the
    // key.
    std::optional<std::vector<std::string>> list(const std::string& key) const;

private:
    std::unordered_map<std::string, std::string> values_;
    std::string text_;
};

// One axis of a camera head, in the camera's units and seconds.
struct SAxis {
    int minimum;
    int maximum;
    int home;            // where it stands at first; the focus is sharp there
    double speed;        // the highest
    double acceleration; // of speeding up and of braking
    int speedSteps;      // what directctrl calls the highest speed
};

// Everything that is the same for every camera of one model. Immutable once loaded, so shared without a
// lock.
struct SCameraModel {
    std::string number; // without its prefix: "F320"

    // Keys and factory values in the order in which the camera dumps them.
    std::vector<std::pair<std::string, std::string>> settings;
    std::unordered_map<std::string, size_t> settingPositions;

    CCapability capability;
    // The getinfo reply; ${mac} and ${serial} stand for what differs from camera to camera.
    std::string infoTemplate;
    // By the name that absctrl and absget use ("pan", "tilt", "zoom", "focus"), in the order of the file;
    // empty on a camera without a head.
    std::vector<std::pair<std::string, SAxis>> axes;

    // The axis of this name, or null when there is none.
    const SAxis* axis(std::string_view name) const;
    // Whether the head takes finely stepped speeds (directctrl's rpan, rtilt and rzoom) and moves on until
    // it is told to stop; others must be told again and again.
    bool hasFineSpeeds() const;
};

// Numbers of the models that come with the program, in order.
std::vector<std::string> EmbeddedModelNumbers();

// Throws CCameraDataError for a number that is not among EmbeddedModelNumbers().
std::shared_ptr<const SCameraModel> LoadEmbeddedModel(const std::string& number);

// Loads a camera from the files setdata.txt, capability.txt, info.txt and, for one that moves, axes.txt of a
// folder: the replies of a real camera as they came, or layers upon the embedded files (`!include
// common/setdata.txt`,
// `!remove PATTERN`, then lines that replace or add). Throws CCameraDataError.
std::shared_ptr<const SCameraModel> LoadModelFromDirectory(const std::string& directory);

} // namespace camsim
