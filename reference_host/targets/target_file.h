// A target file: sonar contacts in one SQLite file, which several programs may use at a time.
#pragma once

#include "stored_target.h"

#include <VordalBaseR/Export.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <vector>

namespace vordal {

/// Why a target file cannot be opened, read or changed, in one line that names the file.
class VORDAL_API TargetFileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A target file, open. Readers and a writer of whatever process do not wait for one another; two writers wait up to
/// two seconds. A read sees all of a change or nothing of it; a change is on its way to the disk when the call returns
/// and complete or absent after a crash. Numbers keep all but the payload of a NaN, texts are kept as UTF-8: what is no
/// character becomes U+FFFD. One thread at a time.
///
/// Beside the contacts the file has an index of their ids and a log of where something was changed; a file that was
/// made without gets both when it is first changed or followed. SQLite keeps them up to date, also under programs that
/// know nothing of them, other than such that switch triggers off.
///
/// All operations throw TargetFileError and leave the file as it was. A file that is damaged, no target file, or
/// written by a newer version is refused when it is opened, and not touched.
class VORDAL_API TargetFile
{
public:
    enum class Missing
    {
        Create,
        Refuse
    };

    enum class Keeping
    {
        OnDisk,
        Scratch, ///< for files that nobody misses after a crash: nothing waits for the disk
    };

    enum class Checking
    {
        Whole,  ///< all of the file
        Header, ///< what it is, for a file that was checked before: damage is found where a read or a change meets it
    };

    /// Opens the file. One that is not there is made, in a folder that is there, unless `missing` refuses.
    explicit TargetFile(std::filesystem::path const& file, Missing missing = Missing::Refuse,
                        Keeping keeping = Keeping::OnDisk, Checking checking = Checking::Whole);
    TargetFile(TargetFile const&) = delete;
    TargetFile& operator=(TargetFile const&) = delete;
    ~TargetFile();

    /// All contacts in the file's order, at one moment.
    std::vector<StoredTarget> Read();
    /// A number that differs from the last one if another connection, of this process or another, has changed the file
    /// in between.
    std::int64_t Version();

    /// What has changed since Accept was called last, by whom ever, at one moment; all contacts when it never was, and
    /// where nothing tells what has changed. Only what it gives is read.
    TargetChanges Changes();
    /// What Changes gave last is known from now on; with it there are `count` contacts. Throws when these are too many.
    void Accept(std::size_t count);
    /// Another file, or none, lies where this one was opened.
    bool HasMoved() const;

    // A file holds at most 1,000,000 contacts.
    /// Puts the contacts in place of all that are there.
    void Replace(std::vector<StoredTarget> const& targets);
    void Append(StoredTarget const& target);
    /// Replaces the first contact of that id in its place; false when there is none.
    bool Change(StoredTarget const& target);
    /// Removes the first contact of that id; false when there is none.
    bool Remove(std::uint32_t targetId);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace vordal
