// A file that is made of a recording: written piece by piece, gone again when it was not finished.
#pragma once

#include "platform/recording_file.h"

#include <filesystem>
#include <span>
#include <string_view>
#include <vector>

namespace qx5::recording {

/// Removes a file at its end unless it is kept. One thread.
class UnfinishedFile
{
public:
    explicit UnfinishedFile(std::filesystem::path path) : m_path(std::move(path)) {}
    UnfinishedFile(UnfinishedFile const&) = delete;
    UnfinishedFile& operator=(UnfinishedFile const&) = delete;
    ~UnfinishedFile();

    void Keep() { m_isKept = true; }

private:
    std::filesystem::path const m_path;
    bool m_isKept = false;
};

/// One thread. Operations throw RecordingError when the disk refuses.
class NewFile
{
public:
    /// Makes the file; one that is there already is refused and left alone.
    explicit NewFile(std::filesystem::path const& path) : m_file(path), m_unfinished(path) {}

    void Write(std::span<unsigned char const> bytes);
    void Write(std::string_view text);
    /// All of it is on the disk, and stays.
    void Finish();

private:
    void WriteOut();

    RecordingFile m_file;
    UnfinishedFile m_unfinished;
    std::vector<unsigned char> m_waiting;
};

} // namespace qx5::recording
