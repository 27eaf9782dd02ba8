#include "site/base/standard_streams.h"
#include "site/session/device_session.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/ptz/ptz_drive.h"
#include "tools/vornhost/verbs/device_verb.h"
#include "tools/vornhost/verbs/number_range.h"

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

constexpr const char* PtzHelp =
    R"(Drives the camera from the keyboard, or with the same bytes from a pipe:
  arrows          pan and tilt for as long as the key is held
  + -             zoom in and out, likewise
  0-9             call a preset
  p 0-9           save a preset
  [ ], page keys  slower and faster
  space           stop
  q, Ctrl-C       leave; the camera is stopped
The status line tells the position (0 to 10000), the speed, and the latest command with its
delay. With --json each command is answered with a line {"key","operation","code","origin","text","ms"} instead.
Exit status 1 when a command failed or the camera does not move.
Example: vornhost ptz 192.168.0.10 --speed 20)";

class CPtz : public CDeviceVerb {
public:
    void declare(CLI::App& command) override {
        CDeviceVerb::declare(command);
        command.add_option("--speed", speed_, "The speed to begin with, 1 to 100 (default 50)")
            ->type_name("N")
            ->check(Between(SlowestPtzSpeed, FastestPtzSpeed));
        command.footer(PtzHelp);
    }

private:
    ExitStatus runOn(CDeviceSession& session) override {
        std::vector<CString> properties;
        if (const CError error = session.camera().getPtzProperties(FirstInput, properties)) {
            SDiagnosis problem;
            problem.problem = "the camera cannot be moved";
            problem.pluginText = error.getText();
            problem.cause = "not-supported";
            problem.phase = "move";
            tell(session, address_, problem);
            return ExitStatus::CallFailed;
        }
        CPtzDrive drive(session, speed_, session.options().json);
        return drive.run() ? ExitStatus::Success : ExitStatus::CallFailed;
    }

    static constexpr int FirstInput = 0;

    int speed_ = 50;
};

} // namespace

std::unique_ptr<IVerb> MakePtzVerb() {
    return std::make_unique<CPtz>();
}

} // namespace corvane::vornhost
