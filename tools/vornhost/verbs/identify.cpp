#include "tools/vornhost/calls/answer_text.h"
#include "tools/vornhost/console/standard_streams.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/console/terminal_text.h"
#include "tools/vornhost/diagnosis/diagnosis.h"
#include "tools/vornhost/session/credentials.h"
#include "tools/vornhost/session/loaded_plugin.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>

namespace corvane::vornhost {
namespace {

struct SFound {
    CError error = CError::Success();
    COptional<CDeviceId> device;
    double milliseconds = 0;

    bool any() const { return !error && device; }
};

ordered_json FoundJson(const std::string& address, const SFound& found, const ordered_json& problem) {
    ordered_json json{{"address", address}, {"code", found.error.getCode()}};
    if (found.any()) {
        json["family"] = found.device->getFamilyName();
        json["serialNumber"] = found.device->getSerialNumber().str();
        json["ms"] = ThreeDecimals(found.milliseconds);
    }
    if (!problem.empty())
        json["problem"] = problem;
    return json;
}

constexpr const char* Help =
    R"(Exit status 1 when there is no device at some address.
Example: vornhost identify 192.168.0.10 192.168.0.11:8080)";

class CIdentify : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.add_option("ADDRESS", addresses_, "The addresses to ask, one after another")->required();
        command.footer(Help);
    }

    ExitStatus run(const SOptions& options) override {
        std::for_each(addresses_.begin(), addresses_.end(), RequireAddress);
        const CCredentials credentials = CCredentials::fromOptions(options);
        const CLoadedPlugin plugin(options);
        const CAuthentication authentication = credentials.forFamily(plugin.firstFamily());
        CTable table({"ADDRESS", "FAMILY", "SERIAL NUMBER", "TIME"});
        prepare(table, *plugin.models());
        if (!options.json)
            WriteOutput(table.headingLines(ColourWanted()));
        bool allFound = true;
        for (const std::string& address : addresses_)
            allFound = identify(plugin, address, authentication, options.json, table) && allFound;
        return allFound ? ExitStatus::Success : ExitStatus::CallFailed;
    }

private:
    // Rows are printed as they become known, so the widths are settled before.
    void prepare(CTable& table, const CVornModelList& models) const {
        static constexpr std::size_t UsualSerialNumber = 16;
        const std::size_t longestTime = MillisecondsText(9999.9).size();
        std::size_t address = 0;
        for (const std::string& text : addresses_)
            address = std::max(address, DisplayWidth(text));
        std::size_t family = 0;
        for (const auto& known : models.getFamilies())
            family = std::max(family, DisplayWidth(known.name));
        table.setLeastWidth(0, address);
        table.setLeastWidth(1, family);
        table.setLeastWidth(2, UsualSerialNumber);
        table.setLeastWidth(3, longestTime);
    }

    static bool identify(const CLoadedPlugin& plugin, const std::string& address,
                         const CAuthentication& authentication, bool json, const CTable& table) {
        const CExchangeWatch exchanges(address);
        SFound found;
        const auto start = std::chrono::steady_clock::now();
        found.error = plugin.handler().queryDevice(address, found.device, authentication);
        found.milliseconds =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        std::optional<SDiagnosis> failure;
        if (!found.any())
            failure = Diagnose(Occasion::Identification, found.error, exchanges);
        if (json)
            WriteOutput(JsonLine(
                FoundJson(address, found, failure ? ProblemObject(*failure) : ordered_json::object())));
        else
            WriteOutput(table.lineOf({address, found.any() ? found.device->getFamilyName() : "no device",
                                      found.any() ? found.device->getSerialNumber().str() : "",
                                      MillisecondsText(found.milliseconds)}));
        if (failure)
            WriteMessage(failure->lines(address));
        return found.any();
    }

    Texts addresses_;
};

} // namespace

std::unique_ptr<IVerb> MakeIdentifyVerb() {
    return std::make_unique<CIdentify>();
}

} // namespace corvane::vornhost
