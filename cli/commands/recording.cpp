// `qx5 recording`: what recordings hold, and what is made of them.
#include "cli/commands.h"

#include "cli/output.h"
#include "cli/recording_use.h"
#include "cli/replay/scenario_export.h"
#include "recording/new_file.h"
#include "recording/pcapng_export.h"
#include "recording/recorded_session.h"
#include "recording/recording_text.h"
#include "recording/recording_time.h"
#include "recording/recording_tools.h"
#include "recording/table_export.h"
#include "reference_host/common/path_text.h"

#include <optional>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using recording::RecordedSession;

recording::RecordedRange RangeTold(RecordedSession& session, RecordingOptions const& options)
{
    return RangeOf(session, options.file, options.from, options.to, options.sonar);
}

/// "FROM..TO" in two; nothing where the text is not two moments.
std::optional<std::pair<std::string, std::string>> PieceIn(std::string const& text)
{
    auto const dots = text.find("..");
    if (dots == std::string::npos) {
        return {};
    }
    auto const from = text.substr(0, dots);
    auto const to = text.substr(dots + 2);
    bool const arePlaces = recording::ReadMoment(from, 0) && recording::ReadMoment(to, 0);
    return arePlaces ? std::optional(std::pair(from, to)) : std::nullopt;
}

int ExportAsScenario(RecordedSession& session, RecordingOptions const& options)
{
    auto const piece = PieceIn(options.scenario);
    if (piece && !(options.from.empty() && options.to.empty())) {
        throw WrongUse("--scenario FROM..TO tells the piece by itself; leave out --from and --to");
    }
    auto const range = piece ? RangeOf(session, options.file, piece->first, piece->second, options.sonar)
                             : RangeTold(session, options);
    std::optional<recording::NewFile> file;
    if (!piece) {
        file.emplace(options.scenario);
    }
    auto const done = ExportScenario(session, range, options.file, [&](std::string_view text) {
        if (file) {
            file->Write(text);
        } else {
            fmt::print("{}", text);
        }
    });
    if (file) {
        file->Finish();
        fmt::print("{}: {} requests, {} events expected\n", options.scenario, done.requests, done.events);
    }
    if (!done.leftOut.empty()) {
        SayError(fmt::format("qx5: a scenario cannot tell, and this one leaves out: {}\n", done.leftOut));
    }
    return ToldOf(session, options.file);
}

} // namespace

int RecordingInfo(RecordingOptions const& options)
{
    return RunOnRecording([&] {
        RecordedSession session(vordal::PathOf(options.file));
        auto const summary = session.Summary();
        fmt::print("{}", options.json ? recording::InfoJson(summary) + '\n' : recording::InfoText(summary));
        return ToldOf(session, options.file);
    });
}

int RecordingList(RecordingOptions const& options)
{
    return RunOnRecording([&] {
        RecordedSession session(vordal::PathOf(options.file));
        auto const range = RangeTold(session, options);
        using Way = vordal::RecordFilter::Way;
        vordal::RecordFilter const filter(fmt::format("{}", fmt::join(options.words, " ")),
                                          options.way.empty()    ? Way::Both
                                          : options.way == "out" ? Way::Out
                                                                 : Way::In);
        recording::RecordingText text(session.Sonars());
        session.ForEach(range, [&](recording::RecordedMessage const& message) {
            auto const line = options.json ? text.JsonLine(message, filter) : text.PlainLine(message, filter);
            if (!line.empty()) {
                fmt::print("{}\n", line);
            }
            return true;
        });
        return ToldOf(session, options.file);
    });
}

int RecordingCut(RecordingOptions const& options)
{
    return RunOnRecording([&] {
        RecordedSession session(vordal::PathOf(options.file));
        recording::Cut(vordal::PathOf(options.file), vordal::PathOf(options.out), RangeTold(session, options));
        return ExitGood;
    });
}

int RecordingMark(RecordingOptions const& options)
{
    return RunOnRecording([&] {
        std::uint64_t time = 0;
        {
            RecordedSession session(vordal::PathOf(options.file));
            time = MomentOf(session, "--at", options.at);
        }
        recording::AddMark(vordal::PathOf(options.file), options.text, time);
        return ExitGood;
    });
}

int RecordingCheck(RecordingOptions const& options)
{
    return RunOnRecording([&] {
        auto const result = recording::Check(vordal::PathOf(options.file));
        if (!result.isWhole) {
            return Complain(ExitFailed, result.line);
        }
        fmt::print("{}\n", result.line);
        return static_cast<int>(ExitGood);
    });
}

int RecordingExport(RecordingOptions const& options)
{
    if (options.pcapng.empty() && options.csv.empty() && !options.jsonOut && options.scenario.empty()) {
        return Complain(ExitWrong, "recording export: one of --pcapng, --csv, --json and --scenario is required");
    }
    return RunOnRecording([&] {
        RecordedSession session(vordal::PathOf(options.file));
        if (!options.scenario.empty()) {
            return ExportAsScenario(session, options);
        }
        auto const range = RangeTold(session, options);
        if (!options.pcapng.empty()) {
            recording::ExportPcapng(session, options.pcapng, range);
        } else if (!options.csv.empty()) {
            recording::ExportCsv(session, options.csv, options.keys, range);
        } else if (!options.jsonOut->empty()) {
            recording::ExportJson(session, *options.jsonOut, range);
        } else {
            recording::ExportJson(
                session, [](std::string_view line) { fmt::print("{}", line); }, range);
        }
        return ToldOf(session, options.file);
    });
}

} // namespace qx5::cli
