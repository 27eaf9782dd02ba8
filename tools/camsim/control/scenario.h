#pragma once

#include "model/camera.h"
#include "net/event_loop.h"

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace camsim {

/// A scenario that cannot be played; the text names the file, the line and what was expected.
class ScenarioError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// An alarm input that takes a level at a time after the start.
struct ScenarioStep {
    std::chrono::milliseconds at;
    size_t camera;
    int terminal;
    AlarmInputs::Level level;
};

/// Reads lines of "SECONDS CAMERA INPUT LEVEL"; blank lines and what stands behind a # do not count. Throws
/// ScenarioError.
std::vector<ScenarioStep> readScenario(const std::string& path,
                                       const std::vector<std::unique_ptr<Camera>>& cameras);

/// Has the loop do each step at its time from now on. The cameras must outlive the loop's thread.
void playScenario(const std::vector<ScenarioStep>& steps, const std::vector<std::unique_ptr<Camera>>& cameras,
                  EventLoop& loop);

} // namespace camsim
