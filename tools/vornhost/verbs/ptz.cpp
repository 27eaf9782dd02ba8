#include "tools/vornhost/console/output.h"
#include "tools/vornhost/ptz/ptz_drive.h"
#include "tools/vornhost/session/device_session.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

using device_handler::v1_0::CError;
using device_handler::v1_0::CString;

class CPtz : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.add_option("ADDRESS", address_, "The camera")->required();
        command.add_option("--speed", speed_, "The speed to begin with, 1 to 100 (default 50)")
            ->type_name("N")
            ->check(CLI::Range(SlowestPtzSpeed, FastestPtzSpeed).description(""));
        command.footer(
            "Drives the camera from the keyboard, or with the same bytes from a pipe:\n"
            "  arrows          pan and tilt for as long as the key is held\n"
            "  + -             zoom in and out, likewise\n"
            "  0-9             call a preset\n"
            "  p 0-9           save a preset\n"
            "  [ ], page keys  slower and faster\n"
            "  space           stop\n"
            "  q, Ctrl-C       leave; the camera is stopped\n"
            "The status line tells the position (0 to 10000), the speed, and the latest command with its\n"
            "delay. With --json each command is answered with a line "
            "{\"key\",\"operation\",\"code\",\"text\",\"ms\"}"
            " instead.\n"
            "Exit status 1 when a command failed or the camera does not move.\n"
            "Example: vornhost ptz 192.168.0.10 --speed 20");
    }

    ExitStatus run(const SOptions& options) override {
        CDeviceSession session(options, address_);
        if (!StartOrTell(session))
            return ExitStatus::NotStarted;
        std::vector<CString> properties;
        if (const CError error = session.camera().getPtzProperties(FirstInput, properties)) {
            SDiagnosis diagnosis;
            diagnosis.problem = "the camera cannot be moved";
            diagnosis.pluginText = error.getText();
            WriteMessage(diagnosis.lines(session.address()));
            return ExitStatus::CallFailed;
        }
        CPtzDrive drive(session, speed_, options.json);
        return drive.run() ? ExitStatus::Success : ExitStatus::CallFailed;
    }

private:
    static constexpr int FirstInput = 0;

    std::string address_;
    int speed_ = 50;
};

} // namespace

std::unique_ptr<IVerb> MakePtzVerb() {
    return std::make_unique<CPtz>();
}

} // namespace corvane::vornhost
