// The archive ashore: its tables, and how far each outbox has come.
#include "outbox/archive.h"

#include "outbox/statement_use.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace qx5::outbox {

namespace {

[[noreturn]] void RefuseArchive(std::string const& line)
{
    throw OutboxError(line);
}

// "QX5H", and the version of the tables.
constexpr vordal::SqliteFormat archiveFormat{"archive", 0x51583548, 1, RefuseArchive};

constexpr std::uint64_t numbersEnd = std::uint64_t{1} << 62U;

bool IsItem(Received const& received)
{
    Item const& item = received.item;
    return !received.vessel.empty() && !received.outbox.empty() && item.number != 0 && item.last >= item.number &&
           item.last < numbersEnd && (!item.kind || item.last == item.number) &&
           (!item.kind || static_cast<std::size_t>(*item.kind) < KindCount);
}

} // namespace

class Archive::Impl
{
public:
    explicit Impl(std::filesystem::path const& path)
        : m_file(path, archiveFormat, SqliteFile::Missing::Create, SqliteFile::Check::Header)
    {
        m_file.Run("PRAGMA journal_mode=WAL");
        // The vessel throws away what is acknowledged.
        m_file.Run("PRAGMA synchronous=FULL");
        if (m_file.IsNew()) {
            m_file.MakeTables([this] {
                m_file.Run("CREATE TABLE stream(id INTEGER PRIMARY KEY, vessel TEXT NOT NULL, outbox TEXT NOT NULL, "
                           "acknowledged INTEGER NOT NULL, UNIQUE(vessel, outbox))");
                m_file.Run(
                    "CREATE TABLE entry(stream INTEGER NOT NULL, number INTEGER NOT NULL, kind INTEGER NOT NULL, "
                    "payload BLOB NOT NULL, PRIMARY KEY(stream, number)) WITHOUT ROWID");
                m_file.Run("CREATE TABLE gap(stream INTEGER NOT NULL, first INTEGER NOT NULL, last INTEGER NOT NULL, "
                           "PRIMARY KEY(stream, first)) WITHOUT ROWID");
            });
        }
        m_statements.emplace(m_file);
    }

    std::vector<Acknowledgement> Take(std::span<Received const> received)
    {
        std::vector<Acknowledgement> standing;
        std::uint64_t passedOver = 0;
        m_file.InTransaction([&] {
            std::vector<Stream> streams;
            for (Received const& each : received) {
                if (!IsItem(each)) {
                    ++passedOver;
                    continue;
                }
                auto stream = std::find_if(streams.begin(), streams.end(), [&](Stream const& known) {
                    return known.vessel == each.vessel && known.outbox == each.outbox;
                });
                if (stream == streams.end()) {
                    stream = streams.insert(stream, Find(each.vessel, each.outbox));
                }
                if (each.item.kind) {
                    (Use(m_statements->insert) << stream->id << each.item.number
                                               << static_cast<std::uint64_t>(*each.item.kind) << each.item.payload)
                        .Step();
                } else {
                    AddGap(*stream, each.item.number, each.item.last);
                }
            }
            for (Stream& stream : streams) {
                Advance(stream);
                standing.push_back({stream.vessel, stream.outbox, stream.acknowledged});
            }
        });
        m_passedOver += passedOver;
        return standing;
    }

    std::uint64_t Acknowledged(std::string_view vessel, std::string_view outbox)
    {
        Use find(m_statements->find);
        m_statements->find.BindText(vessel);
        m_statements->find.BindText(outbox);
        return find.Step() ? find.Number(1) : 0;
    }

    void Read(std::string_view vessel, std::function<bool(Received const&)> const& visit)
    {
        // Its own statements: what is visited may ask for something else.
        SqliteStatement streams(m_file, "SELECT id, outbox FROM stream WHERE vessel=? ORDER BY id");
        streams.BindText(vessel);
        while (streams.Step()) {
            if (!ReadStream(streams.Integer(0), {std::string(vessel), streams.Bytes(1), {}}, visit)) {
                return;
            }
        }
    }

    std::uint64_t PassedOver() const { return m_passedOver; }

private:
    struct Stream
    {
        std::uint64_t id = 0;
        std::string vessel;
        std::string outbox;
        std::uint64_t acknowledged = 0;
    };
    struct Statements
    {
        explicit Statements(SqliteFile const& of) : file(of) {}

        SqliteFile const& file;
        SqliteStatement find{file, "SELECT id, acknowledged FROM stream WHERE vessel=? AND outbox=?"};
        SqliteStatement add{file, "INSERT INTO stream(vessel, outbox, acknowledged) VALUES(?, ?, 0) RETURNING id"};
        SqliteStatement insert{file, "INSERT OR IGNORE INTO entry(stream, number, kind, payload) VALUES(?, ?, ?, ?)"};
        SqliteStatement entriesFrom{file, "SELECT number FROM entry WHERE stream=? AND number>=? ORDER BY number"};
        SqliteStatement gapAt{file, "SELECT first, last FROM gap WHERE stream=? AND first<=? ORDER BY first DESC "
                                    "LIMIT 1"};
        SqliteStatement putGap{file, "INSERT OR REPLACE INTO gap(stream, first, last) VALUES(?, ?, ?)"};
        SqliteStatement removeGap{file, "DELETE FROM gap WHERE stream=? AND first=?"};
        SqliteStatement save{file, "UPDATE stream SET acknowledged=? WHERE id=?"};
    };
    struct Range
    {
        std::uint64_t first = 0;
        std::uint64_t last = 0; ///< included
    };

    Stream Find(std::string const& vessel, std::string const& outbox)
    {
        Stream stream{0, vessel, outbox, 0};
        {
            Use find(m_statements->find);
            m_statements->find.BindText(vessel);
            m_statements->find.BindText(outbox);
            if (find.Step()) {
                stream.id = find.Number(0);
                stream.acknowledged = find.Number(1);
                return stream;
            }
        }
        Use add(m_statements->add);
        m_statements->add.BindText(vessel);
        m_statements->add.BindText(outbox);
        add.Step();
        stream.id = add.Number(0);
        return stream;
    }

    /// The last gap that begins with that number or before it.
    std::optional<Range> GapAt(Stream const& stream, std::uint64_t number)
    {
        Use at(m_statements->gapAt);
        at << stream.id << number;
        return at.Step() ? std::optional(Range{at.Number(0), at.Number(1)}) : std::nullopt;
    }

    /// Gaps that touch become one. Entries may lie in them.
    void AddGap(Stream const& stream, std::uint64_t first, std::uint64_t last)
    {
        // A vessel tells what was acknowledged before as a gap, too.
        first = std::max(first, stream.acknowledged + 1);
        if (first > last) {
            return;
        }
        for (auto near = GapAt(stream, last + 1); near && near->last + 1 >= first; near = GapAt(stream, last + 1)) {
            first = std::min(first, near->first);
            last = std::max(last, near->last);
            (Use(m_statements->removeGap) << stream.id << near->first).Step();
        }
        (Use(m_statements->putGap) << stream.id << first << last).Step();
    }

    /// As far as there is an entry or a gap for each number.
    void Advance(Stream& stream)
    {
        auto const before = stream.acknowledged;
        for (;;) {
            auto const gap = GapAt(stream, stream.acknowledged + 1);
            if (gap && gap->last > stream.acknowledged) {
                stream.acknowledged = gap->last;
                continue;
            }
            auto const from = stream.acknowledged;
            Use entries(m_statements->entriesFrom);
            entries << stream.id << from + 1;
            while (entries.Step() && entries.Number(0) == stream.acknowledged + 1) {
                ++stream.acknowledged;
            }
            if (stream.acknowledged == from) {
                break;
            }
        }
        if (stream.acknowledged != before) {
            (Use(m_statements->save) << stream.acknowledged << stream.id).Step();
        }
    }

    bool ReadStream(std::int64_t id, Received each, std::function<bool(Received const&)> const& visit)
    {
        SqliteStatement entries(m_file, "SELECT number, kind, payload FROM entry WHERE stream=? ORDER BY number");
        SqliteStatement gaps(m_file, "SELECT first, last FROM gap WHERE stream=? ORDER BY first");
        entries.BindInteger(id);
        gaps.BindInteger(id);
        bool hasEntry = entries.Step();
        auto const nextGap = [&gaps] {
            return gaps.Step() ? std::optional(Range{Unsigned(gaps.Integer(0)), Unsigned(gaps.Integer(1))})
                               : std::nullopt;
        };
        auto gap = nextGap();
        while (hasEntry || gap) {
            auto const number = hasEntry ? Unsigned(entries.Integer(0)) : numbersEnd;
            if (gap && gap->first < number) {
                // Up to the entry, which came though it was not to come.
                auto const last = std::min(gap->last, number - 1);
                each.item = {gap->first, last, std::nullopt, {}};
                gap = last < gap->last ? std::optional(Range{last + 1, gap->last}) : nextGap();
            } else {
                auto const payload = entries.Blob(2);
                each.item = {number, number, static_cast<Kind>(entries.Integer(1)),
                             std::string(reinterpret_cast<char const*>(payload.data()), payload.size())};
                if (gap && gap->first == number) {
                    gap = gap->first < gap->last ? std::optional(Range{number + 1, gap->last}) : nextGap();
                }
                hasEntry = entries.Step();
            }
            if (!visit(each)) {
                return false;
            }
        }
        return true;
    }

    SqliteFile m_file; // goes after its statements
    std::optional<Statements> m_statements;
    std::uint64_t m_passedOver = 0;
};

Archive::Archive(std::filesystem::path const& file) : m_impl(std::make_unique<Impl>(file)) {}

Archive::~Archive() = default;

std::vector<Acknowledgement> Archive::Take(std::span<Received const> received)
{
    return m_impl->Take(received);
}

std::uint64_t Archive::Acknowledged(std::string_view vessel, std::string_view outbox)
{
    return m_impl->Acknowledged(vessel, outbox);
}

std::uint64_t Archive::PassedOver() const
{
    return m_impl->PassedOver();
}

void Archive::Read(std::string_view vessel, std::function<bool(Received const&)> const& visit)
{
    m_impl->Read(vessel, visit);
}

} // namespace qx5::outbox
