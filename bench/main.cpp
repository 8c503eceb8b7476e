// qx5-bench: Google Benchmark's own report of all cases, then the promised ratios, all cases measured in turn in one
// run; with --json one JSON object a line and nothing else. --ratios leaves the report out, --only TEXT,TEXT the cases
// with none of these in their name. --growth runs the curves instead, and prints lines of JSON.
#include "growth/curve.h"
#include "measure.h"
#include "reference_host/common/log.h"
#include "stage.h"
#ifdef QX5_VIEW
#include "window_load.h"
#endif

#include <algorithm>
#include <array>
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
        {"an empty request through the chain, ns", "request-empty", "", 600.0},
        {"a one-key request beyond what the tree's own change costs, ns", "request-one-key-recorded", "echo-alone",
         1500.0, true},
        {"a one-key request, live, to the bare program", "request-one-key-live", "bare-request", 1.5},
        {"a request across threads to a bare round trip", "request-across-threads", "bare-round-trip", 1.3},
        {"a one-key request that is followed and logged, to the bare program", "request-followed", "bare-request", 1.8},
        {"the same to one that nobody follows", "request-followed", "request-by-the-host", 1.5},
        {"a request that is recorded, beyond one that is followed, ns", "request-recorded", "request-followed", 1000.0,
         true},
        {"the same beside 3 sonars at 20 pings/s with water column, all recorded, ns", "request-beside-pings-recorded",
         "request-beside-pings", 1000.0, true},
        {"a message of 10 KiB into a recording (400 MiB/s), ns", "recording-write-10k", "", 24414.0},
        {"a message of 100 bytes into a recording (35 MiB/s), ns", "recording-write-100", "", 2724.0},
        {"a recording of 1 GiB opened, told of and read in its middle, ns", "recording-seek", "", 20000000.0},
        {"10,000 requests back to back, ns each", "requests-back-to-back", "", 6000.0},
        {"copy of a tree of 5,000 nodes, ns", "tree-5000-copy", "", 30.0},
        {"copy, change one value, old copy kept, ns", "tree-5000-copy-change", "", 2000.0},
        {"100,000 keys, half of them with one hash, to as many without", "tree-100000-colliding", "tree-100000-wide",
         1.5},
        {"all keys of all handlers in one request, ns", "request-all-keys", "", 150000.0},
        {"settings data to the next ping, to a bare hand-over and send", "data-to-ping", "bare-hand-over", 1.5},
        {"the same, p99", "data-to-ping", "bare-hand-over", 3.0, false, true},
        {"lateness after a pause of 160 ms, to a bare sleep", "pause-late", "bare-sleep-late", 1.3},
        {"the same, p99", "pause-late", "bare-sleep-late", 1.3, false, true},
        {"lateness with 16 groups at once, to 16 bare sleeps", "pauses-of-16-late", "bare-sleeps-of-16-late", 1.3},
        {"the same, p99", "pauses-of-16-late", "bare-sleeps-of-16-late", 1.3, false, true},
        {"lateness summed up over 1,000 pings, to as many bare sleeps", "drift-1000", "bare-drift-1000", 1.3},
        {"a round of two simulated sonars, off range and overhead by, ns", "round-of-two", "", RoundOfTwo * 0.01},
        {"stop of 8 waiting groups, ns", "groups-stop-8", "", 20000000.0},
        {"processor time of 64 waiting groups in one second, ns", "groups-waiting-64", "", 1000000.0},
        {"a contact's change to its record at the far end, to a bare send", "contact", "bare-contact", 2.0},
        {"an image of 50 MB to its record at the far end, to a bare send", "contact-image", "bare-image", 2.0},
        {"a water column of 512 x 1000 to its block announced, to a bare copy of its levels", "echo-block", "bare-copy",
         2.5},
        {"a refresh of the view in which nothing changed, tree of 2,000, ns", "view-refresh-unchanged", "", 100000.0},
        {"an entry of 100 bytes into the outbox, 512 in a transaction, ns", "outbox-put", "", 5000.0},
        {"the same, each in a transaction of its own, in memory", "outbox-put-alone", "", 50000.0},
        {"100,000 metrics a second aboard to seen ashore, each, ns", "line-hurried", "", 10000.0},
        {"the same, paced, p99, to the bare publisher of as many bytes", "line-paced", "bare-line-paced", 3.0, false,
         true},
        {"a value commanded ashore to seen ashore, to a bare round trip by that broker", "line-command",
         "bare-broker-round-trip", 1.5},
        {"first show of the window with 3 sonars, ns of work", "window-first-show-3", "", 50000000.0},
        {"the same with 64", "window-first-show-64", "", 500000000.0},
        {"the window's thread in a second, 64 sonars at 50 pings/s, ns", "window-thread-64", "", 300000000.0},
        {"60 changes a second told to changes shown, meanwhile", "window-changes-shown", "window-changes-told", 1.05},
        {"a refused request to its line in the event list, meanwhile, ns", "window-event-told", "", 100000000.0},
        {"a ping of 512 beams by 1,000 samples heard, ns of one processor", "ping-512x1000", "", 20000000.0},
        {"the same to one of half the beams", "ping-512x1000", "ping-256x1000", 2.2},
        {"the same to one of half the samples", "ping-512x1000", "ping-512x500", 2.2},
        {"a frame of the fan, 1600 by 900, ns", "picture-fan", "", 4000000.0},
        {"the same of the waterfall", "picture-waterfall", "", 4000000.0},
        {"the same of the profile", "picture-profile", "", 4000000.0},
        {"the same of the map", "picture-map", "", 4000000.0},
        {"the same of the beam", "picture-beam", "", 4000000.0},
        {"allocations of such a frame after the first second: fan", "picture-fan-allocations", "", 0.0},
        {"waterfall", "picture-waterfall-allocations", "", 0.0},
        {"profile", "picture-profile-allocations", "", 0.0},
        {"map", "picture-map-allocations", "", 0.0},
        {"beam", "picture-beam-allocations", "", 0.0},
        {"a ping's echoes announced to pixels painted, ns", "picture-echo-to-pixel", "", 16666666.0},
        {"the same, p99", "picture-echo-to-pixel", "", 16666666.0, false, true},
        {"start of qx5 to its window shown and painted, ns", "qx5-window", "", 500000000.0},
        {"qx5 send, start to exit, ns", "qx5-send", "", 200000000.0},
    };
}

} // namespace bench

namespace {

using bench::Case;
using bench::Figures;

/// Cases that are little more than one thread waking another, in pairs with what they are held against.
constexpr std::array<std::string_view, 11> handOvers{"request-one-key-live", "request-by-the-host",
                                                     "request-followed",     "request-recorded",
                                                     "bare-request",         "request-across-threads",
                                                     "bare-round-trip",      "data-to-ping",
                                                     "bare-hand-over",       "contact",
                                                     "bare-contact"};

/// Whether the name holds one of the parts, which commas separate.
bool IsWanted(std::string_view name, std::string_view parts)
{
    for (;;) {
        std::size_t const comma = parts.find(',');
        if (name.find(parts.substr(0, comma)) != std::string_view::npos) {
            return true;
        }
        if (comma == std::string_view::npos) {
            return false;
        }
        parts.remove_prefix(comma + 1);
    }
}

void PrintJson(std::vector<Case> const& cases, std::vector<Figures> const& figures)
{
    for (std::size_t i = 0; i < cases.size(); ++i) {
        // Names and works are our own and hold nothing that JSON would escape.
        fmt::print("{{\"name\":\"{}\",\"work\":\"{}\",\"median_ns\":{:.1f},\"p99_ns\":{:.1f},\"n\":{}}}\n",
                   cases[i].name, cases[i].work, figures[i].median, figures[i].p99, figures[i].samples);
    }
}

double FigureOf(std::string const& name, bool p99, std::vector<Case> const& cases, std::vector<Figures> const& figures)
{
    for (std::size_t i = 0; i < cases.size(); ++i) {
        if (cases[i].name == name) {
            return p99 ? figures[i].p99 : figures[i].median;
        }
    }
    return 0.0;
}

void PrintPromises(std::vector<Case> const& cases, std::vector<Figures> const& figures)
{
    fmt::print("\n{:<28} {:>12} {:>12} {:>8}  {}\n", "case", "median ns", "p99 ns", "n", "work");
    for (std::size_t i = 0; i < cases.size(); ++i) {
        fmt::print("{:<28} {:>12.1f} {:>12.1f} {:>8}  {}\n", cases[i].name, figures[i].median, figures[i].p99,
                   figures[i].samples, cases[i].work);
    }
    fmt::print("\n{:<64} {:>12} {:>12}\n", "promise (of one run; medians, or p99)", "measured", "at most");
    for (bench::Ratio const& ratio : bench::Promises()) {
        double measured = FigureOf(ratio.of, ratio.p99, cases, figures);
        if (measured == 0.0) {
            continue; // left out
        }
        if (!ratio.to.empty()) {
            double const other = FigureOf(ratio.to, ratio.p99, cases, figures);
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
    bool growth = false;
    std::string_view only;
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json") == 0) {
            json = true;
        } else if (std::strcmp(argv[i], "--only") == 0 && i + 1 < argc) {
            only = argv[++i];
        } else if (std::strcmp(argv[i], "--ratios") == 0) {
            ratiosOnly = true;
        } else if (std::strcmp(argv[i], "--growth") == 0) {
            growth = true;
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;

#ifdef QX5_VIEW
    if (argc == 4 && std::strcmp(argv[1], "--window-load") == 0) {
        fmt::print("{}\n", bench::TextOf(bench::MeasureWindowLoad(std::atoi(argv[2]), std::atof(argv[3]))));
        return 0;
    }
#endif
    // What a live sonar refuses is of no interest here, and is refused thousands of times.
    vordal::SetLogSink([](vordal::LogLevel, std::string_view) {});
    bench::Stage stage;
    if (growth) {
        // Those of programs first, as long as this one has little memory: theirs is told as no less than that.
        auto curves = bench::ScenarioCurves();
        for (auto const& more :
             {bench::TreeCurves(), bench::RequestCurves(stage), bench::HostCurves(stage), bench::ContactCurves(stage),
              bench::SequencingCurves(stage), bench::LinkCurves(stage)}) {
            curves.insert(curves.end(), more.begin(), more.end());
        }
#ifdef QX5_VIEW
        auto const ofWindow = bench::WindowCurves();
        curves.insert(curves.end(), ofWindow.begin(), ofWindow.end());
#endif
        std::erase_if(curves, [only](bench::Curve const& one) { return !IsWanted(one.name, only); });
        bench::RunCurves(curves);
        return 0;
    }
    std::vector<Case> cases = bench::RequestCases(stage);
    for (Case& echo : bench::EchoCases(stage)) {
        cases.push_back(std::move(echo));
    }
    for (Case& target : bench::TargetCases(stage)) {
        cases.push_back(std::move(target));
    }
    for (Case& tree : bench::TreeCases()) {
        cases.push_back(std::move(tree));
    }
    for (Case& sounder : bench::SounderCases()) {
        cases.push_back(std::move(sounder));
    }
    for (Case& recording : bench::RecordingCases()) {
        cases.push_back(std::move(recording));
    }
    for (Case& putting : bench::OutboxCases()) {
        cases.push_back(std::move(putting));
    }
    for (Case& line : bench::BrokerCases()) {
        cases.push_back(std::move(line));
    }
    for (Case& pinging : bench::RecordedPingCases(stage)) {
        cases.push_back(std::move(pinging));
    }
    for (Case& sequencing : bench::SequencingCases(stage)) {
        cases.push_back(std::move(sequencing));
    }
#ifdef QX5_VIEW
    for (Case& view : bench::ViewCases(stage)) {
        cases.push_back(std::move(view));
    }
#endif
    for (Case& commandLine : bench::CommandLineCases()) {
        cases.push_back(std::move(commandLine));
    }

    for (Case& one : cases) {
        one.onOneProcessor = std::find(handOvers.begin(), handOvers.end(), one.name) != handOvers.end();
    }
    std::erase_if(cases, [only](Case const& one) { return !IsWanted(one.name, only); });

    if (!json && !ratiosOnly) {
        for (Case const& one : cases) {
            benchmark::RegisterBenchmark(one.name.c_str(),
                                         [&one](benchmark::State& state) {
                                             std::vector<double> nanoseconds;
                                             for (auto _ : state) {
                                                 nanoseconds.clear();
                                                 bench::Run(one, 1, nanoseconds);
                                                 state.SetIterationTime(nanoseconds.front() * 1e-9);
                                             }
                                         })
                ->UseManualTime()
                // A number of times, not a time: what some cases report is far less than they take.
                ->Iterations(static_cast<benchmark::IterationCount>(one.samplesPerRound));
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
