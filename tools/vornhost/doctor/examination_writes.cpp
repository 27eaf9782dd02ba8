// The checks that change something at the camera, and put it back.

#include "tools/vornhost/doctor/examination.h"

#include "site/session/answered_call.h"
#include "tools/vornhost/names.h"

#include <chrono>
#include <thread>

namespace corvane::vornhost {
namespace {

using Clock = std::chrono::steady_clock;

} // namespace

// In the camera's own words, so that nothing is rounded on its way there and back.
SFinding CExamination::writeTest() {
    constexpr struct {
        const char* key;
        const char* path;
        const char* parameter;
    } Written[] = {{"BRIGHTNESS", "/cgi-bin/image_adjust", "brightness"},
                   {"AUDIOBITRATE", "/cgi-bin/set_audio", "audio_bitrate"}};
    for (const auto& row : Written) {
        const std::string before = setting(row.key);
        if (before.empty())
            continue;
        (void)session_.exchanges().takeFailing();
        const auto answer =
            call("setting.SetCameraSetting", {row.path, std::string(row.parameter) + "=" + before});
        auto problem = answer ? ProblemOf(session_, "setting.SetCameraSetting", *answer) : std::nullopt;
        const auto written = session_.exchanges().lastOf(row.path);
        if (written && !written->failure.empty())
            problem = DiagnoseExchange(*written, session_.exchanges());
        const std::string after = problem ? "" : setting(row.key);
        if (!problem && (problem = dumpProblem()))
            problem->phase = "read-back";
        if (!problem && after != before)
            problem = NotAccepted(row.key, before, after);
        return problem ? Faulty(*problem) : Sound(std::string(row.key) + " written as it was: " + after);
    }
    return Sound("nothing that could be written");
}

SFinding CExamination::moveTest() {
    (void)session_.exchanges().takeFailing();
    const std::string before = place();
    std::string after;
    for (const char* step : {"1", "-1"}) {
        const auto answer = call("setRelativePtz", {"0", step, "0", "0", "0", "0"});
        if (auto problem = answer ? ProblemOf(session_, "setRelativePtz", *answer) : std::nullopt)
            return Faulty(*problem);
        if (after.empty())
            after = placeOtherThan(before);
    }
    if (after != before)
        return Sound("a step and back, from " + before);
    SDiagnosis stays = NotAccepted("the head's place", "a step", before);
    stays.problem = "the camera has taken the move, and its head stays where it is";
    stays.phase = "move";
    return Faulty(stays);
}

std::string CExamination::place() const {
    const auto answer = call("getPtzPosition", {"0"});
    return answer && !answer->values.empty() ? answer->values.front() : "";
}

// Where the head looks once it has moved, or when it has had its time.
std::string CExamination::placeOtherThan(const std::string& before) const {
    constexpr std::chrono::milliseconds LookAgain{100};
    const Clock::time_point limit = Clock::now() + std::chrono::seconds(2);
    std::string now = place();
    while (now == before && Clock::now() < limit) {
        std::this_thread::sleep_for(LookAgain); // the camera does not tell when it has arrived
        now = place();
    }
    return now;
}

} // namespace corvane::vornhost
