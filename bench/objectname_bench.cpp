// Parsing and printing object names. These machines are noisy, so each figure is also
// given as a ratio to baselines measured in the same run on the same text: a bare scan
// over its characters, and QString::split at blanks, the cheapest Qt pass that allocates.
#include "objectmap.h"
#include "objectname.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

using namespace Tolvex;

namespace {

const QString &typicalName()
{
    static const QString name =
        QStringLiteral("{type='QPushButton' text='OK' name='okButton' visible='1' "
                       "window={type='QDialog' name='settings' windowTitle='Settings'}}");
    return name;
}

void ScanBaseline(benchmark::State &state)
{
    const QString &name = typicalName();
    for (auto _ : state) {
        int quotes = 0;
        for (const QChar c : name)
            quotes += c == u'\'';
        benchmark::DoNotOptimize(quotes);
    }
}
BENCHMARK(ScanBaseline);

void SplitBaseline(benchmark::State &state)
{
    const QString &name = typicalName();
    for (auto _ : state)
        benchmark::DoNotOptimize(name.split(u' '));
}
BENCHMARK(SplitBaseline);

void Parse(benchmark::State &state)
{
    const QString &name = typicalName();
    QString error;
    for (auto _ : state)
        benchmark::DoNotOptimize(parseNameByProperties(name, &error));
}
BENCHMARK(Parse);

void Print(benchmark::State &state)
{
    const auto properties = parseNameByProperties(typicalName(), nullptr);
    for (auto _ : state)
        benchmark::DoNotOptimize(qualifiedNameFromProperties(properties));
}
BENCHMARK(Print);

// Two names in different key order, each parsed afresh: what a comparison costs when
// neither name has been looked at before.
void EqualFresh(benchmark::State &state)
{
    const QString a = typicalName();
    const QString b = qualifiedNameFromProperties(parseNameByProperties(a, nullptr));
    for (auto _ : state)
        benchmark::DoNotOptimize(ObjectName(a) == ObjectName(b));
}
BENCHMARK(EqualFresh);

void WildcardMatch(benchmark::State &state)
{
    const PropertyValue value(QStringLiteral("Set*ngs ?"), PropertyValue::Wildcard,
                              PropertyValue::String);
    const QString text = QStringLiteral("Application Settings 2");
    for (auto _ : state)
        benchmark::DoNotOptimize(value.matches(text));
}
BENCHMARK(WildcardMatch);

// symbolicName() walks the map: a recorded name against a map of state.range(0) entries,
// found at the end.
void SymbolicNameLookup(benchmark::State &state)
{
    ObjectMap map;
    const int entries = static_cast<int>(state.range(0));
    for (int i = 0; i < entries; ++i) {
        map.add(ObjectName(QStringLiteral("{type='QLabel' text='Label %1' window=':Main'}").arg(i)),
                QStringLiteral(":Label%1").arg(i, 5, 10, QLatin1Char('0')));
    }
    const QString name =
        QStringLiteral("{window=':Main' text='Label %1' type='QLabel'}").arg(entries - 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(map.symbolicName(name, false));
}
BENCHMARK(SymbolicNameLookup)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

class RatioReporter : public benchmark::ConsoleReporter
{
public:
    // Plain text: the figures end up in logs, where colour codes are noise.
    RatioReporter() : benchmark::ConsoleReporter(OO_None) {}

    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.run_type == Run::RT_Iteration && run.time_unit == benchmark::kNanosecond)
                m_nanoseconds[run.benchmark_name()] = run.GetAdjustedRealTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void printRatios() const
    {
        for (const char *measured : {"Parse", "Print", "EqualFresh", "WildcardMatch"}) {
            for (const char *baseline : {"ScanBaseline", "SplitBaseline"}) {
                const auto m = m_nanoseconds.find(measured);
                const auto b = m_nanoseconds.find(baseline);
                if (m == m_nanoseconds.end() || b == m_nanoseconds.end() || b->second <= 0)
                    continue;
                std::printf("%-14s %9.1f ns = %6.1f x %s\n", measured, m->second,
                            m->second / b->second, baseline);
            }
        }
    }

private:
    std::map<std::string, double> m_nanoseconds;
};

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios();
    benchmark::Shutdown();
    return 0;
}
