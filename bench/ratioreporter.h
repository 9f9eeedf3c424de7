#pragma once

// Benchmarks here report ratios against a baseline measured in the same run,
// since these machines are noisy. RatioReporter prints the usual table, keeps
// each benchmark's time per iteration, and prints the asked-for ratios at the end.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace TolvexBench {

class RatioReporter : public benchmark::ConsoleReporter
{
public:
    struct Ratio
    {
        std::string measured;
        std::string baseline;
        double target; // the ratio the measured side should stay under; 0 for none
    };

    explicit RatioReporter(std::vector<Ratio> ratios) : m_ratios(std::move(ratios)) {}

    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            const std::string &name = run.run_name.function_name;
            const double ns = run.GetAdjustedRealTime() *
                              benchmark::GetTimeUnitMultiplier(benchmark::kNanosecond) /
                              benchmark::GetTimeUnitMultiplier(run.time_unit);
            // With repetitions the median speaks for the benchmark.
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
                m_nsPerIteration[name] = ns;
                m_fromMedian[name] = true;
            } else if (run.run_type == Run::RT_Iteration && run.iterations > 0 &&
                       !m_fromMedian[name]) {
                m_nsPerIteration[name] = ns;
            }
        }
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\n");
        for (const Ratio &r : m_ratios) {
            const auto m = m_nsPerIteration.find(r.measured);
            const auto b = m_nsPerIteration.find(r.baseline);
            if (m == m_nsPerIteration.end() || b == m_nsPerIteration.end() || b->second <= 0)
                continue;
            const double ratio = m->second / b->second;
            std::printf("ratio %s / %s = %.2fx (%.0f ns vs %.0f ns)", r.measured.c_str(),
                        r.baseline.c_str(), ratio, m->second, b->second);
            if (r.target > 0)
                std::printf(", target at most %.2fx: %s", r.target,
                            ratio <= r.target ? "met" : "NOT met");
            std::printf("\n");
        }
        std::fflush(stdout);
    }

private:
    std::vector<Ratio> m_ratios;
    std::map<std::string, double> m_nsPerIteration;
    std::map<std::string, bool> m_fromMedian;
};

// Runs the registered benchmarks with a RatioReporter.
inline int runWithRatios(int argc, char **argv, std::vector<RatioReporter::Ratio> ratios)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioReporter reporter(std::move(ratios));
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}

} // namespace TolvexBench
