#include "tools/vornhost/ptz/ptz_drive.h"

#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/calls/answer_text.h"
#include "tools/vornhost/console/keyboard.h"
#include "tools/vornhost/names.h"

#include <algorithm>
#include <cstdio>
#include <poll.h>
#include <unistd.h>

namespace corvane::vornhost {
namespace {

using Clock = std::chrono::steady_clock;
using Time = CPtzPilot::Time;

constexpr const char* KeyHelp =
    "arrows: pan, tilt   + -: zoom   0-9: call a preset   p 0-9: save it   [ ]: speed   space: stop   q: "
    "leave\n";

ordered_json CommandJson(const SPtzCommand& command, const STimedAnswer& timed,
                         const std::optional<SDiagnosis>& failure) {
    ordered_json json{{"key", command.key}, {"operation", command.call.operation}};
    json.update(ErrorMembers(*timed.answer.error));
    json["ms"] = ThreeDecimals(timed.milliseconds);
    if (failure)
        json["problem"] = ProblemObject(*failure);
    return json;
}

// "pan 5000  tilt 0  zoom 0" of "pan=5000&tilt=0&zoom=0&iris=0&focus=0".
std::string PositionText(const std::string& position) {
    std::string text;
    for (const char character : PrintableText(position.substr(0, position.find("&iris="))))
        text += character == '&' ? "  " : std::string(1, character == '=' ? ' ' : character);
    return text;
}

int MillisecondsUntil(const std::optional<Time>& time) {
    if (!time)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*time - Clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

} // namespace

CPtzDrive::CPtzDrive(CDeviceSession& session, int speed, bool json)
    : session_(session), json_(json), inbox_(std::make_shared<CTaskInbox>()), pilot_(speed), status_(!json) {}

bool CPtzDrive::run() {
    {
        const CKeyboard keyboard;
        takeSignals();
        if (json_)
            waiting_.emplace();
        const CHangupAsTermination hangup;
        if (status_.isShown())
            WriteMessage(KeyHelp);
        try {
            drive();
        } catch (...) {
            pilot_.leave();
            drive();
            throw;
        }
        status_.clear();
        waiting_.reset();
    }
    if (pilot_.mayMove())
        WriteMessage("vornhost: " + session_.address() +
                     ": the camera was not stopped and may go on moving\n");
    for (const SOutcome& outcome : failed_)
        tellFailure(outcome);
    answers_.finish();
    endRequest_.reset();
    return allSucceeded_;
}

// Every signal is taken: a second Ctrl-C must not end the program while the camera still moves.
void CPtzDrive::takeSignals() {
    endRequest_.emplace([this] { inbox_->post([this] { pilot_.leave(); }); }, SignalsTaken::Every);
}

void CPtzDrive::drive() {
    for (;;) {
        pilot_.advance(Clock::now());
        sendNext();
        if (pilot_.isDone())
            return;
        askPosition();
        status_.show(statusText());
        waitForSomething();
    }
}

void CPtzDrive::waitForSomething() {
    const int keys = isInputOpen_ ? CKeyboard::file() : -1;
    const int output = answers_.isWaiting() ? STDOUT_FILENO : -1;
    pollfd files[] = {{inbox_->file(), POLLIN, 0}, {keys, POLLIN, 0}, {output, POLLOUT, 0}};
    if (poll(files, std::size(files), MillisecondsUntil(wakeTime())) <= 0)
        return;
    if (files[0].revents != 0)
        inbox_->run();
    if (files[1].revents != 0)
        readKeys();
    if (files[2].revents != 0)
        writeAnswers();
}

std::optional<Time> CPtzDrive::wakeTime() const {
    const std::optional<Time> release = pilot_.releaseTime();
    const std::optional<Time> ask =
        status_.isShown() && !pilot_.isBusy() ? position_.askTime() : std::nullopt;
    return release && ask ? std::min(*release, *ask) : (release ? release : ask);
}

void CPtzDrive::readKeys() {
    const std::optional<std::string> bytes = CKeyboard::read();
    if (!bytes) {
        isInputOpen_ = false;
        pilot_.leave();
        return;
    }
    for (const char byte : *bytes) {
        if (const auto key = keyReader_.take(byte)) {
            pilot_.press(*key, Clock::now());
            sendNext();
        }
    }
}

void CPtzDrive::sendNext() {
    const std::optional<SPtzCommand> command = pilot_.next();
    if (!command)
        return;
    if (waiting_)
        waiting_->show("waiting for " + command->key);
    latest_ = command;
    outcome_.reset();
    position_.disturb();
    session_.exchanges().takeFailing();
    const auto done = [this, inbox = inbox_, &exchanges = session_.exchanges(),
                       command = *command](const STimedAnswer& timed) {
        SOutcome outcome{command, timed, std::nullopt};
        if (!timed.succeeded())
            outcome.failure = Diagnose(Occasion::Call, *timed.answer.error, exchanges);
        inbox->post([this, outcome] { answered(outcome); });
    };
    try {
        StartCall(session_.operations(), command->call, done);
    } catch (...) {
        pilot_.answered(false);
        throw;
    }
}

void CPtzDrive::answered(const SOutcome& outcome) {
    pilot_.answered(outcome.timed.succeeded());
    if (waiting_)
        waiting_->end();
    outcome_ = outcome;
    if (json_)
        answers_.add(JsonLine(CommandJson(outcome.command, outcome.timed, outcome.failure)));
    if (!outcome.failure && !outcome.command.isStop)
        refused_.reset();
    if (!outcome.failure)
        return;
    allSucceeded_ = false;
    refused_ = outcome;
    if (status_.isShown())
        keepFailure(outcome);
    else if (!json_)
        tellFailure(outcome);
}

void CPtzDrive::keepFailure(const SOutcome& outcome) {
    const bool isKnown = std::any_of(failed_.begin(), failed_.end(), [&outcome](const SOutcome& known) {
        return known.command.call.operation == outcome.command.call.operation &&
               known.failure->cause == outcome.failure->cause;
    });
    if (!isKnown)
        failed_.push_back(outcome);
}

void CPtzDrive::tellFailure(const SOutcome& outcome) {
    WriteMessage(outcome.failure->lines(session_.address() + ": " + outcome.command.key + ": " +
                                        outcome.command.call.operation));
}

void CPtzDrive::writeAnswers() {
    if (!answers_.write())
        pilot_.leave();
}

void CPtzDrive::askPosition() {
    if (pilot_.mayMove())
        position_.disturb();
    const std::optional<Time> time = position_.askTime();
    const Time now = Clock::now();
    if (!status_.isShown() || pilot_.isBusy() || !time || now < *time)
        return;
    const auto done = [this, inbox = inbox_](const STimedAnswer& timed) {
        const Texts& values = timed.answer.values;
        const auto position =
            timed.succeeded() && !values.empty() ? std::optional(values.front()) : std::nullopt;
        inbox->post([this, position] { position_.answered(position, Clock::now()); });
    };
    position_.asked(now);
    StartCall(session_.operations(), {"controller.getPTZPos", {}}, done);
}

std::string CPtzDrive::statusText() const {
    const std::string position =
        position_.position() ? PositionText(*position_.position()) : "position unknown";
    return position + "   speed " + std::to_string(pilot_.speed()) + "   " + commandText();
}

std::string CPtzDrive::commandText() const {
    if (pilot_.isSaving())
        return "save a preset: which digit?";
    if (!latest_)
        return "";
    const std::string refused =
        refused_ ? "   " + refused_->command.key + ": " + PrintableText(refused_->failure->problem) : "";
    if (!outcome_)
        return latest_->key + " ..." + refused;
    return latest_->key + "   " + MillisecondsText(outcome_->timed.milliseconds) + refused;
}

} // namespace corvane::vornhost
