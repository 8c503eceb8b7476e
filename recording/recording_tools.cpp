// What is done with whole recordings: told, checked, cut, marked.
#include "recording_tools.h"

#include "new_file.h"
#include "recording_error.h"
#include "recording_text.h"
#include "recording_time.h"
#include "session_writer.h"

#include "reference_host/platform/replace_file.h"

#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace qx5::recording {

namespace {

/// Copies messages of a file into another.
class Copier
{
public:
    Copier(RecordedSession& from, SessionWriter& to) : m_from(from), m_to(to) {}

    void Copy(McapChannel const& channel, McapMessage const& message)
    {
        auto const [place, isNew] = m_channels.try_emplace(channel.id, std::uint16_t{0});
        if (isNew) {
            auto const schema = m_from.File().Schemas().find(channel.schema);
            place->second =
                m_to.ChannelLike(channel, schema != m_from.File().Schemas().end() ? &schema->second : nullptr);
        }
        m_to.File().Write(place->second, {message.logTime, message.publishTime}, message.data);
    }

private:
    RecordedSession& m_from;
    SessionWriter& m_to;
    std::map<std::uint16_t, std::uint16_t> m_channels;
};

std::string Counted(std::uint64_t number, std::string_view what)
{
    return fmt::format("{} {}{}", number, what, number == 1 ? "" : "s");
}

McapTexts ProgramOf(RecordedSession const& session)
{
    for (auto const& metadata : session.File().Metadata()) {
        if (metadata.name == ProgramMetadata) {
            return metadata.texts;
        }
    }
    return {};
}

} // namespace

std::string InfoJson(RecordedSummary const& summary)
{
    auto const time = [](std::optional<std::uint64_t> const& nanoseconds) {
        return nanoseconds ? JsonValue::Text(IsoTime(*nanoseconds)) : JsonValue{};
    };
    std::vector<JsonValue> sonars;
    for (auto const& sonar : summary.sonars) {
        sonars.push_back(JsonValue::Object({{"id", JsonValue::Text(sonar.id)}, {"name", JsonValue::Text(sonar.name)}}));
    }
    return WriteJson(JsonValue::Object({{"start", time(summary.start)},
                                        {"end", time(summary.end)},
                                        {"records", JsonValue::Unsigned(summary.records)},
                                        {"requests", JsonValue::Unsigned(summary.requests)},
                                        {"sonars", JsonValue::Array(std::move(sonars))},
                                        {"complete", JsonValue::Bool(summary.isComplete)}}));
}

std::string InfoText(RecordedSummary const& summary)
{
    std::string text;
    if (summary.start && summary.end) {
        text += fmt::format("from {}\nto   {}, {}.{:03} s\n", IsoTime(*summary.start), IsoTime(*summary.end),
                            (*summary.end - *summary.start) / 1'000'000'000,
                            (*summary.end - *summary.start) / 1'000'000 % 1000);
    } else {
        text += "nothing was recorded\n";
    }
    text += fmt::format("{}, {}, {} in all\n", Counted(summary.records, "record"), Counted(summary.requests, "request"),
                        Counted(summary.messages, "message"));
    for (auto const& sonar : summary.sonars) {
        text += Printable(fmt::format("sonar {}  {}", sonar.id, sonar.name)) + '\n';
    }
    std::string program;
    for (auto const& [name, value] : summary.program) {
        program += (program.empty() ? "" : ", ") + name + ' ' + value;
    }
    if (!program.empty()) {
        text += "recorded by " + Printable(program) + '\n';
    }
    return text +
           (summary.isComplete ? "closed in order\n" : "not closed in order: it has no index, or a broken one\n");
}

CheckResult Check(std::filesystem::path const& file)
{
    RecordedSession session(file);
    auto const& mcap = session.File();
    std::uint64_t messages = 0;
    std::uint64_t lost = 0;
    session.ForEach({}, [&](RecordedMessage const& message) {
        ++messages;
        if (auto const* const loss = std::get_if<RecordedLoss>(&message.content)) {
            lost += loss->messages;
        }
        return true;
    });
    std::vector<std::string> problems;
    if (!mcap.IsComplete()) {
        problems.emplace_back("it was not closed in order, or its index is damaged");
    }
    if (mcap.SkippedBytes() != 0) {
        problems.push_back(Counted(mcap.SkippedBytes(), "byte") + " are no whole record");
    }
    if (mcap.DamagedChunks() != 0) {
        problems.push_back(
            fmt::format("{} of {} damaged and left out", Counted(mcap.DamagedChunks(), "chunk"), mcap.Chunks().size()));
    }
    if (session.Unreadable() != 0) {
        problems.push_back(fmt::format("{} not what their kind says, the first: {}",
                                       Counted(session.Unreadable(), "message"), session.FirstUnreadable()));
    }
    std::uint64_t announced = 0;
    if (mcap.MessageCounts()) {
        for (auto const& [channel, count] : *mcap.MessageCounts()) {
            announced += count;
        }
        if (mcap.DamagedChunks() == 0 && session.Unreadable() == 0 && announced != messages) {
            problems.push_back(fmt::format("its index tells of {}", Counted(announced, "message")));
        }
    }
    if (lost != 0) {
        problems.push_back(Counted(lost, "message") + " found no room while it was recorded");
    }
    auto const readable = Counted(messages, "message") + " read";
    if (problems.empty()) {
        return {true, fmt::format("{}: whole, {}", file.string(), readable)};
    }
    std::string line = fmt::format("{}: {}", file.string(), readable);
    for (auto const& problem : problems) {
        line += "; " + problem;
    }
    return {false, Printable(line)};
}

void Cut(std::filesystem::path const& file, std::filesystem::path const& out, RecordedRange const& range)
{
    RecordedSession session(file);
    auto const standing = session.SettingsBefore(range.from, range.sonar);
    SessionWriter writer(out, ProgramOf(session));
    UnfinishedFile made(out);
    Copier copier(session, writer);
    bool isBegun = false;
    session.ForEachRaw(range, [&](McapChannel const& channel, McapMessage const& message) {
        if (!std::exchange(isBegun, true)) {
            for (auto const& [sonar, settings] : standing) {
                writer.Write(writer.ChannelOf(kinds::Settings, sonar, settings.name), {range.from, range.from},
                             settings);
            }
        }
        copier.Copy(channel, message);
        return true;
    });
    if (!isBegun) {
        throw RecordingError(fmt::format("{}: there is nothing in that time", file.string()));
    }
    writer.File().Finish();
    made.Keep();
}

void AddMark(std::filesystem::path const& file, std::string const& text, std::uint64_t time)
{
    // A link to it stays one.
    std::error_code error;
    auto const target = std::filesystem::canonical(file, error);
    RecordingLock const lock(error ? file : target);
    RecordedSession session(target);
    auto const beside = std::filesystem::path(target.string() + ".marked");
    SessionWriter writer(beside, ProgramOf(session));
    UnfinishedFile made(beside);
    Copier copier(session, writer);
    bool isMarked = false;
    auto const mark = [&](std::uint64_t at) {
        writer.Write(writer.ChannelOf(kinds::Marks, {}), {at, at}, RecordedMark{text});
        isMarked = true;
    };
    std::optional<std::uint64_t> first;
    std::uint64_t last = 0;
    session.ForEachRaw({}, [&](McapChannel const& channel, McapMessage const& message) {
        first = first.value_or(message.logTime);
        if (!isMarked && time >= *first && message.logTime > time) {
            mark(time);
        }
        last = message.logTime;
        copier.Copy(channel, message);
        return true;
    });
    if (session.File().SkippedBytes() != 0 || session.File().DamagedChunks() != 0) {
        throw RecordingError(fmt::format("{}: is damaged, and a mark would hide that; `qx5 recording cut` makes a new "
                                         "one of what is whole",
                                         file.string()));
    }
    if (!isMarked && first && time == last) {
        mark(time);
    }
    if (!isMarked) {
        throw RecordingError(first ? fmt::format("{}: {} is not within it, from {} to {}", file.string(), IsoTime(time),
                                                 IsoTime(*first), IsoTime(last))
                                   : fmt::format("{}: holds nothing, and so no time to mark", file.string()));
    }
    if (session.File().IsComplete()) {
        writer.File().Finish();
    } else {
        // It stays one that was not closed in order.
        writer.File().CloseChunk();
        writer.File().Sync();
    }
    std::filesystem::permissions(beside, std::filesystem::status(target).permissions(), error);
    if (auto const problem = vordal::platform::PutInPlace(beside, target)) {
        throw RecordingError(fmt::format("{}: cannot be replaced: {}", file.string(), problem.message()));
    }
    made.Keep();
}

} // namespace qx5::recording
