#include "benchmarks/report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace corvane::bench {

namespace {

struct SScale {
    double least;
    double factor;
    int decimals;
    const char* unit;
};

constexpr SScale TimeScales[] = {
    {1, 1, 2, "s"}, {1e-3, 1e3, 2, "ms"}, {1e-6, 1e6, 2, "us"}, {0, 1e9, 1, "ns"}};
constexpr SScale ByteScales[] = {{0, 1.0 / 1024, 1, "KiB"}};
constexpr SScale CountScales[] = {{0, 1, 2, ""}};

std::string Format(double value, int decimals, const char* unit) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f%s%s", decimals, value, *unit ? " " : "", unit);
    return text;
}

template <std::size_t Count>
std::string Format(double value, const SScale (&scales)[Count]) {
    const SScale* scale = scales;
    while (value < scale->least && scale != std::end(scales) - 1)
        ++scale;
    return Format(value * scale->factor, scale->decimals, scale->unit);
}

std::string Format(double value, Unit unit) {
    switch (unit) {
    case Unit::Seconds:
        return Format(value, TimeScales);
    case Unit::Bytes:
        return Format(value, ByteScales);
    case Unit::Count:
        break;
    }
    return Format(value, CountScales);
}

constexpr std::size_t Columns = 7;
using Row = std::array<std::string, Columns>;

void Print(const std::vector<Row>& rows) {
    std::array<int, Columns> widths{};
    for (const Row& row : rows)
        for (std::size_t i = 0; i < Columns; ++i)
            widths[i] = std::max(widths[i], static_cast<int>(row[i].size()));
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < Columns; ++i) {
            const std::string blanks(static_cast<std::size_t>(widths[i]) - row[i].size(), ' ');
            const bool isText = i == 0 || i == 2 || i == Columns - 1;
            line += (i == 0 ? "" : "  ") + (isText ? row[i] + blanks : blanks + row[i]);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        std::puts(line.c_str());
    }
}

bool HasGoal(const SResult& result) {
    return result.figure.goal >= 0;
}

bool HasYardstick(const SResult& result) {
    return *result.figure.yardstick != '\0';
}

std::string GoalText(const SResult& result) {
    return HasGoal(result)
               ? "<= " + Format(result.figure.goal, HasYardstick(result) ? Unit::Count : result.figure.unit)
               : "";
}

const char* VerdictText(const SResult& result) {
    if (!HasGoal(result))
        return "";
    return result.holds ? "holds" : result.counts ? "MISSED" : "missed (quick run)";
}

} // namespace

bool CMeasurements::ReportContext(const Context& /*context*/) {
    return true;
}

void CMeasurements::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration)
            continue;
        const std::string& name = run.run_name.function_name;
        samples_[name].push_back(run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit));
        for (const auto& [counter, value] : run.counters)
            samples_[std::string(name).append(":").append(counter)].push_back(value);
    }
}

bool CMeasurements::has(const std::string& measurement) const {
    return samples_.count(measurement) != 0;
}

double CMeasurements::median(const std::string& measurement) const {
    std::vector<double> sorted = samples_.at(measurement);
    std::sort(sorted.begin(), sorted.end());
    const std::size_t middle = sorted.size() / 2;
    return sorted.size() % 2 != 0 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

std::vector<SResult> Judge(const std::vector<SFigure>& figures, const CMeasurements& measurements,
                           bool isQuick) {
    std::vector<SResult> results;
    for (const SFigure& figure : figures) {
        if (!measurements.has(figure.measurement))
            continue;
        SResult result{figure, measurements.median(figure.measurement), std::nan(""), 0, true, false};
        if (HasYardstick(result))
            result.yardstick = measurements.median(figure.yardstick);
        result.judged = HasYardstick(result) ? result.value / result.yardstick : result.value;
        if (HasGoal(result)) {
            result.holds = result.judged <= figure.goal;
            result.counts = figure.isExact || !isQuick;
        }
        results.push_back(result);
    }
    return results;
}

void PrintTable(const std::vector<SResult>& results) {
    std::vector<Row> rows{{"figure", "median", "yardstick", "median", "ratio", "goal", ""}};
    for (const SResult& result : results) {
        const SFigure& figure = result.figure;
        Row row{figure.name, Format(result.value, figure.unit)};
        if (HasYardstick(result)) {
            row[2] = figure.yardstickName;
            row[3] = Format(result.yardstick, figure.unit);
            row[4] = Format(result.judged, Unit::Count);
        }
        row[5] = GoalText(result);
        row[6] = VerdictText(result);
        rows.push_back(row);
    }
    Print(rows);
}

void PrintJson(const std::vector<SResult>& results) {
    for (const SResult& result : results) {
        const SFigure& figure = result.figure;
        nlohmann::ordered_json line{{"figure", figure.measurement}, {"value", result.value}};
        if (HasYardstick(result)) {
            line["yardstick"] = figure.yardstick;
            line["yardstickValue"] = result.yardstick;
            line["ratio"] = result.judged;
        }
        if (HasGoal(result)) {
            line["goal"] = figure.goal;
            line["holds"] = result.holds;
        }
        std::puts(line.dump().c_str());
    }
}

} // namespace corvane::bench
