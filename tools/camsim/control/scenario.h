#pragma once

#include "model/camera.h"
#include "net/event_loop.h"

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace camsim {

// A scenario that cannot be played; the text names the file, the line and what was expected.
class CScenarioError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// An alarm input that takes a level at a time after the start.
struct SScenarioStep {
    std::chrono::milliseconds at;
    size_t camera;
    int terminal;
    CAlarmInputs::Level level;
};

// Reads lines of "SECONDS CAMERA INPUT LEVEL"; blank lines and what stands behind a # do not count. Throws
// CScenarioError.
std::vector<SScenarioStep> ReadScenario(const std::string& path,
                                        const std::vector<std::unique_ptr<CCamera>>& cameras);

// Has the loop do each step at its time from now on. The cameras must outlive the loop's thread.
void PlayScenario(const std::vector<SScenarioStep>& steps,
                  const std::vector<std::unique_ptr<CCamera>>& cameras, CEventLoop& loop);

} // namespace camsim
