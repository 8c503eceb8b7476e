// `qx5 recording`: what recordings hold, and what is made of them.
#include "cli/commands.h"

#include "cli/output.h"
#include "recording/pcapng_export.h"
#include "recording/recorded_session.h"
#include "recording/recording_error.h"
#include "recording/recording_text.h"
#include "recording/recording_time.h"
#include "recording/recording_tools.h"
#include "recording/table_export.h"

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using recording::RecordedSession;

/// The command line names what is not there.
class WrongUse : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

std::uint64_t Moment(RecordedSession& session, std::string const& option, std::string const& text)
{
    auto const start = text.starts_with('+') ? session.Summary().start.value_or(0) : 0;
    auto const moment = recording::ReadMoment(text, start);
    if (!moment) {
        throw WrongUse(
            fmt::format("{}: '{}' is no time; write for example 2026-11-21T01:26:24.5Z, or +12.5 for so many "
                        "seconds from the start",
                        option, recording::Printable(text)));
    }
    return *moment;
}

recording::RecordedRange RangeOf(RecordedSession& session, RecordingOptions const& options)
{
    recording::RecordedRange range;
    if (!options.from.empty()) {
        range.from = Moment(session, "--from", options.from);
    }
    if (!options.to.empty()) {
        range.to = Moment(session, "--to", options.to);
    }
    if (range.from > range.to) {
        throw WrongUse("--from is later than --to");
    }
    if (!options.sonar.empty()) {
        auto const id = session.FindSonar(options.sonar);
        if (!id) {
            std::string all;
            for (auto const& sonar : session.Sonars()) {
                all += (all.empty() ? "" : ", ") + sonar.id + ' ' + sonar.name;
            }
            throw recording::RecordingError(
                recording::Printable(fmt::format("{}: there is no sonar '{}' in it; there {}", options.file,
                                                 options.sonar, all.empty() ? "is none" : "is " + all)));
        }
        range.sonar = *id;
    }
    return range;
}

/// Runs what a command does; what stands in its way is one line.
template <typename Does>
int Run(Does const& does)
{
    try {
        return does();
    } catch (WrongUse const& problem) {
        return Complain(ExitWrong, problem.what());
    } catch (recording::RecordingError const& problem) {
        return Complain(ExitFailed, recording::Printable(problem.what()));
    }
}

/// After a walk: what had to be passed over is told, and makes the command fail.
int Told(RecordedSession const& session, std::string const& file)
{
    auto const& mcap = session.File();
    std::vector<std::string> passedOver;
    if (mcap.SkippedBytes() != 0) {
        passedOver.push_back(fmt::format("{} bytes that are no whole record", mcap.SkippedBytes()));
    }
    if (mcap.DamagedChunks() != 0) {
        passedOver.push_back(fmt::format("{} damaged chunks", mcap.DamagedChunks()));
    }
    if (session.Unreadable() != 0) {
        passedOver.push_back(fmt::format("{} messages that are not what their kind says, the first: {}",
                                         session.Unreadable(), session.FirstUnreadable()));
    }
    if (passedOver.empty()) {
        return ExitGood;
    }
    return Complain(ExitFailed,
                    recording::Printable(fmt::format("{}: passed over {}", file, fmt::join(passedOver, ", "))));
}

} // namespace

int RecordingInfo(RecordingOptions const& options)
{
    return Run([&] {
        RecordedSession session(options.file);
        auto const summary = session.Summary();
        fmt::print("{}", options.json ? recording::InfoJson(summary) + '\n' : recording::InfoText(summary));
        return Told(session, options.file);
    });
}

int RecordingList(RecordingOptions const& options)
{
    return Run([&] {
        RecordedSession session(options.file);
        auto const range = RangeOf(session, options);
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
        return Told(session, options.file);
    });
}

int RecordingCut(RecordingOptions const& options)
{
    return Run([&] {
        RecordedSession session(options.file);
        recording::Cut(options.file, options.out, RangeOf(session, options));
        return ExitGood;
    });
}

int RecordingMark(RecordingOptions const& options)
{
    return Run([&] {
        std::uint64_t time = 0;
        {
            RecordedSession session(options.file);
            time = Moment(session, "--at", options.at);
        }
        recording::AddMark(options.file, options.text, time);
        return ExitGood;
    });
}

int RecordingCheck(RecordingOptions const& options)
{
    return Run([&] {
        auto const result = recording::Check(options.file);
        if (!result.isWhole) {
            return Complain(ExitFailed, result.line);
        }
        fmt::print("{}\n", result.line);
        return static_cast<int>(ExitGood);
    });
}

int RecordingExport(RecordingOptions const& options)
{
    if (options.pcapng.empty() && options.csv.empty() && !options.jsonOut) {
        return Complain(ExitWrong, "recording export: one of --pcapng, --csv and --json is required");
    }
    return Run([&] {
        RecordedSession session(options.file);
        auto const range = RangeOf(session, options);
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
        return Told(session, options.file);
    });
}

} // namespace qx5::cli
