#include "tools/vornhost/calls/answer_text.h"
#include "tools/vornhost/console/standard_streams.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/session/device_session.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

ordered_json OperationJson(const SOperation& operation) {
    ordered_json arguments = ordered_json::array();
    for (std::size_t i = 0; i < operation.parameterNames.size(); ++i)
        arguments.push_back({{"name", operation.parameterNames[i]}, {"form", operation.parameterForms[i]}});
    return {{"operation", operation.name}, {"arguments", std::move(arguments)}};
}

constexpr const char* Help =
    R"(Output arguments are left out. No camera is asked.
Example: vornhost operations | grep -i resolution)";

class COperations : public IVerb {
public:
    void declare(CLI::App& command) override { command.footer(Help); }

    ExitStatus run(const SOptions& options) override {
        // Nothing is ever sent to the address: the camera object is not initialised.
        const CDeviceSession session(options, "localhost");
        CTable table;
        for (const SOperation& operation : session.operations().operations()) {
            if (options.json)
                WriteOutput(JsonLine(OperationJson(operation)));
            else
                table.addRow({SignatureOf(operation)});
        }
        if (!options.json)
            WriteOutput(table.rowLines());
        return ExitStatus::Success;
    }
};

} // namespace

std::unique_ptr<IVerb> MakeOperationsVerb() {
    return std::make_unique<COperations>();
}

} // namespace corvane::vornhost
