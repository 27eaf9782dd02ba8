#include "tools/vornhost/calls/answer_text.h"
#include "tools/vornhost/console/near_names.h"
#include "tools/vornhost/console/standard_streams.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/console/terminal_text.h"
#include "tools/vornhost/session/device_session.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

ordered_json OperationJson(const SOperation& operation) {
    ordered_json arguments = ordered_json::array();
    for (std::size_t i = 0; i < operation.parameterNames.size(); ++i)
        arguments.push_back({{"name", operation.parameterNames[i]}, {"form", operation.parameterForms[i]}});
    return {{"operation", operation.name},
            {"arguments", std::move(arguments)},
            {"outputs", operation.outputNames}};
}

constexpr const char* Help =
    R"(What each is called with, and what it answers. No camera is asked.
Examples:
  vornhost operations Resolution
  vornhost operations --json getPtzPosition)";

class COperations : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.add_option("NAME", name_, "The operation, or a part of its name");
        command.footer(Help);
    }

    ExitStatus run(const SOptions& options) override {
        // Nothing is ever sent to the address: the camera object is not initialised.
        const CDeviceSession session(options, "localhost");
        CTable table({"OPERATION", "ANSWERS"});
        Texts names;
        bool isFound = false;
        for (const SOperation& operation : session.operations().operations()) {
            names.push_back(operation.name);
            if (operation.name.find(name_) == std::string::npos)
                continue;
            isFound = true;
            if (options.json)
                WriteOutput(JsonLine(OperationJson(operation)));
            else
                table.addRow({SignatureOf(operation), Join(operation.outputNames, ", ")});
        }
        if (!isFound)
            throw CFailure(ExitStatus::WrongUsage,
                           "there is no operation \"" + name_ + "\"" + DidYouMean(name_, names));
        if (!options.json)
            WriteOutput((name_.empty() ? "" : table.headingLines(ColourWanted())) + table.rowLines());
        return ExitStatus::Success;
    }

private:
    std::string name_; // empty: all
};

} // namespace

std::unique_ptr<IVerb> MakeOperationsVerb() {
    return std::make_unique<COperations>();
}

} // namespace corvane::vornhost
