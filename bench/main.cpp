// qx5-bench: Google Benchmark's own report of all cases, then the promised ratios, all cases measured in turn in one run;
// with --json one JSON object a line and nothing else. --ratios leaves the report out, --only NAMES takes the cases of
// these names, separated by commas.
#include "measure.h"
#include "stage.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

namespace bench {

std::vector<Ratio> Promises()
{
    return {
        {"an empty request through 133 rows, ns", "request-empty", "", 600.0},
        {"a one-key request beyond what the tree's own change costs, ns", "request-one-key-recorded", "echo-alone", 1500.0,
         true},
        {"a one-key request, live, to the bare program", "request-one-key-live", "bare-request", 1.5},
        {"a request across threads to a bare round trip", "request-across-threads", "bare-round-trip", 1.3},
        {"10,000 requests back to back, ns each", "requests-back-to-back", "", 6000.0},
        {"copy of a tree of 5,000 nodes, ns", "tree-5000-copy", "", 30.0},
        {"copy, change one value, old copy kept, ns", "tree-5000-copy-change", "", 2000.0},
        {"all keys of all handlers in one request, ns", "request-all-keys", "", 150000.0},
        {"a contact's change to its record at the far end, to a bare send", "contact", "bare-contact", 2.0},
        {"an image of 50 MB to its record at the far end, to a bare send", "contact-image", "bare-image", 2.0},
        {"qx5 send, start to exit, ns", "qx5-send", "", 200000000.0},
    };
}

} // namespace bench

namespace {

using bench::Case;
using bench::Figures;

void PrintJson(std::vector<Case> const& cases, std::vector<Figures> const& figures)
{
    for (std::size_t i = 0; i < cases.size(); ++i) {
        // Names and works are our own and hold nothing that JSON would escape.
        fmt::print("{{\"name\":\"{}\",\"work\":\"{}\",\"median_ns\":{:.1f},\"p99_ns\":{:.1f},\"n\":{}}}\n", cases[i].name,
                   cases[i].work, figures[i].median, figures[i].p99, figures[i].samples);
    }
}

double MedianOf(std::string const& name, std::vector<Case> const& cases, std::vector<Figures> const& figures)
{
    for (std::size_t i = 0; i < cases.size(); ++i) {
        if (cases[i].name == name) {
            return figures[i].median;
        }
    }
    return 0.0;
}

bool IsMeasured(std::string const& name, std::vector<Case> const& cases)
{
    return std::any_of(cases.begin(), cases.end(), [&name](Case const& one) { return one.name == name; });
}

void PrintPromises(std::vector<Case> const& cases, std::vector<Figures> const& figures)
{
    fmt::print("\n{:<28} {:>12} {:>12} {:>8}  {}\n", "case", "median ns", "p99 ns", "n", "work");
    for (std::size_t i = 0; i < cases.size(); ++i) {
        fmt::print("{:<28} {:>12.1f} {:>12.1f} {:>8}  {}\n", cases[i].name, figures[i].median, figures[i].p99,
                   figures[i].samples, cases[i].work);
    }
    fmt::print("\n{:<64} {:>12} {:>12}\n", "promise (medians of one run)", "measured", "at most");
    for (bench::Ratio const& ratio : bench::Promises()) {
        if (!IsMeasured(ratio.of, cases) || (!ratio.to.empty() && !IsMeasured(ratio.to, cases))) {
            continue;
        }
        double measured = MedianOf(ratio.of, cases, figures);
        if (!ratio.to.empty()) {
            double const other = MedianOf(ratio.to, cases, figures);
            measured = ratio.difference ? measured - other : measured / other;
        }
        fmt::print("{:<64} {:>12.2f} {:>12.2f}{}\n", ratio.what, measured, ratio.bound,
                   measured > ratio.bound ? "  MISSED" : "");
    }
}

} // namespace

int main(int argc, char** argv)
{
    bool json = false;
    bool ratiosOnly = false;
    std::string only;
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json") == 0) {
            json = true;
        } else if (std::strcmp(argv[i], "--ratios") == 0) {
            ratiosOnly = true;
        } else if (std::strcmp(argv[i], "--only") == 0 && i + 1 < argc) {
            only = ',' + std::string(argv[++i]) + ',';
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;

    bench::Stage stage;
    std::vector<Case> cases = bench::RequestCases(stage);
    for (Case& target : bench::TargetCases(stage)) {
        cases.push_back(std::move(target));
    }
    for (Case& tree : bench::TreeCases()) {
        cases.push_back(std::move(tree));
    }
    for (Case& commandLine : bench::CommandLineCases()) {
        cases.push_back(std::move(commandLine));
    }

    if (!only.empty()) {
        std::erase_if(cases, [&only](Case const& one) { return only.find(',' + one.name + ',') == std::string::npos; });
    }

    if (!json && !ratiosOnly) {
        for (Case const& one : cases) {
            benchmark::RegisterBenchmark(one.name.c_str(),
                                         [&one](benchmark::State& state) {
                                             std::vector<double> nanoseconds;
                                             for (auto _ : state) {
                                                 nanoseconds.clear();
                                                 one.run(1, nanoseconds);
                                                 state.SetIterationTime(nanoseconds.front() * 1e-9);
                                             }
                                         })
                ->UseManualTime()
                ->MinTime(0.1);
        }
        benchmark::Initialize(&argc, argv);
        if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
            return 2;
        }
        benchmark::RunSpecifiedBenchmarks();
    }
    constexpr std::size_t rounds = 10;
    std::vector<Figures> const figures = bench::Measure(cases, rounds);
    if (json) {
        PrintJson(cases, figures);
    } else {
        PrintPromises(cases, figures);
    }
    return 0;
}
