#include "refhost/http/connection_probe.h"
#include "site/base/json_line.h"
#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/session/identification.h"
#include "tools/vornhost/console/status_line.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/console/waiting_line.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/session/address_ranges.h"
#include "tools/vornhost/session/identification_workers.h"
#include "tools/vornhost/verbs/verb.h"

#include <nlohmann/json.hpp>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <mutex>

namespace corvane::vornhost {
namespace {

constexpr const char* FromStandardInput = "-";
// So many are asked in this process, one after another.
constexpr std::size_t FewAddresses = 3;

ordered_json JsonOf(const std::string& address, const SIdentification& found) {
    ordered_json json{{"address", address}, {"code", found.error.getCode()}};
    if (found.isFound()) {
        json["family"] = found.device->getFamilyName();
        json["serialNumber"] = found.device->getSerialNumber().str();
    }
    json["ms"] = ThreeDecimals(found.milliseconds);
    if (found.failure)
        json["problem"] = ProblemObject(*found.failure);
    return json;
}

// Of an address whose worker has ended before it knew anything.
SIdentification Unanswered() {
    const SDiagnosis lost =
        ProcessLost("the process that asks has ended before there was an answer", "identify");
    SIdentification result;
    result.error = {RtnCode::OperationFailed, Origin::General, lost.problem};
    result.failure = lost;
    return result;
}

// Writes what is known of each address in the order in which they were given, as soon as all before it are
// known. Callable from any thread.
class CResults {
public:
    // `addresses` must outlive it.
    CResults(const Texts& addresses, const CVornModelList& models, bool json, bool withHeading = true)
        : addresses_(addresses), isJson_(json), lines_(addresses.size()) {
        prepare(models);
        if (!isJson_ && withHeading)
            WriteOutput(table_.headingLines(ColourWanted()));
    }

    void take(std::size_t place, const SIdentification& found) {
        if (found.failure)
            WriteMessage(found.failure->lines(addresses_[place]));
        take(place, JsonOf(addresses_[place], found));
    }

    void take(std::size_t place, const ordered_json& found) {
        const std::lock_guard<std::mutex> lock(mutex_);
        lines_[place] = isJson_ ? JsonLine(found) : rowOf(place, found);
        found_ += found.contains("family") ? 1 : 0;
        ++known_;
        progress_.show(std::to_string(known_) + " of " + std::to_string(lines_.size()) +
                       " addresses asked, " + std::to_string(found_) + " devices found");
        if (lines_[next_].empty())
            return;
        progress_.clear();
        std::string text;
        for (; next_ < lines_.size() && !lines_[next_].empty(); ++next_)
            text += lines_[next_];
        WriteOutput(text);
    }

    ExitStatus status() {
        const std::lock_guard<std::mutex> lock(mutex_);
        progress_.clear();
        return found_ == lines_.size() ? ExitStatus::Success : ExitStatus::CallFailed;
    }

private:
    // Rows are printed as they become known, so the widths are settled before.
    void prepare(const CVornModelList& models) {
        static constexpr std::size_t UsualSerialNumber = 16;
        std::size_t address = 0;
        for (const std::string& text : addresses_)
            address = std::max(address, DisplayWidth(text));
        std::size_t family = 0;
        for (const auto& known : models.getFamilies())
            family = std::max(family, DisplayWidth(known.name));
        table_.setLeastWidth(0, address);
        table_.setLeastWidth(1, family);
        table_.setLeastWidth(2, UsualSerialNumber);
        table_.setLeastWidth(3, MillisecondsText(9999.9).size());
        table_.setLeastWidth(4, std::string("authentication-endless").size());
    }

    std::string rowOf(std::size_t place, const ordered_json& found) const {
        return table_.lineOf({addresses_[place], found.value("family", "no device"),
                              found.value("serialNumber", ""), MillisecondsText(found.value("ms", 0.0)),
                              found.contains("problem") ? found["problem"].value("cause", "") : ""});
    }

    const Texts& addresses_;
    const bool isJson_;
    CTable table_{{"ADDRESS", "FAMILY", "SERIAL NUMBER", "TIME", "CAUSE"}};

    std::mutex mutex_;               // guards what follows
    std::vector<std::string> lines_; // empty: not known yet
    std::size_t next_ = 0;           // to be written
    std::size_t known_ = 0;
    std::size_t found_ = 0;
    CStatusLine progress_{true};
};

constexpr const char* IdentifyHelp =
    R"(An ADDRESS may be a range: 192.168.0.10-192.168.0.40, 192.168.0.10-40 or 192.168.0.0/24, with :PORT
behind it where the web port is not 80; "-" takes addresses from standard input, one a line. Many are
asked side by side and told in their order.
Exit status 1 when there is no device at some address.
Example: vornhost identify 192.168.0.10 192.168.0.11:8080 192.168.1.0/24)";

class CIdentify : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.add_option("ADDRESS", words_, "The addresses and ranges to ask")->required();
        command.footer(IdentifyHelp);
    }

    ExitStatus run(const SOptions& options) override {
        const CCredentials credentials = CCredentials::fromOptions(options);
        if (words_ == Texts{FromStandardInput})
            return answerLines(options, credentials);
        for (const std::string& word : words_)
            for (std::string& address : AddressesOf(word))
                addresses_.push_back(std::move(address));
        const auto plugin = std::make_shared<CLoadedPlugin>(options);
        CResults results(addresses_, *plugin->models(), options.json);
        if (addresses_.size() <= FewAddresses)
            for (std::size_t place = 0; place < addresses_.size(); ++place)
                results.take(place, identify(plugin, addresses_[place], credentials, options));
        else
            askSideBySide(options, *plugin->models(), results);
        return results.status();
    }

private:
    static SIdentification identify(const std::shared_ptr<CLoadedPlugin>& plugin, const std::string& address,
                                    const CCredentials& credentials, const SOptions& options) {
        CExchangeWatch exchanges(address);
        return WhileWaiting("waiting for " + PrintableText(address) + " to say what it is", [&] {
            return IdentifyDevice(plugin, address, credentials, exchanges,
                                  options.patience(std::chrono::hours(1)));
        });
    }

    static ExitStatus answerLines(const SOptions& options, const CCredentials& credentials) {
        const auto plugin = std::make_shared<CLoadedPlugin>(options);
        ExitStatus status = ExitStatus::Success;
        bool isFirst = true;
        for (Texts line{""}; std::getline(std::cin, line[0]); isFirst = false) {
            RequireAddress(line[0]);
            CResults result(line, *plugin->models(), options.json, isFirst);
            result.take(0, identify(plugin, line[0], credentials, options));
            if (result.status() != ExitStatus::Success)
                status = ExitStatus::CallFailed;
        }
        return status;
    }

    void askSideBySide(const SOptions& options, const CVornModelList& models, CResults& results) const {
        CIdentificationWorkers workers(options, [&](std::size_t place, const std::string& line) {
            const auto answer = ordered_json::parse(line, nullptr, false);
            results.take(place, answer.is_object() ? answer : JsonOf(addresses_[place], Unanswered()));
        });
        refhost::ProbeConnections(addresses_, options.patience(LongestIdentification),
                                  [&](std::size_t place, const refhost::SProbedConnection& probed) {
                                      if (probed.kind == refhost::HttpFailure::None)
                                          workers.add(place, addresses_[place]);
                                      else
                                          results.take(place, NobodyThere(addresses_[place], models, probed));
                                  });
        workers.finish();
    }

    Texts words_;
    Texts addresses_;
};

} // namespace

std::unique_ptr<IVerb> MakeIdentifyVerb() {
    return std::make_unique<CIdentify>();
}

} // namespace corvane::vornhost
