#include "refhost/text/near_names.h"
#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/calls/answer_text.h"
#include "site/calls/operation_guide.h"
#include "site/session/device_session.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

// One of several that are looked at closely.
std::string OperationText(const SOperation& operation) {
    constexpr std::size_t Indent = 2;
    CTable arguments({}, Indent);
    for (const std::string& name : operation.parameterNames)
        arguments.addRow({name, GuideToArgument(operation.name, name)});
    if (!operation.outputNames.empty())
        arguments.addRow({"answers", Join(operation.outputNames, ", ")});
    CTable does({}, Indent);
    does.addRow({GuideToOperation(operation.name)});
    return Bold(SignatureOf(operation), ColourWanted()) + "\n" + does.rowLines() + arguments.rowLines();
}

constexpr const char* OperationsHelp =
    R"(What each does; with a NAME also what it is called with, and what it answers. No camera is asked.
Examples:
  vornhost operations Resolution
  vornhost operations --json getPtzPosition)";

class COperations : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.add_option("NAME", name_, "The operation, or a part of its name");
        command.footer(OperationsHelp);
    }

    ExitStatus run(const SOptions& options) override {
        // Nothing is ever sent to the address: the camera object is not initialised.
        const CDeviceSession session(options, "localhost");
        CTable table({"OPERATION", "DOES"});
        Texts names;
        std::string text;
        for (const SOperation& operation : session.operations().operations()) {
            names.push_back(operation.name);
            if (operation.name.find(name_) == std::string::npos)
                continue;
            if (options.json)
                text += JsonLine(OperationJson(operation));
            else if (name_.empty())
                table.addRow({operation.name, GuideToOperation(operation.name)});
            else
                text += OperationText(operation);
        }
        text += table.rowLines();
        if (text.empty())
            throw CFailure(ExitStatus::WrongUsage,
                           "there is no operation \"" + name_ + "\"" + refhost::DidYouMean(name_, names));
        WriteOutput(text);
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
