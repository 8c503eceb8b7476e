// Recordings on the disk: the file that one is written into, and one that is read.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

namespace qx5::recording {

/// One thread. Throws RecordingError.
class RecordingFile
{
public:
    /// Makes the file and keeps other programs from writing it. One that is there already is refused and left alone.
    explicit RecordingFile(std::filesystem::path file);
    RecordingFile(RecordingFile const&) = delete;
    RecordingFile& operator=(RecordingFile const&) = delete;
    ~RecordingFile();

    /// All of it or, when the disk refuses, nothing: what it took of it is cut off again.
    void Append(std::span<unsigned char const> first, std::span<unsigned char const> second = {});
    void Sync();
    std::uint64_t Size() const { return m_size; }
    std::filesystem::path const& Path() const { return m_path; }

private:
    std::filesystem::path const m_path;
    int m_descriptor = -1;
    std::uint64_t m_size = 0;
};

/// Keeps others from recording into a file, and from changing it by way of this, while it lives.
class RecordingLock
{
public:
    /// Throws RecordingError when there is no such file, or somebody records into it.
    explicit RecordingLock(std::filesystem::path const& file);
    RecordingLock(RecordingLock const&) = delete;
    RecordingLock& operator=(RecordingLock const&) = delete;
    ~RecordingLock();

private:
    int m_descriptor = -1;
};

/// A recording to be read, at any place. Any thread.
class RecordedFile
{
public:
    /// Throws RecordingError.
    explicit RecordedFile(std::filesystem::path file);
    RecordedFile(RecordedFile const&) = delete;
    RecordedFile& operator=(RecordedFile const&) = delete;
    ~RecordedFile();

    /// As it was when it was opened.
    std::uint64_t Size() const { return m_size; }
    /// False when so many bytes are not there, or the disk does not give them.
    bool Read(std::uint64_t offset, std::span<unsigned char> bytes) const;
    std::filesystem::path const& Path() const { return m_path; }

private:
    std::filesystem::path const m_path;
    int m_descriptor = -1;
    std::uint64_t m_size = 0;
};

} // namespace qx5::recording
