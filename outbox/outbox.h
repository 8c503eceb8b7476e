// The outbox aboard: what must not be lost waits here, on the disk, until the shore says that it has it.
#pragma once

#include "outbox/entry.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::outbox {

struct OutboxOptions
{
    /// What is kept at most: payloads and 64 bytes for each entry. The file is somewhat larger.
    std::uint64_t greatestBytes = std::uint64_t{256} << 20;
    /// How old it may get: counted by the steady clock while the outbox is open, by the wall clock while it is not, so
    /// that a wall clock that is set throws nothing away.
    double greatestDays = 30.0;
    /// What was put is on the disk after so many seconds at the latest, as long as the disk takes it.
    double longestDelay = 0.1;
    /// What waits in memory while the disk takes nothing.
    std::size_t greatestWaiting = std::size_t{8} << 20;
    std::function<double()> steady; ///< s; empty for the system's
    std::function<double()> utc;    ///< s since 1970-01-01; empty for the system's
    /// Takes one line when something goes wrong and when it is well again, with no lock held, on the outbox's thread or
    /// that of the caller; empty for nobody. Must not throw.
    std::function<void(std::string const&)> tell;
};

struct OutboxState
{
    std::uint64_t last = 0;                      ///< that was given
    std::uint64_t committed = 0;                 ///< up to here it is on the disk
    std::uint64_t acknowledged = 0;              ///< up to here it is ashore
    std::uint64_t bytes = 0;                     ///< on the disk, as `greatestBytes` counts
    std::size_t waiting = 0;                     ///< entries that are not on the disk yet
    std::array<std::uint64_t, KindCount> shed{}; ///< how many of each kind gave way since the file was made
    std::string failure;                         ///< why the disk takes nothing, in one line; empty: it does
};

/// An outbox file, open. Entries have numbers that grow by one from 1, over all restarts. What is on the disk survives
/// the end of the program between any two instructions, and that of the machine; what was put within the last
/// `longestDelay` before may be gone, its number is then given to another entry, and nobody has been told of it: only
/// what is on the disk is sent.
///
/// A file is known by its identity, drawn when it is made: one that is made anew begins again with 1 and is another
/// outbox. It is open in one program at a time. A file that is damaged or something else is refused and left as it is.
///
/// What there is no room for gives way: the oldest of the least important kind. Its numbers stay as gaps, so that the
/// shore does not wait for them, and are counted and told in one line.
///
/// Any thread. Put never waits for the disk; what else there is may, and none but the constructor and Commit throws.
class Outbox
{
public:
    /// Longer payloads are not taken; nor are those beyond a quarter of OutboxOptions::greatestBytes.
    static constexpr std::size_t GreatestPayload = std::size_t{1} << 20;
    /// What an entry counts beside its payload.
    static constexpr std::size_t EntryBytes = 64;

    /// Opens or makes the file, in a folder that is there. Throws OutboxError.
    explicit Outbox(std::filesystem::path const& file, OutboxOptions options = {});
    Outbox(Outbox const&) = delete;
    Outbox& operator=(Outbox const&) = delete;
    /// Writes what waits, if the disk takes it.
    ~Outbox();

    /// 32 hexadecimal digits.
    std::string const& Identity() const;
    /// The entry's number; 0 when the payload is too long, which is told.
    std::uint64_t Put(Kind kind, std::string payload);
    /// The same without the delay. `written` is called once, with no lock held, on the thread that wrote it or tried
    /// to: whether the entry is on the disk. Otherwise it waits for a disk that takes nothing, or has no room. It must
    /// not fail.
    std::uint64_t PutAtOnce(Kind kind, std::string payload, std::function<void(bool isOnDisk)> written);
    /// All that was put before is on the disk when it returns. Throws OutboxError; it then still waits.
    void Commit();
    /// Entries and gaps on the disk from that number on, in order, until `bytes` (as greatestBytes counts) or `count`
    /// are reached; at least one when there is one. Of a gap only what lies from `from` on.
    std::vector<Item> Take(std::uint64_t from, std::size_t count, std::size_t bytes);
    /// All up to that number is ashore, and goes from here. False for another outbox's identity, a number that is not
    /// on the disk, and when the disk does not take it; one that was acknowledged already changes nothing.
    bool Acknowledge(std::string_view identity, std::uint64_t upTo);
    OutboxState State() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

/// Where the outbox of a project lies unless it is told otherwise: "survey.qx5.outbox" beside it.
std::filesystem::path OutboxBeside(std::filesystem::path const& project);

} // namespace qx5::outbox
