#include "bench/support/ratios.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <map>

namespace bench {
namespace {

// Keeps every repetition's time an iteration, beside the console's table.
class Collector : public benchmark::ConsoleReporter {
public:
    Collector() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const auto& run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                const auto count = static_cast<double>(run.iterations);
                elapsed_[plain_name(run)].push_back(run.real_accumulated_time / count);
                cpu_[plain_name(run)].push_back(run.cpu_accumulated_time / count);
            }
        ConsoleReporter::ReportRuns(runs);
    }

    // Median seconds an iteration, or 0 when there is no such benchmark.
    double median(const std::string& name, bool cpu) const
    {
        const auto& times = cpu ? cpu_ : elapsed_;
        const auto found = times.find(name);
        if (found == times.end()) return 0;
        auto sorted = found->second;
        std::sort(sorted.begin(), sorted.end());
        return sorted[sorted.size() / 2];
    }

private:
    // Without what options append: "name/arg/repeats:5/real_time" is known as "name/arg".
    static std::string plain_name(const Run& run)
    {
        std::string name = run.run_name.function_name;
        if (!run.run_name.args.empty()) name += "/" + run.run_name.args;
        return name;
    }

    using Times = std::map<std::string, std::vector<double>>;
    Times elapsed_;
    Times cpu_;
};

bool print(const Ratio& ratio, const Collector& collected, bool enforce)
{
    const double ours = collected.median(ratio.ours, ratio.cpu);
    const double bare = collected.median(ratio.bare, ratio.cpu);
    if (ours <= 0 || bare <= 0) {
        std::printf("%-44s not measured\n", ratio.what.c_str());
        return false;
    }
    const double value = bare / ours;
    const bool met = value >= ratio.target;
    std::printf("%-44s %6.2f  (target %.2f%s)  %.3f us against %.3f us bare\n", ratio.what.c_str(), value,
                ratio.target, met ? "" : ", MISSED", ours * 1e6, bare * 1e6);
    return met || !enforce;
}

} // namespace

int run_with_ratios(int argc, char** argv, const std::vector<Ratio>& ratios)
{
    bool enforce = false;
    std::vector<char*> arguments;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--enforce") == 0)
            enforce = true;
        else
            arguments.push_back(argv[i]);
    }
    char repetitions[] = "--benchmark_repetitions=25"; // many and short: what disturbs one, disturbs few
    char shortest[] = "--benchmark_min_time=0.1";
    char interleaved[] = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1,
                     {repetitions, shortest, interleaved}); // the caller's own come later and win
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());

    Collector collected;
    benchmark::RunSpecifiedBenchmarks(&collected);
    std::printf("\nratios (bare time / our time, medians)\n");
    bool good = true;
    for (const auto& ratio : ratios)
        good = print(ratio, collected, enforce) && good;
    return good ? 0 : 1;
}

} // namespace bench
