#pragma once

#include "site/events/monitor_look.h"
#include "site/session/device_session.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvane::site {

inline constexpr const char* MonitorCut = "cut"; // the cause of a monitor that does not stay open

// Whether the event has the level, which is in the camera's words.
bool HasLevel(const SStreamEvent& event, const std::string& level);

// What a camera says of one alarm input when it is asked beside the input's events: whether it is heard to
// tell its levels, and why it does not. Asks the camera, and tells it nothing. Callable from any thread.
class CAlarmInputQuestions {
public:
    // `session` is kept and must outlive this.
    CAlarmInputQuestions(CDeviceSession& session, int input) : session_(session), input_(input) {}

    // What a monitor that tells levels does wrong; `comes` as FaultOfMonitor() has it.
    std::optional<SDiagnosis> listen(const std::function<void(const std::string& told)>& comes = {}) const;

    // Why the camera is no monitor of its inputs.
    std::optional<SDiagnosis> lookAtMonitor() const { return monitorLook().problem; }

    // What the monitor tells of these inputs, once it is asked.
    SMonitorLook lookAtMonitor(const std::vector<int>& inputs) const;

    // Why a state is not the camera's whose monitor has told no level by itself. It may have room for one
    // listener and no more.
    std::optional<SDiagnosis> refusalOf(const SStreamEvent& first) const;

    // That another request tells another level than the monitor does; `level` is the monitor's latest. A
    // camera that does not tell the level to who asks contradicts nothing, and a level may change in between.
    std::optional<SDiagnosis> contradiction(std::string level) const;

    // Why the camera does not answer another request either; nothing when it does.
    std::optional<SDiagnosis> askOtherwise() const;

    // Why no event comes. The monitor says it itself, unless it tells levels to who asks it now.
    SDiagnosis whySilent() const;

private:
    std::string levelOtherwise() const;
    SMonitorLook monitorLook() const;
    AskPath askPath() const;
    DiagnosePath diagnosePath() const;

    CDeviceSession& session_;
    const int input_;
};

} // namespace corvane::site
