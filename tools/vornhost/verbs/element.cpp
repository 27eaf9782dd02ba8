#include "site/base/standard_streams.h"
#include "site/calls/answer_text.h"
#include "site/session/device_session.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/report/element_description.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

constexpr const char* ElementName = "vorn_eventsynth";

constexpr const char* ElementHelp =
    R"(Tells of the element "vorn_eventsynth", which the plug-in registers and makes the
events of alarm inputs with: its factory, pad template and properties. No camera is
asked.
Example: vornhost element)";

class CElement : public IVerb {
public:
    void declare(CLI::App& command) override { command.footer(ElementHelp); }

    ExitStatus run(const SOptions& options) override {
        registerElement(options);
        const ordered_json description = DescribeElement(ElementName);
        if (description.is_null())
            throw CFailure(ExitStatus::CallFailed,
                           std::string("the plug-in registers no element \"") + ElementName + "\"",
                           OwnCause::NoPlugin);
        WriteOutput(options.json ? JsonLine(description) : ElementText(description));
        return ExitStatus::Success;
    }

private:
    // The plug-in registers the element when it is to build a pipeline for a device that has credentials.
    // Nothing is ever sent to the address, and no database notes it: the camera object is not initialised.
    static void registerElement(const SOptions& options) {
        SOptions offline = options;
        offline.noInitialize = true;
        offline.noCredentials = false;
        offline.user = "nobody"; // the model list may have none for the family
        offline.databaseFile.clear();
        CDeviceSession session(offline, "localhost");
        (void)session.start();
        IStreamController* made = nullptr;
        (void)session.camera().createEventStreamPipeline(made, 0); // fails, but not before
        const std::unique_ptr<IStreamController> controller(made);
    }
};

} // namespace

std::unique_ptr<IVerb> MakeElementVerb() {
    return std::make_unique<CElement>();
}

} // namespace corvane::vornhost
