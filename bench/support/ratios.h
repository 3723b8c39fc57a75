// Runs the benchmarks of a program and prints how each compares with its bare baseline.
//
// All runs are repeated and interleaved in random order, so that a change of the machine's speed hits both
// sides alike; a ratio is that of the two medians. A ratio of CPU time wants benchmarks that measure the
// process's.
#ifndef BENCH_SUPPORT_RATIOS_H_INCLUDED
#define BENCH_SUPPORT_RATIOS_H_INCLUDED

#include <string>
#include <vector>

namespace bench {

struct Ratio {
    std::string what; // what the line is called
    std::string ours; // full name of a benchmark, as printed: "DocumentEncode/ours"
    std::string bare; // full name of its baseline
    double target;    // bare time / our time should be at least this
    bool cpu = false; // CPU time instead of elapsed time
};

// Call from main. Prints Google Benchmark's own table, then a line for each ratio. Result: 0, or 1 when a
// ratio is missing or, with --enforce on the command line, below its target.
int run_with_ratios(int argc, char** argv, const std::vector<Ratio>& ratios);

} // namespace bench

#endif
