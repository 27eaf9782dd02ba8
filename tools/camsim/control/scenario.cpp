#include "control/scenario.h"

#include "model/numbers.h"

#include <cmath>
#include <fstream>
#include <sstream>

namespace camsim {
namespace {

constexpr double longestSeconds = 1e7;

ScenarioStep readStep(const std::string& line, const std::string& place,
                      const std::vector<std::unique_ptr<Camera>>& cameras) {
    std::istringstream words(line);
    std::string seconds;
    std::string camera;
    std::string terminal;
    std::string level;
    std::string more;
    words >> seconds >> camera >> terminal >> level >> more;
    const double at = parseNumber<double>(seconds).value_or(-1);
    const std::optional<size_t> index = parseNumber<size_t>(camera);
    const std::optional<int> input = parseNumber<int>(terminal);
    const std::optional<AlarmInputs::Level> taken = AlarmInputs::parse(level);
    const bool formed = 0 <= at && at <= longestSeconds && index && input && taken && more.empty();
    if (!formed)
        throw ScenarioError(place + "expected SECONDS CAMERA INPUT High|Low, not '" + line + "'");
    if (*index >= cameras.size())
        throw ScenarioError(place + "there are " + std::to_string(cameras.size()) +
                            " cameras, counted from 0");
    const AlarmInputs inputs = cameras[*index]->alarmInputs();
    if (inputs.levels().count(*input) == 0)
        throw ScenarioError(place + "camera " + camera + " has " + std::to_string(inputs.levels().size()) +
                            " inputs, counted from 1");
    return {std::chrono::milliseconds(std::llround(at * 1000)), *index, *input, *taken};
}

} // namespace

std::vector<ScenarioStep> readScenario(const std::string& path,
                                       const std::vector<std::unique_ptr<Camera>>& cameras) {
    std::ifstream file(path);
    if (!file)
        throw ScenarioError(path + ": cannot be read");
    std::vector<ScenarioStep> steps;
    std::string line;
    for (size_t number = 1; std::getline(file, line); ++number) {
        line.erase(std::min(line.find('#'), line.size()));
        line.erase(line.find_last_not_of(" \t\r") + 1);
        if (!line.empty())
            steps.push_back(readStep(line, path + ":" + std::to_string(number) + ": ", cameras));
    }
    return steps;
}

void playScenario(const std::vector<ScenarioStep>& steps, const std::vector<std::unique_ptr<Camera>>& cameras,
                  EventLoop& loop) {
    for (const ScenarioStep& step : steps)
        loop.after(step.at, [step, &camera = *cameras[step.camera]] {
            camera.setAlarmInputs({{step.terminal, step.level}});
        });
}

} // namespace camsim
