// The outbox aboard: its file, its thread, what gives way.
#include "outbox/outbox.h"

#include "outbox/statement_use.h"

#include "operation/steady_seconds.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <random>
#include <thread>
#include <utility>

#include <fmt/format.h>

namespace qx5::outbox {

namespace {

constexpr double secondsOfDay = 86400.0;
/// So many are written at once without waiting for more.
constexpr std::size_t greatBatch = 512;
/// A disk that took nothing is tried again.
constexpr double retryAfter = 1.0;
/// What is too old is looked for.
constexpr double ageEvery = 60.0;
/// How often what gives way is told.
constexpr double tellShedEvery = 60.0;

[[noreturn]] void RefuseOutbox(std::string const& line)
{
    throw OutboxError(line);
}

// "QX5O", and the version of the tables.
constexpr vordal::SqliteFormat outboxFormat{"outbox", 0x5158354F, 1, RefuseOutbox};

std::string DrawnIdentity()
{
    std::random_device device;
    std::string identity;
    for (int i = 0; i < 4; ++i) {
        identity += fmt::format("{:08x}", static_cast<std::uint32_t>(device()));
    }
    return identity;
}

double UtcNow()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// "3 values and 1 event".
std::string CountText(std::array<std::uint64_t, KindCount> const& counts)
{
    std::string text;
    for (std::size_t i = 0; i < KindCount; ++i) {
        if (counts[i] != 0) {
            text += fmt::format("{}{} {}{}", text.empty() ? "" : ", ", counts[i], ToText(static_cast<Kind>(i)),
                                counts[i] == 1 ? "" : "s");
        }
    }
    return text;
}

/// What of the file is known without reading it; changes when a transaction is on the disk.
struct Kept
{
    std::uint64_t committed = 0;
    std::uint64_t acknowledged = 0;
    std::uint64_t bytes = 0;
    std::array<std::uint64_t, KindCount> shed{};
};

/// The tables. One thread at a time; operations throw OutboxError and leave all as it was.
class OutboxFile
{
public:
    OutboxFile(std::filesystem::path const& path, double utc)
        : m_file(path, outboxFormat, SqliteFile::Missing::Create, SqliteFile::Check::Header)
    {
        m_file.Run("PRAGMA locking_mode=EXCLUSIVE"); // one program gives numbers
        m_file.Run("PRAGMA journal_mode=WAL");
        // What is acknowledged to the shore goes from here, what is told to be here must be: also when the power fails.
        m_file.Run("PRAGMA synchronous=FULL");
        if (m_file.IsNew()) {
            m_file.MakeTables([this, utc] { Make(utc); });
        }
        SqliteStatement row(m_file, "SELECT identity, last, acknowledged, lived, saved_at, shed_values, shed_events, "
                                    "shed_results, shed_actions FROM outbox");
        if (!row.Step()) {
            m_file.RefuseDamaged("it does not say which outbox it is");
        }
        m_identity = row.Bytes(0);
        kept.committed = Unsigned(row.Integer(1));
        kept.acknowledged = Unsigned(row.Integer(2));
        // While it was closed it got older by what the wall clock says, which may have been set back.
        m_livedAtOpen = row.Real(3) + std::max(0.0, utc - row.Real(4));
        for (std::size_t i = 0; i < KindCount; ++i) {
            kept.shed[i] = Unsigned(row.Integer(5 + static_cast<int>(i)));
        }
        SqliteStatement sum(m_file, "SELECT count(*), total(length(payload)) FROM entry");
        sum.Step();
        kept.bytes = Unsigned(sum.Integer(0)) * Outbox::EntryBytes + static_cast<std::uint64_t>(sum.Real(1));
        m_statements.emplace(m_file);
    }

    std::string const& Identity() const { return m_identity; }
    /// Seconds that the outbox had lived when it was opened.
    double LivedAtOpen() const { return m_livedAtOpen; }

    struct Waiting
    {
        std::uint64_t number = 0;
        Kind kind = Kind::Value;
        std::string payload;
    };
    /// Adds entries, the numbers of `gone` as gaps, and makes room. `gone` are those of a kind that gave way before.
    /// What gives way for it is counted in `kept`.
    template <typename Entries>
    void Append(Entries const& entries, std::vector<std::pair<std::uint64_t, Kind>> const& gone, std::uint64_t last,
                OutboxOptions const& options, double lived, double utc)
    {
        Kept after = kept;
        m_file.InTransaction([&] {
            for (Waiting const& each : entries) {
                (Use(m_statements->insert)
                 << each.number << static_cast<std::uint64_t>(each.kind) << lived << each.payload)
                    .Step();
                after.bytes += Outbox::EntryBytes + each.payload.size();
            }
            for (auto const& [number, kind] : gone) {
                AddGap(number);
                ++after.shed[static_cast<std::size_t>(kind)];
            }
            ShedOld(after, lived - options.greatestDays * secondsOfDay);
            ShedBeyond(after, options.greatestBytes);
            after.committed = last;
            Save(after, lived, utc);
        });
        kept = after;
    }

    bool HasOlderThan(double lived)
    {
        Use oldest(m_statements->oldest);
        return oldest.Step() && oldest.Real(3) < lived;
    }

    void Acknowledge(std::uint64_t upTo, double lived, double utc)
    {
        Kept after = kept;
        m_file.InTransaction([&] {
            {
                Use sum(m_statements->sum);
                (sum << upTo).Step();
                after.bytes -= sum.Number(0) * Outbox::EntryBytes + sum.Number(1);
            }
            (Use(m_statements->removeUpTo) << upTo).Step();
            (Use(m_statements->removeGapsUpTo) << upTo).Step();
            (Use(m_statements->cutGap) << upTo).Step();
            after.acknowledged = upTo;
            Save(after, lived, utc);
        });
        kept = after;
    }

    std::vector<Item> Take(std::uint64_t from, std::size_t count, std::size_t bytes)
    {
        std::vector<Item> items;
        Use entries(m_statements->take);
        Use gaps(m_statements->takeGaps);
        entries << from;
        gaps << from;
        bool hasEntry = entries.Step();
        bool hasGap = gaps.Step();
        std::size_t taken = 0;
        while ((hasEntry || hasGap) && items.size() < count) {
            if (hasGap && (!hasEntry || gaps.Number(0) < entries.Number(0))) {
                taken += Outbox::EntryBytes;
                if (!items.empty() && taken > bytes) {
                    break;
                }
                items.push_back({std::max(gaps.Number(0), from), gaps.Number(1), std::nullopt, {}});
                hasGap = gaps.Step();
            } else {
                auto payload = entries.Bytes(2);
                taken += Outbox::EntryBytes + payload.size();
                if (!items.empty() && taken > bytes) {
                    break;
                }
                auto const number = entries.Number(0);
                items.push_back({number, number, static_cast<Kind>(entries.Number(1)), std::move(payload)});
                hasEntry = entries.Step();
            }
        }
        return items;
    }

    Kept kept;

private:
    struct Statements
    {
        explicit Statements(SqliteFile const& of) : file(of) {}

        SqliteFile const& file;
        SqliteStatement insert{file, "INSERT INTO entry(number, kind, lived, payload) VALUES(?, ?, ?, ?)"};
        SqliteStatement oldest{file, "SELECT number, kind, length(payload), lived FROM entry ORDER BY number LIMIT 1"};
        SqliteStatement oldestOfKind{file, "SELECT number, kind, length(payload) FROM entry WHERE kind=? "
                                           "ORDER BY number LIMIT 1"};
        SqliteStatement remove{file, "DELETE FROM entry WHERE number=?"};
        SqliteStatement gapBefore{file, "SELECT first FROM gap WHERE last=? - 1"};
        SqliteStatement gapAfter{file, "SELECT last FROM gap WHERE first=? + 1"};
        SqliteStatement removeGap{file, "DELETE FROM gap WHERE first=?"};
        SqliteStatement putGap{file, "INSERT OR REPLACE INTO gap(first, last) VALUES(?, ?)"};
        SqliteStatement sum{file, "SELECT count(*), coalesce(sum(length(payload)), 0) FROM entry WHERE number<=?"};
        SqliteStatement removeUpTo{file, "DELETE FROM entry WHERE number<=?"};
        SqliteStatement removeGapsUpTo{file, "DELETE FROM gap WHERE last<=?"};
        SqliteStatement cutGap{file, "UPDATE gap SET first=?1 + 1 WHERE first<=?1"};
        SqliteStatement take{file, "SELECT number, kind, payload FROM entry WHERE number>=? ORDER BY number"};
        SqliteStatement takeGaps{file, "SELECT first, last FROM gap WHERE last>=? ORDER BY first"};
        SqliteStatement save{file, "UPDATE outbox SET last=?, acknowledged=?, lived=?, saved_at=?, shed_values=?, "
                                   "shed_events=?, shed_results=?, shed_actions=?"};
    };

    void Make(double utc)
    {
        m_file.Run("CREATE TABLE outbox(identity TEXT NOT NULL, last INTEGER NOT NULL, acknowledged INTEGER NOT NULL, "
                   "lived REAL NOT NULL, saved_at REAL NOT NULL, shed_values INTEGER NOT NULL, "
                   "shed_events INTEGER NOT NULL, shed_results INTEGER NOT NULL, shed_actions INTEGER NOT NULL)");
        m_file.Run("CREATE TABLE entry(number INTEGER PRIMARY KEY, kind INTEGER NOT NULL, lived REAL NOT NULL, "
                   "payload BLOB NOT NULL)");
        m_file.Run("CREATE INDEX entry_by_kind ON entry(kind, number)");
        m_file.Run("CREATE TABLE gap(first INTEGER PRIMARY KEY, last INTEGER NOT NULL)");
        m_file.Run("CREATE INDEX gap_by_last ON gap(last)");
        SqliteStatement first(m_file, "INSERT INTO outbox VALUES(?, 0, 0, 0.0, ?, 0, 0, 0, 0)");
        first.BindText(DrawnIdentity());
        first.BindDouble(utc);
        first.Step();
    }

    void Save(Kept const& after, double lived, double utc)
    {
        Use save(m_statements->save);
        save << after.committed << after.acknowledged << lived << utc;
        for (std::uint64_t const count : after.shed) {
            save << count;
        }
        save.Step();
    }

    void AddGap(std::uint64_t number)
    {
        std::uint64_t first = number;
        std::uint64_t last = number;
        {
            Use before(m_statements->gapBefore);
            if ((before << number).Step()) {
                first = before.Number(0);
            }
            Use after(m_statements->gapAfter);
            if ((after << number).Step()) {
                last = after.Number(0);
            }
        }
        if (last != number) {
            (Use(m_statements->removeGap) << number + 1).Step();
        }
        (Use(m_statements->putGap) << first << last).Step();
    }

    void Shed(Kept& after, std::uint64_t number, std::size_t kind, std::uint64_t size)
    {
        (Use(m_statements->remove) << number).Step();
        AddGap(number);
        after.bytes -= Outbox::EntryBytes + size;
        ++after.shed[std::min(kind, KindCount - 1)];
    }

    void ShedOld(Kept& after, double bornBefore)
    {
        for (;;) {
            std::uint64_t number = 0;
            std::uint64_t kind = 0;
            std::uint64_t size = 0;
            {
                Use oldest(m_statements->oldest);
                if (!oldest.Step() || !(oldest.Real(3) < bornBefore)) {
                    return;
                }
                number = oldest.Number(0);
                kind = oldest.Number(1);
                size = oldest.Number(2);
            }
            Shed(after, number, kind, size);
        }
    }

    void ShedBeyond(Kept& after, std::uint64_t greatest)
    {
        for (std::uint64_t kind = 0; kind < KindCount; ++kind) {
            while (after.bytes > greatest) {
                std::uint64_t number = 0;
                std::uint64_t size = 0;
                {
                    Use oldest(m_statements->oldestOfKind);
                    if (!(oldest << kind).Step()) {
                        break;
                    }
                    number = oldest.Number(0);
                    size = oldest.Number(2);
                }
                Shed(after, number, kind, size);
            }
        }
    }

    SqliteFile m_file; // goes after its statements
    std::string m_identity;
    double m_livedAtOpen = 0.0;
    std::optional<Statements> m_statements;
};

} // namespace

std::string_view ToText(Kind kind)
{
    switch (kind) {
    case Kind::Value:
        return "value";
    case Kind::Event:
        return "event";
    case Kind::Result:
        return "result";
    case Kind::Action:
        return "action";
    }
    return "";
}

class Outbox::Impl
{
public:
    Impl(std::filesystem::path const& path, OutboxOptions options)
        : m_options(WithClocks(std::move(options))), m_file(path, m_options.utc()), m_opened(m_options.steady()),
          m_last(m_file.kept.committed), m_kept(m_file.kept), m_toldShed(m_file.kept.shed), m_thread([this] { Run(); })
    {
    }

    ~Impl()
    {
        {
            std::lock_guard const lock(m_mutex);
            m_ends = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }

    std::string const& Identity() const { return m_file.Identity(); }

    /// `written`: empty for what may wait a while.
    std::uint64_t Put(Kind kind, std::string payload, std::function<void(bool)> written = {})
    {
        std::uint64_t number = 0;
        if (payload.size() > std::min<std::uint64_t>(GreatestPayload, m_options.greatestBytes / 4)) {
            Tell(fmt::format("the outbox does not take a single {} of {} bytes", ToText(kind), payload.size()));
            if (written) {
                written(false);
            }
            return 0;
        }
        bool mustWake = false;
        {
            std::lock_guard const lock(m_mutex);
            bool const isFirst = m_waiting.empty();
            number = ++m_last;
            m_waitingBytes += EntryBytes + payload.size();
            m_waiting.push_back({number, kind, std::move(payload)});
            if (isFirst) {
                m_firstWaits = std::chrono::steady_clock::now();
            }
            mustWake = isFirst || m_waiting.size() == greatBatch || written;
            if (written) {
                m_hurried.push_back({number, std::move(written)});
            }
            LetGiveWay();
        }
        if (mustWake) {
            m_wake.notify_one();
        }
        return number;
    }

    void Commit()
    {
        std::string failure;
        if (!Write(&failure)) {
            m_wake.notify_one(); // what was taken from its hands waits again
            throw OutboxError(failure);
        }
        TellShed();
    }

    std::vector<Item> Take(std::uint64_t from, std::size_t count, std::size_t bytes)
    {
        std::vector<Item> items;
        OnDisk([&] { items = m_file.Take(std::max<std::uint64_t>(from, 1), count, bytes); });
        return items;
    }

    bool Acknowledge(std::string_view identity, std::uint64_t upTo)
    {
        if (identity != m_file.Identity()) {
            return false;
        }
        bool isKnown = true;
        bool const taken = OnDisk([&] {
            isKnown = upTo <= m_file.kept.committed;
            if (isKnown && upTo > m_file.kept.acknowledged) {
                m_file.Acknowledge(upTo, Lived(), m_options.utc());
                Publish();
            }
        });
        return taken && isKnown;
    }

    OutboxState State() const
    {
        std::lock_guard const lock(m_mutex);
        OutboxState state;
        state.last = m_last;
        state.committed = m_kept.committed;
        state.acknowledged = m_kept.acknowledged;
        state.bytes = m_kept.bytes;
        state.waiting = m_waiting.size() + m_writing;
        state.shed = m_kept.shed;
        for (auto const& [number, kind] : m_gone) {
            ++state.shed[static_cast<std::size_t>(kind)];
        }
        state.failure = m_failure;
        return state;
    }

private:
    using Steady = std::chrono::steady_clock;
    static std::chrono::duration<double> Seconds(double seconds) { return std::chrono::duration<double>(seconds); }
    static OutboxOptions WithClocks(OutboxOptions options)
    {
        if (!options.steady) {
            options.steady = operation::SteadySeconds;
        }
        if (!options.utc) {
            options.utc = UtcNow;
        }
        return options;
    }

    /// An entry whose writing is waited for.
    struct Hurried
    {
        std::uint64_t number = 0;
        std::function<void(bool)> written;
        bool isGone = false; ///< it gave way
    };

    double Lived() const { return m_file.LivedAtOpen() + m_options.steady() - m_opened; }

    void Tell(std::string const& line) const
    {
        if (m_options.tell) {
            m_options.tell(line);
        }
    }

    /// With m_mutex held: what waits in memory has a bound, too.
    void LetGiveWay()
    {
        while (m_waitingBytes > m_options.greatestWaiting && m_waiting.size() > 1) {
            auto const least = std::min_element(m_waiting.begin(), m_waiting.end(), [](auto const& a, auto const& b) {
                return a.kind < b.kind || (a.kind == b.kind && a.number < b.number);
            });
            m_waitingBytes -= EntryBytes + least->payload.size();
            m_gone.emplace_back(least->number, least->kind);
            for (Hurried& each : m_hurried) {
                each.isGone = each.isGone || each.number == least->number;
            }
            m_waiting.erase(least);
        }
    }

    /// Writes what waits, and tells those who wait for it how that went. False when the disk does not take it.
    bool Write(std::string* why = nullptr)
    {
        std::vector<Hurried> tried;
        bool const isWritten = OnDisk([&] { WriteWaiting(tried); }, why);
        for (Hurried const& each : tried) {
            each.written(isWritten && !each.isGone);
        }
        return isWritten;
    }

    /// With m_diskMutex held. Throws; what waits then waits on. `tried`: of what is written those that are waited for.
    void WriteWaiting(std::vector<Hurried>& tried)
    {
        std::deque<OutboxFile::Waiting> entries;
        std::vector<std::pair<std::uint64_t, Kind>> gone;
        std::uint64_t last = 0;
        {
            std::lock_guard const lock(m_mutex);
            entries.swap(m_waiting);
            gone.swap(m_gone);
            tried.swap(m_hurried);
            m_waitingBytes = 0;
            m_writing = entries.size();
            last = m_last;
        }
        std::string failure;
        try {
            double const lived = Lived();
            if (!entries.empty() || !gone.empty() ||
                m_file.HasOlderThan(lived - m_options.greatestDays * secondsOfDay)) {
                m_file.Append(entries, gone, last, m_options, lived, m_options.utc());
            }
        } catch (OutboxError const& error) {
            failure = error.what();
        }
        std::lock_guard const lock(m_mutex);
        m_writing = 0;
        if (!failure.empty()) {
            // Back to the front, before what was put meanwhile.
            for (auto const& each : entries) {
                m_waitingBytes += EntryBytes + each.payload.size();
            }
            std::move(m_waiting.begin(), m_waiting.end(), std::back_inserter(entries));
            m_waiting = std::move(entries);
            gone.insert(gone.end(), m_gone.begin(), m_gone.end());
            m_gone = std::move(gone);
            LetGiveWay();
            throw OutboxError(failure);
        }
        m_kept = m_file.kept;
    }

    /// With m_diskMutex held.
    void Publish()
    {
        std::lock_guard const lock(m_mutex);
        m_kept = m_file.kept;
    }

    /// False when the disk does not take it, which is told.
    template <typename Action>
    bool OnDisk(Action action, std::string* why = nullptr)
    {
        std::string failure;
        {
            std::lock_guard const disk(m_diskMutex);
            try {
                action();
            } catch (OutboxError const& error) {
                failure = error.what();
            }
        }
        Note(failure);
        if (why != nullptr) {
            *why = failure;
        }
        return failure.empty();
    }

    /// Tells when what goes wrong begins and when it ends.
    void Note(std::string const& failure)
    {
        std::string line;
        {
            std::lock_guard const lock(m_mutex);
            if (failure.empty() == m_failure.empty()) {
                return;
            }
            line = failure.empty() ? "the outbox is written again"
                                   : fmt::format("the outbox {}; {} entries wait in memory", failure, m_waiting.size());
            m_failure = failure;
        }
        Tell(line);
    }

    /// Tells what gave way, the first of it at once.
    void TellShed()
    {
        std::string line;
        {
            std::lock_guard const lock(m_mutex);
            auto shed = m_kept.shed;
            for (std::size_t i = 0; i < KindCount; ++i) {
                shed[i] -= m_toldShed[i];
            }
            auto const counts = CountText(shed);
            auto const now = m_options.steady();
            if (counts.empty() || (m_shedToldAt && now < *m_shedToldAt + tellShedEvery)) {
                return;
            }
            m_shedToldAt = now;
            m_toldShed = m_kept.shed;
            line = fmt::format("the outbox has no room for all that waits to be sent: {} gave way, the oldest first",
                               counts);
        }
        Tell(line);
    }

    void Run()
    {
        std::unique_lock lock(m_mutex);
        for (;;) {
            auto const isPut = [this] { return m_ends || !m_waiting.empty() || !m_gone.empty(); };
            m_wake.wait_for(lock, Seconds(ageEvery), isPut);
            auto const wait = m_failure.empty() ? Seconds(m_options.longestDelay) / 2 : Seconds(retryAfter);
            auto const begin = m_failure.empty() ? m_firstWaits : Steady::now();
            m_wake.wait_until(lock, begin + std::chrono::duration_cast<Steady::duration>(wait), [this] {
                bool const isPressing = m_waiting.size() >= greatBatch || !m_hurried.empty();
                return m_ends || (isPressing && m_failure.empty());
            });
            bool const ends = m_ends;
            lock.unlock();
            Write();
            TellShed();
            if (ends) {
                return;
            }
            lock.lock();
        }
    }

    OutboxOptions const m_options;
    mutable std::mutex m_diskMutex; ///< guards m_file; taken before m_mutex
    OutboxFile m_file;
    double const m_opened;      ///< by the steady clock
    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_wake;
    bool m_ends = false;
    std::uint64_t m_last;
    std::deque<OutboxFile::Waiting> m_waiting;
    std::vector<std::pair<std::uint64_t, Kind>> m_gone; ///< of those that waited
    std::vector<Hurried> m_hurried;                     ///< of those that wait, or are gone
    std::size_t m_waitingBytes = 0;
    std::size_t m_writing = 0;
    Steady::time_point m_firstWaits;
    Kept m_kept;
    std::string m_failure;
    std::array<std::uint64_t, KindCount> m_toldShed;
    std::optional<double> m_shedToldAt;
    std::thread m_thread; // begins when all else is there
};

Outbox::Outbox(std::filesystem::path const& file, OutboxOptions options)
    : m_impl(std::make_unique<Impl>(file, std::move(options)))
{
}

Outbox::~Outbox() = default;

std::string const& Outbox::Identity() const
{
    return m_impl->Identity();
}

std::uint64_t Outbox::Put(Kind kind, std::string payload)
{
    return m_impl->Put(kind, std::move(payload));
}

std::uint64_t Outbox::PutAtOnce(Kind kind, std::string payload, std::function<void(bool isOnDisk)> written)
{
    return m_impl->Put(kind, std::move(payload), std::move(written));
}

void Outbox::Commit()
{
    m_impl->Commit();
}

std::vector<Item> Outbox::Take(std::uint64_t from, std::size_t count, std::size_t bytes)
{
    return m_impl->Take(from, count, bytes);
}

bool Outbox::Acknowledge(std::string_view identity, std::uint64_t upTo)
{
    return m_impl->Acknowledge(identity, upTo);
}

OutboxState Outbox::State() const
{
    return m_impl->State();
}

std::filesystem::path OutboxBeside(std::filesystem::path const& project)
{
    auto file = project;
    file += ".outbox";
    return file;
}

} // namespace qx5::outbox
