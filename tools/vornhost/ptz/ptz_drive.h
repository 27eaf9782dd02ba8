#pragma once

#include "site/diagnosis/diagnosis.h"
#include "site/session/device_session.h"
#include "tools/vornhost/console/polled_output.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/console/status_line.h"
#include "tools/vornhost/console/task_inbox.h"
#include "tools/vornhost/console/waiting_line.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/ptz/ptz_keys.h"
#include "tools/vornhost/ptz/ptz_pilot.h"
#include "tools/vornhost/ptz/ptz_position.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane::vornhost {

// Drives a camera with the keys of standard input, for people (a status line on standard error, where that is
// a terminal, and failures in words) or for programs (a JSON line a command on standard output). Belongs to
// one thread.
class CPtzDrive {
public:
    // `session`, started, must outlive this; `speed` as CPtzPilot takes it.
    CPtzDrive(CDeviceSession& session, int speed, bool json);

    // Until a key, the end of the input, SIGINT, SIGTERM or SIGHUP ends it. However it ends, by an exception
    // too, a camera that moves has been told to stop and has answered, or failed to, within the limits of an
    // HTTP exchange. Whether every command succeeded.
    bool run();

private:
    struct SOutcome {
        SPtzCommand command;
        STimedAnswer timed;
        std::optional<SDiagnosis> failure;
    };

    void takeSignals();
    void drive();
    void waitForSomething();
    void readKeys();
    void sendNext();
    void answered(const SOutcome& outcome);
    void askPosition();
    void keepFailure(const SOutcome& outcome);
    void tellFailure(const SOutcome& outcome);
    void writeAnswers();
    std::optional<CPtzPilot::Time> wakeTime() const;
    std::string statusText() const;
    std::string commandText() const;

    CDeviceSession& session_;
    const bool json_;
    const std::shared_ptr<CTaskInbox> inbox_; // shared with the callbacks of commands
    CPtzKeyReader keyReader_;
    CPtzPilot pilot_;
    CPtzPositionWatch position_;
    CStatusLine status_;
    std::optional<CWaitingLine> waiting_; // in place of the status line, for programs
    CPolledOutput answers_;
    std::optional<CEndRequest> endRequest_;
    bool isInputOpen_ = true;
    bool allSucceeded_ = true;
    std::optional<SPtzCommand> latest_; // the command that was sent
    std::optional<SOutcome> outcome_;   // of latest_, once it is there
    std::vector<SOutcome> failed_;      // to be told when the status line is gone; one of a kind
    std::optional<SOutcome> refused_;   // stays on the status line until a command other than a stop succeeds
};

} // namespace corvane::vornhost
