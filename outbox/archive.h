// The counterpart ashore of the outboxes of vessels: keeps what arrives once and in order, and says what it has.
#pragma once

#include "outbox/entry.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::outbox {

/// One item as it came from a vessel's outbox.
struct Received
{
    std::string vessel;
    std::string outbox; ///< its identity
    Item item;
};

/// Up to which number the archive has all of an outbox on its disk, gaps counted as had.
struct Acknowledgement
{
    std::string vessel;
    std::string outbox;
    std::uint64_t upTo = 0;

    bool operator==(Acknowledgement const&) const = default;
};

/// An archive file, open. Items arrive in any order and as often as they like; of each outbox each number is kept once.
/// What arrives for a number that was told to be a gap is kept all the same. An acknowledgement is given when what it
/// says is on the disk, also if the power fails then.
///
/// One thread at a time. Operations throw OutboxError and leave the file as it was.
class Archive
{
public:
    explicit Archive(std::filesystem::path const& file);
    Archive(Archive const&) = delete;
    Archive& operator=(Archive const&) = delete;
    ~Archive();

    /// Keeps them in one transaction; gives how each outbox among them then stands, in the order of their first items.
    /// What no outbox sends (a number of 0 or from 2^62 on, a gap that ends before it begins, a name that is empty) is
    /// passed over and counted.
    std::vector<Acknowledgement> Take(std::span<Received const> received);
    /// How an outbox stands; 0 of one that nothing has come from.
    std::uint64_t Acknowledged(std::string_view vessel, std::string_view outbox);
    /// Items that were none.
    std::uint64_t PassedOver() const;

    /// Calls `visit` for each entry and each gap of a vessel: its outboxes in the order in which they were first heard
    /// of, of each the numbers from the first to the last, also beyond what is acknowledged. Ends when that gives
    /// false.
    void Read(std::string_view vessel, std::function<bool(Received const&)> const& visit);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace qx5::outbox
