// `qx5 replay`: a recording run again, as it asked, as it told, or as it looked.
#include "cli/commands.h"

#include "cli/output.h"
#include "cli/platform/terminal.h"
#include "cli/plugins.h"
#include "cli/recording_use.h"
#include "cli/replay/replay_as_sonar.h"
#include "cli/replay/replay_check.h"
#include "cli/replay_as_host.h"
#include "cli/session.h"
#ifdef QX5_VIEW
#include "cli/window/replay_in_window.h"
#include "cli/window/run_window.h"
#endif
#include "recording/recording_time.h"
#include "reference_host/common/path_text.h"

#include <fmt/format.h>

namespace qx5::cli {

namespace {

int ReplayAndCheck(ReplayOptions const& options)
{
    recording::RecordedSession session(vordal::PathOf(options.file));
    auto const range = RangeOf(session, options.file, options.from, options.to, options.sonar);
    auto const result = CheckReplay(session, range, options.file, vordal::PathOf(PluginPath(options.plugin)),
                                    [](std::string const& line) { fmt::print("{}\n", line); });
    fmt::print("{}: {} requests run again; {} records ({} bytes) and {} echoes compared, times apart: {}\n",
               options.file, result.requests, result.frames, result.bytes, result.echoes,
               result.differences == 0 ? "not one byte differs"
                                       : fmt::format("{} differences, told above", result.differences));
    for (auto const& [what, count] : result.notCompared) {
        fmt::print("not compared: {} {}\n", count, what);
    }
    int const told = ToldOf(session, options.file);
    return result.differences == 0 ? told : static_cast<int>(ExitFailed);
}

/// The range, of one sonar: the one that is told, or the only one of the recording.
recording::RecordedRange RangeOfOne(recording::RecordedSession& session, ReplayOptions const& options,
                                    std::string_view option, std::string const& sonar)
{
    auto range = RangeOf(session, options.file, options.from, options.to, sonar);
    if (!range.sonar.empty()) {
        return range;
    }
    auto const summary = session.Summary();
    if (summary.sonars.empty()) {
        throw recording::RecordingError(fmt::format("{}: there is no sonar in it", options.file));
    }
    if (summary.sonars.size() > 1) {
        std::string all;
        for (auto const& each : summary.sonars) {
            all += (all.empty() ? "" : ", ") + each.id + ' ' + each.name;
        }
        throw WrongUse(recording::Printable(
            fmt::format("{} is required: {} is of {} sonars: {}", option, options.file, summary.sonars.size(), all)));
    }
    range.sonar = summary.sonars.front().id;
    return range;
}

int ReplayTheSonar(ReplayOptions const& options)
{
    recording::RecordedSession session(vordal::PathOf(options.file));
    auto const range = RangeOfOne(session, options, "--sonar", options.sonar);
    recording::RecordingText text(session.Sonars());
    SonarReplayOptions replay;
    replay.port = static_cast<std::uint16_t>(options.port);
    replay.speed = options.speed;
    replay.loop = options.loop;
    replay.listening = [&](std::uint16_t port) {
        fmt::print("The sonar {} of {} listens on 127.0.0.1:{}; it begins to tell with the first host.\n", range.sonar,
                   options.file, port);
        FlushOutput();
    };
    replay.say = [](std::string const& line) {
        fmt::print("{}\n", line);
        FlushOutput();
    };
    InputLines lines(-1);
    if (options.step) {
        replay.step = [&] { return lines.Read().has_value(); };
        replay.telling = [&](recording::RecordedMessage const& message) {
            fmt::print("{}\n", text.PlainLine(message));
            FlushOutput();
        };
    }
    auto const result = ReplayAsSonar(session, range, options.file, std::move(replay));
    fmt::print("The replay has ended: {} records told; {} connections of hosts, whose {} bytes nobody answered.\n",
               result.frames, result.hosts, result.bytesRead);
    return ToldOf(session, options.file);
}

int ReplayTheHost(ReplayOptions const& options)
{
    HostReplayOptions replay;
    std::string error;
    if (options.sonar.empty()) {
        throw WrongUse("--as-host asks a sonar again: tell which by --sonar HOST:PORT");
    }
    if (!ParseEndpoint(options.sonar, replay.host, replay.port, error)) {
        throw WrongUse("--sonar: " + error);
    }
    recording::RecordedSession session(vordal::PathOf(options.file));
    auto const range = RangeOfOne(session, options, "--of", options.of);
    replay.plugin = PluginPath(options.plugin);
    replay.speed = options.speed;
    auto const result =
        ReplayAsHost(session, range, options.file, replay, [](std::string const& line) { fmt::print("{}\n", line); });
    fmt::print("{}: {} requests asked again, {} answers compared\n", options.file, result.requests, result.compared);
    for (auto const& [count, what] :
         {std::pair(result.notCompared, "answers that were not recorded, or whose place a later request took"),
          std::pair(result.notAsked, "requests that were refused")}) {
        if (count != 0) {
            fmt::print("not compared: {} {}\n", count, what);
        }
    }
    if (result.otherwise != 0) {
        return Complain(ExitFailed, fmt::format("{} answers otherwise to {} of {} requests; the first: {}",
                                                options.sonar, result.otherwise, result.compared, result.first));
    }
    return ToldOf(session, options.file);
}

int ReplayTheLook([[maybe_unused]] ReplayOptions const& options)
{
    // Told by the same words as for the other ways, which take them.
    if (!options.sonar.empty() || !options.to.empty()) {
        throw WrongUse(
            "--sonar and --to are for --check, --as-sonar and --as-host: the window shows all of a recording");
    }
#ifdef QX5_VIEW
    if (options.screenshot.empty() && !HasDisplay()) {
        return Complain(ExitFailed, "replay: there is no display for the window; there are --check, --as-sonar, "
                                    "--as-host and --screenshot");
    }
    return ReplayInWindow(options);
#else
    return Complain(ExitFailed, "replay: this qx5 was built without the window; there are --check, --as-sonar and "
                                "--as-host");
#endif
}

} // namespace

int Replay(ReplayOptions const& options)
{
    try {
        return RunOnRecording([&] {
            if (options.check) {
                return ReplayAndCheck(options);
            }
            if (options.asSonar) {
                return ReplayTheSonar(options);
            }
            if (options.asHost) {
                return ReplayTheHost(options);
            }
            return ReplayTheLook(options);
        });
    } catch (std::runtime_error const& problem) {
        return Complain(ExitFailed, recording::Printable(problem.what()));
    }
}

} // namespace qx5::cli
