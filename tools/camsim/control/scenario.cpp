#include "control/scenario.h"

#include "model/numbers.h"

#include <cmath>
#include <fstream>
#include <sstream>

namespace camsim {
namespace {

constexpr double LongestSeconds = 1e7;

SScenarioStep ReadStep(const std::string& line, const std::string& place,
                       const std::vector<std::unique_ptr<CCamera>>& cameras) {
    std::istringstream words(line);
    std::string seconds;
    std::string camera;
    std::string terminal;
    std::string level;
    std::string more;
    words >> seconds >> camera >> terminal >> level >> more;
    const double at = ParseNumber<double>(seconds).value_or(-1);
    const std::optional<size_t> index = ParseNumber<size_t>(camera);
    const std::optional<int> input = ParseNumber<int>(terminal);
    const std::optional<CAlarmInputs::Level> taken = CAlarmInputs::parse(level);
    const bool formed = 0 <= at && at <= LongestSeconds && index && input && taken && more.empty();
    if (!formed)
        throw CScenarioError(place + "expected SECONDS CAMERA INPUT High|Low, not '" + line + "'");
    if (*index >= cameras.size())
        throw CScenarioError(place + "there are " + std::to_string(cameras.size()) +
                             " cameras, counted from 0");
    const CAlarmInputs inputs = cameras[*index]->alarmInputs();
    if (inputs.levels().count(*input) == 0)
        throw CScenarioError(place + "camera " + camera + " has " + std::to_string(inputs.levels().size()) +
                             " inputs, counted from 1");
    return {std::chrono::milliseconds(std::llround(at * 1000)), *index, *input, *taken};
}

} // namespace

std::vector<SScenarioStep> ReadScenario(const std::string& path,
                                        const std::vector<std::unique_ptr<CCamera>>& cameras) {
    std::ifstream file(path);
    if (!file)
        throw CScenarioError(path + ": cannot be read");
    std::vector<SScenarioStep> steps;
    std::string line;
    for (size_t number = 1; std::getline(file, line); ++number) {
        line.erase(std::min(line.find('#'), line.size()));
        line.erase(line.find_last_not_of(" \t\r") + 1);
        if (!line.empty())
            steps.push_back(ReadStep(line, path + ":" + std::to_string(number) + ": ", cameras));
    }
    return steps;
}

void PlayScenario(const std::vector<SScenarioStep>& steps,
                  const std::vector<std::unique_ptr<CCamera>>& cameras, CEventLoop& loop) {
    for (const SScenarioStep& step : steps)
        loop.after(step.at, [step, &camera = *cameras[step.camera]] {
            camera.setAlarmInputs({{step.terminal, step.level}});
        });
}

} // namespace camsim
