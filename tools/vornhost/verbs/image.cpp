#include "tools/vornhost/adjustments.h"
#include "tools/vornhost/answers.h"
#include "tools/vornhost/device_session.h"
#include "tools/vornhost/near_names.h"
#include "tools/vornhost/output.h"
#include "tools/vornhost/table.h"
#include "tools/vornhost/terminal_text.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace corvane::vornhost {
namespace {

using device_handler::v1_0::CError;
using device_handler::v1_0::COperationError;
using device_handler::v1_0::CString;
using device_handler::v1_0::SAnswer;
using device_handler::v1_0::SModelInfo;
using nlohmann::ordered_json;

using Words = std::vector<std::string>;

constexpr int BarWidth = 25;
constexpr std::chrono::milliseconds LookAgain(200);
constexpr int LooksAtRest = 3; // without a change: it begins slowly
constexpr std::chrono::seconds LongestMove(15);

// "#####-----" for a percentage.
std::string BarText(const std::string& percent) {
    const int filled = std::clamp(std::atoi(percent.c_str()), 0, 100) * BarWidth / 100;
    return std::string(static_cast<std::size_t>(filled), '#') +
           std::string(static_cast<std::size_t>(BarWidth - filled), '-');
}

std::string ReadingsText(const std::vector<SAdjustmentReading>& readings, bool colour) {
    CTable table({"NAME", "", "NOW", "DEFAULT", "MAY BE"});
    for (const SAdjustmentReading& reading : readings) {
        const bool isPercent = reading.info->form == AdjustmentForm::Percent;
        if (reading.failure)
            table.addRow({reading.info->name, "", "?", "", reading.failure->getText()});
        else if (isPercent)
            table.addRow({reading.info->name, BarText(reading.current), reading.current, reading.byDefault,
                          AdjustmentChoice(*reading.info, {})});
        else
            table.addRow(
                {reading.info->name, "", reading.current, reading.byDefault,
                 reading.values.empty() ? "cannot be set at the moment" : Join(reading.values, ", ")});
    }
    return table.headingLines(colour) + table.rowLines();
}

ordered_json ReadingJson(const SAdjustmentReading& reading) {
    if (reading.failure)
        return {{"code", reading.failure->getCode()},
                {"origin", reading.failure->getOrigin()},
                {"text", reading.failure->getText()}};
    ordered_json json = ordered_json::object();
    const bool isPercent = reading.info->form == AdjustmentForm::Percent;
    const auto value = [isPercent](const std::string& text) {
        return isPercent ? ordered_json(std::atoi(text.c_str())) : ordered_json(text);
    };
    if (!reading.current.empty())
        json["current"] = value(reading.current);
    if (!reading.byDefault.empty())
        json["default"] = value(reading.byDefault);
    if (isPercent)
        json.update({{"minimum", 0}, {"maximum", 100}});
    else
        json["values"] = reading.values;
    return json;
}

struct SWish {
    const SAdjustmentInfo* info;
    std::string value; // as it was typed
};

[[noreturn]] void Refuse(const std::string& what, const std::string& name, const Words& known,
                         const std::string& choice) {
    const Words near = NearNames(name, known);
    throw CFailure(ExitStatus::WrongUsage,
                   "image: " + what + (near.empty() ? "" : "; did you mean " + Join(near, " or ") + "?") +
                       "\nIt may be: " + choice);
}

class CImage : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.add_option("ADDRESS", address_, "The camera")->required();
        command.add_option("NAME=VALUE", wishes_, "What to set");
        command.add_option("--input", input_, "The video input, from 0 (default 0)")
            ->type_name("N")
            ->check(CLI::NonNegativeNumber.description(""));
        Words names;
        for (const SAdjustmentInfo& info : Adjustments())
            names.emplace_back(info.name);
        command.footer(
            "Shows the picture and lens adjustments that the camera has, or sets some and tells "
            "what the\n"
            "camera reports then. Values are percentages, \"on\" and \"off\", and the camera's words "
            "for the\n"
            "white balance; auto focus can only be set \"on\", which focuses once.\n"
            "Names: " +
            Join(names, ", ") +
            ".\n"
            "Exit status 1 when the camera refuses or cannot be read.\n"
            "Example: vornhost image 192.168.0.10 brightness=60 whiteBalance=awc");
    }

    ExitStatus run(const SOptions& options) override {
        std::vector<SWish> wishes;
        for (const std::string& text : wishes_)
            wishes.push_back(wishOf(text));
        CDeviceSession session(options, address_);
        if (const auto failure = session.start()) {
            WriteMessage(failure->lines(session.address()));
            return ExitStatus::NotStarted;
        }
        takeModel(session);
        for (const SWish& wish : wishes)
            requireValue(wish);
        if (wishes.empty())
            return show(session, options.json);
        ExitStatus status = ExitStatus::Success;
        for (const SWish& wish : wishes)
            if (!set(session, wish, options.json))
                status = ExitStatus::CallFailed;
        return status;
    }

private:
    static SWish wishOf(const std::string& text) {
        const std::size_t equals = text.find('=');
        const std::string name = text.substr(0, equals);
        const SAdjustmentInfo* const info = FindAdjustment(name);
        if (!info) {
            Words names;
            for (const SAdjustmentInfo& known : Adjustments())
                names.emplace_back(known.name);
            Refuse("there is no adjustment \"" + name + "\"", name, names, Join(names, ", "));
        }
        if (equals == std::string::npos)
            throw CFailure(ExitStatus::WrongUsage, "image: expected " + name + "=VALUE");
        return {info, text.substr(equals + 1)};
    }

    void takeModel(const CDeviceSession& session) {
        CString number;
        if (session.camera().getUnitModelName(number))
            return;
        if (const SModelInfo* const model = session.plugin().handler().getModelInfo(number.str()))
            words_ = model->whiteBalance.values;
    }

    void requireValue(const SWish& wish) const {
        const bool hasNoWords = wish.info->form == AdjustmentForm::Word && words_.empty();
        if (hasNoWords ||
            AdjustmentArgument(*wish.info, words_, wish.value)) // without words it tells so itself
            return;
        const Words values = wish.info->form == AdjustmentForm::Word ? words_ : Words{"on", "off"};
        Refuse("\"" + wish.value + "\" is no " + wish.info->label, wish.value,
               wish.info->form == AdjustmentForm::Percent ? Words() : values,
               AdjustmentChoice(*wish.info, words_));
    }

    static AskCamera askerOf(const CDeviceSession& session) {
        return [&session](const std::string& operation,
                          const std::vector<std::string>& arguments) -> std::optional<SAnswer> {
            try {
                return MakeCall(session.operations(), {operation, arguments}).answer;
            } catch (const COperationError&) {
                return std::nullopt;
            }
        };
    }

    ExitStatus show(CDeviceSession& session, bool json) const {
        const SAnswer offered =
            MakeCall(session.operations(), {"getVpaProperties", {std::to_string(input_)}}).answer;
        if (offered.error && *offered.error)
            return fail(session, *offered.error, "getVpaProperties");
        const auto readings = ReadAdjustments(askerOf(session), input_, words_);
        if (json) {
            ordered_json adjustments = ordered_json::object();
            for (const SAdjustmentReading& reading : readings)
                adjustments[reading.info->name] = ReadingJson(reading);
            WriteOutput(JsonLine({{"input", input_}, {"adjustments", adjustments}}));
        } else {
            WriteOutput(ReadingsText(readings, ColourWanted()));
        }
        const bool areAllRead = std::none_of(readings.begin(), readings.end(),
                                             [](const auto& reading) { return reading.failure.has_value(); });
        return areAllRead ? ExitStatus::Success : ExitStatus::CallFailed;
    }

    bool set(CDeviceSession& session, const SWish& wish, bool json) const {
        const std::string operation = std::string("set") + wish.info->operation;
        const auto before = ReadAdjustment(*wish.info, askerOf(session), input_, words_);
        if (!before) {
            WriteMessage("vornhost: " + address_ + ": the camera has no " + wish.info->label + "\n");
            return false;
        }
        const std::string argument = AdjustmentArgument(*wish.info, words_, wish.value).value_or("");
        const CError error =
            *MakeCall(session.operations(), {operation, {std::to_string(input_), argument}}).answer.error;
        // What is focused once is told by the focus.
        const SAdjustmentInfo& told =
            wish.info->form == AdjustmentForm::Action ? *FindAdjustment("focus") : *wish.info;
        const std::string reported = error ? "" : settled(session, told);
        if (json)
            WriteOutput(JsonLine({{"name", wish.info->name},
                                  {"asked", wish.value},
                                  {"code", error.getCode()},
                                  {"origin", error.getOrigin()},
                                  {"text", error.getText()},
                                  {"reported", reported}}));
        else if (!error)
            WriteOutput(PrintableText(std::string(wish.info->label) + " " + wish.value +
                                      ": the camera reports " + told.label + " " +
                                      (reported.empty() ? "nothing" : reported)) +
                        "\n");
        if (error)
            (void)fail(session, error, operation);
        return !error;
    }

    // What the camera reports once it no longer changes: a lens takes its time.
    std::string settled(const CDeviceSession& session, const SAdjustmentInfo& info) const {
        const auto read = [&] {
            const auto reading = ReadAdjustment(info, askerOf(session), input_, words_);
            return reading ? reading->current : std::string();
        };
        std::string last = read();
        if (!info.isOfLens || info.form != AdjustmentForm::Percent)
            return last;
        const auto end = std::chrono::steady_clock::now() + LongestMove;
        for (int unchanged = 0; unchanged < LooksAtRest && std::chrono::steady_clock::now() < end;) {
            std::this_thread::sleep_for(LookAgain);
            const std::string now = read();
            unchanged = now == last ? unchanged + 1 : 0;
            last = now;
        }
        return last;
    }

    static ExitStatus fail(const CDeviceSession& session, const CError& error, const std::string& operation) {
        WriteMessage(
            Diagnose(Occasion::Call, error, session.exchanges()).lines(session.address() + ": " + operation));
        return ExitStatus::CallFailed;
    }

    std::string address_;
    Words wishes_;
    int input_ = 0;
    Words words_; // of the model's white balance
};

} // namespace

std::unique_ptr<IVerb> MakeImageVerb() {
    return std::make_unique<CImage>();
}

} // namespace corvane::vornhost
