#include "refhost/text/near_names.h"
#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/calls/answer_text.h"
#include "site/report/adjustments.h"
#include "site/report/measured.h"
#include "site/session/device_session.h"
#include "site/session/options.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/console/waiting_line.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/verbs/device_verb.h"
#include "tools/vornhost/verbs/options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>

namespace corvane::vornhost {
namespace {

constexpr std::size_t BarWidth = 20; // the whole table then fits a terminal of 80 columns

// 0 for a text that is no number; the plug-in's percentages always are.
long NumberIn(const std::string& text) {
    return std::strtol(text.c_str(), nullptr, 10);
}

// "#####-----" for a percentage.
std::string BarText(const std::string& percent) {
    const auto filled = static_cast<std::size_t>(std::clamp(NumberIn(percent), 0L, 100L)) * BarWidth / 100;
    return std::string(filled, '#') + std::string(BarWidth - filled, '-');
}

std::string ChoiceText(const SAdjustmentReading& reading, const SModelInfo& model) {
    return reading.isFixed() ? std::string("fixed by ") + reading.info->fixedBy
                             : AdjustmentChoice(*reading.info, model);
}

std::string ReadingsText(const std::vector<SAdjustmentReading>& readings, const SModelInfo& model,
                         bool colour) {
    CTable table({"NAME", "", "NOW", "DEFAULT", "MAY BE"});
    for (const SAdjustmentReading& reading : readings) {
        const bool isPercent = reading.info->form == AdjustmentForm::Percent;
        if (reading.failure)
            table.addRow({reading.info->name, "", "?", "", reading.failure->getText()});
        else
            table.addRow({reading.info->name, isPercent ? BarText(reading.current) : "", reading.current,
                          reading.byDefault, ChoiceText(reading, model)});
    }
    return table.headingLines(colour) + table.rowLines();
}

struct SWish {
    const SAdjustmentInfo* info;
    std::string value; // as it was typed
};

[[noreturn]] void Refuse(const std::string& what, const std::string& name, const Texts& known,
                         const std::string& choice) {
    throw CFailure(ExitStatus::WrongUsage,
                   "image: " + what + refhost::DidYouMean(name, known) + "\nIt may be: " + choice);
}

// What is shown and set of one camera.
class CImageSession {
public:
    CImageSession(CDeviceSession& session, const SModelInfo& model, int input)
        : session_(session),
          model_(model),
          input_(input),
          json_(session.options().json),
          adjustments_([this](const std::string& operation,
                              const Texts& arguments) { return ask(operation, arguments); },
                       model, input) {}

    ExitStatus run(const std::vector<SWish>& wishes) {
        const CError error =
            WhileWaiting("waiting for the camera's settings", [this] { return adjustments_.learn(); });
        if (error) {
            const SDiagnosis problem = Diagnose(Occasion::Call, error, session_.exchanges());
            if (json_)
                WriteOutput(ProblemLine(problem));
            WriteMessage(problem.lines(session_.address() + ": getVpaProperties"));
            return ExitStatus::CallFailed;
        }
        if (wishes.empty())
            return show();
        ExitStatus status = ExitStatus::Success;
        for (const SWish& wish : wishes)
            if (set(wish) != ExitStatus::Success)
                status = ExitStatus::CallFailed;
        return status;
    }

private:
    ExitStatus show() {
        const std::vector<SAdjustmentReading> readings =
            WhileWaiting("waiting for the camera's settings", [this] { return adjustments_.readAll(); });
        const auto failed = std::find_if(readings.begin(), readings.end(),
                                         [](const auto& reading) { return reading.failure.has_value(); });
        const auto problem = failed == readings.end()
                                 ? unreadSettings()
                                 : Diagnose(Occasion::Call, *failed->failure, session_.exchanges());
        if (json_) {
            ordered_json adjustments = ordered_json::object();
            for (const SAdjustmentReading& reading : readings)
                adjustments[reading.info->name] = ReadingJson(reading);
            ordered_json line{{"input", input_}, {"adjustments", adjustments}};
            if (problem)
                line["problem"] = ProblemObject(*problem);
            WriteOutput(JsonLine(line));
        } else {
            WriteOutput(ReadingsText(readings, model_, ColourWanted()));
        }
        if (!problem)
            return ExitStatus::Success;
        // One failure stands for all: they have the same cause.
        const std::string asked =
            failed == readings.end() ? "" : std::string(": get") + failed->info->operation;
        WriteMessage(problem->lines(session_.address() + asked));
        return ExitStatus::CallFailed;
    }

    // Of settings that could be read from and are not what a camera's are.
    std::optional<SDiagnosis> unreadSettings() const {
        const auto settings = session_.exchanges().failedSettings();
        return settings ? std::optional(DiagnoseExchange(*settings, session_.exchanges())) : std::nullopt;
    }

    ExitStatus set(const SWish& wish) {
        if (!adjustments_.has(*wish.info)) {
            const SDiagnosis problem = AdjustmentMissing(*wish.info, wish.value);
            const SAdjustmentReading none{wish.info, "", "", {}, std::nullopt};
            if (json_)
                tell(wish, {RtnCode::NotSupported, Origin::General, problem.problem}, none, problem);
            WriteMessage(problem.lines(session_.address()));
            return ExitStatus::CallFailed;
        }
        (void)session_.exchanges().takeFailing(); // an earlier wish's
        const std::string operation = std::string("set") + wish.info->operation;
        const SAdjustmentInfo& telling = TellingAdjustment(*wish.info);
        SAdjustmentReading reported{&telling, "", "", {}, std::nullopt};
        CError error = CError::Success();
        WhileWaiting(std::string("waiting for the camera to take the ") + wish.info->name, [&] {
            const auto answer = adjustments_.set(*wish.info, wish.value);
            error = answer && answer->error ? *answer->error : CError::Success();
            if (!error)
                reported = adjustments_.readSettled(telling);
        });
        const auto problem = problemOf(wish, error, reported);
        tell(wish, error, reported, problem);
        if (!problem)
            return ExitStatus::Success;
        WriteMessage(problem->lines(session_.address() + ": " +
                                    (reported.failure ? std::string("get") + telling.operation : operation)));
        if (error && adjustments_.read(telling).isFixed())
            WriteMessage(std::string("  ") + telling.name + " is fixed by " + telling.fixedBy +
                         " at the moment\n");
        return ExitStatus::CallFailed;
    }

    std::optional<SDiagnosis> problemOf(const SWish& wish, const CError& error,
                                        const SAdjustmentReading& reported) const {
        if (error)
            return Diagnose(Occasion::Call, error, session_.exchanges());
        const auto unread = unreadSettings();
        if (reported.failure || unread) {
            SDiagnosis problem = reported.failure
                                     ? Diagnose(Occasion::Call, *reported.failure, session_.exchanges())
                                     : *unread;
            problem.phase = problem.phase == "settings" ? "read-back" : problem.phase;
            return problem;
        }
        const bool isTold = reported.info == wish.info && wish.info->form != AdjustmentForm::Action;
        if (!isTold || IsSameAdjustment(*wish.info, model_, wish.value, reported.current))
            return std::nullopt;
        return NotAccepted(wish.info->name, wish.value, reported.current);
    }

    void tell(const SWish& wish, const CError& error, const SAdjustmentReading& reported,
              const std::optional<SDiagnosis>& problem) const {
        const SAdjustmentInfo& telling = *reported.info;
        if (json_) {
            ordered_json line{{"setting", wish.info->name}, {"asked", Measured(wish.value)}};
            line.update(ErrorMembers(error));
            if (!reported.current.empty())
                line["reported"] = CurrentValue(reported);
            if (problem)
                line["problem"] = ProblemObject(*problem);
            WriteOutput(JsonLine(line));
        } else if (!reported.current.empty()) {
            const std::string why = reported.isFixed() ? std::string(", fixed by ") + telling.fixedBy : "";
            WriteOutput(PrintableText(std::string(wish.info->name) + " " + wish.value +
                                      ": the camera reports " + telling.name + " " + reported.current + why) +
                        "\n");
        }
    }

    std::optional<SAnswer> ask(const std::string& operation, const Texts& arguments) const {
        return AnswerIfThere(session_.operations(), operation, arguments);
    }

    CDeviceSession& session_;
    const SModelInfo& model_;
    const int input_;
    const bool json_;
    CAdjustments adjustments_;
};

std::string HelpWithNames() {
    return R"(Shows the picture and lens adjustments that the camera has, or sets some and tells what the
camera reports then. Values are percentages, "on" and "off", and the camera's words for the
white balance; auto focus can only be set "on", which focuses once.
Names: )" + Join(AdjustmentNames(), ", ") +
           R"(.
Exit status 1 when the camera refuses or cannot be read.
Example: vornhost image 192.168.0.10 brightness=60 whiteBalance=awc)";
}

class CImage : public CDeviceVerb {
public:
    void declare(CLI::App& command) override {
        CDeviceVerb::declare(command);
        command.add_option("NAME=VALUE", texts_, "What to set");
        DeclareInput(command, input_, "The video input, from 0 (default 0)");
        command.footer(HelpWithNames());
    }

private:
    void checkArguments(const SOptions& /*options*/) override {
        for (const std::string& text : texts_)
            wishes_.push_back(wishOf(text));
    }

    ExitStatus runOn(CDeviceSession& session) override {
        const SModelInfo* const model = session.model();
        if (!model) {
            WriteMessage("vornhost: " + address_ +
                         ": what a camera of unknown model offers cannot be told\n");
            return ExitStatus::CallFailed;
        }
        for (const SWish& wish : wishes_)
            requireValue(wish, *model);
        return CImageSession(session, *model, input_).run(wishes_);
    }

    static SWish wishOf(const std::string& text) {
        const std::size_t equals = text.find('=');
        const std::string name = text.substr(0, equals);
        const SAdjustmentInfo* const info = FindAdjustment(name);
        if (!info)
            Refuse("there is no adjustment \"" + name + "\"", name, AdjustmentNames(),
                   Join(AdjustmentNames(), ", "));
        if (equals == std::string::npos)
            throw CFailure(ExitStatus::WrongUsage, "image: expected " + name + "=VALUE");
        return {info, text.substr(equals + 1)};
    }

    static void requireValue(const SWish& wish, const SModelInfo& model) {
        const Texts values = AdjustmentValues(*wish.info, model);
        const bool hasNone = wish.info->form != AdjustmentForm::Percent && values.empty();
        if (!hasNone && !AdjustmentArgument(*wish.info, model, wish.value))
            Refuse("\"" + wish.value + "\" is no " + wish.info->name, wish.value, values,
                   AdjustmentChoice(*wish.info, model));
    }

    Texts texts_;
    std::vector<SWish> wishes_; // of texts_
    int input_ = 0;
};

} // namespace

std::unique_ptr<IVerb> MakeImageVerb() {
    return std::make_unique<CImage>();
}

} // namespace corvane::vornhost
