#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace corvane::bench {

enum class Unit { Seconds, Bytes, Count };

// One row of the table: what was measured, what it is held against, and how far it may go. A measurement is
// named BENCHMARK, for its time, or BENCHMARK:COUNTER.
struct SFigure {
    const char* name;
    const char* measurement;
    Unit unit;
    const char* yardstickName; // empty: none
    const char* yardstick;     // measurement of the yardstick
    double goal;               // of the ratio, or without a yardstick of the figure; negative: none
    bool isExact;              // the goal does not depend on the machine, and holds in a quick run too
};

// Gathers what is measured; of repeated measurements the median counts.
class CMeasurements : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    bool has(const std::string& measurement) const;
    double median(const std::string& measurement) const;

private:
    std::map<std::string, std::vector<double>> samples_;
};

struct SResult {
    SFigure figure;
    double value;
    double yardstick; // NaN: none
    double judged;    // what the goal is for: the ratio, or the value
    bool holds;       // true where there is no goal
    bool counts;      // whether the goal counts in such a run
};

// Of each figure that was measured.
std::vector<SResult> Judge(const std::vector<SFigure>& figures, const CMeasurements& measurements,
                           bool isQuick);

void PrintTable(const std::vector<SResult>& results);
// A line for each figure; times are seconds, sizes bytes.
void PrintJson(const std::vector<SResult>& results);

} // namespace corvane::bench
