// Packets to connections, connections to records, records to lines.
#include "cli/capture_records.h"

#include "cli/capture_file.h"
#include "cli/record_json.h"
#include "cli/tcp_streams.h"
#include "recording/recording_time.h"

#include <protocol/frame_reader.h>
#include <protocol/print.h>

#include <map>
#include <set>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

constexpr std::uint16_t usualPort = 7000;
/// A frame that takes longer may have a damaged size; what lies whole inside of it is then taken.
constexpr std::uint64_t doubtedAfter = 2'000'000'000; // ns

class RecordPrinter final : public TcpStreams::Sink
{
public:
    explicit RecordPrinter(CaptureOptions const& options) : m_options(options) {}

    void Bytes(TrafficWay const& way, std::uint64_t nanoseconds, std::span<unsigned char const> bytes) override
    {
        if (!IsChosen(way)) {
            return;
        }
        State& state = m_states[{way.connection, way.isBack}];
        if (state.reader.BufferedBytes() == 0 || state.reader.Position() != state.heldPosition) {
            state.heldPosition = state.reader.Position();
            state.heldSince = nanoseconds;
        }
        state.last = nanoseconds;
        state.reader.Feed(bytes);
        Print(way, state);
        if (state.reader.BufferedBytes() > 0 && state.reader.Position() == state.heldPosition &&
            nanoseconds - state.heldSince > doubtedAfter) {
            state.reader.DoubtUnfinished();
            Print(way, state);
        }
    }

    void Lost(TrafficWay const& way, std::uint64_t bytes) override
    {
        if (!IsChosen(way)) {
            return;
        }
        State& state = m_states[{way.connection, way.isBack}];
        CloseReader(way, state);
        if (Counts(way)) {
            Say(way, fmt::format("{} that were not captured", Amount(bytes)));
        }
        state.lost += bytes;
    }

    void End(TrafficWay const& way) override
    {
        auto const known = m_states.find({way.connection, way.isBack});
        if (known == m_states.end()) {
            return;
        }
        CloseReader(way, known->second);
        if (Counts(way)) {
            m_counts.damagedFrames += known->second.damagedFrames;
            m_counts.skippedBytes += known->second.skipped;
            m_counts.lostBytes += known->second.lost;
        }
        m_states.erase(known);
    }

    CaptureCounts Take() { return std::move(m_counts); }

private:
    /// One way of one connection. A reader reads from one gap to the next.
    struct State
    {
        protocol::FrameReader reader;
        std::uint64_t skippedTold = 0; ///< of this reader
        std::uint64_t heldPosition = 0;
        std::uint64_t heldSince = 0;
        std::uint64_t last = 0;
        std::uint64_t damagedFrames = 0; ///< of the readers before
        std::uint64_t skipped = 0;
        std::uint64_t lost = 0;
    };

    bool IsChosen(TrafficWay const& way) const
    {
        return !m_options.port || way.from.port == *m_options.port || way.to.port == *m_options.port;
    }

    /// Whether what is no record in it is worth a word.
    bool Counts(TrafficWay const& way) const
    {
        return m_options.port || way.from.port == usualPort || way.to.port == usualPort ||
               m_withRecords.contains(way.connection);
    }

    static std::string Amount(std::uint64_t number) { return fmt::format("{} byte{}", number, number == 1 ? "" : "s"); }

    static std::string WayText(TrafficWay const& way)
    {
        return fmt::format("connection {}  {} > {}", way.connection, ToText(way.from), ToText(way.to));
    }

    void Say(TrafficWay const& way, std::string const& what) const
    {
        if (!m_options.json) {
            fmt::print("-- {}: {}\n\n", WayText(way), what);
        }
    }

    void TellSkipped(TrafficWay const& way, State& state) const
    {
        auto const skipped = state.reader.SkippedBytes();
        if (skipped != state.skippedTold && Counts(way)) {
            Say(way, fmt::format("{} of no good frame skipped", Amount(skipped - state.skippedTold)));
            state.skippedTold = skipped;
        }
    }

    void Print(TrafficWay const& way, State& state)
    {
        while (auto const frame = state.reader.Next()) {
            ++m_counts.records;
            m_withRecords.insert(way.connection);
            TellSkipped(way, state);
            auto const time = recording::IsoTime(state.last);
            if (!m_options.json) {
                fmt::print("{}  {}\n{}\n", time, WayText(way), protocol::PrintFrame(*frame));
                continue;
            }
            std::vector<JsonValue::Member> members{{"time", JsonValue::Text(time)},
                                                   {"connection", JsonValue::Unsigned(way.connection)},
                                                   {"from", JsonValue::Text(ToText(way.from))},
                                                   {"to", JsonValue::Text(ToText(way.to))}};
            auto record = RecordMembers(*frame);
            std::move(record.begin(), record.end(), std::back_inserter(members));
            fmt::print("{}\n", WriteJson(JsonValue::Object(std::move(members))));
        }
    }

    /// What it holds is not finished any more.
    void CloseReader(TrafficWay const& way, State& state)
    {
        state.reader.Finish();
        Print(way, state);
        TellSkipped(way, state);
        state.damagedFrames += state.reader.DamagedFrames();
        state.skipped += state.reader.SkippedBytes();
        state.reader = protocol::FrameReader();
        state.skippedTold = 0;
    }

    CaptureOptions m_options;
    std::map<std::pair<std::size_t, bool>, State> m_states;
    std::set<std::size_t> m_withRecords; ///< connections
    CaptureCounts m_counts;
};

} // namespace

CaptureCounts PrintCapture(std::istream& stream, std::string_view beginning, CaptureOptions const& options)
{
    RecordPrinter printer(options);
    TcpStreams streams(printer);
    CaptureReader reader(stream, beginning);
    while (auto const packet = reader.Next()) {
        streams.Take(IpOf(*packet), packet->nanoseconds);
    }
    streams.Finish();
    auto counts = printer.Take();
    counts.unusable = streams.Unusable();
    counts.damage = reader.Damage();
    return counts;
}

} // namespace qx5::cli
