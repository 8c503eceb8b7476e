// What commands that work on a recording have in common.
#include "recording_use.h"

#include "recording/recording_time.h"

#include <vector>

#include <fmt/format.h>

namespace qx5::cli {

std::uint64_t MomentOf(recording::RecordedSession& session, std::string const& option, std::string const& text)
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

recording::RecordedRange RangeOf(recording::RecordedSession& session, std::string const& file, std::string const& from,
                                 std::string const& to, std::string const& sonar)
{
    recording::RecordedRange range;
    if (!from.empty()) {
        range.from = MomentOf(session, "--from", from);
    }
    if (!to.empty()) {
        range.to = MomentOf(session, "--to", to);
    }
    if (range.from > range.to) {
        throw WrongUse("--from is later than --to");
    }
    if (!sonar.empty()) {
        auto const id = session.FindSonar(sonar);
        if (!id) {
            std::string all;
            for (auto const& each : session.Sonars()) {
                all += (all.empty() ? "" : ", ") + each.id + ' ' + each.name;
            }
            throw recording::RecordingError(recording::Printable(fmt::format(
                "{}: there is no sonar '{}' in it; there {}", file, sonar, all.empty() ? "is none" : "is " + all)));
        }
        range.sonar = *id;
    }
    return range;
}

int ToldOf(recording::RecordedSession const& session, std::string const& file)
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

} // namespace qx5::cli
